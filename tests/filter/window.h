// What the models of the filters share: a source with its surroundings, by the definition of the
// border modes.
#ifndef FILTER_WINDOW_H
#define FILTER_WINDOW_H

#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>

namespace window {

// Where a coordinate outside 0 to n - 1 reads; modes 1 to 3.
inline int32_t folded(int32_t mode, int32_t at, int32_t n) {
    if (mode == DAX_BORDER_REFLECT) {
        while (at < 0 || at >= n) at = at < 0 ? -1 - at : 2 * n - 1 - at;
    } else if (mode == DAX_BORDER_WRAP) {
        at = (at % n + n) % n;
    }
    return std::clamp(at, 0, n - 1);
}

// A sample at any place; constants as they are stored.
inline int64_t sampleAt(const kit::Image& image, int32_t x, int32_t y, int32_t channel) {
    const int32_t side = y < 0                ? 0
                         : y >= image->height ? 1
                         : x < 0              ? 2
                         : x >= image->width  ? 3
                                              : -1;
    if (side < 0) return image.get(x, y, channel);
    const int32_t mode = image->borderModes[side];
    if (mode == DAX_BORDER_CONST) return image->borderConsts[side];
    return image.get(folded(mode, x, image->width), folded(mode, y, image->height), channel);
}

// A border constant in the width of a depth.
inline int64_t asStored(int64_t value, int32_t depth) {
    const int64_t span = kit::mostOf(depth) - kit::leastOf(depth) + 1;
    const int64_t low = ((value - kit::leastOf(depth)) % span + span) % span;
    return low + kit::leastOf(depth);
}

inline int64_t storedAt(const kit::Image& image, int32_t x, int32_t y, int32_t channel) {
    return asStored(sampleAt(image, x, y, channel), image->depth);
}

// Constants that all depths make something else of.
inline void anyBorders(kit::Random& random, DaxImage* image) {
    for (int32_t side = 1; side <= 8; side *= 2)
        daxSetBorderMode(image, random.in(0, 3), side,
                         random.oneOf({0, 1, -1, 2, 200, 300, 40000, -70000}));
}

inline void anyBorders(kit::Random& random, DaxImage* image, bool bits) {
    for (int32_t side = 0; side < 4; ++side)
        daxSetBorderMode(image, random.in(0, 3), 1 << side,
                         bits ? random.in(0, 1) : random.in(-70000, 70000));
}

struct Rect {
    int32_t x, y, height, width;
};

// The region, cut at the right and the lower edge.
inline DaxROI cutRegion(const DaxImage* image) {
    if (image->roi == nullptr) return {0, 0, 0, image->height, image->width};
    DaxROI roi = *image->roi;
    roi.height = std::min(roi.height, image->height - roi.yOffset);
    roi.width = std::min(roi.width, image->width - roi.xOffset);
    return roi;
}

inline Rect regionOf(const DaxImage* image) {
    const DaxROI roi = cutRegion(image);
    return {roi.xOffset, roi.yOffset, roi.height, roi.width};
}

// What was asked for, as in "Ar0,0 Dw1,0 ". Tiles that may not be held together are released
// between.
inline std::string requests(const kit::TileLog& log) {
    std::string all;
    for (const std::string& line : log.lines)
        if (const size_t place = line.find_last_of(' '); line.substr(2, 7) != "release")
            all += line.substr(0, 1) + line[2] + line.substr(place + 1) + ' ';
    return all;
}

} // namespace window

#endif
