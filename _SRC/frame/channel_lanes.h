// For row kernels only: interleaved pixels taken apart into runs of samples, one for each channel,
// and put together again.
#ifndef OWN_CHANNEL_LANES_H
#define OWN_CHANNEL_LANES_H

#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstddef>
#include <cstdint>

namespace {

#if defined(__AVX512BW__)
// An order that bytes are brought into.
struct OwnByteOrder {
    alignas(64) int8_t from[64] = {};
    __m512i get() const { return _mm512_load_si512(from); }
};

// A group of pixels is four lanes of as many pixels as have 12 or 16 bytes, and has three words of
// each lane's, one of a channel each. A fourth channel is no concern of anyone's.
template <ptrdiff_t size, ptrdiff_t channels> struct OwnThirdsOrder {
    OwnByteOrder apart, together;
    uint64_t written = 0;
    constexpr OwnThirdsOrder() {
        for (int8_t& place : apart.from) place = -1;
        for (int8_t& place : together.from) place = -1;
        for (ptrdiff_t lane = 0; lane < 64; lane += 16)
            for (ptrdiff_t c = 0; c < 3; ++c)
                for (ptrdiff_t byte = 0; byte < 4; ++byte) {
                    const ptrdiff_t split = c * 4 + byte;
                    const ptrdiff_t joined = (byte / size * channels + c) * size + byte % size;
                    apart.from[lane + split] = static_cast<int8_t>(joined);
                    together.from[lane + joined] = static_cast<int8_t>(split);
                    written |= uint64_t{1} << (lane + joined);
                }
    }
};
template <ptrdiff_t size, ptrdiff_t channels>
constexpr OwnThirdsOrder<size, channels> ownThirdsOrder = {};

// A group with its channels apart.
template <class T, ptrdiff_t channels> __m512i ownLoadThirds(const char* src) {
    const __m512i apart = ownThirdsOrder<sizeof(T), channels>.apart.get();
    if constexpr (channels == 4) return _mm512_shuffle_epi8(_mm512_loadu_si512(src), apart);
    const __m512i spread = _mm512_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0);
    const __m512i bytes = _mm512_maskz_loadu_epi32(0x0FFF, src);
    return _mm512_shuffle_epi8(_mm512_permutexvar_epi32(spread, bytes), apart);
}

// A group from its channels.
template <class T, ptrdiff_t channels> void ownStoreThirds(char* dst, __m512i lanes) {
    constexpr const auto& order = ownThirdsOrder<sizeof(T), channels>;
    const __m512i bytes = _mm512_shuffle_epi8(lanes, order.together.get());
    if constexpr (channels == 4) {
        _mm512_mask_storeu_epi8(dst, order.written, bytes);
    } else {
        const __m512i close = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0);
        _mm512_mask_storeu_epi32(dst, 0x0FFF, _mm512_permutexvar_epi32(close, bytes));
    }
}
#endif

// Pixels of three or four channels, in the order of memory.
template <class T, ptrdiff_t channels>
void ownSplitThirds(const char* src, OwnLaneOf<T>* a, OwnLaneOf<T>* b, OwnLaneOf<T>* c,
                    ptrdiff_t count) {
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    constexpr ptrdiff_t size = sizeof(T);
    constexpr ptrdiff_t groupBytes = size * channels * (16 / size);
    constexpr ptrdiff_t group = 16 / size;
    const __m512i firsts =
        _mm512_setr_epi32(0, 4, 8, 12, 16, 20, 24, 28, 1, 5, 9, 13, 17, 21, 25, 29);
    const __m512i thirds =
        _mm512_setr_epi32(2, 6, 10, 14, 18, 22, 26, 30, 2, 6, 10, 14, 18, 22, 26, 30);
    for (; done + 4 * group <= count; done += 4 * group) {
        const char* at = src + done * channels * size;
        const __m512i v0 = ownLoadThirds<T, channels>(at);
        const __m512i v1 = ownLoadThirds<T, channels>(at + groupBytes);
        const __m512i v2 = ownLoadThirds<T, channels>(at + 2 * groupBytes);
        const __m512i v3 = ownLoadThirds<T, channels>(at + 3 * groupBytes);
        const __m512i lowAB = _mm512_permutex2var_epi32(v0, firsts, v1);
        const __m512i highAB = _mm512_permutex2var_epi32(v2, firsts, v3);
        const __m512i lowC = _mm512_permutex2var_epi32(v0, thirds, v1);
        const __m512i highC = _mm512_permutex2var_epi32(v2, thirds, v3);
        _mm512_storeu_si512(a + done, _mm512_shuffle_i64x2(lowAB, highAB, 0x44));
        _mm512_storeu_si512(b + done, _mm512_shuffle_i64x2(lowAB, highAB, 0xEE));
        _mm512_storeu_si512(c + done, _mm512_shuffle_i64x2(lowC, highC, 0x44));
    }
#endif
    const auto* x = ownLanes<T>(src);
    for (ptrdiff_t i = done; i < count; ++i) {
        a[i] = x[channels * i];
        b[i] = x[channels * i + 1];
        c[i] = x[channels * i + 2];
    }
}

template <class T, ptrdiff_t channels>
void ownJoinThirds(const OwnLaneOf<T>* a, const OwnLaneOf<T>* b, const OwnLaneOf<T>* c, char* dst,
                   ptrdiff_t count) {
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    constexpr ptrdiff_t size = sizeof(T);
    constexpr ptrdiff_t groupBytes = size * channels * (16 / size);
    constexpr ptrdiff_t group = 16 / size;
    for (; done + 4 * group <= count; done += 4 * group) {
        const __m512i va = _mm512_loadu_si512(a + done);
        const __m512i vb = _mm512_loadu_si512(b + done);
        const __m512i vc = _mm512_loadu_si512(c + done);
        for (int32_t k = 0; k < 4; ++k) {
            const __m512i base = _mm512_set1_epi32(4 * k);
            const __m512i pairs = _mm512_add_epi32(
                base, _mm512_setr_epi32(0, 16, 0, 0, 1, 17, 0, 0, 2, 18, 0, 0, 3, 19, 0, 0));
            const __m512i third = _mm512_add_epi32(
                base, _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
            const __m512i lanes = _mm512_mask_permutexvar_epi32(
                _mm512_permutex2var_epi32(va, pairs, vb), 0x4444, third, vc);
            ownStoreThirds<T, channels>(dst + done * channels * size + groupBytes * k, lanes);
        }
    }
#endif
    auto* z = ownLanes<T>(dst);
    for (ptrdiff_t i = done; i < count; ++i) {
        z[channels * i] = a[i];
        z[channels * i + 1] = b[i];
        z[channels * i + 2] = c[i];
    }
}

} // namespace

#endif
