#include "tone/daxnorm.h"

#include "frame/lanes.h"

#include <limits>
#include <type_traits>

namespace {

template <class T> using Unsigned = std::make_unsigned_t<T>;

// Differences of signed samples are those of unsigned ones, half the range up.
template <class T> Unsigned<T> lifted(T a) {
    using U = Unsigned<T>;
    return static_cast<U>(static_cast<U>(a) ^ static_cast<U>(std::numeric_limits<T>::min()));
}

// In the lanes of the samples. In 32 bits it is a signed number, since the difference wraps and
// that of -2147483648 stays negative.
template <class T> auto magnitude(T a, T b) {
    using U = Unsigned<T>;
    if constexpr (sizeof(T) < 4) {
        const U x = lifted(a);
        const U y = lifted(b);
        const U high = x > y ? x : y;
        const U low = x > y ? y : x;
        return static_cast<U>(high - low);
    } else {
        const auto d = static_cast<int32_t>(static_cast<U>(a) - static_cast<U>(b));
        return static_cast<int32_t>(d < 0 ? 0 - static_cast<U>(d) : static_cast<U>(d));
    }
}

template <class T> int64_t largest(const char* a, const char* b, ptrdiff_t count) {
    const auto* x = ownLanes<T>(a);
    const auto* y = ownLanes<T>(b);
    decltype(magnitude(T{}, T{})) most = 0;
    for (ptrdiff_t i = 0; i < count; ++i) {
        const auto one = magnitude(T{x[i]}, T{y[i]});
        most = one > most ? one : most;
    }
    return most;
}

template <class T> int64_t sum(const char* a, const char* b, ptrdiff_t count) {
    const auto* x = ownLanes<T>(a);
    const auto* y = ownLanes<T>(b);
    if constexpr (sizeof(T) == 1) {
        // In this form it is one instruction for 64 bits.
        int32_t total = 0;
        for (ptrdiff_t i = 0; i < count; ++i) {
            const int32_t d = int32_t{lifted(T{x[i]})} - int32_t{lifted(T{y[i]})};
            total += d < 0 ? -d : d;
        }
        return total;
    } else {
        std::conditional_t<sizeof(T) == 2, uint32_t, int64_t> total = 0;
        for (ptrdiff_t i = 0; i < count; ++i) total += magnitude(T{x[i]}, T{y[i]});
        return total;
    }
}

// The lower byte of a lane of 16 bits, and the upper one.
template <class T> int16_t lowByte(int16_t pair) {
    if constexpr (std::is_signed_v<T>)
        return static_cast<int16_t>(static_cast<int16_t>(static_cast<uint16_t>(pair) << 8) >> 8);
    else
        return static_cast<int16_t>(pair & 0xFF);
}

template <class T> int16_t highByte(int16_t pair) {
    const int32_t high = pair >> 8;
    return static_cast<int16_t>(std::is_signed_v<T> ? high : high & 0xFF);
}

// With `alone` the first samples of b stand for all of them.
template <class T, bool alone> int64_t squares(const char* a, const char* b, ptrdiff_t count) {
    if constexpr (sizeof(T) == 1) {
        // Bytes are taken apart in lanes of 16 bits without a shuffle, and products that are added
        // in pairs are one instruction.
        const auto* pairsX = ownLanes<int16_t>(a);
        const auto* pairsY = ownLanes<int16_t>(b);
        int32_t low = 0;
        int32_t high = 0;
        for (ptrdiff_t i = 0; i < count / 2; ++i) {
            const int16_t u = pairsX[i];
            const int16_t v = pairsY[alone ? 0 : i];
            const auto d = static_cast<int16_t>(lowByte<T>(u) - lowByte<T>(v));
            const auto e = static_cast<int16_t>(highByte<T>(u) - highByte<T>(v));
            low += d * d;
            high += e * e;
        }
        if (count % 2 != 0) {
            const T last = ownLanes<T>(a)[count - 1];
            const int32_t d = last - T{ownLanes<T>(b)[alone ? 0 : count - 1]};
            low += d * d;
        }
        return int64_t{low} + high;
    } else if constexpr (sizeof(T) == 2) {
        const auto* x = ownLanes<T>(a);
        const auto* y = ownLanes<T>(b);
        // The halves of the squares, so that lanes of 32 bits are enough.
        uint32_t low = 0;
        uint32_t high = 0;
        for (ptrdiff_t i = 0; i < count; ++i) {
            const uint32_t d = magnitude(T{x[i]}, T{y[alone ? 0 : i]});
            low += d * d & 0xFFFF;
            high += d * d >> 16;
        }
        return (int64_t{high} << 16) + low;
    } else {
        const auto* x = ownLanes<T>(a);
        const auto* y = ownLanes<T>(b);
        uint32_t all = 0;
        uint64_t total = 0;
        for (ptrdiff_t i = 0; i < count; ++i) {
            const auto d = static_cast<uint32_t>(magnitude(T{x[i]}, T{y[alone ? 0 : i]}));
            all |= d;
            total += uint64_t{d} * d;
        }
        return all >> 20 != 0 ? -1 : static_cast<int64_t>(total);
    }
}

template <class T> double addSum(double total, const char* a, const char* b, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i)
        total += magnitude(T{ownLanes<T>(a)[i]}, T{ownLanes<T>(b)[i]});
    return total;
}

template <class T> double addSquares(double total, const char* a, const char* b, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) {
        const double d = magnitude(T{ownLanes<T>(a)[i]}, T{ownLanes<T>(b)[i]});
        total += d * d;
    }
    return total;
}

template <class T> void gather(const char* src, ptrdiff_t step, char* block, ptrdiff_t count) {
    ownGather(src, step, reinterpret_cast<T*>(block), count);
}

template <class T> constexpr OwnNormRow row() {
    return {largest<T>, sum<T>,        squares<T, false>, squares<T, true>,
            addSum<T>,  addSquares<T>, gather<T>};
}

constexpr OwnNormTable table = {
    {row<uint8_t>(), row<int8_t>(), row<uint16_t>(), row<int16_t>(), row<int32_t>()}};

} // namespace

template <> const OwnNormTable& ownRowTable<OwnNorm, OWN_ISA>() { return table; }
