// Weighted sums over cells, the heart of both convolutions: a row of sums is the total, over a list
// of taps, of a run of cells times a coefficient. Cells are samples made wide enough to be
// multiplied and laid side by side in rows.
#ifndef OWN_TAPS_H
#define OWN_TAPS_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

struct OwnTap {
    ptrdiff_t row; // of the window
    ptrdiff_t column;
    int32_t coef; // -128 to 127
};

// Taps and the rows of cells that they are laid on, from a place on; for each further sum they move
// on by a cell.
struct OwnWindow {
    const char* const* rows;
    ptrdiff_t from; // cells
    const OwnTap* taps;
    ptrdiff_t tapCount;

    template <class Cell> const Cell* run(ptrdiff_t tap) const {
        return reinterpret_cast<const Cell*>(rows[taps[tap].row]) + taps[tap].column + from;
    }
};

// So many taps can be summed and stored in one pass; and so many bytes past the last cell that a
// tap needs are read then.
constexpr ptrdiff_t ownMostTapsStored = 64;
constexpr ptrdiff_t ownBytesPastTaps = 64;

// Such a pass: taps made ready by `pair` below, and what becomes of their sums.
struct OwnTapPass {
    struct Step {
        ptrdiff_t row;
        ptrdiff_t column;
        int32_t even; // what makes cells products for sums at even places, and at odd ones
        int32_t odd;
    };
    Step steps[ownMostTapsStored]; // in twos from the front, others from the back
    ptrdiff_t pairCount;
    ptrdiff_t firstOther;
    int32_t start;
    uint32_t shift;
    ptrdiff_t lowHalves; // cells from the high halves of 32 bits to the low ones
};

// Each writes `width` sums, which begin with `start`; those of integers wrap in the width of a sum,
// and all but `held` and `floats` go by any order of the taps.
struct OwnTapTable {
    // Bytes, with taps of which no sum can leave 16 bits.
    void (*bytes)(const OwnWindow& window, int32_t start, int16_t* sums, ptrdiff_t width);
    void (*narrow)(const OwnWindow& window, int16_t* sums, ptrdiff_t width);
    // A sum is held at the limits of 16 bits where the cell of a tap lies in a whole group of eight
    // from the first multiple of 8 in its run on, and wraps elsewhere. Places count modulo 8:
    // `phase` is that of the first row, `pitch` the distance to the next.
    void (*held)(const OwnWindow& window, ptrdiff_t phase, ptrdiff_t pitch, int16_t* sums,
                 ptrdiff_t width);
    void (*wide)(const OwnWindow& window, int32_t start, int32_t* sums, ptrdiff_t width);
    void (*words)(const OwnWindow& window, int32_t* sums, ptrdiff_t width);
    // In the order of the taps, each sum rounded.
    void (*floats)(const OwnWindow& window, double* sums, ptrdiff_t width);
    // Where it is worth it, else null: taps of bytes and of words made ready; the sums of `bytes`,
    // of `wide`, or of both halves of 32 bits, shifted, limited and stored as samples of a depth
    // (by ownDepthIndex).
    void (*pair[2])(const OwnTap* taps, ptrdiff_t tapCount, OwnTapPass* pass);
    using Store = void (*)(const OwnTapPass& pass, const char* const* rows, char* dst,
                           ptrdiff_t width);
    Store stored[5];
};

struct OwnTaps {
    using Table = OwnTapTable;
};

#endif
