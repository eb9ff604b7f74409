// Copy, set and exchange against plain models, sample by sample and call by call.

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/scene.h"
#include "kit/shapes.h"

#include "frame/border.h"
#include "frame/planeview.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

using kit::Image;
using kit::Random;
using kit::regionOf;
using kit::Shape;
using kit::Share;
using Lines = std::vector<std::string>;

enum Op { copy, exchange, set };

constexpr Op ops[] = {copy, exchange, set};
constexpr const char* names[] = {"daxCopy", "daxExchange", "daxSet"};

void carryOut(Op op, DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
    if (op == copy) daxCopy(src, dst, tilePos);
    if (op == exchange) daxExchange(src, dst, tilePos);
    if (op == set) daxSet(dst, value, tilePos);
}

int32_t anyValue(Random& random) {
    return random.oneOf({INT_MIN, -32769, -32768, -129, -128, -1,    0,     1,     2,     5,
                         127,     128,    255,    256,  300,  32767, 32768, 65535, 65536, INT_MAX});
}

// Two images whose rows lie as their fields say, mostly such as fit each other.
std::vector<Image> anyPair(Random& random, bool wide = false) {
    std::vector<Shape> shapes = kit::fittingShapes(random, 2);
    if (random.chance(25)) {
        shapes[1] = kit::anyShape(random);
        shapes[1].depth = shapes[0].depth;
        shapes[1].order = shapes[0].order;
        if (shapes[0].depth == DAX_DEPTH_1U) shapes[1].channels = 1;
        if (shapes[1].roi) shapes[1].roi->coi = random.in(0, shapes[1].channels);
    }
    for (Shape& shape : shapes) {
        shape.slack = 0;
        shape.origin = shapes[0].origin;
    }
    if (wide) kit::widen(random, &shapes);
    return filledImages(random, shapes);
}

struct Channels {
    explicit Channels(const DaxImage* image)
        : first(image->roi != nullptr && image->roi->coi != 0 ? image->roi->coi : 1),
          count(image->roi != nullptr && image->roi->coi != 0 ? 1 : image->nChannels) {}
    int32_t first, count;
};

// Any image as an endless plane of samples: a tiled one has tiles everywhere, a plain one ends at
// its edges.
struct Plane {
    Image* plain = nullptr;
    kit::Tiles* tiled = nullptr;

    bool has(int32_t x, int32_t y) const {
        return tiled != nullptr || (x < (*plain)->width && y < (*plain)->height);
    }
    Image& at(int32_t& x, int32_t& y) const {
        if (tiled == nullptr) return *plain;
        const int32_t col = x / tiled->info.width;
        const int32_t row = y / tiled->info.height;
        x -= col * tiled->info.width;
        y -= row * tiled->info.height;
        return tiled->tile(col, row);
    }
    int64_t get(int32_t x, int32_t y, int32_t channel) const {
        const Image& image = at(x, y);
        return image.get(x, y, channel);
    }
    void set(int32_t x, int32_t y, int32_t channel, int64_t value) const {
        at(x, y).set(x, y, channel, value);
    }
};

// Moves a rectangle between two places of two planes.
struct Rectangle {
    int32_t srcX, srcY, dstX, dstY, width, height;
};

void moveByModel(Op op, const Plane& src, Channels from, const Plane& dst, Channels to,
                 const Rectangle& part, int64_t value) {
    if (op == set) from.count = to.count;
    for (int32_t channel = 0; from.count == to.count && channel < to.count; ++channel)
        for (int32_t y = 0; y < part.height; ++y)
            for (int32_t x = 0; x < part.width; ++x) {
                if (!dst.has(part.dstX + x, part.dstY + y)) continue;
                if (op == set) {
                    dst.set(part.dstX + x, part.dstY + y, to.first + channel, value);
                    continue;
                }
                if (!src.has(part.srcX + x, part.srcY + y)) continue;
                const int64_t sample = src.get(part.srcX + x, part.srcY + y, from.first + channel);
                const int64_t old = dst.get(part.dstX + x, part.dstY + y, to.first + channel);
                dst.set(part.dstX + x, part.dstY + y, to.first + channel, sample);
                if (op == exchange)
                    src.set(part.srcX + x, part.srcY + y, from.first + channel, old);
            }
}

int64_t clamped(int32_t depth, int32_t value) {
    return std::clamp<int64_t>(value, kit::leastOf(depth), kit::mostOf(depth));
}

TEST(Movers, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(3000, [](Random& random) {
            kit::Reports reports;
            const std::vector<Image> before = anyPair(random, random.chance(10));
            std::vector<Image> expected = before;
            std::vector<Image> is = before;
            // Rows go by the fields.
            for (Image& image : is)
                if (random.chance(30))
                    image->widthStep = random.in(1, 99), image->dataSize = random.in(1, 9999);
            const Op op = random.of(ops);
            const int32_t value = anyValue(random);
            const int32_t tilePos[2] = {random.in(-1, 1), random.in(-1, 1)};

            const DaxROI a = regionOf(is[0]);
            const DaxROI d = regionOf(is[1]);
            const Rectangle part = {a.xOffset,
                                    a.yOffset,
                                    d.xOffset,
                                    d.yOffset,
                                    op == set ? d.width : std::min(a.width, d.width),
                                    op == set ? d.height : std::min(a.height, d.height)};
            moveByModel(op, {.plain = &expected[0]}, Channels(is[0]), {.plain = &expected[1]},
                        Channels(is[1]), part, clamped(before[1]->depth, value));
            carryOut(op, is[0], is[1], value, random.chance(50) ? tilePos : nullptr);
            for (size_t i = 0; i < 2; ++i) {
                EXPECT_EQ(byteDifference(is[i], expected[i]), "") << names[op] << " image " << i;
                EXPECT_EQ(is[i]->roi, before[i]->roi != nullptr ? &is[i].roi : nullptr);
            }
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// A pair of images, at least one of them tiled, and a call on it.
struct Scene : kit::Scene {
    Scene(Random& random, Op theOp)
        : kit::Scene(random, anyPair(random), theOp == set ? 2 : random.in(1, 3), 60), op(theOp),
          value(anyValue(random)) {
        kit::setAnyBorders(random, images[0]);
    }

    bool bothTiled() const { return cases == 3; }
    bool replacesRoi() const { return op != set && !bothTiled(); }

    const Op op;
    const int32_t value;
};

struct Trial : kit::Trial {
    explicit Trial(const Scene& theScene) : kit::Trial(theScene), scene(theScene) {
        for (size_t i = 0; i < 2; ++i) planes[i] = {&images[i], tiled[i] ? &*tiled[i] : nullptr};
    }

    void call() { carryOut(scene.op, argument(0), argument(1), scene.value, tilePos()); }

    // The same by the model; false when `tilePos` names no tile.
    bool model() {
        const int walked = scene.cases == 1 ? 0 : 1;
        const DaxROI roi[] = {regionOf(argument(0)), regionOf(argument(1))};
        const bool alone = scene.op == set;
        const int32_t width = alone ? roi[1].width : std::min(roi[0].width, roi[1].width);
        const int32_t height = alone ? roi[1].height : std::min(roi[0].height, roi[1].height);
        const int32_t* size = &scene.sizes[2 * walked];
        std::vector<Share> columns = kit::sharesOf(roi[walked].xOffset, width, size[0]);
        std::vector<Share> rows = kit::sharesOf(roi[walked].yOffset, height, size[1]);
        if (walked == 1 && !kit::narrow(&columns, &rows, tilePos(), size[1])) return false;
        for (const Share& row : rows)
            for (const Share& col : columns) {
                Rectangle part = {roi[0].xOffset + col.before,
                                  roi[0].yOffset + row.before,
                                  roi[1].xOffset + col.before,
                                  roi[1].yOffset + row.before,
                                  col.size,
                                  row.size};
                // A row above the region takes no more of a plain image than the region has.
                if (scene.replacesRoi()) part.height = std::min(part.height, height);
                (walked == 0 ? part.srcX : part.dstX) = col.tile * size[0] + col.inTile;
                (walked == 0 ? part.srcY : part.dstY) = row.tile * size[1] + row.inTile;
                if (scene.bothTiled())
                    moveThroughCopy(part);
                else
                    moveByModel(scene.op, planes[0], Channels(argument(0)), planes[1],
                                Channels(argument(1)), part,
                                clamped(scene.images[1]->depth, scene.value));
            }
        return true;
    }

    // The source's rectangle is read as a whole, with what lies beyond the image, before anything
    // is written.
    void moveThroughCopy(const Rectangle& part) {
        Shape shape = scene.images[0].shape();
        shape.width = part.width;
        shape.height = part.height;
        Image rectangle(shape);
        Image now = tiled[0]->gathered();
        for (int32_t c = 1; c <= shape.channels; ++c)
            for (int32_t y = 0; y < part.height; ++y)
                for (int32_t x = 0; x < part.width; ++x)
                    rectangle.set(x, y, c, ownBorderPixel(now, part.srcX + x, part.srcY + y, c));
        const Channels from(argument(0));
        const Channels to(argument(1));
        if (scene.op == exchange)
            moveByModel(copy, planes[1], to, planes[0], from,
                        {part.dstX, part.dstY, part.srcX, part.srcY, part.width, part.height}, 0);
        moveByModel(copy, {&rectangle}, from, planes[1], to,
                    {0, 0, part.dstX, part.dstY, part.width, part.height}, 0);
    }

    const Scene& scene;
    Plane planes[2];
};

TEST(Movers, TiledImages) {
    kit::forSeeds(1500, [](Random& random) {
        kit::Reports reports;
        const Scene scene(random, random.of(ops));
        Trial is(scene);
        Trial expected(scene);
        const bool named = expected.model();
        is.call();
        EXPECT_EQ(reports.take(), Lines());
        for (size_t i = 0; i < 2; ++i) {
            is.expectSame(expected, i);
            const bool left = !named && i == 0 && scene.replacesRoi();
            EXPECT_EQ(is.argument(i)->roi == is.callersRoi[i], !left);
        }
    });
}

TEST(Movers, BadArgumentsAreReportedAndNothingIsWritten) {
    kit::Reports reports;
    Image src(Shape{.width = 5, .height = 5});
    Image dst(Shape{.width = 5, .height = 5});
    for (size_t i = 0; i < dst.size(); ++i) src.data()[i] = 7;
    const Image before = dst;
    const std::string depth = "srcImage->depth != dstImage->depth";
    const std::string order = "srcImage->dataOrder != dstImage->dataOrder";
    const std::string origin = "srcImage->origin != dstImage->origin";
    for (const Op op : {copy, exchange}) {
        const std::string head = std::string("-5 ") + names[op] + " daxSCE ";
        for (uint32_t set = 1; set < 8; ++set) {
            src->depth = (set & 1) != 0 ? DAX_DEPTH_8S : DAX_DEPTH_8U;
            src->dataOrder = (set & 2) != 0 ? DAX_DATA_PLANE : DAX_DATA_PIXEL;
            src->origin = set >> 2;
            carryOut(op, src, dst, 0, nullptr);
            Lines expected;
            if ((set & 1) != 0) expected.push_back(head + depth);
            if ((set & 2) != 0) expected.push_back(head + order);
            if ((set & 4) != 0) expected.push_back(head + origin);
            EXPECT_EQ(reports.take(), expected);
        }
        src->align = dst->align = 3;
        carryOut(op, src, dst, 0, nullptr);
        src->align = 4;
        carryOut(op, src, dst, 0, nullptr);
        dst->align = 4;
        carryOut(op, nullptr, nullptr, 0, nullptr);
        std::string bad = "Image align is invalid";
        std::string null = "Image header is null";
        bad.resize(70, ' ');
        null.resize(70, ' ');
        EXPECT_EQ(reports.take(),
                  (Lines{head + bad + "\n", head + bad + "\n", head + null + "\n"}));
        // Each image has a line of its own in the module.
        const auto at = reports.lines.end() - 3;
        EXPECT_TRUE(at[0] == at[2] && at[0] != at[1]);
        src->depth = DAX_DEPTH_8U;
        src->dataOrder = DAX_DATA_PIXEL;
        src->origin = 0;
    }
    EXPECT_EQ(byteDifference(dst, before), "");
}

// A reporter may clear the status; images that don't fit are left alone all the same.
TEST(Movers, AReporterThatClearsTheStatus) {
    kit::Reports reports;
    daxRedirectError([](DaxStatus status, const char*, const char*, const char*, int32_t) {
        daxSetErrStatus(DAX_StatusNoError);
        return status;
    });
    Random random(1);
    Image wide(Shape{.depth = DAX_DEPTH_32S, .width = 30, .height = 3}, random);
    Image narrow(Shape{.depth = DAX_DEPTH_1U, .width = 30, .height = 3}, random);
    Image planes(Shape{.channels = 3, .width = 10, .height = 3, .order = DAX_DATA_PLANE}, random);
    Image pixels(Shape{.channels = 3, .width = 10, .height = 3}, random);
    const Image before[] = {wide, narrow, planes, pixels};
    for (const Op op : {copy, exchange}) {
        carryOut(op, wide, narrow, 0, nullptr);
        carryOut(op, narrow, wide, 0, nullptr);
        carryOut(op, planes, pixels, 0, nullptr);
        carryOut(op, pixels, planes, 0, nullptr);
    }
    EXPECT_EQ(byteDifference(wide, before[0]) + byteDifference(narrow, before[1]), "");
    EXPECT_EQ(byteDifference(planes, before[2]) + byteDifference(pixels, before[3]), "");
}

// Regions that begin as far out as the record can say.
TEST(Movers, RegionsAtTheEndOfTheNumbers) {
    kit::Reports reports;
    Random random(1);
    Image plain(Shape{.width = 20, .height = 20, .roi = DaxROI{0, INT_MAX, INT_MAX, 20, 20}},
                random);
    Image other(
        Shape{.width = 20, .height = 20, .roi = DaxROI{0, INT_MAX - 3, 2, INT_MAX, INT_MAX}},
        random);
    const Image before = plain;
    kit::TileLog log;
    kit::Tiles tiled(Image(Shape{.width = 20, .height = 20}, random), 'T', 8, 8, log);
    kit::Tiles second(Image(Shape{.width = 20, .height = 20}, random), 'U', 8, 8, log);
    second.header.roi = &plain.roi;
    for (const Op op : {copy, exchange}) {
        carryOut(op, plain, tiled, 0, nullptr);
        carryOut(op, tiled, plain, 0, nullptr);
        carryOut(op, plain, other, 0, nullptr);
    }
    daxCopy(second, tiled, nullptr);
    daxSet(plain, 9, nullptr);
    EXPECT_EQ(byteDifference(plain, before), "");
    EXPECT_EQ(log.requests, log.releases);
    EXPECT_EQ(reports.take(), Lines());
}

TEST(Movers, AddressesOfSamples) {
    kit::forSeeds(200, [](Random& random) {
        Shape shape = kit::anyShape(random);
        shape.slack = 0;
        Image image(shape, random);
        const int32_t x = random.in(0, shape.width - 1);
        const int32_t y = random.in(0, shape.height - 1);
        const int32_t channel = random.in(1, shape.channels);
        const int64_t expected = image.get(x, y, channel);
        image->widthStep = random.in(1, 99);
        const auto* at = reinterpret_cast<const uint8_t*>(ownPixelAddress(image, x, y, channel));
        EXPECT_EQ(kit::readSample(at, shape.depth, x), expected);
    });
}

} // namespace
