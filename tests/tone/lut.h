// A DaxLUT with its arrays, and random ones that pass the checks.
#ifndef TONE_LUT_H
#define TONE_LUT_H

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <vector>

namespace tone {

using kit::cutRegion;
using kit::Image;
using kit::Random;
using kit::regionOf;
using kit::Shape;
using Lines = std::vector<std::string>;

struct Lut {
    Lut(std::vector<int32_t> keys, std::vector<int32_t> values)
        : key(std::move(keys)), value(std::move(values)), factor(key.size(), 0) {}

    // Intervals of any width, of none at all, and of one value each.
    Lut(Random& random, int32_t size) {
        const int32_t num = random.chance(10) ? std::min(size, 300) + 1 : random.in(2, 12);
        if (num > 12) {
            for (int32_t i = 0; i < num; ++i) key.push_back(i);
        } else {
            for (int32_t i = 0; i < num; ++i) key.push_back(random.in(0, size));
            std::sort(key.begin(), key.end());
            if (random.chance(60)) key.front() = 0;
            if (random.chance(60)) key.back() = size;
            if (random.chance(70)) key.erase(std::unique(key.begin(), key.end()), key.end());
            if (key.size() < 2) key = {0, size};
        }
        for (size_t i = 0; i < key.size(); ++i) {
            value.push_back(anyNumber(random, size));
            factor.push_back(anyNumber(random, size));
        }
        interpolated = random.in(-1, 1);
    }

    static int32_t anyNumber(Random& random, int32_t size) {
        return random.chance(60) ? random.in(0, size)
                                 : random.oneOf({INT_MIN, -size, -1, 1, 2, 1 << 30, INT_MAX});
    }

    DaxLUT record() {
        return {static_cast<int32_t>(key.size()), key.data(), value.data(), factor.data(),
                interpolated};
    }

    std::vector<int32_t> key;
    std::vector<int32_t> value;
    std::vector<int32_t> factor;
    int32_t interpolated = 0;
};

// An array of them, as the functions take it.
struct Luts {
    Luts(Random& random, int32_t count, int32_t size) {
        for (int32_t k = 0; k < count; ++k) all.emplace_back(random, size);
    }
    explicit Luts(std::vector<Lut> some) : all(std::move(some)) {}

    operator DaxLUT* const*() {
        records.clear();
        pointers.clear();
        for (Lut& lut : all) records.push_back(lut.record());
        for (DaxLUT& record : records) pointers.push_back(&record);
        return pointers.data();
    }

    std::vector<Lut> all;
    std::vector<DaxLUT> records;
    std::vector<DaxLUT*> pointers;
};

inline int32_t sizeOf(int32_t depth) { return 1 << kit::bitsOf(depth); }

// The channels that are worked, from 1.
inline std::vector<int32_t> channelsOf(const DaxImage* image) {
    std::vector<int32_t> channels;
    for (int32_t c = 1; c <= image->nChannels; ++c)
        if (regionOf(image).coi == 0 || regionOf(image).coi == c) channels.push_back(c);
    return channels;
}

// Any image in one of some depths, with rows as its fields say.
inline Shape anyShapeOf(Random& random, std::initializer_list<int32_t> depths) {
    Shape shape = kit::anyShape(random);
    shape.depth = random.oneOf(depths);
    shape.slack = 0;
    if (shape.depth == DAX_DEPTH_1U) shape.channels = 1;
    if (shape.roi) shape.roi->coi = random.in(0, shape.channels);
    return shape;
}

} // namespace tone

#endif
