#include "filter/separable.h"

#include "filter/source.h"
#include "filter/taps.h"
#include "frame/depth.h"
#include "frame/memory.h"
#include "frame/movers.h"

namespace {

// The range of a weighted sum of numbers in a range. Coefficients are so few and small that no sum
// of them leaves 64 bits.
struct Range {
    int64_t least;
    int64_t most;

    Range weighted(const int8_t* coefs, int32_t count) const {
        Range total = {0, 0};
        for (int32_t i = 0; i < count; ++i) {
            total.least += coefs[i] * (coefs[i] > 0 ? least : most);
            total.most += coefs[i] * (coefs[i] > 0 ? most : least);
        }
        return total;
    }
    bool within(int64_t low, int64_t high) const { return least >= low && most <= high; }
};

// All sums wrap in 32 bits, so that they may be computed in any width and order that gives the same
// low bits. Where no sum can leave 16 bits, neither do its lanes.
enum class Width { narrow, narrowUnsigned, wide };

class Block {
public:
    Block(const OwnSeparable& all, const DaxImage* srcImage, const DaxImage* dstImage,
          ptrdiff_t rows, ptrdiff_t columns);

    bool ready() const {
        return ring && samples && line && sums && stored && windowRows && down && across;
    }
    void filter(const OwnSourceRows& source, ptrdiff_t srcX, ptrdiff_t srcY, char* dst,
                ptrdiff_t dstBit, ptrdiff_t dstStep);

private:
    void unpack(const char* from, char* to) const;
    void sumDown();
    void sumAcross();

    const OwnSeparable& separable;
    const DaxImage* dstHeader;
    const int32_t depth;
    const ptrdiff_t height;
    const ptrdiff_t width;
    const ptrdiff_t together; // samples of a pixel that are worked side by side
    const ptrdiff_t columnsOfWindow;
    const ptrdiff_t pitch; // cells of a row
    const ptrdiff_t sumsOfRow;
    const ptrdiff_t cellBytes;
    Width lineWidth;
    Width sumWidth;
    int32_t start;
    OwnSeparableTable::Store store;
    OwnBuffer<char> ring;
    OwnBuffer<char> samples;
    OwnBuffer<int32_t> line;
    OwnBuffer<int32_t> sums;
    OwnBuffer<char> stored;
    OwnBuffer<const char*> windowRows;
    OwnBuffer<OwnTap> down;
    OwnBuffer<OwnTap> across;
};

Block::Block(const OwnSeparable& all, const DaxImage* srcImage, const DaxImage* dstImage,
             ptrdiff_t rows, ptrdiff_t columns)
    : separable(all), dstHeader(dstImage), depth(srcImage->depth), height(rows), width(columns),
      together(all.srcChannel == 0 && srcImage->dataOrder == DAX_DATA_PIXEL ? srcImage->nChannels
                                                                            : 1),
      columnsOfWindow(columns + all.across->nCols - 1), pitch(columnsOfWindow * together),
      sumsOfRow(columns * together),
      cellBytes(depth == DAX_DEPTH_32S ? sizeof(int32_t) : sizeof(int16_t)), lineWidth(Width::wide),
      sumWidth(Width::wide), start(0), store(nullptr), ring(pitch * all.down->nRows * cellBytes),
      samples(pitch * ownSampleBytes(depth)), line(pitch), sums(sumsOfRow),
      stored(sumsOfRow * ownSampleBytes(depth)), windowRows(all.down->nRows), down(all.down->nRows),
      across(all.across->nCols) {
    if (!ready()) return;
    for (ptrdiff_t i = 0; i < all.down->nRows; ++i) down[i] = {i, 0, all.down->values[i]};
    for (ptrdiff_t i = 0; i < all.across->nCols; ++i)
        across[i] = {0, i * together, all.across->values[i]};
    const OwnSeparableTable& rowsTable = ownRows<OwnSeparableRows>();
    store = depth == DAX_DEPTH_1U ? rowsTable.wideBits : rowsTable.wide[ownDepthIndex(depth)];
    if (depth == DAX_DEPTH_16U) {
        uint32_t total = 0;
        for (int32_t i = 0; i < all.down->nRows; ++i)
            total += static_cast<uint32_t>(int32_t{all.down->values[i]});
        start = static_cast<int32_t>(total * 32768);
    }
    if (ownDepthBits(depth) > 8) return;
    const Range cell = depth == DAX_DEPTH_1U   ? Range{0, 1}
                       : depth == DAX_DEPTH_8U ? Range{0, 255}
                                               : Range{-128, 127};
    const Range ofLine = cell.weighted(all.down->values, all.down->nRows);
    if (!ofLine.within(INT16_MIN, INT16_MAX)) return;
    lineWidth = Width::narrow;
    const Range ofSum = ofLine.weighted(all.across->values, all.across->nCols);
    const int32_t index = depth == DAX_DEPTH_1U ? 0 : ownDepthIndex(depth) + 1;
    if (ofSum.within(INT16_MIN, INT16_MAX)) {
        sumWidth = Width::narrow;
        store = rowsTable.narrow[index];
    } else if (ofSum.within(0, UINT16_MAX)) {
        sumWidth = Width::narrowUnsigned;
        store = rowsTable.narrowUnsigned[index];
    }
}

void Block::unpack(const char* from, char* to) const {
    const OwnCellTable& cells = ownRows<OwnCells>();
    auto* narrow = reinterpret_cast<int16_t*>(to);
    switch (depth) {
    case DAX_DEPTH_8S: cells.fromSignedBytes(from, narrow, pitch); break;
    case DAX_DEPTH_16U: cells.fromWords(from, narrow, pitch); break;
    case DAX_DEPTH_16S: cells.fromSignedWords(from, narrow, pitch); break;
    case DAX_DEPTH_32S: ownCopyRow(from, to, pitch * cellBytes); break;
    default: cells.fromBytes(from, narrow, pitch); break;
    }
}

void Block::sumDown() {
    const OwnTapTable& table = ownRows<OwnTaps>();
    const OwnWindow window = {windowRows.get(), 0, down.get(), separable.down->nRows};
    if (lineWidth == Width::narrow)
        table.narrow(window, reinterpret_cast<int16_t*>(line.get()), pitch);
    else if (depth == DAX_DEPTH_32S)
        table.words(window, line.get(), pitch);
    else
        table.wide(window, start, line.get(), pitch);
}

void Block::sumAcross() {
    const OwnTapTable& table = ownRows<OwnTaps>();
    const auto* row = reinterpret_cast<const char*>(line.get());
    const OwnWindow window = {&row, 0, across.get(), separable.across->nCols};
    if (sumWidth != Width::wide)
        table.narrow(window, reinterpret_cast<int16_t*>(sums.get()), sumsOfRow);
    else if (lineWidth == Width::narrow)
        table.wide(window, 0, sums.get(), sumsOfRow);
    else
        table.words(window, sums.get(), sumsOfRow);
}

// The ring holds the rows of the window; the first one gives way to the next.
void Block::filter(const OwnSourceRows& source, ptrdiff_t srcX, ptrdiff_t srcY, char* dst,
                   ptrdiff_t dstBit, ptrdiff_t dstStep) {
    const ptrdiff_t nRows = separable.down->nRows;
    const ptrdiff_t sample = ownSampleBytes(depth);
    const bool direct = depth == DAX_DEPTH_1U || dstStep == sample * together;
    for (ptrdiff_t row = 0; row < height + nRows - 1; ++row) {
        const ptrdiff_t place = row % nRows;
        const char* from = source.fetch(srcX, srcY + row, columnsOfWindow, samples.get());
        unpack(from, ring.get() + place * pitch * cellBytes);
        if (row < nRows - 1) continue;
        for (ptrdiff_t i = 0; i < nRows; ++i) {
            const ptrdiff_t at = place + 1 + i;
            windowRows[i] = ring.get() + (at < nRows ? at : at - nRows) * pitch * cellBytes;
        }
        sumDown();
        sumAcross();
        char* to = direct ? dst : stored.get();
        store(sums.get(), to, dstBit, sumsOfRow, separable.shift);
        if (!direct) ownStridedMovers(sample).copy(to, sample, dst, dstStep, width);
        dst += dstHeader->widthStep;
    }
}

} // namespace

void ownSeparate(const OwnSeparable& filter, const DaxImage* srcImage, ptrdiff_t srcX,
                 ptrdiff_t srcY, const DaxImage* dstImage, ptrdiff_t dstX, ptrdiff_t dstY,
                 ptrdiff_t height, ptrdiff_t width) {
    Block block(filter, srcImage, dstImage, height, width);
    if (!block.ready()) return;
    const bool pixels = dstImage->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownSampleBytes(dstImage->depth);
    const ptrdiff_t step = pixels ? sample * dstImage->nChannels : sample;
    const ptrdiff_t plane = pixels ? sample : ptrdiff_t{dstImage->widthStep} * dstImage->height;
    const bool bits = dstImage->depth == DAX_DEPTH_1U;
    char* const dst = static_cast<char*>(dstImage->imageData) + dstY * dstImage->widthStep +
                      (bits ? 0 : dstX * step);
    const auto channel = [&](int32_t from, int32_t to) {
        block.filter(OwnSourceRows(srcImage, from, 1), srcX, srcY,
                     dst + (to > 0 ? to - 1 : 0) * plane, bits ? dstX : 0, step);
    };
    if (filter.srcChannel != 0 || pixels)
        channel(filter.srcChannel, filter.dstChannel);
    else
        for (int32_t c = 1; c <= srcImage->nChannels; ++c) channel(c, c);
}
