// daxConvert and daxBitonalToGray against models that go sample by sample.

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>
#include <climits>
#include <functional>
#include <optional>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using Lines = std::vector<std::string>;

constexpr int32_t u1 = DAX_DEPTH_1U;
constexpr int32_t u8 = DAX_DEPTH_8U;
constexpr int32_t s8 = DAX_DEPTH_8S;
constexpr int32_t u16 = DAX_DEPTH_16U;
constexpr int32_t s16 = DAX_DEPTH_16S;
constexpr int32_t s32 = DAX_DEPTH_32S;
constexpr int32_t wideDepths[] = {u8, s8, u16, s16, s32};

int64_t narrowed(int64_t s, int32_t from, int32_t to, int32_t mode) {
    const int32_t shift = kit::bitsOf(from) - kit::bitsOf(to);
    if (mode == DAX_CONVERT_HIGH_BITS) return s < 0 ? -(-s >> shift) : s >> shift;
    if (from == u16) return s;
    const int64_t kept = (int64_t{1} << (kit::bitsOf(to) - 1)) - 1;
    return s < 0 ? s | ~kept : s & kept;
}

int64_t convertedByModel(int64_t s, int32_t from, int32_t to, int32_t mode) {
    const bool narrows = kit::bitsOf(from) > kit::bitsOf(to);
    const int64_t half = int64_t{1} << (std::min(kit::bitsOf(from), kit::bitsOf(to)) - 1);
    if (narrows) s = narrowed(s, from, to, mode);
    if (kit::isSigned(from) && !kit::isSigned(to)) s += half;
    if (!kit::isSigned(from) && kit::isSigned(to)) s -= half;
    return s;
}

enum Kind { samples, toBits, bitsToBits, fromBits };

// One of the operations, with a pair of images that it takes.
struct Work {
    Kind kind;
    int32_t mode = 0;
    Image src;
    Image dst;
    int32_t zero = 0;
    int32_t one = 0;

    void call(DaxImage* from, DaxImage* to, const int32_t* tilePos = nullptr) const {
        if (kind == fromBits)
            daxBitonalToGray(from, to, zero, one, tilePos);
        else
            daxConvert(from, to, mode, tilePos);
    }

    int64_t sample(int32_t x, int32_t y, int32_t c) const {
        if (kind == fromBits) return src.get(x, y, 1) != 0 ? one : zero;
        if (kind == toBits) return src.get(x, y, src->nChannels > 1 ? src->roi->coi : 1) > 0;
        return convertedByModel(src.get(x, y, c), src->depth, dst->depth, mode);
    }

    // All of the destination, with the picture upright. Bits move in whole bytes.
    Image model() const {
        Image expected = dst;
        for (int32_t y = 0; y < dst->height; ++y) {
            const int32_t from = src->origin != dst->origin ? src->height - 1 - y : y;
            if (kind == bitsToBits)
                std::copy_n(src.data() + int64_t{from} * src->widthStep, (dst->width + 7) / 8,
                            expected.data() + int64_t{y} * dst->widthStep);
            for (int32_t c = 1; kind != bitsToBits && c <= dst->nChannels; ++c)
                for (int32_t x = 0; x < dst->width; ++x) expected.set(x, y, c, sample(x, from, c));
        }
        return expected;
    }
};

// Where `laid` has changed the rows of a shape; the header has any alignment then.
Work anyWork(Random& random, const std::function<void(Shape&)>& laid) {
    const auto kind = static_cast<Kind>(random.in(0, 3));
    Shape src = kit::anyShape(random);
    Shape dst = kit::anyShape(random);
    src.depth = kind >= bitsToBits ? u1 : random.of(wideDepths);
    dst.depth = kind == toBits || kind == bitsToBits ? u1 : random.of(wideDepths);
    src.channels = dst.channels = random.chance(20) ? random.in(5, 9) : random.in(1, 4);
    if (src.depth == u1) src.channels = 1;
    if (dst.depth == u1) dst.channels = 1;
    // Rows of more than what kernels take at once.
    if (random.chance(15)) src.width = random.in(400, 1700), src.height = random.in(1, 3);
    dst.width = src.width;
    dst.height = src.height;
    for (Shape* shape : {&src, &dst})
        if (shape->roi) shape->roi = kit::anyRoi(random, src.width, src.height, 0);
    if (kind == toBits && src.channels > 1)
        src.roi = kit::anyRoi(random, src.width, src.height, random.in(1, src.channels));
    laid(src);
    laid(dst);
    Work work = {kind, random.in(0, 1), Image(src, random), Image(dst, random)};
    for (Image* image : {&work.src, &work.dst})
        if ((*image)->align == 1) (*image)->align = 4;
    // Of no account there.
    if (kind != samples) work.mode = random.in(-1, 3);
    for (int32_t* value : {&work.zero, &work.one})
        *value = static_cast<int32_t>(random.oneOf(
            {kit::leastOf(dst.depth), kit::mostOf(dst.depth), int64_t{random.in(0, 127)}}));
    return work;
}

// With rows by the fields of the headers, as tiles have them.
Work anyTileable(Random& random) {
    return anyWork(random, [](Shape& shape) { shape.slack = 0; });
}

void expectAsModel(const Work& work) {
    kit::Reports reports;
    const Image expected = work.model();
    Image src = work.src;
    Image dst = work.dst;
    work.call(src, dst);
    EXPECT_EQ(byteDifference(dst, expected), "")
        << "kind " << work.kind << " from " << src.shape().text();
    EXPECT_EQ(byteDifference(src, work.src), "");
    EXPECT_EQ(reports.take(), Lines());
}

// Every value of 8 and of 16 bits. Of 32 bits all upper and all lower halves.
TEST(Whole, AllPairsOfAllValues) {
    kit::forEachIsa([] {
        for (const int32_t from : wideDepths)
            for (const int32_t to : wideDepths)
                for (const int32_t mode : {DAX_CONVERT_LOW_BITS, DAX_CONVERT_HIGH_BITS}) {
                    const int32_t side = kit::bitsOf(from) == 8 ? 16 : 256;
                    Work work = {samples, mode,
                                 Image({.depth = from, .width = side, .height = side}),
                                 Image({.depth = to, .width = side, .height = side})};
                    const int32_t rounds = from == s32 ? 6 : 1;
                    for (int32_t round = 0; round < rounds; ++round) {
                        for (int32_t i = 0; i < side * side; ++i) {
                            const int64_t lower[] = {0, 1, 0x7FFF, 0x8000, 0xFFFF};
                            const int64_t value = from != s32 ? i + kit::leastOf(from)
                                                  : round < 5
                                                      ? (i - 0x8000) * 0x10000LL + lower[round]
                                                      : i - 0x8000;
                            work.src.set(i % side, i / side, 1, value);
                        }
                        expectAsModel(work);
                    }
                }
    });
}

TEST(Whole, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(5000, [](Random& random) {
            expectAsModel(anyWork(random, [&](Shape& shape) {
                shape.slack = random.chance(30) ? random.in(0, 9) : 0;
                // Rows of whole bytes that follow each other without a gap.
                if (random.chance(30)) shape.align = 1;
            }));
        });
    });
}

TEST(Whole, TiledLikePlain) {
    kit::forSeeds(600, [](Random& random) {
        kit::Reports reports;
        const Work work = anyTileable(random);
        expectTiledLikePlain(
            random, {work.src, work.dst},
            [&](const std::vector<DaxImage*>& images) { work.call(images[0], images[1]); });
        EXPECT_EQ(reports.take(), Lines());
    });
}

// Only the tile of the destination that holds a pixel; nothing for one outside of the image, and
// plain images aren't narrowed.
TEST(Whole, PixelPositions) {
    kit::forSeeds(300, [](Random& random) {
        kit::Reports reports;
        const Work work = anyTileable(random);
        kit::TileLog log;
        Image src = work.src;
        Image whole = work.dst;
        kit::Tiles tiles(work.dst, 'D', random.in(1, 3) * 8, random.in(1, 3) * 8, log);
        const int32_t pos[2] = {random.in(-1, whole->width), random.in(-1, whole->height)};
        work.call(src, whole, pos);
        work.call(src, tiles, pos);
        const bool outside =
            pos[0] < 0 || pos[1] < 0 || pos[0] >= whole->width || pos[1] >= whole->height;
        EXPECT_EQ(log.requests, outside ? 0 : 1);
        Image expected = work.dst;
        for (int32_t c = 1; !outside && c <= whole->nChannels; ++c)
            for (int32_t y = 0; y < whole->height; ++y)
                for (int32_t x = 0; x < whole->width; ++x)
                    if (x / tiles.info.width == pos[0] / tiles.info.width &&
                        y / tiles.info.height == pos[1] / tiles.info.height)
                        expected.set(x, y, c, whole.get(x, y, c));
        EXPECT_EQ(pixelDifference(tiles.gathered(), expected), "");
        EXPECT_EQ(pixelDifference(whole, work.model()), "");
        EXPECT_EQ(reports.take(), Lines());
    });
}

// A `widthStep` set by hand that is shorter than a row: no byte beside the blocks is touched, also
// beside tiles, whose pieces may begin past the end of a row's block.
TEST(Whole, StaysInsideWithShortRows) {
    kit::forEachIsa([] {
        kit::forSeeds(400, [](Random& random) {
            const int32_t tiled = random.in(0, 2);
            int32_t image = 0;
            Work work = anyWork(random, [&](Shape& shape) {
                const bool ofTiles = ++image == tiled;
                shape.slack =
                    ofTiles ? 0 : static_cast<int32_t>(random.in(1, 12) - shape.rowStep());
            });
            kit::TileLog log;
            std::optional<kit::Tiles> tiles;
            DaxImage* images[] = {work.src, work.dst};
            if (tiled != 0) {
                const Image& plain = tiled == 1 ? work.src : work.dst;
                tiles.emplace(plain, 'T', random.in(1, 3) * 8, random.in(1, 3) * 8, log);
                images[tiled - 1] = *tiles;
            }
            kit::Reports reports;
            work.call(images[0], images[1]);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

void expectReport(const Work& work, const std::string& text) {
    kit::Reports reports;
    Image src = work.src;
    Image dst = work.dst;
    work.call(src, dst);
    EXPECT_EQ(byteDifference(dst, work.dst), "");
    const std::string name =
        work.kind == fromBits ? "daxBitonalToGray daxbitnl " : "daxConvert daxcvrt ";
    EXPECT_EQ(reports.take(), Lines{"-5 " + name + text});
}

const std::string badAlign =
    "Image align is invalid                                                \n";
const Shape bits = {.depth = u1};
const Shape colours = {.channels = 3};

TEST(Whole, ReportsOfConvert) {
    const auto expect = [](const Shape& a, const Shape& b, int32_t mode, const std::string& text) {
        expectReport({samples, mode, Image(a), Image(b)}, text);
    };
    expect({.height = 2, .align = 5}, {.align = 6}, 2, badAlign);
    expect({.width = 2, .height = 2}, colours, 2, "(srcImage->height != dstImage->height)");
    expect({.width = 2}, colours, 2, "(srcImage->width != dstImage->width)");
    expect(colours, bits, 2, "((srcImage->nChannels > 1) && (srcImage->roi == 0))");
    expect({.channels = 3, .roi = DaxROI{0, 0, 0, 1, 1}}, bits, 2,
           "((srcImage->nChannels > 1) && (srcImage->roi->coi <= 0))");
    expect(bits, colours, 2, "srcImage->nChannels != dstImage->nChannels");
    expect(bits, {}, 2, "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))");
    for (const int32_t mode : {-1, 2, INT_MIN, INT_MAX})
        expect({}, {.depth = s32}, mode, "((ConvertMode != 1) && (ConvertMode != 0))");
}

TEST(Whole, ReportsOfBitonalToGray) {
    const auto expect = [](const Shape& a, const Shape& b, int64_t zero, int64_t one,
                           const std::string& text) {
        expectReport({fromBits, 0, Image(a), Image(b), static_cast<int32_t>(zero),
                      static_cast<int32_t>(one)},
                     text);
    };
    const int32_t far = INT_MAX;
    expect({.align = 5}, {.align = 6}, far, far, badAlign);
    expect({.channels = 2, .width = 2, .height = 2}, {}, far, far,
           "(srcImage->height != dstImage->height)");
    expect({.channels = 2, .width = 2}, {}, far, far, "(srcImage->width != dstImage->width)");
    expect({.channels = 2}, bits, far, far, "(srcImage->nChannels != 1)");
    expect({}, bits, far, far, "(srcImage->depth != 1)");
    expect(bits, bits, far, far, "(dstImage->depth == 1)");

    const std::pair<int32_t, const char*> names[] = {
        {u8, "8"}, {s8, "(0x80000000| 8)"}, {u16, "16"}, {s16, "(0x80000000|16)"}};
    for (const auto& [depth, name] : names) {
        const std::string start = std::string("((dstImage->depth == ") + name + ") && (";
        const Shape dst = {.depth = depth};
        const int64_t least = kit::leastOf(depth);
        const int64_t most = kit::mostOf(depth);
        const std::string above = " > " + std::to_string(most) + "))";
        const std::string below = " < " + std::to_string(least) + "))";
        expect(bits, dst, most + 1, far, start + "ZeroScale" + above);
        expect(bits, dst, least - 1, far, start + "ZeroScale" + below);
        expect(bits, dst, most, most + 1, start + "OneScale" + above);
        expect(bits, dst, least, least - 1, start + "OneScale" + below);
    }
}

} // namespace
