// From headers to plain numbers.

#include "kit/shapes.h"
#include "kit/tiles.h"

#include "frame/header.h"
#include "frame/ownrect.h"
#include "frame/raster.h"
#include "frame/runs.h"

#include <algorithm>
#include <cstring>

namespace {

using kit::Image;
using kit::Random;

// How many of the columns (or rows) from an offset on lie inside; less than 1 where the region
// starts beyond.
int32_t cut(int32_t offset, int32_t size, int32_t limit) { return std::min(size, limit - offset); }

TEST(Raster, RegionOfAPlainImage) {
    kit::forSeeds(3000, [](Random& random) {
        kit::Shape shape = kit::anyShape(random);
        Image image(shape);
        const int32_t negative = random.chance(15) ? random.in(1, 9) : 0;
        if (image->roi != nullptr) {
            image.roi.xOffset -= negative;
            if (random.chance(3)) image.roi.coi = shape.channels + 1;
        }
        const DaxROI whole = {0, 0, 0, shape.height, shape.width};
        const DaxROI roi = image->roi != nullptr ? image.roi : whole;
        ptrdiff_t rowBytes = 77;
        ptrdiff_t rows = 77;
        int32_t channels = 77;
        const ptrdiff_t offset = ownRoiGeometry(image, &rowBytes, &rows, &channels);
        if (roi.coi > shape.channels || (image->roi != nullptr && roi.xOffset + roi.width <= 0)) {
            ASSERT_EQ(offset, -1);
            return;
        }
        const int32_t x = std::max(roi.xOffset, 0);
        const int32_t columns = std::min(roi.xOffset + roi.width, shape.width) - x;
        const ptrdiff_t sample = std::max(kit::bytesOf(shape.depth), 1);
        const bool pixels = shape.order == DAX_DATA_PIXEL;
        ASSERT_EQ(channels, roi.coi == 0 ? shape.channels : 1);
        ASSERT_EQ(rows, cut(roi.yOffset, roi.height, shape.height));
        ASSERT_EQ(rowBytes, columns * sample * (pixels ? shape.channels : 1));
        // The definition's address, with the row step that the fields give.
        const ptrdiff_t step = shape.rowStep();
        const ptrdiff_t channel = std::max(roi.coi, 1) - 1;
        const ptrdiff_t column = x * (pixels ? shape.channels : 1) + (pixels ? channel : 0);
        ASSERT_EQ(offset,
                  (roi.yOffset + (pixels ? 0 : channel * shape.height)) * step +
                      (shape.depth == DAX_DEPTH_1U && !pixels ? column / 8 : column * sample));
    });
}

TEST(Raster, BitonalRegion) {
    kit::forSeeds(500, [](Random& random) {
        kit::Shape shape = kit::anyShape(random);
        Image image(shape);
        int32_t width = 0;
        int32_t height = 0;
        int32_t bit = 0;
        const ptrdiff_t offset = ownBitonalRect(image, &width, &height, &bit);
        if (shape.depth != DAX_DEPTH_1U) {
            ASSERT_EQ(offset, -1);
            return;
        }
        const DaxROI roi = shape.roi.value_or(DaxROI{0, 0, 0, shape.height, shape.width});
        ASSERT_EQ(offset * 8 + bit, roi.yOffset * image->widthStep * 8 + roi.xOffset);
        ASSERT_LT(bit, 8);
        ASSERT_EQ(width, std::min(roi.width, shape.width));
        ASSERT_EQ(height, std::min(roi.height, shape.height));
    });
    int32_t unused = 0;
    EXPECT_EQ(ownBitonalRect(nullptr, &unused, &unused, &unused), -1);
}

TEST(Raster, BitsFarBeyondTheBlockAreLeftAlone) {
    Image image({.depth = DAX_DEPTH_1U, .width = 8, .roi = DaxROI{0, 0, INT32_MAX, 1, 8}});
    image->widthStep = 1 << 30;
    DaxImage* const images[] = {image, image};
    OwnBitRuns runs;
    ASSERT_TRUE(ownBitRuns(images, 2, &runs));
    EXPECT_EQ(ownBitsInside(runs, runs.start), 0);
}

TEST(Raster, SameGeometry) {
    kit::forSeeds(3000, [](Random& random) {
        const int32_t channels = random.in(1, 2);
        std::vector<Image> images;
        bool same = true;
        for (int32_t i = 0; i < 2; ++i) {
            kit::Shape shape = {.channels = channels, .width = 4, .height = 4};
            const int32_t change = random.in(0, 20);
            if (random.chance(60)) {
                shape.roi =
                    DaxROI{random.in(0, channels), change == 1, change == 2,
                           4 - (change == 3) + (change == 4), 4 - (change == 5) + (change == 6)};
                if (change == 1 || change == 2 || change == 3 || change == 5) same = false;
                if (shape.roi->coi > (channels == 1 ? 1 : 0)) same = false;
            }
            images.emplace_back(shape);
            images[static_cast<size_t>(i)]->widthStep += random.in(0, 1);
        }
        const int32_t change = random.in(0, 6);
        if (change < 3) same = false;
        (change == 0   ? images[1]->height
         : change == 1 ? images[1]->width
         : change == 2 ? images[1]->dataSize
                       : images[1]->origin) += 1;
        ASSERT_EQ(ownSameGeometry(images[0], images[1]), same);
        ASSERT_EQ(ownSameGeometry(images[1], images[0]), same);
    });
}

TEST(Raster, OnePixel) {
    kit::forSeeds(500, [](Random& random) {
        const Image image(kit::anyShape(random), random);
        const kit::Shape& shape = image.shape();
        for (int32_t i = 0; i < 20; ++i) {
            const int32_t x = random.in(0, shape.width - 1);
            const int32_t y = random.in(0, shape.height - 1);
            const int32_t channel = random.in(1, shape.channels);
            const uint64_t mask = (uint64_t{1} << kit::bitsOf(shape.depth)) - 1;
            ASSERT_EQ(ownGetPixel(&image.header, x, y, channel),
                      static_cast<uint64_t>(image.get(x, y, channel)) & mask);
        }
        for (const int32_t x : {-1, 0, shape.width - 1, shape.width})
            for (const int32_t y : {-1, 0, shape.height - 1, shape.height})
                ASSERT_EQ(ownPixelOutside(&image.header, x, y),
                          (y == -1 ? 1 : 0) + (y == shape.height ? 2 : 0) + (x == -1 ? 4 : 0) +
                              (x == shape.width ? 8 : 0));
    });
}

TEST(Raster, RegionOfAWalkAndHeaderOfATile) {
    kit::forSeeds(500, [](Random& random) {
        const Image image(kit::anyShape(random));
        const kit::Shape& shape = image.shape();
        const DaxROI roi = shape.roi.value_or(DaxROI{0, 0, 0, shape.height, shape.width});
        const int32_t width = cut(roi.xOffset, roi.width, shape.width);
        const int32_t height = cut(roi.yOffset, roi.height, shape.height);
        DaxRect rect = {};
        ownRoiRect(&image.header, &rect);
        ASSERT_TRUE(rect.begX == roi.xOffset && rect.begY == roi.yOffset && rect.width == width &&
                    rect.height == height);
        int32_t is[4] = {};
        ownRoiChannels(&image.header, &is[0], &is[1], &is[2], &is[3]);
        ASSERT_EQ(is[0], shape.channels);
        ASSERT_EQ(is[1], shape.roi && shape.channels == 1 ? 1 : roi.coi);
        ASSERT_TRUE(is[2] == height && is[3] == width);
        ownRoiChannels(&image.header, nullptr, nullptr, &is[3], &is[2]);
        ASSERT_TRUE(is[3] == height && is[2] == width);

        kit::TileLog log;
        kit::Tiles tiled(image, 'A', random.in(1, 3) * 8, random.in(1, 3) * 8, log);
        tiled.header.imageTag = 7;
        kit::Shape tile = shape;
        tile.width = tiled.info.width;
        ASSERT_EQ(ownTileRowStep(tiled), tile.rowStep());
        DaxImage shadow;
        ownTileHeader(tiled, &shadow);
        DaxImage expected = tiled.header;
        expected.width = tiled.info.width;
        expected.height = tiled.info.height;
        expected.widthStep = static_cast<int32_t>(tile.rowStep());
        expected.dataSize = 0;
        expected.imageTag = 0;
        expected.tileInfo = nullptr;
        expected.roi = nullptr;
        ASSERT_EQ(memcmp(&shadow, &expected, sizeof shadow), 0);
        tiled.header.align = 1;
        ASSERT_EQ(ownTileRowStep(tiled), 0);
    });
    Image plain({});
    EXPECT_EQ(ownTileRowStep(plain), 0);
    EXPECT_EQ(ownTileRowStep(nullptr), 0);
    EXPECT_EQ(ownMin3(3, 2, 1), 1);
    EXPECT_EQ(ownMin3(-3, -2, -1), -3);
    EXPECT_EQ(ownMin3(3, 1, 2), 1);
}

} // namespace
