// Set bits in runs of bits, or in the difference of two.
#ifndef OWN_ONES_H
#define OWN_ONES_H

#include "frame/kernels.h"

#include <cstddef>

struct OwnOnesTable {
    // Of `count` bits from a bit of the first byte on.
    ptrdiff_t (*ones)(const char* src, int32_t bit, ptrdiff_t count);
    // Of their exclusive or.
    ptrdiff_t (*differing)(const char* a, int32_t bitA, const char* b, int32_t bitB,
                           ptrdiff_t count);
};

struct OwnOnes {
    using Table = OwnOnesTable;
};

#endif
