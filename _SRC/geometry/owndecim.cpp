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

#include <cstring>

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
    // So many places on, one lies a whole number of samples on. What is given for a place by
    // `placeBytes` goes in whole blocks of 128 bytes.
    int64_t round(ptrdiff_t placeBytes) const {
        int64_t places = int64_t{1} << unitBits;
        while (places / 2 * step % (int64_t{1} << unitBits) == 0 &&
               places / 2 * placeBytes % 128 == 0)
            places /= 2;
        return places;
    }
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
        if (columns.begin >= columns.end || rows.begin >= rows.end) return;
        if (bytes == 0) {
            pickBits(columns, rows);
            return;
        }
        const bool nearest = job.scheme == DAX_INTER_NN;
        // Pixels that lie side by side in both images go whole.
        const bool whole = job.channels > 1 && job.channels <= mostChannels &&
                           src.channelStep == bytes && src.pixelStep == job.channels * bytes &&
                           dst.channelStep == bytes && dst.pixelStep == src.pixelStep;
        const ptrdiff_t samples = whole ? job.channels : 1;
        // Strips of columns of like width, for what needs room for each of them.
        const int64_t all = columns.end - columns.begin;
        const int64_t most = nearest ? all : rowRoom / (2 * bytes * samples);
        const int64_t strips = (all + most - 1) / most;
        for (int32_t c = 0; c < (whole ? 1 : job.channels); ++c)
            for (int64_t k = 0; k < strips; ++k) {
                const Range part = {columns.begin + all * k / strips,
                                    columns.begin + all * (k + 1) / strips};
                nearest ? pick(c, samples, part, rows) : mix(c, samples, part, rows);
            }
    }

private:
    static constexpr int32_t mostChannels = 4;  // of whole pixels
    static constexpr ptrdiff_t mostRound = 256; // columns
    static constexpr ptrdiff_t aside = 64;      // columns before the first round
    static constexpr ptrdiff_t rowRoom = 16384; // bytes of numbers
    static constexpr ptrdiff_t block = 128;     // bytes, up to which kernels read and write

    bool cubic() const { return job.scheme == DAX_INTER_CUBIC; }

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

    int32_t byteOf(int64_t column) const {
        return static_cast<int32_t>((column - src.x) * src.pixelStep);
    }
    // Of the source, from a round of places to the next.
    ptrdiff_t roundBytes(int64_t round) const {
        return (round * x.step >> unitBits) * src.pixelStep;
    }

    void pickBits(const Range& columns, const Range& rows) const {
        const auto placesOf = [](const Axis& axis, const Range& range, int64_t offset,
                                 int64_t size) {
            const int64_t first = axis.start + range.begin * axis.step;
            return OwnBitPlaces{first - (offset << unitBits), axis.step, unitBits, 0, size - 1};
        };
        const int64_t bit = bitDst + columns.begin;
        ownRows<OwnBits>().pick({rowAt(0, 0), src.rowStep, placesOf(x, columns, src.x, src.width),
                                 placesOf(y, rows, src.y, src.height),
                                 placeOf(0, columns.begin, rows.begin) + (bit >> 3), bit & 7,
                                 dst.rowStep, columns.end - columns.begin, rows.end - rows.begin});
    }

    void pick(int32_t c, ptrdiff_t samples, const Range& columns, const Range& rows) const {
        int32_t at[mostRound];
        const ptrdiff_t count = columns.end - columns.begin;
        const ptrdiff_t all = x.round(samples * bytes);
        const ptrdiff_t round = count < all ? count : all;
        for (ptrdiff_t i = 0; i < round; ++i) at[i] = byteOf(x.sample(columns.begin + i));
        OwnPicks picks;
        picks.set({bytes, samples, dst.pixelStep, rowBytes() + (samples - 1) * bytes}, at, round);
        if (count > round) picks.repeat(count, 0, roundBytes(round));
        constexpr int64_t most = 16;
        for (int64_t first = rows.begin; first < rows.end; first += most) {
            const char* from[most];
            ptrdiff_t n = 0;
            for (; n < most && first + n < rows.end; ++n)
                from[n] = rowAt(c, y.sample(first + n) - src.y);
            picks.run({from, n, 1, placeOf(c, columns.begin, first), dst.rowStep});
        }
    }

    // A strip of columns, which is the same for all rows but for its samples. Of each sample it
    // takes the two around a place, and the two next to these for a cubic.
    struct Strip {
        int64_t column; // the first of them
        int32_t channel;
        ptrdiff_t samples; // of a pixel
        ptrdiff_t count;   // of pixels
        ptrdiff_t begin;   // between these, all taps lie inside the row
        ptrdiff_t end;
        ptrdiff_t insideBytes;     // of their pairs
        OwnPicks picks;            // of pairs
        const OwnWindows* windows; // of the picks
        OwnTakeFrom* takeFrom;
        OwnDecimateWeights weights; // from `begin` on
        int32_t at[2 * (aside + mostRound) * mostChannels];
        alignas(64) char weightRows[4 * (aside + mostRound) * mostChannels * 2];
    };

    // Of four samples or of two.
    void weigh(int32_t part, int32_t* weights) const {
        if (!cubic()) {
            weights[0] = 256 - part;
            weights[1] = part;
            return;
        }
        const int32_t f2 = part * part >> 8;
        const int32_t f3 = part * part * part >> 16;
        weights[0] = 3 * f2 - 2 * part - f3;
        weights[1] = 1536 + 3 * f3 - 3 * part - 6 * f2;
        weights[2] = 6 * part + 3 * f2 - 3 * f3;
        weights[3] = f3 - part;
    }

    // Of a sample, from those of its first tap on. Linear, one without a part has that tap twice,
    // since 256 is more than a byte.
    void setWeights(int32_t part, ptrdiff_t first, char* row, ptrdiff_t rowBytes) const {
        int32_t weights[5] = {};
        weigh(part, weights);
        if (!cubic() && bytes == 1) {
            row[0] = static_cast<char>(part != 0 ? weights[0] : 255);
            row[1] = static_cast<char>(part != 0 ? part : 1);
            return;
        }
        for (ptrdiff_t t = 0; t < (cubic() ? 4 : 2); ++t) {
            char* const to = row + t / 2 * 2 * rowBytes + t % 2 * bytes;
            if (bytes == 2) {
                const auto word = static_cast<int16_t>(weights[first + t]);
                memcpy(to, &word, sizeof word);
            } else {
                const int32_t high = (weights[first + t] + 32) >> 6;
                to[0] = static_cast<char>(high);
                to[rowBytes] = static_cast<char>(weights[first + t] - high * 64);
            }
        }
    }

    // A sample that counts as it is at the very start is the first tap of its cubic; else taps
    // begin one before.
    bool isStart(int64_t k) const { return x.isPlain(k) && x.sample(k) == src.x; }
    int32_t firstTap(int64_t k) const {
        return byteOf(x.sample(k) - (cubic() && !isStart(k) ? 1 : 0));
    }
    // From the first tap to the last one.
    ptrdiff_t reach(int64_t k) const {
        return (cubic() ? 3 : x.part(k) != 0 ? 1 : 0) * src.pixelStep;
    }

    void findTaps(Strip* strip, ptrdiff_t rowEnd) const {
        const auto isInside = [&](int64_t k) {
            return firstTap(k) >= 0 && firstTap(k) + reach(k) + strip->samples * bytes <= rowEnd;
        };
        int64_t column = strip->column;
        int64_t end = column + strip->count;
        while (end > column && !isInside(end - 1)) --end;
        // The start may be inside where the next one isn't.
        while (column < end && !(isInside(column) && (column + 1 == end || isInside(column + 1))))
            ++column;
        strip->begin = column - strip->column;
        strip->end = end - strip->column;

        const ptrdiff_t count = strip->end - strip->begin;
        const ptrdiff_t round = x.round(pairBytes(*strip));
        const ptrdiff_t again = isStart(column) ? aside : 0;
        strip->weights = {again * pairBytes(*strip), (again + round) * pairBytes(*strip),
                          strip->weightRows, sizeof strip->weightRows / 4};
        int32_t* at = strip->at;
        char* weights = strip->weightRows;
        for (int64_t k = column; k < column + count && k < column + again + round; ++k) {
            const int32_t first = firstTap(k);
            const ptrdiff_t next = cubic() ? src.pixelStep : reach(k);
            for (ptrdiff_t s = 0; s < strip->samples; ++s, weights += 2 * bytes) {
                setWeights(x.part(k), cubic() && isStart(k) ? 1 : 0, weights,
                           strip->weights.rowBytes);
                *at++ = first + static_cast<int32_t>(s * bytes);
                *at++ = first + static_cast<int32_t>(s * bytes + next);
            }
        }
        strip->picks.set({bytes, 1, bytes, rowEnd - (cubic() ? 2 * src.pixelStep : 0)}, strip->at,
                         at - strip->at);
        if (count > again + round)
            strip->picks.repeat(count * strip->samples * 2, again * strip->samples * 2,
                                roundBytes(round));
        strip->insideBytes = count * pairBytes(*strip);
        strip->windows = strip->picks.found();
        strip->takeFrom = kernels.takeFrom[cubic()][bytes - 1];
    }

    ptrdiff_t pairBytes(const Strip& strip) const { return 2 * bytes * strip.samples; }

    void mix(int32_t c, ptrdiff_t samples, const Range& columns, const Range& rows) const {
        Strip strip;
        strip.column = columns.begin;
        strip.channel = c;
        strip.samples = samples;
        strip.count = columns.end - columns.begin;
        findTaps(&strip, rowBytes() + (samples - 1) * bytes);

        const ptrdiff_t numberBytes = strip.count * pairBytes(strip);
        alignas(64) char numbers[4][rowRoom + block];
        char samplesOf[rowRoom / 2];
        int64_t kept[4] = {INT64_MIN, INT64_MIN, INT64_MIN, INT64_MIN};
        const auto combine = kernels.mix[cubic()][bytes - 1];
        const int32_t taps = cubic() ? 4 : 2;
        const bool direct = dst.pixelStep == samples * bytes;
        for (int64_t k = rows.begin; k < rows.end; ++k) {
            // Without a part the row counts alone.
            const bool alone = y.isPlain(k);
            const int64_t place = y.place(k);
            const int64_t first = (place >> unitBits) - src.y - (!alone && taps == 4 ? 1 : 0);
            const char* four[4];
            for (int32_t r = 0; r < taps; ++r) {
                const int64_t row = first + (alone ? 0 : r);
                char* const to = numbers[row & 3];
                if (kept[row & 3] != row) takeRow(strip, row, to);
                kept[row & 3] = row;
                four[r] = to;
            }
            int32_t weights[4];
            weigh(alone ? 0 : static_cast<int32_t>(place & 255), weights);
            char* const to = placeOf(c, columns.begin, k);
            combine(four, weights, direct ? to : samplesOf, numberBytes / 2);
            if (!direct)
                ownStridedMovers(bytes).copy(samplesOf, bytes, to, dst.pixelStep, strip.count);
        }
    }

    // The numbers of a source row.
    void takeRow(const Strip& strip, int64_t row, char* numbers) const {
        const ptrdiff_t offset = rowAt(strip.channel, row) - src.data;
        const bool inside = offset >= 0 && offset < src.size;
        const char* const from = inside ? src.data + offset : rowAt(strip.channel, nearestRow(row));
        if (strip.insideBytes != 0) {
            char* const to = numbers + strip.begin * pairBytes(strip);
            if (strip.windows != nullptr)
                strip.takeFrom(from, 2 * src.pixelStep, *strip.windows, strip.weights, to,
                               strip.insideBytes);
            else
                takePicked(strip, from, to);
        }
        for (ptrdiff_t i = 0; i < strip.begin; ++i) takeBeside(strip, row, i, numbers);
        for (ptrdiff_t i = strip.end; i < strip.count; ++i) takeBeside(strip, row, i, numbers);
    }

    void takePicked(const Strip& strip, const char* from, char* numbers) const {
        alignas(64) char pairs[2][rowRoom + block];
        strip.picks.run(from, pairs[0], 0, 1);
        if (cubic()) strip.picks.run(from + 2 * src.pixelStep, pairs[1], 0, 1);
        const char* const both[] = {pairs[0], pairs[1]};
        kernels.take[cubic()][bytes - 1](both, strip.weights, numbers, strip.insideBytes);
    }

    // The number of a column. A cubic at the very edge asks for samples beside the row: these are
    // read where they lie, next to it in memory, and outside of the memory the nearest of the
    // image.
    void takeBeside(const Strip& strip, int64_t row, ptrdiff_t column, char* numbers) const {
        const int64_t k = strip.column + column;
        const bool alone = x.isPlain(k) || (!cubic() && x.part(k) == 0);
        const ptrdiff_t offset = rowAt(strip.channel, row) - src.data;
        const ptrdiff_t most = (src.width - 1) * src.pixelStep;
        alignas(64) char pairs[2][block];
        alignas(64) char weights[4 * block];
        alignas(64) char number[block];
        for (ptrdiff_t s = 0; s < strip.samples; ++s) {
            setWeights(x.part(k), 0, weights + s * 2 * bytes, block);
            for (ptrdiff_t t = 0; t < (cubic() ? 4 : 2); ++t) {
                const ptrdiff_t by = alone ? 0 : cubic() ? t - 1 : t;
                const ptrdiff_t at = byteOf(x.sample(k)) + by * src.pixelStep;
                const ptrdiff_t inImage = offset + at + s * bytes;
                const char* sample = src.data + inImage;
                if (inImage < 0 || inImage + bytes > src.size)
                    sample = rowAt(strip.channel, nearestRow(row)) + s * bytes +
                             (at < 0      ? 0
                              : at > most ? most
                                          : at);
                ownCopyRow(sample, pairs[t / 2] + (2 * s + t % 2) * bytes, bytes);
            }
        }
        const char* const both[] = {pairs[0], pairs[1]};
        kernels.take[cubic()][bytes - 1](both, {0, block, weights, block}, number,
                                         pairBytes(strip));
        ownCopyRow(number, numbers + column * pairBytes(strip), pairBytes(strip));
    }

    int64_t nearestRow(int64_t row) const {
        return row < 0 ? 0 : row >= src.height ? src.height - 1 : row;
    }

    const Job& job;
    const Layout& src;
    const Layout& dst;
    const int32_t bitDst;
    const Axis& x;
    const Axis& y;
    const ptrdiff_t bytes;
    const OwnDecimateTable& kernels = ownRows<OwnDecimate>();
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
