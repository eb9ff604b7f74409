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
#include <cstring>
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

namespace {

std::vector<int64_t> rowOf(const Image& image, int32_t y = 0) {
    std::vector<int64_t> values;
    for (int32_t x = 0; x < image.shape().width; ++x) values.push_back(image.get(x, y, 1));
    return values;
}

Image imageOf(int32_t depth, int32_t w, int32_t h, const std::vector<int64_t>& values) {
    Image image({.depth = depth, .width = w, .height = h});
    for (size_t i = 0; i < values.size(); ++i)
        image.set(static_cast<int32_t>(i) % w, static_cast<int32_t>(i) / w, 1, values[i]);
    return image;
}

TEST(Fft, IsTheSameOnEveryProcessor) {
    kit::Reports reports;
    kit::forSeeds(40, [&](Random& random) {
        const Way& way = random.of(ways);
        Image src(
            {.depth = anyDepth(random), .width = random.in(2, 70), .height = anyLength(random)},
            random);
        Shape shape = src.shape();
        shape.depth = anyDepth(random);
        std::vector<std::vector<uint8_t>> results;
        kit::forEachIsa([&] {
            Image dst(shape);
            way.call(src, dst, DAX_FFT_INVERSE | DAX_FFT_USEFLOAT, nullptr);
            results.push_back(dst.bytes());
        });
        EXPECT_THAT(results, testing::Each(results.front()));
    });
}

// Fixed point with one sample's worth of rounding: a single coefficient at the middle frequency
// alternates, halves and all.
TEST(Fft, FixedPointCutsAndNegativeFractionsVanish) {
    // Scaled by 1/64 in the shift: between -64 and 0 becomes 0, beyond that it is cut downwards.
    const auto shifted = [](int64_t value) {
        const Image src = imageOf(DAX_DEPTH_16S, 8, 8, {value});
        Image from = src;
        Image dst({.depth = DAX_DEPTH_16S, .width = 8, .height = 8});
        daxCcsFft2D(from, dst, DAX_FFT_INVERSE, nullptr);
        return dst.get(3, 3, 1);
    };
    EXPECT_EQ(shifted(-63), 0);
    EXPECT_EQ(shifted(-64), -1);
    EXPECT_EQ(shifted(-65), -2);
    EXPECT_EQ(shifted(127), 1);

    // A row has no order downwards: scaled in floats, rounded to nearest.
    const auto scaled = [](int64_t value) {
        Image from = imageOf(DAX_DEPTH_16S, 8, 1, {value});
        Image dst({.depth = DAX_DEPTH_16S, .width = 8, .height = 1});
        daxCcsFft2D(from, dst, DAX_FFT_INVERSE, nullptr);
        return dst.get(3, 0, 1);
    };
    EXPECT_EQ(scaled(-7), -1);
    EXPECT_EQ(scaled(13), 2);
    EXPECT_EQ(scaled(12), 2);
    EXPECT_EQ(scaled(20), 2);
}

// Three samples by the direct sum, each term cut on its own.
TEST(Fft, DirectSumsCutEveryTerm) {
    Image src = imageOf(DAX_DEPTH_16S, 3, 1, {1, 2, 4});
    Image dst({.depth = DAX_DEPTH_16S, .width = 3, .height = 1});
    daxRealFft2D(src, dst, DAX_FFT_FORWARD, nullptr);
    const int64_t re = 64 + ((128 * -8192) >> 14) + ((256 * -8192) >> 14);
    const int64_t im = -(((128 * 14189) >> 14) + ((256 * -14189) >> 14));
    EXPECT_THAT(rowOf(dst), ElementsAre(7, re >> 6, im >> 6));
}

// A single row and the way back to samples are cut, a spectrum of rows and columns is rounded.
TEST(Fft, FloatStoresDiffer) {
    const int32_t flags = DAX_FFT_INVERSE | DAX_FFT_USEFLOAT;
    const auto first = [&](Transform call, int32_t depth, int32_t h, int64_t value) {
        Image src = imageOf(DAX_DEPTH_16S, 2, h, {value});
        Image dst({.depth = depth, .width = 2, .height = h});
        call(src, dst, flags, nullptr);
        return dst.get(0, 0, 1);
    };
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_16S, 1, 7), 3);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_16S, 1, -7), -3);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_8U, 1, -7), 0);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_16S, 2, 7), 2);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_16S, 2, 6), 2);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_16S, 2, 10), 2);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_8S, 2, 7), 1);
    EXPECT_EQ(first(daxRealFft2D, DAX_DEPTH_8U, 2, 5000), 255);
    EXPECT_EQ(first(daxCcsFft2D, DAX_DEPTH_16S, 2, 7), 1);
    EXPECT_EQ(first(daxCcsFft2D, DAX_DEPTH_16S, 2, -7), -1);
}

TEST(Fft, ChannelPastTheLastStaysInside) {
    kit::Reports reports;
    Random random(3);
    for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
        const Shape shape = {.channels = 2, .width = 16, .height = 16, .order = order};
        Image src(shape, random);
        Image dst(shape, random);
        src->roi = &src.roi;
        dst->roi = &dst.roi;
        src.roi = dst.roi = {2, 0, 0, 16, 16};
        daxRealFft2D(src, dst, DAX_FFT_FORWARD, nullptr);
        EXPECT_THAT(reports.take(), ElementsAre());
    }
}

// Another image, of another size and channel, is transformed where the first ones lie.
TEST(Fft, RepeatsThePlan) {
    kit::Reports reports;
    Random random(4);
    const Shape shape = {.depth = DAX_DEPTH_32S, .width = 20, .height = 12};
    Image src({.width = 20, .height = 12}, random);
    Image dst(shape);
    Image other({.depth = DAX_DEPTH_16S, .width = 5, .height = 3}, random);
    const Image untouched = other;
    daxRealFft2D(src, dst, DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
    const Image expected = dst;
    memset(dst.data(), 0, dst.size());
    daxRealFft2D(other, other, DAX_FFT_REPEAT | DAX_FFT_INVERSE, nullptr);
    EXPECT_EQ(byteDifference(dst, expected), "");
    EXPECT_EQ(other.bytes(), untouched.bytes());
    other->roi = &other.roi;
    other.roi = {0, 18, 0, 1, 3};
    daxRealFft2D(other, other, DAX_FFT_REPEAT, nullptr);
    EXPECT_THAT(reports.take(), ElementsAre("-5 daxRealFft2D daxfft2d Error in input data"));
    // A thread has a plan of its own, and at first none.
    std::thread([&] {
        kit::Reports inThread;
        daxRealFft2D(src, dst, DAX_FFT_REPEAT, nullptr);
        EXPECT_THAT(inThread.take(), ElementsAre("-5 daxRealFft2D daxfft2d Error in input data"));
    }).join();
}

TEST(Fft, KeptMemoryGoesWithTheThread) {
    kit::StandIn platform;
    Image src({.width = 37, .height = 12});
    Image dst({.width = 37, .height = 12});
    std::thread([&] {
        kit::Reports reports;
        daxRealFft2D(src, dst, DAX_FFT_FORWARD | DAX_FFT_KEEP | DAX_FFT_USEFLOAT, nullptr);
        daxRealFft2D(src, dst, DAX_FFT_FORWARD | DAX_FFT_KEEP | DAX_FFT_USEINT, nullptr);
        daxDCT2D(src, dst, DAX_DCT_FORWARD);
        EXPECT_GT(platform.live(), 3U);
    }).join();
    EXPECT_EQ(platform.live(), 0U);
}

TEST(Fft, EveryAllocationMayFail) {
    kit::Reports reports;
    Random random(5);
    const Shape shape = {.depth = DAX_DEPTH_16S, .width = 37, .height = 12};
    Image src(shape, random);
    for (const Way& way : ways)
        for (const int32_t engine : {DAX_FFT_USEFLOAT, DAX_FFT_USEINT}) {
            Image whole(shape);
            way.call(src, whole, engine | DAX_FFT_INVERSE, nullptr);
            daxDCT2D(nullptr, nullptr, DAX_DCT_FREE);
            kit::StandIn platform;
            for (int32_t fail = 1; fail == 1 || platform.requests >= platform.failRequest; ++fail) {
                Image dst(shape);
                platform.requests = 0;
                platform.failRequest = fail;
                way.call(src, dst, engine | DAX_FFT_INVERSE, nullptr);
                // The second try has what the first one lacked.
                EXPECT_THAT(reports.take(), ElementsAre());
                EXPECT_EQ(dst.bytes(), whole.bytes());
                EXPECT_EQ(platform.live(), 0U) << "request " << fail;
            }
        }
}

TEST(Fft, RefusesWhatItCantTransform) {
    kit::Reports reports;
    Random random(6);
    const Shape shape = {.channels = 3, .width = 16, .height = 16};
    Image src(shape, random);
    Image dst(shape, random);
    const Image before = dst;
    const std::string bad = "-5 daxCcsFft2D daxfft2d Error in input data";
    const std::string nothing = "-5 daxCcsFft2D daxfft2d No calculations! Looking input data!";
    const auto outcome = [&](int32_t flags = DAX_FFT_FORWARD, const void* map = nullptr) {
        daxCcsFft2D(src, dst, flags, map);
        src.header = Image(shape).header;
        src->imageData = src.data();
        src->roi = nullptr;
        dst->roi = nullptr;
        dst->alphaChannel = 0;
        EXPECT_EQ(dst.bytes(), before.bytes());
        return reports.take();
    };
    for (const int32_t flags : {0, 3, 1 | 16 | 32}) EXPECT_THAT(outcome(flags), ElementsAre(bad));
    EXPECT_THAT(outcome(1, &src), ElementsAre("-5 daxCcsFft2D daxfft2d (map!=((void*)(0)))"));
    src->align = 3;
    EXPECT_THAT(outcome(), ElementsAre(bad));
    src->nChannels = 2;
    EXPECT_THAT(outcome(), ElementsAre(bad));
    src->alphaChannel = 2;
    EXPECT_THAT(outcome(), ElementsAre(bad));
    src->roi = &src.roi;
    src.roi = {1, 0, 0, 16, 16};
    EXPECT_THAT(outcome(), ElementsAre(bad));
    src->roi = &src.roi;
    src.roi = {0, 1, 0, 16, 16};
    EXPECT_THAT(outcome(), ElementsAre(bad));
    src->roi = &src.roi;
    dst->roi = &dst.roi;
    src.roi = {0, 0, 0, 4, 4};
    dst.roi = {0, 4, 4, 4, 4};
    EXPECT_THAT(outcome(), ElementsAre(nothing));
    src->roi = &src.roi;
    src.roi = {0, 7, 5, 1, 1};
    EXPECT_THAT(outcome(), ElementsAre(nothing));
    src->roi = &src.roi;
    dst->roi = &dst.roi;
    src.roi = dst.roi = {2, 0, 0, 16, 16};
    src->alphaChannel = dst->alphaChannel = 3;
    EXPECT_THAT(outcome(), ElementsAre(nothing));
    src->imageData = nullptr;
    EXPECT_THAT(outcome(), ElementsAre("-5 daxCcsFft2D daxfft2d srcImage->imageData==0"));
    daxCcsFft2D(nullptr, nullptr, DAX_FFT_FORWARD, nullptr);
    EXPECT_THAT(reports.take(), ElementsAre("-5 daxCcsFft2D daxfft2d srcImage==0",
                                            "-5 daxCcsFft2D daxfft2d dstImage==0"));
}

TEST(Fft, TablesAreExact) {
    for (const int64_t n : {1, 3, 4, 8, 12, 1000, 4096, 1048573})
        for (int64_t k = 0; k < n; k += 1 + n / 1000) {
            const OwnTurn turn = ownTurn(k, n);
            const long double angle = 2 * std::numbers::pi_v<long double> *
                                      static_cast<long double>(k) / static_cast<long double>(n);
            ASSERT_NEAR(turn.cos, static_cast<double>(std::cos(angle)), 0x1p-52) << k << "/" << n;
            ASSERT_NEAR(turn.sin, static_cast<double>(std::sin(angle)), 0x1p-52) << k << "/" << n;
        }
}

} // namespace
