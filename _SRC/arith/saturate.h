// For row kernels only: arithmetic limited to the range of a sample type, without leaving its
// lanes.
#ifndef OWN_SATURATE_H
#define OWN_SATURATE_H

#include <cstdint>
#include <limits>
#include <type_traits>

namespace {

template <class T> using OwnUnsigned = std::make_unsigned_t<T>;

template <class T> constexpr T ownLeast = std::numeric_limits<T>::min();
template <class T> constexpr T ownMost = std::numeric_limits<T>::max();

template <class T> T ownMin(T a, T b) { return a < b ? a : b; }
template <class T> T ownMax(T a, T b) { return a > b ? a : b; }

template <class T, class W> T ownClamp(W exact) {
    return static_cast<T>(exact < ownLeast<T>  ? ownLeast<T>
                          : exact > ownMost<T> ? ownMost<T>
                                               : exact);
}

template <class T> constexpr bool ownHolds(int64_t value) {
    return value >= ownLeast<T> && value <= ownMost<T>;
}

// Signed sums and differences bring the second operand into the range in which the result fits:
// minima and maxima are cheaper in lanes than a test of the result.
template <class T> T ownSaturatedSum(T a, T b) {
    if constexpr (std::is_unsigned_v<T>) {
        const T sum = static_cast<T>(a + b);
        return sum < a ? ownMost<T> : sum;
    } else {
        const T least = static_cast<T>(ownLeast<T> - ownMin<T>(a, 0));
        const T most = static_cast<T>(ownMost<T> - ownMax<T>(a, 0));
        return static_cast<T>(a + ownMin(ownMax(b, least), most));
    }
}

template <class T> T ownSaturatedDifference(T a, T b) {
    if constexpr (std::is_unsigned_v<T>) {
        return a < b ? T{0} : static_cast<T>(a - b);
    } else {
        const T least = static_cast<T>(ownMax<T>(a, -1) - ownMost<T>);
        const T most = static_cast<T>(ownMin<T>(a, -1) - ownLeast<T>);
        return static_cast<T>(a - ownMin(ownMax(b, least), most));
    }
}

template <class T> T ownSaturatedProduct(T a, T b) {
    if constexpr (sizeof(T) == 1) {
        using Wide = std::conditional_t<std::is_signed_v<T>, int16_t, uint16_t>;
        return ownClamp<T>(static_cast<Wide>(a * b));
    } else if constexpr (std::is_unsigned_v<T>) {
        // All ones over the lower half of the product as soon as there is an upper one.
        const T high = static_cast<T>(uint32_t{a} * b >> 16);
        const T low = static_cast<T>(uint32_t{a} * b);
        return static_cast<T>(low | static_cast<T>(0 - ownMin<T>(high, 1)));
    } else {
        // The halves of the product: it fits just when the upper one is all sign of the lower.
        constexpr int32_t bits = sizeof(T) * 8;
        using Wide = std::conditional_t<sizeof(T) == 2, int32_t, int64_t>;
        const T high = static_cast<T>(Wide{a} * b >> bits);
        const T low = static_cast<T>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
        const T limit = static_cast<T>(high >> (bits - 1) ^ ownMost<T>);
        return high == low >> (bits - 1) ? low : limit;
    }
}

// Two samples of 8 bits in a word, multiplied and limited in lanes of 16 bits with no widening.
template <class T> uint16_t ownSaturatedProducts(uint16_t a, uint16_t b) {
    if constexpr (std::is_unsigned_v<T>) {
        const auto low = ownMin<uint16_t>(static_cast<uint16_t>((a & 0xFF) * (b & 0xFF)), 255);
        const auto high = ownMin<uint16_t>(static_cast<uint16_t>((a >> 8) * (b >> 8)), 255);
        return static_cast<uint16_t>(low | high << 8);
    } else {
        // A sample in the upper half of a word is 256 times itself, so that the upper half of a
        // product of two such words is the product of the samples.
        const auto limited = [](uint16_t x, uint16_t y) {
            const auto product = static_cast<int16_t>(
                int32_t{static_cast<int16_t>(x)} * int32_t{static_cast<int16_t>(y)} >> 16);
            return ownMin<int16_t>(ownMax<int16_t>(product, -128), 127);
        };
        const int16_t low = limited(static_cast<uint16_t>(a << 8), static_cast<uint16_t>(b << 8));
        const int16_t high = limited(a & 0xFF00, b & 0xFF00);
        return static_cast<uint16_t>((low & 0xFF) | static_cast<uint16_t>(high) << 8);
    }
}

// The product at the ends of a run of unsigned words: it wraps in 32 bits and is limited as a
// signed number, so that one of 2^31 and more keeps its low 16 bits.
inline uint16_t ownEndProduct(uint16_t a, uint32_t b) {
    const uint32_t product = a * b;
    return static_cast<int32_t>(product) > 0xFFFF ? uint16_t{0xFFFF}
                                                  : static_cast<uint16_t>(product);
}

} // namespace

#endif
