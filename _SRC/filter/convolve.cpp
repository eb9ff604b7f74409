#include "filter/convolve.h"

#include "filter/source.h"
#include "filter/taps.h"
#include "frame/depth.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/raster.h"

namespace {

// Where what is written may be read, so many rows are read before the first of them is written; and
// by rows that are so many goes what a sum does at the limits of 16 bits.
constexpr ptrdiff_t rowsOfBatch = 65;

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

// Whether that is so for all kernels, so that cells can be bytes. Those with a sign are moved up by
// 128, which sums that fit can make up for.
bool staysInBytes(const OwnConvolution& convolution, const DaxImage* srcImage, int32_t dstDepth) {
    bool stays = ownDepthBits(dstDepth) <= 8;
    const Range cell = byteRange(srcImage, dstDepth);
    for (int32_t k = 0; k < convolution.count; ++k)
        stays = stays && staysNarrow(*convolution.kernels[k], cell);
    return stays;
}

// How many samples of a pixel can be worked side by side: all or one. Where what is written may be
// read, or written once more since rows begin before others end, a channel comes after the other.
int32_t samplesTogether(const OwnPlace& src, const OwnPlace& dst, ptrdiff_t width, bool bytes) {
    const DaxImage* from = src.image;
    const DaxImage* to = dst.image;
    const bool alike = from->dataOrder == DAX_DATA_PIXEL && to->dataOrder == DAX_DATA_PIXEL &&
                       from->nChannels == to->nChannels &&
                       ownSampleBytes(from->depth) == ownSampleBytes(to->depth);
    const bool anywhere = bytes ? from->depth != DAX_DEPTH_1U : ownDepthBits(to->depth) > 8;
    const bool apart = width * to->nChannels * ownSampleBytes(to->depth) <= to->widthStep;
    return alike && anywhere && apart && !ownMayOverlap(from, to) ? to->nChannels : 1;
}

constexpr ptrdiff_t cacheLine = 64;

// One kernel made ready for the rows of a piece.
struct Ready {
    const OwnTap* taps;
    ptrdiff_t tapCount;
    int32_t start; // of sums of biased cells
    uint32_t shift;
};

// One piece, a channel or all of them at a time. A ring of rows of cells has those of the window
// and those that are read ahead.
class Piece {
public:
    Piece(const OwnConvolution& all, const OwnPlace& from, const OwnPlace& to, ptrdiff_t rows,
          ptrdiff_t columns);

    void convolve(int32_t channels);

private:
    bool ready() const {
        return ring && window && samples && sums && merged && taps && kernels && stored;
    }
    ptrdiff_t tapTotal() const;
    void prepare(const DaxConvKernel& kernel, OwnTap* room, Ready* to) const;
    void fetch(const OwnSourceRows& source, ptrdiff_t row);
    void toCells(const char* from, char* row, ptrdiff_t at, ptrdiff_t count) const;
    void sum(const Ready& kernel, ptrdiff_t row, ptrdiff_t from, ptrdiff_t count);
    void convolveRow(ptrdiff_t row, char* to);
    void convolveChannel(int32_t channel);

    const OwnConvolution& convolution;
    const OwnPlace src;
    const OwnPlace dst;
    const ptrdiff_t height;
    const ptrdiff_t width;
    const int32_t depth;
    const bool squares;
    const bool alone;         // one kernel whose sums are the result
    const bool bytes;         // cells are bytes
    const ptrdiff_t together; // samples of a pixel that are worked side by side
    const ptrdiff_t samplesOfRow;
    const ptrdiff_t single; // of them, those of the last pixel of an odd number
    const ptrdiff_t cellBytes;
    const ptrdiff_t windowRows;
    const ptrdiff_t windowColumns; // of a whole row
    const ptrdiff_t pitch;         // cells of a row
    const ptrdiff_t rowStep;       // bytes
    const ptrdiff_t rowsAhead;
    const ptrdiff_t rowsOfRing;
    const OwnTapTable& tapSums;
    const OwnMergeRows& merging;
    OwnTapTable::Store storePass; // null if there is none
    OwnTapPass pass;
    OwnBuffer<char> ring;
    char* cells; // of its first row
    OwnBuffer<const char*> window;
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
      squares(all.method == DAX_COMBINE_SUM_SQUARES || all.method == DAX_COMBINE_ROOT_SUM_SQUARES),
      alone(all.count == 1 && !squares), bytes(staysInBytes(all, from.image, depth)),
      together(samplesTogether(from, to, columns, bytes)), samplesOfRow(columns * together),
      single((columns & 1) * together), cellBytes(bytes                    ? sizeof(uint8_t)
                                                  : depth == DAX_DEPTH_32S ? sizeof(double)
                                                                           : sizeof(int16_t)),
      windowRows(all.above + all.below), windowColumns(all.left + columns + all.right - 1),
      pitch(windowColumns * together),
      rowStep((pitch * cellBytes + 2 * ownBytesPastTaps + cacheLine - 1) & ~(cacheLine - 1)),
      rowsAhead(ownMayOverlap(from.image, to.image) ? smaller(rows, rowsOfBatch) : 1),
      rowsOfRing(windowRows - 1 + rowsAhead), tapSums(ownRows<OwnTaps>()),
      merging(depth == DAX_DEPTH_1U ? ownRows<OwnMerge>().bits
                                    : ownRows<OwnMerge>().byDepth[ownDepthIndex(depth)]),
      storePass(nullptr), ring(rowsOfRing * rowStep + cacheLine), cells(nullptr),
      window(windowRows),
      samples(pitch * larger(ownSampleBytes(src.image->depth), ownSampleBytes(depth))),
      sums(samplesOfRow), merged(samplesOfRow), stored(samplesOfRow * ownSampleBytes(depth)),
      taps(tapTotal()), kernels(all.count) {
    if (!ready()) return;
    cells = ring.get() + (-reinterpret_cast<uintptr_t>(ring.get()) & (cacheLine - 1));
    OwnTap* room = taps.get();
    for (int32_t k = 0; k < all.count; ++k) {
        prepare(*all.kernels[k], room, &kernels[k]);
        room += kernels[k].tapCount;
    }
    const bool fits = alone && kernels[0].tapCount <= ownMostTapsStored;
    const auto pair = tapSums.pair[bytes ? 0 : 1];
    if (!fits || pair == nullptr || (bytes ? depth == DAX_DEPTH_1U : ownDepthBits(depth) <= 8))
        return;
    storePass = tapSums.stored[ownDepthIndex(depth)];
    pair(kernels[0].taps, kernels[0].tapCount, &pass);
    pass.start = kernels[0].start;
    pass.shift = kernels[0].shift;
    pass.lowHalves = rowStep / 4; // in rows wide enough for floats
}

ptrdiff_t Piece::tapTotal() const {
    ptrdiff_t total = 0;
    for (int32_t k = 0; k < convolution.count; ++k)
        total += ptrdiff_t{convolution.kernels[k]->nRows} * convolution.kernels[k]->nCols;
    return total;
}

void Piece::prepare(const DaxConvKernel& kernel, OwnTap* room, Ready* to) const {
    *to = {room, 0, 0, static_cast<uint32_t>(kernel.nShiftR)};
    uint32_t total = 0;
    for (ptrdiff_t row = 0; row < kernel.nRows; ++row) {
        for (ptrdiff_t col = 0; col < kernel.nCols; ++col) {
            const int32_t coef = kernel.values[row * kernel.nCols + col];
            if (coef == 0) continue;
            room[to->tapCount++] = {convolution.above - kernel.anchorY + row,
                                    (convolution.left - kernel.anchorX + col) * together, coef};
            total += static_cast<uint32_t>(coef);
        }
    }
    if (depth == DAX_DEPTH_16U || depth == DAX_DEPTH_32S)
        to->start = static_cast<int32_t>(total * 32768);
    if (depth == DAX_DEPTH_8S) to->start = static_cast<int32_t>(total * -128u);
}

// A row of the window's place, into the ring. What lies inside the image needn't be copied before
// it is made cells.
void Piece::fetch(const OwnSourceRows& source, ptrdiff_t row) {
    const ptrdiff_t x = src.x - convolution.left;
    const ptrdiff_t y = src.y - convolution.above + row;
    char* const to = cells + row % rowsOfRing * rowStep;
    if (bytes && depth != DAX_DEPTH_8S) {
        const char* from = source.fetch(x, y, windowColumns, to);
        if (from != to) ownCopyRow(from, to, pitch);
        return;
    }
    if (depth == DAX_DEPTH_32S && source.sampleBytes < 4) {
        // Samples of 16 bits aren't widened: two make a cell, and where there are none it is 0.
        const ptrdiff_t size = pitch * source.sampleBytes;
        const char* from = source.fetch(x, y, windowColumns, samples.get());
        if (from != samples.get()) ownCopyRow(from, samples.get(), size);
        ownFillRow8(0, samples.get() + size, pitch * 4 - size);
        toCells(samples.get(), to, 0, pitch);
        return;
    }
    const auto inside = [&](ptrdiff_t column) {
        return column < 0 ? 0 : smaller(column, windowColumns);
    };
    const ptrdiff_t ends[] = {inside(-x), inside(src.image->width - x), windowColumns};
    ptrdiff_t done = 0;
    for (const ptrdiff_t end : ends) {
        if (end <= done) continue;
        const char* from = source.fetch(x + done, y, end - done, samples.get());
        toCells(from, to, done * together, (end - done) * together);
        done = end;
    }
}

void Piece::toCells(const char* from, char* row, ptrdiff_t at, ptrdiff_t count) const {
    const OwnCellTable& table = ownRows<OwnCells>();
    auto* narrow = reinterpret_cast<int16_t*>(row) + at;
    if (depth == DAX_DEPTH_16U)
        table.fromWords(from, narrow, count);
    else if (depth == DAX_DEPTH_16S)
        table.fromSignedWords(from, narrow, count);
    else if (depth == DAX_DEPTH_32S && storePass != nullptr)
        table.toHalves(from, narrow, narrow + pass.lowHalves, count);
    else if (depth == DAX_DEPTH_32S)
        table.toFloats(from, reinterpret_cast<double*>(row) + at, count);
    else if (bytes)
        table.raiseBytes(from, reinterpret_cast<uint8_t*>(row) + at, count);
    else if (depth == DAX_DEPTH_8S)
        table.fromSignedBytes(from, narrow, count);
    else
        table.fromBytes(from, narrow, count);
}

// `count` sums, from one on.
void Piece::sum(const Ready& kernel, ptrdiff_t row, ptrdiff_t from, ptrdiff_t count) {
    const OwnWindow at = {window.get(), from, kernel.taps, kernel.tapCount};
    auto* narrow = reinterpret_cast<int16_t*>(sums.get());
    if (ownDepthBits(depth) == 16)
        tapSums.wide(at, kernel.start, reinterpret_cast<int32_t*>(sums.get()), count);
    else if (depth == DAX_DEPTH_32S)
        tapSums.floats(at, sums.get(), count);
    else if (bytes)
        tapSums.bytes(at, kernel.start, narrow, count);
    else
        tapSums.held(at, row % rowsOfBatch * pitch, pitch, narrow, count);
}

// A row, as samples side by side.
void Piece::convolveRow(ptrdiff_t row, char* to) {
    const int32_t method = convolution.method;
    const ptrdiff_t bit = depth == DAX_DEPTH_1U ? dst.x : 0;
    ptrdiff_t done = 0;
    if (storePass != nullptr) {
        const bool apart = pass.shift != 0 && depth != DAX_DEPTH_32S;
        done = apart ? samplesOfRow - single : samplesOfRow;
        storePass(pass, window.get(), to, done);
    }
    if (done == samplesOfRow) return;
    const ptrdiff_t count = samplesOfRow - done;
    for (int32_t k = convolution.count - 1; k >= 0; --k) {
        const Ready& kernel = kernels[k];
        const bool first = k == convolution.count - 1;
        sum(kernel, row, done, count);
        if (kernel.shift != 0) {
            const OwnShiftForm form = squares                     ? OwnShiftForm::inPlace
                                      : first                     ? OwnShiftForm::store
                                      : method == DAX_COMBINE_SUM ? OwnShiftForm::add
                                                                  : OwnShiftForm::inPlace;
            merging.shift(sums.get(), count - single, single, kernel.shift, form);
        }
        if (!alone) merging.merge(sums.get(), merged.get(), count, method, first);
    }
    if (method == DAX_COMBINE_ROOT_SUM_SQUARES) merging.root(merged.get(), count);
    to += done * ownSampleBytes(depth);
    if (alone)
        merging.storeSums(sums.get(), to, bit, count);
    else
        merging.storeMerged(merged.get(), to, bit, count);
}

void Piece::convolveChannel(int32_t channel) {
    const OwnSourceRows source(src.image, channel, 0xFF);
    const DaxImage* image = dst.image;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownSampleBytes(depth);
    const ptrdiff_t step = pixels ? sample * image->nChannels : sample;
    const ptrdiff_t plane = pixels ? sample : ptrdiff_t{image->widthStep} * image->height;
    const bool spares = together > 1 && image->alphaChannel != 0;
    const bool direct = step == sample * together && !spares;
    char* to = static_cast<char*>(image->imageData) + dst.y * image->widthStep +
               (channel > 0 ? channel - 1 : 0) * plane + (depth == DAX_DEPTH_1U ? 0 : dst.x * step);
    ptrdiff_t fetched = 0; // rows of the window's place
    for (ptrdiff_t row = 0; row < height; ++row) {
        if (row % rowsAhead == 0)
            for (; fetched < smaller(row + rowsAhead, height) + windowRows - 1; ++fetched)
                fetch(source, fetched);
        ptrdiff_t place = row % rowsOfRing;
        for (ptrdiff_t k = 0; k < windowRows; ++k) {
            window[k] = cells + place * rowStep;
            if (++place == rowsOfRing) place = 0;
        }
        convolveRow(row, direct ? to : stored.get());
        if (!direct)
            for (ptrdiff_t k = 0; k < together - (spares ? 1 : 0); ++k)
                ownStridedMovers(sample).copy(stored.get() + k * sample, sample * together,
                                              to + k * sample, step, width);
        to += image->widthStep;
    }
}

void Piece::convolve(int32_t channels) {
    if (!ready()) return;
    if (together > 1)
        convolveChannel(0);
    else
        for (int32_t channel = 1; channel <= channels; ++channel) convolveChannel(channel);
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
    piece.convolve(channels);
    return true;
}
