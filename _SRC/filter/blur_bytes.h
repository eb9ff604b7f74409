// Row kernels of the blur of samples of 8 bits, for sets with vectors. Where a window's row begins
// and ends, what enters and leaves its column of rows has been added up from the row's beginning,
// modulo 2^16; the difference of two such prefixes moves the window's sum down by a row.
#ifndef OWN_BLUR_BYTES_H
#define OWN_BLUR_BYTES_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// From a sum to its mean. Of 8S, the truncated product with the factor. Of 8U, sums are kept with
// the base added, as the bits of a float; that times the factor, less the quotient, is a number
// whose whole part is the mean, or with `down` 1 the mean and 1, but 0 for 0.
struct OwnBlurMean {
    float factor;
    float quotient;
    uint32_t base;
    uint8_t down;
};

// For windows of 2 to ownMostBlurBytes samples.
OwnBlurMean ownBlurMean(int64_t count, bool isSigned);

constexpr int64_t ownMostBlurBytes = 21845;

// A wider window takes longer than sums of 32 bits do.
constexpr int32_t ownMostBlurColumns = 512;

constexpr ptrdiff_t ownBlurBlock = 64;
constexpr ptrdiff_t ownMostBlurWidth = 4096;
constexpr ptrdiff_t ownBlurPlane = ownMostBlurWidth + ownMostBlurColumns + ownBlurBlock;
constexpr int32_t ownBlurSteps = 4;

// Rows have any sample first, then the columns from the first window's on, and end in a whole
// block, with room for the window behind the last block of results. Rows, prefixes and sums begin
// at whole blocks of memory, too.
struct OwnBlurStrip {
    ptrdiff_t width;    // windows side by side
    ptrdiff_t rowBytes; // of all rows of samples
    int32_t nRows;
    int32_t nCols;
    OwnBlurMean mean;
    char* prefixes;    // 2 * ownBlurSteps planes, work space
    uint32_t* columns; // rowBytes of them, work space
};

// A row of means, and what enters and leaves the windows before it.
struct OwnBlurStep {
    const char* entering;
    const char* leaving;
    char* dst;
    const char* readNext; // what will be read and written later, as many bytes as there are windows
    const char* writtenNext;
};

struct OwnBlurByteRows {
    // The sums of the first row's windows, from rows one after the other. Sums fill whole blocks,
    // in an order of the kernels' own.
    void (*start)(const OwnBlurStrip& strip, const char* rows, ptrdiff_t rowStep, uint32_t* sums);
    // Moves the sums on from row to row, at most ownBlurSteps, and gives the means.
    void (*means)(const OwnBlurStrip& strip, const OwnBlurStep* steps, int32_t rows,
                  uint32_t* sums);
};

struct OwnBlurByteTable {
    OwnBlurByteRows byDepth[2]; // 8U and 8S; null where the set has none
};

struct OwnBlurBytes {
    using Table = OwnBlurByteTable;
};

#endif
