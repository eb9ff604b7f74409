// Row kernels of daxZoom, on samples that lie side by side.
#ifndef OWN_DAXZOOM_H
#define OWN_DAXZOOM_H

#include <cstddef>
#include <cstdint>

struct OwnCubicTaps {
    ptrdiff_t count;
    const char* samples; // four to each
    const double* a;     // the weights of the first, second and third differences
    const double* b;
    const double* c;
};

// By bytes of a sample, 1 or 2.
struct OwnZoomTable {
    // Of two samples and two weights to each number.
    void (*linearPass[2])(const char* taps, const int16_t* weights, int16_t* row, ptrdiff_t count);
    // The first `plain` numbers lie between samples; past them they may be extrapolated.
    void (*linearBlend[2])(const int16_t* upper, const int16_t* lower, int32_t weight, char* dst,
                           ptrdiff_t plain, ptrdiff_t count);
    void (*cubicPass[2])(const OwnCubicTaps& taps, float* row);
    void (*cubicBlend[2])(const float* const* rows, const double* weights, char* dst,
                          ptrdiff_t count);
};

struct OwnZoom {
    using Table = OwnZoomTable;
};

#endif
