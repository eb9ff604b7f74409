// The row kernels of daxBitonalToGray.
#ifndef OWN_DAXBITNL_H
#define OWN_DAXBITNL_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

struct OwnBitonalTable {
    // By samples of 1, 2 and 4 bytes: a run of them from bits that begin at a byte.
    void (*expand[3])(const char* src, char* dst, ptrdiff_t count, int32_t zero, int32_t one);
};

struct OwnBitonal {
    using Table = OwnBitonalTable;
};

#endif
