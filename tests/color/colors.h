// What the tests of the colour operations share.
#ifndef COLOR_COLORS_H
#define COLOR_COLORS_H

#include "kit/image.h"
#include "kit/tiles.h"

#include <string>

namespace color {

using kit::Image;
using kit::Random;
using kit::Shape;
using Lines = std::vector<std::string>;

inline void name(DaxImage* image, const std::string& model, const std::string& seq) {
    for (size_t i = 0; i < 4; ++i) {
        image->colorModel[i] = i < model.size() ? model[i] : 'x';
        image->channelSeq[i] = i < seq.size() ? seq[i] : 'x';
    }
}

// An image of colours, now and then wider than the blocks of the kernels.
inline Shape anyColour(Random& random, int32_t depth, int32_t order, int32_t channels) {
    return {.depth = depth,
            .channels = channels,
            .width = random.chance(20) ? random.in(500, 700) : random.in(1, 90),
            .height = random.in(1, 5),
            .order = order,
            .align = random.oneOf({4, 8}),
            .slack = random.chance(30) ? random.in(1, 9) : 0,
            .shift = random.in(0, 7)};
}

} // namespace color

#endif
