// daxRotate against a model that follows its definition pixel by pixel.

#include "scene.h"

#include <sys/mman.h>

#include <cmath>
#include <cstring>

namespace {

using namespace geometry;

struct Turn {
    int32_t angle; // 1 to 35999
    int64_t xCenter;
    int64_t yCenter;
    int32_t scheme;
};

struct Mapping {
    double c, s, tx, ty;
};

Mapping mappingOf(const Turn& turn) {
    const long double a = turn.angle * 0.01L * (1.0L / 180) * 3.14159265358979323846264338L;
    const long double c = cosl(a);
    const long double s = sinl(a);
    const auto x = static_cast<long double>(turn.xCenter);
    const auto y = static_cast<long double>(turn.yCenter);
    const long double half = turn.scheme == DAX_INTER_NN ? 0.5L : 0;
    return {static_cast<float>(c), static_cast<float>(s),
            static_cast<float>(x + s * y - c * x + half),
            static_cast<float>(y - c * y - s * x + half)};
}

int64_t nearest(double value) { return llrint(value); }
int64_t wholeOf(double value) { return nearest(value + 0.00001 - 0.5); }

double cubicOf(const double* q, double t) {
    const double a = q[0], b = q[1], c = q[2], d = q[3];
    const double sixth = 1.0 / 6;
    const double third = 1.0 / 3;
    return (a * -sixth + b * 0.5 - c * 0.5 + d * sixth) * t * t * t +
           (a * 0.5 - b + c * 0.5) * t * t + (a * -third - b * 0.5 + c - d * sixth) * t + b;
}

int32_t cubicFirst(double at, int32_t last) {
    const auto i = static_cast<int32_t>(wholeOf(at));
    return i == 0 ? 0 : i < last - 1 ? i - 1 : last - 3;
}

// The sample of one plain source for a destination place.
int64_t sampleAt(const Image& src, const Turn& turn, int32_t X, int32_t Y, int32_t channel) {
    const int32_t maxX = src->width - 1;
    const int32_t maxY = src->height - 1;
    const auto read = [&](int64_t x, int64_t y) -> int64_t {
        if (x < 0 || x > maxX || y < 0 || y > maxY) return 0;
        return src.get(static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
    };
    const int64_t xc = turn.xCenter;
    const int64_t yc = turn.yCenter;
    if (turn.angle == 9000) return read(xc + yc - Y, yc - xc + X);
    if (turn.angle == 18000) return read(2 * xc - X, 2 * yc - Y);
    if (turn.angle == 27000) return read(xc - yc + Y, xc + yc - X);
    const Mapping m = mappingOf(turn);
    if (src->depth != DAX_DEPTH_16U && turn.scheme != DAX_INTER_CUBIC) {
        const int64_t c = nearest(m.c * 16384);
        const int64_t s = nearest(m.s * 16384);
        const int64_t px = X * c - Y * s + nearest(m.tx * 16384);
        const int64_t py = X * s + Y * c + nearest(m.ty * 16384);
        if (turn.scheme == DAX_INTER_NN) return read(px >> 14, py >> 14);
        const int64_t limitX = int64_t{maxX} << 14;
        const int64_t limitY = int64_t{maxY} << 14;
        if (px < 0 || px > limitX || py < 0 || py > limitY) return 0;
        const int64_t i = px == limitX ? maxX - 1 : px >> 14;
        const int64_t j = py == limitY ? maxY - 1 : py >> 14;
        const int64_t fx = px == limitX ? 1 : px - (i << 14);
        const int64_t fy = py == limitY ? 1 : py - (j << 14);
        const auto pair = [&](int64_t row) {
            const int64_t a = read(i, row);
            return ((read(i + 1, row) - a) * fx + a * 16384 + 64) >> 7;
        };
        return ((pair(j + 1) - pair(j)) * fy + pair(j) * 16384 + 1048576) >> 21;
    }
    const double xs = m.c * X - m.s * Y + m.tx;
    const double ys = m.s * X + m.c * Y + m.ty;
    if (turn.scheme == DAX_INTER_NN)
        return xs < -0.00001 || ys < -0.00001 ? 0 : read(wholeOf(xs), wholeOf(ys));
    if (xs > maxX || xs <= -0.00001 || ys > maxY || ys <= -0.00001) return 0;
    if (turn.scheme == DAX_INTER_LINEAR) {
        int64_t i = wholeOf(xs);
        int64_t j = wholeOf(ys);
        if (i == maxX) --i;
        if (j == maxY) --j;
        const double fx = xs - static_cast<double>(i);
        const double fy = ys - static_cast<double>(j);
        const auto pair = [&](int64_t row) {
            const auto a = static_cast<double>(read(i, row));
            return a + (static_cast<double>(read(i + 1, row)) - a) * fx;
        };
        return nearest(pair(j) + (pair(j + 1) - pair(j)) * fy + 0.00001);
    }
    const int32_t i0 = cubicFirst(xs, maxX);
    const int32_t j0 = cubicFirst(ys, maxY);
    double rows[4];
    for (int32_t r = 0; r < 4; ++r) {
        double q[4];
        for (int32_t k = 0; k < 4; ++k) q[k] = static_cast<double>(read(i0 + k, j0 + r));
        rows[r] = cubicOf(q, xs - i0 - 1);
    }
    return std::clamp<int64_t>(nearest(cubicOf(rows, ys - j0 - 1) + 0.00001), 0,
                               kit::mostOf(src->depth));
}

struct Channels {
    explicit Channels(const DaxImage* image)
        : first(regionOf(image).coi > 1 ? regionOf(image).coi : 1),
          count(regionOf(image).coi != 0 ? 1 : image->nChannels) {}
    int32_t first, count;
};

// A block of the destination; the sizes are cut at its image, and not at the source's.
void rotateByModel(const Image& src, Image& dst, const Turn& turn) {
    const DaxROI from = regionOf(&src.header);
    const DaxROI to = regionOf(dst);
    Channels in(&src.header);
    const Channels out(dst);
    if (in.count != out.count) return;
    if (src->dataOrder == DAX_DATA_PLANE) in.first = 1;
    const int32_t width = std::min({from.width, to.width, dst->width - to.xOffset});
    const int32_t height = std::min({from.height, to.height, dst->height - to.yOffset});
    for (int32_t c = 0; c < in.count; ++c)
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                dst.set(to.xOffset + x, to.yOffset + y, out.first + c,
                        sampleAt(src, turn, from.xOffset + x, from.yOffset + y, in.first + c));
}

// A call's arguments.
struct Call {
    explicit Call(Random& random, const Image& src) {
        angle = random.chance(30)   ? random.in(-5, 5) * 9000
                : random.chance(50) ? random.in(0, 46) * 777
                                    : random.in(-40000, 40000);
        if (angle % 36000 == 0) angle += 9000;
        xCenter = random.in(-3, src->width + 3);
        yCenter = random.in(-3, src->height + 3);
        if (random.chance(10)) xCenter += random.oneOf({-100000, 100, 2000});
        if (random.chance(10)) yCenter += random.oneOf({-100, 1000, 100000});
        interpolate = random.in(0, 2);
    }

    void make(DaxImage* src, DaxImage* dst, const int32_t* tilePos) const {
        daxRotate(src, dst, angle, xCenter, yCenter, interpolate, tilePos);
    }

    Turn turn(const DaxImage* src) const {
        Turn turn = {(angle % 36000 + 36000) % 36000, xCenter, yCenter, interpolate};
        const int32_t least = std::min(src->width, src->height);
        if (src->depth == DAX_DEPTH_1U || least < 2)
            turn.scheme = DAX_INTER_NN;
        else if (interpolate == DAX_INTER_CUBIC && least < 4)
            turn.scheme = DAX_INTER_LINEAR;
        if (src->origin != 0) {
            turn.angle = 36000 - turn.angle;
            turn.yCenter = src->height - 1 - yCenter;
        }
        return turn;
    }

    std::string text() const {
        return "angle " + std::to_string(angle) + " about " + std::to_string(xCenter) + "," +
               std::to_string(yCenter) + " interpolate " + std::to_string(interpolate);
    }

    int32_t angle, xCenter, yCenter, interpolate;
};

// Two images of a depth that is accepted.
std::vector<Image> anyPair(Random& random, int32_t mostSize = 60) {
    for (;;) {
        std::vector<Image> images = resamplingPair(random, mostSize, false);
        if (!kit::isSigned(images[0]->depth)) return images;
    }
}

TEST(Rotate, PlainImages) {
    kit::forEachIsa([] {
        kit::forSeeds(2500, [](Random& random) {
            kit::Reports reports;
            std::vector<Image> is = anyPair(random);
            // Rows go by the fields.
            std::vector<Image> expected = is;
            if (random.chance(30)) is[0]->widthStep = random.in(1, 99);
            const Call call(random, is[0]);
            rotateByModel(expected[0], expected[1], call.turn(is[0]));
            call.make(is[0], is[1], nullptr);
            for (size_t i = 0; i < 2; ++i)
                EXPECT_EQ(byteDifference(is[i], expected[i]), "")
                    << "image " << i << " " << call.text() << " of " << is[0].shape().text();
            EXPECT_EQ(is[0]->origin, expected[0]->origin);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Rows longer than blocks, and all angles in steps of 7.77 degrees.
TEST(Rotate, LargeImages) {
    kit::forEachIsa([] {
        Random random(7);
        for (int32_t step = 1; step < 47; ++step) {
            const int32_t depth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
            Shape shape = {.depth = depth,
                           .channels = depth == DAX_DEPTH_1U || random.chance(50) ? 1 : 3,
                           .width = random.in(150, 330),
                           .height = random.in(60, 90)};
            std::vector<Image> is;
            is.emplace_back(shape, random);
            is.emplace_back(shape, random);
            std::vector<Image> expected = is;
            Call call(random, is[0]);
            call.angle = step % 4 == 0 ? step / 4 % 3 * 9000 + 9000 : step * 777;
            rotateByModel(expected[0], expected[1], call.turn(is[0]));
            call.make(is[0], is[1], nullptr);
            EXPECT_EQ(byteDifference(is[1], expected[1]), "") << call.text();
        }
    });
}

// Bytes are mostly computed in single precision, and the few that lie on a rounding boundary again.
TEST(Rotate, CubicOfManyBytes) {
    Random random(12);
    const Image src({.width = 500, .height = 500}, random);
    for (const int32_t angle : {1, 1234, 4500, 20777, 35000}) {
        Image expected(src.shape());
        const Turn turn = {angle, 240, 260, DAX_INTER_CUBIC};
        rotateByModel(src, expected, turn);
        kit::forEachIsa([&] {
            Image from = src;
            Image dst(src.shape(), random);
            daxRotate(from, dst, angle, 240, 260, DAX_INTER_CUBIC, nullptr);
            EXPECT_EQ(byteDifference(dst, expected), "") << angle;
        });
    }
}

// Words are taken where single samples are asked for, but none that reaches past the image.
TEST(Rotate, ReadsNothingPastTheData) {
    constexpr size_t room = 1 << 16;
    char* const memory = static_cast<char*>(
        mmap(nullptr, 2 * room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(memory, MAP_FAILED);
    ASSERT_EQ(mprotect(memory + room, room, PROT_NONE), 0);
    kit::forEachIsa([&] {
        Random random(3);
        for (const int32_t depth : {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U})
            for (int32_t channels = 1; channels <= (depth == DAX_DEPTH_1U ? 1 : 5); ++channels)
                for (const int32_t angle : {1, 4500, 17999, 18001, 35999}) {
                    const Image src({.depth = depth,
                                     .channels = channels,
                                     .width = 64,
                                     .height = 30,
                                     .order = DAX_DATA_PIXEL},
                                    random);
                    const size_t size = src.size();
                    DaxImage atEnd = src.header;
                    atEnd.imageData = memory + room - size;
                    memcpy(atEnd.imageData, src->imageData, size);
                    for (const int32_t scheme : {DAX_INTER_NN, DAX_INTER_LINEAR, DAX_INTER_CUBIC}) {
                        Image dst(src.shape());
                        Image expected(src.shape());
                        Turn turn = {angle, 32, 15, scheme};
                        if (depth == DAX_DEPTH_1U) turn.scheme = DAX_INTER_NN;
                        rotateByModel(src, expected, turn);
                        daxRotate(&atEnd, dst, angle, 32, 15, scheme, nullptr);
                        EXPECT_EQ(byteDifference(dst, expected), "") << angle << " " << scheme;
                    }
                }
    });
    munmap(memory, 2 * room);
}

void rotateTiledByModel(Trial& trial, const Turn& turn) {
    Image& src = trial.images[0];
    const DaxROI from = regionOf(src);
    const DaxROI to = regionOf(trial.images[1]);
    const int32_t width = std::min(from.width, to.width);
    const int32_t height = std::min(from.height, to.height);
    const bool srcTiled = trial.tiled[0].has_value();
    const bool dstTiled = trial.tiled[1].has_value();
    const int32_t tileWidth = dstTiled ? trial.tiled[1]->info.width : 128;
    const int32_t tileHeight = dstTiled ? trial.tiled[1]->info.height : 128;
    std::vector<Share> columns = sharesOf(to.xOffset, width, tileWidth);
    std::vector<Share> rows = sharesOf(to.yOffset, height, tileHeight);
    if (dstTiled && !narrow(&columns, &rows, trial.tilePos(), tileHeight)) return;
    const Mapping m = mappingOf(turn);
    for (const Share& row : rows)
        for (const Share& col : columns) {
            Image& dst = dstTiled ? trial.tiled[1]->tile(col.tile, row.tile) : trial.images[1];
            DaxROI roi = {to.coi, dstTiled ? col.inTile : to.xOffset + col.before,
                          dstTiled ? row.inTile : to.yOffset + row.before, row.size, col.size};
            DaxROI moved = {from.coi, from.xOffset + col.before, from.yOffset + row.before,
                            row.size, col.size};
            DaxROI* const kept = dst->roi;
            dst->roi = &roi;
            if (!srcTiled) {
                DaxROI* const srcKept = src->roi;
                src->roi = &moved;
                rotateByModel(src, dst, turn);
                src->roi = srcKept;
                dst->roi = kept;
                continue;
            }
            int64_t box[4] = {INT64_MAX, INT64_MAX, INT64_MIN, INT64_MIN};
            for (const int32_t X : {moved.xOffset, moved.xOffset + col.size - 1})
                for (const int32_t Y : {moved.yOffset, moved.yOffset + row.size - 1}) {
                    const int64_t x = wholeOf(m.c * X - m.s * Y + m.tx);
                    const int64_t y = wholeOf(m.s * X + m.c * Y + m.ty);
                    box[0] = std::min(box[0], x), box[1] = std::min(box[1], y);
                    box[2] = std::max(box[2], x), box[3] = std::max(box[3], y);
                }
            if (box[0] >= src->width || box[1] >= src->height || box[2] < 0 || box[3] < 0) {
                daxSet(dst, 0, nullptr);
            } else {
                const auto left = static_cast<int32_t>(std::max<int64_t>(box[0] - 3, 0));
                const auto top = static_cast<int32_t>(std::max<int64_t>(box[1] - 3, 0));
                Shape shape = src.shape();
                shape.width =
                    static_cast<int32_t>(std::min<int64_t>(box[2] + 3, src->width - 1)) - left + 1;
                shape.height =
                    static_cast<int32_t>(std::min<int64_t>(box[3] + 3, src->height - 1)) - top + 1;
                shape.roi = moved;
                shape.roi->xOffset -= left;
                shape.roi->yOffset -= top;
                Image rectangle(shape);
                for (int32_t c = 1; c <= shape.channels; ++c)
                    for (int32_t y = 0; y < shape.height; ++y)
                        for (int32_t x = 0; x < shape.width; ++x)
                            rectangle.set(x, y, c, src.get(left + x, top + y, c));
                Turn inside = turn;
                inside.xCenter -= left;
                inside.yCenter -= top;
                rotateByModel(rectangle, dst, inside);
            }
            dst->roi = kept;
        }
}

TEST(Rotate, TiledImages) {
    kit::forSeeds(1500, [](Random& random) {
        kit::Reports reports;
        const Scene scene(random, anyPair(random, random.chance(20) ? 300 : 60));
        Trial is(scene);
        Trial expected(scene);
        const Call call(random, is.images[0]);
        rotateTiledByModel(expected, call.turn(is.images[0]));
        call.make(is.argument(0), is.argument(1), is.tilePos());
        is.expectSame(expected);
        EXPECT_EQ(is.argument(0)->origin, expected.argument(0)->origin);
        EXPECT_EQ(is.argument(0)->roi, is.callersRoi[0]);
        EXPECT_EQ(reports.take(), Lines()) << call.text();
    });
}

std::vector<int64_t> samplesOf(const Image& image) {
    std::vector<int64_t> samples;
    for (int32_t y = 0; y < image.header.height; ++y)
        for (int32_t x = 0; x < image.header.width; ++x) samples.push_back(image.get(x, y, 1));
    return samples;
}

// Worked by hand.
TEST(Rotate, QuarterTurnsOfSixPixels) {
    Image src({.width = 3, .height = 2});
    for (int32_t i = 0; i < 6; ++i) src.set(i % 3, i / 3, 1, i + 1);
    Random random(2);
    const auto turned = [&](int32_t angle, int32_t x, int32_t y, int32_t origin = 0) {
        Image dst(src.shape(), random);
        src->origin = dst->origin = origin;
        daxRotate(src, dst, angle, x, y, DAX_INTER_CUBIC, nullptr);
        return samplesOf(dst);
    };
    using Samples = std::vector<int64_t>;
    EXPECT_EQ(turned(9000, 1, 1), (Samples{3, 6, 0, 2, 5, 0}));
    EXPECT_EQ(turned(-27000, 1, 1), (Samples{3, 6, 0, 2, 5, 0}));
    EXPECT_EQ(turned(18000, 1, 1), (Samples{0, 0, 0, 6, 5, 4}));
    EXPECT_EQ(turned(27000, 1, 1), (Samples{0, 4, 1, 0, 5, 2}));
    EXPECT_EQ(turned(-9000, 1, 0), (Samples{5, 2, 0, 6, 3, 0}));
    // Seen from below it is a turn the other way.
    EXPECT_EQ(turned(9000, 1, 0, 1), turned(-9000, 1, 1));
    EXPECT_EQ(turned(9000, 100, -50), Samples(6, 0));
}

// By one hundredth of a degree about (0, 1) the last place of row 1 is its own: on bytes it counts
// as 1/16384 past the one before.
TEST(Rotate, LinearOnTheLastColumn) {
    for (const int32_t depth : {DAX_DEPTH_8U, DAX_DEPTH_16U}) {
        Image src({.depth = depth, .width = 5, .height = 4});
        for (int32_t i = 0; i < 20; ++i) src.set(i % 5, i / 5, 1, i % 5 == 4 ? 200 : 10);
        Image dst(src.shape());
        daxRotate(src, dst, 1, 0, 1, DAX_INTER_LINEAR, nullptr);
        EXPECT_EQ(dst.get(4, 1, 1), depth == DAX_DEPTH_8U ? 10 : 200);
    }
}

TEST(Rotate, WholeTurnsCopy) {
    kit::Reports reports;
    Random random(4);
    Image src({.channels = 2, .width = 5, .height = 5}, random);
    for (const int32_t angle : {0, 36000, -36000, 72000}) {
        Image dst(src.shape());
        daxRotate(src, dst, angle, 1, 1, 7, nullptr);
        EXPECT_EQ(pixelDifference(dst, src), "") << angle;
    }
    // A failure of the copy is told once more.
    kit::TileLog log;
    log.failRequest = 1;
    Image dst({.channels = 2, .width = 8, .height = 8});
    kit::Tiles tiles(dst, 'D', 8, 8, log);
    daxRotate(src, tiles, 0, 1, 1, 0, nullptr);
    EXPECT_EQ(reports.take(),
              (Lines{"-2 daxCopy daxSCE Error get tile to write", "-1 daxRotate daxRotat "}));
}

TEST(Rotate, Reports) {
    kit::Reports reports;
    Random random(1);
    Image src({.depth = DAX_DEPTH_8S, .width = 4, .height = 4}, random);
    Image dst({.depth = DAX_DEPTH_8U, .width = 4, .height = 4, .order = 1, .origin = 1}, random);
    const Image before = dst;
    const std::string name = "-5 daxRotate daxRotat ";
    daxRotate(src, dst, 100, 0, 0, 0, nullptr);
    EXPECT_EQ(reports.take(), (Lines{name + "srcImage->depth != dstImage->depth",
                                     name + "srcImage->dataOrder != dstImage->dataOrder",
                                     name + "srcImage->origin != dstImage->origin",
                                     name + "srcImage->origin != dstImage->origin"}));
    dst->origin = 0;
    daxRotate(src, dst, 100, 0, 0, 0, nullptr);
    EXPECT_EQ(reports.take(), (Lines{name + "srcImage->depth != dstImage->depth",
                                     name + "srcImage->dataOrder != dstImage->dataOrder",
                                     name + "srcImage->depth & DAX_DEPTH_SIGN"}));
    src->depth = DAX_DEPTH_8U;
    dst->dataOrder = 0;
    daxSetErrStatus(DAX_StatusBadArgument);
    daxRotate(src, dst, 100, 0, 0, 0, nullptr);
    daxRotate(src, dst, 0, 0, 0, 0, nullptr);
    EXPECT_EQ(byteDifference(dst, before), "");
    daxRotate(nullptr, dst, 100, 0, 0, 0, nullptr);
    EXPECT_EQ(reports.take().size(), 1u);
}

} // namespace
