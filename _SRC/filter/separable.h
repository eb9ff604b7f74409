// The separable convolution of one plain rectangle.
#ifndef OWN_SEPARABLE_H
#define OWN_SEPARABLE_H

#include "frame/daxlib.h"
#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

struct OwnSeparable {
    const DaxConvKernel* across; // its columns
    const DaxConvKernel* down;   // its rows
    int32_t srcChannel;          // 0 for all
    int32_t dstChannel;
    int32_t shift;
};

// Convolves a rectangle. The window of its first pixel starts at (srcX, srcY) of the source, which
// may lie anywhere. Without memory for its rows it does nothing.
void ownSeparate(const OwnSeparable& filter, const DaxImage* srcImage, ptrdiff_t srcX,
                 ptrdiff_t srcY, const DaxImage* dstImage, ptrdiff_t dstX, ptrdiff_t dstY,
                 ptrdiff_t height, ptrdiff_t width);

// The last step, from sums to samples: shift, clamp, store.
struct OwnSeparableTable {
    using Store = void (*)(const void* sums, char* dst, ptrdiff_t bit, ptrdiff_t width,
                           int32_t shift);
    // Sums that fit 16 bits, signed and unsigned, of bits and of samples of 8 bits.
    Store narrow[3]; // 1U, 8U, 8S
    Store narrowUnsigned[3];
    // Sums of 32 bits.
    Store wideBits;
    Store wide[5]; // by ownDepthIndex
};

struct OwnSeparableRows {
    using Table = OwnSeparableTable;
};

#endif
