#include "inputs.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

// The opacity of a disc that fades out at its edge, at a place.
int softDisc(int x, int y, double middleX, double middleY, double radius) {
    const double distance = std::hypot(x - middleX, y - middleY) / radius;
    return static_cast<int>(255 * std::clamp(2.5 - 2.5 * distance, 0.0, 1.0));
}

int lumaOf(const uint8_t* pixel) { return (77 * pixel[0] + 150 * pixel[1] + 29 * pixel[2]) >> 8; }

} // namespace

// `sample` gives the value at a channel, row and column.
template <class Sample>
DaxImage* Inputs::keep(const char* name, const char* note, const Make& make, Sample sample) {
    Image image = makeImage(make);
    std::vector<int32_t> row(static_cast<size_t>(make.width));
    for (int32_t c = 0; c < make.channels; ++c)
        for (int32_t y = 0; y < make.height; ++y) {
            for (int32_t x = 0; x < make.width; ++x) row[static_cast<size_t>(x)] = sample(c, y, x);
            setRow(image.get(), c, y, row.data());
        }
    all.push_back({name, note, std::move(image)});
    return all.back().image.get();
}

Inputs::Inputs(const Picture& source) {
    const Make wide = {source.width, source.height};
    const Make deep = {source.width, source.height, 3, DAX_DEPTH_16U};
    const Make deepSigned = {source.width, source.height, 3, DAX_DEPTH_16S};
    const Make plain = {source.width, source.height, 1};
    const Make bitonal = {source.width, source.height, 1, DAX_DEPTH_1U};
    const int offset = source.width / 6 + 1;
    const auto at = [&](int c, int y, int x) -> int { return source.row(y)[3 * x + c]; };
    const auto moved = [&](int x) { return (x + source.width - offset) % source.width; };
    const auto luma = [&](int y, int x) { return lumaOf(source.row(y) + 3 * x); };

    picture = keep("picture", "the picture", wide, at);
    shifted = keep("shifted", "moved to the right by a sixth", wide,
                   [&](int c, int y, int x) { return at(c, y, moved(x)); });
    dimmed = keep("dimmed", "samples divided by 4", wide,
                  [&](int c, int y, int x) { return at(c, y, x) / 4; });
    factor = keep("factor", "samples divided by 64: 0 to 3, all but black", wide,
                  [&](int c, int y, int x) { return at(c, y, x) / 64; });
    picture16 = keep("picture16", "the picture in 16 bits", deep,
                     [&](int c, int y, int x) { return at(c, y, x) * 257; });
    shifted16 = keep("shifted16", "moved, in 16 bits", deep,
                     [&](int c, int y, int x) { return at(c, y, moved(x)) * 257; });
    dimmed16 = keep("dimmed16", "divided by 4, in 16 bits", deep,
                    [&](int c, int y, int x) { return at(c, y, x) * 257 / 4; });
    factor16 = keep("factor16", "samples 0 to 3, in 16 bits: all but black", deep,
                    [&](int c, int y, int x) { return at(c, y, x) / 64; });
    signed16 = keep("signed16", "in signed 16 bits, dark below 0", deepSigned,
                    [&](int c, int y, int x) { return at(c, y, x) * 257 - 0x8000; });
    const int height = source.height;
    const int width = source.width;
    const double radius = std::min(width, height) / 2.2;
    const auto disc = [=](double place) {
        return
            [=](int, int y, int x) { return softDisc(x, y, width * place, height / 2.0, radius); };
    };
    const Make withOpacity = {width, height, 4};
    cutout =
        keep("cutout", "a soft disc of the picture, with its opacity as the fourth channel",
             withOpacity, [&](int c, int y, int x) {
                 return c < 3 ? at(c, y, x) : softDisc(x, y, width / 2.0, height / 2.0, radius);
             });
    cutout->alphaChannel = 4;
    const int square = std::max(width / 24, 1);
    chequers = keep("chequers", "a ground that shows through", wide, [&](int, int y, int x) {
        return (x / square + y / square) % 2 == 0 ? 235 : 185;
    });
    left = keep("left", "a soft disc on the left", plain, disc(0.35));
    right = keep("right", "a soft disc on the right", plain, disc(0.65));
    gray = keep("gray", "luminance", plain, [&](int, int y, int x) { return luma(y, x); });
    gray16 = keep("gray16", "luminance in 16 bits", {width, height, 1, DAX_DEPTH_16U},
                  [&](int, int y, int x) { return luma(y, x) * 257; });
    noisy = keep("noisy", "salt and pepper on every tenth pixel", plain, [&](int, int y, int x) {
        const uint32_t place = static_cast<uint32_t>(y * source.width + x);
        const uint32_t chance = place * 2654435761u >> 8 ^ place * 40503u;
        return chance % 20 == 0 ? 0 : chance % 20 == 1 ? 255 : luma(y, x);
    });
    bits = keep("bits", "luminance above 127, in 1 bit", bitonal,
                [&](int, int y, int x) { return luma(y, x) > 127; });
    shiftedBits = keep("shiftedBits", "moved, in 1 bit", bitonal,
                       [&](int, int y, int x) { return luma(y, moved(x)) > 127; });
}

const Input& Inputs::describe(const DaxImage* image) const {
    for (const Input& input : all)
        if (input.image.get() == image) return input;
    throw std::logic_error("an entry of the gallery shows an image that is no input");
}
