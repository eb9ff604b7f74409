// For row kernels only: arithmetic limited to the range of a sample type, in the narrowest lanes
// that hold the exact result.
#ifndef OWN_SATURATE_H
#define OWN_SATURATE_H

#include <cstdint>
#include <limits>
#include <type_traits>

namespace {

template <class T> using OwnUnsigned = std::make_unsigned_t<T>;

template <class T, class W> T ownClamp(W exact) {
    constexpr W least = std::numeric_limits<T>::min();
    constexpr W most = std::numeric_limits<T>::max();
    return static_cast<T>(exact < least ? least : exact > most ? most : exact);
}

// The end of a signed type's range on a sample's side.
template <class T> T ownLimitOf(T a) {
    return a < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
}

template <class T> T ownSaturatedSum(T a, T b) {
    using U = OwnUnsigned<T>;
    const U sum = static_cast<U>(static_cast<U>(a) + static_cast<U>(b));
    if constexpr (std::is_unsigned_v<T>) {
        return sum < a ? std::numeric_limits<T>::max() : sum;
    } else {
        // Out of range just when both samples lie on one side of 0 and the sum on the other.
        const T outside = static_cast<T>((sum ^ static_cast<U>(a)) & (sum ^ static_cast<U>(b)));
        return outside < 0 ? ownLimitOf(a) : static_cast<T>(sum);
    }
}

template <class T> T ownSaturatedDifference(T a, T b) {
    using U = OwnUnsigned<T>;
    const U difference = static_cast<U>(static_cast<U>(a) - static_cast<U>(b));
    if constexpr (std::is_unsigned_v<T>) {
        return a < b ? T{0} : difference;
    } else {
        const T outside = static_cast<T>((difference ^ static_cast<U>(a)) &
                                         (static_cast<U>(a) ^ static_cast<U>(b)));
        return outside < 0 ? ownLimitOf(a) : static_cast<T>(difference);
    }
}

template <class T> T ownSaturatedProduct(T a, T b) {
    if constexpr (std::is_same_v<T, uint8_t>)
        return ownClamp<T>(static_cast<uint16_t>(a * b));
    else if constexpr (std::is_same_v<T, int8_t>)
        return ownClamp<T>(static_cast<int16_t>(a * b));
    else if constexpr (std::is_same_v<T, uint16_t>)
        return ownClamp<T>(uint32_t{a} * b);
    else if constexpr (std::is_same_v<T, int16_t>)
        return ownClamp<T>(int32_t{a} * b);
    else
        return ownClamp<T>(int64_t{a} * b);
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
