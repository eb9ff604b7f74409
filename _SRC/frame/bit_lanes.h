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

// Whole bytes of a run of bits, from the source byte in which they begin: from a phase on if they
// are shifted, and in the opposite order if they are turned.
template <bool turned, bool shifted> struct OwnBitBytes {
    OwnByteShift shift;

    // Eight of `count` bytes, from the `first` on.
    uint64_t word(const char* src, ptrdiff_t first, ptrdiff_t count) const {
        const char* at = src + (turned ? count - 8 - first : first);
        uint64_t bits = *ownLanes<uint64_t>(at);
        if (shifted) bits = shift(bits, *ownLanes<uint64_t>(at + 1));
        return turned ? __builtin_bswap64(ownReversedBits(bits)) : bits;
    }
    uint8_t byte(const char* src, ptrdiff_t k, ptrdiff_t count) const {
        const auto* at = reinterpret_cast<const uint8_t*>(src) + (turned ? count - 1 - k : k);
        const uint64_t bits = shifted ? shift(at[0], at[1]) : at[0];
        return static_cast<uint8_t>(turned ? ownReversedBits(bits) : bits);
    }

    // In steps of so many bytes. The last step overlaps the one before rather than leave a rest.
    template <ptrdiff_t step> void steps(const char* src, char* dst, ptrdiff_t count) const {
        const auto take = [&](ptrdiff_t first) {
            auto* out = ownLanes<uint64_t>(dst + first);
            OWN_EACH_ALONE
            for (ptrdiff_t i = 0; i < step / 8; ++i) out[i] = word(src, first + i * 8, count);
        };
        for (ptrdiff_t first = 0; first + step < count; first += step) take(first);
        take(count - step);
    }

    void run(const char* src, char* dst, ptrdiff_t count) const {
        if (count >= 32)
            steps<32>(src, dst, count);
        else if (count >= 8)
            steps<8>(src, dst, count);
        else
            for (ptrdiff_t k = 0; k < count; ++k) dst[k] = static_cast<char>(byte(src, k, count));
    }
};

constexpr ptrdiff_t ownBitBlock = 1024; // bytes

// The same where the bytes lie if the position is at a byte, else in a copy in `block`.
inline const uint8_t* ownAlignBits(const char* src, ptrdiff_t bit, uint8_t* block,
                                   ptrdiff_t count) {
    if ((bit & 7) == 0) return reinterpret_cast<const uint8_t*>(src) + (bit >> 3);
    OwnBitBytes<false, true>{OwnByteShift(static_cast<int32_t>(bit & 7))}.run(
        src + (bit >> 3), reinterpret_cast<char*>(block), count);
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
