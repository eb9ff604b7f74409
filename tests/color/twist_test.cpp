// The colour twist beside a plain model of both its routes.

#include "color/colors.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

using namespace color;
using Values = std::array<int64_t, 3>;

int64_t limited(int64_t value, int64_t low, int64_t high) {
    return std::min(std::max(value, low), high);
}

bool packs(const DaxColorTwist& twist, bool bytes, int64_t offset) {
    const int64_t half = bytes ? 128 : 32768;
    if (twist.scalingValue > 15 || offset < -half || offset > half - 1) return false;
    for (int32_t k = 0; k < 3; ++k) {
        const int32_t* row = twist.data + 4 * k;
        int64_t rowSum = bytes ? 0 : int64_t{1} << twist.scalingValue;
        for (int32_t j = 0; j < 3; ++j) {
            if (row[j] < -32768 || row[j] > 32767) return false;
            rowSum += std::abs(int64_t{row[j]});
        }
        if (rowSum >= 32768) return false;
        if (-std::abs(int64_t{row[3]}) <= rowSum * (bytes ? 1 : 32768) - 2147483648) return false;
    }
    return true;
}

// A sum of 32 bits, which wraps.
int64_t wrapped(int64_t sum) { return static_cast<int32_t>(static_cast<uint32_t>(sum)); }

Values twisted(const DaxColorTwist& twist, bool packed, bool bytes, int64_t offset, Values from) {
    const int64_t most = bytes ? 255 : 65535;
    Values to;
    for (size_t k = 0; k < 3; ++k) {
        const int32_t* row = twist.data + 4 * k;
        int64_t value;
        if (packed) {
            int64_t sum = row[3];
            for (size_t j = 0; j < 3; ++j) sum += row[j] * from[j];
            const int64_t flip = bytes ? 0 : 32768;
            value = (wrapped(sum - (flip << twist.scalingValue)) >> twist.scalingValue) + flip;
            value = limited(value, 0, most);
        } else {
            // Whole numbers up to here are exact.
            double sum = row[3];
            for (size_t j = 0; j < 3; ++j) sum += static_cast<double>(row[j] * from[j]);
            sum = std::ldexp(sum, -twist.scalingValue);
            value = limited(static_cast<int64_t>(std::min(std::max(sum, 0.0), 1e9)), 0, most);
        }
        to[k] = limited(value + offset, 0, most);
    }
    return to;
}

DaxColorTwist anyTwist(Random& random) {
    DaxColorTwist twist;
    twist.scalingValue = random.oneOf({0, 1, 7, 8, 13, 14, 15, 16, 30, 31});
    const int32_t one = 1 << std::min(twist.scalingValue, 30);
    const int32_t range = random.oneOf({one / 2 + 1, 400, 9000, 11000, 33000});
    for (int32_t& element : twist.data) element = random.in(-range, range);
    for (int32_t k = 3; k < 12; k += 4)
        twist.data[k] = random.chance(10) ? random.oneOf({INT32_MIN, INT32_MAX, INT32_MIN + 40000})
                                          : random.in(-1 - one, one) * random.in(0, 1);
    return twist;
}

Shape anyShape(Random& random, int32_t depth, int32_t order, int32_t channels) {
    Shape shape = anyColour(random, depth, order, channels);
    shape.slack = 0;
    shape.height = random.in(1, 40);
    if (random.chance(60))
        shape.roi = DaxROI{random.in(0, channels), random.in(0, shape.width),
                           random.in(0, shape.height), random.in(1, 40), random.in(1, 300)};
    return shape;
}

void byModel(const Image& src, Image& dst, const DaxColorTwist& twist, int32_t offset) {
    const DaxROI from = kit::cutRegion(&src.header);
    const DaxROI to = kit::cutRegion(dst);
    const bool bytes = src.shape().depth == DAX_DEPTH_8U;
    const bool packed =
        src.shape().channels == 3 && dst.shape().channels == 3 && packs(twist, bytes, offset);
    for (int32_t y = 0; y < from.height && y < to.height; ++y)
        for (int32_t x = 0; x < from.width && x < to.width; ++x) {
            Values pixel;
            for (int32_t c = 0; c < 3; ++c)
                pixel[static_cast<size_t>(c)] = src.get(from.xOffset + x, from.yOffset + y, c + 1);
            const Values result = twisted(twist, packed, bytes, offset, pixel);
            for (int32_t c = 0; c < 3; ++c)
                dst.set(to.xOffset + x, to.yOffset + y, c + 1, result[static_cast<size_t>(c)]);
        }
}

int32_t anyOffset(Random& random) {
    return random.oneOf({0,   0,    -10,  7,    127,   128,   -128,  -129,  254,    255,
                         300, -254, -255, -300, 32767, 32768, 65534, 65535, -65534, -65535});
}

struct Pair {
    Image src;
    Image dst;
};

Pair anyPair(Random& random) {
    const int32_t depth = random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_16U});
    const int32_t order = random.in(0, 1);
    const int32_t channels = random.oneOf({3, 3, 4});
    return {Image(anyShape(random, depth, order, channels), random),
            Image(anyShape(random, depth, order, random.chance(80) ? channels : 4), random)};
}

TEST(ColorTwist, LikeThePlainModel) {
    kit::Reports reports;
    int32_t packed = 0;
    kit::forEachIsa([&] {
        kit::forSeeds(400, [&](Random& random) {
            Pair is = anyPair(random);
            const DaxColorTwist twist = anyTwist(random);
            const int32_t offset = anyOffset(random);
            Image expected = is.dst;
            byModel(is.src, expected, twist, offset);
            daxApplyColorTwist(is.src, is.dst, &twist, offset, nullptr);
            EXPECT_EQ(kit::byteDifference(is.dst, expected), "")
                << is.src.shape().text() << " to " << is.dst.shape().text() << " scale "
                << twist.scalingValue << " offset " << offset;
            packed += packs(twist, is.src.shape().depth == DAX_DEPTH_8U, offset);
        });
    });
    EXPECT_GT(packed, 50);
    EXPECT_EQ(reports.take(), Lines{});
}

TEST(ColorTwist, TheRoutesPartAtTheirLimits) {
    for (const int32_t more : {-1, 0}) {
        // Negative sums that are whole in no route: rounded down by one, cut by the other.
        DaxColorTwist twist = {{-16383 + more, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 70000}, 14};
        Random random(4);
        Image src({.depth = DAX_DEPTH_16U, .channels = 3, .width = 50}, random);
        Image dst({.depth = DAX_DEPTH_16U, .channels = 3, .width = 50});
        Image expected = dst;
        EXPECT_EQ(packs(twist, false, 100), more == 0);
        byModel(src, expected, twist, 100);
        daxApplyColorTwist(src, dst, &twist, 100, nullptr);
        EXPECT_EQ(kit::byteDifference(dst, expected), "");
    }
}

TEST(ColorTwist, InPlaceAndTiled) {
    kit::forSeeds(60, [](Random& random) {
        Pair is = anyPair(random);
        const DaxColorTwist twist = anyTwist(random);
        const int32_t offset = anyOffset(random);
        Image expected = is.src;
        byModel(is.src, expected, twist, offset);
        Image own = is.src;
        daxApplyColorTwist(own, own, &twist, offset, nullptr);
        EXPECT_EQ(kit::byteDifference(own, expected), "") << own.shape().text();
        std::vector<Image> images = {is.src, is.dst};
        kit::expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& i) {
            daxApplyColorTwist(i[0], i[1], &twist, offset, nullptr);
        });
    });
}

constexpr DaxColorTwist identity = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 5, 5, 5}, 0};

TEST(ColorTwist, MappedTile) {
    kit::Reports reports;
    Random random(1);
    Image src({.channels = 3, .width = 30, .height = 30}, random);
    Image dst({.channels = 3, .width = 30, .height = 30, .roi = DaxROI{0, 10, 3, 20, 12}}, random);
    Image whole = dst;
    byModel(src, whole, identity, 0);
    // The tile from (16, 0) to (23, 7): all of it from row 3 to column 21.
    const DaxMapping in = {18, 1};
    kit::TileLog log;
    kit::Tiles d(dst, 'D', 8, 8, log);
    daxApplyColorTwist(src, d, &identity, 0, &in);
    EXPECT_EQ(log.lines, (Lines{"D write 2,0", "D release 2,0"}));
    const Image is = d.gathered();
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 30; ++x)
            EXPECT_EQ(is.get(x, y, 2), (x / 8 == 2 && y / 8 == 0 ? whole : dst).get(x, y, 2));
    const auto textFor = [&](int32_t x, int32_t y) {
        const DaxMapping beside = {x, y};
        daxApplyColorTwist(src, d, &identity, 0, &beside);
        const Lines lines = reports.take();
        return lines.size() == 1 ? lines[0] : "";
    };
    EXPECT_EQ(textFor(0, 24),
              "-5 daxApplyColorTwist daxtwist (((Mapping->yDst - Mapping->yDst % height_tile_d + "
              "height_tile_d) <= coord_Y_dst) || ((Mapping->yDst - Mapping->yDst % height_tile_d) "
              ">= max_Y))");
    EXPECT_EQ(textFor(7, 16),
              "-5 daxApplyColorTwist daxtwist (((Mapping->xDst - Mapping->xDst % width_tile_d + "
              "width_tile_d) <= coord_X_dst) || ((Mapping->xDst - Mapping->xDst % width_tile_d) >= "
              "max_X))");
    EXPECT_NE(textFor(24, 16), "");
    EXPECT_EQ(textFor(8, 16), "");
}

TEST(ColorTwist, Record) {
    kit::Reports reports;
    kit::StandIn platform;
    int32_t data[16];
    for (int32_t i = 0; i < 16; ++i) data[i] = i * 7 - 40;
    const std::string create = "-5 daxCreateColorTwist daxtwist bad_argument";
    EXPECT_EQ(daxCreateColorTwist(nullptr, 0), nullptr);
    EXPECT_EQ(daxCreateColorTwist(data, -1), nullptr);
    EXPECT_EQ(daxCreateColorTwist(data, 32), nullptr);
    EXPECT_EQ(reports.take(), (Lines{create, create, create}));
    platform.failRequest = platform.requests + 1;
    EXPECT_EQ(daxCreateColorTwist(data, 3), nullptr);
    EXPECT_EQ(reports.take(), Lines{"-4 daxCreateColorTwist daxtwist out_of_memory"});
    DaxColorTwist* const twist = daxCreateColorTwist(data, 31);
    ASSERT_NE(twist, nullptr);
    EXPECT_TRUE(std::equal(data, data + 16, twist->data));
    EXPECT_EQ(twist->scalingValue, 31);
    const std::string set = "-5 daxSetColorTwist daxtwist ";
    daxSetColorTwist(nullptr, nullptr, -1);
    daxSetColorTwist(twist, nullptr, -1);
    daxSetColorTwist(twist, data, -1);
    daxSetColorTwist(twist, data, 32);
    EXPECT_EQ(reports.take(), (Lines{set + "cTwist==0", set + "(data == 0)",
                                     set + "(scalingValue < 0)", set + "(scalingValue > 31)"}));
    EXPECT_EQ(twist->scalingValue, 31);
    data[0] = 99;
    daxSetColorTwist(twist, data, 0);
    EXPECT_EQ(twist->data[0], 99);
    EXPECT_EQ(twist->scalingValue, 0);
    daxDeleteColorTwist(twist);
    daxDeleteColorTwist(nullptr);
    EXPECT_EQ(platform.live(), 0u);
    EXPECT_EQ(reports.take(), Lines{});
}

TEST(ColorTwist, ChecksInOrder) {
    kit::Reports reports;
    Image src({.depth = DAX_DEPTH_8S, .channels = 4, .width = 3});
    Image dst({.channels = 4, .width = 3, .order = DAX_DATA_PLANE, .origin = 1});
    src->nChannels = dst->nChannels = 2;
    src->align = dst->align = 3;
    const DaxColorTwist* twist = nullptr;
    struct Step {
        std::string text;
        std::function<void()> mend;
    };
    std::vector<Step> steps = {
        {"Image align is invalid                                                \n",
         [&] { src->align = 4; }},
        {"Image align is invalid                                                \n",
         [&] { dst->align = 4; }},
        {"cTwist==0", [&] { twist = &identity; }}};
    for (Image* image : {&src, &dst}) {
        const std::string one = image == &src ? "srcImage" : "dstImage";
        const std::string alpha = "((" + one + "->alphaChannel != 0) && (" + one;
        steps.push_back({"(" + one + "->nChannels < 3)",
                         [image] { (*image)->nChannels = 3, (*image)->alphaChannel = 3; }});
        steps.push_back({alpha + "->nChannels < 4))", [image] { (*image)->nChannels = 4; }});
        steps.push_back({alpha + "->alphaChannel < " + one + "->nChannels))",
                         [image] { (*image)->alphaChannel = 4; }});
    }
    steps.push_back({"(srcImage->depth != dstImage->depth)", [&] { dst->depth = DAX_DEPTH_8S; }});
    steps.push_back({"((srcImage->depth != 8) && (srcImage->depth != 16))",
                     [&] { src->depth = dst->depth = DAX_DEPTH_8U; }});
    steps.push_back(
        {"(srcImage->dataOrder != dstImage->dataOrder)", [&] { dst->dataOrder = DAX_DATA_PIXEL; }});
    steps.push_back({"(srcImage->origin != dstImage->origin)", [&] { dst->origin = 0; }});
    const std::vector<uint8_t> before = dst.bytes();
    for (const Step& step : steps) {
        daxApplyColorTwist(src, dst, twist, 0, nullptr);
        EXPECT_EQ(reports.take(), Lines{"-5 daxApplyColorTwist daxtwist " + step.text});
        EXPECT_EQ(dst.bytes(), before);
        step.mend();
    }
    daxApplyColorTwist(src, dst, twist, 0, nullptr);
    EXPECT_EQ(reports.take(), Lines{});
}

} // namespace
