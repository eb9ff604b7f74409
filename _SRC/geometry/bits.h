// Rows of bits made of other rows of bits: picked at regular places in them, or turned from
// columns. Setting up for a row can take longer than the row, so kernels take all rows of a block.
#ifndef OWN_BITS_H
#define OWN_BITS_H

#include <cstddef>
#include <cstdint>

// Places along an axis, in fixed point.
struct OwnBitPlaces {
    int64_t start;
    int64_t step; // not negative
    int32_t unitBits;
    int64_t least; // what lies beyond is taken from there
    int64_t most;

    int64_t inside(int64_t place) const {
        return place < least ? least : place > most ? most : place;
    }
    int64_t at(int64_t k) const { return inside((start + k * step) >> unitBits); }
};

struct OwnPickedBits {
    const char* src;
    ptrdiff_t stepSrc;
    OwnBitPlaces x; // bits of a source row, all of which it has from the least to the most
    OwnBitPlaces y; // source rows
    char* dst;
    ptrdiff_t bitDst; // in the first byte
    ptrdiff_t stepDst;
    ptrdiff_t columns;
    ptrdiff_t rows;
};

// The destination's bit (x, y) comes from row x and bit y of the source; steps between rows have
// any sign, and bits go on by 1 or -1.
struct OwnTurnedBits {
    const char* src;
    ptrdiff_t bitSrc;
    ptrdiff_t stepX;
    ptrdiff_t bitStepY;
    char* dst;
    ptrdiff_t bitDst; // in the first byte
    ptrdiff_t stepDst;
    ptrdiff_t columns;
    ptrdiff_t rows;
};

struct OwnBitTable {
    void (*pick)(const OwnPickedBits& bits);
    void (*turn)(const OwnTurnedBits& bits);
};

struct OwnBits {
    using Table = OwnBitTable;
};

#endif
