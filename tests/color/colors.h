// What the tests of the colour operations share: images with a model, and tile sources that end.
#ifndef COLOR_COLORS_H
#define COLOR_COLORS_H

#include "kit/image.h"
#include "kit/tiles.h"

#include <string>

namespace color {

using kit::Image;
using kit::Random;
using kit::Shape;

inline void name(DaxImage* image, const std::string& model, const std::string& seq) {
    for (size_t i = 0; i < 4; ++i) {
        image->colorModel[i] = i < model.size() ? model[i] : 'x';
        image->channelSeq[i] = i < seq.size() ? seq[i] : 'x';
    }
}

// A tile source that has nothing beyond the image.
class EndingTiles : public kit::Tiles {
public:
    EndingTiles(const Image& image, char theName, int32_t width, int32_t height,
                kit::TileLog& theLog);
};

} // namespace color

#endif
