// daxConvolveSep2D against a plain model in wrapping 32-bit arithmetic.

#include "filter/window.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using Lines = std::vector<std::string>;

struct Filter {
    std::vector<int8_t> across, down;
    int32_t anchorX = 0, anchorY = 0, shiftX = 0, shiftY = 0;

    void run(DaxImage* src, DaxImage* dst) {
        // What isn't looked at says nothing sound.
        const DaxConvKernel x = {
            -5, static_cast<int32_t>(across.size()), anchorX, -9, shiftX, across.data()};
        const DaxConvKernel y = {
            static_cast<int32_t>(down.size()), -5, -9, anchorY, shiftY, down.data()};
        daxConvolveSep2D(src, dst, &x, &y);
    }
};

int32_t shownCoi(const DaxImage* image) { return image->roi != nullptr ? image->roi->coi : 0; }

void runModel(const Filter& filter, const Image& src, Image& dst) {
    const auto sizes = [](const DaxImage* image, int32_t* height, int32_t* width) {
        *height = std::min(
            {*height, image->height, image->roi != nullptr ? image->roi->height : INT32_MAX});
        *width =
            std::min({*width, image->width, image->roi != nullptr ? image->roi->width : INT32_MAX});
    };
    int32_t height = INT32_MAX, width = INT32_MAX;
    sizes(&src.header, &height, &width);
    sizes(&dst.header, &height, &width);
    const int32_t srcX = src->roi != nullptr ? src->roi->xOffset : 0,
                  srcY = src->roi != nullptr ? src->roi->yOffset : 0;
    const int32_t dstX = dst->roi != nullptr ? dst->roi->xOffset : 0,
                  dstY = dst->roi != nullptr ? dst->roi->yOffset : 0;
    const int32_t a = shownCoi(&src.header),
                  b = shownCoi(&dst.header) != 0 ? shownCoi(&dst.header) : a;
    const auto value = [&](int32_t x, int32_t y, int32_t channel) {
        const int64_t sample = window::sampleAt(src, x, y, channel);
        return static_cast<uint32_t>(window::asStored(sample, src->depth));
    };
    for (int32_t channel = a != 0 ? a : 1; channel <= (a != 0 ? a : src->nChannels); ++channel)
        for (int32_t y = 0; y < height && dstY + y < dst->height; ++y)
            for (int32_t x = 0; x < width && dstX + x < dst->width; ++x) {
                uint32_t total = 0;
                for (int32_t j = 0; j < static_cast<int32_t>(filter.across.size()); ++j) {
                    uint32_t line = 0;
                    for (int32_t i = 0; i < static_cast<int32_t>(filter.down.size()); ++i)
                        line += static_cast<uint32_t>(filter.down[static_cast<size_t>(i)]) *
                                value(srcX + x - filter.anchorX + j, srcY + y - filter.anchorY + i,
                                      channel);
                    total += static_cast<uint32_t>(filter.across[static_cast<size_t>(j)]) * line;
                }
                const uint32_t shift =
                    (static_cast<uint32_t>(filter.shiftX) + static_cast<uint32_t>(filter.shiftY)) %
                    32;
                const int64_t result = static_cast<int32_t>(total) >> shift;
                dst.set(dstX + x, dstY + y, b != 0 ? b : channel,
                        std::clamp(result, kit::leastOf(dst->depth), kit::mostOf(dst->depth)));
            }
}

Filter anyFilter(Random& random) {
    Filter filter;
    const auto fill = [&](std::vector<int8_t>* values) {
        const int32_t least = random.oneOf({-128, -20, -2, 0});
        const int32_t most = random.oneOf({1, 6, 40, 127});
        for (int32_t i = random.chance(90) ? random.in(1, 6) : random.in(7, 20); i > 0; --i)
            values->push_back(static_cast<int8_t>(random.in(least, most)));
    };
    fill(&filter.across);
    fill(&filter.down);
    filter.anchorX = random.in(-2, static_cast<int32_t>(filter.across.size()) + 1);
    filter.anchorY = random.in(-2, static_cast<int32_t>(filter.down.size()) + 1);
    filter.shiftX =
        random.chance(70) ? random.in(0, 6) : random.oneOf({-1, 15, 16, 17, 31, 32, 40});
    filter.shiftY = random.in(0, 4);
    return filter;
}

std::vector<Image> anyImages(Random& random, bool tileable) {
    Shape src = kit::anyShape(random);
    Shape dst = kit::anyShape(random);
    dst.depth = src.depth;
    dst.channels = src.channels;
    dst.order = src.order;
    dst.origin = src.origin;
    for (Shape* shape : {&src, &dst}) {
        shape->slack = tileable || random.chance(80) ? 0 : random.in(1, 9);
        if (shape->roi) shape->roi = kit::anyRoi(random, shape->width, shape->height, 0);
    }
    if (src.roi && dst.roi && random.chance(40)) {
        src.roi->coi = random.in(1, src.channels);
        dst.roi->coi = random.in(1, src.channels);
    } else if (src.roi && src.channels == 1) {
        src.roi->coi = random.in(0, 1);
    }
    std::vector<Image> images = kit::filledImages(random, {src, dst});
    window::anyBorders(random, images[0], false);
    // An alpha channel is a channel like any other.
    for (Image& image : images) image->alphaChannel = random.in(0, image->nChannels);
    return images;
}

TEST(Separable, AsTheModelHasIt) {
    kit::Reports reports;
    kit::forSeeds(1500, [&](Random& random) {
        std::vector<Image> images = anyImages(random, false);
        Filter filter = anyFilter(random);
        Image expected = images[1];
        runModel(filter, images[0], expected);
        const Image before = images[0];
        kit::forEachIsa([&] {
            Image dst = images[1];
            filter.run(images[0], dst);
            EXPECT_EQ(kit::byteDifference(dst, expected), "") << images[0].shape().text();
            EXPECT_EQ(kit::byteDifference(images[0], before), "");
        });
        // A second header over the same data is as good as the first.
        if (images[0].shape().roi) return;
        Image whole = images[0];
        filter.run(images[0], whole);
        DaxImage other = *images[0];
        filter.run(images[0], &other);
        EXPECT_EQ(kit::byteDifference(images[0], whole), "");
    });
    EXPECT_EQ(reports.take(), Lines{});
}

// Sums that just leave 16 bits, of lines and of both passes.
TEST(Separable, SumsNextToTheLimits) {
    Random random(7);
    Image src({.width = 70, .height = 20});
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 70; ++x) src.set(x, y, 1, random.chance(50) ? 255 : 0);
    for (Filter filter :
         {Filter{{127, 2, -1}, {1}}, Filter{{1}, {-128, -1}}, Filter{{1}, {127, 2}},
          Filter{{127, 127, 3}, {1}}, Filter{{127, 127, 4}, {1}}, Filter{{-128, -1}, {1}}}) {
        for (const int32_t shift : {7, 15, 16}) {
            Image expected({.width = 70, .height = 20});
            filter.shiftX = shift;
            runModel(filter, src, expected);
            kit::forEachIsa([&] {
                Image dst({.width = 70, .height = 20});
                filter.run(src, dst);
                EXPECT_EQ(kit::byteDifference(dst, expected), "") << shift;
            });
        }
    }
}

TEST(Separable, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(300, [&](Random& random) {
        const std::vector<Image> images = anyImages(random, true);
        Filter filter = anyFilter(random);
        kit::expectTiledLikePlain(
            random, images, [&](const std::vector<DaxImage*>& is) { filter.run(is[0], is[1]); });
    });
    EXPECT_EQ(reports.take(), Lines{});
}

// Blocks are of the tile's size and start with the region, so that each may touch four tiles.
TEST(Separable, WalksBlocks) {
    Random random(5);
    Image src({.width = 16, .height = 16}, random);
    Image dst({.width = 16, .height = 16, .roi = DaxROI{0, 4, 0, 8, 8}}, random);
    kit::TileLog log;
    kit::Tiles tiles(dst, 'D', 8, 8, log);
    Filter filter = {{1, 2, 1}, {1, 2, 1}, 1, 1, 2, 2};
    filter.run(src, tiles);
    EXPECT_EQ(log.lines, (Lines{"D write 0,0", "D release 0,0", "D write 1,0", "D release 1,0"}));
    log.lines.clear();
    log.failRequest = log.requests + 1;
    filter.run(src, tiles);
    EXPECT_EQ(log.lines, (Lines{"D write 0,0"}));

    // Without tiles of the destination, blocks are of the source's; all is read before it's
    // written.
    const Image before = dst;
    kit::TileLog all;
    kit::Tiles a(src, 'A', 8, 8, all);
    kit::Tiles d(dst, 'D', 8, 8, all);
    filter.run(a, dst);
    const Lines of1 = {"A read 0,0", "A release 0,0", "A read 1,0", "A release 1,0",
                       "A read 0,1", "A release 0,1", "A read 1,1", "A release 1,1"};
    EXPECT_EQ(all.lines, of1);
    Lines ofBoth = of1;
    ofBoth.insert(ofBoth.end(), {"D write 0,0", "D release 0,0", "D write 1,0", "D release 1,0"});
    all.lines.clear();
    filter.run(a, d);
    EXPECT_EQ(all.lines, ofBoth);
    all.lines.clear();
    all.failRequest = all.requests + 2;
    filter.run(a, d);
    EXPECT_EQ(all.lines, (Lines{"A read 0,0", "A release 0,0", "A read 1,0"}));
}

TEST(Separable, Reports) {
    kit::Reports reports;
    Random random(4);
    Image src({.channels = 2, .width = 9, .height = 9, .roi = DaxROI{0, 0, 0, 9, 9}}, random);
    Image dst({.channels = 2, .width = 9, .height = 9, .roi = DaxROI{0, 0, 0, 9, 9}}, random);
    const Image before = dst;
    int8_t values[1] = {1};
    DaxConvKernel kernel = {1, 1, 0, 0, 0, values};
    const auto expect = [&](DaxImage* a, DaxImage* d, const DaxConvKernel* x,
                            const DaxConvKernel* y, const Lines& texts) {
        daxConvolveSep2D(a, d, x, y);
        Lines expected;
        for (const std::string& text : texts)
            expected.push_back("-5 daxConvolveSep2D daxcsep2 " + text);
        EXPECT_EQ(reports.take(), expected);
        EXPECT_EQ(kit::byteDifference(dst, before), "");
    };
    const std::string null =
        "Image header is null                                                  \n";
    expect(nullptr, nullptr, nullptr, nullptr, {null});
    expect(src, nullptr, nullptr, nullptr, {null});
    expect(src, dst, nullptr, nullptr, {"Xkernel==0", "Ykernel==0"});
    DaxConvKernel empty = {0, 0, 0, 0, 0, values};
    DaxImage other = *dst;
    other.depth = DAX_DEPTH_16U;
    other.origin = 1;
    other.dataOrder = 1;
    other.nChannels = 1;
    const std::string counts = "nChannels in srcImage ROI != nChannels in dstImage ROI";
    src.roi.coi = 1;
    expect(src, &other, &empty, &empty,
           {"srcImage->depth != dstImage->depth", "srcImage->origin != dstImage->origin",
            "srcImage->dataOrder != dstImage->dataOrder",
            "srcImage->nChannels != dstImage->nChannels", counts, "Xkernel->nCols <= 0",
            "Ykernel->nRows <= 0"});
    src.roi.coi = 0;
    dst.roi.coi = 2;
    expect(src, dst, &kernel, &kernel, {counts});
    dst.roi.coi = 0;
    daxSetErrStatus(-4);
    expect(src, dst, &kernel, &kernel, {});
    daxSetErrStatus(-4);
    expect(src, &other, &empty, &empty, {}); // an old failure ends it before those tests
    daxSetErrStatus(-4);
    expect(src, dst, nullptr, &kernel, {"Xkernel==0"});
}

TEST(Separable, OutOfMemory) {
    kit::Reports reports;
    Random random(6);
    Filter filter = {{1, 2, 1}, {1, 2, 1}, 1, 1, 2, 2};
    for (const bool tiled : {false, true}) {
        Image src({.width = 20, .height = 20}, random);
        const Image before({.width = 20, .height = 20}, random);
        Image whole = before;
        filter.run(src, whole);
        kit::forEachFailedRequest([&](kit::StandIn& platform) {
            Image dst = before;
            kit::TileLog log;
            kit::Tiles tiles(src, 'A', 24, 24, log);
            filter.run(tiled ? tiles : static_cast<DaxImage*>(src), dst);
            const bool failed = platform.requests >= platform.failRequest;
            EXPECT_TRUE((failed && tiled) ||
                        kit::byteDifference(dst, failed ? before : whole).empty());
        });
    }
    EXPECT_EQ(reports.take(), Lines{});
}

} // namespace
