// The library's images as values of C++: freed by themselves, read and written row by row.
#ifndef EXAMPLES_COMMON_IMAGE_H
#define EXAMPLES_COMMON_IMAGE_H

#include <daxlib.h>

#include <cstdint>
#include <memory>

struct FreeImage {
    void operator()(DaxImage* image) const {
        daxDeallocate(image, DAX_IMAGE_HEADER | DAX_IMAGE_DATA);
    }
};
using Image = std::unique_ptr<DaxImage, FreeImage>;

struct Make {
    int32_t width;
    int32_t height;
    int32_t channels = 3;
    int32_t depth = DAX_DEPTH_8U;
    int32_t order = DAX_DATA_PIXEL;
};

// An image of zeroes. Throws std::bad_alloc.
Image makeImage(const Make& make);
Make makeOf(const DaxImage* image);
Image copyOf(const DaxImage* image);

// One row of one channel, counted from 0, as plain numbers. Bits are 0 and 1.
void getRow(const DaxImage* image, int32_t channel, int32_t row, int32_t* samples);
void setRow(DaxImage* image, int32_t channel, int32_t row, const int32_t* samples);

#endif
