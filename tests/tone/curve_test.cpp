// daxContrastStretch and daxHistoEqualize against models of the tables and of the map.

#include "tone/lut.h"

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <numeric>
#include <optional>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using tone::Lut;
using tone::Luts;
using Lines = std::vector<std::string>;
using Table = std::vector<int64_t>;

// No sample has the value -1.
constexpr int64_t anything = -1;

int64_t truncated(int64_t value, int32_t size) { return value & (size - 1); }

// The result for a sample x. Keys after the first pair of equal ones are never met.
Table stretchTable(const Lut& lut, int32_t size) {
    size_t used = 1;
    while (used < lut.key.size() && lut.key[used] > lut.key[used - 1]) ++used;
    Table table;
    for (int32_t x = 0; x < size; ++x) {
        size_t j = used;
        while (j > 0 && lut.key[j - 1] > x) --j;
        if (j == 0) {
            table.push_back(x == 0 ? anything : x - 1);
            continue;
        }
        --j;
        const int64_t start = size == 256 ? lut.key[j] : lut.value[j];
        // The lower 32 bits of the exact number, in which nothing is lost.
        const __int128 exact =
            lut.value[j] +
            (lut.interpolated != 0 ? static_cast<__int128>(x - start) * lut.factor[j] : 0);
        table.push_back(truncated(static_cast<int64_t>(exact), size));
    }
    return table;
}

// The cells, and nothing when they add up to 0.
std::optional<std::vector<uint32_t>> spreadCells(const Lut& lut, int32_t size) {
    std::vector<uint32_t> cells(static_cast<size_t>(lut.key[0]), 0);
    for (size_t i = 1; i < lut.key.size(); ++i) {
        const int32_t d = lut.key[i] - lut.key[i - 1];
        const int32_t count = lut.value[i - 1];
        if (d > 1)
            while (cells.size() + 1 < static_cast<size_t>(lut.key[i]))
                cells.push_back(static_cast<uint32_t>(count / d));
        cells.push_back(static_cast<uint32_t>(d > 1 ? count % d : count));
    }
    cells.resize(static_cast<size_t>(size), 0);
    if (std::accumulate(cells.begin(), cells.end(), 0u) == 0) return {};
    return cells;
}

Table equalizingTable(const std::vector<uint32_t>& cells) {
    const auto size = static_cast<int32_t>(cells.size());
    const auto total = static_cast<int32_t>(std::accumulate(cells.begin(), cells.end(), 0u));
    Table table;
    uint32_t sum = 0;
    for (const uint32_t cell : cells) {
        sum += cell;
        const auto product = static_cast<int32_t>(sum * static_cast<uint32_t>(size - 1));
        table.push_back(truncated(int64_t{product} / total, size));
    }
    return table;
}

void countIntervals(Lut& lut, const std::vector<uint32_t>& cells, const Table& table) {
    for (size_t i = 0; i + 1 < lut.key.size(); ++i) {
        uint32_t sum = 0;
        for (size_t x = 0; x < cells.size(); ++x)
            if (lut.key[i] <= table[x] && table[x] < lut.key[i + 1]) sum += cells[x];
        lut.value[i] = static_cast<int32_t>(sum);
    }
}

void mapByModel(const Image& src, Image& dst, const std::vector<Table>& tables) {
    const std::vector<int32_t> from = tone::channelsOf(&src.header);
    const std::vector<int32_t> to = tone::channelsOf(dst);
    const DaxROI a = tone::cutRegion(&src.header);
    const DaxROI d = tone::cutRegion(dst);
    for (size_t c = 0; from.size() == to.size() && c < to.size(); ++c)
        for (int32_t y = 0; y < std::min(a.height, d.height); ++y)
            for (int32_t x = 0; x < std::min(a.width, d.width); ++x) {
                const int64_t sample = src.get(a.xOffset + x, a.yOffset + y, from[c]);
                const int64_t value = tables[c][static_cast<size_t>(sample)];
                if (value != anything) dst.set(d.xOffset + x, d.yOffset + y, to[c], value);
            }
}

std::vector<Image> anyPair(Random& random, bool tileable) {
    std::vector<Shape> shapes = kit::fittingShapes(random, 2, tileable);
    const int32_t depth = random.oneOf<int32_t>({DAX_DEPTH_8U, DAX_DEPTH_16U});
    if (!tileable && random.chance(10)) shapes[1].channels = random.in(1, 4);
    for (Shape& shape : shapes) {
        shape.depth = depth;
        shape.slack = 0;
        shape.origin = shapes[0].origin;
        if (shape.roi) shape.roi->coi = std::min(shape.roi->coi, shape.channels);
    }
    std::vector<Image> images = filledImages(random, shapes);
    // What a table has for the sample 0 may be left open.
    for (int32_t c = 1; c <= images[0]->nChannels; ++c)
        for (int32_t y = 0; y < images[0]->height; ++y)
            for (int32_t x = 0; x < images[0]->width; ++x)
                if (images[0].get(x, y, c) == 0) images[0].set(x, y, c, 3);
    return images;
}

// Which record a channel of the source has, and with which a table is made.
size_t lutOf(const DaxImage* image, size_t c, bool table) {
    const int32_t coi = tone::regionOf(image).coi;
    if (coi == 0) return c;
    return table && image->depth == DAX_DEPTH_16U ? 0 : static_cast<size_t>(coi - 1);
}

TEST(Curves, StretchPlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> is = anyPair(random, false);
            std::vector<Image> expected = is;
            const int32_t size = tone::sizeOf(is[0]->depth);
            Luts luts(random, 4, size);
            std::vector<Table> tables;
            for (size_t c = 0; c < tone::channelsOf(is[0]).size(); ++c)
                tables.push_back(stretchTable(luts.all[lutOf(is[0], c, true)], size));
            const bool fits = tone::channelsOf(is[0]).size() == tone::channelsOf(is[1]).size();
            const size_t to = random.chance(30) ? 0 : 1;
            if (fits || to == 0) mapByModel(expected[0], expected[to], tables);
            daxContrastStretch(is[0], is[to], luts, nullptr);
            for (size_t i = 0; i < 2; ++i)
                EXPECT_EQ(byteDifference(is[i], expected[i]), "")
                    << is[0].shape().text() << " to " << is[1].shape().text();
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

TEST(Curves, EqualizePlainImages) {
    kit::forSeeds(800, [](Random& random) {
        kit::Reports reports;
        std::vector<Image> is = anyPair(random, false);
        if (tone::channelsOf(is[0]).size() != tone::channelsOf(is[1]).size()) return;
        std::vector<Image> expected = is;
        const int32_t size = tone::sizeOf(is[0]->depth);
        Luts luts(random, 4, size);
        if (random.chance(10)) std::fill(luts.all[0].value.begin(), luts.all[0].value.end(), 0);
        Luts after = luts;
        std::vector<Table> tables;
        std::vector<std::vector<uint32_t>> cells;
        for (size_t c = 0; c < tone::channelsOf(is[0]).size(); ++c)
            if (auto one = spreadCells(luts.all[lutOf(is[0], c, false)], size)) {
                tables.push_back(equalizingTable(*one));
                cells.push_back(*one);
            }
        const bool zeroes = tables.size() < tone::channelsOf(is[0]).size();
        if (!zeroes) {
            mapByModel(expected[0], expected[1], tables);
            // The new histogram goes to the destination's record.
            for (size_t c = 0; c < tables.size(); ++c)
                countIntervals(after.all[lutOf(is[1], c, false)], cells[c], tables[c]);
        }
        daxHistoEqualize(is[0], is[1], luts, nullptr);
        EXPECT_EQ(byteDifference(is[1], expected[1]), "");
        for (size_t k = 0; k < 4; ++k) EXPECT_EQ(luts.all[k].value, after.all[k].value);
        EXPECT_EQ(reports.take(),
                  zeroes ? Lines{"-3 daxHistoEqualize daxHist All values in histogram are zeroes"}
                         : Lines());
    });
}

// All bytes in rows that end anywhere in a vector.
TEST(Curves, LongRows) {
    kit::forEachIsa([] {
        kit::forSeeds(60, [](Random& random) {
            const Shape shape = {.width = random.in(1, 400), .height = 3, .shift = random.in(0, 7)};
            Image src(shape, random);
            Image dst(shape);
            Luts luts(random, 1, 256);
            luts.all[0].key.front() = 0;
            Image expected = dst;
            mapByModel(src, expected, {stretchTable(luts.all[0], 256)});
            daxContrastStretch(src, dst, luts, nullptr);
            EXPECT_EQ(pixelDifference(dst, expected), "");
        });
    });
}

TEST(Curves, EdgesOfTheArrays) {
    const auto mapped = [](Lut lut, int32_t depth, std::vector<int32_t> samples) {
        Luts luts(std::vector<Lut>{std::move(lut)});
        Image image({.depth = depth, .width = static_cast<int32_t>(samples.size())});
        for (size_t x = 0; x < samples.size(); ++x)
            image.set(static_cast<int32_t>(x), 0, 1, samples[x]);
        daxContrastStretch(image, image, luts, nullptr);
        std::vector<int64_t> result;
        for (size_t x = 0; x < samples.size(); ++x)
            result.push_back(image.get(static_cast<int32_t>(x), 0, 1));
        return result;
    };
    using Samples = std::vector<int64_t>;
    EXPECT_EQ(mapped(Lut({0, 256}, {0, 0}), DAX_DEPTH_8U, {0, 77, 255}), (Samples{0, 0, 0}));
    // The last piece runs on, and nothing past the array is a key.
    Lut rising({4, 10, 20}, {100, 50, 9});
    rising.interpolated = 1;
    rising.factor = {1, 2, 3};
    EXPECT_EQ(mapped(rising, DAX_DEPTH_8U, {3, 4, 9, 10, 20, 255}),
              (Samples{2, 100, 105, 50, 9, (9 + 235 * 3) & 255}));
    EXPECT_EQ(
        mapped(rising, DAX_DEPTH_16U, {4, 10, 300}),
        (Samples{100 + (4 - 100) + 0x10000 * 0, 50 + (10 - 50) * 2 + 0x10000, 9 + (300 - 9) * 3}));
    // All keys at the end: every sample runs one behind.
    EXPECT_EQ(mapped(Lut({256, 256}, {1, 2}), DAX_DEPTH_8U, {1, 255}), (Samples{0, 254}));

    // The unchecked first record of 16 bits: keys that fall or are too large are never met.
    Luts unsound(std::vector<Lut>{Lut({2, 70000, 9}, {41, 0, 0}), Lut({0, 65536}, {7, 8})});
    Image second({.depth = DAX_DEPTH_16U, .channels = 2, .roi = DaxROI{2, 0, 0, 1, 1}});
    second.set(0, 0, 2, 500);
    daxContrastStretch(second, second, unsound, nullptr);
    EXPECT_EQ(second.get(0, 0, 2), 41);

    Luts luts(std::vector<Lut>{Lut({0, 256}, {256, 5})});
    Image image({.width = 3});
    image.set(0, 0, 1, 0), image.set(1, 0, 1, 254), image.set(2, 0, 1, 255);
    daxHistoEqualize(image, image, luts, nullptr);
    EXPECT_EQ(image.get(0, 0, 1), 1);
    EXPECT_EQ(image.get(1, 0, 1), 255);
    EXPECT_EQ(image.get(2, 0, 1), 255);
    EXPECT_EQ(luts.all[0].value, (std::vector<int32_t>{255, 5}));
    // Keys without an interval take cells past the end.
    Lut crowded(std::vector<int32_t>(400, 9), std::vector<int32_t>(400, 1));
    Luts many(std::vector<Lut>{crowded});
    daxHistoEqualize(image, image, many, nullptr);
    EXPECT_EQ(image.get(2, 0, 1), 255);
}

TEST(Curves, TiledImages) {
    kit::forSeeds(150, [](Random& random) {
        kit::Reports reports;
        std::vector<Image> images = anyPair(random, true);
        // Beyond an image there may be anything.
        for (Image& image : images) image.roi = tone::cutRegion(image);
        if (images[0].roi.width == 0 || images[0].roi.height == 0 || images[1].roi.width == 0 ||
            images[1].roi.height == 0)
            return;
        for (Image& image : images) image->roi = &image.roi;
        const Luts luts(random, 4, tone::sizeOf(images[0]->depth));
        const bool equalizes = random.chance(50);
        expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& i) {
            Luts own = luts;
            (equalizes ? daxHistoEqualize : daxContrastStretch)(i[0], i[1], own, nullptr);
        });
        reports.take();
    });
}

// One tiled image for both, with padding in its tiles, which is mapped as well.
TEST(Curves, TilesInPlace) {
    kit::Reports reports;
    Random random(4);
    Image image({.width = 12, .height = 5, .roi = DaxROI{0, 3, 1, 9, 12}}, random);
    kit::TileLog log;
    kit::Tiles tiles(image, 'D', 8, 8, log);
    Image before = tiles.tile(1, 1);
    Luts luts(std::vector<Lut>{Lut({0, 128, 256}, {7, 9, 0})});
    daxContrastStretch(tiles, tiles, luts, nullptr);
    EXPECT_EQ(tiles.tile(1, 1).get(6, 1, 1), before.get(6, 1, 1) < 128 ? 7 : 9);
    EXPECT_EQ(tiles.tile(1, 1).get(7, 1, 1), before.get(7, 1, 1));
    EXPECT_EQ(log.lines, (Lines{"D write 0,0", "D release 0,0", "D write 1,0", "D release 1,0",
                                "D write 0,1", "D release 0,1", "D write 1,1", "D release 1,1"}));
    EXPECT_EQ(reports.take(), Lines());
}

// A tile position narrows the map to one tile, but the new histogram is that of the curve.
TEST(Curves, TilePosition) {
    kit::Reports reports;
    for (const bool equalizes : {false, true}) {
        Image src({.width = 16, .height = 8});
        Image dst({.width = 16, .height = 8});
        kit::TileLog log;
        kit::Tiles tiles(dst, 'D', 8, 8, log);
        Luts luts(std::vector<Lut>{Lut({0, 1, 256}, {9, 0, 0})});
        const int32_t pos[2] = {0, 0};
        (equalizes ? daxHistoEqualize : daxContrastStretch)(src, tiles, luts, pos);
        EXPECT_EQ(tiles.tile(0, 0).get(3, 3, 1), equalizes ? 255 : 9);
        EXPECT_EQ(log.lines, (Lines{"D write 0,0", "D release 0,0"}));
        const int32_t outside[2] = {2, 0};
        (equalizes ? daxHistoEqualize : daxContrastStretch)(src, tiles, luts, outside);
        EXPECT_EQ(log.lines.size(), 2u);
        EXPECT_EQ(luts.all[0].value,
                  equalizes ? (std::vector<int32_t>{0, 9, 0}) : (std::vector<int32_t>{9, 0, 0}));
    }
    EXPECT_EQ(reports.take(), Lines());
}

TEST(Curves, WhatCantBeHad) {
    kit::Reports reports;
    Random random(1);
    Image src({.width = 20, .height = 20}, random);
    const Image dst({.width = 20, .height = 20}, random);
    for (const bool equalizes : {false, true}) {
        const auto operation = equalizes ? daxHistoEqualize : daxContrastStretch;
        const std::string name = equalizes ? "daxHistoEqualize" : "daxContrastStretch";
        for (const size_t tiled : {size_t{0}, size_t{1}}) {
            kit::TileLog log;
            log.failRequest = 2;
            Luts luts(std::vector<Lut>{Lut({0, 256}, {5, 5})});
            Image images[2] = {src, dst};
            kit::Tiles tiles(images[tiled], 'T', 16, 16, log);
            operation(tiled == 0 ? tiles : images[0], tiled == 1 ? tiles : images[1], luts,
                      nullptr);
            EXPECT_EQ(reports.take(),
                      (Lines{tiled == 0 ? "-2 daxMap daxHist Error get tile to read"
                                        : "-2 daxMap daxHist Error get tile to write",
                             "-1 " + name + " daxHist "}));
            EXPECT_EQ(luts.all[0].value[0], 5);
        }
    }
}

TEST(Curves, Reports) {
    kit::Reports reports;
    const auto call = [&](const Shape& a, const Shape& b, DaxLUT* const* lut) {
        Random random(3);
        Image src(a, random);
        Image dst(b, random);
        const Image before = dst;
        daxContrastStretch(src, dst, lut, nullptr);
        Lines lines = reports.take();
        daxHistoEqualize(src, dst, lut, nullptr);
        for (const std::string& line : reports.take()) lines.push_back(line);
        EXPECT_EQ(byteDifference(dst, before), "");
        return lines;
    };
    const Lines all = call({.depth = DAX_DEPTH_8S}, {.order = 1, .origin = 1}, nullptr);
    const char* const texts[] = {
        "srcImage->depth != dstImage->depth", "srcImage->dataOrder != dstImage->dataOrder",
        "srcImage->origin != dstImage->origin",
        "srcImage->depth != DAX_DEPTH_8U && srcImage->depth != DAX_DEPTH_16U", "lut==0"};
    Lines expected;
    for (const char* name : {"daxContrastStretch", "daxHistoEqualize"})
        for (const char* text : texts)
            expected.push_back("-5 " + std::string(name) + " daxHist " + text);
    EXPECT_EQ(all, expected);
    // Channel counts that differ come before the records, and silently.
    DaxLUT* none[3] = {};
    EXPECT_EQ(call({.channels = 3}, {.channels = 2}, none), Lines());
    EXPECT_EQ(call({.channels = 3}, {.channels = 3}, none),
              (Lines{"-5 daxContrastStretch daxHist lut[k]==0",
                     "-5 daxHistoEqualize daxHist lut[k]==0"}));
    // A status from before stops the call.
    Luts fine(std::vector<Lut>{Lut({0, 256}, {5, 5})});
    Image image(Shape{});
    daxSetErrStatus(DAX_StatusInternalError);
    daxContrastStretch(image, image, fine, nullptr);
    daxHistoEqualize(image, image, fine, nullptr);
    EXPECT_EQ(image.get(0, 0, 1), 0);
    EXPECT_EQ(fine.all[0].value[0], 5);
    EXPECT_EQ(reports.take(), Lines());
    // In 16 bits the first record makes the table, but the one of the channel is checked.
    Luts second(std::vector<Lut>(2, Lut({0, 65536}, {0, 0})));
    DaxLUT* onlySecond[2] = {nullptr, static_cast<DaxLUT* const*>(second)[1]};
    const Shape ofSecond = {.depth = DAX_DEPTH_16U, .channels = 2, .roi = DaxROI{2, 0, 0, 1, 1}};
    EXPECT_EQ(call(ofSecond, ofSecond, onlySecond),
              Lines{"-3 daxHistoEqualize daxHist All values in histogram are zeroes"});
}

} // namespace
