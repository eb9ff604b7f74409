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

// Rows that start at the same bits of their bytes: masks and shifts are made once for all of them.
void copyBits(const char* src, int32_t bitSrc, ptrdiff_t stepSrc, char* dst, int32_t bitDst,
              ptrdiff_t stepDst, ptrdiff_t count, ptrdiff_t rows) {
    const ptrdiff_t head = bitDst == 0 ? 0 : count < 8 - bitDst ? count : 8 - bitDst;
    const ptrdiff_t bytes = (count - head) / 8;
    const ptrdiff_t tail = (count - head) % 8;
    const ptrdiff_t from = bitSrc + head;
    const int32_t phase = static_cast<int32_t>(from & 7);
    const OwnByteShift shift(phase);
    const auto eachRow = [=](auto copyBytes) {
        for (ptrdiff_t row = 0; row < rows; ++row) {
            const char* at = src + row * stepSrc;
            char* to = dst + row * stepDst;
            if (head > 0) ownMergeBits(to++, bitDst, head, ownFetchBits(at, bitSrc, head));
            at += from >> 3;
            copyBytes(at, to);
            if (tail > 0) ownMergeBits(to + bytes, 0, tail, ownFetchBits(at + bytes, phase, tail));
        }
    };
    if (phase == 0)
        eachRow([=](const char* at, char* to) { memcpy(to, at, static_cast<size_t>(bytes)); });
    else if (bytes >= 32)
        eachRow([=](const char* at, char* to) { ownShiftSteps<32>(at, shift, to, bytes); });
    else
        eachRow([=](const char* at, char* to) { ownShiftBytes(at, shift, to, bytes); });
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
