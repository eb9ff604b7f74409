// Histograms, and maps through lookup tables.
#ifndef OWN_DAXHIST_H
#define OWN_DAXHIST_H

#include "frame/daxlib.h"
#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// Equal samples wait for each other's counters, so several sets of them stand side by side.
constexpr int32_t ownCounterSets = 8;

// Samples lie `step` bytes apart. Maps may be in place.
struct OwnToneTable {
    void (*count8)(const char* src, ptrdiff_t step, ptrdiff_t count, uint32_t (*counters)[256]);
    void (*count16)(const char* src, ptrdiff_t step, ptrdiff_t count, uint32_t* counters);
    void (*map8)(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst, ptrdiff_t count,
                 const uint8_t* table);
    void (*map16)(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst, ptrdiff_t count,
                  const uint16_t* table);
};

struct OwnTone {
    using Table = OwnToneTable;
};

// Number of values that a sample of an unsigned depth can have.
constexpr int32_t ownHistSize(int32_t depth) {
    return depth == DAX_DEPTH_1U ? 2 : depth == DAX_DEPTH_8U ? 256 : 65536;
}

// Adds the samples of a plain image's region to the counters, ownHistSize() of them for each
// channel that is worked.
void ownCountSamples(const DaxImage* image, uint32_t* counters);

// Maps the region through a table for each channel that is worked, one behind the other: 256
// entries of 8 bits, or 65536 of 16.
void daxMap(DaxImage* srcImage, DaxImage* dstImage, const void* tables, const int32_t* tilePos);

#endif
