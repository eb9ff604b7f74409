// daxConvert and daxBitonalToGray against models that go sample by sample.

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>
#include <climits>
#include <functional>

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

// All of `dst` from the samples of a source of its size, with the picture upright. `of` gets the
// source and a place in it.
using Sampler = std::function<int64_t(const Image& src, int32_t x, int32_t y, int32_t channel)>;
void fillByModel(const Image& src, Image& dst, const Sampler& of) {
    const bool turned = src->origin != dst->origin;
    for (int32_t c = 1; c <= dst->nChannels; ++c)
        for (int32_t y = 0; y < dst->height; ++y)
            for (int32_t x = 0; x < dst->width; ++x)
                dst.set(x, y, c, of(src, x, turned ? src->height - 1 - y : y, c));
}

struct Pair {
    Image src;
    Image dst;
};

// `wide` for rows of more than what kernels take at once.
Pair anyPair(Random& random, int32_t srcDepth, int32_t dstDepth, bool wide = false) {
    Shape src = kit::anyShape(random);
    Shape dst = kit::anyShape(random);
    src.depth = srcDepth;
    dst.depth = dstDepth;
    src.channels = dst.channels = random.chance(20) ? random.in(5, 9) : random.in(1, 4);
    if (srcDepth == u1) src.channels = 1;
    if (dstDepth == u1) dst.channels = 1;
    if (wide) src.width = random.in(400, 1700), src.height = random.in(1, 3);
    dst.width = src.width;
    dst.height = src.height;
    src.slack = dst.slack = 0;
    if (random.chance(30)) src.slack = random.in(0, 9);
    if (random.chance(30)) dst.slack = random.in(0, 9);
    // Rows of whole bytes that follow each other without a gap.
    if (random.chance(30)) src.align = dst.align = 1;
    for (Shape* shape : {&src, &dst})
        if (shape->roi) shape->roi = kit::anyRoi(random, src.width, src.height, 0);
    if (dstDepth == u1 && src.channels > 1)
        src.roi = kit::anyRoi(random, src.width, src.height, random.in(1, src.channels));
    Pair made = {Image(src, random), Image(dst, random)};
    made.src->align = made.dst->align = 4;
    return made;
}

void expectConverted(Pair pair, int32_t mode, const Sampler& of) {
    kit::Reports reports;
    Image expected = pair.dst;
    fillByModel(pair.src, expected, of);
    const Image before = pair.src;
    daxConvert(pair.src, pair.dst, mode, nullptr);
    EXPECT_EQ(byteDifference(pair.dst, expected), "") << "from " << before.shape().text();
    EXPECT_EQ(byteDifference(pair.src, before), "");
    EXPECT_EQ(reports.take(), Lines());
}

Sampler samplesOf(const Pair& pair, int32_t mode) {
    return [from = pair.src->depth, to = pair.dst->depth, mode](const Image& src, int32_t x,
                                                                int32_t y, int32_t c) {
        return convertedByModel(src.get(x, y, c), from, to, mode);
    };
}

Sampler bitsOfChannel(const Pair& pair) {
    const int32_t channel = pair.src->nChannels > 1 ? pair.src->roi->coi : 1;
    return [channel](const Image& src, int32_t x, int32_t y, int32_t) -> int64_t {
        return src.get(x, y, channel) > 0 ? 1 : 0;
    };
}

// Every value of 8 and of 16 bits. Of 32 bits all upper and all lower halves.
TEST(Convert, AllPairsOfAllValues) {
    kit::forEachIsa([] {
        for (const int32_t from : wideDepths)
            for (const int32_t to : wideDepths)
                for (const int32_t mode : {DAX_CONVERT_LOW_BITS, DAX_CONVERT_HIGH_BITS}) {
                    const int32_t side = kit::bitsOf(from) == 8 ? 16 : 256;
                    Pair pair = {Image({.depth = from, .width = side, .height = side}),
                                 Image({.depth = to, .width = side, .height = side})};
                    const int32_t rounds = from == s32 ? 6 : 1;
                    for (int32_t round = 0; round < rounds; ++round) {
                        for (int32_t i = 0; i < side * side; ++i) {
                            const int64_t lower[] = {0, 1, 0x7FFF, 0x8000, 0xFFFF};
                            const int64_t value = from != s32 ? i + kit::leastOf(from)
                                                  : round < 5
                                                      ? (i - 0x8000) * 0x10000LL + lower[round]
                                                      : i - 0x8000;
                            pair.src.set(i % side, i / side, 1, value);
                        }
                        expectConverted(pair, mode, samplesOf(pair, mode));
                    }
                }
    });
}

TEST(Convert, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(3000, [](Random& random) {
            const Pair pair = anyPair(random, random.of(wideDepths), random.of(wideDepths));
            const int32_t mode = random.in(0, 1);
            expectConverted(pair, mode, samplesOf(pair, mode));
        });
        kit::forSeeds(300, [](Random& random) {
            const Pair pair = anyPair(random, random.of(wideDepths), random.of(wideDepths), true);
            const int32_t mode = random.in(0, 1);
            expectConverted(pair, mode, samplesOf(pair, mode));
        });
    });
}

// Bits after the last of a row stay, and the mode is of no account.
TEST(Convert, ToBits) {
    kit::forEachIsa([] {
        kit::forSeeds(1500, [](Random& random) {
            const Pair pair = anyPair(random, random.of(wideDepths), u1, random.chance(30));
            expectConverted(pair, random.in(-1, 3), bitsOfChannel(pair));
        });
    });
}

TEST(Convert, BitsMoveInWholeBytes) {
    kit::forSeeds(500, [](Random& random) {
        kit::Reports reports;
        Pair pair = anyPair(random, u1, u1, random.chance(20));
        Image expected = pair.dst;
        const bool turned = pair.src->origin != pair.dst->origin;
        for (int32_t y = 0; y < pair.dst->height; ++y)
            std::copy_n(pair.src.data() +
                            int64_t{turned ? pair.dst->height - 1 - y : y} * pair.src->widthStep,
                        (pair.dst->width + 7) / 8,
                        expected.data() + int64_t{y} * pair.dst->widthStep);
        daxConvert(pair.src, pair.dst, random.in(-1, 3), nullptr);
        EXPECT_EQ(byteDifference(pair.dst, expected), "");
        EXPECT_EQ(reports.take(), Lines());
    });
}

TEST(BitonalToGray, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(1500, [](Random& random) {
            kit::Reports reports;
            Pair pair = anyPair(random, u1, random.of(wideDepths), random.chance(30));
            const auto value = [&] {
                return static_cast<int32_t>(
                    random.oneOf({kit::leastOf(pair.dst->depth), kit::mostOf(pair.dst->depth),
                                  int64_t{random.in(0, 127)}}));
            };
            const int32_t zero = value();
            const int32_t one = value();
            Image expected = pair.dst;
            fillByModel(pair.src, expected,
                        [=](const Image& src, int32_t x, int32_t y, int32_t) -> int64_t {
                            return src.get(x, y, 1) != 0 ? one : zero;
                        });
            daxBitonalToGray(pair.src, pair.dst, zero, one, nullptr);
            EXPECT_EQ(byteDifference(pair.dst, expected), "")
                << zero << " " << one << " " << pair.dst.shape().text();
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Any of the operations, with a pair that it takes.
struct Operation {
    int32_t kind; // samples, to bits, bits to bits, from bits
    int32_t mode;
    Pair pair;

    void operator()(DaxImage* src, DaxImage* dst, const int32_t* tilePos) const {
        if (kind < 3)
            daxConvert(src, dst, mode, tilePos);
        else
            daxBitonalToGray(src, dst, 3, 77, tilePos);
    }
};

// With rows by the fields of the headers, as tiles have them.
Operation anyTileable(Random& random) {
    const int32_t kind = random.in(0, 3);
    const int32_t from = kind > 1 ? u1 : random.of(wideDepths);
    const int32_t to = kind == 1 || kind == 2 ? u1 : random.of(wideDepths);
    const Pair pair = anyPair(random, from, to);
    Shape src = pair.src.shape();
    Shape dst = pair.dst.shape();
    for (Shape* shape : {&src, &dst}) {
        shape->slack = 0;
        shape->align = random.oneOf({4, 8});
    }
    return {kind, random.in(0, 1), {Image(src, random), Image(dst, random)}};
}

TEST(ConvertTiles, GiveThePixelsOfPlainImages) {
    kit::forSeeds(600, [](Random& random) {
        kit::Reports reports;
        const Operation operation = anyTileable(random);
        expectTiledLikePlain(random, {operation.pair.src, operation.pair.dst},
                             [&](const std::vector<DaxImage*>& images) {
                                 operation(images[0], images[1], nullptr);
                             });
        EXPECT_EQ(reports.take(), Lines());
    });
}

struct Span {
    int32_t beg;
    int32_t end;
};

// The tiles that a call asks for, from a walk pixel by pixel: where a pixel's neighbour lies in
// another tile of one of the images, a piece of work ends. Above and to the left of a piece no
// tile of either image changes inside it.
Lines tilesByModel(const Pair& pair, const kit::Tiles* src, const kit::Tiles* dst,
                   const int32_t* tilePos) {
    const int32_t height = pair.dst->height;
    const bool turned = pair.src->origin != pair.dst->origin;
    const auto sourceRow = [=](int32_t y) { return turned ? height - 1 - y : y; };
    const auto span = [tilePos](int32_t pos, int32_t tile, int32_t size) {
        if (tilePos == nullptr) return Span{0, size};
        const int32_t first = pos / tile * tile;
        return Span{first, std::min(first + tile, size)};
    };
    const int32_t tileWidth = dst != nullptr ? dst->info.width : pair.dst->width;
    const int32_t tileHeight = dst != nullptr ? dst->info.height : height;
    const Span xs = span(tilePos != nullptr ? tilePos[0] : 0, tileWidth, pair.dst->width);
    const Span ys = span(tilePos != nullptr ? tilePos[1] : 0, tileHeight, height);
    Lines lines;
    std::string held[2];
    const auto hold = [&](size_t which, const kit::Tiles* tiles, int32_t x, int32_t y) {
        if (tiles == nullptr) return;
        const std::string tile =
            std::to_string(x / tiles->info.width) + "," + std::to_string(y / tiles->info.height);
        if (tile == held[which]) return;
        const std::string name = which == 0 ? "A" : "D";
        if (!held[which].empty()) lines.push_back(name + " release " + held[which]);
        held[which] = tile;
        if (!tile.empty()) lines.push_back(name + (which == 0 ? " read " : " write ") + tile);
    };
    int32_t band = ys.beg;
    for (int32_t y = ys.beg; y < ys.end; ++y) {
        const auto rowOf = [](const kit::Tiles* tiles, int32_t row) {
            return tiles != nullptr ? row / tiles->info.height : 0;
        };
        const bool last = y + 1 == ys.end || rowOf(dst, y) != rowOf(dst, y + 1) ||
                          rowOf(src, sourceRow(y)) != rowOf(src, sourceRow(y + 1));
        if (!last) continue;
        for (int32_t x = xs.beg; x < xs.end; ++x) {
            hold(1, dst, x, band);
            hold(0, src, x, sourceRow(band));
        }
        band = y + 1;
    }
    if (dst != nullptr) lines.push_back("D release " + held[1]);
    if (src != nullptr) lines.push_back("A release " + held[0]);
    return lines;
}

TEST(ConvertTiles, AskedForInOrder) {
    kit::forSeeds(600, [](Random& random) {
        kit::Reports reports;
        const Operation operation = anyTileable(random);
        const Pair& pair = operation.pair;
        const int32_t set = random.in(1, 3);
        kit::TileLog log;
        Image plain[2] = {pair.src, pair.dst};
        std::unique_ptr<kit::Tiles> tiles[2];
        DaxImage* images[2] = {plain[0], plain[1]};
        for (int32_t i = 0; i < 2; ++i)
            if ((set >> i & 1) != 0) {
                tiles[i] = std::make_unique<kit::Tiles>(
                    plain[i], i == 0 ? 'A' : 'D', random.in(1, 3) * 8, random.in(1, 3) * 8, log);
                tiles[i]->ends = true;
                images[i] = *tiles[i];
            }
        const bool narrowed = random.chance(60);
        const int32_t pos[2] = {random.in(0, pair.dst->width - 1),
                                random.in(0, pair.dst->height - 1)};
        const int32_t* tilePos = narrowed ? pos : nullptr;
        operation(images[0], images[1], tilePos);
        EXPECT_EQ(log.lines, tilesByModel(pair, tiles[0].get(), tiles[1].get(), tilePos));
        EXPECT_EQ(reports.take(), Lines());

        // Outside of the tile that holds the pixel nothing changes, inside of it everything is as
        // without a position.
        Image expected = pair.dst;
        Image src = pair.src;
        Image whole = pair.dst;
        operation(src, whole, nullptr);
        const Image result = tiles[1] != nullptr ? tiles[1]->gathered() : plain[1];
        for (int32_t c = 1; c <= pair.dst->nChannels; ++c)
            for (int32_t y = 0; y < pair.dst->height; ++y)
                for (int32_t x = 0; x < pair.dst->width; ++x) {
                    const bool inside =
                        !narrowed || tiles[1] == nullptr ||
                        (x / tiles[1]->info.width == pos[0] / tiles[1]->info.width &&
                         y / tiles[1]->info.height == pos[1] / tiles[1]->info.height);
                    if (inside) expected.set(x, y, c, whole.get(x, y, c));
                }
        EXPECT_EQ(pixelDifference(result, expected), "");
    });
}

TEST(ConvertTiles, NothingIsDoneForAPixelOutside) {
    kit::Reports reports;
    Random random(5);
    Image src({.width = 20, .height = 20}, random);
    Image dst({.width = 20, .height = 20}, random);
    kit::TileLog log;
    kit::Tiles from(src, 'A', 8, 8, log);
    kit::Tiles to(dst, 'D', 8, 8, log);
    constexpr int32_t outside[][2] = {{-1, 3}, {3, -1}, {20, 3}, {3, 20}, {INT_MIN, INT_MAX}};
    for (const auto& pos : outside) {
        const Image before = dst;
        daxConvert(from, to, 0, pos);
        daxConvert(from, dst, 0, pos);
        EXPECT_EQ(byteDifference(dst, before), "");
    }
    EXPECT_EQ(log.lines, Lines());
    // Plain images aren't narrowed.
    daxConvert(src, dst, 0, outside[0]);
    EXPECT_EQ(byteDifference(dst, src), "");
    EXPECT_EQ(reports.take(), Lines());
}

// Every request fails in turn: it is reported once, and the tile of the other image stays held.
TEST(ConvertTiles, ThatCantBeHad) {
    kit::forSeeds(60, [](Random& random) {
        kit::Reports reports;
        const Operation operation = anyTileable(random);
        for (int32_t failing = 1;; ++failing) {
            kit::TileLog log;
            log.failRequest = failing;
            kit::Tiles from(operation.pair.src, 'A', 8, 16, log);
            kit::Tiles to(operation.pair.dst, 'D', 16, 8, log);
            operation(from, to, nullptr);
            if (log.requests < failing) break;
            const std::string name =
                operation.kind < 3 ? "daxConvert daxcvrt" : "daxBitonalToGray daxbitnl";
            const bool ofDst = log.lines.back()[0] == 'D';
            EXPECT_EQ(log.requests, failing);
            EXPECT_EQ(reports.take(), Lines{"-5 " + name + (ofDst ? " (dst" : " (src") +
                                            "Image->tileInfo->tileData == NULL)"});
            EXPECT_FALSE((ofDst ? to : from).holds());
            EXPECT_EQ((ofDst ? from : to).holds(), !ofDst || failing > 2);
        }
        EXPECT_EQ(reports.take(), Lines());
    });
}

Lines reportsOf(const Shape& a, const Shape& b, const std::function<void(Image&, Image&)>& call) {
    kit::Reports reports;
    Random random(3);
    Image src(a, random);
    Image dst(b, random);
    const Image before = dst;
    call(src, dst);
    EXPECT_EQ(byteDifference(dst, before), "");
    return reports.take();
}

TEST(Convert, Reports) {
    const auto told = [](const Shape& a, const Shape& b, int32_t mode) {
        return reportsOf(a, b,
                         [mode](Image& src, Image& dst) { daxConvert(src, dst, mode, nullptr); });
    };
    const auto line = [](const std::string& text) {
        return Lines{"-5 daxConvert daxcvrt " + text};
    };
    const Shape bits = {.depth = u1};
    const Shape colours = {.channels = 3};
    EXPECT_EQ(told({.height = 2, .align = 5}, {.align = 6}, 2),
              line("Image align is invalid                                                \n"));
    EXPECT_EQ(told({.width = 2, .height = 2}, colours, 2),
              line("(srcImage->height != dstImage->height)"));
    EXPECT_EQ(told({.width = 2}, colours, 2), line("(srcImage->width != dstImage->width)"));
    EXPECT_EQ(told(colours, bits, 2), line("((srcImage->nChannels > 1) && (srcImage->roi == 0))"));
    EXPECT_EQ(told({.channels = 3, .roi = DaxROI{0, 0, 0, 1, 1}}, bits, 2),
              line("((srcImage->nChannels > 1) && (srcImage->roi->coi <= 0))"));
    EXPECT_EQ(told(bits, colours, 2), line("srcImage->nChannels != dstImage->nChannels"));
    EXPECT_EQ(told(bits, {}, 2),
              line("((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"));
    for (const int32_t mode : {-1, 2, INT_MIN, INT_MAX})
        EXPECT_EQ(told({}, {.depth = s32}, mode),
                  line("((ConvertMode != 1) && (ConvertMode != 0))"));
}

TEST(BitonalToGray, Reports) {
    const auto told = [](const Shape& a, const Shape& b, int32_t zero, int32_t one) {
        return reportsOf(
            a, b, [=](Image& src, Image& dst) { daxBitonalToGray(src, dst, zero, one, nullptr); });
    };
    const auto line = [](const std::string& text) {
        return Lines{"-5 daxBitonalToGray daxbitnl " + text};
    };
    const Shape bits = {.depth = u1};
    const int32_t far = INT_MAX;
    EXPECT_EQ(told({.align = 5}, {.align = 6}, far, far),
              line("Image align is invalid                                                \n"));
    EXPECT_EQ(told({.channels = 2, .width = 2, .height = 2}, {}, far, far),
              line("(srcImage->height != dstImage->height)"));
    EXPECT_EQ(told({.channels = 2, .width = 2}, {}, far, far),
              line("(srcImage->width != dstImage->width)"));
    EXPECT_EQ(told({.channels = 2}, bits, far, far), line("(srcImage->nChannels != 1)"));
    EXPECT_EQ(told({}, bits, far, far), line("(srcImage->depth != 1)"));
    EXPECT_EQ(told(bits, bits, far, far), line("(dstImage->depth == 1)"));

    struct Bound {
        int32_t depth;
        const char* name;
    };
    for (const Bound& bound : {Bound{u8, "8"}, Bound{s8, "(0x80000000| 8)"}, Bound{u16, "16"},
                               Bound{s16, "(0x80000000|16)"}}) {
        const int32_t least = static_cast<int32_t>(kit::leastOf(bound.depth));
        const int32_t most = static_cast<int32_t>(kit::mostOf(bound.depth));
        const auto beyond = [&](const char* value, const char* sign, int32_t limit) {
            return line(std::string("((dstImage->depth == ") + bound.name + ") && (" + value +
                        sign + std::to_string(limit) + "))");
        };
        const Shape dst = {.depth = bound.depth};
        EXPECT_EQ(told(bits, dst, most + 1, far), beyond("ZeroScale", " > ", most));
        EXPECT_EQ(told(bits, dst, least - 1, far), beyond("ZeroScale", " < ", least));
        EXPECT_EQ(told(bits, dst, most, most + 1), beyond("OneScale", " > ", most));
        EXPECT_EQ(told(bits, dst, least, least - 1), beyond("OneScale", " < ", least));
    }
}

// A `widthStep` set by hand that is shorter than a row: no byte beside the blocks is touched.
TEST(Convert, StaysInsideWithShortRows) {
    kit::forEachIsa([] {
        kit::forSeeds(400, [](Random& random) {
            const int32_t kind = random.in(0, 3);
            const int32_t from = kind > 1 ? u1 : random.of(wideDepths);
            const int32_t to = kind == 1 || kind == 2 ? u1 : random.of(wideDepths);
            const Pair pair = anyPair(random, from, to, random.chance(30));
            const auto shortened = [&](Shape shape) {
                shape.align = 4;
                shape.slack = static_cast<int32_t>(random.in(1, 12) - shape.rowStep());
                return Image(shape, random);
            };
            const auto tileable = [&](Shape shape) {
                shape.align = 8;
                shape.slack = 0;
                return Image(shape, random);
            };
            // Beside tiles, whose pieces may begin past the end of a row's block.
            const int32_t tiled = random.in(0, 2);
            const Shape src = pair.src.shape();
            const Shape dst = pair.dst.shape();
            Operation operation = {kind,
                                   random.in(0, 1),
                                   {tiled == 1 ? tileable(src) : shortened(src),
                                    tiled == 2 ? tileable(dst) : shortened(dst)}};
            kit::TileLog log;
            std::unique_ptr<kit::Tiles> tiles;
            DaxImage* images[] = {operation.pair.src, operation.pair.dst};
            if (tiled != 0) {
                Image& plain = tiled == 1 ? operation.pair.src : operation.pair.dst;
                tiles = std::make_unique<kit::Tiles>(plain, 'T', random.in(1, 3) * 8,
                                                     random.in(1, 3) * 8, log);
                images[tiled - 1] = *tiles;
            }
            kit::Reports reports;
            operation(images[0], images[1], nullptr);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

} // namespace
