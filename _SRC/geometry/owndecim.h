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

// Where the samples of one stretch of a row come from, in bytes from the row's start; with a place
// between samples, the first that counts, the distance of the others, and the place in 1/256.
struct OwnDecimateTaps {
    const int32_t* at;
    const int32_t* part;
    ptrdiff_t distance;
    ptrdiff_t count;
};

// By bytes of a sample, 1 or 2. What comes of one source row are 32-bit numbers: samples, linear
// ones in 1/256, or cubic ones in 1/6.
struct OwnDecimateTable {
    // Every `step` bytes.
    void (*pick[2])(const char* src, ptrdiff_t step, char* dst, ptrdiff_t stepDst, ptrdiff_t count);
    void (*take[2])(const char* src, const OwnDecimateTaps& taps, int32_t* row);
    void (*takeLinear[2])(const char* src, const OwnDecimateTaps& taps, int32_t* row);
    void (*takeCubic[2])(const char* src, const OwnDecimateTaps& taps, int32_t* row);
    // Of two rows, of samples or of linear ones, and of four rows, of samples or of cubic ones.
    void (*mixLinear[2])(const int32_t* const* rows, int32_t part, bool ofLinear, char* dst,
                         ptrdiff_t stepDst, ptrdiff_t count);
    void (*mixCubic[2])(const int32_t* const* rows, int32_t part, bool ofCubic, char* dst,
                        ptrdiff_t stepDst, ptrdiff_t count);
};

struct OwnDecimate {
    using Table = OwnDecimateTable;
};

#endif
