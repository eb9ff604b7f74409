// For row kernels only: a constant added to samples, or samples taken from a constant, limited to
// the depth's range. A difference with a constant is the sum with its negative, so the constants
// are of wider range than the argument of a call.
#ifndef OWN_CONSTANT_SUM_H
#define OWN_CONSTANT_SUM_H

#include "arith/saturate.h"
#include "arith/single_rows.h"

#include <type_traits>

namespace {

// Lanes that hold the sum of a sample and a constant. A constant of twice the range of a depth
// limits all samples, and so does any beyond it.
template <class T>
using OwnSumLane = std::conditional_t<sizeof(T) == 1, int16_t,
                                      std::conditional_t<sizeof(T) == 2, int32_t, int64_t>>;

template <class T> OwnSumLane<T> ownSumLane(int64_t constant) {
    constexpr int64_t most = int64_t{2} << (sizeof(T) * 8);
    return static_cast<OwnSumLane<T>>(constant < -most ? -most : constant > most ? most : constant);
}

// Calls use(of), of(a) being a + constant.
template <class T, class Use> void ownWithSum(int64_t constant, Use use) {
    if (ownHolds<T>(constant)) {
        use([lane = static_cast<T>(constant)](T a) { return ownSaturatedSum<T>(a, lane); });
    } else if (ownHolds<T>(-constant)) {
        use([lane = static_cast<T>(-constant)](T a) { return ownSaturatedDifference<T>(a, lane); });
    } else {
        using Lane = OwnSumLane<T>;
        use([lane = ownSumLane<T>(constant)](T a) {
            return ownClamp<T>(static_cast<Lane>(a + lane));
        });
    }
}

// Calls use(of), of(a) being constant - a.
template <class T, class Use> void ownWithDifference(int64_t constant, Use use) {
    if (ownHolds<T>(constant)) {
        use([lane = static_cast<T>(constant)](T a) { return ownSaturatedDifference<T>(lane, a); });
    } else {
        using Lane = OwnSumLane<T>;
        use([lane = ownSumLane<T>(constant)](T a) {
            return ownClamp<T>(static_cast<Lane>(lane - a));
        });
    }
}

// A number of 16 or 32 bits with its sign, limited to a narrower depth.
inline uint8_t ownLimitedByte(uint32_t sum) {
    return ownClamp<uint8_t>(static_cast<int16_t>(static_cast<uint16_t>(sum)));
}
inline uint16_t ownLimitedWord(uint32_t sum) {
    return ownClamp<uint16_t>(static_cast<int32_t>(sum));
}

// A flat run of sums. Of the constant, bytes take 16 bits, and sums wrap in them. Words take 32
// bits of it at the ends of the run; in blocks they take 16 bits of its magnitude and go by its
// sign.
template <class T> void ownSumRun(const char* src, char* dst, ptrdiff_t count, int64_t constant) {
    if constexpr (std::is_same_v<T, uint8_t>) {
        const auto word = static_cast<int16_t>(static_cast<uint16_t>(constant));
        if (word >= -0xFF && word <= 0xFF)
            ownWithSum<T>(word, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
        else
            ownMapRun<T>(src, dst, count,
                         [word](T a) { return ownLimitedByte(static_cast<uint32_t>(a + word)); });
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        const auto all = static_cast<uint32_t>(constant);
        const auto magnitude = static_cast<uint16_t>(constant < 0 ? -constant : constant);
        const auto ends = [all](T a) { return ownLimitedWord(a + all); };
        ownWithSum<T>(constant < 0 ? -int64_t{magnitude} : int64_t{magnitude},
                      [&](auto body) { ownMapSplitRun<T>(src, dst, count, 32, ends, body); });
    } else {
        ownWithSum<T>(constant, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
    }
}

// A flat run of differences from the constant, likewise; a negative one leaves nothing of words.
template <class T>
void ownDifferenceRun(const char* src, char* dst, ptrdiff_t count, int64_t constant) {
    if constexpr (std::is_same_v<T, uint8_t>) {
        const auto word = static_cast<int16_t>(static_cast<uint16_t>(constant));
        if (word >= 0 && word <= 0xFF)
            ownWithDifference<T>(word, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
        else
            ownMapRun<T>(src, dst, count,
                         [word](T a) { return ownLimitedByte(static_cast<uint32_t>(word - a)); });
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        if (constant < 0) {
            ownMapRun<T>(src, dst, count, [](T) { return T{0}; });
            return;
        }
        const auto all = static_cast<uint32_t>(constant);
        const auto ends = [all](T a) { return ownLimitedWord(all - a); };
        ownWithDifference<T>(static_cast<uint16_t>(constant), [&](auto body) {
            ownMapSplitRun<T>(src, dst, count, 32, ends, body);
        });
    } else {
        ownWithDifference<T>(constant, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
    }
}

} // namespace

#endif
