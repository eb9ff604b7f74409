// For row kernels only: interleaved pixels weighed as they lie.
#ifndef OWN_WEIGHED_PIXELS_H
#define OWN_WEIGHED_PIXELS_H

#include "frame/channel_lanes.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstddef>
#include <cstdint>

namespace {

#if defined(__AVX512BW__)

// Sixteen pixels as words of four bytes, with their middle channel twice.
constexpr OwnByteOrder ownQuads(int32_t step) {
    OwnByteOrder order = {};
    for (int32_t i = 0; i < 64; ++i)
        order.from[i] = static_cast<int8_t>(i / 4 * step + (i % 4 == 3 ? 1 : i % 4));
    return order;
}

// Sums of 64 pixels from where ownWeighGroups() has them.
constexpr OwnByteOrder ownWeighedOrder() {
    OwnByteOrder order = {};
    for (int32_t i = 0; i < 64; ++i)
        order.from[i] = static_cast<int8_t>(i % 16 / 4 * 16 + i % 4 * 2 + i % 32 / 16 * 8 + i / 32);
    return order;
}

__attribute__((target("avx512vbmi,avx512vnni"))) inline ptrdiff_t
ownWeighGroups(const char* src, ptrdiff_t step, const int32_t (&weight)[3], char* dst,
               ptrdiff_t count) {
    static constexpr OwnByteOrder threes = ownQuads(3);
    static constexpr OwnByteOrder fours = ownQuads(4);
    static constexpr OwnByteOrder back = ownWeighedOrder();
    const bool three = step == 3;
    const __m512i spread = three ? threes.get() : fours.get();
    const __m512i order = back.get();
    const int32_t half = weight[1] / 2;
    const __m512i weights =
        _mm512_set1_epi32(weight[0] | half << 8 | weight[2] << 16 | (weight[1] - half) << 24);
    const auto used = static_cast<__mmask16>(three ? 0x0FFF : 0xFFFF);
    const ptrdiff_t group = 16 * step;
    constexpr ptrdiff_t ahead = 2048; // a sixth of the time less where pixels come from memory
    ptrdiff_t done = 0;
    for (; done + 64 <= count; done += 64, src += 4 * group) {
        __m512i sums[4];
        for (ptrdiff_t k = 0; k < 4; ++k) {
            const __m512i pixels = _mm512_maskz_loadu_epi32(used, src + k * group);
            _mm_prefetch(src + k * group + ahead, _MM_HINT_T0);
            sums[k] = _mm512_dpbusd_epi32(_mm512_setzero_si512(),
                                          _mm512_permutexvar_epi8(spread, pixels), weights);
        }
        const __m512i first = _mm512_packus_epi32(sums[0], sums[1]);
        const __m512i second = _mm512_packus_epi32(sums[2], sums[3]);
        const __m512i bytes =
            _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAA, _mm512_srli_epi16(first, 8), second);
        _mm512_storeu_si512(dst + done, _mm512_permutexvar_epi8(order, bytes));
    }
    return done;
}

#endif

// dst[i] is the upper byte of the sum of a pixel's first three bytes times weights, which make 256
// together; those at the sides are below 128. Goes over whole groups of pixels of three or four
// bytes, as far as there are instructions for it, and returns how many pixels that is. The weight
// in the middle is more than a signed byte holds, so its channel comes twice, with two shares of
// it. Weighted one by one in words of 16 bits, pixels take three times as long.
inline ptrdiff_t ownWeighPixels(const char* src, ptrdiff_t step, const int32_t (&weight)[3],
                                char* dst, ptrdiff_t count) {
#if defined(__AVX512BW__)
    if ((step == 3 || step == 4) && __builtin_cpu_supports("avx512vbmi") &&
        __builtin_cpu_supports("avx512vnni"))
        return ownWeighGroups(src, step, weight, dst, count);
#endif
    static_cast<void>(src), static_cast<void>(step), static_cast<void>(weight);
    static_cast<void>(dst), static_cast<void>(count);
    return 0;
}

} // namespace

#endif
