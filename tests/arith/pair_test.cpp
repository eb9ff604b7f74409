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

struct PairOperation {
    const char* name;
    const char* module;
    void (*call)(DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos);
    int64_t (*exact)(int64_t a, int64_t b);
    int64_t (*bit)(int64_t a, int64_t b);
    bool swaps; // the sources change places ahead of the walk
};

const PairOperation operations[] = {
    {"daxAdd", "daxadd", daxAdd, [](int64_t a, int64_t b) { return a + b; },
     [](int64_t a, int64_t b) { return a | b; }, false},
    {"daxSubtract", "daxsub",
     [](DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos) {
         daxSubtract(a, b, dst, 0, tilePos);
     },
     [](int64_t a, int64_t b) { return a - b; }, [](int64_t a, int64_t b) { return a & ~b; },
     false},
    {"daxSubtract", "daxsub",
     [](DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos) {
         daxSubtract(a, b, dst, -2, tilePos);
     },
     [](int64_t a, int64_t b) { return a - b; }, [](int64_t a, int64_t b) { return a & ~b; }, true},
    {"daxMultiply", "daxmul", daxMultiply, [](int64_t a, int64_t b) { return a * b; },
     [](int64_t a, int64_t b) { return a & b; }, false},
    {"daxAnd", "daxand", daxAnd, [](int64_t a, int64_t b) { return a & b; },
     [](int64_t a, int64_t b) { return a & b; }, false},
    {"daxOr", "daxor", daxOr, [](int64_t a, int64_t b) { return a | b; },
     [](int64_t a, int64_t b) { return a | b; }, false},
    {"daxXor", "daxxor", daxXor, [](int64_t a, int64_t b) { return a ^ b; },
     [](int64_t a, int64_t b) { return a ^ b; }, false},
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

// The operation on plain images with every instruction set. A null source is the destination
// itself.
void expectLikeModel(const PairOperation& operation, Image* a, Image* b, const Image& dst) {
    Image start = dst;
    if (multiplies16u(operation, dst)) tame(b != nullptr ? *b : start);
    Image expected = start;
    combineByModel(operation, a != nullptr ? *a : expected, b != nullptr ? *b : expected, expected);
    const std::vector<uint8_t> bytesA = a != nullptr ? a->bytes() : std::vector<uint8_t>();
    const std::vector<uint8_t> bytesB = b != nullptr ? b->bytes() : std::vector<uint8_t>();
    kit::forEachIsa([&] {
        Image is = start;
        operation.call(a != nullptr ? *a : is, b != nullptr ? *b : is, is, nullptr);
        EXPECT_EQ(kit::byteDifference(is, expected), "")
            << operation.name << "\nA " << (a != nullptr ? a->shape() : dst.shape()).text()
            << "\nB " << (b != nullptr ? b->shape() : dst.shape()).text();
        EXPECT_TRUE((a == nullptr || a->bytes() == bytesA) &&
                    (b == nullptr || b->bytes() == bytesB));
    });
}

TEST(Pair, PlainImagesAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(4000, [&](Random& random) {
        std::vector<Image> images = kit::filledImages(random, kit::fittingShapes(random, 3));
        expectLikeModel(random.of(operations), &images[0], &images[1], images[2]);
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// The destination is one source or both.
TEST(Pair, InPlace) {
    kit::forSeeds(1500, [](Random& random) {
        std::vector<Image> images = kit::filledImages(random, kit::fittingShapes(random, 2));
        // A run across channels of two kinds reads what it has written; nothing is promised then.
        if (images[0]->nChannels != images[1]->nChannels) return;
        const int32_t kind = random.in(0, 2);
        expectLikeModel(random.of(operations), kind == 1 ? &images[1] : nullptr,
                        kind == 2 ? &images[1] : nullptr, images[0]);
    });
}

// Runs long enough for every vector width, at every phase of each image.
TEST(Pair, LongRuns) {
    kit::forSeeds(60, [](Random& random) {
        for (const PairOperation& operation : operations)
            for (const int32_t depth : kit::depths) {
                kit::Shape shape = {.depth = depth, .width = random.in(200, 3000), .height = 2};
                std::vector<Image> images;
                for (int32_t i = 0; i < 3; ++i) {
                    shape.shift = random.in(0, 7);
                    shape.roi = DaxROI{0, random.in(0, 70), 0, 2, shape.width - 70};
                    images.emplace_back(shape, random);
                }
                expectLikeModel(operation, &images[0], &images[1], images[2]);
            }
    });
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
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// A tile position cuts the work to one tile of the destination; all tiles together make the whole.
TEST(Pair, TileByTile) {
    kit::forSeeds(300, [](Random& random) {
        kit::Reports reports;
        const PairOperation& operation = random.of(operations);
        std::vector<Image> images = kit::filledImages(random, kit::fittingShapes(random, 3, true));
        if (multiplies16u(operation, images[2])) tame(images[1]);
        Image whole = images[2];
        operation.call(images[0], images[1], whole, nullptr);
        kit::TileLog log;
        kit::Tiles a(images[0], 'A', 16, 8, log);
        const int32_t width = random.in(1, 3) * 8;
        const int32_t height = random.in(1, 3) * 8;
        kit::Tiles dst(images[2], 'D', width, height, log);
        DaxImage* const first = random.chance(50) ? a : static_cast<DaxImage*>(images[0]);
        Image expected = images[2];
        for (int32_t row = 0; row * height < whole->height; ++row)
            for (int32_t col = 0; col * width < whole->width; ++col) {
                const int32_t tilePos[2] = {col, row};
                operation.call(first, images[1], dst, tilePos);
                for (int32_t channel = 1; channel <= whole->nChannels; ++channel)
                    for (int32_t y = row * height; y < std::min((row + 1) * height, whole->height);
                         ++y)
                        for (int32_t x = col * width; x < std::min((col + 1) * width, whole->width);
                             ++x)
                            expected.set(x, y, channel, whole.get(x, y, channel));
                ASSERT_EQ(kit::pixelDifference(dst.gathered(), expected), "");
            }
        // Without tiles in the destination the position is not looked at.
        const int32_t nowhere[2] = {-100, 100};
        Image plain = images[2];
        reports.take();
        operation.call(first, images[1], plain, nowhere);
        EXPECT_EQ(kit::pixelDifference(plain, whole), "");
        EXPECT_TRUE(reports.take().empty());
    });
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
            EXPECT_EQ(reports.take(), std::vector<std::string>{start + step.text});
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
        EXPECT_EQ(reports.take(), std::vector<std::string>{start + null});
        DaxTileInfo tiles = {tiledNothing, 0, nullptr, 8, 8};
        dst->imageData = nullptr;
        dst->tileInfo = &tiles;
        operation.call(a, b, dst, nullptr);
        EXPECT_EQ(reports.take(), std::vector<std::string>{
                                      start + "(dstImage->tileInfo->tileData == ((void*)(0)))"});
        dst->imageData = dst.data();
    }
}

// A channel of interest on one side and the only channel of an image on the other are never paired
// up.
TEST(Pair, LayoutsThatDontFitDoNothing) {
    Random random(5);
    for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
        kit::Reports reports;
        const Image dst(
            {.channels = 3, .width = 6, .height = 4, .order = order, .roi = DaxROI{2, 0, 0, 4, 6}},
            random);
        Image result = dst;
        Image one({.width = 6, .height = 4, .order = order}, random);
        Image ofThree(
            {.channels = 3, .width = 6, .height = 4, .order = order, .roi = DaxROI{3, 0, 0, 4, 6}},
            random);
        for (const PairOperation& operation : operations) {
            operation.call(one, ofThree, result, nullptr);
            operation.call(ofThree, one, result, nullptr);
            operation.call(ofThree, ofThree, one, nullptr);
        }
        EXPECT_EQ(kit::byteDifference(result, dst), "");
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
