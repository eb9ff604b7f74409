// daxNorm against sums in floats, sample after sample. Results are compared to the last bit.

#include "tone/lut.h"

#include <cmath>
#include <limits>

namespace {

using namespace tone;

constexpr int32_t types[] = {DAX_NORM_MAX,     DAX_NORM_SUM,     DAX_NORM_L2,
                             DAX_NORM_MAX_REL, DAX_NORM_SUM_REL, DAX_NORM_L2_REL};
constexpr double ceiling = std::numeric_limits<float>::max();
constexpr double least = std::numeric_limits<float>::min();

// The region; that of the first image takes on the rest of the height when it is too wide.
DaxROI normRegion(const DaxImage* image, bool first) {
    DaxROI roi = regionOf(image);
    if (roi.xOffset + roi.width > image->width)
        roi.width = first ? image->height - roi.yOffset : image->width - roi.xOffset;
    roi.height = std::min(roi.height, image->height - roi.yOffset);
    return roi;
}

// What is at a place that may lie past the end of a row; nothing outside of the block. The first
// image tells the layout, and with all its channels a row is one run of samples.
struct Reader {
    const Image& image;
    DaxROI roi;
    bool pixels;
    int32_t flat; // channels of a pixel in a run, or 0 for one channel in steps

    bool read(int32_t x, int32_t y, int32_t channel, int64_t* sample) const {
        const int32_t depth = image->depth;
        int64_t row = (int64_t{roi.yOffset} + y) * image->widthStep;
        int64_t index = int64_t{roi.xOffset} + x;
        if (pixels)
            index = int64_t{roi.xOffset} * image->nChannels +
                    x * (flat != 0 ? flat : image->nChannels) + channel - 1;
        else
            row += int64_t{image->widthStep} * image->height * (channel - 1);
        const int64_t end = row * 8 + (index + 1) * kit::bitsOf(depth);
        if (end > static_cast<int64_t>(image.size()) * 8) return false;
        *sample = kit::readSample(image.data() + row + index * kit::bytesOf(depth), depth, index);
        return true;
    }
};

int32_t magnitude(int64_t a, int64_t b) {
    const auto difference = static_cast<uint32_t>(a - b);
    return static_cast<int32_t>(difference >> 31 != 0 ? 0 - difference : difference);
}

struct Sums {
    double most = 0, sum = 0, squares = 0;
    void add(int32_t value) {
        most = std::max(most, double{1} * value);
        sum += value;
        squares += double{1} * value * value;
    }
    double of(int32_t type) const {
        return type % 8 == DAX_NORM_MAX ? most : type % 8 == DAX_NORM_SUM ? sum : sqrt(squares);
    }
};

double normByModel(const Image& a, const Image* b, int32_t type) {
    const bool bits = a->depth == DAX_DEPTH_1U;
    const bool pixels = a->dataOrder == DAX_DATA_PIXEL;
    const int32_t coi = a->nChannels == 1 ? 1 : regionOf(&a.header).coi;
    const int32_t flat = pixels && coi == 0 ? a->nChannels : 0;
    const Reader readA = {a, normRegion(&a.header, true), pixels, flat};
    const Image& other = b != nullptr ? *b : a;
    const Reader readB = {other, normRegion(&other.header, b == nullptr), pixels, flat};
    const int32_t height = std::min(readA.roi.height, readB.roi.height);
    const int32_t width = std::min(readA.roi.width, readB.roi.width);
    std::vector<int32_t> channels = channelsOf(&a.header);
    const std::vector<int32_t> each = pixels ? std::vector<int32_t>{0} : channels;
    Sums difference;
    Sums second;
    double bottom = 0;
    double bottomSecond = 0;
    for (const int32_t plane : each) {
        const std::vector<int32_t> row = plane != 0 ? std::vector<int32_t>{plane} : channels;
        for (int32_t y = 0; y < height; ++y) {
            bool isThere = false; // the largest figure of bits is that of the last row there is
            for (int32_t x = 0; x < width; ++x)
                for (const int32_t c : row) {
                    int64_t sampleA = 0;
                    int64_t sampleB = 0;
                    if (!readA.read(x, y, c, &sampleA) || !readB.read(x, y, c, &sampleB)) continue;
                    if (!isThere) bottom = bottomSecond = 0;
                    isThere = true;
                    if (b == nullptr) sampleB = 0;
                    difference.add(magnitude(sampleA, sampleB));
                    second.add(magnitude(sampleB, 0));
                    if (sampleA != sampleB) bottom = 1;
                    if (sampleB != 0) bottomSecond = 1;
                }
        }
    }
    double n = difference.of(type);
    double d = second.of(type);
    if (bits && type % 8 == DAX_NORM_MAX) n = bottom, d = bottomSecond;
    if (b == nullptr && type == DAX_NORM_MAX && a->depth == DAX_DEPTH_32S)
        return static_cast<float>(n);
    if (type < 8) return std::min(n, ceiling);
    if (d < least) d += least;
    return type == DAX_NORM_MAX_REL ? n / d : std::min(n / d, ceiling);
}

// Two images that the function takes, mostly of one make. Their region may end past their row, but
// not so that differing layouts would pair samples of different rows.
std::vector<Image> anyPair(Random& random, bool tileable) {
    std::vector<Shape> shapes = {kit::anyShape(random), kit::anyShape(random)};
    shapes[1].depth = shapes[0].depth;
    const bool alike = tileable || shapes[0].depth == DAX_DEPTH_1U || random.chance(80);
    if (alike) shapes[1].order = shapes[0].order;
    if (alike) shapes[1].channels = shapes[0].channels;
    if (shapes[0].depth == DAX_DEPTH_1U) shapes[1].channels = 1;
    const int32_t both = std::min(shapes[0].channels, shapes[1].channels);
    const int32_t coi = random.chance(60) ? 0 : random.in(0, both);
    for (Shape& shape : shapes) {
        if (tileable) shape.slack = 0;
        if (coi != 0 && !shape.roi) shape.roi = DaxROI{coi, 0, 0, shape.height, shape.width};
        if (shape.roi) shape.roi->coi = coi;
        if (tileable && shape.roi)
            shape.roi->width =
                std::max(1, std::min(shape.roi->width, shape.width - shape.roi->xOffset));
        if (tileable && shape.roi && shape.roi->xOffset >= shape.width) shape.roi->xOffset = 0;
    }
    if (!tileable && random.chance(8)) kit::widen(random, &shapes);
    std::vector<Image> images = filledImages(random, shapes);
    // Small numbers, too, of which the sums stay whole.
    const int32_t depth = shapes[0].depth;
    if (depth == DAX_DEPTH_32S && random.chance(50))
        for (Image& image : images)
            for (size_t i = 0; i + 4 <= image.size(); i += 4)
                kit::writeSample(image.data() + i, depth, random.in(-99999, 99999));
    if (random.chance(10)) std::fill_n(images[1].data(), images[1].size(), uint8_t{0});
    return images;
}

TEST(Norm, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(2500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> images = anyPair(random, false);
            const int32_t type = random.of(types);
            const bool two = type >= 8 || random.chance(60);
            EXPECT_EQ(daxNorm(images[0], two ? static_cast<DaxImage*>(images[1]) : nullptr, type),
                      normByModel(images[0], two ? &images[1] : nullptr, type))
                << "type " << type << (two ? " of two: " : ": ") << images[0].shape().text()
                << " and " << images[1].shape().text();
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Past 2^53 a sum is rounded with every sample.
TEST(Norm, BeyondWholeNumbers) {
    kit::forEachIsa([] {
        Random random(1);
        const auto expectSame = [&](int32_t depth, int32_t type, int64_t value, int32_t spread) {
            Image image({.depth = depth, .width = 2048, .height = 1600});
            for (int32_t y = 0; y < image->height; ++y)
                for (int32_t x = 0; x < image->width; ++x)
                    image.set(x, y, 1, value - random.in(0, spread));
            const double norm = daxNorm(image, nullptr, type);
            EXPECT_EQ(norm, normByModel(image, nullptr, type));
            EXPECT_GT(type == DAX_NORM_L2 ? norm * norm : std::abs(norm), 0x1p52);
        };
        expectSame(DAX_DEPTH_16U, DAX_NORM_L2, 65535, 999);
        expectSame(DAX_DEPTH_32S, DAX_NORM_SUM, INT_MAX, 99999);
        expectSame(DAX_DEPTH_32S, DAX_NORM_SUM, INT_MIN, 0);
        expectSame(DAX_DEPTH_32S, DAX_NORM_L2, INT_MIN + 7777, 7777);
    });
}

TEST(Norm, TiledImages) {
    kit::forSeeds(500, [](Random& random) {
        kit::Reports reports;
        std::vector<Image> images = anyPair(random, true);
        const int32_t type = random.of(types);
        std::vector<double> results;
        expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& i) {
            results.push_back(daxNorm(i[0], i[1], type));
        });
        for (const double result : results) EXPECT_EQ(result, results[0]) << "type " << type;
        const double one = daxNorm(images[0], nullptr, type % 8);
        expectTiledLikePlain(random, {images[0]}, [&](const std::vector<DaxImage*>& i) {
            EXPECT_EQ(daxNorm(i[0], nullptr, type % 8), one);
        });
        EXPECT_EQ(reports.take(), Lines());
    });
}

// Without a tile or without memory the result is -1, and nothing is told.
TEST(Norm, WhatCantBeHad) {
    kit::Reports reports;
    for (const int32_t depth : {DAX_DEPTH_1U, DAX_DEPTH_8U}) {
        const Shape shape = {
            .depth = depth, .width = 16, .height = 16, .roi = DaxROI{0, 9, 9, 3, 3}};
        Image plain(shape);
        kit::TileLog log;
        kit::Tiles tiles(plain, 'B', 8, 8, log);
        log.failRequest = 1;
        EXPECT_EQ(daxNorm(plain, tiles, DAX_NORM_SUM), -1.0);
        // Beside plain bits all of the image.
        EXPECT_EQ(daxNorm(plain, tiles, DAX_NORM_SUM), 0.0);
        EXPECT_EQ(log.requests, 1 + (depth == DAX_DEPTH_1U ? 4 : 1));
        const int32_t requests = kit::forEachFailedRequest([&](kit::StandIn& platform) {
            const double norm = daxNorm(tiles, plain, DAX_NORM_SUM);
            EXPECT_EQ(norm, platform.requests >= platform.failRequest ? -1.0 : 0.0);
        });
        EXPECT_EQ(requests, 2);
    }
    EXPECT_EQ(reports.take(), Lines());
}

TEST(Norm, Figures) {
    Image a({.width = 2, .height = 3});
    Image b({.width = 2, .height = 3});
    a.set(1, 0, 1, 200);
    EXPECT_EQ(daxNorm(a, b, DAX_NORM_MAX_REL), 200 / least);
    EXPECT_EQ(daxNorm(a, b, DAX_NORM_SUM_REL), ceiling);
    EXPECT_EQ(daxNorm(a, b, DAX_NORM_L2_REL), ceiling);
    for (const int32_t type : types) EXPECT_EQ(daxNorm(a, a, type), 0.0);
    Image bits({.depth = DAX_DEPTH_1U, .width = 9, .height = 2});
    bits.set(8, 0, 1, 1);
    EXPECT_EQ(daxNorm(bits, nullptr, DAX_NORM_MAX), 0.0);
    bits.set(0, 1, 1, 1);
    EXPECT_EQ(daxNorm(bits, nullptr, DAX_NORM_MAX), 1.0);
    EXPECT_EQ(daxNorm(bits, nullptr, DAX_NORM_L2), sqrt(2.0));
    Image deep({.depth = DAX_DEPTH_32S, .width = 2});
    deep.set(0, 0, 1, INT_MIN);
    EXPECT_EQ(daxNorm(deep, nullptr, DAX_NORM_MAX), 0.0);
    EXPECT_EQ(daxNorm(deep, nullptr, DAX_NORM_SUM), -0x1p31);
    deep.set(1, 0, 1, 0x1000001);
    EXPECT_EQ(daxNorm(deep, nullptr, DAX_NORM_MAX), 0x1000000);
}

TEST(Norm, Reports) {
    kit::Reports reports;
    const auto call = [&](const Shape& a, const Shape* b, int32_t type) {
        Image first(a);
        Image second(b != nullptr ? *b : a);
        const double norm =
            daxNorm(first, b != nullptr ? static_cast<DaxImage*>(second) : nullptr, type);
        Lines lines = reports.take();
        EXPECT_EQ(norm, lines.empty() ? -1.0 : 0.0);
        return lines;
    };
    const auto lineOf = [](const std::string& text) { return Lines{"-5 daxNorm daxnorm " + text}; };
    const std::string align =
        "Image align is invalid                                                \n";
    const Shape good;
    const Shape bad = {.align = 5};
    const Shape other = {.depth = DAX_DEPTH_8S, .roi = DaxROI{1, 0, 0, 1, 1}};
    const Shape ofFirst = {.roi = DaxROI{1, 0, 0, 1, 1}};
    for (const int32_t type : {0, 3, 5, 8, 11, 13, 17, -1})
        EXPECT_EQ(call(bad, &bad, type), lineOf("normType unknown"));
    EXPECT_EQ(call(bad, nullptr, DAX_NORM_MAX_REL), lineOf(align));
    EXPECT_EQ(call(good, &bad, DAX_NORM_MAX), lineOf(align));
    EXPECT_EQ(call(good, &other, DAX_NORM_MAX), lineOf("(srcImageA->depth!=srcImageB->depth)"));
    EXPECT_EQ(call(good, &ofFirst, DAX_NORM_MAX), lineOf("(coiA!=coiB)"));
    for (const int32_t type : {DAX_NORM_MAX_REL, DAX_NORM_SUM_REL, DAX_NORM_L2_REL})
        EXPECT_EQ(call(good, nullptr, type), Lines());
}

// The status is read where the type has been reported: where a reporter clears it the images are
// reported on as well.
TEST(Norm, AReporterThatClearsTheStatus) {
    kit::Reports reports;
    static Lines texts;
    texts.clear();
    daxRedirectError([](DaxStatus status, const char*, const char* context, const char*, int32_t) {
        daxSetErrStatus(DAX_StatusNoError);
        texts.emplace_back(context);
        return status;
    });
    Image image(Shape{});
    EXPECT_EQ(daxNorm(image, nullptr, 3), 0.0);
    EXPECT_EQ(texts, Lines{"normType unknown"});
    EXPECT_EQ(daxNorm(nullptr, nullptr, 3), 0.0);
    EXPECT_EQ(texts.size(), 3u);
    EXPECT_EQ(texts.back().substr(0, 20), "Image header is null");
}

} // namespace
