#include "view.h"

#include <algorithm>
#include <cstring>

namespace {

// The range of an image's samples.
struct Range {
    int64_t least;
    int64_t greatest;
};

Range rangeOf(const DaxImage* image) {
    switch (image->depth) {
    case DAX_DEPTH_1U: return {0, 1};
    case DAX_DEPTH_8U: return {0, 0xFF};
    case DAX_DEPTH_8S: return {-0x80, 0x7F};
    case DAX_DEPTH_16U: return {0, 0xFFFF};
    case DAX_DEPTH_16S: return {-0x8000, 0x7FFF};
    default: break;
    }
    Range range = {INT32_MAX, INT32_MIN};
    std::vector<int32_t> row(static_cast<size_t>(image->width));
    for (int32_t c = 0; c < image->nChannels; ++c)
        for (int32_t y = 0; y < image->height; ++y) {
            getRow(image, c, y, row.data());
            const auto [least, greatest] = std::minmax_element(row.begin(), row.end());
            range.least = std::min<int64_t>(range.least, *least);
            range.greatest = std::max<int64_t>(range.greatest, *greatest);
        }
    return range;
}

} // namespace

Picture viewOf(const DaxImage* image) {
    const int channels = image->nChannels >= 3 ? 3 : 1;
    Picture picture = blankPicture(image->width, image->height, channels);
    const Range range = rangeOf(image);
    const int64_t span = range.greatest - range.least + 1;
    std::vector<int32_t> row(static_cast<size_t>(image->width));
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < image->height; ++y) {
            getRow(image, c, y, row.data());
            uint8_t* to = picture.row(y) + c;
            for (const int32_t sample : row) {
                const int64_t above = sample - range.least;
                *to = static_cast<uint8_t>(span == 2 ? above * 255 : above * 256 / span);
                to += channels;
            }
        }
    return picture;
}

std::string makeText(const DaxImage* image) {
    const int bits = image->depth & DAX_DEPTH_MASK;
    return std::to_string(image->width) + " \u00D7 " + std::to_string(image->height) + ", " +
           std::to_string(image->nChannels) + (image->nChannels == 1 ? " channel" : " channels") +
           (image->dataOrder == DAX_DATA_PLANE ? " in planes" : "") + ", " + std::to_string(bits) +
           (image->depth < 0 ? "S" : "U");
}

Picture thumbnail(const Picture& from) {
    const int width = std::min(from.width, 120);
    const int height =
        std::clamp(static_cast<int>(int64_t{width} * from.height / from.width), 1, 240);
    Picture to = blankPicture(width, height, 3);
    // Every pixel is the mean of the pixels that fall on it.
    const auto begin = [](int at, int size, int wide) {
        return static_cast<int>(int64_t{at} * wide / size);
    };
    for (int y = 0; y < height; ++y) {
        const int top = begin(y, height, from.height);
        const int bottom = std::max(top + 1, begin(y + 1, height, from.height));
        for (int x = 0; x < width; ++x) {
            const int left = begin(x, width, from.width);
            const int right = std::max(left + 1, begin(x + 1, width, from.width));
            for (int c = 0; c < 3; ++c) {
                int64_t sum = 0;
                for (int v = top; v < bottom; ++v)
                    for (int u = left; u < right; ++u)
                        sum += from.row(v)[u * from.channels + (from.channels == 3 ? c : 0)];
                to.row(y)[3 * x + c] =
                    static_cast<uint8_t>(sum / (int64_t{bottom - top} * (right - left)));
            }
        }
    }
    return to;
}

Picture collageOf(const std::vector<Picture>& thumbnails, int columns) {
    constexpr int gap = 4;
    int width = 0;
    int height = 0;
    for (const Picture& tile : thumbnails) {
        width = std::max(width, tile.width);
        height = std::max(height, tile.height);
    }
    const int rows = (static_cast<int>(thumbnails.size()) + columns - 1) / columns;
    Picture collage = blankPicture(columns * (width + gap) - gap, rows * (height + gap) - gap, 3);
    std::fill(collage.samples.begin(), collage.samples.end(), uint8_t{0xFF});
    for (size_t k = 0; k < thumbnails.size(); ++k) {
        const Picture& tile = thumbnails[k];
        const int left = static_cast<int>(k) % columns * (width + gap);
        const int top = static_cast<int>(k) / columns * (height + gap);
        for (int y = 0; y < tile.height; ++y)
            std::memcpy(collage.row(top + y) + 3 * left, tile.row(y), tile.rowSize());
    }
    return collage;
}
