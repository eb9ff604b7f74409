#include "fourier_model.h"

#include "kit/image.h"
#include "kit/random.h"
#include "kit/reports.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using testing::ElementsAre;

// By the definition.
Field cosineTransform(const Field& from, bool inverse) {
    const int w = from.width;
    const int h = from.height;
    const auto basis = [](int i, int k, int n) {
        return std::cos((2 * i + 1) * k * std::numbers::pi / (2 * n)) *
               std::sqrt((k == 0 ? 1.0 : 2.0) / n);
    };
    Field rows(w, h);
    Field all(w, h);
    for (int y = 0; y < h; ++y)
        for (int u = 0; u < w; ++u)
            for (int x = 0; x < w; ++x)
                rows.at(u, y) += from.at(x, y) * (inverse ? basis(u, x, w) : basis(x, u, w));
    for (int v = 0; v < h; ++v)
        for (int u = 0; u < w; ++u)
            for (int y = 0; y < h; ++y)
                all.at(u, v) += rows.at(u, y) * (inverse ? basis(v, y, h) : basis(y, v, h));
    return all;
}

bool isFixedLength(int n) { return n > 2 && (n & (n - 1)) == 0; }

// How far off what is stored may be, for a transform that keeps the energy.
//
// The floating engine rounds what lies between rows and columns, and the result, to 24 bits: each
// is off by 2^-24 of the energy's root at most, and the store by a half. Whole blocks of 8 and, in
// fixed point, of 4 are only rounded once.
//
// In fixed point rows end as whole numbers: the half by which each of a column's H is off counts
// 2 / sqrt(W H), which makes sqrt(H / W) together; columns do, too, each on its own. What is
// shifted out then is less than one. The inverse has also rounded the first row and column before.
// Where halves are longer than 4, their coefficients of 9 fraction bits, which are 0.5 or more, are
// off by 2^-9 of their value at most.
double tolerance(const Field& from, bool fixed, bool inverse) {
    double energy = 0;
    for (const double value : from.values) energy += value * value;
    const double size = std::sqrt(energy);
    constexpr double doubles = 1e-9;
    const bool square = from.width == from.height;
    if (square && (from.width == 8 || (fixed && from.width == 4))) return 0.5 + doubles;
    if (!fixed) return 0.5 + size * 2 / (1 << 24) + doubles;
    const double ratio = std::sqrt(double{1} * from.height / from.width);
    int levels = 0;
    for (int n = from.width; n > 8; n /= 2) ++levels;
    for (int n = from.height; n > 8; n /= 2) ++levels;
    return 1.25 + ratio + (inverse ? ratio + 1 / ratio : 0) + levels * size / 512;
}

int32_t anyDepth(Random& random) {
    return random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S});
}

int32_t anyLength(Random& random) {
    return random.oneOf({1, 2, 3, 4, 5, 6, 7, 8, 8, 9, 12, 15, 16, 17, 32, 37, 40});
}

TEST(Dct, FollowsTheDefinition) {
    kit::Reports reports;
    kit::forSeeds(500, [&](Random& random) {
        const int32_t w = anyLength(random);
        const int32_t h = random.chance(30) ? w : anyLength(random);
        const int32_t channels = random.in(1, 4);
        const int32_t alpha = random.oneOf({0, channels});
        const bool hasRoi = random.chance(50);
        const int32_t order = random.oneOf({DAX_DATA_PIXEL, DAX_DATA_PLANE});
        const auto make = [&](int32_t depth) {
            return Image(Shape{.depth = depth,
                               .channels = channels,
                               .width = w + (hasRoi ? 3 : 0),
                               .height = h + (hasRoi ? 2 : 0),
                               .order = order,
                               .slack = random.oneOf({0, 8}),
                               .shift = random.in(0, 3)},
                         random);
        };
        Image src = make(anyDepth(random));
        Image dst = make(anyDepth(random));
        src->alphaChannel = dst->alphaChannel = alpha;
        int32_t x0 = 0;
        int32_t y0 = 0;
        if (hasRoi) {
            src->roi = &src.roi;
            dst->roi = &dst.roi;
            src.roi = {random.in(0, channels), x0 = 1, y0 = 2, h, w};
            // Its size doesn't count, only its place.
            dst.roi = {src.roi.coi == 0 ? 0 : random.in(1, channels), 3, 0, 1, 1};
        }
        const bool inverse = random.chance(50);
        const int32_t flags =
            (inverse ? DAX_DCT_INVERSE : DAX_DCT_FORWARD) | random.oneOf({0, DAX_DCT_ALPHA});
        const int32_t depth = dst.shape().depth;
        const bool fixed = isFixedLength(w) && isFixedLength(h) &&
                           src.shape().depth != DAX_DEPTH_32S && depth != DAX_DEPTH_32S;
        for (int32_t c = 1; c <= channels; ++c)
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x)
                    src.set(
                        x0 + x, y0 + y, c,
                        std::max<int64_t>(random.in(-100, 100), kit::leastOf(src.shape().depth)));
        Image expected = dst;
        daxDCT2D(src, dst, flags);
        EXPECT_THAT(reports.take(), ElementsAre());
        for (int32_t c = 1; c <= channels; ++c) {
            int32_t from = c;
            if (hasRoi && src.roi.coi != 0) {
                if (c != dst.roi.coi) continue;
                from = src.roi.coi;
            } else if (c == alpha && (flags & DAX_DCT_ALPHA) == 0) {
                continue;
            }
            Field source(w, h);
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x)
                    source.at(x, y) = static_cast<double>(src.get(x0 + x, y0 + y, from));
            const Field model = cosineTransform(source, inverse);
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    const int32_t toX = hasRoi ? 3 + x : x;
                    const double right =
                        std::clamp(model.at(x, y), static_cast<double>(kit::leastOf(depth)),
                                   static_cast<double>(kit::mostOf(depth)));
                    const int64_t is = dst.get(toX, y, c);
                    ASSERT_NEAR(static_cast<double>(is), right, tolerance(source, fixed, inverse))
                        << w << "x" << h << " at " << x << "," << y << " flags " << flags;
                    expected.set(toX, y, c, is);
                }
        }
        EXPECT_EQ(byteDifference(dst, expected), "");
    });
    daxDCT2D(nullptr, nullptr, DAX_DCT_FREE);
}

int64_t transformed(const Image& from, int32_t flags, int32_t x, int32_t y) {
    Image src = from;
    Image dst(src.shape());
    daxDCT2D(src, dst, flags);
    return dst.get(x, y, 1);
}

// Samples of 16 bits, by a function of the place.
template <class Value> Image wordsOf(int32_t w, int32_t h, Value value) {
    Image image({.depth = DAX_DEPTH_16S, .width = w, .height = h});
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) image.set(x, y, 1, value(x, y));
    return image;
}

// Rows and columns in 16 bits: the sums of 16 by 16 samples of one value don't fit, and the edges
// and the inside are normalised each by its own rule.
TEST(Dct, FixedPointStepsAreExact) {
    const auto constant = [](int32_t w, int32_t h, int64_t value) {
        return transformed(wordsOf(w, h, [=](int32_t, int32_t) { return value; }), DAX_DCT_FORWARD,
                           0, 0);
    };
    EXPECT_EQ(constant(16, 16, 255), 32767 >> 4);
    EXPECT_EQ(constant(16, 4, 3), 3 * 64 >> 3);
    EXPECT_EQ(constant(16, 4, -1), -8);
    EXPECT_EQ(constant(8, 4, 5), (5 * 32 * 23171 + 16384) >> 17);

    // At half the frequencies: 1, -1, -1, 1, ... in a row of n is n times the root of 1/2, and 70
    // of 4, 8 and 16 are 198, 396 and 792 to within 0.04. So are the sums over both.
    const auto sign = [](int32_t i) { return (i + 1) / 2 % 2 == 0 ? 70 : -70; };
    const auto across = [&](int32_t w, int32_t h, int32_t x) {
        return transformed(wordsOf(w, h, [&](int32_t i, int32_t) { return sign(i); }),
                           DAX_DCT_FORWARD, x, 0);
    };
    const auto downwards = [&](int32_t w, int32_t h, int32_t y) {
        return transformed(wordsOf(w, h, [&](int32_t, int32_t i) { return sign(i); }),
                           DAX_DCT_FORWARD, 0, y);
    };
    EXPECT_EQ(across(8, 4, 4), 4 * 396 >> 2);
    EXPECT_EQ(downwards(8, 4, 2), 8 * 198 >> 2);
    EXPECT_EQ(across(16, 4, 8), (4 * 792 * 23171 + 8192) >> 17);
    EXPECT_EQ(downwards(4, 16, 8), (4 * 792 * 23171 + 8192) >> 17);
    const auto inside = [&](int32_t w, int32_t h) {
        const auto product = [&](int32_t x, int32_t y) { return sign(x) * sign(y) / 70; };
        return transformed(wordsOf(w, h, product), DAX_DCT_FORWARD, w / 2, h / 2);
    };
    EXPECT_EQ(inside(4, 16), 140 * 16 >> 2); // 198 in a row, 2240 with the columns
    EXPECT_EQ(inside(8, 4), (70 * 16 * 23171 + 8192) >> 16);
}

// Before the inverse, the first element is halved and the others of the first row and column go by
// the root of 1/2; afterwards all are scaled alike.
TEST(Dct, FixedPointInverseStepsAreExact) {
    const auto back = [](int32_t w, int32_t h, int32_t x, int32_t y, int32_t value) {
        const Image spectrum =
            wordsOf(w, h, [=](int32_t u, int32_t v) { return u == x && v == y ? value : 0; });
        return transformed(spectrum, DAX_DCT_INVERSE, 0, 0);
    };
    EXPECT_EQ(back(16, 4, 0, 0, 801), ((801 + 1) >> 1) >> 2);
    EXPECT_EQ(back(16, 4, 0, 0, 32767), (32767 >> 1) >> 2);
    EXPECT_EQ(back(16, 4, 0, 0, -801), (-800 >> 1) >> 2);
    EXPECT_EQ(back(8, 4, 0, 0, 801), (401 * 23171 + 8192) >> 16);
    // 280 becomes 198, of which the cosine makes 140; without the edge 396 makes 280 and 198.
    EXPECT_EQ(back(16, 4, 8, 0, 280), 140 >> 2);
    EXPECT_EQ(back(16, 4, 0, 2, 280), 140 >> 2);
    EXPECT_EQ(back(8, 4, 4, 0, 280), (140 * 23171 + 8192) >> 16);
    EXPECT_EQ(back(16, 4, 8, 2, 396), 198 >> 2);
}

TEST(Dct, SignedWordsForUnsignedOnesInFixedPoint) {
    Image src({.depth = DAX_DEPTH_16U, .width = 4, .height = 4});
    Image dst({.depth = DAX_DEPTH_16S, .width = 4, .height = 4});
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 4; ++x) src.set(x, y, 1, 65535);
    daxDCT2D(src, dst, DAX_DCT_FORWARD);
    EXPECT_EQ(dst.get(0, 0, 1), -4);
    EXPECT_EQ(dst.get(1, 0, 1), 0);
}

TEST(Dct, RefusesImagesThatDontFit) {
    kit::Reports reports;
    Random random(1);
    const Shape shape = {.channels = 2, .width = 8, .height = 8};
    Image src(shape, random);
    const std::string incompatible = "-5 daxDCT2D daxdct2d Images are not compatible";
    const auto refused = [&](void (*change)(Image&)) {
        Image dst(shape, random);
        change(dst);
        const Image before = dst;
        daxDCT2D(src, dst, DAX_DCT_FORWARD);
        EXPECT_THAT(reports.take(), ElementsAre(incompatible));
        EXPECT_EQ(dst.bytes(), before.bytes());
    };
    refused([](Image& dst) { dst->nChannels = 1; });
    refused([](Image& dst) { dst->roi = &dst.roi; });
    refused([](Image& dst) { dst->width = 7; });
    refused([](Image& dst) { dst->height = 7; });
    refused([](Image& dst) { dst->dataOrder = DAX_DATA_PLANE; });
    daxDCT2D(src, src, DAX_DCT_FORWARD);
    EXPECT_THAT(reports.take(), ElementsAre(incompatible));

    Image dst(shape, random);
    src->roi = &src.roi;
    dst->roi = &dst.roi;
    dst.roi = src.roi = {0, 0, 0, 8, 8};
    dst.roi.xOffset = 1;
    daxDCT2D(src, dst, DAX_DCT_FORWARD);
    EXPECT_THAT(reports.take(), ElementsAre(incompatible));
    daxDCT2D(nullptr, nullptr, DAX_DCT_FORWARD);
    EXPECT_THAT(reports.take(),
                ElementsAre("-5 daxDCT2D daxdct2d src==0", "-5 daxDCT2D daxdct2d dst==0"));

    // No direction or both, a status from before, and a larger source: nothing, and not a word.
    dst.roi.xOffset = 0;
    const Image before = dst;
    for (const int32_t flags : {0, DAX_DCT_FORWARD | DAX_DCT_INVERSE}) daxDCT2D(src, dst, flags);
    daxSetErrStatus(DAX_StatusOutOfMemory);
    daxDCT2D(src, dst, DAX_DCT_FORWARD);
    daxSetErrStatus(DAX_StatusNoError);
    EXPECT_EQ(dst.bytes(), before.bytes());
    EXPECT_THAT(reports.take(), ElementsAre());
}

} // namespace
