// Products over full scale, and what else the family does to runs of samples.
#ifndef OWN_SCALE_H
#define OWN_SCALE_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

struct OwnScaleRows {
    // dst = the product of a and b
    void (*product)(const char* a, const char* b, char* dst, ptrdiff_t count);

    // Of pixels of four samples, in words as large as a pixel. The last sample is the opacity.
    // To each place of a pixel, its opacity: from a row of opacities, and from pixels.
    void (*spread)(const char* alpha, char* pixels, ptrdiff_t count);
    void (*spreadOwn)(const char* src, char* pixels, ptrdiff_t count);
    // dst = spread opacities as factors for the colours alone
    void (*factors)(const char* spread, char* dst, ptrdiff_t count);
    // dst = the colours of `colours` and the opacity of `opacities`
    void (*join)(const char* colours, const char* opacities, char* dst, ptrdiff_t count);
    // dst = the second and the third sample of `inner` and the others of `outer`
    void (*wrap)(const char* inner, const char* outer, char* dst, ptrdiff_t count);
};

// By depth (8 bits, 16 bits).
struct OwnScaleTable {
    OwnScaleRows at[2];
    // Samples taken away from full scale, in any depth.
    void (*complement)(const char* src, char* dst, ptrdiff_t byteCount);
};

struct OwnScale {
    using Table = OwnScaleTable;
};

#endif
