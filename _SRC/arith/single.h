// The operations that turn one image into another sample by sample, most of them with a constant.
#ifndef OWN_SINGLE_H
#define OWN_SINGLE_H

#include "frame/call.h"
#include "frame/kernels.h"
#include "frame/ownrect.h"
#include "frame/runs.h"

#include <cstddef>

// The kernels of an operation. To bits the constant comes as a pattern, all ones or all zeroes, and
// the destination's bits outside a run are kept.
struct OwnSingleTable {
    OwnSingleRow byDepth[5]; // by ownDepthIndex
    void (*words)(const char* src, char* dst, ptrdiff_t count, uint32_t pattern);
    void (*bits)(const char* src, int32_t bitSrc, char* dst, int32_t bitDst, ptrdiff_t count,
                 uint32_t pattern);
};

struct OwnSingle {
    using Table = OwnSingleTable;
};
struct OwnAddS : OwnSingle {};
struct OwnSubtractS : OwnSingle {};
struct OwnSubtractFromS : OwnSingle {};
struct OwnMultiplyS : OwnSingle {};
struct OwnSquare : OwnSingle {};
struct OwnAbs : OwnSingle {};
struct OwnAndS : OwnSingle {};
struct OwnOrS : OwnSingle {};
struct OwnXorS : OwnSingle {};
struct OwnLShiftS : OwnSingle {};
struct OwnRShiftS : OwnSingle {};

// How an operation of the family finds its way over two plain images.
struct OwnWalkRule {
    bool (*runs)(DaxImage* const* images, int32_t count, OwnRuns* runs);
    bool (*bitRuns)(DaxImage* const* images, int32_t count, OwnBitRuns* runs);
};

inline constexpr OwnWalkRule ownByLayout = {ownLayoutRuns, ownBitRuns};
inline constexpr OwnWalkRule ownBySource = {ownSourceRuns, ownSourceBitRuns};

// An operation with the constant of a call.
struct OwnSingleWork {
    const OwnSingleTable& rows;
    int32_t value;
    uint32_t pattern;
    OwnWalkRule rule;
    OwnTileTexts srcTexts = ownSrcTexts;
    OwnTileTexts dstTexts = ownDstTexts;
};

// The pattern of a constant of which one bit counts.
inline uint32_t ownBitPattern(uint32_t value) { return (value & 1) != 0 ? 0xFFFFFFFF : 0; }

// The checks that the family makes after those of the headers: true when the images fit each other.
bool ownSingleFits(const OwnCall& call, const DaxImage* srcImage, const DaxImage* dstImage,
                   int32_t line = __builtin_LINE());

// The operation on plain images or tile by tile.
void ownSingleWalk(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                   const int32_t* tilePos, const OwnSingleWork& work,
                   int32_t line = __builtin_LINE());

// Logic with a constant, which takes two whole plain images of one size as one run of words.
void ownLogicWalk(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                  const int32_t* tilePos, const OwnSingleTable& rows, uint32_t value,
                  int32_t line = __builtin_LINE());

#endif
