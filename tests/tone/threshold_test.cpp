// daxThreshold against a comparison sample by sample.

#include "tone/lut.h"

namespace {

using namespace tone;

// Where a sample of the region lies: the region starts where the header's fields say, and its rows
// go on by `widthStep`. Below 0 outside of the block.
int64_t placeOf(const Image& image, int32_t x, int32_t y, int32_t channel) {
    const DaxROI roi = cutRegion(&image.header);
    const int32_t first = roi.coi != 0 ? roi.coi : 1;
    const int64_t bytes = kit::bytesOf(image->depth);
    const int64_t derived = image.shape().rowStep();
    const int64_t step = image->widthStep / bytes * bytes;
    int64_t at = roi.yOffset * derived + y * step;
    if (image->dataOrder == DAX_DATA_PIXEL)
        at += ((int64_t{roi.xOffset} + x) * image->nChannels + channel - 1) * bytes;
    else
        at += image->height * ((first - 1) * derived + (channel - first) * step) +
              (int64_t{roi.xOffset} + x) * bytes;
    return at + bytes <= static_cast<int64_t>(image.size()) ? at : -1;
}

void thresholdByModel(const Image& src, Image& dst, int32_t threshold) {
    const std::vector<int32_t> from = channelsOf(&src.header);
    const std::vector<int32_t> to = channelsOf(dst);
    const DaxROI a = cutRegion(&src.header);
    const DaxROI d = cutRegion(dst);
    const int32_t depth = src->depth;
    for (size_t c = 0; c < to.size(); ++c)
        for (int32_t y = 0; y < std::min(a.height, d.height); ++y)
            for (int32_t x = 0; x < std::min(a.width, d.width); ++x) {
                const int64_t srcAt = placeOf(src, x, y, from[c]);
                const int64_t dstAt = placeOf(dst, x, y, to[c]);
                if (srcAt < 0 || dstAt < 0) continue;
                const bool low = kit::readSample(src.data() + srcAt, depth) < threshold;
                kit::writeSample(dst.data() + dstAt, depth,
                                 low ? kit::leastOf(depth) : kit::mostOf(depth));
            }
}

int32_t anyThreshold(Random& random, int32_t depth) {
    const auto bound = [](int64_t value) {
        return static_cast<int32_t>(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
    };
    return bound(random.oneOf<int64_t>({kit::leastOf(depth), kit::mostOf(depth), 0, 1, 128}) +
                 random.in(-1, 1));
}

std::vector<Image> anyPair(Random& random, bool tileable) {
    std::vector<Shape> shapes = kit::fittingShapes(random, 2, tileable);
    for (Shape& shape : shapes)
        if (shape.depth == DAX_DEPTH_1U) shape.depth = DAX_DEPTH_32S, shape.slack = 0;
    return filledImages(random, shapes);
}

TEST(Threshold, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(2500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> is = anyPair(random, false);
            std::vector<Image> expected = is;
            const int32_t threshold = anyThreshold(random, is[0]->depth);
            const size_t to = random.chance(30) ? 0 : 1;
            thresholdByModel(expected[0], expected[to], threshold);
            daxThreshold(is[0], is[to], threshold, nullptr);
            for (size_t i = 0; i < 2; ++i)
                EXPECT_EQ(byteDifference(is[i], expected[i]), "")
                    << "threshold " << threshold << " of " << is[0].shape().text();
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

TEST(Threshold, TiledImages) {
    kit::forSeeds(400, [](Random& random) {
        const std::vector<Image> images = anyPair(random, true);
        const int32_t threshold = anyThreshold(random, images[0]->depth);
        expectTiledLikePlain(random, images, [threshold](const std::vector<DaxImage*>& i) {
            daxThreshold(i[0], i[1], threshold, nullptr);
        });
    });
}

TEST(Threshold, TilePosition) {
    kit::Reports reports;
    Random random(1);
    Image src({.width = 20, .height = 20}, random);
    Image dst({.width = 20, .height = 20, .roi = DaxROI{0, 0, 0, 8, 8}}, random);
    kit::TileLog log;
    kit::Tiles tiles(dst, 'D', 8, 8, log);
    const auto at = [&](int32_t col, int32_t row) {
        const int32_t pos[2] = {col, row};
        daxThreshold(src, tiles, 5, pos);
        return reports.take();
    };
    EXPECT_EQ(at(0, 0), Lines());
    EXPECT_EQ(at(2, 2), Lines{"-5 daxThreshold daxthres (dTile.begX > dRoi.endX)"});
    EXPECT_EQ(at(-2, 2), Lines{"-5 daxThreshold daxthres (dTile.begY > dRoi.endY)"});
    EXPECT_EQ(at(-2, -2), Lines{"-5 daxThreshold daxthres (dTile.endX < dRoi.begX)"});
    EXPECT_EQ(at(0, -2), Lines{"-5 daxThreshold daxthres (dTile.endY < dRoi.begY)"});
    EXPECT_EQ(log.lines, (Lines{"D write 0,0", "D release 0,0"}));
    log.failRequest = 2;
    EXPECT_EQ(at(0, 0),
              Lines{"-5 daxThreshold daxthres (dstImage->tileInfo->tileData == ((void*)(0)))"});
    log.failRelease = 2;
    EXPECT_EQ(at(0, 0),
              Lines{"-5 daxThreshold daxthres (dstImage->tileInfo->tileData != ((void*)(0)))"});
    tiles.info.tileData = nullptr;
}

TEST(Threshold, Reports) {
    kit::Reports reports;
    const auto call = [&](const Shape& a, const Shape& b) {
        Random random(3);
        Image src(a, random);
        Image dst(b, random);
        const Image before = dst;
        daxThreshold(src, dst, 100, nullptr);
        EXPECT_EQ(byteDifference(dst, before), "");
        return reports.take();
    };
    const auto lineOf = [](const std::string& text) {
        return Lines{"-5 daxThreshold daxthres " + text};
    };
    const Shape bits = {.depth = DAX_DEPTH_1U};
    EXPECT_EQ(call(bits, {.order = DAX_DATA_PLANE}), lineOf("(srcImage->depth!=dstImage->depth)"));
    EXPECT_EQ(call(bits, {.depth = DAX_DEPTH_1U, .order = DAX_DATA_PLANE}),
              lineOf("(srcImage->dataOrder!=dstImage->dataOrder)"));
    EXPECT_EQ(call(bits, bits), lineOf("(srcImage->depth==1)"));
    // Told of regions without a common sample, too.
    EXPECT_EQ(call({.channels = 3, .roi = DaxROI{2, 9, 9, 1, 1}}, {.channels = 3}),
              lineOf("The mismath of number channels"));
    EXPECT_EQ(call({.channels = 3, .roi = DaxROI{0, 9, 9, 1, 1}}, {.channels = 3}), Lines());
    EXPECT_EQ(call({.align = 5}, {.align = 6}),
              lineOf("Image align is invalid                                                \n"));
}

} // namespace
