// The row kernels of daxConvert.
#ifndef OWN_DAXCVRT_H
#define OWN_DAXCVRT_H

#include "frame/kernels.h"

#include <cstddef>

using OwnConvertRun = void (*)(const char* src, char* dst, ptrdiff_t count);

struct OwnConvertTable {
    // By ConvertMode and by ownDepthIndex of source and destination.
    OwnConvertRun samples[2][5][5];
    // By ownDepthIndex of the source, from samples at any step, which is in bytes, to bits from the
    // top of the first byte on. What follows the last bit is kept.
    void (*bits[5])(const char* src, ptrdiff_t step, char* dst, ptrdiff_t count);
};

struct OwnConvert {
    using Table = OwnConvertTable;
};

#endif
