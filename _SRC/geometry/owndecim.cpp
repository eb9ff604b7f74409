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
#include "geometry/bits.h"
#include "geometry/picks.h"

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
        if (bytes == 0) {
            pickBits(columns, rows);
            return;
        }
        // Pixels that lie side by side in both images go whole.
        const bool whole = job.channels <= wholeChannels && src.channelStep == bytes &&
                           src.pixelStep == job.channels * bytes && dst.channelStep == bytes &&
                           dst.pixelStep == src.pixelStep;
        const ptrdiff_t samples = whole ? job.channels : 1;
        const bool nearest = job.scheme == DAX_INTER_NN;
        // Windows need room by how far the places of neighbours lie apart.
        int64_t strip = nearest ? mostPicks : mostSamples;
        const int64_t apart = (x.step >> unitBits) * (whole ? 1 : src.pixelStep / bytes) + 2;
        const int64_t room = OwnPicks::mostBytes / bytes / apart;
        strip = (room < 128 ? 128 : room < strip ? room : strip) / samples;
        for (int32_t c = 0; c < (whole ? 1 : job.channels); ++c)
            for (int64_t first = columns.begin; first < columns.end; first += strip) {
                const int64_t rest = columns.end - first;
                const Range part = {first, first + (rest < strip ? rest : strip)};
                nearest ? pick(c, samples, part, rows) : mix(c, samples, part, rows);
            }
    }

private:
    static constexpr int32_t wholeChannels = 16;
    static constexpr ptrdiff_t mostPicks = 4096; // samples, in strips of columns
    static constexpr ptrdiff_t mostSamples = 2048;

    int32_t tapCount(bool between) const {
        return !between ? 1 : job.scheme == DAX_INTER_CUBIC ? 4 : 2;
    }
    // Before the sample at a place.
    int32_t tapsBefore(bool between) const {
        return between && job.scheme == DAX_INTER_CUBIC ? 1 : 0;
    }

    char* rowAt(int32_t c, int64_t row) const {
        return src.data + (job.channelSrc + c) * src.channelStep + row * src.rowStep;
    }
    char* placeOf(int32_t c, int64_t column, int64_t row) const {
        return dst.data + (job.channelDst + c) * dst.channelStep + row * dst.rowStep +
               column * dst.pixelStep;
    }
    // Of the bytes of a row, from its first channel on.
    ptrdiff_t rowBytes() const {
        const ptrdiff_t all = src.width * src.pixelStep;
        return (all < src.rowStep ? all : src.rowStep) -
               (src.channelStep == bytes ? (src.pixelStep - bytes) : 0);
    }

    void pickBits(const Range& columns, const Range& rows) const {
        // The first place is 1/256 before a sample at 0 where it shouldn't be: there it counts as
        // 0.
        const auto placesOf = [](const Axis& axis, const Range& range, int64_t offset,
                                 int64_t size) {
            const int64_t first = axis.start + range.begin * axis.step - (axis.between ? 1 : 0);
            return OwnBitPlaces{first - (offset << unitBits), axis.step, unitBits, 0, size - 1};
        };
        const int64_t bit = bitDst + columns.begin;
        ownRows<OwnBits>().pick({rowAt(0, 0), src.rowStep, placesOf(x, columns, src.x, src.width),
                                 placesOf(y, rows, src.y, src.height),
                                 placeOf(0, columns.begin, rows.begin) + (bit >> 3), bit & 7,
                                 dst.rowStep, columns.end - columns.begin, rows.end - rows.begin});
    }

    void pick(int32_t c, ptrdiff_t samples, const Range& columns, const Range& rows) const {
        int32_t at[mostPicks];
        const ptrdiff_t count = columns.end - columns.begin;
        for (ptrdiff_t i = 0; i < count; ++i)
            at[i] = static_cast<int32_t>((x.sample(columns.begin + i) - src.x) * src.pixelStep);
        OwnPicks picks;
        picks.set({bytes, samples, dst.pixelStep, rowBytes() + (samples - 1) * bytes}, at, count);
        for (int64_t k = rows.begin; k < rows.end; ++k)
            picks.run(rowAt(c, y.sample(k) - src.y), placeOf(c, columns.begin, k), 0, 1);
    }

    // A strip of columns, which is the same for all rows but for its samples.
    struct Strip {
        int32_t channel;
        ptrdiff_t samples; // of a pixel
        ptrdiff_t count;   // of samples in all, as below
        ptrdiff_t plain;   // that many at the left are samples as they are
        ptrdiff_t begin;   // between these, all taps lie inside the row
        ptrdiff_t end;
        int32_t at[mostSamples]; // of the first tap of each pixel
        int16_t weights[4][mostSamples];
        OwnPicks picks; // of the first taps
    };

    void weigh(int32_t part, int16_t* weights, ptrdiff_t step) const {
        const int32_t f2 = part * part >> 8;
        const int32_t f3 = part * part * part >> 16;
        const int32_t cubic[] = {3 * f2 - 2 * part - f3, 3 * f3 - 3 * part - 6 * f2,
                                 6 * part + 3 * f2 - 3 * f3, f3 - part};
        const int32_t linear[] = {256 - part, part, 0, 0};
        for (ptrdiff_t t = 0; t < 4; ++t)
            weights[t * step] =
                static_cast<int16_t>((job.scheme == DAX_INTER_CUBIC ? cubic : linear)[t]);
    }

    void mix(int32_t c, ptrdiff_t samples, const Range& columns, const Range& rows) const {
        Strip strip;
        strip.channel = c;
        strip.samples = samples;
        const ptrdiff_t pixels = columns.end - columns.begin;
        const ptrdiff_t plain = !x.between ? pixels : x.isPlain(columns.begin) ? 1 : 0;
        const ptrdiff_t reach = (tapCount(x.between) - 1) * src.pixelStep;
        const ptrdiff_t rowEnd = rowBytes() + (samples - 1) * bytes;
        ptrdiff_t begin = x.between ? plain : 0;
        ptrdiff_t end = begin;
        for (ptrdiff_t i = 0; i < pixels; ++i) {
            const int64_t k = columns.begin + i;
            const bool between = i >= plain;
            const int64_t at = (x.sample(k) - src.x - tapsBefore(between)) * src.pixelStep;
            strip.at[i] = static_cast<int32_t>(at);
            for (ptrdiff_t s = 0; between && s < samples; ++s)
                weigh(x.part(k), &strip.weights[0][i * samples + s], mostSamples);
            if (at < 0 && begin == i) begin = end = i + 1;
            if (at >= 0 && end == i && at + reach + samples * bytes <= rowEnd) end = i + 1;
        }
        strip.count = pixels * samples;
        strip.plain = plain * samples;
        strip.begin = begin * samples;
        strip.end = end * samples;
        strip.picks.set({bytes, samples, samples * bytes, rowEnd - reach}, strip.at + begin,
                        end - begin);

        alignas(64) char lanes[4][mostSamples * sizeof(int32_t)];
        int64_t kept[4] = {INT64_MIN, INT64_MIN, INT64_MIN, INT64_MIN};
        const auto laneOf = [&](int64_t row) {
            char* const lane = lanes[row & 3];
            if (kept[row & 3] != row) takeRow(strip, row, lane);
            kept[row & 3] = row;
            return lane;
        };
        const auto& kernels = ownRows<OwnDecimate>();
        const auto combine = job.scheme == DAX_INTER_CUBIC ? kernels.mixCubic[bytes - 1]
                                                           : kernels.mixLinear[bytes - 1];
        for (int64_t k = rows.begin; k < rows.end; ++k) {
            const bool between = !y.isPlain(k);
            const int64_t first = y.sample(k) - src.y - tapsBefore(between);
            const char* four[4];
            for (int32_t r = 0; r < 4; ++r)
                four[r] = laneOf(first + (r < tapCount(between) ? r : 0));
            // Without a part, what the one row gives goes through unmixed.
            int16_t weights[4];
            weigh(between ? y.part(k) : 0, weights, 1);
            char* const to = placeOf(c, columns.begin, k);
            char block[mostSamples * sizeof(uint16_t)];
            char* const out = dst.pixelStep == samples * bytes ? to : block;
            combine(four, weights, false, out, strip.plain);
            for (const char*& lane : four) lane += strip.plain * laneBytes();
            combine(four, weights, true, out + strip.plain * bytes, strip.count - strip.plain);
            if (out == block)
                ownStridedMovers(bytes).copy(block, bytes, to, dst.pixelStep, strip.count);
        }
    }

    ptrdiff_t laneBytes() const { return bytes * 2; }

    // What comes of one source row. A cubic at the very edge asks for samples beside the row: these
    // are read where they lie, next to it in memory, and outside of the memory the nearest of the
    // image.
    void takeRow(const Strip& strip, int64_t row, char* lane) const {
        const ptrdiff_t offset = rowAt(strip.channel, row) - src.data;
        const bool inside = offset >= 0 && offset < src.size;
        const int64_t nearest = row < 0 ? 0 : row >= src.height ? src.height - 1 : row;
        const char* const from = rowAt(strip.channel, inside ? row : nearest);
        alignas(64) char block[4][mostSamples * sizeof(uint16_t)];
        for (int32_t t = 0; strip.begin < strip.end && t < tapCount(x.between); ++t)
            strip.picks.run(from + t * src.pixelStep, block[t], 0, 1);
        takeTaps(strip, block[0], block[1] - block[0], strip.begin, strip.end, lane);
        for (ptrdiff_t i = 0; i < strip.count; ++i) {
            if (i == strip.begin) i = strip.end;
            if (i >= strip.count) break;
            char samples[4 * sizeof(uint16_t)];
            const ptrdiff_t inPixel = i % strip.samples * bytes;
            for (int32_t t = 0; t < tapCount(i >= strip.plain); ++t) {
                const ptrdiff_t at = strip.at[i / strip.samples] + t * src.pixelStep;
                const ptrdiff_t most = (src.width - 1) * src.pixelStep;
                const char* sample = src.data + offset + at;
                if (offset + at + inPixel < 0 || offset + at + inPixel + bytes > src.size)
                    sample = rowAt(strip.channel, nearest) + (at < 0 ? 0 : at > most ? most : at);
                ownCopyRow(sample + inPixel, samples + t * bytes, bytes);
            }
            takeTaps(strip, samples, bytes, i, i + 1, lane);
        }
    }

    // The taps of a part of a strip, one row of them after the other.
    void takeTaps(const Strip& strip, const char* taps, ptrdiff_t step, ptrdiff_t begin,
                  ptrdiff_t end, char* lane) const {
        const auto& kernels = ownRows<OwnDecimate>();
        const auto take = begin < strip.plain             ? kernels.take[bytes - 1]
                          : job.scheme == DAX_INTER_CUBIC ? kernels.takeCubic[bytes - 1]
                                                          : kernels.takeLinear[bytes - 1];
        take({taps, step, &strip.weights[0][begin], mostSamples}, lane + begin * laneBytes(),
             end - begin);
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
