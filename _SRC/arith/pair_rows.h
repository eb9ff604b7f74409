// For row kernels only: the table of a two-image operation, from one description of it. A
// description gives
//     bits(a, b)                  on bits, any number of them side by side
//     sample<T>(a, b)             on two samples of a depth
// and, for the depths where a flat run can go another way or must,
//     line<T>(a, b, dst, count)
#ifndef OWN_PAIR_ROWS_H
#define OWN_PAIR_ROWS_H

#include "arith/pair.h"
#include "arith/strided.h"
#include "frame/bit_lanes.h"
#include "frame/lanes.h"

namespace {

// dst[i] = of(a[i], b[i])
template <class T, class Of>
void ownCombineRun(const char* a, const char* b, char* dst, ptrdiff_t count, Of of) {
    const auto* x = ownLanes<T>(a);
    const auto* y = ownLanes<T>(b);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = of(T{x[i]}, T{y[i]});
}

template <class Op, class T>
void ownPairLine(const char* a, const char* b, char* dst, ptrdiff_t count) {
    if constexpr (requires { Op::template line<T>(a, b, dst, count); })
        Op::template line<T>(a, b, dst, count);
    else
        ownCombineRun<T>(a, b, dst, count, [](T x, T y) { return Op::template sample<T>(x, y); });
}

template <class Op, class T>
void ownPairStrided(const char* a, const char* b, char* dst, ptrdiff_t count, ptrdiff_t stepA,
                    ptrdiff_t stepB, ptrdiff_t stepDst) {
    ownCombineStrided<T>(a, stepA, b, stepB, dst, stepDst, count,
                         [](T x, T y) { return Op::template sample<T>(x, y); });
}

template <class Op> void ownPairWords(const char* a, const char* b, char* dst, ptrdiff_t count) {
    ownCombineRun<uint32_t>(a, b, dst, count, Op::bits);
}

template <class Op>
void ownPairBits(const char* a, int32_t bitA, const char* b, int32_t bitB, char* dst,
                 int32_t bitDst, ptrdiff_t count) {
    ownBitRun<2>(
        {a, b}, {bitA, bitB}, dst, bitDst, count,
        [](const uint8_t* const* at, ptrdiff_t i) { return Op::bits(at[0][i], at[1][i]); });
}

template <class Op, class T> constexpr OwnPairRow ownPairRow() {
    return {ownPairLine<Op, T>, ownPairStrided<Op, T>};
}

template <class Op> constexpr OwnPairTable ownPairTable() {
    return {{ownPairRow<Op, uint8_t>(), ownPairRow<Op, int8_t>(), ownPairRow<Op, uint16_t>(),
             ownPairRow<Op, int16_t>(), ownPairRow<Op, int32_t>()},
            ownPairWords<Op>,
            ownPairBits<Op>};
}

// For an operation to which a sample is a word of bits.
template <class Op> constexpr OwnPairTable ownPairWordTable() {
    return {{ownPairRow<Op, uint8_t>(), ownPairRow<Op, uint8_t>(), ownPairRow<Op, uint16_t>(),
             ownPairRow<Op, uint16_t>(), ownPairRow<Op, uint32_t>()},
            ownPairWords<Op>,
            ownPairBits<Op>};
}

} // namespace

#endif
