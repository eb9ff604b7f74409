// daxComputeHisto against a count sample by sample.

#include "tone/lut.h"

#include <functional>

namespace {

using namespace tone;

// Calls `use(x, y, channel)` for every sample of a region.
void eachSample(const DaxROI& roi, const std::vector<int32_t>& channels,
                const std::function<void(int32_t, int32_t, int32_t)>& use) {
    for (const int32_t c : channels)
        for (int32_t y = 0; y < roi.height; ++y)
            for (int32_t x = 0; x < roi.width; ++x) use(roi.xOffset + x, roi.yOffset + y, c);
}

void count(Luts& luts, size_t k, int64_t sample) {
    Lut& lut = luts.all[k];
    for (size_t i = 0; i + 1 < lut.key.size(); ++i)
        if (lut.key[i] <= sample && sample < lut.key[i + 1]) ++lut.value[i];
}

// The values before a count: zeroes where something is written, and what was there elsewhere.
void clear(Luts& luts, const DaxImage* image) {
    for (const int32_t c : channelsOf(image)) {
        Lut& lut = luts.all[static_cast<size_t>(c - 1)];
        std::fill(lut.value.begin(), lut.value.end() - 1, 0);
        lut.interpolated = 0;
    }
}

void expectCounts(Luts& is, const Luts& expected) {
    for (size_t k = 0; k < is.all.size(); ++k) {
        EXPECT_EQ(is.all[k].value, expected.all[k].value) << "channel " << k + 1;
        EXPECT_EQ(is.records[k].interpolated, expected.all[k].interpolated);
    }
}

constexpr std::initializer_list<int32_t> counted = {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U};

TEST(Histogram, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(600, [](Random& random) {
            kit::Reports reports;
            Image image(anyShapeOf(random, counted), random);
            Luts is(random, image->nChannels, sizeOf(image->depth));
            Luts expected = is;
            clear(expected, image);
            eachSample(cutRegion(image), channelsOf(image), [&](int32_t x, int32_t y, int32_t c) {
                count(expected, static_cast<size_t>(c - 1), image.get(x, y, c));
            });
            daxComputeHisto(image, is, nullptr);
            expectCounts(is, expected);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Rows longer than the bands in which interleaved channels are counted, and samples that are all
// equal.
TEST(Histogram, LongRows) {
    kit::forEachIsa([] {
        for (const int32_t depth : counted) {
            const bool bits = depth == DAX_DEPTH_1U;
            Image image({.depth = depth,
                         .channels = bits ? 1 : 3,
                         .width = 100000,
                         .height = 3,
                         .roi = DaxROI{0, 5, 0, 3, 99990}});
            for (int32_t c = 1; c <= image->nChannels; ++c) {
                for (int32_t y = 0; y < 3; ++y)
                    for (int32_t x = 0; x < image->width; ++x) image.set(x, y, c, 1);
                image.set(70, 2, c, 0);
            }
            Luts is(std::vector<Lut>(3, Lut({0, 1, 2}, {-1, -1, -1})));
            daxComputeHisto(image, is, nullptr);
            for (int32_t c = 0; c < image->nChannels; ++c)
                EXPECT_EQ(is.all[static_cast<size_t>(c)].value,
                          (std::vector<int32_t>{1, 3 * 99990 - 1, -1}));
        }
    });
}

// Regions count as they stand, over the edge of the image into the padding of its tiles. A tile
// position narrows that to one tile, the row of which comes from its column.
TEST(Histogram, TiledImages) {
    kit::forSeeds(800, [](Random& random) {
        kit::Reports reports;
        Image image(anyShapeOf(random, counted), random);
        kit::TileLog log;
        kit::Tiles tiles(image, 'A', random.in(1, 3) * 8, random.in(1, 3) * 8, log);
        Luts is(random, image->nChannels, sizeOf(image->depth));
        Luts expected = is;
        clear(expected, image);
        const DaxROI roi = regionOf(image);
        const int32_t tw = tiles.info.width;
        const int32_t th = tiles.info.height;
        const bool narrowed = random.chance(50);
        const int32_t pos[2] = {roi.xOffset / tw + random.in(-1, 2),
                                roi.yOffset / th + random.in(-1, 2)};
        const auto wanted = [&](int32_t col, int32_t row) {
            if (!narrowed) return true;
            const int32_t firstCol = roi.xOffset / tw;
            const int32_t firstRow = roi.yOffset / th;
            const bool inside = pos[0] >= firstCol &&
                                pos[0] <= (roi.xOffset + roi.width - 1) / tw &&
                                pos[1] >= firstRow && pos[1] <= (roi.yOffset + roi.height - 1) / th;
            return inside && col == firstCol && pos[0] == firstCol && row == firstRow &&
                   pos[0] == firstRow;
        };
        // Only the step from the start to the first tile is ever gone, so that positions other
        // than the first column's are of no use; those are left to the test of the order.
        if (narrowed && pos[0] < roi.yOffset / th) return;
        eachSample(roi, channelsOf(image), [&](int32_t x, int32_t y, int32_t c) {
            if (wanted(x / tw, y / th))
                count(expected, static_cast<size_t>(c - 1),
                      tiles.tile(x / tw, y / th).get(x % tw, y % th, c));
        });
        daxComputeHisto(tiles, is, narrowed ? pos : nullptr);
        expectCounts(is, expected);
        EXPECT_FALSE(tiles.holds());
        EXPECT_EQ(reports.take(), Lines());
    });
}

TEST(Histogram, TilesThatCantBeHad) {
    kit::Reports reports;
    const Image image({.channels = 2, .width = 20, .height = 20});
    kit::TileLog log;
    kit::Tiles tiles(image, 'A', 16, 16, log);
    log.failRequest = 3;
    const Luts before(std::vector<Lut>(2, Lut({0, 100, 256}, {7, 7, 7})));
    Luts is = before;
    daxComputeHisto(tiles, is, nullptr);
    EXPECT_EQ(reports.take(), Lines{"-2 daxComputeHisto daxHist Error get tile to read"});
    expectCounts(is, before);
}

TEST(Histogram, Reports) {
    kit::Reports reports;
    const auto call = [&](const Shape& shape, DaxLUT* const* lut) {
        Image image(shape);
        daxComputeHisto(image, lut, nullptr);
        Lines lines = reports.take();
        for (std::string& line : lines) line.erase(0, line.find("daxHist ") + 8);
        return lines;
    };
    const Shape of8;
    EXPECT_EQ(call({.depth = DAX_DEPTH_8S}, nullptr),
              (Lines{"lut==0", "srcImage->depth & DAX_DEPTH_SIGN"}));
    const auto fault = [&](auto spoil) {
        Luts luts(std::vector<Lut>(2, Lut({0, 4, 256}, {5, 5, 5})));
        DaxLUT* const* lut = luts;
        DaxLUT* pointers[2] = {lut[0], lut[1]};
        spoil(pointers[1]);
        const Lines lines = call({.channels = 2}, pointers);
        if (!lines.empty()) {
            EXPECT_EQ(luts.all[0].value, (std::vector<int32_t>{5, 5, 5}));
        }
        // Only the record of the channel of interest is looked at.
        EXPECT_EQ(call({.channels = 2, .roi = DaxROI{1, 0, 0, 1, 1}}, pointers), Lines());
        return lines;
    };
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut = nullptr; }), Lines{"lut[k]==0"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->key = nullptr, lut->value = nullptr; }),
              Lines{"lut[k]->key==0"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->value = nullptr, lut->num = 1; }),
              Lines{"lut[k]->value==0"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->num = 1, lut->key[0] = -1; }),
              Lines{"lut[k]->num < 2"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->key[0] = -1, lut->key[2] = 257; }),
              Lines{"lut[k]->key[0] < 0"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->key[1] = 300, lut->key[2] = 257; }),
              Lines{"lut[k]->key[lut[k]->num-1] > histSize"});
    EXPECT_EQ(fault([](DaxLUT*& lut) { lut->key[1] = 257; }),
              Lines{"lut[k]->key[i] > lut[k]->key[i+1]"});
    EXPECT_EQ(fault([](DaxLUT*&) {}), Lines());
    // A status from before stops the call.
    Luts luts(std::vector<Lut>{Lut({0, 256}, {5, 5})});
    Image image(of8);
    daxSetErrStatus(DAX_StatusInternalError);
    daxComputeHisto(image, luts, nullptr);
    EXPECT_EQ(luts.all[0].value[0], 5);
}

} // namespace
