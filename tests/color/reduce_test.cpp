// The reduction of depth, with jitter and dither, beside plain models.

#include "color/colors.h"
#include "kit/platform.h"
#include "kit/reports.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

using namespace color;

struct DepthPair {
    int32_t src;
    int32_t dst;
};

constexpr DepthPair pairs[] = {{DAX_DEPTH_32S, DAX_DEPTH_16U},
                               {DAX_DEPTH_32S, DAX_DEPTH_8U},
                               {DAX_DEPTH_16U, DAX_DEPTH_8U},
                               {DAX_DEPTH_8U, DAX_DEPTH_1U}};

int64_t reduced(const DepthPair& pair, int64_t v) {
    if (pair.src == DAX_DEPTH_8U) return v > 127;
    if (pair.src == DAX_DEPTH_16U) return v >> 8;
    if (pair.dst == DAX_DEPTH_16U) return v >> 16 & 0xFFFF;
    return v < 0 ? 0 : v >> 23;
}

struct Noise {
    std::array<double, 1024> noise;
    std::array<int32_t, 1024> shuffle;

    Noise() {
        for (double& r : noise) r = (rand() & 1023) / 1024.0;
        for (int32_t i = 0; i < 1024; ++i) rand();
        for (int32_t& r : shuffle) r = rand() & 1023;
    }
};

int64_t jittered(const DepthPair& pair, const Noise& noise, int32_t type, int64_t v, int32_t x,
                 int32_t y) {
    const auto at = [](int32_t i) { return static_cast<size_t>(i & 1023); };
    const bool bytes = pair.src == DAX_DEPTH_8U;
    const bool words = pair.src == DAX_DEPTH_16U;
    const int64_t step = bytes ? 16 : words ? 256 : pair.dst == DAX_DEPTH_16U ? 65536 : 0x1000000;
    const int64_t limit = bytes ? 0x100 : words ? 0x10000 : 0x80000000;
    if (v >= limit - step - 1) return v;
    const double threshold = 9.0 * noise.noise[at(x + 4 * y + noise.shuffle[at(x)])];
    if (v % step <= static_cast<int64_t>(threshold)) v += step;
    const double r = noise.noise[at(y + 4 * x + noise.shuffle[at(y)])];
    const auto q = static_cast<int64_t>(2 * type * r + 0.5);
    const int64_t w = (v + (q - type) * step) & 0xFFFFFFFF;
    return w < limit ? w : v;
}

int64_t jitterResult(const DepthPair& pair, int64_t v) {
    if (pair.src == DAX_DEPTH_8U) return v >= 128;
    if (pair.src == DAX_DEPTH_16U) return v >> 8 & 0xFF;
    return pair.dst == DAX_DEPTH_16U ? v >> 15 & 0xFFFF : v >> 23 & 0xFF;
}

constexpr int32_t jarvis[] = {37, 26, 15, 26, 37, 26, 15, 5, 15, 26, 15, 5};
constexpr int32_t jarvisWords[] = {0x2555, 0x1AAA, 0x0FFF, 0x1AAA, 0x2555, 0x1AAA,
                                   0x0FFF, 0x0555, 0x0FFF, 0x1AAA, 0x0FFF, 0x0555};
constexpr int32_t stucki[] = {48, 24, 12, 24, 48, 24, 12, 6, 12, 24, 12, 6};
constexpr int32_t stuckiWords[] = {0x30C2, 0x1861, 0x0C30, 0x1861, 0x30C2, 0x1861,
                                   0x0C30, 0x0618, 0x0C30, 0x1861, 0x0C30, 0x0618};
constexpr int32_t matrix[4][4] = {{0x00, 0x78, 0x1E, 0x96},
                                  {0xB4, 0x3C, 0xD2, 0x5A},
                                  {0x2D, 0xA5, 0x0F, 0x87},
                                  {0xE1, 0x69, 0xC3, 0x4B}};

void ditherChannel(Image& image, int32_t channel, int32_t option, int64_t step) {
    const bool bytes = image->depth == DAX_DEPTH_8U;
    const int64_t mask = bytes ? 0xFF : 0xFFFF;
    const int32_t width = image->width;
    const int32_t height = image->height;
    const auto give = [&](int32_t x, int32_t y, int64_t amount) {
        if (x >= 0 && x < width && y < height)
            image.set(x, y, channel, (image.get(x, y, channel) + amount) & mask);
    };
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const int64_t v = image.get(x, y, channel);
            const int64_t base = v / step * step;
            if (option == DAX_DITHER_BAYER) {
                const int64_t entry = matrix[x & 3][y & 3] * (bytes ? 1 : 0x101);
                image.set(x, y, channel, (v - base > entry * step ? base + step : base) & mask);
                continue;
            }
            const int64_t q = std::min<int64_t>(v - base <= step >> 1 ? base : base + step, 65535);
            const int64_t e = v - q;
            image.set(x, y, channel, q);
            if (option == DAX_DITHER_FS) {
                give(x + 1, y, 7 * e >> 4);
                give(x + 1, y + 1, e >> 4);
                give(x, y + 1, 5 * e >> 4);
                give(x - 1, y + 1, 3 * e >> 4);
                continue;
            }
            const int32_t* weights = option == DAX_DITHER_JJN ? (bytes ? jarvis : jarvisWords)
                                                              : (bytes ? stucki : stuckiWords);
            const int32_t ahead = std::min(2, width - 1 - x);
            for (int32_t i = 0; i < ahead; ++i) give(x + 1 + i, y, weights[i] * e);
            for (int32_t down = 1; down <= 2; ++down)
                for (int32_t i = 0, at = std::max(x - 2, 0); at <= x + ahead; ++i, ++at)
                    give(at, y + down, weights[down * 5 - 3 + i] * e);
        }
}

void dither(Image& image, int32_t option, int32_t levelBits) {
    const int32_t bits = kit::bitsOf(image->depth);
    if (levelBits < 0) levelBits = 0;
    if (levelBits > bits) levelBits = bits / 2;
    const int64_t step = std::max(((1 << bits) - 1) >> levelBits, 1);
    const std::string seq(image->channelSeq, 4);
    if (seq[0] == 'G') return ditherChannel(image, 1, option, step);
    for (const char letter : {'R', 'G', 'B'}) {
        const size_t found = seq.find(letter);
        const size_t place = found != std::string::npos ? found : std::string("RGB").find(letter);
        if (place < static_cast<size_t>(image->nChannels))
            ditherChannel(image, static_cast<int32_t>(place) + 1, option, step);
    }
}

struct Setting {
    DepthPair depths;
    int32_t jitter;
    int32_t option;
    int32_t levelBits;
};

Setting anySetting(Random& random) {
    Setting is = {random.of(pairs), random.chance(50) ? 0 : random.in(1, 8), DAX_DITHER_NONE,
                  random.oneOf({-3, 0, 1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 20})};
    if (is.depths.dst != DAX_DEPTH_1U) is.option = random.oneOf({1, 1, 2, 4, 8, 16});
    return is;
}

struct Images {
    Image src;
    Image dst;
};

Images anyImages(Random& random, const Setting& is, bool equalSizes) {
    Shape src = anyColour(random, is.depths.src, random.in(0, 1),
                          is.depths.dst == DAX_DEPTH_1U ? 1 : random.oneOf({1, 3, 4}));
    src.height = random.in(1, 30);
    if (random.chance(5)) src.width = random.in(1000, 1100);
    Shape dst = src;
    dst.depth = is.depths.dst;
    dst.shift = random.in(0, 7);
    if (!equalSizes) {
        dst.width = random.in(1, 80);
        dst.height = random.in(1, 30);
    }
    if (random.chance(30)) // not looked at
        dst.roi = DaxROI{0, random.in(0, 30), random.in(0, 10), 3, 3};
    Images images{Image(src, random), Image(dst, random)};
    name(images.dst, "any",
         src.channels == 1 ? random.oneOf<std::string>({"G", "Y", "GRAY"})
                           : random.oneOf<std::string>({"RGBA", "BGRA", "RBGx", "GRB"}));
    return images;
}

// Equal sizes when there is jitter or dither.
void byModel(Image& src, Image& dst, const Setting& is, const Noise* noise) {
    const bool pixels = src->dataOrder == DAX_DATA_PIXEL;
    for (int32_t c = 1; c <= src->nChannels; ++c)
        for (int32_t y = 0; y < src->height && y < dst->height; ++y)
            for (int32_t x = 0; x < src->width && x < dst->width; ++x) {
                int64_t v = src.get(x, y, c);
                if (noise == nullptr) {
                    dst.set(x, y, c, reduced(is.depths, v));
                    continue;
                }
                const int32_t place = pixels ? x * src->nChannels + c - 1 : x;
                v = jittered(is.depths, *noise, is.jitter, v, place, y);
                src.set(x, y, c, v);
                dst.set(x, y, c, jitterResult(is.depths, v));
            }
    if (is.option != DAX_DITHER_NONE) dither(dst, is.option, is.levelBits);
}

TEST(ColorReduce, LikeThePlainModel) {
    kit::Reports reports;
    int32_t changed = 0;
    kit::forEachIsa([&] {
        kit::forSeeds(400, [&](Random& random) {
            const Setting is = anySetting(random);
            const bool stages = is.jitter != 0 || is.option != DAX_DITHER_NONE;
            Images images = anyImages(random, is, stages || random.chance(50));
            Image src = images.src;
            Image expected = images.dst;
            srand(7);
            const Noise noise;
            byModel(src, expected, is, is.jitter != 0 ? &noise : nullptr);
            changed += kit::byteDifference(src, images.src).empty() ? 0 : 1;
            srand(7);
            daxReduceBits(images.src, images.dst, is.jitter, is.option, is.levelBits, nullptr);
            EXPECT_EQ(kit::byteDifference(images.dst, expected), "")
                << src.shape().text() << " to " << expected.shape().text() << " jitter "
                << is.jitter << " dither " << is.option << " bits " << is.levelBits;
            EXPECT_EQ(kit::byteDifference(images.src, src), "") << "the source";
        });
    });
    EXPECT_GT(changed, 100);
    EXPECT_EQ(reports.take(), Lines{});
}

// Tile for tile it is what it is for an image of a tile's size. A plain source is changed under all
// tiles, a tiled one is only read.
TEST(ColorReduce, Tiled) {
    kit::forSeeds(60, [](Random& random) {
        const Setting is = anySetting(random);
        Images images = anyImages(random, is, true);
        const int32_t side = random.oneOf({8, 16, 24});
        const bool srcTiled = random.chance(50);
        const DaxImage& whole = images.dst.header;
        kit::TileLog log;
        kit::Tiles a(images.src, 'A', 8, 16, log);
        kit::Tiles d(images.dst, 'D', side, side, log);
        d.ends = true;
        daxSetBorderMode(a, DAX_BORDER_REPLICATE, DAX_SIDE_ALL, 0);
        daxSetBorderMode(images.src, DAX_BORDER_REPLICATE, DAX_SIDE_ALL, 0);
        Image changed = images.src;
        srand(9);
        const Noise noise;
        std::vector<std::pair<std::pair<int32_t, int32_t>, Image>> expected;
        for (int32_t row = 0; row * side < whole.height; ++row)
            for (int32_t col = 0; col * side < whole.width; ++col) {
                Shape tile = images.dst.shape();
                tile.width = tile.height = side;
                tile.slack = 0;
                tile.roi.reset();
                Image dst(tile);
                tile.depth = is.depths.src;
                Image src(tile);
                std::copy(whole.channelSeq, whole.channelSeq + 4, dst->channelSeq);
                const auto each = [&](const auto& use) {
                    for (int32_t c = 1; c <= src->nChannels; ++c)
                        for (int32_t y = 0; y < side; ++y)
                            for (int32_t x = 0; x < side; ++x)
                                use(c, x, y, col * side + x, row * side + y);
                };
                each([&](int32_t c, int32_t x, int32_t y, int32_t atX, int32_t atY) {
                    src.set(x, y, c,
                            images.src.get(std::min(atX, whole.width - 1),
                                           std::min(atY, whole.height - 1), c));
                });
                byModel(src, dst, is, is.jitter != 0 ? &noise : nullptr);
                each([&](int32_t c, int32_t x, int32_t y, int32_t atX, int32_t atY) {
                    if (atX < whole.width && atY < whole.height && !srcTiled)
                        changed.set(atX, atY, c, src.get(x, y, c));
                });
                expected.push_back({{col, row}, dst});
            }
        srand(9);
        daxReduceBits(srcTiled ? a : static_cast<DaxImage*>(images.src), d, is.jitter, is.option,
                      is.levelBits, nullptr);
        for (auto& [at, dst] : expected)
            EXPECT_EQ(kit::pixelDifference(d.tile(at.first, at.second), dst), "")
                << at.first << "," << at.second << " " << images.src.shape().text() << " jitter "
                << is.jitter << " dither " << is.option;
        EXPECT_EQ(kit::byteDifference(srcTiled ? a.gathered() : images.src, changed), "");
    });
}

TEST(ColorReduce, Reports) {
    kit::Reports reports;
    struct Call {
        DepthPair depths;
        int32_t jitter;
        int32_t option;
        std::string text;
    };
    const std::string range = "daxReduceBits daxcolor (0>jitterType)||(jitterType>8)";
    const DepthPair fine = {DAX_DEPTH_16U, DAX_DEPTH_8U};
    for (const Call& call : std::vector<Call>{
             {fine, -1, 1, range},
             {fine, 9, 1, range},
             {{DAX_DEPTH_8U, DAX_DEPTH_8U}, 0, 1, "ownReduceBits owncolor errOutDepth"},
             {{DAX_DEPTH_16U, DAX_DEPTH_1U}, 0, 1, "ownReduceBits owncolor errOutDepth"},
             {{DAX_DEPTH_16S, DAX_DEPTH_8U}, 0, 1, "ownReduceBits owncolor errInOutDepth"},
             {{DAX_DEPTH_32S, DAX_DEPTH_8S}, 3, 1, "ownjitter_rect owncolor errOutDepth"},
             {{DAX_DEPTH_1U, DAX_DEPTH_8U}, 3, 1, "ownjitter_rect owncolor errInOutDepth"},
             {{DAX_DEPTH_8U, DAX_DEPTH_1U}, 0, 2, "own_dither_rect owncolor errInDepth"},
             {fine, 0, 3, "own_dither_rect owncolor errDitherOption"},
             {fine, 0, 0, "own_dither_rect owncolor errDitherOption"}}) {
        Image src({.depth = call.depths.src, .width = 9, .height = 2});
        Image dst({.depth = call.depths.dst, .width = 9, .height = 2});
        const std::vector<uint8_t> before = dst.bytes();
        daxReduceBits(src, dst, call.jitter, call.option, 0, nullptr);
        EXPECT_EQ(reports.take(), Lines{"-5 " + call.text});
        EXPECT_EQ(dst.bytes(), before);
    }
    const std::string unlike = "-5 daxReduceBits daxcolor incomatibleimages";
    for (const auto spoil : {+[](DaxImage* dst) { dst->origin = 1; },
                             +[](DaxImage* dst) { dst->dataOrder = DAX_DATA_PLANE; },
                             +[](DaxImage* dst) { dst->nChannels = 2; }}) {
        Image src({.depth = DAX_DEPTH_16U, .channels = 3, .width = 9, .height = 2});
        Image dst({.channels = 3, .width = 9, .height = 2});
        spoil(dst);
        daxReduceBits(src, dst, 0, 1, 0, nullptr);
        EXPECT_EQ(reports.take(), Lines{unlike});
    }
    Image dst({.width = 9});
    daxReduceBits(nullptr, dst, 0, 1, 0, nullptr);
    const Lines lines = reports.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(0, 50), "-5 daxReduceBits daxcolor Image header is null    ");
}

} // namespace
