#include "frame/bit_lanes.h"
#include "frame/lanes.h"
#include "frame/movers.h"

namespace {

void swapRun(char* a, char* b, ptrdiff_t byteCount) {
    auto* x = ownLanes<uint8_t>(a);
    auto* y = ownLanes<uint8_t>(b);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < byteCount; ++i) {
        const uint8_t kept = x[i];
        x[i] = y[i];
        y[i] = kept;
    }
}

template <class T> void fillRun(uint32_t value, char* dst, ptrdiff_t count) {
    auto* z = ownLanes<T>(dst);
    const T sample = static_cast<T>(value);
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = sample;
}

void copyBits(const char* src, int32_t bitSrc, char* dst, int32_t bitDst, ptrdiff_t count) {
    ptrdiff_t from = bitSrc;
    if (bitDst != 0) {
        const ptrdiff_t head = count < 8 - bitDst ? count : 8 - bitDst;
        ownMergeBits(dst++, bitDst, head, ownFetchBits(src, from, head));
        from += head;
        count -= head;
    }
    const ptrdiff_t bytes = count / 8;
    if ((from & 7) == 0)
        memcpy(dst, src + (from >> 3), static_cast<size_t>(bytes));
    else if (bytes > 0)
        ownShiftBits(src, from, dst, bytes);
    if (count % 8 > 0)
        ownMergeBits(dst + bytes, 0, count % 8, ownFetchBits(src, from + bytes * 8, count % 8));
}

template <class T>
void copyStrided(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst,
                 ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i)
        *ownLanes<T>(dst + i * stepDst) = *ownLanes<T>(src + i * stepSrc);
}

template <class T>
void swapStrided(char* a, ptrdiff_t stepA, char* b, ptrdiff_t stepB, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) {
        const T kept = *ownLanes<T>(a + i * stepA);
        *ownLanes<T>(a + i * stepA) = *ownLanes<T>(b + i * stepB);
        *ownLanes<T>(b + i * stepB) = kept;
    }
}

template <class T> void fillStrided(uint32_t value, char* dst, ptrdiff_t step, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) *ownLanes<T>(dst + i * step) = static_cast<T>(value);
}

template <class T> constexpr OwnStridedMovers strided() {
    return {copyStrided<T>, swapStrided<T>, fillStrided<T>};
}

constexpr OwnMoverTable table = {
    swapRun,
    fillRun<uint16_t>,
    fillRun<uint32_t>,
    copyBits,
    {strided<uint8_t>(), strided<uint16_t>(), strided<uint32_t>()},
};

} // namespace

template <> const OwnMoverTable& ownRowTable<OwnMovers, OWN_ISA>() { return table; }
