// daxContrastStretch and daxHistoEqualize against models of the tables and of the map.

#include "tone/lut.h"

#include <numeric>
#include <optional>

namespace {

using namespace tone;
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
    const std::vector<int32_t> from = channelsOf(&src.header);
    const std::vector<int32_t> to = channelsOf(dst);
    const DaxROI a = cutRegion(&src.header);
    const DaxROI d = cutRegion(dst);
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
    if (!tileable && random.chance(10)) kit::widen(random, &shapes);
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
    const int32_t coi = regionOf(image).coi;
    if (coi == 0) return c;
    return table && image->depth == DAX_DEPTH_16U ? 0 : static_cast<size_t>(coi - 1);
}

TEST(Curves, StretchPlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> is = anyPair(random, false);
            std::vector<Image> expected = is;
            const int32_t size = sizeOf(is[0]->depth);
            Luts luts(random, 4, size);
            std::vector<Table> tables;
            for (size_t c = 0; c < channelsOf(is[0]).size(); ++c)
                tables.push_back(stretchTable(luts.all[lutOf(is[0], c, true)], size));
            const bool fits = channelsOf(is[0]).size() == channelsOf(is[1]).size();
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
        if (channelsOf(is[0]).size() != channelsOf(is[1]).size()) return;
        std::vector<Image> expected = is;
        const int32_t size = sizeOf(is[0]->depth);
        Luts luts(random, 4, size);
        if (random.chance(10)) std::fill(luts.all[0].value.begin(), luts.all[0].value.end(), 0);
        Luts after = luts;
        std::vector<Table> tables;
        std::vector<std::vector<uint32_t>> cells;
        for (size_t c = 0; c < channelsOf(is[0]).size(); ++c)
            if (auto one = spreadCells(luts.all[lutOf(is[0], c, false)], size)) {
                tables.push_back(equalizingTable(*one));
                cells.push_back(*one);
            }
        const bool zeroes = tables.size() < channelsOf(is[0]).size();
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
        for (Image& image : images) image.roi = cutRegion(image);
        if (images[0].roi.width == 0 || images[0].roi.height == 0 || images[1].roi.width == 0 ||
            images[1].roi.height == 0)
            return;
        for (Image& image : images) image->roi = &image.roi;
        const Luts luts(random, 4, sizeOf(images[0]->depth));
        const bool equalizes = random.chance(50);
        expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& i) {
            Luts own = luts;
            (equalizes ? daxHistoEqualize : daxContrastStretch)(i[0], i[1], own, nullptr);
        });
        reports.take();
    });
}

TEST(Curves, TilesThatCantBeHad) {
    kit::Reports reports;
    for (const auto operation : {daxHistoEqualize, daxContrastStretch})
        for (const char* mode : {"read", "write"}) {
            const bool read = mode[0] == 'r';
            kit::TileLog log;
            log.failRequest = 2;
            Luts luts(std::vector<Lut>{Lut({0, 256}, {5, 5})});
            Image plain({.width = 20, .height = 20});
            kit::Tiles tiles(plain, 'T', 16, 16, log);
            DaxImage* images[] = {plain, tiles};
            operation(images[read], images[!read], luts, nullptr);
            const std::string name =
                operation == daxHistoEqualize ? "daxHistoEqualize" : "daxContrastStretch";
            EXPECT_EQ(reports.take(),
                      (Lines{std::string("-2 daxMap daxHist Error get tile to ") + mode,
                             "-1 " + name + " daxHist "}));
            EXPECT_EQ(luts.all[0].value[0], 5);
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
