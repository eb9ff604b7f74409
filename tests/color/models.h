// The arithmetic of the conversions, plainly, on one pixel.
#ifndef COLOR_MODELS_H
#define COLOR_MODELS_H

#include <array>
#include <cstdint>

namespace color {

using Pixel = std::array<int64_t, 3>;

enum class Way { rgbToHsv, hsvToRgb, rgbToHls, hlsToRgb };

// Samples of the results are as they are stored.
Pixel convert(Way way, int32_t depth, const Pixel& from);

// `planes`: the source is in planes.
int64_t grayOf(int32_t srcDepth, int32_t dstDepth, bool planes, const Pixel& rgb);
Pixel tintOf(int32_t srcDepth, int32_t dstDepth, int64_t gray, const std::array<float, 3>& fracts);

} // namespace color

#endif
