// For row kernels only: samples as parts of full scale. Work goes in words of 16 bits, which hold
// one sample of 16 bits, or two of 8 bits that are taken apart: so nothing is widened.
#ifndef OWN_FULL_SCALE_H
#define OWN_FULL_SCALE_H

#include "frame/lanes.h"

#include <cstddef>
#include <cstdint>

namespace {

template <class T> struct OwnParts;

template <> struct OwnParts<uint8_t> {
    uint16_t low;
    uint16_t high;

    explicit OwnParts(uint16_t word) : low(word & 0xFF), high(static_cast<uint16_t>(word >> 8)) {}
    OwnParts(uint16_t theLow, uint16_t theHigh) : low(theLow), high(theHigh) {}
    uint16_t word() const { return static_cast<uint16_t>(low | high << 8); }

    OwnParts missing() const {
        return {static_cast<uint16_t>(low ^ 0xFF), static_cast<uint16_t>(high ^ 0xFF)};
    }
    template <class Of> static OwnParts each(OwnParts x, OwnParts y, Of of) {
        return {of(x.low, y.low), of(x.high, y.high)};
    }
    static uint16_t product(uint16_t x, uint16_t y) {
        const auto exact = static_cast<uint16_t>(x * y);
        return static_cast<uint16_t>(static_cast<uint16_t>(exact + (exact >> 8) + 1) >> 8);
    }
    static uint16_t sum(uint16_t x, uint16_t y) {
        const auto exact = static_cast<uint16_t>(x + y);
        return exact < 255 ? exact : uint16_t{255};
    }
    static uint16_t difference(uint16_t x, uint16_t y) { return static_cast<uint16_t>(x - y); }
};

template <> struct OwnParts<uint16_t> {
    uint16_t value;

    explicit OwnParts(uint16_t word) : value(word) {}
    uint16_t word() const { return value; }

    OwnParts missing() const { return OwnParts(static_cast<uint16_t>(~value)); }
    template <class Of> static OwnParts each(OwnParts x, OwnParts y, Of of) {
        return OwnParts(of(x.value, y.value));
    }
    // By the halves of the exact product.
    static uint16_t product(uint16_t x, uint16_t y) {
        const auto high = static_cast<uint16_t>(uint32_t{x} * uint32_t{y} >> 16);
        const auto low = static_cast<uint16_t>(uint32_t{x} * uint32_t{y});
        const auto carries = static_cast<uint16_t>(low >= static_cast<uint16_t>(~high));
        return static_cast<uint16_t>(high + carries);
    }
    static uint16_t sum(uint16_t x, uint16_t y) {
        const auto room = static_cast<uint16_t>(~x);
        return static_cast<uint16_t>(x + (y < room ? y : room));
    }
    static uint16_t difference(uint16_t x, uint16_t y) { return static_cast<uint16_t>(x - y); }
};

// The product of two samples over full scale.
template <class T> OwnParts<T> ownProduct(OwnParts<T> x, OwnParts<T> y) {
    return OwnParts<T>::each(x, y, OwnParts<T>::product);
}
template <class T> OwnParts<T> ownSum(OwnParts<T> x, OwnParts<T> y) {
    return OwnParts<T>::each(x, y, OwnParts<T>::sum);
}
// What is taken away is never more than there is.
template <class T> OwnParts<T> ownDifference(OwnParts<T> x, OwnParts<T> y) {
    return OwnParts<T>::each(x, y, OwnParts<T>::difference);
}
// dst[i] = of(src[i]...) on the parts of words. An odd byte at the end is a word's lower half.
template <class T, class Of, class... Src>
void ownWordRun(char* dst, ptrdiff_t count, Of of, const Src*... src) {
    const ptrdiff_t words = count * static_cast<ptrdiff_t>(sizeof(T)) / 2;
    auto* z = ownLanes<uint16_t>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < words; ++i)
        z[i] = of(OwnParts<T>(uint16_t{ownLanes<uint16_t>(src)[i]})...).word();
    if (sizeof(T) == 1 && count % 2 != 0)
        dst[count - 1] = static_cast<char>(
            of(OwnParts<T>(static_cast<unsigned char>(src[count - 1]))...).word());
}

// Limited sums alone don't need the room of words.
template <class T> void ownSumRun(const char* a, const char* b, char* dst, ptrdiff_t count) {
    const auto* x = ownLanes<T>(a);
    const auto* y = ownLanes<T>(b);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        const auto room = static_cast<T>(~x[i]);
        z[i] = static_cast<T>(x[i] + (y[i] < room ? T{y[i]} : room));
    }
}

} // namespace

#endif
