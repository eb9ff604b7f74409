// For row kernels only: the table of a one-image operation, from one description of it. A
// description gives
//     bits(a, pattern)            on bits, any number of them side by side
//     with<T>(value, use)         which calls use(of), of(a) being the result for a sample of a
//     depth
// and, for the depths where a flat run can go another way or must,
//     line<T>(src, dst, count, value)
#ifndef OWN_SINGLE_ROWS_H
#define OWN_SINGLE_ROWS_H

#include "arith/run_ends.h"
#include "arith/single.h"
#include "arith/strided.h"
#include "frame/bit_lanes.h"
#include "frame/lanes.h"

#include <type_traits>

namespace {

// dst[i] = of(src[i])
template <class T, class Of> void ownMapRun(const char* src, char* dst, ptrdiff_t count, Of of) {
    const auto* x = ownLanes<T>(src);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = of(T{x[i]});
}

// dst[i] = of(src[i]), by one function at the ends of the run and by another in its blocks.
template <class T, class Ends, class Body>
void ownMapSplitRun(const char* src, char* dst, ptrdiff_t count, ptrdiff_t block, Ends ends,
                    Body body) {
    constexpr ptrdiff_t sample = sizeof(T);
    ownSplitRun(
        dst, count * sample, sample, block,
        [=](ptrdiff_t first, ptrdiff_t n) {
            ownMapRun<T>(src + first, dst + first, n / sample, ends);
        },
        [=](ptrdiff_t first, ptrdiff_t n) {
            ownMapRun<T>(src + first, dst + first, n / sample, body);
        });
}

template <class Op, class T>
void ownSingleLine(const char* src, char* dst, ptrdiff_t count, int32_t value) {
    if constexpr (requires { Op::template line<T>(src, dst, count, value); })
        Op::template line<T>(src, dst, count, value);
    else
        Op::template with<T>(value, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
}

template <class Op, class T>
void ownSingleStrided(const char* src, char* dst, ptrdiff_t count, ptrdiff_t stepSrc,
                      ptrdiff_t stepDst, int32_t value) {
    Op::template with<T>(value,
                         [&](auto of) { ownMapStrided<T>(src, stepSrc, dst, stepDst, count, of); });
}

template <class Op>
void ownSingleWords(const char* src, char* dst, ptrdiff_t count, uint32_t pattern) {
    ownMapRun<uint32_t>(src, dst, count, [pattern](uint32_t a) { return Op::bits(a, pattern); });
}

template <class Op>
void ownSingleBits(const char* src, int32_t bitSrc, char* dst, int32_t bitDst, ptrdiff_t count,
                   uint32_t pattern) {
    ownBitRun<1>(
        {src}, {bitSrc}, dst, bitDst, count,
        [pattern](const uint8_t* const* at, ptrdiff_t i) { return Op::bits(at[0][i], pattern); });
}

template <class Op, class T> constexpr OwnSingleRow ownSingleRow() {
    return {ownSingleLine<Op, T>, ownSingleStrided<Op, T>};
}

template <class Op> constexpr OwnSingleTable ownSingleTable() {
    return {{ownSingleRow<Op, uint8_t>(), ownSingleRow<Op, int8_t>(), ownSingleRow<Op, uint16_t>(),
             ownSingleRow<Op, int16_t>(), ownSingleRow<Op, int32_t>()},
            ownSingleWords<Op>,
            ownSingleBits<Op>};
}

// For an operation to which a sample is a word of bits.
template <class Op> constexpr OwnSingleTable ownSingleWordTable() {
    return {{ownSingleRow<Op, uint8_t>(), ownSingleRow<Op, uint8_t>(), ownSingleRow<Op, uint16_t>(),
             ownSingleRow<Op, uint16_t>(), ownSingleRow<Op, uint32_t>()},
            ownSingleWords<Op>,
            ownSingleBits<Op>};
}

} // namespace

#endif
