// The convolution of one plain rectangle by several kernels, whose results are merged.
#ifndef OWN_CONVOLVE_H
#define OWN_CONVOLVE_H

#include "frame/daxlib.h"
#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// What all pieces of a call share: the kernels, and the window that holds them all with their
// anchors on one place.
struct OwnConvolution {
    const DaxConvKernel* const* kernels;
    int32_t count;
    int32_t method;
    ptrdiff_t left;  // columns of the window before the anchors
    ptrdiff_t above; // rows of it
    ptrdiff_t right; // columns from the anchors on
    ptrdiff_t below;

    OwnConvolution(const DaxConvKernel* const* all, int32_t kernelCount, int32_t combineMethod);
};

// Where a rectangle starts in an image.
struct OwnPlace {
    const DaxImage* image;
    ptrdiff_t x;
    ptrdiff_t y;
};

// Whether there is arithmetic for a pair of depths.
bool ownConvolves(int32_t srcDepth, int32_t dstDepth);

// Convolves every channel but the alpha channel; false when the channel counts differ. Without
// memory for its rows it does nothing.
bool ownConvolve(const OwnConvolution& convolution, const OwnPlace& src, const OwnPlace& dst,
                 ptrdiff_t height, ptrdiff_t width);

// How a row of sums is shifted. What becomes of the last pixel of an odd number
// depends on it.
enum class OwnShiftForm : int32_t { store, add, inPlace };

// The arithmetic from a kernel's sums on. Sums are of 16 bits for destinations of 1 and 8 bits, of
// 32 bits for those of 16, and floats for those of 32; what they are merged in is of 16 bits for
// destinations of 1 bit, of 32 bits for those of 8 and 16, and floats for those of 32.
struct OwnMergeRows {
    // Sums, and after them those of the last pixel of an odd number.
    void (*shift)(void* sums, ptrdiff_t width, ptrdiff_t single, uint32_t count, OwnShiftForm form);
    void (*merge)(const void* sums, void* merged, ptrdiff_t width, int32_t method, bool first);
    void (*root)(void* merged, ptrdiff_t width);
    // Into samples of the destination, which begin at a bit where they are bits.
    void (*storeSums)(const void* sums, char* dst, ptrdiff_t bit, ptrdiff_t width);
    void (*storeMerged)(const void* merged, char* dst, ptrdiff_t bit, ptrdiff_t width);
};

struct OwnMergeTable {
    OwnMergeRows bits;
    OwnMergeRows byDepth[5]; // by ownDepthIndex
};

struct OwnMerge {
    using Table = OwnMergeTable;
};

#endif
