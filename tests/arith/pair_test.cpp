// The operations on two images, arithmetic and logic, against a plain model of samples and walk.

#include "kit/models.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>

namespace {

using kit::Image;
using kit::Random;
using Lines = std::vector<std::string>;

using Sample = int64_t(int64_t a, int64_t b);

struct PairOperation {
    const char* name;
    const char* module;
    void (*call)(DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos);
    Sample* exact;
    Sample* bit;
    bool swaps = false; // the sources change places ahead of the walk
};

template <int32_t flip>
void subtract(DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos) {
    daxSubtract(a, b, dst, flip, tilePos);
}

int64_t sumOf(int64_t a, int64_t b) { return a + b; }
int64_t differenceOf(int64_t a, int64_t b) { return a - b; }
int64_t productOf(int64_t a, int64_t b) { return a * b; }
int64_t withoutOf(int64_t a, int64_t b) { return a & ~b; }
int64_t bothOf(int64_t a, int64_t b) { return a & b; }
int64_t anyOf(int64_t a, int64_t b) { return a | b; }
int64_t oneOf(int64_t a, int64_t b) { return a ^ b; }

const PairOperation operations[] = {
    {"daxAdd", "daxadd", daxAdd, sumOf, anyOf},
    {"daxSubtract", "daxsub", subtract<0>, differenceOf, withoutOf},
    {"daxSubtract", "daxsub", subtract<-2>, differenceOf, withoutOf, true},
    {"daxMultiply", "daxmul", daxMultiply, productOf, bothOf},
    {"daxAnd", "daxand", daxAnd, bothOf, bothOf},
    {"daxOr", "daxor", daxOr, anyOf, anyOf},
    {"daxXor", "daxxor", daxXor, oneOf, oneOf},
};

bool multiplies16u(const PairOperation& operation, const Image& dst) {
    return operation.call == daxMultiply && dst->depth == DAX_DEPTH_16U;
}

// Keeps 16-bit products below 2^31, from where on the ends of a run differ from its middle.
void tame(Image& image) {
    for (size_t i = 0; i < image.size(); ++i) image.data()[i] &= 0x7F;
}

void combineByModel(const PairOperation& operation, DaxImage* a, DaxImage* b, DaxImage* dst) {
    const int32_t depth = dst->depth;
    if (operation.swaps) std::swap(a, b);
    kit::combineByModel({a, b, dst}, [&](int64_t x, int64_t y) {
        if (depth == DAX_DEPTH_1U) return operation.bit(x, y);
        return std::clamp(operation.exact(x, y), kit::leastOf(depth), kit::mostOf(depth));
    });
}

// With every instruction set; the destination may be one source or both.
TEST(Pair, PlainImagesAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(6000, [&](Random& random) {
        const PairOperation& operation = random.of(operations);
        const bool wide = random.chance(15);
        std::vector<kit::Shape> shapes = kit::fittingShapes(random, 3);
        if (wide) kit::widen(random, &shapes);
        std::vector<Image> images = kit::filledImages(random, shapes);
        // Which image each argument is. A run across channels of two kinds reads what it has
        // written; nothing is promised then.
        size_t a = random.chance(25) ? 2 : 0;
        size_t b = random.chance(25) ? 2 : 1;
        if (images[0]->nChannels != images[2]->nChannels) a = 0;
        if (images[a == 2 ? 1 : 0]->nChannels != images[2]->nChannels) b = 1;
        if (images[b]->nChannels != images[2]->nChannels) a = 0;
        if (multiplies16u(operation, images[2])) tame(images[b]);
        std::vector<Image> expected = images;
        combineByModel(operation, expected[a], expected[b], expected[2]);
        kit::forEachIsa([&] {
            std::vector<Image> is = images;
            operation.call(is[a], is[b], is[2], nullptr);
            for (size_t i = 0; i < 3; ++i)
                EXPECT_EQ(kit::byteDifference(is[i], expected[i]), "")
                    << operation.name << " " << i << "\nA " << is[a].shape().text() << "\nB "
                    << is[b].shape().text();
        });
    });
    EXPECT_EQ(reports.take(), Lines());
}

TEST(Pair, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(700, [](Random& random) {
        const PairOperation& operation = random.of(operations);
        std::vector<Image> images = kit::filledImages(random, kit::fittingShapes(random, 3, true));
        if (multiplies16u(operation, images[2])) tame(images[1]);
        // A second source that alone is tiled is no case that a caller may make.
        const kit::Operation call = [&](const std::vector<DaxImage*>& is) {
            operation.call(is[0], is[1], is[2], nullptr);
        };
        kit::expectTiledLikePlain(random, images, call, {2});
    });
    EXPECT_EQ(reports.take(), Lines());
}

// Each argument check in its order: with all faults at once the first is told, and then one after
// the other is mended.
TEST(Pair, ChecksInOrder) {
    const std::string size = "Image size is invalid" + std::string(49, ' ') + "\n";
    const std::string null = "Image header is null" + std::string(50, ' ') + "\n";
    const auto tiledNothing = [](DaxImage*, int32_t, int32_t, int32_t) {};
    for (const PairOperation& operation : operations) {
        kit::Reports reports;
        Random random(1);
        const kit::Shape good = {.channels = 3, .width = 9, .height = 3};
        Image a(good, random);
        Image b(good, random);
        Image dst(good, random);
        a->width = b->width = dst->width = 0;
        a->depth = DAX_DEPTH_8S;
        b->depth = DAX_DEPTH_16U;
        a->dataOrder = b->dataOrder = DAX_DATA_PLANE;
        a.roi = {2, 0, 0, 1, 1};
        a->roi = &a.roi;
        b->nChannels = 1;
        const struct {
            std::string text;
            std::function<void()> mend;
        } steps[] = {
            {size, [&] { a->width = 9; }},
            {size, [&] { b->width = 9; }},
            {size, [&] { dst->width = 9; }},
            {"(srcImageA->depth != dstImage->depth)", [&] { a->depth = DAX_DEPTH_8U; }},
            {"(srcImageB->depth != dstImage->depth)", [&] { b->depth = DAX_DEPTH_8U; }},
            {"(srcImageA->dataOrder != dstImage->dataOrder)",
             [&] { a->dataOrder = DAX_DATA_PIXEL; }},
            {"(srcImageB->dataOrder != dstImage->dataOrder)",
             [&] { b->dataOrder = DAX_DATA_PIXEL; }},
            {"(nChSrcA != nChDst)", [&] { a->roi = nullptr; }},
            {"(nChSrcB != nChDst)", [&] { b->nChannels = 3; }},
        };
        const Image before = dst;
        const std::string start =
            std::string("-5 ") + operation.name + " " + operation.module + " ";
        for (const auto& step : steps) {
            operation.call(a, b, dst, nullptr);
            EXPECT_EQ(daxGetErrStatus(), -5);
            EXPECT_EQ(reports.take(), Lines{start + step.text});
            EXPECT_EQ(kit::byteDifference(dst, before), "");
            step.mend();
        }
        // A line of its own for each image, and lines at all for the rest.
        EXPECT_TRUE(0 < reports.lines[0] && reports.lines[0] < reports.lines[1] &&
                    reports.lines[1] < reports.lines[2] && reports.lines[2] < reports.lines[3]);
        daxSetErrStatus(-3);
        operation.call(a, b, dst, nullptr);
        EXPECT_EQ(daxGetErrStatus(), -3);
        EXPECT_TRUE(reports.take().empty());
        operation.call(a, b, nullptr, nullptr);
        EXPECT_EQ(reports.take(), Lines{start + null});
        DaxTileInfo tiles = {tiledNothing, 0, nullptr, 8, 8};
        dst->imageData = nullptr;
        dst->tileInfo = &tiles;
        operation.call(a, b, dst, nullptr);
        EXPECT_EQ(reports.take(), Lines{start + "(dstImage->tileInfo->tileData == ((void*)(0)))"});
        dst->imageData = dst.data();
    }
}

// A channel of interest on one side and the only channel of an image on the other are never paired
// up.
TEST(Pair, LayoutsThatDontFitDoNothing) {
    kit::Reports reports;
    Random random(5);
    for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
        const auto ofThree = [&](int32_t coi) {
            return Image({.channels = 3,
                          .width = 6,
                          .height = 4,
                          .order = order,
                          .roi = DaxROI{coi, 0, 0, 4, 6}},
                         random);
        };
        Image dst = ofThree(2);
        Image third = ofThree(3);
        Image one({.width = 6, .height = 4, .order = order}, random);
        const Image before[] = {dst, one};
        for (const PairOperation& operation : operations) {
            operation.call(one, third, dst, nullptr);
            operation.call(third, one, dst, nullptr);
            operation.call(third, third, one, nullptr);
        }
        EXPECT_EQ(kit::byteDifference(dst, before[0]) + kit::byteDifference(one, before[1]), "");
        EXPECT_TRUE(reports.take().empty());
    }
}

// Ahead of the first destination address that is a multiple of 8 and behind the last whole group of
// four samples, a product of 2^31 or more counts as negative and its low half is stored.
TEST(Pair, EndsOfA16BitProductRun) {
    kit::forSeeds(300, [](Random& random) {
        kit::Shape shape = {
            .depth = DAX_DEPTH_16U, .width = random.in(2, 60), .height = random.in(1, 3)};
        // Narrower than the image, so that each row is a run.
        const int32_t count = shape.width - 1;
        shape.roi = DaxROI{0, 0, 0, shape.height, count};
        const Image a(shape, random);
        const Image b(shape, random);
        shape.shift = random.in(0, 3) * 2;
        const Image before(shape, random);
        Image expected = before;
        for (int32_t y = 0; y < shape.height; ++y) {
            const int32_t past = (shape.shift + y * before->widthStep) % 8 / 2;
            const int32_t head = std::min(count, (4 - past) % 4);
            const int32_t tail = head + (count - head) / 4 * 4;
            for (int32_t x = 0; x < count; ++x) {
                const int64_t product = a.get(x, y, 1) * b.get(x, y, 1);
                const bool wraps = (x < head || x >= tail) && product >= int64_t{1} << 31;
                expected.set(x, y, 1, wraps ? product : std::min<int64_t>(product, 65535));
            }
        }
        kit::forEachIsa([&] {
            Image sources[] = {a, b};
            Image dst = before;
            daxMultiply(sources[0], sources[1], dst, nullptr);
            EXPECT_EQ(kit::byteDifference(dst, expected), "");
        });
    });
}

} // namespace
