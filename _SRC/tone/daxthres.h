// The row kernels of the threshold.
#ifndef OWN_DAXTHRES_H
#define OWN_DAXTHRES_H

#include "frame/kernels.h"

#include <cstddef>

struct OwnThresholdRow {
    void (*line)(const char* src, char* dst, ptrdiff_t count, int32_t threshold);
    void (*strided)(const char* src, char* dst, ptrdiff_t count, ptrdiff_t stepSrc,
                    ptrdiff_t stepDst, int32_t threshold);
};

struct OwnThresholdTable {
    OwnThresholdRow byDepth[5]; // by ownDepthIndex
};

struct OwnThreshold {
    using Table = OwnThresholdTable;
};

#endif
