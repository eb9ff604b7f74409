// For row kernels only: a constant added to samples, or samples taken from a constant, limited to
// the depth's range. The constant is of wider range than the argument of a call, so that a
// difference is the sum with its negative.
#ifndef OWN_CONSTANT_SUM_H
#define OWN_CONSTANT_SUM_H

#include "arith/saturate.h"
#include "arith/single_rows.h"

#include <limits>
#include <type_traits>

namespace {

template <class T> constexpr bool ownHolds(int64_t value) {
    return value >= std::numeric_limits<T>::min() && value <= std::numeric_limits<T>::max();
}

// A number of 16 or 32 bits with its sign, limited to a narrower depth.
inline uint8_t ownLimitedByte(uint32_t sum) { return ownClamp<uint8_t>(static_cast<int16_t>(sum)); }
inline uint16_t ownLimitedWord(uint32_t sum) {
    return ownClamp<uint16_t>(static_cast<int32_t>(sum));
}

template <class T> void ownSumRun(const char* src, char* dst, ptrdiff_t count, int64_t constant) {
    if constexpr (std::is_same_v<T, uint8_t>) {
        // Of the constant 16 bits count, and sums wrap in them.
        const auto word = static_cast<uint16_t>(constant);
        ownMapRun<T>(src, dst, count,
                     [word](T a) { return ownLimitedByte(static_cast<uint16_t>(a + word)); });
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        // The ends take 32 bits of the constant; blocks take 16 bits of its magnitude and go by its
        // sign.
        const auto all = static_cast<uint32_t>(constant);
        const auto magnitude = static_cast<uint16_t>(constant < 0 ? -constant : constant);
        const auto ends = [all](T a) { return ownLimitedWord(a + all); };
        if (constant >= 0)
            ownMapSplitRun<T>(src, dst, count, 32, ends,
                              [magnitude](T a) { return ownSaturatedSum<T>(a, magnitude); });
        else
            ownMapSplitRun<T>(src, dst, count, 32, ends,
                              [magnitude](T a) { return ownSaturatedDifference<T>(a, magnitude); });
    } else if (ownHolds<T>(constant)) {
        const T lane = static_cast<T>(constant);
        ownMapRun<T>(src, dst, count, [lane](T a) { return ownSaturatedSum<T>(a, lane); });
    } else {
        ownMapRun<T>(src, dst, count, [constant](T a) { return ownClamp<T>(a + constant); });
    }
}

template <class T>
void ownDifferenceRun(const char* src, char* dst, ptrdiff_t count, int64_t constant) {
    if constexpr (std::is_same_v<T, uint8_t>) {
        const auto word = static_cast<uint16_t>(constant);
        ownMapRun<T>(src, dst, count,
                     [word](T a) { return ownLimitedByte(static_cast<uint16_t>(word - a)); });
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        if (constant < 0) {
            ownMapRun<T>(src, dst, count, [](T) { return T{0}; });
            return;
        }
        const auto all = static_cast<uint32_t>(constant);
        const auto lane = static_cast<uint16_t>(constant);
        ownMapSplitRun<T>(
            src, dst, count, 32, [all](T a) { return ownLimitedWord(all - a); },
            [lane](T a) { return ownSaturatedDifference<T>(lane, a); });
    } else if (ownHolds<T>(constant)) {
        const T lane = static_cast<T>(constant);
        ownMapRun<T>(src, dst, count, [lane](T a) { return ownSaturatedDifference<T>(lane, a); });
    } else {
        ownMapRun<T>(src, dst, count, [constant](T a) { return ownClamp<T>(constant - a); });
    }
}

} // namespace

#endif
