// daxZoom against a model that follows its definition sample by sample.

#include "scene.h"

#include <cmath>

namespace {

using namespace geometry;

struct Factors {
    int32_t xU, xL, yU, yL;
    double sx() const { return static_cast<double>(xL) / xU; }
    double sy() const { return static_cast<double>(yL) / yU; }
};

int64_t nearest(double value) { return llrint(value); }
int64_t wholeOf(double value) { return nearest(value + 0.00001 - 0.5); }

int32_t limited(int32_t dst, int32_t src, double step) {
    if (wholeOf((dst - 1) * step) <= src - 1) return dst;
    const double t = src / step;
    const int64_t n = wholeOf(t);
    return static_cast<int32_t>(static_cast<double>(n) == t ? n - 1 : n);
}

int32_t schemeOf(const DaxImage* src, int32_t interpolate) {
    const int32_t least = std::min(src->width, src->height);
    if (src->depth == DAX_DEPTH_1U || least < 2) return DAX_INTER_NN;
    return interpolate == DAX_INTER_CUBIC && least < 4 ? DAX_INTER_LINEAR : interpolate;
}

double cubicOf(const double* q, const double* d, double f) {
    const double a = f + 1;
    const double b = f * a * 0.5;
    const double c = (f - 1) * b * (1.0 / 3);
    return q[0] + a * d[0] + b * d[1] + c * d[2];
}

double cubicOf(const double* q, double f) {
    const double d1 = q[1] - q[0];
    const double d2 = (q[2] - q[1]) - d1;
    const double d3 = (q[3] - 2 * q[2] + q[1]) - d2;
    const double d[3] = {d1, d2, d3};
    return cubicOf(q, d, f);
}

int64_t cubicFirst(double p, int32_t offset, int32_t size) {
    int64_t i = std::min<int64_t>(wholeOf(p), size - 1 - offset);
    if (i + offset == 0) return i + 1;
    if (i + offset == size - 1) return i - 2;
    return i + offset == size - 2 ? i - 1 : i;
}

// The untiled engine on plain images.
void zoomByModel(const Image& src, Image& dst, const Factors& factors, int32_t scheme, double x0,
                 double y0) {
    const int32_t depth = src->depth;
    if (depth != DAX_DEPTH_1U && depth != DAX_DEPTH_8U && depth != DAX_DEPTH_16U) return;
    const DaxROI from = regionOf(&src.header);
    const DaxROI to = regionOf(&dst.header);
    const int32_t coi = from.coi != 0 ? from.coi : src->nChannels;
    const int32_t coiDst = dst->roi == nullptr ? src->nChannels
                           : to.coi != 0       ? to.coi
                                               : dst->nChannels;
    int32_t count = from.coi != 0 ? 1 : src->nChannels;
    if (from.coi <= 1 && to.coi <= 1) {
        if (coi != coiDst) return;
    } else if (count != 1 || (to.coi == 0 && dst->nChannels != 1)) {
        return;
    }
    count = std::min(count, dst->nChannels);
    const double sx = factors.sx();
    const double sy = factors.sy();
    const int32_t srcWidth = std::min(from.width, src->width - from.xOffset);
    const int32_t srcHeight = std::min(from.height, src->height - from.yOffset);
    const int32_t dstWidth = std::min(to.width, dst->width - to.xOffset);
    const int32_t dstHeight = std::min(to.height, dst->height - to.yOffset);
    if (srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 || dstHeight <= 0) return;
    const int32_t width = limited(dstWidth, srcWidth, sx);
    const int32_t height = limited(dstHeight, srcHeight, sy);
    const int32_t lastX = src->width - from.xOffset - 1;
    const int32_t lastY = src->height - from.yOffset - 1;
    const auto read = [&](int64_t x, int64_t y, int32_t c) {
        return src.get(
            static_cast<int32_t>(std::clamp<int64_t>(x + from.xOffset, 0, src->width - 1)),
            static_cast<int32_t>(std::clamp<int64_t>(y + from.yOffset, 0, src->height - 1)),
            c + (from.coi > 1 ? from.coi : 1));
    };
    double py = y0;
    for (int32_t k = 0; k < height; ++k, py += sy) {
        double px = x0;
        for (int32_t n = 0; n < width; ++n, px += sx)
            for (int32_t c = 0; c < count; ++c) {
                int64_t value = 0;
                if (scheme == DAX_INTER_NN) {
                    const int64_t x = wholeOf(x0 * 16384) + n * wholeOf(sx * 16384);
                    const int64_t y = wholeOf(y0 * 16384) + k * wholeOf(sy * 16384);
                    value = read(x >> 14, y >> 14, c);
                } else if (scheme == DAX_INTER_LINEAR) {
                    const int64_t x = nearest(x0 * 16384) + n * nearest(sx * 16384);
                    const int64_t y = nearest(y0 * 16384) + k * nearest(sy * 16384);
                    int64_t j = x >> 14;
                    int64_t i = y >> 14;
                    if (j >= lastX) j = lastX - 1;
                    if (i >= lastY) i = lastY - 1;
                    const int64_t fx = x - j * 16384;
                    const int64_t fy = y - i * 16384;
                    const bool wide = depth == DAX_DEPTH_16U;
                    const auto pass = [&](int64_t row) {
                        const int64_t a = read(j, row, c) >> (wide ? 1 : 0);
                        const int64_t b = read(j + 1, row, c) >> (wide ? 1 : 0);
                        return static_cast<int16_t>((a * (16384 - fx) + b * fx) >> (wide ? 14 : 8));
                    };
                    value = (pass(i) * (16384 - fy) + pass(i + 1) * fy) >> (wide ? 13 : 20);
                } else {
                    const int64_t j = cubicFirst(px, from.xOffset, src->width);
                    const int64_t i = cubicFirst(py, from.yOffset, src->height);
                    double rows[4];
                    for (int32_t r = 0; r < 4; ++r) {
                        double q[4];
                        for (int32_t t = 0; t < 4; ++t)
                            q[t] = static_cast<double>(read(j - 1 + t, i - 1 + r, c));
                        rows[r] = static_cast<float>(cubicOf(q, px - static_cast<double>(j)));
                    }
                    value = std::clamp<int64_t>(wholeOf(cubicOf(rows, py - static_cast<double>(i))),
                                                0, kit::mostOf(depth));
                }
                dst.set(to.xOffset + n, to.yOffset + k, c + (to.coi > 1 ? to.coi : 1), value);
            }
    }
}

Factors anyFactors(Random& random) {
    const auto pair = [&](int32_t* u, int32_t* l) {
        *l = random.in(1, 7);
        *u = random.chance(15) ? *l : random.in(*l, 20);
        if (random.chance(10)) *u = *l + 1, *l = 1000, *u = 1001;
    };
    Factors factors = {};
    pair(&factors.xU, &factors.xL);
    pair(&factors.yU, &factors.yL);
    return factors;
}

TEST(Zoom, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(1500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> is = resamplingPair(random);
            std::vector<Image> expected = is;
            const Factors factors = anyFactors(random);
            const int32_t interpolate = random.in(0, 2);
            zoomByModel(expected[0], expected[1], factors, schemeOf(is[0], interpolate), 0, 0);
            daxZoom(is[0], is[1], factors.xU, factors.xL, factors.yU, factors.yL, interpolate,
                    nullptr);
            for (size_t i = 0; i < 2; ++i)
                EXPECT_EQ(byteDifference(is[i], expected[i]), "")
                    << "image " << i << " interpolate " << interpolate << " by " << factors.xU
                    << "/" << factors.xL << ", " << factors.yU << "/" << factors.yL << " of "
                    << is[0].shape().text();
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Rows that are longer than strips, of all channels or of one.
TEST(Zoom, LongRows) {
    kit::forEachIsa([] {
        kit::forSeeds(24, [](Random& random) {
            Shape shape = {.depth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U}),
                           .width = random.in(2200, 2600),
                           .height = 4,
                           .order = random.in(0, 1)};
            if (shape.depth != DAX_DEPTH_1U) shape.channels = random.in(1, 4);
            const bool one = shape.channels > 1 && random.chance(40);
            if (one) shape.roi = DaxROI{random.in(2, shape.channels), 0, 0, 4, shape.width};
            std::vector<Image> is;
            is.emplace_back(shape, random);
            shape.roi.reset();
            shape.width = random.in(4200, 4700);
            shape.channels =
                one || shape.depth == DAX_DEPTH_1U ? 1 : shape.channels + random.in(0, 1);
            is.emplace_back(shape, random);
            std::vector<Image> expected = is;
            const Factors factors = {random.in(7, 14), 7, 3, 2};
            const int32_t interpolate = random.in(0, 2);
            zoomByModel(expected[0], expected[1], factors, schemeOf(is[0], interpolate), 0, 0);
            daxZoom(is[0], is[1], factors.xU, factors.xL, factors.yU, factors.yL, interpolate,
                    nullptr);
            EXPECT_EQ(byteDifference(is[1], expected[1]), "") << "interpolate " << interpolate;
        });
    });
}

struct Start {
    int32_t pixel;
    double part;
};

Start startOf(int32_t offset, int32_t before, bool first, double step) {
    if (first) return {offset, 0};
    const int64_t f = offset * int64_t{16384} + before * nearest(step * 16384);
    return {static_cast<int32_t>(f >> 14),
            static_cast<double>(f) * (1.0 / 16384) - static_cast<double>(f >> 14)};
}

// A block of the destination, from what is fetched of a tiled source for it.
void zoomFromRectangle(Image& src, Image& dst, const Factors& factors, int32_t scheme, Start x,
                       Start y, int32_t width, int32_t height) {
    const auto grow = [&](int32_t start, int32_t* size, int32_t limit, int32_t* first) {
        if (scheme == DAX_INTER_NN) return 0;
        if (start + *size < limit) ++*size;
        if (scheme == DAX_INTER_LINEAR) return 0;
        if (start + *size < limit) ++*size;
        if (start <= 0) return 0;
        --*first;
        ++*size;
        return 1;
    };
    int32_t firstX = x.pixel;
    int32_t firstY = y.pixel;
    const int32_t inX = grow(x.pixel, &width, src->width, &firstX);
    const int32_t inY = grow(y.pixel, &height, src->height, &firstY);
    Shape shape = src.shape();
    shape.slack = 0;
    shape.width = width;
    shape.height = height;
    shape.roi = DaxROI{regionOf(src).coi, inX, inY, height, width};
    Image rectangle(shape);
    for (int32_t c = 1; c <= shape.channels; ++c)
        for (int32_t row = 0; row < height; ++row)
            for (int32_t col = 0; col < width; ++col)
                rectangle.set(col, row, c, ownBorderPixel(src, firstX + col, firstY + row, c));
    zoomByModel(rectangle, dst, factors, scheme, x.part, y.part);
}

void zoomTiledByModel(Trial& trial, const Factors& factors, int32_t interpolate) {
    Image& src = trial.images[0];
    const int32_t scheme = schemeOf(src, interpolate);
    const DaxROI from = regionOf(src);
    const DaxROI to = regionOf(trial.images[1]);
    const int32_t width = limited(to.width, from.width, factors.sx());
    const int32_t height = limited(to.height, from.height, factors.sy());
    if (width <= 0 || height <= 0) return;
    const bool dstTiled = trial.tiled[1].has_value();
    const int32_t tileWidth = dstTiled ? trial.tiled[1]->info.width : 128;
    const int32_t tileHeight = dstTiled ? trial.tiled[1]->info.height : 128;
    std::vector<Share> columns = sharesOf(to.xOffset, width, tileWidth);
    std::vector<Share> rows = sharesOf(to.yOffset, height, tileHeight);
    if (dstTiled &&
        !narrow(&columns, &rows, trial.tilePos(), tileHeight, trial.tiled[0].has_value()))
        return;
    for (const Share& row : rows)
        for (const Share& col : columns) {
            const Start x = startOf(from.xOffset, col.before, col.before == 0, factors.sx());
            const Start y = startOf(from.yOffset, row.before, row.before == 0, factors.sy());
            Image& dst = dstTiled ? trial.tiled[1]->tile(col.tile, row.tile) : trial.images[1];
            DaxROI roi = {to.coi, dstTiled ? col.inTile : to.xOffset + col.before,
                          dstTiled ? row.inTile : to.yOffset + row.before, row.size, col.size};
            DaxROI* const kept = dst->roi;
            dst->roi = &roi;
            if (trial.tiled[0]) {
                zoomFromRectangle(src, dst, factors, scheme, x, y, col.size, row.size);
            } else {
                DaxROI moved = {from.coi, x.pixel, y.pixel, height, width};
                DaxROI* const srcKept = src->roi;
                src->roi = &moved;
                zoomByModel(src, dst, factors, scheme, x.part, y.part);
                src->roi = srcKept;
            }
            dst->roi = kept;
        }
}

TEST(Zoom, TiledImages) {
    kit::forSeeds(1200, [](Random& random) {
        kit::Reports reports;
        const Scene scene(random, resamplingPair(random, random.chance(20) ? 300 : 60));
        const Factors factors = anyFactors(random);
        const int32_t interpolate = random.in(0, 2);
        Trial is(scene);
        Trial expected(scene);
        zoomTiledByModel(expected, factors, interpolate);
        daxZoom(is.argument(0), is.argument(1), factors.xU, factors.xL, factors.yU, factors.yL,
                interpolate, is.tilePos());
        is.expectSame(expected);
        EXPECT_EQ(reports.take(), Lines());
    });
}

// In a plain destination the blocks past the first lie at multiples of 128 even if the region
// starts beyond 128, where they leave it.
TEST(Zoom, BlocksCountFromTheCorner) {
    Random random(3);
    Image src({.width = 200, .height = 20}, random);
    Image dst({.width = 400, .height = 20, .roi = DaxROI{0, 200, 0, 20, 100}});
    kit::TileLog log;
    kit::Tiles tiles(src, 'A', 64, 64, log);
    daxZoom(tiles, dst, 1, 1, 1, 1, DAX_INTER_NN, nullptr);
    // Column 1 lies at 128, 72 before the region, with the last share of the walk.
    for (int32_t x = 0; x < 400; ++x) {
        const bool written = x >= 128 && x < 128 + 44;
        if (x >= 200 || !written) {
            EXPECT_EQ(dst.get(x, 5, 1), written ? src.get(x - 200, 5, 1) : 0) << x;
        }
    }
}

TEST(Zoom, Reports) {
    kit::Reports reports;
    Random random(1);
    Image src({.width = 4, .height = 4}, random);
    Image dst({.depth = DAX_DEPTH_16U, .width = 4, .height = 4, .order = DAX_DATA_PLANE}, random);
    const Image before = dst;
    daxZoom(src, dst, 0, 1, 0, 0, 3, nullptr);
    const std::string name = "-5 daxZoom daxZoom ";
    EXPECT_EQ(
        reports.take(),
        (Lines{name + "interpolate != DAX_INTER_NN && interpolate != DAX_INTER_LINEAR && "
                      "interpolate != DAX_INTER_CUBIC",
               name + "srcImage->depth != dstImage->depth",
               name + "srcImage->dataOrder != dstImage->dataOrder", name + "xU <= 0 || xL <= 0",
               name + "yU <= 0 || yL <= 0", name + "xU < xL || yU < yL"}));
    daxZoom(nullptr, dst, 1, 1, 1, 1, 0, nullptr);
    EXPECT_EQ(reports.take().size(), 1u);
    Image same({.width = 8, .height = 8, .origin = 1}, random);
    const Image untouched = same;
    daxSetErrStatus(DAX_StatusBadArgument);
    daxZoom(src, same, 2, 1, 2, 1, 0, nullptr);
    EXPECT_EQ(byteDifference(same, untouched), "");
    daxSetErrStatus(DAX_StatusNoError);
    daxZoom(src, same, 2, 1, 2, 1, 0, nullptr); // the origins aren't compared
    EXPECT_NE(byteDifference(same, untouched), "");
    EXPECT_EQ(byteDifference(dst, before), "");
}

// A fit that is exact costs the last column and row as soon as there is room for more.
TEST(Zoom, ExactFit) {
    Random random(2);
    Image src({.width = 2, .height = 2}, random);
    for (int32_t room = 3; room <= 5; ++room) {
        Image dst({.width = room, .height = 2});
        for (int32_t x = 0; x < room; ++x) dst.set(x, 0, 1, 77);
        src.set(0, 0, 1, 1), src.set(1, 0, 1, 2);
        daxZoom(src, dst, 2, 1, 1, 1, DAX_INTER_NN, nullptr);
        const int64_t full[] = {1, 1, 2, room == 4 ? 2 : 77, 77};
        for (int32_t x = 0; x < room; ++x) EXPECT_EQ(dst.get(x, 0, 1), full[x]) << room;
    }
}

} // namespace
