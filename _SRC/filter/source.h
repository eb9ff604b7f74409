// Rows of a plain image with what lies beyond its edges: samples of a channel, or whole pixels,
// side by side, then cells to be multiplied.
#ifndef OWN_SOURCE_H
#define OWN_SOURCE_H

#include "frame/daxlib.h"
#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// Samples of the rows of one channel, or of all channels of interleaved pixels. Bits come as bytes
// of 0 and 1.
struct OwnSourceRows {
    const DaxImage* image;
    const char* start;     // of the first row of the channel
    ptrdiff_t sampleBytes; // of a sample as it comes
    ptrdiff_t pixelBytes;  // of the samples of a pixel that come
    ptrdiff_t pixelStep;   // bytes in the image; 0 for bits
    uint32_t constantMask; // what is kept of a border constant

    // One channel, from 1, or with 0 all channels of a pixel. Border constants of bitonal images
    // keep the bits of the mask.
    OwnSourceRows(const DaxImage* plain, int32_t channel, uint32_t bitonalMask);

    // `count` pixels from a place on, which may lie anywhere: where they are in the image, or a
    // copy in `block`.
    const char* fetch(ptrdiff_t x, ptrdiff_t y, ptrdiff_t count, char* block) const;

private:
    void fill(int32_t side, char* block, ptrdiff_t count) const;
    void copyPixel(const char* row, ptrdiff_t x, char* block) const;
    void copyRun(const char* row, ptrdiff_t x, char* block, ptrdiff_t count) const;
};

// From samples to cells. Unsigned words lose 32768, so that they are signed cells; so do the low
// halves of samples of 32 bits.
struct OwnCellTable {
    void (*expandBits)(const char* row, ptrdiff_t bit, char* bytes, ptrdiff_t count);
    void (*fromBytes)(const char* samples, int16_t* cells, ptrdiff_t count);
    void (*fromSignedBytes)(const char* samples, int16_t* cells, ptrdiff_t count);
    void (*raiseBytes)(const char* samples, uint8_t* cells, ptrdiff_t count); // by 128
    void (*fromWords)(const char* samples, int16_t* cells, ptrdiff_t count);
    void (*fromSignedWords)(const char* samples, int16_t* cells, ptrdiff_t count);
    void (*toHalves)(const char* samples, int16_t* high, int16_t* low, ptrdiff_t count);
    void (*toFloats)(const char* samples, double* cells, ptrdiff_t count);
};

struct OwnCells {
    using Table = OwnCellTable;
};

#endif
