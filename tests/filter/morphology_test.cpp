// Erosion, dilation, opening and closing against a plain model of passes and iterations.

#include "filter/window.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;

struct Operation {
    const char* name;
    void (*call)(DaxImage*, DaxImage*, int32_t, const DaxMapping*);
    bool paired;
    bool dilatesFirst;
};

constexpr Operation operations[] = {{"daxErode", daxErode, false, false},
                                    {"daxDilate", daxDilate, false, true},
                                    {"daxOpen", daxOpen, true, false},
                                    {"daxClose", daxClose, true, true}};

// One pass over one channel of each image. The pixels around the region are the source's at the
// pass's start; the source may be the destination.
void passByModel(bool dilates, Image& src, Image& dst, int32_t iterations, bool fromDestination,
                 int32_t srcChannel, int32_t dstChannel) {
    const DaxROI from = window::cutRegion(src.operator->());
    const DaxROI to = window::cutRegion(dst.operator->());
    const int32_t height = std::min(from.height, to.height);
    const int32_t width = std::min(from.width, to.width);
    if (height <= 0 || width <= 0) return;
    const auto at = [&](int32_t x, int32_t y) {
        return static_cast<size_t>(y + 1) * static_cast<size_t>(width + 2) +
               static_cast<size_t>(x + 1);
    };
    std::vector<int64_t> now(at(width, height) + 1);
    for (int32_t y = -1; y <= height; ++y)
        for (int32_t x = -1; x <= width; ++x)
            now[at(x, y)] = window::storedAt(src, from.xOffset + x, from.yOffset + y, srcChannel);
    if (fromDestination)
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                now[at(x, y)] = dst.get(to.xOffset + x, to.yOffset + y, dstChannel);
    for (int32_t k = 0; k < iterations; ++k) {
        const std::vector<int64_t> before = now;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) {
                int64_t best = before[at(x, y)];
                for (int32_t v = y - 1; v <= y + 1; ++v)
                    for (int32_t u = x - 1; u <= x + 1; ++u)
                        best = dilates ? std::max(best, before[at(u, v)])
                                       : std::min(best, before[at(u, v)]);
                now[at(x, y)] = best;
            }
    }
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            dst.set(to.xOffset + x, to.yOffset + y, dstChannel, now[at(x, y)]);
}

bool served(int32_t depth) {
    return depth == DAX_DEPTH_1U || depth == DAX_DEPTH_8U || depth == DAX_DEPTH_16U;
}

void carryOutByModel(const Operation& operation, Image& src, Image& dst, int32_t iterations) {
    if (!served(dst->depth)) return;
    const auto pass = [&](bool dilates, int32_t count, bool fromDestination) {
        const DaxROI from = window::cutRegion(src.operator->());
        const DaxROI to = window::cutRegion(dst.operator->());
        const bool one = from.coi != 0 || src->nChannels == 1;
        for (int32_t channel = 1; channel <= (one ? 1 : src->nChannels); ++channel)
            passByModel(dilates, src, dst, count, fromDestination,
                        one ? std::max(from.coi, 1) : channel, one ? std::max(to.coi, 1) : channel);
    };
    if (!operation.paired) {
        pass(operation.dilatesFirst, iterations, false);
        return;
    }
    for (int32_t k = 0; k < iterations; ++k) {
        pass(operation.dilatesFirst, 1, k > 0);
        pass(!operation.dilatesFirst, 1, true);
    }
}

std::vector<Image> anyPair(Random& random, bool tileable = false) {
    std::vector<Shape> shapes = kit::fittingShapes(random, 2, tileable);
    const int32_t depth = served(shapes[0].depth) || random.chance(10) ? shapes[0].depth
                          : random.chance(50)                          ? DAX_DEPTH_8U
                                                                       : DAX_DEPTH_16U;
    for (Shape& shape : shapes) {
        if (shape.depth != depth) shape.slack = 0;
        shape.depth = depth;
        shape.origin = shapes[0].origin;
    }
    std::vector<Image> images = kit::filledImages(random, shapes);
    window::anyBorders(random, images[0]);
    return images;
}

// An operation on copies, with every instruction set.
void expectLikeModel(const Operation& operation, const Image& src, const Image& dst, bool inPlace,
                     int32_t iterations) {
    Image read = src;
    Image expected = dst;
    carryOutByModel(operation, inPlace ? expected : read, expected, iterations);
    kit::forEachIsa([&] {
        Image from = src;
        Image is = dst;
        operation.call(inPlace ? is : from, is, iterations, nullptr);
        EXPECT_EQ(kit::byteDifference(is, expected), "")
            << operation.name << " " << iterations << " times, in place " << inPlace << "\n"
            << src.shape().text();
        EXPECT_EQ(kit::byteDifference(from, src), "");
    });
}

TEST(Morphology, PlainImagesAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(4000, [](Random& random) {
        const std::vector<Image> images = anyPair(random);
        expectLikeModel(random.of(operations), images[0], images[1], false, random.in(1, 4));
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

TEST(Morphology, InPlace) {
    kit::forSeeds(2500, [](Random& random) {
        const std::vector<Image> images = anyPair(random);
        expectLikeModel(random.of(operations), images[0], images[0], true, random.in(1, 4));
    });
}

// Rows longer than every vector, bits at every phase, sparse enough to leave something.
TEST(Morphology, WideRows) {
    kit::forSeeds(40, [](Random& random) {
        for (const Operation& operation : operations)
            for (const int32_t depth : {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U}) {
                Shape shape = {.depth = depth, .width = random.in(300, 1300), .height = 5};
                shape.roi = DaxROI{0, random.in(0, 70), 1, 3, random.in(200, 1200)};
                shape.shift = random.in(0, 7);
                Image src(shape, random);
                for (int32_t i = 0; depth == DAX_DEPTH_1U && i < 2; ++i)
                    for (size_t at = 0; at < src.size(); ++at) {
                        const auto more = static_cast<uint8_t>(random.bits());
                        uint8_t& byte = src.data()[at];
                        byte = static_cast<uint8_t>(operation.dilatesFirst ? byte & more
                                                                           : byte | more);
                    }
                window::anyBorders(random, src);
                shape.roi->xOffset = random.in(0, 70);
                const Image dst(shape, random);
                expectLikeModel(operation, src, dst, false, 1);
                expectLikeModel(operation, src, src, true, 2);
            }
    });
}

TEST(Morphology, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(500, [](Random& random) {
        const std::vector<Image> images = anyPair(random, true);
        const Operation& operation = random.of(operations);
        const int32_t iterations = random.in(1, 3);
        kit::expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& is) {
            operation.call(is[0], is[1], iterations, nullptr);
        });
        // In place, on tiles.
        Image plain = images[0];
        kit::TileLog log;
        kit::Tiles tiled(images[0], 'T', random.in(1, 3) * 8, 8, log);
        operation.call(plain, plain, iterations, nullptr);
        operation.call(tiled, tiled, iterations, nullptr);
        EXPECT_EQ(kit::pixelDifference(tiled.gathered(), plain), "");
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// The frame's rows, its columns, and then row by row: the next row is read before a row of the
// destination is asked for to be read and to be written.
TEST(Morphology, TilesInOrder) {
    Random random(8);
    Image src({.width = 16, .height = 16, .roi = DaxROI{0, 6, 8, 2, 4}}, random);
    Image dst({.width = 16, .height = 16, .roi = DaxROI{0, 4, 0, 2, 4}}, random);
    kit::TileLog log;
    kit::Tiles from(src, 'S', 8, 8, log);
    kit::Tiles to(dst, 'D', 16, 8, log);
    daxDilate(from, to, 2, nullptr);
    EXPECT_EQ(window::requests(log), "Sr0,0 Sr1,0 Sr0,1 Sr1,1 "
                                     "Sr0,0 Sr0,1 Sr0,1 Sr0,1 Sr1,0 Sr1,1 Sr1,1 Sr1,1 "
                                     "Sr0,1 Sr1,1 Sr0,1 Sr1,1 Dr0,0 Dw0,0 Dr0,0 Dw0,0 "
                                     "Dr0,0 Dr0,0 Dr0,0 Dw0,0 Dr0,0 Dw0,0 ");
}

// A dilation grows by a pixel with every iteration; what lies around a region neither grows nor
// shrinks.
TEST(Morphology, IterationsInsideTheRegion) {
    Image src({.width = 9, .height = 9});
    src.set(4, 4, 1, 255);
    Image dst({.width = 9, .height = 9});
    daxDilate(src, dst, 2, nullptr);
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(dst.get(x, y, 1), std::abs(x - 4) <= 2 && std::abs(y - 4) <= 2 ? 255 : 0);
    // The white pixel stands outside the region, whose own edge it keeps white: from there the
    // white goes on, and the black around the rest of the region wins no ground either.
    src.roi = {0, 5, 0, 9, 4};
    dst.roi = {0, 0, 0, 9, 4};
    src->roi = &src.roi;
    dst->roi = &dst.roi;
    daxDilate(src, dst, 1, nullptr);
    EXPECT_EQ(dst.get(0, 3, 1) + dst.get(0, 4, 1) + dst.get(0, 5, 1), 3 * 255);
    EXPECT_EQ(dst.get(1, 4, 1), 0);
    daxDilate(src, dst, 3, nullptr);
    EXPECT_EQ(dst.get(2, 4, 1), 255);
    EXPECT_EQ(dst.get(3, 4, 1), 0);
}

TEST(Morphology, ReportsInOrder) {
    const auto tile = [](DaxImage*, int32_t, int32_t, int32_t) {};
    for (const Operation& operation : operations) {
        kit::Reports reports;
        Random random(1);
        const Shape shape = {.channels = 3, .width = 9, .height = 5};
        Image src(shape, random);
        Image dst(shape, random);
        const std::vector<uint8_t> before = dst.bytes();
        DaxImage* from = nullptr;
        DaxImage* to = nullptr;
        DaxTileInfo srcTiles = {nullptr, 0, nullptr, 8, 8};
        DaxTileInfo dstTiles = {tile, 0, nullptr, 8, 0};
        src->tileInfo = &srcTiles;
        dst->tileInfo = &dstTiles;
        void* const srcData = src->imageData;
        void* const dstData = dst->imageData;
        int32_t iterations = 0;
        const DaxMapping somewhere = {0, 0};
        const DaxMapping* mapping = &somewhere;
        src->width = dst->width = 0;
        src->depth = DAX_DEPTH_16U;
        src->dataOrder = DAX_DATA_PLANE;
        src->origin = 1;
        src->nChannels = 1;
        const auto untile = [](Image& image, void* data) {
            image->tileInfo = nullptr;
            image->imageData = data;
        };
        const struct {
            std::string text;
            std::function<void()> mend;
        } steps[] = {
            {"Null SRC image header", [&] { from = src; }},
            {"Null DST image header", [&] { to = dst; }},
            {"Specify exactly SRC image mode (non-tile/tile)", [&] { src->imageData = nullptr; }},
            {"Specify exactly DST image mode (non-tile/tile)", [&] { dst->imageData = nullptr; }},
            {"Illegal SRC tile info contents", [&] { untile(src, srcData); }},
            {"Illegal DST tile info contents", [&] { untile(dst, dstData); }},
            {"Illegal number of of iterations", [&] { iterations = 1; }},
            {"Mapping must be NULL", [&] { mapping = nullptr; }},
            {"Illegal SRC image header contents", [&] { src->width = 9; }},
            {"Illegal DST image header contents", [&] { dst->width = 9; }},
            {"SRC and DST depth are not compatible", [&] { src->depth = DAX_DEPTH_8U; }},
            {"SRC and DST order are not compatible", [&] { src->dataOrder = DAX_DATA_PIXEL; }},
            {"SRC and DST orign are not compatible", [&] { src->origin = 0; }},
            {"SRC and DST number of channels are not compatible", [&] { src->nChannels = 3; }},
        };
        const std::string name = operation.name;
        for (const auto& step : steps) {
            operation.call(from, to, iterations, mapping);
            EXPECT_EQ(dst.bytes(), before);
            EXPECT_EQ(reports.take(), std::vector{"-5 " + name + " " + name + " " + step.text});
            step.mend();
        }
        // A status from before is cleared and holds nothing back.
        daxSetErrStatus(DAX_StatusUnsupported);
        operation.call(from, to, iterations, mapping);
        EXPECT_EQ(daxGetErrStatus(), DAX_StatusNoError);
        EXPECT_NE(dst.bytes(), before);
    }
}

// Signed depths pass the checks and nothing happens; the width of 32 bits isn't taken for another.
// Nor does anything happen to a region outside its image. No count of iterations makes that long.
TEST(Morphology, DepthsThatArentServed) {
    Random random(5);
    for (const Operation& operation : operations)
        for (const int32_t depth : {DAX_DEPTH_8S, DAX_DEPTH_16S, DAX_DEPTH_32S})
            for (const int32_t channels : {1, 3}) {
                const Shape shape = {.depth = depth, .channels = channels, .width = 9, .height = 5};
                Image src(shape, random);
                Image dst(shape, random);
                const std::vector<uint8_t> before = dst.bytes();
                kit::Reports reports;
                operation.call(src, dst, INT32_MAX, nullptr);
                EXPECT_EQ(dst.bytes(), before);
                src->depth = dst->depth = DAX_DEPTH_8U;
                dst.roi = {0, 9, 0, 5, 9};
                dst->roi = &dst.roi;
                operation.call(src, dst, INT32_MAX, nullptr);
                EXPECT_EQ(dst.bytes(), before);
                EXPECT_TRUE(reports.take().empty());
            }
}

TEST(Morphology, NoMemory) {
    Random random(6);
    for (const Operation& operation : operations)
        for (const int32_t depth : {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U}) {
            const int32_t requests = kit::forEachFailedRequest([&](kit::StandIn& platform) {
                kit::Reports reports;
                Image src({.depth = depth, .width = 20, .height = 5}, random);
                Image dst({.depth = depth, .width = 20, .height = 5});
                operation.call(src, dst, 2, nullptr);
                const std::string name = operation.name;
                std::vector<std::string> expected;
                // A pass that had no memory is the last one.
                if (platform.requests >= platform.failRequest) {
                    expected.push_back("-4 " + name + " " + name + " Not enough memory");
                    EXPECT_EQ(platform.requests, platform.failRequest);
                }
                EXPECT_EQ(reports.take(), expected);
            });
            EXPECT_GE(requests, operation.paired ? 4 : 1);
        }
}

} // namespace
