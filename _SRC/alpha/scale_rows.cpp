#include "alpha/full_scale.h"
#include "alpha/scale.h"
#include "frame/kernels.h"

namespace {

template <class T> void product(const char* a, const char* b, char* dst, ptrdiff_t count) {
    using Parts = OwnParts<T>;
    const auto of = [](Parts x, Parts y) { return ownProduct(x, y); };
    ownWordRun<T>(dst, count, of, a, b);
}

void complement(const char* src, char* dst, ptrdiff_t byteCount) {
    const auto* x = ownLanes<uint8_t>(src);
    auto* z = ownLanes<uint8_t>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < byteCount; ++i) z[i] = static_cast<uint8_t>(~x[i]);
}

// The word of a pixel of four samples.
template <class T> struct PixelOf;
template <> struct PixelOf<uint8_t> {
    using Word = uint32_t;
    // By shifts, since words of 32 bits multiply slowly.
    static Word spread(Word alpha) {
        const Word two = alpha | alpha << 8;
        return two | two << 16;
    }
};
template <> struct PixelOf<uint16_t> {
    using Word = uint64_t;
    static Word spread(Word alpha) {
        const Word two = alpha | alpha << 16;
        return two | two << 32;
    }
};

template <class T> struct Pixels {
    using Word = typename PixelOf<T>::Word;
    static constexpr int32_t last = 3 * 8 * static_cast<int32_t>(sizeof(T));
    static constexpr Word colours = (Word{1} << last) - 1;
    static constexpr Word inner = colours - ((Word{1} << last / 3) - 1);

    static void spread(const char* alpha, char* pixels, ptrdiff_t count) {
        const auto* x = ownLanes<T>(alpha);
        auto* z = ownLanes<Word>(pixels);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = PixelOf<T>::spread(Word{x[i]});
    }

    static void spreadOwn(const char* src, char* pixels, ptrdiff_t count) {
        const auto* x = ownLanes<Word>(src);
        auto* z = ownLanes<Word>(pixels);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = PixelOf<T>::spread(x[i] >> last);
    }

    static void factors(const char* spread, char* dst, ptrdiff_t count) {
        const auto* x = ownLanes<Word>(spread);
        auto* z = ownLanes<Word>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i] | ~colours;
    }

    // dst = what the mask has of x, and the rest of y
    template <Word mask> static void mix(const char* a, const char* b, char* dst, ptrdiff_t count) {
        const auto* x = ownLanes<Word>(a);
        const auto* y = ownLanes<Word>(b);
        auto* z = ownLanes<Word>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = (x[i] & mask) | (y[i] & ~mask);
    }
};

template <class T> constexpr OwnScaleRows rowsOf() {
    return {product<T>,
            Pixels<T>::spread,
            Pixels<T>::spreadOwn,
            Pixels<T>::factors,
            Pixels<T>::template mix<Pixels<T>::colours>,
            Pixels<T>::template mix<Pixels<T>::inner>};
}

constexpr OwnScaleTable table = {{rowsOf<uint8_t>(), rowsOf<uint16_t>()}, complement};

} // namespace

template <> const OwnScaleTable& ownRowTable<OwnScale, OWN_ISA>() { return table; }
