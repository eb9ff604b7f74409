// The row kernels of the norms. All figures are of the magnitudes |a[i] - b[i]|, formed with wrap
// in 32 bits; a single image is measured against zeroes.
#ifndef OWN_DAXNORM_H
#define OWN_DAXNORM_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// So many samples, at most, are taken at once, and the sums of a block are exact in integers. While
// one is worked the next one comes: norms of two images of bytes in memory go at 0.97 of a stream
// so, and at 0.9 by blocks of 4096.
constexpr ptrdiff_t ownNormBlock = 1024;

struct OwnNormRow {
    int64_t (*largest)(const char* a, const char* b, ptrdiff_t count);
    int64_t (*sum)(const char* a, const char* b, ptrdiff_t count);
    // Of the squares; -1 where their sum may be above 2^52.
    int64_t (*squares)(const char* a, const char* b, ptrdiff_t count);
    // The same where b is all zeroes, of which the first few are read.
    int64_t (*squaresOfOne)(const char* a, const char* b, ptrdiff_t count);
    // Those of the differences, and those of b.
    int64_t (*squaresOfBoth)(const char* a, const char* b, ptrdiff_t count, int64_t* second);
    // A sum added to a total in floats, sample after sample.
    double (*addSum)(double total, const char* a, const char* b, ptrdiff_t count);
    double (*addSquares)(double total, const char* a, const char* b, ptrdiff_t count);
    // Samples at a distance, brought together.
    void (*gather)(const char* src, ptrdiff_t step, char* block, ptrdiff_t count);
};

struct OwnNormTable {
    OwnNormRow byDepth[5]; // by ownDepthIndex
};

struct OwnNorm {
    using Table = OwnNormTable;
};

#endif
