// Rotates about a centre. Of each destination row the stretch that has places in the source is
// found first, and the rest cleared, so that no pixel is tested by itself. Quarter turns move
// samples.

#include "geometry/daxRotat.h"

#include "frame/border.h"
#include "frame/call.h"
#include "frame/depth.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/planeview.h"
#include "frame/planewalk.h"
#include "geometry/bits.h"
#include "geometry/blocks.h"
#include "geometry/daxmirr.h"
#include "geometry/nearest.h"

#include <cstring>

namespace {

constexpr OwnCall call = {"daxRotate", "daxRotat"};

constexpr int32_t unitBits = 14;
constexpr double unit = 16384;
constexpr double tolerance = 0.00001;

struct Rotation {
    int32_t angle; // 1 to 35999 hundredths of a degree
    int64_t xCenter;
    int64_t yCenter;
    int32_t interpolate;
};

// Source places of destination ones: (c X - s Y + tx, s X + c Y + ty), in single precision.
struct Mapping {
    float c;
    float s;
    float tx;
    float ty;
};

Mapping mappingOf(const Rotation& rotation) {
    constexpr long double pi = 3.14159265358979323846264338327950288L;
    const long double a = rotation.angle * 0.01L * (1.0L / 180) * pi;
    const long double c = cosl(a);
    const long double s = sinl(a);
    const auto x = static_cast<long double>(rotation.xCenter);
    const auto y = static_cast<long double>(rotation.yCenter);
    const long double half = rotation.interpolate == DAX_INTER_NN ? 0.5L : 0;
    return {static_cast<float>(c), static_cast<float>(s),
            static_cast<float>(x + s * y - c * x + half),
            static_cast<float>(y - c * y - s * x + half)};
}

// Destination columns, counted from the block's first.
struct Stretch {
    ptrdiff_t begin;
    ptrdiff_t end;

    ptrdiff_t size() const { return end - begin; }
};

// The first place of a stretch from which on a test holds. `guess` is where the places' arithmetic
// puts it, which may be a place off.
template <class Test> ptrdiff_t firstThat(const Stretch& in, double guess, Test test) {
    ptrdiff_t n = guess <= static_cast<double>(in.begin) ? in.begin
                  : guess >= static_cast<double>(in.end) ? in.end
                                                         : static_cast<ptrdiff_t>(guess);
    while (n > in.begin && test(n - 1)) --n;
    while (n < in.end && !test(n)) ++n;
    return n;
}

// One source coordinate along a destination row: `first` at the block's first column, and `step`,
// which isn't 0, more at each of the next.
struct Course {
    double first;
    double step;
    double most; // the greatest in the source; the least is 0

    // Narrows a stretch to where the coordinate is neither below nor above the source.
    template <class Below, class Above>
    void narrow(Stretch* stretch, Below below, Above above) const {
        const bool upwards = step > 0;
        const double entry = ((upwards ? 0 : most) - first) / step;
        const double exit = ((upwards ? most : 0) - first) / step;
        stretch->begin = firstThat(*stretch, entry,
                                   [&](ptrdiff_t n) { return upwards ? !below(n) : !above(n); });
        stretch->end =
            firstThat(*stretch, exit, [&](ptrdiff_t n) { return upwards ? above(n) : below(n); });
    }
};

// The part of a block of destination places that a quarter turn fills.
struct Bounds {
    int64_t left;
    int64_t right;
    int64_t top;
    int64_t bottom;
};

class Rotated {
public:
    Rotated(const DaxImage* srcImage, DaxImage* dstImage, const Rotation& theRotation)
        : destination(dstImage), rotation(theRotation), bytes(ownDepthBits(srcImage->depth) / 8),
          X0(ownRoiX(srcImage)), Y0(ownRoiY(srcImage)) {
        DaxPlaneView src;
        ownPlaneView(srcImage, &src);
        ownPlaneView(dstImage, &to);
        if (src.pixelStep != to.pixelStep) return;
        const int32_t srcWidth = srcImage->roi != nullptr ? srcImage->roi->width : srcImage->width;
        const int32_t srcHeight =
            srcImage->roi != nullptr ? srcImage->roi->height : srcImage->height;
        width = srcWidth < to.viewWidth ? srcWidth : to.viewWidth;
        height = srcHeight < to.viewHeight ? srcHeight : to.viewHeight;
        const bool pixels = srcImage->dataOrder == DAX_DATA_PIXEL;
        channels = pixels ? to.pixelStep : 1;
        planes = pixels ? 1 : to.pixelStep;
        pixelDst = pixels ? dstImage->nChannels : 1;
        srcPlaneStep = src.planeStep;
        // In plane order the first plane is read, whatever the channel of interest.
        const int32_t channel = pixels && ownCoi(srcImage) > 1 ? ownCoi(srcImage) - 1 : 0;
        from = {static_cast<const char*>(srcImage->imageData) + channel * bytes,
                static_cast<int32_t>(src.rowStep),
                pixels ? srcImage->nChannels : 1,
                static_cast<int32_t>(channels),
                srcImage->width - 1,
                srcImage->height - 1};
        bitDst = bytes == 0 ? ownRoiX(dstImage) : 0;
    }

    void run() {
        if (width <= 0 || height <= 0) return;
        if (rotation.angle % 9000 == 0) {
            quarterTurns();
            return;
        }
        for (ptrdiff_t plane = 0; plane < planes; ++plane) {
            OwnTurned src = from;
            src.data += plane * srcPlaneStep;
            char* dst = to.rowStart + plane * to.planeStep;
            if (bytes == 2 || rotation.interpolate == DAX_INTER_CUBIC)
                realRows(src, dst);
            else
                fixedRows(src, dst);
        }
    }

private:
    // Rows in bands, and bands in short runs, so that runs find the source's cache lines that their
    // neighbours fetched. `stretchOf(row)` is what of a row has places in the source, and
    // `rotate(row, at, stretch)` fills a run of it.
    template <class StretchOf, class Rotate>
    void eachRun(char* dst, StretchOf stretchOf, Rotate rotate) const {
        constexpr ptrdiff_t bandRows = 1024;
        Stretch stretches[bandRows];
        for (ptrdiff_t top = 0; top < height; top += bandRows) {
            const ptrdiff_t bottom = top + bandRows < height ? top + bandRows : height;
            Stretch band = {width, 0};
            for (ptrdiff_t row = top; row < bottom; ++row) {
                const Stretch stretch = stretchOf(row);
                stretches[row - top] = stretch;
                char* at = dst + row * to.rowStep;
                clear(at, 0, stretch.begin);
                clear(at, stretch.end, width);
                if (stretch.size() <= 0) continue;
                if (stretch.begin < band.begin) band.begin = stretch.begin;
                if (stretch.end > band.end) band.end = stretch.end;
            }
            for (ptrdiff_t begin = band.begin; begin < band.end; begin += ownTurnedRun)
                for (ptrdiff_t row = top; row < bottom; ++row) {
                    Stretch run = stretches[row - top];
                    if (run.begin < begin) run.begin = begin;
                    if (run.end > begin + ownTurnedRun) run.end = begin + ownTurnedRun;
                    if (run.size() > 0) rotate(row, dst + row * to.rowStep, run);
                }
        }
    }

    // In steps of 1/16384: all of the bitonal depth, and nearest neighbour and linear of 8 bits.
    void fixedRows(OwnTurned src, char* dst) const {
        const Mapping mapping = mappingOf(rotation);
        const auto fixed = [](float value) {
            const int64_t whole = ownNearest(value * unit);
            return whole > INT32_MAX ? INT32_MAX : whole < INT32_MIN ? INT32_MIN : whole;
        };
        const int64_t c = fixed(mapping.c);
        const int64_t s = fixed(mapping.s);
        const int64_t tx = fixed(mapping.tx);
        const int64_t ty = fixed(mapping.ty);
        // Places beyond have no room in 32 bits.
        constexpr int32_t last = (INT32_MAX >> unitBits) - 1;
        if (src.maxX > last) src.maxX = last;
        if (src.maxY > last) src.maxY = last;
        // The last place itself for linear, and up to its end for nearest neighbour.
        const bool linear = rotation.interpolate == DAX_INTER_LINEAR;
        const auto limitOf = [&](int32_t place) {
            return linear ? int64_t{place} << unitBits : ((int64_t{place} + 1) << unitBits) - 1;
        };
        const int64_t limitX = limitOf(src.maxX);
        const int64_t limitY = limitOf(src.maxY);
        const auto xAt = [&](ptrdiff_t row, ptrdiff_t n) {
            return (X0 + n) * c - (Y0 + row) * s + tx;
        };
        const auto yAt = [&](ptrdiff_t row, ptrdiff_t n) {
            return (X0 + n) * s + (Y0 + row) * c + ty;
        };
        const auto stretchOf = [&](ptrdiff_t row) {
            Stretch stretch = {0, width};
            const auto narrow = [&](int64_t first, int64_t step, int64_t limit) {
                const Course course = {static_cast<double>(first), static_cast<double>(step),
                                       static_cast<double>(limit)};
                course.narrow(
                    &stretch, [&](ptrdiff_t n) { return first + n * step < 0; },
                    [&](ptrdiff_t n) { return first + n * step > limit; });
            };
            narrow(xAt(row, 0), c, limitX);
            narrow(yAt(row, 0), s, limitY);
            return stretch;
        };
        const auto& rows = ownRows<OwnRotate>();
        eachRun(dst, stretchOf, [&](ptrdiff_t row, char* at, const Stretch& run) {
            const OwnFixedPlaces places = {static_cast<int32_t>(xAt(row, run.begin)),
                                           static_cast<int32_t>(yAt(row, run.begin)),
                                           static_cast<int32_t>(c), static_cast<int32_t>(s)};
            const ptrdiff_t bit = bitDst + run.begin;
            char* first = at + run.begin * pixelDst * bytes;
            if (bytes == 0)
                rows.nearest1(src, places, at + (bit >> 3), static_cast<int32_t>(bit & 7),
                              run.size());
            else if (linear)
                rows.linear8(src, places, first, pixelDst, run.size());
            else
                rows.nearest8(src, places, first, pixelDst, run.size());
        });
    }

    // In double precision: all of 16 bits, and the cubic of 8 bits.
    void realRows(const OwnTurned& src, char* dst) const {
        const Mapping mapping = mappingOf(rotation);
        const bool nearest = rotation.interpolate == DAX_INTER_NN;
        const auto& rows = ownRows<OwnRotate>();
        const auto rowKernel = nearest                                    ? rows.nearest16
                               : rotation.interpolate == DAX_INTER_LINEAR ? rows.linear16
                                                                          : rows.cubic[bytes - 1];
        const auto placesOf = [&](ptrdiff_t row) {
            const auto Y = static_cast<double>(Y0 + row);
            return OwnRealPlaces{mapping.c,     mapping.s,  mapping.s * Y,
                                 mapping.c * Y, mapping.tx, mapping.ty};
        };
        const auto below = [nearest](double place) {
            return nearest ? place < -tolerance : place <= -tolerance;
        };
        const auto above = [nearest](double place, int32_t most) {
            return nearest ? ownNearestWhole(place + tolerance - 0.5) > most : place > most;
        };
        const auto stretchOf = [&](ptrdiff_t row) {
            const OwnRealPlaces places = placesOf(row);
            const auto columnOf = [&](ptrdiff_t n) { return static_cast<double>(X0 + n); };
            Stretch stretch = {0, width};
            const auto narrow = [&](double step, int32_t most, auto at) {
                const Course course = {at(0), step, static_cast<double>(most) + (nearest ? 1 : 0)};
                course.narrow(
                    &stretch, [&](ptrdiff_t n) { return below(at(n)); },
                    [&](ptrdiff_t n) { return above(at(n), most); });
            };
            narrow(places.c, src.maxX, [&](ptrdiff_t n) { return places.x(columnOf(n)); });
            narrow(places.s, src.maxY, [&](ptrdiff_t n) { return places.y(columnOf(n)); });
            return stretch;
        };
        eachRun(dst, stretchOf, [&](ptrdiff_t row, char* at, const Stretch& run) {
            rowKernel(src, placesOf(row), X0 + run.begin, at + run.begin * pixelDst * bytes,
                      pixelDst * bytes, run.size());
        });
    }

    void clear(char* row, ptrdiff_t begin, ptrdiff_t end) const {
        if (begin >= end) return;
        if (bytes == 0)
            ownFillBits(false, row, bitDst + begin, end - begin);
        else if (channels == pixelDst)
            memset(row + begin * pixelDst * bytes, 0,
                   static_cast<size_t>((end - begin) * pixelDst * bytes));
        else
            ownStridedMovers(bytes).fill(0, row + begin * pixelDst * bytes, pixelDst * bytes,
                                         end - begin);
    }

    // Where the source image comes to lie in destination places.
    Bounds turnedSource() const {
        const int64_t x = rotation.xCenter;
        const int64_t y = rotation.yCenter;
        switch (rotation.angle) {
        case 9000: return {x - y, x + from.maxY - y, x + y - from.maxX, x + y};
        case 18000: return {2 * x - from.maxX, 2 * x, 2 * y - from.maxY, 2 * y};
        default: return {x + y - from.maxY, x + y, y - x, from.maxX + y - x};
        }
    }

    // The source place of a destination place.
    void turned(int64_t X, int64_t Y, int64_t* x, int64_t* y) const {
        const int64_t xc = rotation.xCenter;
        const int64_t yc = rotation.yCenter;
        switch (rotation.angle) {
        case 9000: *x = xc + yc - Y, *y = yc - xc + X; break;
        case 18000: *x = 2 * xc - X, *y = 2 * yc - Y; break;
        default: *x = xc - yc + Y, *y = xc + yc - X; break;
        }
    }

    void quarterTurns() {
        const Bounds block = {X0, X0 + width - 1, Y0, Y0 + height - 1};
        const Bounds source = turnedSource();
        const Bounds both = {block.left > source.left ? block.left : source.left,
                             block.right < source.right ? block.right : source.right,
                             block.top > source.top ? block.top : source.top,
                             block.bottom < source.bottom ? block.bottom : source.bottom};
        if (both.left > both.right || both.top > both.bottom) {
            clearPlaces(block);
            return;
        }
        clearPlaces({block.left, block.right, block.top, both.top - 1});
        clearPlaces({block.left, block.right, both.bottom + 1, block.bottom});
        clearPlaces({block.left, both.left - 1, both.top, both.bottom});
        clearPlaces({both.right + 1, block.right, both.top, both.bottom});
        movePlaces(both);
    }

    void clearPlaces(const Bounds& places) {
        if (places.left > places.right || places.top > places.bottom) return;
        DaxROI* const callersRoi = destination->roi;
        DaxROI roi = {ownCoi(destination),
                      ownRoiX(destination) + static_cast<int32_t>(places.left - X0),
                      ownRoiY(destination) + static_cast<int32_t>(places.top - Y0),
                      static_cast<int32_t>(places.bottom - places.top + 1),
                      static_cast<int32_t>(places.right - places.left + 1)};
        destination->roi = &roi;
        daxSet(destination, 0, nullptr);
        destination->roi = callersRoi;
    }

    void movePlaces(const Bounds& places) const {
        int64_t x = 0;
        int64_t y = 0;
        turned(places.left, places.top, &x, &y);
        const ptrdiff_t column = places.left - X0;
        const ptrdiff_t count = places.right - places.left + 1;
        const ptrdiff_t rows = places.bottom - places.top + 1;
        const ptrdiff_t bit = bitDst + column;
        const ptrdiff_t pixelBytes = channels * bytes;
        const ptrdiff_t stepSrc = from.pixel * bytes;
        const ptrdiff_t stepDst = pixelDst * bytes;
        const ptrdiff_t down = rotation.angle == 9000 ? 1 : -1; // along a destination row
        for (ptrdiff_t plane = 0; plane < planes; ++plane) {
            const char* src = from.data + plane * srcPlaneStep + y * from.rowStep + x * stepSrc;
            char* dst = to.rowStart + plane * to.planeStep + (places.top - Y0) * to.rowStep +
                        column * stepDst;
            if (rotation.angle != 18000 && bytes == 0)
                ownRows<OwnBits>().turn({src + (x >> 3), x & 7, down * from.rowStep, -down,
                                         dst + (bit >> 3), bit & 7, to.rowStep, count, rows});
            else if (rotation.angle != 18000)
                ownRows<OwnRotate>().turn(src, down * from.rowStep, -down * stepSrc, dst,
                                          to.rowStep, stepDst, pixelBytes, count, rows);
            else if (bytes == 0)
                ownMoveBitRows(true, src, x - (count - 1), -from.rowStep, dst, bit, to.rowStep,
                               count, rows);
            else
                for (ptrdiff_t row = 0; row < rows; ++row)
                    moveBackwards(src - row * from.rowStep, dst + row * to.rowStep, count);
        }
    }

    // A row of a half turn, from its last source pixel.
    void moveBackwards(const char* src, char* dst, ptrdiff_t count) const {
        const ptrdiff_t pixelBytes = channels * bytes;
        const ptrdiff_t stepSrc = from.pixel * bytes;
        if (stepSrc == pixelBytes && pixelDst == channels)
            ownRows<OwnMirror>().reverse(src - (count - 1) * stepSrc, dst, pixelBytes, count);
        else
            ownStridedMovers(bytes).copy(src, -stepSrc, dst, pixelDst * bytes, count);
    }

    DaxImage* const destination;
    const Rotation rotation;
    const ptrdiff_t bytes; // of a sample; 0 for bits
    const int64_t X0;      // the place of the block's first pixel
    const int64_t Y0;
    DaxPlaneView to;
    OwnTurned from = {};
    ptrdiff_t width = 0;
    ptrdiff_t height = 0;
    ptrdiff_t channels = 0; // of a pixel, to work on
    ptrdiff_t planes = 0;
    ptrdiff_t pixelDst = 0; // samples from one pixel to the next
    ptrdiff_t srcPlaneStep = 0;
    ptrdiff_t bitDst = 0;
};

void ownRotateBlock(const DaxImage* srcImage, DaxImage* dstImage, const Rotation& rotation) {
    Rotated(srcImage, dstImage, rotation).run();
}

// The least and the greatest of what four corners come to in one source coordinate.
struct Reach {
    int64_t least;
    int64_t most;
};

Reach reachOf(double a, double b, double offset, int64_t x0, int64_t x1, int64_t y0, int64_t y1) {
    Reach reach = {INT64_MAX, INT64_MIN};
    const int64_t columns[] = {x0, x1};
    const int64_t rows[] = {y0, y1};
    for (const int64_t x : columns)
        for (const int64_t y : rows) {
            const double at = a * static_cast<double>(x) + b * static_cast<double>(y) + offset;
            const int64_t whole = ownFloor(at);
            if (whole < reach.least) reach.least = whole;
            if (whole > reach.most) reach.most = whole;
        }
    return reach;
}

// A block from a copy of what it needs of a tiled source; false when that can't be had.
bool rotateFromCopy(DaxImage* srcImage, DaxImage* dstImage, const Rotation& rotation,
                    const OwnTileShare& shareX, const OwnTileShare& shareY) {
    if (shareX.size <= 0 || shareY.size <= 0) return true;
    const Mapping m = mappingOf(rotation);
    const int64_t x0 = int64_t{ownRoiX(srcImage)} + shareX.before;
    const int64_t y0 = int64_t{ownRoiY(srcImage)} + shareY.before;
    const int64_t x1 = x0 + shareX.size - 1;
    const int64_t y1 = y0 + shareY.size - 1;
    Reach x = reachOf(m.c, -m.s, m.tx, x0, x1, y0, y1);
    Reach y = reachOf(m.s, m.c, m.ty, x0, x1, y0, y1);
    if (x.least >= srcImage->width || x.most < 0 || y.least >= srcImage->height || y.most < 0) {
        daxSet(dstImage, 0, nullptr);
        return true;
    }
    // More than any interpolation needs.
    const auto grow = [](Reach* reach, int32_t size) {
        reach->least = reach->least > 3 ? reach->least - 3 : 0;
        reach->most = reach->most < size - 4 ? reach->most + 3 : size - 1;
    };
    grow(&x, srcImage->width);
    grow(&y, srcImage->height);
    const auto left = static_cast<int32_t>(x.least);
    const auto top = static_cast<int32_t>(y.least);
    int32_t step = 0;
    DaxImage header = *srcImage;
    header.width = static_cast<int32_t>(x.most - x.least + 1);
    header.height = static_cast<int32_t>(y.most - y.least + 1);
    OwnBuffer<char> rectangle;
    rectangle.reset(ownBorderRect(srcImage, left, top, header.width, header.height, &step));
    if (!rectangle || daxGetErrStatus() < 0) return false;
    DaxROI roi = {ownCoi(srcImage), ownPlace(x0 - left), ownPlace(y0 - top), shareY.size,
                  shareX.size};
    header.widthStep = step;
    header.tileInfo = nullptr;
    header.roi = &roi;
    header.imageData = rectangle.get();
    Rotation moved = rotation;
    moved.xCenter -= left;
    moved.yCenter -= top;
    ownRotateBlock(&header, dstImage, moved);
    return true;
}

void rotateToTiles(DaxImage* srcImage, DaxImage* dstImage, const Rotation& rotation,
                   const int32_t* tilePos) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (ownTileWalkOf(srcImage, dstImage, &walk) == 0 || !ownTileSpan(walk, tilePos, &span)) return;
    DaxROI* const callersRoi = srcImage->roi;
    const int32_t srcX = ownRoiX(srcImage);
    const int32_t srcY = ownRoiY(srcImage);
    DaxROI roi = {ownCoi(srcImage), srcX, srcY, walk.walkHeight, walk.walkWidth};
    srcImage->roi = &roi;
    ownEachTile(call, dstImage, walk, span, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                [&](const OwnTileShare& x, const OwnTileShare& y, DaxImage* tile) {
                    roi.xOffset = ownPlace(int64_t{srcX} + x.before);
                    roi.yOffset = ownPlace(int64_t{srcY} + y.before);
                    ownRotateBlock(srcImage, tile, rotation);
                    return true;
                });
    srcImage->roi = callersRoi;
}

void rotateTilesToTiles(DaxImage* srcImage, DaxImage* dstImage, const Rotation& rotation,
                        const int32_t* tilePos) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (ownTileWalkOf(srcImage, dstImage, &walk) == 0 || !ownTileSpan(walk, tilePos, &span)) return;
    ownEachTile(call, dstImage, walk, span, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                [&](const OwnTileShare& x, const OwnTileShare& y, DaxImage* tile) {
                    return rotateFromCopy(srcImage, tile, rotation, x, y);
                });
}

} // namespace

void daxRotate(DaxImage* srcImage, DaxImage* dstImage, int32_t angle, int32_t xCenter,
               int32_t yCenter, int32_t interpolate, const int32_t* tilePos) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    ownCheckCompatible(srcImage, dstImage, call.funcName, call.module, __builtin_LINE());
    if (call.rejects(srcImage->origin != dstImage->origin, "srcImage->origin != dstImage->origin"))
        return;
    const bool isSigned = (srcImage->depth & INT32_MIN) != 0;
    call.rejects(isSigned, "srcImage->depth & DAX_DEPTH_SIGN");
    if (daxGetErrStatus() < 0) return;
    // A reporter that clears the status lets images through that don't fit.
    if (isSigned || srcImage->depth != dstImage->depth ||
        srcImage->dataOrder != dstImage->dataOrder)
        return;

    Rotation rotation = {angle % 36000, xCenter, yCenter, interpolate};
    if (rotation.angle < 0) rotation.angle += 36000;
    if (rotation.angle == 0) {
        daxCopy(srcImage, dstImage, tilePos);
        if (daxGetErrStatus() < 0) call.report(DAX_StatusBacktrace, "");
        return;
    }
    const int32_t least = srcImage->width < srcImage->height ? srcImage->width : srcImage->height;
    if (srcImage->depth == DAX_DEPTH_1U || least < 2)
        rotation.interpolate = DAX_INTER_NN;
    else if (interpolate == DAX_INTER_CUBIC && least < 4)
        rotation.interpolate = DAX_INTER_LINEAR;
    // Other values are not refused, but name no interpolation.
    if (rotation.angle % 9000 != 0 && rotation.interpolate != DAX_INTER_NN &&
        rotation.interpolate != DAX_INTER_LINEAR && rotation.interpolate != DAX_INTER_CUBIC)
        return;

    const bool fromBottom = srcImage->origin == DAX_ORIGIN_BOTTOM_LEFT;
    if (fromBottom) {
        rotation.angle = 36000 - rotation.angle;
        rotation.yCenter = int64_t{srcImage->height} - 1 - yCenter;
        srcImage->origin = dstImage->origin = DAX_ORIGIN_TOP_LEFT;
    }
    if (dstImage->tileInfo != nullptr && srcImage->tileInfo != nullptr)
        rotateTilesToTiles(srcImage, dstImage, rotation, tilePos);
    else if (srcImage->tileInfo != nullptr)
        ownEachBlock(
            dstImage,
            [&](DaxTileWalk* walk) { return ownTileWalkOf(srcImage, dstImage, walk) != 0; },
            [&](const OwnTileShare& x, const OwnTileShare& y, DaxImage* block) {
                return rotateFromCopy(srcImage, block, rotation, x, y);
            });
    else if (dstImage->tileInfo != nullptr)
        rotateToTiles(srcImage, dstImage, rotation, tilePos);
    else
        ownRotateBlock(srcImage, dstImage, rotation);
    if (fromBottom) srcImage->origin = dstImage->origin = DAX_ORIGIN_BOTTOM_LEFT;
}
