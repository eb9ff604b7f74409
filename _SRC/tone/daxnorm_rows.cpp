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

struct BothSquares {
    int64_t difference;
    int64_t second;
};

// The squares of differences of bytes, and with `both` those of b. With `alone` the first samples
// of b stand for all of them. Bytes are taken apart in lanes of 16 bits without a shuffle, and
// products that are added in pairs are one instruction.
template <class T, bool alone, bool both>
OWN_INLINE BothSquares squareBytes(const char* a, const char* b, ptrdiff_t count) {
    const auto* pairsX = ownLanes<int16_t>(a);
    const auto* pairsY = ownLanes<int16_t>(b);
    int32_t low = 0;
    int32_t high = 0;
    int32_t lowSecond = 0;
    int32_t highSecond = 0;
    // A 0 that the compiler doesn't know of: a product of what it knows to be above 0 is widened
    // first, in several instructions.
    int16_t nothing = 0;
    asm("" : "+r"(nothing));
    for (ptrdiff_t i = 0; i < count / 2; ++i) {
        const int16_t u = pairsX[i];
        const int16_t v = pairsY[alone ? 0 : i];
        const int16_t lowV = lowByte<T>(v);
        const int16_t highV = highByte<T>(v);
        const auto d = static_cast<int16_t>(lowByte<T>(u) - lowV);
        const auto e = static_cast<int16_t>(highByte<T>(u) - highV);
        low += d * d;
        high += e * e;
        if constexpr (both) {
            lowSecond += lowV * lowV;
            const auto h = static_cast<int16_t>(highV - nothing);
            highSecond += h * h;
        }
    }
    if (count % 2 != 0) {
        const T last = ownLanes<T>(a)[count - 1];
        const T lastSecond = ownLanes<T>(b)[alone ? 0 : count - 1];
        const int32_t d = last - lastSecond;
        low += d * d;
        lowSecond += lastSecond * lastSecond;
    }
    return {int64_t{low} + high, int64_t{lowSecond} + highSecond};
}

#if defined(__AVX512BW__)
// Here a sum of products is one instruction.
template <class T, bool alone, bool both>
__attribute__((target("avx512vnni"))) BothSquares squareBytesDot(const char* a, const char* b,
                                                                 ptrdiff_t count) {
    return squareBytes<T, alone, both>(a, b, count);
}
#endif

template <class T, bool alone, bool both>
BothSquares squaresOfBytes(const char* a, const char* b, ptrdiff_t count) {
#if defined(__AVX512BW__)
    if (__builtin_cpu_supports("avx512vnni")) return squareBytesDot<T, alone, both>(a, b, count);
#endif
    return squareBytes<T, alone, both>(a, b, count);
}

template <class T, bool alone> int64_t squares(const char* a, const char* b, ptrdiff_t count) {
    if constexpr (sizeof(T) == 1) {
        return squaresOfBytes<T, alone, false>(a, b, count).difference;
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

template <class T>
int64_t squaresOfBoth(const char* a, const char* b, ptrdiff_t count, int64_t* second) {
    if constexpr (sizeof(T) == 1) {
        const BothSquares sums = squaresOfBytes<T, false, true>(a, b, count);
        *second = sums.second;
        return sums.difference;
    } else {
        constexpr char zero[sizeof(T)] = {};
        *second = squares<T, true>(b, zero, count);
        return squares<T, false>(a, b, count);
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
    return {largest<T>,       sum<T>,    squares<T, false>, squares<T, true>,
            squaresOfBoth<T>, addSum<T>, addSquares<T>,     gather<T>};
}

constexpr OwnNormTable table = {
    {row<uint8_t>(), row<int8_t>(), row<uint16_t>(), row<int16_t>(), row<int32_t>()}};

} // namespace

template <> const OwnNormTable& ownRowTable<OwnNorm, OWN_ISA>() { return table; }
