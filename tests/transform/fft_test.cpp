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
#include <functional>
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
        {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 15, 16, 17, 20, 30, 32, 33, 37, 49, 64, 81, 89});
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

// Of all frequencies or samples that go into a sum; most numbers of a packed spectrum stand for
// two.
double sumOfSizes(const Field& field, bool isPacked) {
    double sum = 0;
    for (const double value : field.values) sum += std::abs(value);
    return isPacked ? 2 * sum : sum;
}

// How often a number is multiplied on its way through a transform of length n in fixed point: in
// each pass of radix 4 and where the two halves of real numbers part.
int products(int n) {
    int passes = n > 1 ? 1 : 0;
    for (int rest = n; (n & (n - 1)) == 0 && rest > 4; rest /= 4) ++passes;
    return passes;
}

// How far off the engine's numbers may be before they are stored. The float engine rounds to 24
// bits between rows and columns, after them, and with the scale and its product: by at most 2^-24
// of the sum of all sizes each time. In fixed point coefficients of 14 bits are off by 2^-15 each,
// so products of complex numbers by 2^-14; and what they cut off is less than 3.5 of 1/64, for each
// of the numbers that are summed up later.
double engineError(const Field& source, bool isPacked, bool fixed, double scale) {
    const double size = sumOfSizes(source, isPacked);
    if (!fixed) return size * 4 / (1 << 24) * scale;
    const int passes = products(source.width) + products(source.height);
    const double count = source.width * source.height;
    return passes * (size / (1 << 14) + count * 3.5 / 64) * scale + 1e-9;
}

// What becomes of a result in the store.
struct Store {
    bool fixed;
    bool rounds;     // floats: to nearest
    double lateUnit; // fixed point: what is scaled by this much only after it was cut, else 0
    int32_t depth;

    double operator()(double value) const {
        if (!fixed) return limited(rounds ? std::nearbyint(value) : std::trunc(value), depth);
        if (lateUnit > 0) return limited(std::nearbyint(cut(value / lateUnit) * lateUnit), depth);
        return limited(cut(value), depth);
    }
    static double cut(double value) { return value > -1 && value < 0 ? 0 : std::floor(value); }
};

bool isPowerOfTwo(int n) { return (n & (n - 1)) == 0; }

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
        const bool toPacked = way.call == daxRealFft2D;
        const bool shifts = w > 1 && h > 1 && isPowerOfTwo(w) && isPowerOfTwo(h);
        const Store store = {.fixed = fixed,
                             .rounds = toPacked && w > 1 && h > 1 && depth != DAX_DEPTH_8S,
                             .lateUnit = scale < 1 && !shifts ? scale : 0,
                             .depth = depth};
        for (int32_t c = 1; c <= channels; ++c) {
            if (!transformed(c)) continue;
            const Field source = fieldOfChannel(src, 1, 2, w, h, c);
            const Field model = way.model(source, inverse ? 1 : -1);
            const double error = engineError(source, !toPacked, fixed, scale);
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    const auto is = static_cast<double>(dst.get(1 + x, 2 + y, c));
                    const double value = model.at(x, y) * scale;
                    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " at " +
                                 std::to_string(x) + "," + std::to_string(y) + " flags " +
                                 std::to_string(flags) + " " + way.name);
                    ASSERT_GE(is, store(value - error));
                    ASSERT_LE(is, store(value + error));
                    expected.set(1 + x, 2 + y, c, dst.get(1 + x, 2 + y, c));
                }
        }
        EXPECT_EQ(byteDifference(dst, expected), "");
    });
    daxRealFft2D(nullptr, nullptr, DAX_FFT_FREE, nullptr);
}

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

    // Halves of the middle sample: -32 of 64 become 0 in the last shift, -64 and -96 are cut.
    const auto half = [](int64_t middle) {
        Image from = imageOf(DAX_DEPTH_16S, 3, 1, {0, middle, 0});
        Image to({.depth = DAX_DEPTH_16S, .width = 3, .height = 1});
        daxRealFft2D(from, to, DAX_FFT_FORWARD, nullptr);
        return to.get(1, 0, 1);
    };
    EXPECT_EQ(half(1), 0);
    EXPECT_EQ(half(2), -1);
    EXPECT_EQ(half(3), -2);
    EXPECT_EQ(half(-3), 1);
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

// Another image, of another size and channel, is transformed where the first ones lie. The way may
// be the other one, and the rectangle.
TEST(Fft, RepeatsThePlan) {
    kit::Reports reports;
    Random random(4);
    const Shape shape = {.depth = DAX_DEPTH_32S, .width = 20, .height = 12};
    Image src({.width = 20, .height = 12}, random);
    Image dst(shape);
    Image other({.depth = DAX_DEPTH_16S, .width = 5, .height = 3}, random);
    const Image untouched = other;
    const std::string bad = "-5 daxRealFft2D daxfft2d Error in input data";
    const std::string nothing = "-5 daxRealFft2D daxfft2d No calculations! Looking input data!";
    const auto refused = [&](int32_t flags, DaxROI roi) {
        other->roi = &other.roi;
        other.roi = roi;
        daxRealFft2D(other, other, flags, nullptr);
        other->roi = nullptr;
        return reports.take();
    };
    for (const Way& way : ways) {
        daxRealFft2D(src, dst, DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
        Image expected = dst;
        way.call(src, expected, DAX_FFT_FORWARD, nullptr);
        memset(dst.data(), 0, dst.size());
        daxRealFft2D(src, dst, DAX_FFT_FORWARD, nullptr);
        // What is refused doesn't change the plan.
        EXPECT_THAT(refused(DAX_FFT_REPEAT, {0, 18, 0, 1, 3}), ElementsAre(bad));
        EXPECT_THAT(refused(DAX_FFT_FORWARD | DAX_FFT_INVERSE, {0, 0, 0, 3, 5}), ElementsAre(bad));
        EXPECT_THAT(refused(DAX_FFT_REPEAT, {0, 3, 2, 1, 1}), ElementsAre(nothing));
        memset(dst.data(), 0, dst.size());
        way.call(other, other, DAX_FFT_REPEAT | DAX_FFT_INVERSE, nullptr);
        EXPECT_EQ(byteDifference(dst, expected), "");
        EXPECT_EQ(other.bytes(), untouched.bytes());
    }
    Image part = dst;
    part->roi = &part.roi;
    src->roi = &src.roi;
    src.roi = part.roi = {0, 3, 4, 8, 15};
    daxRealFft2D(src, part, DAX_FFT_FORWARD | DAX_FFT_USEFLOAT, nullptr);
    src->roi = nullptr;
    const Image before = dst;
    daxRealFft2D(src, dst, DAX_FFT_FORWARD | DAX_FFT_USEFLOAT, nullptr);
    dst.takeBytes(before);
    daxRealFft2D(part, part, DAX_FFT_REPEAT, nullptr);
    EXPECT_EQ(byteDifference(dst, part), "");
    EXPECT_THAT(reports.take(), ElementsAre());
    // A thread has a plan of its own, at first of no pixels.
    std::thread([&] {
        kit::Reports inThread;
        daxRealFft2D(src, dst, DAX_FFT_REPEAT, nullptr);
        EXPECT_THAT(inThread.take(), ElementsAre(nothing));
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

// The second try has what the first one lacked, and finds the source as it was: in place, too.
TEST(Fft, EveryAllocationMayFail) {
    kit::Reports reports;
    Random random(5);
    const Image src({.depth = DAX_DEPTH_16S, .channels = 3, .width = 37, .height = 12}, random);
    for (const Way& way : ways)
        for (const int32_t engine : {DAX_FFT_USEFLOAT, DAX_FFT_USEINT}) {
            Image whole = src;
            way.call(whole, whole, engine | DAX_FFT_INVERSE, nullptr);
            daxDCT2D(nullptr, nullptr, DAX_DCT_FREE);
            kit::StandIn platform;
            for (int32_t fail = 1; fail == 1 || platform.requests >= platform.failRequest; ++fail) {
                Image image = src;
                platform.requests = 0;
                platform.failRequest = fail;
                way.call(image, image, engine | DAX_FFT_INVERSE, nullptr);
                EXPECT_THAT(reports.take(), ElementsAre());
                EXPECT_EQ(image.bytes(), whole.bytes());
                EXPECT_EQ(platform.live(), 0U) << "request " << fail;
            }
        }
}

// Without memory in the second try, too. What was kept is gone then.
TEST(Fft, ReportsThatThereIsNoMemory) {
    kit::Reports reports;
    Random random(9);
    const Shape shape = {.depth = DAX_DEPTH_16S, .channels = 2, .width = 12, .height = 14};
    Image src(shape, random);
    Image dst(shape, random);
    // The record that plans hang on stays with the thread.
    Image first(shape);
    daxRealFft2D(src, first, DAX_FFT_USEFLOAT | DAX_FFT_FORWARD, nullptr);
    for (const Way& way : ways)
        for (const int32_t engine : {DAX_FFT_USEFLOAT, DAX_FFT_USEINT}) {
            kit::StandIn platform;
            Image kept(shape);
            way.call(src, kept, engine | DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
            const size_t live = platform.live();
            EXPECT_GT(live, 0U);
            const Image before = dst;
            src->roi = dst->roi = &src.roi;
            src.roi = {0, 0, 0, 13, 11};
            ownPlatform.heapAlloc = [](size_t) -> void* { return nullptr; };
            way.call(src, dst, engine | DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
            EXPECT_THAT(reports.take(), ElementsAre("-5 " + std::string(way.name) +
                                                    " daxfft2d Error in input data"));
            EXPECT_EQ(platform.live(), 0U);
            src->roi = dst->roi = nullptr;
            EXPECT_EQ(byteDifference(dst, before), "");
        }
}

// Tables and work memory stay with DAX_FFT_KEEP, serve the next call, survive one that is refused
// and go with DAX_FFT_FREE, which looks at nothing else, or with a call without DAX_FFT_KEEP.
TEST(Fft, KeepsAndFrees) {
    kit::Reports reports;
    Image src({.width = 20, .height = 12});
    Image dst({.width = 20, .height = 12});
    daxRealFft2D(src, dst, DAX_FFT_FORWARD, nullptr);
    for (const int32_t engine : {DAX_FFT_USEFLOAT, DAX_FFT_USEINT}) {
        kit::StandIn platform;
        daxRealFft2D(src, dst, engine | DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
        const size_t kept = platform.live();
        EXPECT_GT(kept, 0U);
        const int32_t requests = platform.requests;
        daxCcsFft2D(src, dst, engine | DAX_FFT_INVERSE | DAX_FFT_KEEP, nullptr);
        EXPECT_EQ(platform.requests, requests);
        daxRealFft2D(src, dst, 0, nullptr);
        EXPECT_THAT(reports.take(), ElementsAre("-5 daxRealFft2D daxfft2d Error in input data"));
        EXPECT_EQ(platform.live(), kept);
        daxSetErrStatus(DAX_StatusBadArgument);
        daxRealFft2D(nullptr, nullptr, DAX_FFT_FREE | DAX_FFT_KEEP, &src);
        daxSetErrStatus(DAX_StatusNoError);
        EXPECT_EQ(platform.live(), 0U);
        // What is kept for another size goes where memory is lacking.
        daxRealFft2D(src, dst, engine | DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
        Image other({.width = 22, .height = 14});
        platform.failRequest = platform.requests + 1;
        daxRealFft2D(other, other, engine | DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr);
        EXPECT_EQ(platform.live(), kept);
        daxRealFft2D(src, dst, engine | DAX_FFT_FORWARD, nullptr);
        EXPECT_EQ(platform.live(), 0U);
        EXPECT_THAT(reports.take(), ElementsAre());
    }
}

TEST(Fft, RefusesWhatItCantTransform) {
    kit::Reports reports;
    Random random(6);
    const Shape shape = {.channels = 3, .width = 16, .height = 16};
    const std::string start = "-5 daxCcsFft2D daxfft2d ";
    const std::string bad = start + "Error in input data";
    const std::string nothing = start + "No calculations! Looking input data!";
    const auto setRoi = [](Image& image, DaxROI roi) {
        image.roi = roi;
        image->roi = &image.roi;
    };
    const struct {
        std::vector<std::string> reports;
        std::function<void(Image& src, Image& dst)> spoil = nullptr;
        int32_t flags = DAX_FFT_FORWARD;
        const void* map = nullptr;
        int32_t status = DAX_StatusNoError;
    } cases[] = {
        {{bad}, nullptr, 0},
        {{bad}, nullptr, DAX_FFT_FORWARD | DAX_FFT_INVERSE},
        {{bad}, nullptr, DAX_FFT_FORWARD | DAX_FFT_USEINT | DAX_FFT_USEFLOAT},
        {{start + "(map!=((void*)(0)))"}, nullptr, 0, &shape},
        {{bad}, [](Image& src, Image&) { src->align = 3; }},
        {{bad}, [](Image&, Image& dst) { dst->align = 3; }},
        {{bad}, [](Image& src, Image&) { src->nChannels = 2; }},
        {{bad}, [](Image& src, Image&) { src->alphaChannel = 2; }},
        {{bad}, [](Image& src, Image&) { src->depth = DAX_DEPTH_1U, src->nChannels = 1; }},
        {{bad},
         [&](Image& src, Image&) {
             setRoi(src, {1, 0, 0, 16, 16});
         }},
        {{bad},
         [&](Image& src, Image&) {
             setRoi(src, {0, 1, 0, 16, 16});
         }},
        {{bad},
         [&](Image&, Image& dst) {
             setRoi(dst, {0, 0, 9, 8, 16});
         }},
        {{nothing},
         [&](Image& src, Image&) {
             setRoi(src, {0, 7, 5, 1, 1});
         }},
        {{nothing},
         [&](Image& src, Image& dst) {
             setRoi(src, {0, 0, 0, 4, 4});
             setRoi(dst, {0, 4, 4, 4, 4});
         }},
        {{nothing},
         [&](Image& src, Image& dst) {
             setRoi(src, {2, 0, 0, 16, 16});
             setRoi(dst, {2, 0, 0, 16, 16});
             src->alphaChannel = dst->alphaChannel = 3;
         }},
        {{start + "srcImage->imageData==0"}, [](Image& src, Image&) { src->imageData = nullptr; }},
        {{start + "srcImage->imageData==0", start + "dstImage->imageData==0"},
         [](Image& src, Image& dst) { src->imageData = dst->imageData = nullptr; }},
        // A status from before: what is found before it is read is told, the rest isn't.
        {{}, nullptr, 0, &shape, DAX_StatusOutOfMemory},
    };
    for (const auto& is : cases) {
        Image src(shape, random);
        Image dst(shape, random);
        const std::vector<uint8_t> before = dst.bytes();
        if (is.spoil) is.spoil(src, dst);
        daxSetErrStatus(is.status);
        daxCcsFft2D(src, dst, is.flags, is.map);
        EXPECT_EQ(reports.take(), is.reports);
        EXPECT_EQ(dst.bytes(), before);
    }
    Image src(shape);
    daxSetErrStatus(DAX_StatusOutOfMemory);
    daxCcsFft2D(src, nullptr, DAX_FFT_FORWARD, nullptr);
    daxCcsFft2D(nullptr, nullptr, DAX_FFT_FORWARD, nullptr);
    EXPECT_THAT(reports.take(),
                ElementsAre(start + "dstImage==0", start + "srcImage==0", start + "dstImage==0"));
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
