// For row kernels only: bits from bytes.
#ifndef OWN_TOP_BITS_H
#define OWN_TOP_BITS_H

#include "frame/bit_lanes.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// The top bits of eight bytes, the first in the most significant bit.
inline uint8_t ownTopBits(const uint8_t* bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof(word));
    return static_cast<uint8_t>((word >> 7 & 0x0101010101010101u) * 0x8040201008040201u >> 56);
}

// The top bit of each byte, from the top of the first byte of `dst`. What follows the last bit is
// kept.
inline void ownPackTopBits(const char* src, char* dst, ptrdiff_t count) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(src);
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    const __m512i reversed = _mm512_setr4_epi32(0x04050607, 0x00010203, 0x0C0D0E0F, 0x08090A0B);
    for (; done + 64 <= count; done += 64) {
        const __m512i x = _mm512_shuffle_epi8(_mm512_loadu_si512(bytes + done), reversed);
        const uint64_t bits = _mm512_movepi8_mask(x);
        memcpy(dst + done / 8, &bits, sizeof(bits));
    }
#endif
    for (; done + 8 <= count; done += 8)
        dst[done / 8] = static_cast<char>(ownTopBits(bytes + done));
    if (done == count) return;
    uint8_t last[8] = {};
    memcpy(last, bytes + done, static_cast<size_t>(count - done));
    ownMergeBits(dst + done / 8, 0, count - done, ownTopBits(last));
}

} // namespace

#endif
