// The rank filters: what the engine hands to a block routine, and the routines.
#ifndef OWN_RANK_H
#define OWN_RANK_H

#include "filter/extremes.h"
#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// Columns beyond the source's left or right edge, for the rows that a block reads.
struct OwnRankMargin {
    const char* data;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
    int32_t cols;
};

// A rectangle to filter whose windows all lie in the source's memory, or beside it in the margins.
// The first pixel's window has its corner at the source's place, less the left margin's columns.
struct OwnRankBlock {
    const char* src;
    ptrdiff_t srcBytes; // of the memory at `src`
    ptrdiff_t srcRowStep;
    ptrdiff_t srcPlaneStep;
    int32_t srcX;
    int32_t srcY;
    int32_t srcCoi;
    int32_t srcChannels;
    OwnRankMargin left;
    OwnRankMargin right;
    char* dst;
    ptrdiff_t dstRowStep;
    ptrdiff_t dstPlaneStep;
    int32_t dstX;
    int32_t dstY;
    int32_t dstCoi;
    int32_t height;
    int32_t width;
    int32_t nRows;
    int32_t nCols;
    int32_t nChannels; // the destination's
    int32_t depth;
    int32_t dataOrder;

    ptrdiff_t sourceRows() const { return ptrdiff_t{height} + nRows - 1; }
    ptrdiff_t sourceCols() const { return ptrdiff_t{width} + nCols - 1; }
};

// The same for one channel, or for all channels of a pixel side by side. Cells are samples.
struct OwnRankRun {
    const char* src;
    ptrdiff_t srcRowStep;
    const char* left;
    ptrdiff_t leftRowStep;
    ptrdiff_t leftCells;
    const char* right;
    ptrdiff_t rightRowStep;
    ptrdiff_t rightCells;
    char* dst;
    ptrdiff_t dstRowStep;
    ptrdiff_t sampleBytes;
    ptrdiff_t cellStep; // bytes; the size of a sample unless one channel of several is worked
    ptrdiff_t cells;    // of an output row
    ptrdiff_t distance; // in cells, from a pixel to the next

    bool packed() const { return cellStep == sampleBytes; }
    // Rows are read where they lie.
    bool direct() const { return packed() && leftCells + rightCells == 0; }
    ptrdiff_t sourceCells(int32_t nCols) const { return cells + (nCols - 1) * distance; }
};

// All channels of a block in turn, or together where that can be. In pixel order with a channel of
// interest the largest and the smallest value are those of the first channel, whichever is asked
// for, since only the median moves on to it.
class OwnRankRuns {
public:
    OwnRankRuns(const OwnRankBlock& theBlock, bool theMedian, bool together);

    int32_t count() const { return runs; }
    OwnRankRun operator[](int32_t index) const;

private:
    const OwnRankBlock& block;
    bool median;
    bool joined;
    int32_t runs;
};

// The rows of a run with their cells side by side; those with margins, or of one channel of
// several, are brought together in a ring, row after row, as they come into the window.
class OwnRankLines {
public:
    OwnRankLines(const OwnRankRun& theRun, char* theRing, int32_t nRows, int32_t nCols)
        : run(theRun), ring(theRing), slots(nRows),
          lineBytes(theRun.sourceCells(nCols) * theRun.sampleBytes) {}

    static ptrdiff_t ringBytes(const OwnRankRun& run, int32_t nRows, int32_t nCols) {
        return run.direct() ? 0 : nRows * run.sourceCells(nCols) * run.sampleBytes;
    }

    // Takes in row `row`; rows come in order.
    const char* take(ptrdiff_t row);
    // A row that was taken, of the last `nRows`.
    const char* at(ptrdiff_t row) const {
        return run.direct() ? run.src + row * run.srcRowStep : ring + row % slots * lineBytes;
    }

private:
    const OwnRankRun& run;
    char* ring;
    ptrdiff_t slots;
    ptrdiff_t lineBytes;
};

// Row `row` of a bitonal block, from the top of the first byte on.
void ownRankBits(const OwnRankBlock& block, ptrdiff_t row, char* line);

// False when memory can't be had.
bool ownExtremeBlock(const OwnRankBlock& block, OwnExtreme which);
bool ownMedianBlock(const OwnRankBlock& block);

// Whether a median goes row by row, so that a block may have margins.
bool ownMedianTakesMargins(int32_t depth, int32_t nRows, int32_t nCols);

#endif
