// The operations that combine two images sample by sample into a third.
#ifndef OWN_PAIR_H
#define OWN_PAIR_H

#include "frame/call.h"
#include "frame/kernels.h"

#include <cstddef>

// The kernels of one depth: a flat run, and a run that moves each image by its own number of bytes.
struct OwnPairRow {
    void (*line)(const char* a, const char* b, char* dst, ptrdiff_t count);
    void (*strided)(const char* a, const char* b, char* dst, ptrdiff_t count, ptrdiff_t stepA,
                    ptrdiff_t stepB, ptrdiff_t stepDst);
};

// The kernels of an operation. Words are 32 bits each; of a run of bits the
// destination's own are kept outside it.
struct OwnPairTable {
    OwnPairRow byDepth[5]; // by ownDepthIndex
    void (*words)(const char* a, const char* b, char* dst, ptrdiff_t count);
    void (*bits)(const char* a, int32_t bitA, const char* b, int32_t bitB, char* dst,
                 int32_t bitDst, ptrdiff_t count);
};

struct OwnPair {
    using Table = OwnPairTable;
};
struct OwnAdd : OwnPair {};
struct OwnSubtract : OwnPair {};
struct OwnMultiply : OwnPair {};
struct OwnAnd : OwnPair {};
struct OwnOr : OwnPair {};
struct OwnXor : OwnPair {};

// The checks that the family makes after those of the headers: true when the images fit each other.
bool ownPairFits(const OwnCall& call, const DaxImage* srcImageA, const DaxImage* srcImageB,
                 const DaxImage* dstImage, int32_t line = __builtin_LINE());

// The operation on plain images or tile by tile. `reverse` exchanges the samples of the sources.
void ownPairWalk(const OwnCall& call, DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                 const int32_t* tilePos, const OwnPairTable& rows, bool reverse = false,
                 int32_t line = __builtin_LINE());

#endif
