// The cosine transforms of images.
#ifndef OWN_DAXDCT2D_H
#define OWN_DAXDCT2D_H

#include "frame/daxlib.h"
#include "frame/kept.h"
#include "transform/fourier.h"

#include <cstddef>
#include <cstdint>

// Cosine and sine of pi k / (2 n) for a length n that is no power of two.
struct OwnDctCosines {
    OwnDctCosines* next;
    int32_t length;
    double* dctCosines;
};

struct OwnDct : OwnKept {
    // 0.5 / cos((2 i + 1) pi / (4 h)) at h + i, for h = 8, 16, ... below `secants`; and the same
    // with 9 fraction bits.
    double* dctSecant;
    double* dctSecantFixed;
    int32_t secants;
    OwnDctCosines* cosines;
    OwnFourier* fourier;
};

// One channel of the rectangle in one image.
struct OwnDctPlane {
    char* first;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
    int32_t depth;
};

struct OwnDctJob {
    OwnDctPlane src;
    OwnDctPlane dst;
    int32_t width;
    int32_t height;
    bool inverse;
};

// Blocks of 4 by 4 and 8 by 8, the latter of all depths.
void ownDctBlock(const OwnDctJob& job);
// All other sizes; false, with the target as it was, when memory can't be had.
bool ownFixedDct(OwnDct* dct, const OwnDctJob& job);
bool ownFloatDct(OwnDct* dct, const OwnDctJob& job);

// Eight sequences lie side by side, as in the lanes of the Fourier transform.
constexpr ptrdiff_t ownDctLanes = 8;

// A whole block: from samples of any depth, through the transform with its scaling, rounded once
// and limited, and back.
struct OwnDctBlock {
    void (*fetch[5])(const char* src, ptrdiff_t rowStep, ptrdiff_t step, int32_t* to);
    void (*run[2])(int32_t* samples, int32_t least, int32_t most);
    void (*store[5])(const int32_t* from, char* dst, ptrdiff_t rowStep, ptrdiff_t step);
};

struct OwnDctTable {
    // Sums of x cos((2 i + 1) k pi / (2 n)) over i, or over k, by halves, in place; n is a power of
    // two.
    void (*split[2])(double* lanes, double* work, ptrdiff_t n, const double* secants);
    // The same sums for any length: around a Fourier transform, which takes a second set of
    // sequences as imaginary parts, forward fold and weigh, inverse weigh and fold.
    void (*fold[2])(OwnLanes from, OwnLanes to, ptrdiff_t n);
    void (*weigh[2])(OwnLanes from, OwnLanes to, ptrdiff_t n, const double* cosines);
    // Element 0 by one factor, the others by another.
    void (*scale)(double* lanes, ptrdiff_t n, double first, double rest);
    // To whole numbers of 16 bits.
    void (*roundToWords)(double* lanes, ptrdiff_t n);
    // Eight columns of an array of floats into lanes and back.
    void (*fromColumns)(const float* from, ptrdiff_t pitch, double* lanes, ptrdiff_t n);
    void (*toColumns)(const double* lanes, float* to, ptrdiff_t pitch, ptrdiff_t n);
    OwnDctBlock block[2]; // of 4 by 4, and of 8 by 8
};

struct OwnDctKernels {
    using Table = OwnDctTable;
};

#endif
