// The row kernels of the median. The median of n values is the one at place n / 2 of their rising
// order, counted from 0.
#ifndef OWN_MEDIAN_H
#define OWN_MEDIAN_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// The window of an output row: lines of cells, the first at the window's top, and how far apart the
// columns of the window are, in cells.
struct OwnMedianWindow {
    const char* const* lines;
    int32_t nRows;
    int32_t nCols;
    ptrdiff_t distance;
};

// The windows of a whole rectangle of one channel; steps in bytes.
struct OwnMedianArea {
    const char* src;
    ptrdiff_t srcRowStep;
    ptrdiff_t srcCellStep;
    char* dst;
    ptrdiff_t dstRowStep;
    ptrdiff_t dstCellStep;
    int32_t height;
    int32_t width;
    int32_t nRows;
    int32_t nCols;
    bool isSigned;
    int64_t values; // of a window
    int32_t stripe; // columns that columns8 works at a time
};

struct OwnMedianLines {
    // 3 by 3 and 5 by 5 values. The latter needs work memory for 5 lines.
    void (*nine)(const OwnMedianWindow& window, char* work, char* dst, ptrdiff_t cells);
    void (*twentyFive)(const OwnMedianWindow& window, char* work, char* dst, ptrdiff_t cells);
    // Any window whose number of values can be counted in a sample.
    void (*any)(const OwnMedianWindow& window, char* work, char* dst, ptrdiff_t cells);
};

struct OwnMedianTable {
    OwnMedianLines lines[5]; // by depth index
    // Samples of 8 bits in large windows, counted in 16 bits or in 32; work memory for
    // ownColumnCounters() counters.
    void (*columns8[2])(const OwnMedianArea& area, void* work);
    // Samples of 16 bits in large windows.
    void (*sliding16)(const OwnMedianArea& area, uint32_t* work);
    // Counts of the set bits of `nCols` columns at every column; `bits` starts at a byte.
    void (*countBits)(const char* bits, ptrdiff_t nCols, uint32_t* counts, ptrdiff_t width);
    // Goes on from one row's totals to the next one's: bits are 1 where the total is enough.
    void (*moveBits)(const uint32_t* entering, const uint32_t* leaving, uint32_t* totals,
                     uint32_t enough, char* bits, ptrdiff_t width);
};

struct OwnMedians {
    using Table = OwnMedianTable;
};

inline constexpr int64_t ownSliding16Counters = 65536 + 4096 + 256;

// What a histogram of 256 bins with one of 16 over it takes, for each column of a stripe and its
// windows, and for the window.
constexpr int64_t ownColumnCounters(int64_t stripe, int64_t nCols) {
    return (stripe + nCols) * (256 + 16);
}

#endif
