#include "filter/convolve.h"

#include "filter/source.h"
#include "filter/taps.h"
#include "frame/depth.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/raster.h"

#include <cstring>

namespace {

// So many rows are read before the first one is written, and by rows of the cache that are so many
// goes what a sum does at the limits of 16 bits.
constexpr ptrdiff_t rowsOfBatch = 65;

// Where neither matters: a cache that stays in the innermost one of the processor.
constexpr ptrdiff_t bytesOfSmallBatch = 16384;

ptrdiff_t larger(ptrdiff_t a, ptrdiff_t b) { return a > b ? a : b; }
ptrdiff_t smaller(ptrdiff_t a, ptrdiff_t b) { return a < b ? a : b; }

int32_t channelsOf(const DaxImage* image) {
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

// The least and the largest number that a cell of 8 bits may hold.
struct Range {
    int32_t least;
    int32_t most;
};

Range byteRange(const DaxImage* srcImage, int32_t dstDepth) {
    bool bits = srcImage->depth == DAX_DEPTH_1U;
    for (const int32_t value : srcImage->borderConsts) bits = bits && (value & 0xFF) <= 1;
    if (bits) return {0, 1};
    return dstDepth == DAX_DEPTH_8S ? Range{-128, 127} : Range{0, 255};
}

// Whether no sum on the way to a total can leave 16 bits.
bool staysNarrow(const DaxConvKernel& kernel, const Range& cell) {
    int64_t least = 0;
    int64_t most = 0;
    for (ptrdiff_t i = 0; i < ptrdiff_t{kernel.nRows} * kernel.nCols; ++i) {
        const int32_t coef = kernel.values[i];
        least += coef * (coef > 0 ? cell.least : cell.most);
        most += coef * (coef > 0 ? cell.most : cell.least);
    }
    return least >= INT16_MIN && most <= INT16_MAX;
}

// Whether that is so for all kernels, and on cells that are bytes without a sign.
bool staysInBytes(const OwnConvolution& convolution, const DaxImage* srcImage, int32_t dstDepth) {
    bool stays = dstDepth == DAX_DEPTH_1U || dstDepth == DAX_DEPTH_8U;
    const Range cell = byteRange(srcImage, dstDepth);
    for (int32_t k = 0; k < convolution.count; ++k)
        stays = stays && staysNarrow(*convolution.kernels[k], cell);
    return stays;
}

// The rows that are read at a time. Those of a few are kept for the next ones, so it takes some
// more to be worth it.
ptrdiff_t batchOf(const OwnPlace& src, const OwnPlace& dst, ptrdiff_t windowRows,
                  ptrdiff_t rowBytes) {
    if (ownSampleBytes(dst.image->depth) < 2 || ownMayOverlap(src.image, dst.image))
        return rowsOfBatch;
    const ptrdiff_t least = larger(16, 3 * windowRows);
    return smaller(larger(bytesOfSmallBatch / rowBytes - windowRows, least), rowsOfBatch);
}

// One kernel made ready for the rows of a piece.
struct Ready {
    const OwnTap* taps;
    ptrdiff_t tapCount;
    int32_t start; // of sums of biased cells
    int32_t shift;
    bool narrow;
};

// One channel of one piece at a time: rows of cells, a batch after the other, and a row of sums.
class Piece {
public:
    Piece(const OwnConvolution& all, const OwnPlace& from, const OwnPlace& to, ptrdiff_t rows,
          ptrdiff_t columns);

    bool ready() const { return cache && samples && sums && merged && taps && kernels && stored; }
    void convolve(int32_t channel);

private:
    ptrdiff_t tapTotal() const;
    void prepare(const DaxConvKernel& kernel, OwnTap* room, Ready* to) const;
    void fetch(const OwnSourceRows& source, ptrdiff_t row, ptrdiff_t cacheRow);
    void sum(const Ready& kernel, ptrdiff_t cacheRow);
    void convolveRow(ptrdiff_t cacheRow, char* dst, ptrdiff_t dstStep);

    const OwnConvolution& convolution;
    const OwnPlace src;
    const OwnPlace dst;
    const ptrdiff_t height;
    const ptrdiff_t width;
    const int32_t depth;
    const bool bytes; // cells are bytes
    const ptrdiff_t cellBytes;
    const ptrdiff_t windowRows;
    const ptrdiff_t pitch; // cells of a row
    const ptrdiff_t rowsAtOnce;
    const OwnTapTable& tapSums;
    const OwnCellTable& cells;
    const OwnMergeRows& merging;
    OwnBuffer<char> cache;
    OwnBuffer<char> samples;
    OwnBuffer<double> sums;
    OwnBuffer<double> merged;
    OwnBuffer<char> stored;
    OwnBuffer<OwnTap> taps;
    OwnBuffer<Ready> kernels;
};

Piece::Piece(const OwnConvolution& all, const OwnPlace& from, const OwnPlace& to, ptrdiff_t rows,
             ptrdiff_t columns)
    : convolution(all), src(from), dst(to), height(rows), width(columns), depth(to.image->depth),
      bytes(staysInBytes(all, from.image, depth)),
      cellBytes(bytes                    ? sizeof(uint8_t)
                : depth == DAX_DEPTH_32S ? sizeof(double)
                                         : sizeof(int16_t)),
      windowRows(all.above + all.below), pitch(all.left + columns + all.right - 1),
      rowsAtOnce(smaller(height, batchOf(src, dst, windowRows, pitch * cellBytes))),
      tapSums(ownRows<OwnTaps>()), cells(ownRows<OwnCells>()),
      merging(depth == DAX_DEPTH_1U ? ownRows<OwnMerge>().bits
                                    : ownRows<OwnMerge>().byDepth[ownDepthIndex(depth)]),
      cache(((windowRows - 1 + rowsAtOnce) * pitch + 1) * cellBytes),
      samples(pitch * larger(ownSampleBytes(src.image->depth), ownSampleBytes(depth))), sums(width),
      merged(width), stored(width * ownSampleBytes(depth)), taps(tapTotal()), kernels(all.count) {
    if (!ready()) return;
    OwnTap* room = taps.get();
    for (int32_t k = 0; k < all.count; ++k) {
        prepare(*all.kernels[k], room, &kernels[k]);
        room += kernels[k].tapCount;
    }
}

ptrdiff_t Piece::tapTotal() const {
    ptrdiff_t total = 0;
    for (int32_t k = 0; k < convolution.count; ++k)
        total += ptrdiff_t{convolution.kernels[k]->nRows} * convolution.kernels[k]->nCols;
    return total;
}

void Piece::prepare(const DaxConvKernel& kernel, OwnTap* room, Ready* to) const {
    *to = {room, 0, 0, kernel.nShiftR, false};
    uint32_t total = 0;
    for (ptrdiff_t row = 0; row < kernel.nRows; ++row) {
        for (ptrdiff_t col = 0; col < kernel.nCols; ++col) {
            const int32_t coef = kernel.values[row * kernel.nCols + col];
            if (coef == 0) continue;
            const ptrdiff_t offset = (convolution.above - kernel.anchorY + row) * pitch +
                                     convolution.left - kernel.anchorX + col;
            room[to->tapCount++] = {offset, coef};
            total += static_cast<uint32_t>(coef);
        }
    }
    if (depth == DAX_DEPTH_16U) to->start = static_cast<int32_t>(total * 32768);
    to->narrow = staysNarrow(kernel, byteRange(src.image, depth));
}

// A row of the window's place, into a row of the cache.
void Piece::fetch(const OwnSourceRows& source, ptrdiff_t row, ptrdiff_t cacheRow) {
    const char* from = source.fetch(src.x - convolution.left, src.y - convolution.above + row,
                                    pitch, samples.get());
    char* to = cache.get() + cacheRow * pitch * cellBytes;
    if (bytes) {
        ownCopyRow(from, to, pitch);
        return;
    }
    auto* narrow = reinterpret_cast<int16_t*>(to);
    switch (depth) {
    case DAX_DEPTH_8S: cells.fromSignedBytes(from, narrow, pitch); return;
    case DAX_DEPTH_16U: cells.fromWords(from, narrow, pitch); return;
    case DAX_DEPTH_16S: cells.fromSignedWords(from, narrow, pitch); return;
    case DAX_DEPTH_32S: break;
    default: cells.fromBytes(from, narrow, pitch); return;
    }
    // Samples of 16 bits aren't widened: two make a cell, and where there are none it is 0.
    const ptrdiff_t size = pitch * source.sampleBytes;
    if (size < pitch * 4) {
        if (from != samples.get()) memcpy(samples.get(), from, static_cast<size_t>(size));
        memset(samples.get() + size, 0, static_cast<size_t>(pitch * 4 - size));
        from = samples.get();
    }
    cells.toFloats(from, reinterpret_cast<double*>(to), pitch);
}

void Piece::sum(const Ready& kernel, ptrdiff_t cacheRow) {
    const ptrdiff_t first = cacheRow * pitch;
    const char* at = cache.get() + first * cellBytes;
    const auto* narrow = reinterpret_cast<const int16_t*>(at);
    auto* narrowSums = reinterpret_cast<int16_t*>(sums.get());
    switch (depth) {
    case DAX_DEPTH_16U:
    case DAX_DEPTH_16S:
        tapSums.wide(narrow, kernel.taps, kernel.tapCount, kernel.start,
                     reinterpret_cast<int32_t*>(sums.get()), width);
        break;
    case DAX_DEPTH_32S:
        tapSums.floats(reinterpret_cast<const double*>(at), kernel.taps, kernel.tapCount,
                       sums.get(), width);
        break;
    default:
        if (bytes)
            tapSums.bytes(reinterpret_cast<const uint8_t*>(at), kernel.taps, kernel.tapCount,
                          narrowSums, width);
        else if (kernel.narrow)
            tapSums.narrow(narrow, kernel.taps, kernel.tapCount, narrowSums, width);
        else
            tapSums.held(narrow, static_cast<int32_t>(first & 7), kernel.taps, kernel.tapCount,
                         narrowSums, width);
        break;
    }
}

void Piece::convolveRow(ptrdiff_t cacheRow, char* to, ptrdiff_t dstStep) {
    const int32_t method = convolution.method;
    const bool squares =
        method == DAX_COMBINE_SUM_SQUARES || method == DAX_COMBINE_ROOT_SUM_SQUARES;
    const bool alone = convolution.count == 1 && !squares;
    const bool shiftsLate = alone && kernels[0].shift != 0 && merging.storeShifted != nullptr;
    for (int32_t k = convolution.count - 1; k >= 0; --k) {
        const bool first = k == convolution.count - 1;
        sum(kernels[k], cacheRow);
        if (kernels[k].shift != 0 && !shiftsLate) {
            const OwnShiftForm form = squares                     ? OwnShiftForm::inPlace
                                      : first                     ? OwnShiftForm::store
                                      : method == DAX_COMBINE_SUM ? OwnShiftForm::add
                                                                  : OwnShiftForm::inPlace;
            merging.shift(sums.get(), width, static_cast<uint32_t>(kernels[k].shift), form);
        }
        if (!alone) merging.merge(sums.get(), merged.get(), width, method, first);
    }
    if (method == DAX_COMBINE_ROOT_SUM_SQUARES) merging.root(merged.get(), width);
    const ptrdiff_t sample = ownSampleBytes(depth);
    const bool direct = dstStep == sample;
    char* samplesAt = direct ? to : stored.get();
    const ptrdiff_t bit = depth == DAX_DEPTH_1U ? dst.x : 0;
    if (shiftsLate)
        merging.storeShifted(sums.get(), samplesAt, width, static_cast<uint32_t>(kernels[0].shift));
    else if (alone)
        merging.storeSums(sums.get(), samplesAt, bit, width);
    else
        merging.storeMerged(merged.get(), samplesAt, bit, width);
    if (!direct) ownStridedMovers(sample).copy(samplesAt, sample, to, dstStep, width);
}

void Piece::convolve(int32_t channel) {
    const OwnSourceRows source(src.image, channel, 0xFF);
    const DaxImage* image = dst.image;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownSampleBytes(depth);
    const ptrdiff_t step = pixels ? sample * image->nChannels : sample;
    const ptrdiff_t plane = pixels ? sample : ptrdiff_t{image->widthStep} * image->height;
    char* to = static_cast<char*>(image->imageData) + dst.y * image->widthStep +
               (channel - 1) * plane + (depth == DAX_DEPTH_1U ? 0 : dst.x * step);
    ptrdiff_t fetched = 0; // rows of the window's place
    ptrdiff_t kept = 0;    // rows of the cache
    for (ptrdiff_t done = 0; done < height; done += rowsAtOnce) {
        const ptrdiff_t batch = smaller(height - done, rowsAtOnce);
        for (; kept < windowRows - 1 + batch; ++kept) fetch(source, fetched++, kept);
        for (ptrdiff_t row = 0; row < batch; ++row) {
            convolveRow(row, to, step);
            to += image->widthStep;
        }
        kept = windowRows - 1;
        memmove(cache.get(), cache.get() + batch * pitch * cellBytes,
                static_cast<size_t>(kept * pitch * cellBytes));
    }
}

} // namespace

OwnConvolution::OwnConvolution(const DaxConvKernel* const* all, int32_t kernelCount,
                               int32_t combineMethod)
    : kernels(all), count(kernelCount), method(combineMethod), left(0), above(0), right(1),
      below(1) {
    for (int32_t k = 0; k < count; ++k) {
        left = larger(left, kernels[k]->anchorX);
        above = larger(above, kernels[k]->anchorY);
        right = larger(right, kernels[k]->nCols - kernels[k]->anchorX);
        below = larger(below, kernels[k]->nRows - kernels[k]->anchorY);
    }
}

bool ownConvolves(int32_t srcDepth, int32_t dstDepth) {
    switch (dstDepth) {
    case DAX_DEPTH_1U: return srcDepth == DAX_DEPTH_1U;
    case DAX_DEPTH_8U: return srcDepth == DAX_DEPTH_1U || srcDepth == DAX_DEPTH_8U;
    case DAX_DEPTH_8S:
        return srcDepth == DAX_DEPTH_1U || srcDepth == DAX_DEPTH_8U || srcDepth == DAX_DEPTH_8S;
    case DAX_DEPTH_16U: return srcDepth == DAX_DEPTH_16U;
    case DAX_DEPTH_16S: return srcDepth == DAX_DEPTH_16U || srcDepth == DAX_DEPTH_16S;
    default:
        return srcDepth == DAX_DEPTH_16U || srcDepth == DAX_DEPTH_16S || srcDepth == DAX_DEPTH_32S;
    }
}

bool ownConvolve(const OwnConvolution& convolution, const OwnPlace& src, const OwnPlace& dst,
                 ptrdiff_t height, ptrdiff_t width) {
    if (height <= 0 || width <= 0) return true;
    const int32_t channels = channelsOf(src.image);
    if (channels != channelsOf(dst.image)) return false;
    Piece piece(convolution, src, dst, height, width);
    if (!piece.ready()) return true;
    for (int32_t channel = 1; channel <= channels; ++channel) piece.convolve(channel);
    return true;
}
