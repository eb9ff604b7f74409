#include "fourier_model.h"

#include "kit/image.h"
#include "kit/platform.h"
#include "kit/random.h"
#include "kit/reports.h"

#include "frame/kept.h"
#include "transform/turn.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <thread>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using testing::ElementsAre;

using Transform = void (*)(DaxImage*, DaxImage*, int32_t, const void*);
struct Way {
    Transform call;
    Field (*model)(const Field&, int);
    const char* name;
};
constexpr Way ways[] = {{daxRealFft2D, packedSpectrum, "daxRealFft2D"},
                        {daxCcsFft2D, fieldOf, "daxCcsFft2D"}};

Field fieldOfChannel(const Image& image, int32_t x0, int32_t y0, int32_t w, int32_t h,
                     int32_t channel) {
    Field field(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            field.at(x, y) = static_cast<double>(image.get(x0 + x, y0 + y, channel));
    return field;
}

double limited(double value, int32_t depth) {
    return std::clamp(value, static_cast<double>(kit::leastOf(depth)),
                      static_cast<double>(kit::mostOf(depth)));
}

Shape shapeFor(Random& random, int32_t depth, int32_t w, int32_t h, int32_t channels) {
    return {.depth = depth,
            .channels = channels,
            .width = w,
            .height = h,
            .order = random.oneOf({DAX_DATA_PIXEL, DAX_DATA_PLANE}),
            .align = random.oneOf({4, 8}),
            .slack = random.oneOf({0, 0, 8}),
            .shift = random.in(0, 3)};
}

int32_t anyDepth(Random& random) {
    return random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S});
}

int32_t anyLength(Random& random) {
    return random.oneOf(
        {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 15, 16, 17, 20, 30, 32, 33, 37, 49, 64});
}

// Small samples, so that fixed point doesn't overflow and some results keep inside their range.
void fillSmall(Image& image, Random& random) {
    const Shape& shape = image.shape();
    const int64_t most = random.oneOf({1, 20, 120});
    for (int32_t c = 1; c <= shape.channels; ++c)
        for (int32_t y = 0; y < shape.height; ++y)
            for (int32_t x = 0; x < shape.width; ++x)
                image.set(x, y, c,
                          std::max<int64_t>(
                              random.in(static_cast<int32_t>(-most), static_cast<int32_t>(most)),
                              kit::leastOf(shape.depth)));
}

double sumOfSizes(const Field& field) {
    double sum = 1;
    for (const double value : field.values) sum += std::abs(value);
    return sum;
}

// One unit for the store. Floats carry 24 bits, in three places on the way; the fixed-point engine
// cuts a product at every step and has coefficients of 14 bits.
double tolerance(const Field& source, bool fixed, double scale) {
    const double size = sumOfSizes(source);
    const double count = static_cast<double>(source.values.size());
    const double engine = fixed ? size / 4096 * 2 + count / 8 + 2 : size * 4 / (1 << 24);
    return 1.001 + engine * scale;
}

TEST(Fft, FollowsTheDefinition) {
    kit::Reports reports;
    kit::forSeeds(400, [&](Random& random) {
        const Way& way = random.of(ways);
        const int32_t w = anyLength(random);
        const int32_t h = anyLength(random);
        if (w * h == 1) return;
        const int32_t channels = random.in(1, 4);
        const int32_t alpha = random.oneOf({0, channels});
        Image src(shapeFor(random, anyDepth(random), w + 3, h + 2, channels));
        Image dst(shapeFor(random, anyDepth(random), w + 1, h + 4, channels), random);
        fillSmall(src, random);
        // The regions overlap in w by h pixels at (1, 2).
        src->roi = &src.roi;
        dst->roi = &dst.roi;
        src.roi = {0, 1, 0, h + 2, w};
        dst.roi = {0, 0, 2, h, w + 1};
        src->alphaChannel = dst->alphaChannel = alpha;
        const int32_t coi = channels > 1 && random.chance(30) ? random.in(1, channels - 1) : 0;
        src.roi.coi = dst.roi.coi = coi;
        const int32_t engine = random.oneOf({0, DAX_FFT_USEINT, DAX_FFT_USEFLOAT});
        const bool fixed = engine == DAX_FFT_USEINT || (engine == 0 && w * h <= 128);
        const bool inverse = random.chance(50);
        const int32_t flags = engine | (inverse ? DAX_FFT_INVERSE : DAX_FFT_FORWARD) |
                              random.oneOf({0, DAX_FFT_NOSCALE}) |
                              random.oneOf({0, DAX_FFT_ALPHA}) | random.oneOf({0, DAX_FFT_KEEP});
        const double scale = inverse && (flags & DAX_FFT_NOSCALE) == 0 ? 1.0 / (w * h) : 1.0;
        const auto transformed = [&](int32_t channel) {
            if (coi > 0 ? channel != coi + 1 : false) return false;
            return (flags & DAX_FFT_ALPHA) != 0 || alpha == 0 || channel != alpha;
        };
        Image expected = dst;
        bool any = false;
        for (int32_t c = 1; c <= channels; ++c) any |= transformed(c);
        way.call(src, dst, flags, nullptr);
        if (!any) {
            EXPECT_THAT(reports.take(),
                        ElementsAre("-5 " + std::string(way.name) +
                                    " daxfft2d No calculations! Looking input data!"));
            EXPECT_EQ(byteDifference(dst, expected), "");
            return;
        }
        EXPECT_THAT(reports.take(), ElementsAre());
        const int32_t depth = dst.shape().depth;
        for (int32_t c = 1; c <= channels; ++c) {
            if (!transformed(c)) continue;
            const Field source = fieldOfChannel(src, 1, 2, w, h, c);
            const Field model = way.model(source, inverse ? 1 : -1);
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    const auto is = static_cast<double>(dst.get(1 + x, 2 + y, c));
                    ASSERT_NEAR(is, limited(model.at(x, y) * scale, depth),
                                tolerance(source, fixed, scale))
                        << w << "x" << h << " at " << x << "," << y << " flags " << flags << " "
                        << way.name;
                    expected.set(1 + x, 2 + y, c, dst.get(1 + x, 2 + y, c));
                }
        }
        EXPECT_EQ(byteDifference(dst, expected), "");
    });
    daxRealFft2D(nullptr, nullptr, DAX_FFT_FREE, nullptr);
}

} // namespace
