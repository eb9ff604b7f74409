// The reduction of depth in its three stages.
#ifndef OWN_OWNREDUCE_H
#define OWN_OWNREDUCE_H

#include "color/owncolor.h"

#include <cstddef>
#include <cstdint>

// Runs of samples in the depth that they come from and go to.
struct OwnReduceTable {
    void (*from32To16)(const char* src, char* dst, ptrdiff_t count);
    void (*from32To8)(const char* src, char* dst, ptrdiff_t count);
    void (*from16To8)(const char* src, char* dst, ptrdiff_t count);
    void (*from8To1)(const char* src, char* dst, ptrdiff_t count);
};

struct OwnReduce {
    using Table = OwnReduceTable;
};

// What the stages need to know of a call.
struct OwnReduction {
    DaxImage* srcImage;
    DaxImage* dstImage;
    int32_t jitterType;
    int32_t ditherOption;
    int32_t levelBits;
};

constexpr int32_t ownNoiseCount = 1024;

// The tables of a jittering call.
struct OwnNoise {
    double jitterNoise[ownNoiseCount];
    int32_t jitterShuffle[ownNoiseCount];

    void refill();
};

// All the stages of a call.
void ownReduce(const OwnCall& call, const OwnReduction& is, const int32_t* tilePos);

// False after a report: the depths don't go together, or aren't to be dithered.
bool ownReduceFits(const OwnReduction& is);

void ownReduceBits(const OwnReduction& is, const OwnColorArea& src, const OwnColorArea& dst);
// Changes the source as well.
void ownjitter_rect(const OwnReduction& is, const OwnNoise& noise, const OwnColorArea& src,
                    const OwnColorArea& dst);
void own_dither_rect(const OwnReduction& is, const OwnColorArea& dst);

#endif
