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

// The samples that count for each of a stretch of a row, in rows that lie `step` bytes apart, and
// their weights, in rows `stepWeights` numbers apart.
struct OwnDecimateTaps {
    const char* samples;
    ptrdiff_t step;
    const int16_t* weights;
    ptrdiff_t stepWeights;
};

// By bytes of a sample, 1 or 2. What comes of one source row are numbers twice as wide: samples,
// linear ones in 1/256, or cubic ones in 1/6.
struct OwnDecimateTable {
    void (*take[2])(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count);
    void (*takeLinear[2])(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count);
    void (*takeCubic[2])(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count);
    // Of two rows, of samples or of linear ones, and of four rows, of samples or of cubic ones.
    void (*mixLinear[2])(const char* const* rows, const int16_t* weights, bool ofLinear, char* dst,
                         ptrdiff_t count);
    void (*mixCubic[2])(const char* const* rows, const int16_t* weights, bool ofCubic, char* dst,
                        ptrdiff_t count);
};

struct OwnDecimate {
    using Table = OwnDecimateTable;
};

#endif
