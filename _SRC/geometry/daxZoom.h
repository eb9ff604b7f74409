// Row kernels of daxZoom, on one source row each. Samples count from the row's start in the
// source's own layout; work rows and destinations are packed.
#ifndef OWN_DAXZOOM_H
#define OWN_DAXZOOM_H

#include <cstddef>
#include <cstdint>

struct OwnLinearTaps {
    ptrdiff_t count;       // samples of a work row
    const int32_t* sample; // two to each
    const int16_t* weight; // two to each
    const int32_t* window; // for 8 at a time, the first of 16 source bytes that hold all taps; or
                           // null
    const uint8_t* order;  // of the bytes in the window, as four 16-bit pairs in each vector
};

struct OwnCubicTaps {
    ptrdiff_t count;       // columns
    const int32_t* column; // four to each, in samples
    const double* a;       // the weights of the first, second and third differences
    const double* b;
    const double* c;
    bool neighbours; // the four samples of a column lie side by side
};

struct OwnZoomTable {
    // By bytes of a sample, 1 or 2.
    void (*linearPass[2])(const char* src, const OwnLinearTaps& taps, int16_t* row);
    void (*linearBlend[2])(const int16_t* upper, const int16_t* lower, int32_t weight, char* dst,
                           ptrdiff_t count);
    void (*cubicPass[2])(const char* src, const OwnCubicTaps& taps, float* row);
    void (*cubicBlend[2])(const float* const* rows, const double* weights, char* dst,
                          ptrdiff_t count);
    bool windows; // whether the kernels use them
};

struct OwnZoom {
    using Table = OwnZoomTable;
};

#endif
