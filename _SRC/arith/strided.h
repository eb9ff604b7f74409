// For row kernels only: one channel of pixels that lie side by side, by the function that serves
// flat runs, on blocks in which the samples lie side by side.
#ifndef OWN_STRIDED_H
#define OWN_STRIDED_H

#include "frame/lanes.h"

#include <cstddef>
#include <cstdint>

namespace {

// dst[i] = of(a[i], b[i]) with steps in bytes. What lies between the samples isn't touched.
template <class T, class Of>
void ownCombineStrided(const char* a, ptrdiff_t stepA, const char* b, ptrdiff_t stepB, char* dst,
                       ptrdiff_t stepDst, ptrdiff_t count, Of of) {
    T blockA[ownStridedBlock];
    T blockB[ownStridedBlock];
    while (count > 0) {
        const ptrdiff_t n = count < ownStridedBlock ? count : ownStridedBlock;
        ownGather(a, stepA, blockA, n);
        ownGather(b, stepB, blockB, n);
        for (ptrdiff_t i = 0; i < n; ++i) blockA[i] = of(blockA[i], blockB[i]);
        ownScatter(blockA, dst, stepDst, n);
        a += n * stepA;
        b += n * stepB;
        dst += n * stepDst;
        count -= n;
    }
}

// dst[i] = of(src[i]), likewise.
template <class T, class Of>
void ownMapStrided(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst,
                   ptrdiff_t count, Of of) {
    T block[ownStridedBlock];
    while (count > 0) {
        const ptrdiff_t n = count < ownStridedBlock ? count : ownStridedBlock;
        ownGather(src, stepSrc, block, n);
        for (ptrdiff_t i = 0; i < n; ++i) block[i] = of(block[i]);
        ownScatter(block, dst, stepDst, n);
        src += n * stepSrc;
        dst += n * stepDst;
        count -= n;
    }
}

} // namespace

#endif
