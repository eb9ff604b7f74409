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

} // namespace color

#endif
