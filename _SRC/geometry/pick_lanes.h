// For row kernels only: bytes out of the windows of a row of picks.
#ifndef OWN_PICK_LANES_H
#define OWN_PICK_LANES_H

#include "frame/lanes.h"
#include "frame/vectors.h"
#include "geometry/picks.h"

namespace {

// Where the steps of windows have come to.
struct OwnStep {
    ptrdiff_t step = 0;
    ptrdiff_t base = 0; // of the round in the source

    void next(const OwnWindows& windows, ptrdiff_t steps) {
        step += steps;
        if (step != windows.steps) return;
        step = windows.again;
        base += windows.stride;
    }
};

// A window that would pass the end of the row begins sooner, and its order goes up by as much; what
// is marked as another window's stays so.
OWN_INLINE char ownMoveInside(ptrdiff_t* place, const OwnWindows& from, ptrdiff_t most) {
    const ptrdiff_t by = *place - from.last;
    *place = from.last;
    return static_cast<char>(by < most ? by : most);
}

#if defined(__AVX512BW__)
#define OWN_BYTE_PERMUTES __attribute__((target("avx512vbmi")))

// 64 bytes of each of some sources that lie `apart`, out of as many windows as are known or, with
// 0, as there are.
template <ptrdiff_t known, int32_t sources>
OWN_BYTE_PERMUTES OWN_INLINE void ownPermutedStep(const char* src, ptrdiff_t apart,
                                                  const OwnWindows& from, const OwnStep& at,
                                                  __m512i* bytes) {
    for (ptrdiff_t i = 0; i < (known != 0 ? known : from.count); ++i) {
        const ptrdiff_t window = i * from.steps + at.step;
        __m512i order = _mm512_loadu_si512(from.order + window * 64);
        ptrdiff_t place = at.base + from.first[window];
        if (place > from.last)
            order = _mm512_add_epi8(order, _mm512_set1_epi8(ownMoveInside(&place, from, 63)));
        const __mmask64 here = ~_mm512_movepi8_mask(order);
        for (int32_t s = 0; s < sources; ++s) {
            const __m512i all = _mm512_loadu_si512(src + s * apart + place);
            bytes[s] = i == 0 ? _mm512_permutexvar_epi8(order, all)
                              : _mm512_mask_permutexvar_epi8(bytes[s], here, order, all);
        }
    }
}
#endif

#if defined(__AVX2__)
// 16 bytes.
OWN_INLINE __m128i ownShuffledStep(const char* src, const OwnWindows& from, const OwnStep& at) {
    const auto load = [](const void* bytes) {
        return _mm_loadu_si128(static_cast<const __m128i_u*>(bytes));
    };
    __m128i bytes = _mm_setzero_si128();
    for (ptrdiff_t i = at.step; i < from.count * from.steps; i += from.steps) {
        __m128i order = load(from.order + i * 16);
        ptrdiff_t place = at.base + from.first[i];
        if (place > from.last)
            order = _mm_add_epi8(order, _mm_set1_epi8(ownMoveInside(&place, from, 15)));
        bytes = _mm_or_si128(bytes, _mm_shuffle_epi8(load(src + place), order));
    }
    return bytes;
}
#endif

} // namespace

#endif
