// Runs of samples and of bits, moved and filled. Sources and destinations don't overlap.
#ifndef OWN_MOVERS_H
#define OWN_MOVERS_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// The strided kernels move one sample in every step, which is in bytes.
struct OwnStridedMovers {
    void (*copy)(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst, ptrdiff_t count);
    void (*swap)(char* a, ptrdiff_t stepA, char* b, ptrdiff_t stepB, ptrdiff_t count);
    void (*fill)(uint32_t value, char* dst, ptrdiff_t step, ptrdiff_t count);
};

// Rows of bits that begin in the first byte of each side.
using OwnBitMover = void (*)(const char* src, int32_t bitSrc, ptrdiff_t stepSrc, char* dst,
                             int32_t bitDst, ptrdiff_t stepDst, ptrdiff_t count, ptrdiff_t rows);

struct OwnMoverTable {
    void (*swap)(char* a, char* b, ptrdiff_t byteCount);
    void (*fill16)(uint32_t value, char* dst, ptrdiff_t sampleCount);
    void (*fill32)(uint32_t value, char* dst, ptrdiff_t sampleCount);
    OwnBitMover copyBits;
    OwnBitMover turnBits;        // each row in the opposite order
    OwnStridedMovers strided[3]; // by samples of 1, 2 and 4 bytes
};

struct OwnMovers {
    using Table = OwnMoverTable;
};

inline void ownCopyRow(const char* src, char* dst, ptrdiff_t byteCount) {
    memcpy(dst, src, static_cast<size_t>(byteCount));
}

inline void ownSwapRows(char* a, char* b, ptrdiff_t byteCount) {
    ownRows<OwnMovers>().swap(a, b, byteCount);
}

inline void ownFillRow8(uint32_t value, char* dst, ptrdiff_t byteCount) {
    memset(dst, static_cast<int>(value & 0xFF), static_cast<size_t>(byteCount));
}

inline void ownFillRow16(uint32_t value, char* dst, ptrdiff_t sampleCount) {
    ownRows<OwnMovers>().fill16(value, dst, sampleCount);
}

inline void ownFillRow32(uint32_t value, char* dst, ptrdiff_t sampleCount) {
    ownRows<OwnMovers>().fill32(value, dst, sampleCount);
}

// Fills by the size of a sample in bytes: 1, 2 or 4.
inline void ownFillRow(ptrdiff_t sampleBytes, uint32_t value, char* dst, ptrdiff_t sampleCount) {
    switch (sampleBytes) {
    case 1: ownFillRow8(value, dst, sampleCount); break;
    case 2: ownFillRow16(value, dst, sampleCount); break;
    default: ownFillRow32(value, dst, sampleCount); break;
    }
}

inline const OwnStridedMovers& ownStridedMovers(ptrdiff_t sampleBytes) {
    return ownRows<OwnMovers>().strided[sampleBytes / 2];
}

// Rows of bits, as they are or each in the opposite order. Bits count from the top of a row's first
// byte and may lie in any byte after it. The destination's bits outside the run are kept.
inline void ownMoveBitRows(bool turned, const char* src, ptrdiff_t bitSrc, ptrdiff_t stepSrc,
                           char* dst, ptrdiff_t bitDst, ptrdiff_t stepDst, ptrdiff_t count,
                           ptrdiff_t rows) {
    if (count <= 0) return;
    const auto& movers = ownRows<OwnMovers>();
    const OwnBitMover move = turned ? movers.turnBits : movers.copyBits;
    move(src + (bitSrc >> 3), static_cast<int32_t>(bitSrc & 7), stepSrc, dst + (bitDst >> 3),
         static_cast<int32_t>(bitDst & 7), stepDst, count, rows);
}

inline void ownCopyBits(const char* src, ptrdiff_t bitSrc, char* dst, ptrdiff_t bitDst,
                        ptrdiff_t count) {
    ownMoveBitRows(false, src, bitSrc, 0, dst, bitDst, 0, count, 1);
}

inline void ownTurnBits(const char* src, ptrdiff_t bitSrc, char* dst, ptrdiff_t bitDst,
                        ptrdiff_t count) {
    ownMoveBitRows(true, src, bitSrc, 0, dst, bitDst, 0, count, 1);
}

void ownFillBitRows(bool on, char* dst, ptrdiff_t bitDst, ptrdiff_t stepDst, ptrdiff_t count,
                    ptrdiff_t rows);

inline void ownFillBits(bool on, char* dst, ptrdiff_t bitDst, ptrdiff_t count) {
    ownFillBitRows(on, dst, bitDst, 0, count, 1);
}

inline bool ownGetBit(const char* row, ptrdiff_t bit) {
    return (row[bit >> 3] >> (7 - (bit & 7)) & 1) != 0;
}

inline void ownPutBit(char* row, ptrdiff_t bit, bool on) {
    const int mask = 0x80 >> (bit & 7);
    row[bit >> 3] = static_cast<char>(on ? row[bit >> 3] | mask : row[bit >> 3] & ~mask);
}

#endif
