// Point samples of a source at places in steps of 1/256, all in integers. Along an axis with a
// whole factor samples are taken as they are; along the others places lie 1/256 below the exact
// ones, except that a start at 0 is the sample there.

#include "geometry/owndecim.h"

#include "frame/call.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"
#include "geometry/daxZoom.h"

namespace {

constexpr OwnCall call = {"daxDecimate", "owndecim"};

constexpr int32_t unitBits = 8;

// The places of one axis, from `start` up to `end`.
struct Axis {
    int64_t start;
    int64_t end;
    int64_t step;
    bool between; // places between samples count

    // The first sample of an axis that starts at 0 is taken in any case.
    int64_t count() const {
        const int64_t places = end > start ? (end - start + step - 1) / step : 0;
        return places == 0 && isPlain(0) && between ? 1 : places;
    }
    bool isPlain(int64_t k) const { return !between || (start == 0 && k == 0); }
    int64_t place(int64_t k) const { return start + k * step - (isPlain(k) ? 0 : 1); }
    int64_t sample(int64_t k) const { return place(k) >> unitBits; }
    int32_t part(int64_t k) const { return static_cast<int32_t>(place(k) & 255); }
    // The same places, counted from a sample.
    Axis from(int64_t sample) const {
        const int64_t by = sample << unitBits;
        return {start - by, end - by, step, between};
    }
};

// A range of the destination places of an axis.
struct Range {
    int64_t begin;
    int64_t end;
};

// Samples in memory, by their distances in bytes; for a source, with the place of its first sample
// in the image and with all that may be read.
struct Layout {
    char* data;
    ptrdiff_t channelStep;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
    ptrdiff_t size;
};

Layout layoutOf(const DaxImage* image, void* data, ptrdiff_t rowStep, int64_t width,
                int64_t height) {
    const ptrdiff_t bytes = ownDepthBits(image->depth) / 8;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    return {static_cast<char*>(data),
            pixels ? bytes : rowStep * height,
            rowStep,
            pixels ? bytes * image->nChannels : bytes,
            0,
            0,
            width,
            height,
            rowStep * height * (pixels ? 1 : image->nChannels)};
}

Layout layoutOf(const DaxImage* image) {
    return layoutOf(image, image->imageData, image->widthStep, image->width, image->height);
}

Layout tileLayout(const DaxImage* image, void* data) {
    DaxImage header;
    ownTileHeader(image, &header);
    return layoutOf(&header, data, header.widthStep, header.width, header.height);
}

// What a call asks for. The bitonal depth takes single bits whatever the scheme, which still
// decides on the places and on how tiles are gathered.
struct Job {
    int32_t depth;
    int32_t scheme;
    int32_t channelSrc;
    int32_t channelDst;
    int32_t channels;
};

// Works destination places off one source in memory.
class Worker {
public:
    // `bitDst` is of use in the bitonal depth alone; places count from `destination.data`.
    Worker(const Job& theJob, const Layout& theSource, const Layout& theDestination, int32_t bit,
           const Axis& axisX, const Axis& axisY)
        : job(theJob), src(theSource), dst(theDestination), bitDst(bit), x(axisX), y(axisY),
          bytes(ownDepthBits(job.depth) / 8) {}

    void run(const Range& columns, const Range& rows) const {
        for (int32_t c = 0; c < job.channels; ++c)
            for (int64_t first = columns.begin; first < columns.end; first += strip)
                runStrip(c, {first, first + strip < columns.end ? first + strip : columns.end},
                         rows);
    }

private:
    static constexpr ptrdiff_t strip = 1024; // columns

    struct Taps {
        int32_t at[strip];
        int32_t part[strip];
        ptrdiff_t plain; // that many at the left are samples as they are
        ptrdiff_t count;
    };

    int32_t tapCount(bool between) const {
        return !between ? 1 : job.scheme == DAX_INTER_CUBIC ? 4 : 2;
    }
    // Before the sample at a place.
    int32_t tapsBefore(bool between) const {
        return between && job.scheme == DAX_INTER_CUBIC ? 1 : 0;
    }

    void runStrip(int32_t c, const Range& columns, const Range& rows) const {
        Taps taps;
        taps.count = columns.end - columns.begin;
        taps.plain = !x.between ? taps.count : columns.begin == 0 && x.isPlain(0) ? 1 : 0;
        for (ptrdiff_t i = 0; i < taps.count; ++i) {
            const int64_t k = columns.begin + i;
            const int64_t sample = x.sample(k) - src.x - tapsBefore(i >= taps.plain);
            taps.at[i] = static_cast<int32_t>(bytes == 0 ? sample : sample * src.pixelStep);
            taps.part[i] = x.part(k);
        }
        for (int64_t k = rows.begin; k < rows.end; ++k) {
            char* to = dst.data + (job.channelDst + c) * dst.channelStep + k * dst.rowStep;
            if (bytes == 0 || job.scheme == DAX_INTER_NN) {
                pickRow(taps, rowAt(c, y.sample(k) - src.y), to, columns.begin);
                continue;
            }
            to += columns.begin * dst.pixelStep;
            mix(c, taps, {0, taps.plain}, k, to);
            mix(c, taps, {taps.plain, taps.count}, k, to);
        }
    }

    char* rowAt(int32_t c, int64_t row) const {
        return src.data + (job.channelSrc + c) * src.channelStep + row * src.rowStep;
    }

    void pickRow(const Taps& taps, const char* row, char* to, int64_t first) const {
        if (bytes == 0) {
            const ptrdiff_t bit = bitDst + first;
            ownRows<OwnZoom>().pickBits(row, 0, taps.at, to + (bit >> 3),
                                        static_cast<int32_t>(bit & 7), taps.count);
            return;
        }
        to += first * dst.pixelStep;
        if ((x.step & 255) == 0) {
            ownRows<OwnDecimate>().pick[bytes - 1](row + taps.at[0],
                                                   (x.step >> unitBits) * src.pixelStep, to,
                                                   dst.pixelStep, taps.count);
        } else {
            ownRows<OwnZoom>().pick[bytes - 1](row, 1, taps.at, to, dst.pixelStep, 1, taps.count);
        }
    }

    // A part of a strip, of columns that are all samples or all between them.
    void mix(int32_t c, const Taps& taps, const Range& part, int64_t k, char* to) const {
        constexpr ptrdiff_t block = 256;
        const bool betweenX = part.begin >= taps.plain;
        const bool betweenY = !y.isPlain(k);
        const int64_t firstRow = y.sample(k) - src.y - tapsBefore(betweenY);
        const auto& kernels = ownRows<OwnDecimate>();
        const auto take = !betweenX                       ? kernels.take[bytes - 1]
                          : job.scheme == DAX_INTER_CUBIC ? kernels.takeCubic[bytes - 1]
                                                          : kernels.takeLinear[bytes - 1];
        const auto combine = job.scheme == DAX_INTER_CUBIC ? kernels.mixCubic[bytes - 1]
                                                           : kernels.mixLinear[bytes - 1];
        for (ptrdiff_t from = part.begin; from < part.end; from += block) {
            const ptrdiff_t count = part.end - from < block ? part.end - from : block;
            const OwnDecimateTaps some = {taps.at + from, taps.part + from, src.pixelStep, count};
            int32_t lanes[4][block];
            const int32_t* rows[4];
            for (int32_t r = 0; r < 4; ++r) {
                rows[r] = lanes[r < tapCount(betweenY) ? r : 0];
                if (r < tapCount(betweenY))
                    takeSafely(c, some, betweenX, firstRow + r, take, lanes[r]);
            }
            // Without a part, what the one row gives goes through unmixed.
            const int32_t partY = betweenY ? y.part(k) : 0;
            combine(rows, partY, betweenX, to + from * dst.pixelStep, dst.pixelStep, count);
        }
    }

    // A cubic at the very edge asks for samples beside the row: these are read where they lie, next
    // to it in memory, and outside of the memory the nearest of the image.
    void takeSafely(int32_t c, const OwnDecimateTaps& taps, bool between, int64_t row,
                    void (*take)(const char*, const OwnDecimateTaps&, int32_t*),
                    int32_t* lane) const {
        const char* at = rowAt(c, row);
        const ptrdiff_t last =
            taps.at[taps.count - 1] + (tapCount(between) - 1) * src.pixelStep + bytes;
        const ptrdiff_t begin = at - src.data;
        if (begin + taps.at[0] >= 0 && begin + last <= src.size) {
            take(at, taps, lane);
            return;
        }
        const int64_t insideRow = row < 0 ? 0 : row >= src.height ? src.height - 1 : row;
        for (ptrdiff_t i = 0; i < taps.count; ++i) {
            char samples[4 * sizeof(uint16_t)];
            for (int32_t t = 0; t < tapCount(between); ++t) {
                const ptrdiff_t offset = taps.at[i] + t * src.pixelStep;
                const char* from = at + offset;
                if (begin + offset < 0 || begin + offset + bytes > src.size) {
                    const ptrdiff_t most = (src.width - 1) * src.pixelStep;
                    from = rowAt(c, insideRow) + (offset < 0 ? 0 : offset > most ? most : offset);
                }
                ownCopyRow(from, samples + t * bytes, bytes);
            }
            const int32_t none = 0;
            take(samples, {&none, taps.part + i, bytes, 1}, lane + i);
        }
    }

    const Job& job;
    const Layout& src;
    const Layout& dst;
    const int32_t bitDst;
    const Axis& x;
    const Axis& y;
    const ptrdiff_t bytes;
};

// The destination places of one axis whose samples lie in a stretch of the source.
Range placesIn(const Axis& axis, int64_t count, int64_t begin, int64_t end) {
    const auto before = [&](int64_t sample) {
        const int64_t rest = (sample << unitBits) - axis.start;
        const int64_t places = rest <= 0 ? 0 : (rest + axis.step - 1) / axis.step;
        return places < count ? places : count;
    };
    return {before(begin), before(end)};
}

// The tiles of the source that an axis needs.
struct Tiles {
    int32_t first;
    int32_t last;
};

class Decimation {
public:
    Decimation(DaxImage* srcImage, const Job& theJob) : source(srcImage), job(theJob) {}

    // One block of the destination; false when a tile of the source couldn't be had.
    bool run(const Layout& dst, int32_t bitDst, const Axis& x, const Axis& y, int64_t roomX,
             int64_t roomY) const {
        const int64_t columns = x.count() < roomX ? x.count() : roomX;
        const int64_t rows = y.count() < roomY ? y.count() : roomY;
        if (columns <= 0 || rows <= 0) return true;
        if (source->tileInfo == nullptr) {
            const Layout src = layoutOf(source);
            Worker(job, src, dst, bitDst, x, y).run({0, columns}, {0, rows});
            return true;
        }
        return job.scheme == DAX_INTER_NN ? gatherNearest(dst, bitDst, x, y, columns, rows)
                                          : gatherMargin(dst, bitDst, x, y, columns, rows);
    }

private:
    static int32_t tileOf(int64_t place, int32_t tileSize) {
        return static_cast<int32_t>((place >> unitBits) / tileSize);
    }

    bool gatherNearest(const Layout& dst, int32_t bitDst, const Axis& x, const Axis& y,
                       int64_t columns, int64_t rows) const {
        const int32_t width = source->tileInfo->width;
        const int32_t height = source->tileInfo->height;
        OwnTile tile(source);
        for (int32_t row = tileOf(y.start, height); row <= tileOf(y.end - 255, height); ++row) {
            for (int32_t col = tileOf(x.start, width); col <= tileOf(x.end - 255, width); ++col) {
                if (!tile.request(col, row, DAX_TILE_READ)) return false;
                Layout src = tileLayout(source, tile.data());
                src.x = int64_t{col} * width;
                src.y = int64_t{row} * height;
                Worker(job, src, dst, bitDst, x, y)
                    .run(placesIn(x, columns, src.x, src.x + width),
                         placesIn(y, rows, src.y, src.y + height));
                tile.release();
            }
        }
        return true;
    }

    bool gatherMargin(const Layout& dst, int32_t bitDst, const Axis& x, const Axis& y,
                      int64_t columns, int64_t rows) const {
        const Tiles tilesX = tilesFor(x, source->tileInfo->width);
        const Tiles tilesY = tilesFor(y, source->tileInfo->height);
        OwnBuffer<char> block;
        Layout src = {};
        if (!ownDecimateAssembleTiles(tilesX, tilesY, &block, &src)) return false;
        // Places count from the block's corner, so a start on the boundary of its first tile is
        // one at 0.
        const Axis inX = x.from(int64_t{tilesX.first} * source->tileInfo->width);
        const Axis inY = y.from(int64_t{tilesY.first} * source->tileInfo->height);
        Worker(job, src, dst, bitDst, inX, inY).run({0, columns}, {0, rows});
        return true;
    }

    Tiles tilesFor(const Axis& axis, int32_t tileSize) const {
        const bool cubic = job.scheme == DAX_INTER_CUBIC;
        const bool onBoundary = axis.start % (int64_t{tileSize} << unitBits) == 0;
        const int64_t margin = (cubic ? 2 : 1) << unitBits;
        return {tileOf(axis.start - (cubic && !onBoundary ? 8 : 0), tileSize),
                tileOf(axis.end - 1 + margin, tileSize)};
    }

    // Puts a rectangle of tiles together. Where the last column or row of them isn't there, the
    // image's edge is repeated.
    bool ownDecimateAssembleTiles(const Tiles& x, const Tiles& y, OwnBuffer<char>* block,
                                  Layout* layout) const {
        const int32_t width = source->tileInfo->width;
        const int32_t height = source->tileInfo->height;
        const bool pixels = source->dataOrder == DAX_DATA_PIXEL;
        const int64_t allWidth = int64_t{x.last - x.first + 1} * width;
        const int64_t allHeight = int64_t{y.last - y.first + 1} * height;
        const ptrdiff_t rowStep =
            allWidth * ownDepthBits(source->depth) / 8 * (pixels ? source->nChannels : 1);
        *layout = layoutOf(source, nullptr, rowStep, allWidth, allHeight);
        block->reset(ownAlloc(layout->size, 1));
        if (!*block) {
            call.report(DAX_StatusOutOfMemory, "");
            return false;
        }
        layout->data = block->get();

        OwnTile tile(source);
        const int32_t endCol = isThere(&tile, x.last, y.first) ? x.last + 1 : x.last;
        const int32_t endRow = isThere(&tile, x.first, y.last) ? y.last + 1 : y.last;
        if (endCol == x.first || endRow == y.first) return false;
        const ptrdiff_t planes = pixels ? 1 : source->nChannels;
        const bool bits = source->depth == DAX_DEPTH_1U;
        const ptrdiff_t tileBytes = bits ? width / 8 : width * layout->pixelStep;
        for (int32_t row = y.first; row < endRow; ++row) {
            for (int32_t col = x.first; col < endCol; ++col) {
                if (!tile.request(col, row, DAX_TILE_READ)) return false;
                const Layout from = tileLayout(source, tile.data());
                for (ptrdiff_t p = 0; p < planes; ++p)
                    for (ptrdiff_t k = 0; k < height; ++k)
                        ownCopyRow(from.data + p * from.channelStep + k * from.rowStep,
                                   rowOf(*layout, p, ptrdiff_t{row - y.first} * height + k) +
                                       (col - x.first) * tileBytes,
                                   tileBytes);
                tile.release();
            }
        }
        const ptrdiff_t validColumns = ptrdiff_t{endCol - x.first} * width;
        const ptrdiff_t validRows = ptrdiff_t{endRow - y.first} * height;
        for (ptrdiff_t p = 0; p < planes; ++p) {
            for (ptrdiff_t k = 0; k < validRows; ++k) {
                char* end = rowOf(*layout, p, k) + validColumns * layout->pixelStep;
                if (bits)
                    ownFillBits(ownGetBit(end, validColumns - 1), end, validColumns,
                                allWidth - validColumns);
                for (ptrdiff_t i = validColumns; !bits && i < allWidth;
                     ++i, end += layout->pixelStep)
                    ownCopyRow(end - layout->pixelStep, end, layout->pixelStep);
            }
            for (ptrdiff_t k = validRows; k < allHeight; ++k)
                ownCopyRow(rowOf(*layout, p, validRows - 1), rowOf(*layout, p, k), rowStep);
        }
        return true;
    }

    static char* rowOf(const Layout& layout, ptrdiff_t plane, ptrdiff_t row) {
        return layout.data + plane * layout.rowStep * layout.height + row * layout.rowStep;
    }

    static bool isThere(OwnTile* tile, int32_t col, int32_t row) {
        if (!tile->request(col, row, DAX_TILE_READ)) return false;
        tile->release();
        return true;
    }

    DaxImage* const source;
    const Job& job;
};

struct Size {
    int64_t width;
    int64_t height;
};

Size limitedSize(const DaxImage* image) {
    DaxRect rect;
    ownRoiRect(image, &rect);
    return {rect.width, rect.height};
}

struct Walk {
    int64_t width;
    int64_t height;
    Axis x;
    Axis y;
};

// The destination's tiles, each with its share of both axes.
void decimateToTiles(const Decimation& decimation, DaxImage* dstImage, const Walk& all,
                     const int32_t* tilePos) {
    DaxTileWalk walk;
    if (ownTileWalkSized(dstImage, static_cast<int32_t>(all.height),
                         static_cast<int32_t>(all.width), &walk) == 0)
        return;
    OwnTileSpan span = {0, walk.tileCols, 0, walk.tileRows};
    if (tilePos != nullptr) {
        const int64_t col = int64_t{tilePos[0]} - walk.firstTileCol;
        const int64_t row = int64_t{tilePos[1]} - walk.firstTileRow;
        if (col < 0 || col >= walk.tileCols || row < 0 || row >= walk.tileRows) return;
        span = {static_cast<int32_t>(col), static_cast<int32_t>(col + 1), static_cast<int32_t>(row),
                static_cast<int32_t>(row + 1)};
    }
    const auto partOf = [](const Axis& axis, const OwnTileShare& share, bool isLast) {
        Axis part = axis;
        part.start += share.before * axis.step;
        if (!isLast) part.end = part.start + share.size * axis.step;
        return part;
    };
    OwnTile tile(dstImage);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, DAX_TILE_WRITE)) {
                call.report(DAX_StatusInternalError, "dstImage->tileInfo->callBack crash");
                return;
            }
            const OwnTileShare shareX = ownTileShareX(walk, col);
            const OwnTileShare shareY = ownTileShareY(walk, row);
            Layout dst = tileLayout(dstImage, tile.data());
            dst.data += shareY.inTile * dst.rowStep + shareX.inTile * dst.pixelStep;
            if (!decimation.run(dst, shareX.inTile, partOf(all.x, shareX, col == walk.tileCols - 1),
                                partOf(all.y, shareY, row == walk.tileRows - 1),
                                walk.tileWidth - shareX.inTile, walk.tileHeight - shareY.inTile)) {
                call.report(DAX_StatusInternalError, "srcImage->tileInfo->callBack crash");
                return;
            }
            tile.release();
        }
    }
}

} // namespace

void ownDecimate(DaxImage* srcImage, DaxImage* dstImage, OwnFraction x, OwnFraction y,
                 int32_t interpolate, const int32_t* tilePos) {
    const int32_t least = srcImage->width < srcImage->height ? srcImage->width : srcImage->height;
    const int32_t depth = srcImage->depth;
    if (call.rejects(depth != DAX_DEPTH_1U && depth != DAX_DEPTH_8U && depth != DAX_DEPTH_16U,
                     "srcImage->depth is wrong"))
        return;
    Job job = {depth, interpolate, 0, 0, 0};
    if (least < 4 || (x.whole() && y.whole())) job.scheme = DAX_INTER_NN;

    const Size src = limitedSize(srcImage);
    const Size dst = limitedSize(dstImage);
    const bool nearest = job.scheme == DAX_INTER_NN;
    const auto axisOf = [nearest, depth](const OwnFraction& fraction, int32_t offset,
                                         int64_t size) {
        const int64_t gain = nearest && !fraction.whole() ? 128 : 0;
        const int64_t start = (int64_t{offset} << unitBits) + gain;
        return Axis{start, start + fraction.step() * size, fraction.step(),
                    !nearest && !fraction.whole() && depth != DAX_DEPTH_1U};
    };
    const auto reached = [](int64_t dstSize, int64_t srcSize, const OwnFraction& fraction) {
        const int64_t whole = srcSize * fraction.upper / fraction.lower;
        return dstSize < whole ? dstSize : whole;
    };
    Walk walk = {reached(dst.width, src.width, x), reached(dst.height, src.height, y), {}, {}};
    walk.x = axisOf(x, ownRoiX(srcImage), walk.width);
    walk.y = axisOf(y, ownRoiY(srcImage), walk.height);
    if (job.scheme == DAX_INTER_CUBIC && srcImage->tileInfo == nullptr) {
        const auto beyond = [](const Axis& axis, int32_t size) {
            return axis.end + 1 > int64_t{size - 1} << unitBits;
        };
        if (!y.whole() && beyond(walk.y, srcImage->height)) {
            --walk.height;
            walk.y.end -= walk.y.step;
        }
        if (!x.whole() && beyond(walk.x, srcImage->width)) {
            --walk.width;
            walk.x.end -= walk.y.step; // by the vertical step
        }
    }
    if (walk.width <= 0 || walk.height <= 0) return;

    const int32_t channelsSrc = ownWorkingChannels(srcImage);
    const int32_t channelsDst = ownWorkingChannels(dstImage);
    job.channels = channelsSrc < channelsDst ? channelsSrc : channelsDst;
    job.channelSrc = ownCoi(srcImage) != 0 ? ownCoi(srcImage) - 1 : 0;
    job.channelDst = ownCoi(dstImage) != 0 ? ownCoi(dstImage) - 1 : 0;
    const Decimation decimation(srcImage, job);
    if (dstImage->tileInfo != nullptr) {
        decimateToTiles(decimation, dstImage, walk, tilePos);
        return;
    }
    Layout to = layoutOf(dstImage);
    to.data += ownRoiY(dstImage) * to.rowStep + ownRoiX(dstImage) * to.pixelStep;
    if (!decimation.run(to, ownRoiX(dstImage), walk.x, walk.y, dst.width, dst.height))
        call.report(DAX_StatusInternalError, "srcImage->tileInfo->callBack crash");
}
