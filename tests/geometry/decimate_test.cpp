// daxDecimate against a model that runs its kernels as they are defined.

#include "scene.h"

namespace {

using namespace geometry;

struct Factors {
    int32_t xU, xL, yU, yL;
    bool xWhole() const { return xL % xU == 0; }
    bool yWhole() const { return yL % yU == 0; }
    int64_t xStep() const { return int64_t{xL} * 256 / xU; }
    int64_t yStep() const { return int64_t{yL} * 256 / yU; }
};

// A plain source. What lies beside a row is read where it is in memory, and outside of memory the
// nearest sample.
struct Source {
    const Image& image;

    int64_t get(int64_t x, int64_t y, int32_t channel) const {
        const DaxImage* h = &image.header;
        const bool pixels = h->dataOrder == DAX_DATA_PIXEL;
        const int32_t bits = kit::bitsOf(h->depth);
        const int64_t index = pixels ? x * h->nChannels + channel - 1 : x;
        const int64_t row = pixels ? y : y + int64_t{h->height} * (channel - 1);
        const int64_t at = row * h->widthStep * 8 + index * bits;
        if (at < 0 || at + bits > static_cast<int64_t>(image.size()) * 8) {
            x = std::clamp<int64_t>(x, 0, h->width - 1);
            y = std::clamp<int64_t>(y, 0, h->height - 1);
        }
        return image.get(static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
    }
};

struct Job {
    Factors factors;
    int32_t scheme;
    int32_t depth;
    int64_t x0, y0, xEnd, yEnd;
};

int32_t wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

// t shifted right 8, plus 6 p.
int64_t cubicOf(const int64_t* s, int64_t f) {
    const int64_t m = s[0], p = s[1], q = s[2], r = s[3];
    const int64_t f2 = f * f >> 8;
    const int64_t f3 = f * f * f >> 16;
    const int32_t t = wrapped((6 * q - 2 * m - 3 * p - r) * f + 3 * (m - 2 * p + q) * f2 +
                              (3 * p - m - 3 * q + r) * f3);
    return wrapped((t >> 8) + 6 * p);
}

int64_t oneAxis(const Job& job, const int64_t* s, int64_t f) {
    if (job.scheme == DAX_INTER_LINEAR) return ((((256 - f) * s[0] + f * s[1]) >> 7) + 1) >> 1;
    return std::clamp<int64_t>(cubicOf(s, f) / 6, 0, kit::mostOf(job.depth));
}

// `put(row, column, value)` gets all that one kernel writes, for one channel.
template <class Put> void runKernel(const Job& job, const Source& src, int32_t channel, Put put) {
    const int64_t xStep = job.factors.xStep();
    const int64_t yStep = job.factors.yStep();
    const int32_t before = job.scheme == DAX_INTER_CUBIC ? 1 : 0;
    const int32_t taps = job.scheme == DAX_INTER_CUBIC ? 4 : 2;
    const auto alongX = [&](int64_t x, int64_t y) {
        int64_t s[4];
        for (int32_t k = 0; k < taps; ++k) s[k] = src.get((x >> 8) - before + k, y >> 8, channel);
        return oneAxis(job, s, x & 255);
    };
    const auto alongY = [&](int64_t x, int64_t y) {
        int64_t s[4];
        for (int32_t k = 0; k < taps; ++k) s[k] = src.get(x >> 8, (y >> 8) - before + k, channel);
        return oneAxis(job, s, y & 255);
    };
    const auto along = [&](int64_t x, int64_t y) {
        int64_t h[4];
        for (int32_t r = 0; r < taps; ++r) {
            int64_t s[4];
            for (int32_t k = 0; k < taps; ++k)
                s[k] = src.get((x >> 8) - before + k, (y >> 8) - before + r, channel);
            h[r] = job.scheme == DAX_INTER_LINEAR ? (256 - (x & 255)) * s[0] + (x & 255) * s[1]
                                                  : cubicOf(s, x & 255);
        }
        const int64_t f = y & 255;
        if (job.scheme == DAX_INTER_LINEAR) return ((((256 - f) * h[0] + f * h[1]) >> 15) + 1) >> 1;
        return std::clamp<int64_t>(cubicOf(h, f) / 36, 0, kit::mostOf(job.depth));
    };
    const auto xKernel = [&](int64_t y, int64_t row) {
        int64_t x = job.x0 - 1;
        int64_t column = 0;
        if (job.x0 == 0) put(row, column++, src.get(0, y >> 8, channel)), x = xStep - 1;
        for (; x < job.xEnd - 1; x += xStep) put(row, column++, alongX(x, y));
    };
    const auto yKernel = [&](int64_t x, int64_t column) {
        int64_t y = job.y0 - 1;
        int64_t row = 0;
        if (job.y0 == 0) put(row++, column, src.get(x >> 8, 0, channel)), y = yStep - 1;
        for (; y < job.yEnd - 1; y += yStep) put(row++, column, alongY(x, y));
    };
    if (job.scheme == DAX_INTER_NN || job.depth == DAX_DEPTH_1U) {
        int64_t row = 0;
        for (int64_t y = job.y0; y < job.yEnd; y += yStep, ++row) {
            int64_t column = 0;
            for (int64_t x = job.x0; x < job.xEnd; x += xStep)
                put(row, column++, src.get(x >> 8, y >> 8, channel));
        }
    } else if (job.factors.yWhole()) {
        int64_t row = 0;
        for (int64_t y = job.y0; y < job.yEnd; y += yStep) xKernel(y, row++);
    } else if (job.factors.xWhole()) {
        int64_t column = 0;
        for (int64_t x = job.x0; x < job.xEnd; x += xStep) yKernel(x, column++);
    } else {
        int64_t row = 0;
        int64_t y = job.y0 - 1;
        if (job.y0 == 0) xKernel(0, row++), y = yStep - 1;
        if (job.x0 == 0) yKernel(0, 0);
        for (; y < job.yEnd - 1; y += yStep, ++row) {
            int64_t column = 0;
            int64_t x = job.x0 - 1;
            if (job.x0 == 0) ++column, x = xStep - 1;
            for (; x < job.xEnd - 1; x += xStep) put(row, column++, along(x, y));
        }
    }
}

// The tiles of a source that a block needs, as one image; or the whole plain source.
std::optional<Image> assembled(Trial& trial, const Job& job, int32_t* left, int32_t* top) {
    *left = *top = 0;
    if (!trial.tiled[0]) return trial.images[0];
    kit::Tiles& tiles = *trial.tiled[0];
    const bool nearest = job.scheme == DAX_INTER_NN;
    const bool cubic = job.scheme == DAX_INTER_CUBIC;
    const auto range = [&](int64_t start, int64_t end, int32_t size, int32_t* first,
                           int32_t* last) {
        const bool boundary = start % (size * 256) == 0;
        *first = static_cast<int32_t>(((cubic && !boundary ? start - 8 : start) >> 8) / size);
        *last = static_cast<int32_t>(((nearest ? end - 255 : end - 1 + (cubic ? 512 : 256)) >> 8) /
                                     size);
    };
    int32_t cols[2];
    int32_t rows[2];
    range(job.x0, job.xEnd, tiles.info.width, &cols[0], &cols[1]);
    range(job.y0, job.yEnd, tiles.info.height, &rows[0], &rows[1]);
    Shape shape = trial.images[0].shape();
    shape.slack = 0;
    shape.align = 1; // rows are packed
    shape.width = (cols[1] - cols[0] + 1) * tiles.info.width;
    shape.height = (rows[1] - rows[0] + 1) * tiles.info.height;
    shape.roi.reset();
    *left = cols[0] * tiles.info.width;
    *top = rows[0] * tiles.info.height;
    const auto there = [&](int32_t col, int32_t row) {
        return col * tiles.info.width < tiles.header.width &&
               row * tiles.info.height < tiles.header.height;
    };
    const int32_t endCol = there(cols[1], rows[0]) ? cols[1] : cols[1] - 1;
    const int32_t endRow = there(cols[0], rows[1]) ? rows[1] : rows[1] - 1;
    if (endCol < cols[0] || endRow < rows[0]) return {};
    Image block(shape);
    for (int32_t c = 1; c <= shape.channels; ++c)
        for (int32_t y = 0; y < shape.height; ++y)
            for (int32_t x = 0; x < shape.width; ++x) {
                const int32_t inX = std::min(x, (endCol - cols[0] + 1) * tiles.info.width - 1);
                const int32_t inY = std::min(y, (endRow - rows[0] + 1) * tiles.info.height - 1);
                block.set(
                    x, y, c,
                    tiles.tile(cols[0] + inX / tiles.info.width, rows[0] + inY / tiles.info.height)
                        .get(inX % tiles.info.width, inY % tiles.info.height, c));
            }
    return block;
}

// False when a source tile that is needed isn't there.
bool decimateByModel(Trial& trial, const Factors& factors, int32_t interpolate) {
    const Image& src = trial.images[0];
    const DaxROI from = regionOf(&src.header);
    const DaxROI to = regionOf(trial.images[1]);
    const DaxImage* d = trial.images[1];
    Job job = {factors, interpolate, src->depth, 0, 0, 0, 0};
    if (std::min(src->width, src->height) < 4 || (factors.xWhole() && factors.yWhole()))
        job.scheme = DAX_INTER_NN;
    const int64_t srcWidth = std::min(from.width, src->width - from.xOffset);
    const int64_t srcHeight = std::min(from.height, src->height - from.yOffset);
    int64_t W = std::min<int64_t>(std::min(to.width, d->width - to.xOffset),
                                  srcWidth * factors.xU / factors.xL);
    int64_t H = std::min<int64_t>(std::min(to.height, d->height - to.yOffset),
                                  srcHeight * factors.yU / factors.yL);
    int64_t x0 = int64_t{from.xOffset} * 256;
    int64_t y0 = int64_t{from.yOffset} * 256;
    if (job.scheme == DAX_INTER_NN) {
        y0 += factors.yWhole() ? 0 : 128;
        x0 += factors.xWhole() ? 0 : 128;
    }
    int64_t xEnd = x0 + factors.xStep() * W;
    int64_t yEnd = y0 + factors.yStep() * H;
    if (job.scheme == DAX_INTER_CUBIC && !trial.tiled[0]) {
        if (!factors.yWhole() && yEnd + 1 > (src->height - 1) * 256) --H, yEnd -= factors.yStep();
        if (!factors.xWhole() && xEnd + 1 > (src->width - 1) * 256) --W, xEnd -= factors.yStep();
    }
    if (W <= 0 || H <= 0) return true;
    const int32_t count =
        std::min(from.coi != 0 ? 1 : src->nChannels, to.coi != 0 ? 1 : d->nChannels);
    const int32_t in = from.coi != 0 ? from.coi : 1;
    const int32_t out = to.coi != 0 ? to.coi : 1;

    const bool dstTiled = trial.tiled[1].has_value();
    std::vector<Share> columns = {{0, to.xOffset, static_cast<int32_t>(W), 0}};
    std::vector<Share> rows = {{0, to.yOffset, static_cast<int32_t>(H), 0}};
    if (dstTiled) {
        columns = sharesOf(to.xOffset, static_cast<int32_t>(W), trial.tiled[1]->info.width);
        rows = sharesOf(to.yOffset, static_cast<int32_t>(H), trial.tiled[1]->info.height);
    }
    for (const Share& row : rows)
        for (const Share& col : columns) {
            const int32_t* pos = trial.tilePos();
            if (dstTiled && pos != nullptr && (pos[0] != col.tile || pos[1] != row.tile)) continue;
            job.x0 = x0 + col.before * factors.xStep();
            job.y0 = y0 + row.before * factors.yStep();
            const bool lastX = col.before + col.size == W;
            const bool lastY = row.before + row.size == H;
            job.xEnd = lastX ? xEnd : job.x0 + col.size * factors.xStep();
            job.yEnd = lastY ? yEnd : job.y0 + row.size * factors.yStep();
            Image& dst = dstTiled ? trial.tiled[1]->tile(col.tile, row.tile) : trial.images[1];
            int32_t left = 0;
            int32_t top = 0;
            const std::optional<Image> block = assembled(trial, job, &left, &top);
            if (!block) return false;
            // The kernel sees the block alone, and a start at its corner as one at 0.
            job.x0 -= int64_t{left} * 256, job.xEnd -= int64_t{left} * 256;
            job.y0 -= int64_t{top} * 256, job.yEnd -= int64_t{top} * 256;
            for (int32_t c = 0; c < count; ++c)
                runKernel(job, {*block}, in + c, [&](int64_t y, int64_t x, int64_t value) {
                    x += col.inTile;
                    y += row.inTile;
                    if (x < dst->width && y < dst->height)
                        dst.set(static_cast<int32_t>(x), static_cast<int32_t>(y), out + c, value);
                });
        }
    return true;
}

Factors anyFactors(Random& random) {
    const auto pair = [&](int32_t* u, int32_t* l) {
        *u = random.in(1, 7);
        *l = random.chance(30) ? *u * random.in(1, 4) : random.in(*u, 15);
        if (random.chance(10)) *u = 999, *l = 1000;
    };
    Factors factors = {};
    pair(&factors.xU, &factors.xL);
    pair(&factors.yU, &factors.yL);
    return factors;
}

// Sources larger than destinations mostly, of depths that are accepted.
std::vector<Image> anyPair(Random& random) {
    for (;;) {
        std::vector<Image> images = resamplingPair(random, random.chance(10) ? 400 : 60);
        if (kit::isSigned(images[0]->depth)) continue;
        Shape shape = images[0].shape();
        if (random.chance(60) || shape.channels != images[1]->nChannels) return images;
        // A region that starts where a tile may start.
        shape.width = random.in(24, 80);
        shape.height = random.in(24, 50);
        shape.roi = kit::anyRoi(random, shape.width, shape.height, 0);
        shape.roi->xOffset = random.in(0, 2) * 8;
        shape.roi->yOffset = random.in(0, 2) * 8;
        std::vector<Image> pair;
        pair.emplace_back(shape, random);
        pair.push_back(images[1]);
        return pair;
    }
}

void decimate(Trial& trial, const Factors& f, int32_t interpolate) {
    daxDecimate(trial.argument(0), trial.argument(1), f.xU, f.xL, f.yU, f.yL, interpolate,
                trial.tilePos());
}

std::string textOf(const Factors& f, int32_t interpolate) {
    return "interpolate " + std::to_string(interpolate) + " by " + std::to_string(f.xU) + "/" +
           std::to_string(f.xL) + ", " + std::to_string(f.yU) + "/" + std::to_string(f.yL);
}

// Decimates by the call and by the model, unless that misses a tile.
void expectDecimated(Random& random, std::vector<Image> pair, const Factors& factors, bool plain) {
    kit::Reports reports;
    Scene scene(random, std::move(pair));
    if (plain) {
        scene.cases = 0;
        scene.pos.reset();
    }
    const int32_t interpolate = random.in(0, 2);
    Trial is(scene);
    Trial expected(scene);
    if (is.tiled[0]) is.tiled[0]->ends = true;
    if (!decimateByModel(expected, factors, interpolate)) return;
    decimate(is, factors, interpolate);
    SCOPED_TRACE(textOf(factors, interpolate) + " of " + is.images[0].shape().text());
    is.expectSame(expected);
    EXPECT_EQ(reports.take(), Lines());
}

TEST(Decimate, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(3000, [](Random& random) {
            const Factors factors = anyFactors(random);
            expectDecimated(random, anyPair(random), factors, true);
        });
    });
}

// Rows longer than strips and rounds of places, of all channels or of one, whose places lie near
// each other or far.
TEST(Decimate, LongRows) {
    kit::forEachIsa([] {
        kit::forSeeds(40, [](Random& random) {
            Shape shape = {.depth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U}),
                           .width =
                               random.chance(30) ? random.in(300, 1000) : random.in(4000, 12000),
                           .height = 9,
                           .order = random.in(0, 1)};
            if (shape.depth != DAX_DEPTH_1U) shape.channels = random.in(1, 5);
            std::vector<Image> pair;
            if (random.chance(30))
                shape.roi = DaxROI{random.in(1, shape.channels), 0, 0, 9, shape.width};
            pair.emplace_back(shape, random);
            pair.emplace_back(shape, random);
            Factors factors = {random.in(1, 3), random.in(3, random.chance(30) ? 40 : 5),
                               random.in(1, 2), 3};
            if (random.chance(20)) factors.xU = 15, factors.xL = 16; // of a short round
            expectDecimated(random, std::move(pair), factors, true);
        });
    });
}

TEST(Decimate, TiledImages) {
    kit::forSeeds(2500, [](Random& random) {
        const Factors factors = anyFactors(random);
        expectDecimated(random, anyPair(random), factors, false);
    });
}

// A kernel sees the tiles that are put together and not the image: a start at the corner of the
// first of them is a sample as it is, and elsewhere 1/256 of the sample before it counts.
TEST(Decimate, StartsAtTheCornerOfATile) {
    Image src({.width = 16, .height = 8, .roi = DaxROI{0, 8, 0, 8, 8}});
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 16; ++x) src.set(x, y, 1, x == 8 ? 0 : x == 9 ? 144 : 255);
    Image plain({.width = 4, .height = 2});
    Image tiled = plain;
    kit::TileLog log;
    kit::Tiles tiles(src, 'A', 8, 8, log);
    daxDecimate(src, plain, 2, 3, 1, 1, DAX_INTER_LINEAR, nullptr);
    daxDecimate(tiles, tiled, 2, 3, 1, 1, DAX_INTER_LINEAR, nullptr);
    for (int32_t y = 0; y < 2; ++y) {
        EXPECT_EQ(tiled.get(0, y, 1), 0);
        EXPECT_EQ(plain.get(0, y, 1), 1);
        for (const Image* result : {&plain, &tiled})
            EXPECT_EQ(result->get(1, y, 1), (((129 * 144 + 127 * 255) >> 7) + 1) >> 1);
    }
}

TEST(Decimate, Reports) {
    kit::Reports reports;
    Random random(1);
    Image src({.width = 4, .height = 4}, random);
    Image dst(
        {.depth = DAX_DEPTH_16U, .width = 4, .height = 4, .order = DAX_DATA_PLANE, .origin = 1},
        random);
    const Image before = dst;
    const std::string name = "-5 daxDecimate daxdecim ";
    daxDecimate(src, dst, 0, -1, 0, -1, -1, nullptr);
    EXPECT_EQ(reports.take(),
              (Lines{name + "srcImage->depth != dstImage->depth",
                     name + "srcImage->origin != dstImage->origin",
                     name + "srcImage->dataOrder != dstImage->dataOrder",
                     name + "interpolate != DAX_INTER_NN, DAX_INTER_LINEAR or DAX_INTER_CUBIC",
                     name + "xU <= 0", name + "xL <= 0", name + "yU <= 0", name + "yL <= 0",
                     name + "xU > xL", name + "yU > yL"}));
    Image narrow({.depth = DAX_DEPTH_8S, .width = 4, .height = 4}, random);
    Image same = narrow;
    daxDecimate(narrow, same, 1, 2, 1, 2, 0, nullptr);
    EXPECT_EQ(reports.take(), Lines{"-5 daxDecimate owndecim srcImage->depth is wrong"});
    daxDecimate(src, nullptr, 1, 2, 1, 2, 0, nullptr);
    EXPECT_EQ(reports.take().size(), 1u);
    Image other(src.shape());
    daxSetErrStatus(DAX_StatusBadArgument);
    daxDecimate(src, other, 1, 1, 1, 1, 0, nullptr);
    EXPECT_EQ(byteDifference(other, Image(src.shape())), "");
    EXPECT_EQ(byteDifference(dst, before), "");
}

} // namespace
