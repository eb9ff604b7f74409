// daxMirror against a model that moves sample by sample.

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/scene.h"
#include "kit/shapes.h"

#include "frame/border.h"

#include <algorithm>

namespace {

using kit::Image;
using kit::Random;
using kit::regionOf;
using kit::Shape;
using Lines = std::vector<std::string>;

constexpr int32_t flips[] = {DAX_FLIP_ROWS, DAX_FLIP_COLUMNS, DAX_FLIP_BOTH};

// Two images that the operation takes; mostly not much smaller than their regions ask for.
std::vector<Image> anyPair(Random& random, bool otherOrder = false) {
    std::vector<Shape> shapes = {kit::anyShape(random), kit::anyShape(random)};
    shapes[1].depth = shapes[0].depth;
    shapes[1].order = otherOrder ? 1 - shapes[0].order : shapes[0].order;
    shapes[1].channels = shapes[0].channels;
    shapes[1].slack = std::max(shapes[1].slack, 0);
    const int32_t coi = random.chance(50) ? 0 : random.in(0, shapes[0].channels);
    for (Shape& shape : shapes) {
        if (coi != 0 && !shape.roi) shape.roi = DaxROI{coi, 0, 0, shape.height, shape.width};
        if (shape.roi) shape.roi->coi = coi;
    }
    std::vector<Image> images = filledImages(random, shapes);
    kit::setAnyBorders(random, images[0]);
    return images;
}

struct Size {
    int32_t width, height;
};

Size blockOf(const DaxImage* src, const DaxImage* dst) {
    const DaxROI from = regionOf(src);
    const DaxROI to = regionOf(dst);
    // The source's width takes on the rest of its height.
    const int32_t fromWidth =
        from.xOffset + from.width > src->width ? src->height - from.yOffset : from.width;
    return {
        std::min({fromWidth, to.width, dst->width - to.xOffset}),
        std::min({from.height, src->height - from.yOffset, to.height, dst->height - to.yOffset})};
}

// What is at a place of a plain source that may lie past the end of its row. A pixel that is moved
// as a whole has to be there as a whole.
std::optional<int64_t> readPast(const Image& image, int32_t x, int32_t y, int32_t channel) {
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const bool whole = regionOf(&image.header).coi == 0;
    const int64_t index =
        pixels ? int64_t{x} * image->nChannels + (whole ? image->nChannels : channel) - 1 : x;
    const int64_t row = y + (pixels ? 0 : int64_t{image->height} * (channel - 1));
    const int64_t end = row * image->widthStep * 8 + (index + 1) * kit::bitsOf(image->depth);
    if (end > static_cast<int64_t>(image.size()) * 8) return {};
    return image.get(x, y, channel);
}

// `only` is a rectangle of the destination outside of which nothing is done.
void mirrorByModel(const Image& src, Image& dst, int32_t flipAxis, bool throughCopies,
                   const DaxROI& only) {
    Image before = src;
    const DaxROI from = regionOf(before);
    const DaxROI to = regionOf(dst);
    const Size block = blockOf(before, dst);
    const int32_t first = from.coi != 0 ? from.coi : 1;
    const int32_t last = from.coi != 0 ? from.coi : before->nChannels;
    for (int32_t c = first; c <= last; ++c)
        for (int32_t y = 0; y < block.height; ++y)
            for (int32_t x = 0; x < block.width; ++x) {
                const int32_t dstX = to.xOffset + x;
                const int32_t dstY = to.yOffset + y;
                if (dstX < only.xOffset || dstX >= only.xOffset + only.width ||
                    dstY < only.yOffset || dstY >= only.yOffset + only.height)
                    continue;
                const int32_t srcX =
                    from.xOffset + (flipAxis == DAX_FLIP_ROWS ? x : block.width - 1 - x);
                const int32_t srcY =
                    from.yOffset + (flipAxis == DAX_FLIP_COLUMNS ? y : block.height - 1 - y);
                if (throughCopies)
                    dst.set(dstX, dstY, c, ownBorderPixel(before, srcX, srcY, c));
                else if (const auto sample = readPast(before, srcX, srcY, c))
                    dst.set(dstX, dstY, c, *sample);
            }
}

constexpr DaxROI everything = {0, 0, 0, INT32_MAX / 2, INT32_MAX / 2};

void expectPlain(std::vector<Image> is, int32_t flipAxis, bool inPlace) {
    std::vector<Image> expected = is;
    const size_t to = inPlace ? 0 : 1;
    mirrorByModel(expected[0], expected[to], flipAxis, false, everything);
    daxMirror(is[0], is[to], flipAxis, nullptr);
    for (size_t i = 0; i < 2; ++i)
        EXPECT_EQ(byteDifference(is[i], expected[i]), "")
            << "image " << i << " flipAxis " << flipAxis << (inPlace ? " in place" : "") << " of "
            << is[0].shape().text();
}

TEST(Mirror, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(3000, [](Random& random) {
            kit::Reports reports;
            expectPlain(anyPair(random), random.of(flips), random.chance(40));
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Rows longer than what the kernels take at once, with pixels of all sizes.
TEST(Mirror, LongRows) {
    kit::forEachIsa([] {
        kit::forSeeds(150, [](Random& random) {
            Shape shape = {.depth = random.of(kit::depths), .height = random.in(1, 3)};
            shape.channels = shape.depth == DAX_DEPTH_1U ? 1
                             : random.chance(10)         ? 700
                                                         : random.in(1, 5);
            shape.width = shape.depth == DAX_DEPTH_1U ? random.in(9000, 12000)
                          : shape.channels == 700     ? random.in(1, 9)
                                                      : random.in(700, 2000);
            shape.order = random.in(0, 1);
            std::vector<Image> images;
            for (int32_t i = 0; i < 2; ++i) {
                shape.shift = random.in(0, 7);
                const int32_t x = random.in(0, std::min(40, shape.width - 1));
                shape.roi = DaxROI{0, x, 0, shape.height, random.in(1, shape.width - x)};
                images.emplace_back(shape, random);
            }
            expectPlain(images, random.of(flips), random.chance(50));
        });
    });
}

// Data orders that differ aren't refused. One channel lies the same in both; with more the source's
// order counts, inside the data of both.
TEST(Mirror, DataOrdersThatDiffer) {
    kit::forSeeds(300, [](Random& random) {
        std::vector<Image> is = anyPair(random, true);
        std::vector<Image> expected = is;
        const int32_t flipAxis = random.of(flips);
        daxMirror(is[0], is[1], flipAxis, nullptr);
        if (is[0]->nChannels > 1) return;
        mirrorByModel(expected[0], expected[1], flipAxis, false, everything);
        EXPECT_EQ(byteDifference(is[1], expected[1]), "");
    });
}

// A call on images of which at least one is tiled.
struct Scene : kit::Scene {
    explicit Scene(Random& random, bool onItself)
        : kit::Scene(random, anyPair(random), onItself ? 2 : random.in(1, 3)), inPlace(onItself),
          flipAxis(random.of(flips)) {
        const DaxROI roi = regionOf(&images[1].header);
        if (random.chance(40))
            pos = {
                {roi.xOffset + random.in(-1, roi.width), roi.yOffset + random.in(-1, roi.height)}};
    }

    const bool inPlace;
    const int32_t flipAxis;
};

struct Trial : kit::Trial {
    explicit Trial(const Scene& theScene) : kit::Trial(theScene), scene(theScene) {}

    void call() {
        DaxImage* dst = argument(1);
        daxMirror(scene.inPlace ? dst : argument(0), dst, scene.flipAxis, tilePos());
    }

    void model() {
        Image& dst = images[1];
        const Image src = scene.inPlace ? dst : images[0];
        DaxROI only = everything;
        if (scene.pos && (scene.cases & 2) != 0) {
            const DaxROI to = regionOf(dst);
            const Size block = blockOf(&src.header, dst);
            const auto [x, y] = *scene.pos;
            if (x < to.xOffset || x >= to.xOffset + block.width || y < to.yOffset ||
                y >= to.yOffset + block.height)
                return;
            only = {0, x / scene.sizes[2] * scene.sizes[2], y / scene.sizes[3] * scene.sizes[3],
                    scene.sizes[3], scene.sizes[2]};
        }
        mirrorByModel(src, dst, scene.flipAxis, true, only);
    }

    const Scene& scene;
};

TEST(Mirror, TiledImages) {
    kit::forSeeds(2500, [](Random& random) {
        kit::Reports reports;
        const Scene scene(random, random.chance(40));
        Trial is(scene);
        Trial expected(scene);
        expected.model();
        is.call();
        for (size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(pixelDifference(is.result(i), expected.images[i]), "")
                << "image " << i << " flipAxis " << scene.flipAxis << " cases " << scene.cases
                << (scene.inPlace ? " in place" : "");
            EXPECT_FALSE(is.tiled[i] && is.tiled[i]->holds());
        }
        EXPECT_EQ(reports.take(), Lines());
    });
}

// The source goes on from its corner, and the destination comes from the other side of every axis
// that is flipped.
TEST(Mirror, OrderOfTiles) {
    const auto tilesOf = [](int32_t flipAxis) {
        Random random(1);
        Image src({.width = 20, .height = 16}, random);
        Image dst(src);
        kit::TileLog log;
        kit::Tiles tiles(dst, 'D', 16, 8, log);
        daxMirror(src, tiles, flipAxis, nullptr);
        Lines writes = log.lines;
        std::erase_if(writes, [](const std::string& line) { return line[2] == 'r'; });
        return writes;
    };
    EXPECT_EQ(tilesOf(DAX_FLIP_ROWS),
              (Lines{"D write 0,1", "D write 0,0", "D write 1,1", "D write 1,0"}));
    EXPECT_EQ(tilesOf(DAX_FLIP_COLUMNS),
              (Lines{"D write 1,0", "D write 0,0", "D write 1,1", "D write 0,1"}));
    EXPECT_EQ(tilesOf(DAX_FLIP_BOTH),
              (Lines{"D write 1,1", "D write 0,1", "D write 1,0", "D write 0,0"}));
}

TEST(Mirror, Reports) {
    kit::Reports reports;
    const auto call = [&](const Shape& a, const Shape& b, int32_t flipAxis, bool unsound = false) {
        Random random(5);
        Image src(a, random);
        Image dst(b, random);
        const Image before = dst;
        if (unsound) src->align = 5, dst->align = 3;
        daxMirror(src, dst, flipAxis, nullptr);
        EXPECT_EQ(byteDifference(dst, before), "");
        return reports.take();
    };
    const auto lineOf = [](const std::string& text) {
        return Lines{"-5 daxMirror daxmirr " + text};
    };
    const Shape one;
    const Shape wide = {.depth = DAX_DEPTH_8S, .channels = 2};
    const Shape ofFirst = {.channels = 2, .roi = DaxROI{1, 0, 0, 1, 1}};
    const Shape ofSecond = {.channels = 2, .roi = DaxROI{2, 0, 0, 1, 1}};
    EXPECT_EQ(call(one, wide, 7, true),
              lineOf("Image align is invalid                                                \n"));
    EXPECT_EQ(call(one, wide, 7), lineOf("(srcImage->depth!=dstImage->depth)"));
    EXPECT_EQ(call(one, ofSecond, 7), lineOf("(srcImage->nChannels!=dstImage->nChannels)"));
    EXPECT_EQ(call(ofFirst, ofSecond, 2), lineOf("((flipAxis>1)||(flipAxis<-1))"));
    EXPECT_EQ(call(ofFirst, ofSecond, -2), lineOf("((flipAxis>1)||(flipAxis<-1))"));
    EXPECT_EQ(call(ofFirst, ofSecond, 0), lineOf("(coiSrc!=coiDst)"));
    EXPECT_EQ(call(ofFirst, {.channels = 2}, 0), lineOf("(coiSrc!=coiDst)"));
    // The status isn't read.
    Random random(1);
    Image src({.width = 2}, random);
    Image dst({.width = 2});
    src.set(0, 0, 1, 1);
    daxSetErrStatus(DAX_StatusBadArgument);
    daxMirror(src, dst, DAX_FLIP_COLUMNS, nullptr);
    EXPECT_EQ(dst.get(1, 0, 1), 1);
}

} // namespace
