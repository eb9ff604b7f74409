// Weighted sums over cells, the heart of both convolutions: a row of sums is the total, over a list
// of taps, of a run of cells times a coefficient. Cells are samples made wide enough to be
// multiplied and laid side by side in rows.
#ifndef OWN_TAPS_H
#define OWN_TAPS_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

struct OwnTap {
    ptrdiff_t offset; // of the first cell
    int32_t coef;     // -128 to 127
};

// Each writes `width` sums; those of integers wrap in the width of a sum, and all but `held` may go
// by any order of the taps. Runs of no taps give zeroes, or `start`.
struct OwnTapTable {
    // Bytes, with taps of which no sum can leave 16 bits.
    void (*bytes)(const uint8_t* cells, const OwnTap* taps, ptrdiff_t tapCount, int16_t* sums,
                  ptrdiff_t width);
    void (*narrow)(const int16_t* cells, const OwnTap* taps, ptrdiff_t tapCount, int16_t* sums,
                   ptrdiff_t width);
    // A sum is held at the limits of 16 bits where the cell of a tap lies in a whole group of eight
    // from the first multiple of 8 in its run on, and wraps elsewhere. `phase` is the place of
    // cells[0], modulo 8.
    void (*held)(const int16_t* cells, int32_t phase, const OwnTap* taps, ptrdiff_t tapCount,
                 int16_t* sums, ptrdiff_t width);
    void (*wide)(const int16_t* cells, const OwnTap* taps, ptrdiff_t tapCount, int32_t start,
                 int32_t* sums, ptrdiff_t width);
    void (*words)(const int32_t* cells, const OwnTap* taps, ptrdiff_t tapCount, int32_t* sums,
                  ptrdiff_t width);
    // In the order of the taps, each sum rounded.
    void (*floats)(const double* cells, const OwnTap* taps, ptrdiff_t tapCount, double* sums,
                   ptrdiff_t width);
};

struct OwnTaps {
    using Table = OwnTapTable;
};

#endif
