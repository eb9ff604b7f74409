// Row kernels of the blur. The sums of the columns of a rectangle are kept and moved down from row
// to row; along a row the sum of the rectangle moves from pixel to pixel.
#ifndef OWN_BLUR_H
#define OWN_BLUR_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// What a sum is multiplied by. The product with `scale` is truncated; where `single` isn't 0, the
// truncated single precision product with it is the same.
struct OwnBlurScale {
    double scale;
    float single;
};

// For windows of so many pixels.
OwnBlurScale ownBlurScale(int64_t count);

// Samples lie side by side. Columns are 32-bit integers, or floats for samples of 32 bits.
struct OwnBlurRows {
    // columns[i] += row[i]
    void (*add)(const char* row, void* columns, ptrdiff_t count);
    // to[i] = from[i] + (entering[i] - leaving[i]); `to` may be `from`.
    void (*slide)(const char* entering, const char* leaving, const void* from, void* to,
                  ptrdiff_t count);
    // The means of `rows` rows, each from width + nCols columns of its own.
    void (*means)(const void* const* columns, char* const* dst, int32_t rows, ptrdiff_t width,
                  ptrdiff_t nCols, const OwnBlurScale& scale);
    int32_t rowsAtOnce;
};

constexpr int32_t ownMostBlurRows = 4;

struct OwnBlurTable {
    OwnBlurRows byDepth[5]; // by ownDepthIndex
};

struct OwnBlur {
    using Table = OwnBlurTable;
};

#endif
