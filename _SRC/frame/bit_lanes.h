// For row kernels only: runs of bits at any phase, the leftmost in a byte's top bit. Bits of the
// destination's bytes outside the run are kept, and no byte that holds no bit of a run is read.
#ifndef OWN_BIT_LANES_H
#define OWN_BIT_LANES_H

#include "frame/lanes.h"

#include <cstddef>
#include <cstdint>

namespace {

// The bits of every byte of a word in the opposite order.
inline uint64_t ownReversedBits(uint64_t word) {
    word = (word >> 4 & 0x0F0F0F0F0F0F0F0Fu) | (word & 0x0F0F0F0F0F0F0F0Fu) << 4;
    word = (word >> 2 & 0x3333333333333333u) | (word & 0x3333333333333333u) << 2;
    return (word >> 1 & 0x5555555555555555u) | (word & 0x5555555555555555u) << 1;
}

// `count` bits, 1 to 8, from a bit position on, at the top of a byte; what follows them is
// undefined.
inline uint32_t ownFetchBits(const char* src, ptrdiff_t bit, ptrdiff_t count) {
    const uint8_t* at = reinterpret_cast<const uint8_t*>(src) + (bit >> 3);
    const uint32_t phase = static_cast<uint32_t>(bit & 7);
    uint32_t two = uint32_t{at[0]} << 8;
    if (phase + static_cast<uint32_t>(count) > 8) two |= at[1];
    return two << phase >> 8 & 0xFF;
}

inline void ownMergeBits(char* dst, int32_t phase, ptrdiff_t count, uint32_t bits) {
    const uint32_t mask = (0xFFu << (8 - count) & 0xFF) >> phase;
    const uint32_t kept = static_cast<uint8_t>(*dst) & ~mask;
    *dst = static_cast<char>(kept | (bits >> phase & mask));
}

// `count` whole bytes of bits from a bit position on, which is not at a byte, into other memory, in
// steps of `step` bytes. The last step overlaps the one before rather than leave a rest.
template <ptrdiff_t step>
void ownShiftSteps(const char* at, const OwnByteShift& shift, char* dst, ptrdiff_t count) {
    const auto take = [&](ptrdiff_t first) {
        const auto* words = ownLanes<uint64_t>(at + first);
        const auto* next = ownLanes<uint64_t>(at + first + 1);
        auto* out = ownLanes<uint64_t>(dst + first);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < step / 8; ++i) out[i] = shift(words[i], next[i]);
    };
    for (ptrdiff_t first = 0; first + step < count; first += step) take(first);
    take(count - step);
}

inline void ownShiftBytes(const char* at, const OwnByteShift& shift, char* dst, ptrdiff_t count) {
    if (count >= 32) {
        ownShiftSteps<32>(at, shift, dst, count);
    } else if (count >= 8) {
        ownShiftSteps<8>(at, shift, dst, count);
    } else {
        for (ptrdiff_t i = 0; i < count; ++i)
            dst[i] = static_cast<char>(static_cast<uint8_t>(at[i]) << shift.left |
                                       static_cast<uint8_t>(at[i + 1]) >> shift.right);
    }
}

constexpr ptrdiff_t ownBitBlock = 1024; // bytes

// The same where the bytes lie if the position is at a byte, else in a copy in `block`.
inline const uint8_t* ownAlignBits(const char* src, ptrdiff_t bit, uint8_t* block,
                                   ptrdiff_t count) {
    if ((bit & 7) == 0) return reinterpret_cast<const uint8_t*>(src) + (bit >> 3);
    ownShiftBytes(src + (bit >> 3), OwnByteShift(static_cast<int32_t>(bit & 7)),
                  reinterpret_cast<char*>(block), count);
    return block;
}

// Combines `sources` runs of bits, each from its own bit position, into one: the destination's
// bytes are taken a block at a time, with the sources brought to its phase, and `combine` sees byte
// after byte.
template <int32_t sources, class Combine>
void ownBitRun(const char* const (&src)[sources], const int32_t (&bit)[sources], char* dst,
               int32_t bitDst, ptrdiff_t count, Combine combine) {
    uint8_t blocks[sources][ownBitBlock];
    const uint8_t* at[sources];
    uint8_t edge[sources];
    ptrdiff_t from[sources];
    for (int32_t i = 0; i < sources; ++i) from[i] = bit[i];

    const auto takeEdge = [&](ptrdiff_t bits) {
        for (int32_t i = 0; i < sources; ++i) {
            edge[i] = static_cast<uint8_t>(ownFetchBits(src[i], from[i], bits));
            at[i] = &edge[i];
            from[i] += bits;
        }
        ownMergeBits(dst, bitDst, bits, combine(at, 0));
        count -= bits;
    };

    if (bitDst != 0) {
        takeEdge(count < 8 - bitDst ? count : 8 - bitDst);
        ++dst;
        bitDst = 0;
    }
    while (count >= 8) {
        const ptrdiff_t bytes = count / 8 < ownBitBlock ? count / 8 : ownBitBlock;
        for (int32_t i = 0; i < sources; ++i) {
            at[i] = ownAlignBits(src[i], from[i], blocks[i], bytes);
            from[i] += bytes * 8;
        }
        auto* out = reinterpret_cast<uint8_t*>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t k = 0; k < bytes; ++k) out[k] = static_cast<uint8_t>(combine(at, k));
        dst += bytes;
        count -= bytes * 8;
    }
    if (count > 0) takeEdge(count);
}

} // namespace

#endif
