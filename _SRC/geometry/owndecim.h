// The engine of daxDecimate, and its row kernels.
#ifndef OWN_OWNDECIM_H
#define OWN_OWNDECIM_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// Destination size over source size, `upper` at most `lower`.
struct OwnFraction {
    int32_t upper;
    int32_t lower;

    bool whole() const { return lower % upper == 0; }
    // Source places to a destination place, in 1/256.
    int64_t step() const { return (int64_t{lower} << 8) / upper; }
};

// Images and arguments that have passed the checks.
void ownDecimate(DaxImage* srcImage, DaxImage* dstImage, OwnFraction x, OwnFraction y,
                 int32_t interpolate, const int32_t* tilePos);

// Two samples side by side, or four in two rows of pairs, become a number of as many bytes as a
// pair has. They are weighed in rounds: the weights of a stretch of columns are those of the next
// one.
struct OwnDecimateWeights {
    // Bytes of pairs, in whole blocks of 128: at the end they go on from `again`.
    ptrdiff_t again;
    ptrdiff_t end;
    // Rows of pairs of weights in as many bytes as the samples have. Linear ones of bytes are
    // unsigned. Cubic ones of bytes are two digits to a base of 64, high ones before low ones, a
    // row each; those of words fill two rows for each pair of samples.
    const char* rows;
    ptrdiff_t rowBytes;

    const char* row(ptrdiff_t k) const { return rows + k * rowBytes; }
};

struct OwnWindows;

// Takes pairs out of windows of a source row, and a cubic's others `second` bytes on.
typedef void OwnTakeFrom(const char* src, ptrdiff_t second, const OwnWindows& windows,
                         const OwnDecimateWeights& weights, char* numbers, ptrdiff_t bytes);

// By the scheme, linear or cubic, and by bytes of a sample, 1 or 2. Pairs and numbers are read and
// written up to a whole block of 128 bytes.
struct OwnDecimateTable {
    void (*take[2][2])(const char* const* pairs, const OwnDecimateWeights& weights, char* numbers,
                       ptrdiff_t bytes);
    OwnTakeFrom* takeFrom[2][2];
    // Of two or four rows of such numbers.
    void (*mix[2][2])(const char* const* rows, const int32_t* weights, char* dst, ptrdiff_t bytes);
};

struct OwnDecimate {
    using Table = OwnDecimateTable;
};

#endif
