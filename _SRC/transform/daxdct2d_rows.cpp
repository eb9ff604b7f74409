#include "transform/daxdct2d.h"

#include "frame/kernels.h"
#include "transform/wide.h"

#include <bit>

namespace {

// 0.5 / cos((2 i + 1) pi / (4 h)) at h + i.
constexpr double shortSecants[8] = {0,
                                    0.70710678118654752440,
                                    0.54119610014619698440,
                                    1.30656296487637652786,
                                    0.50979557910415916894,
                                    0.60134488693504528054,
                                    0.89997622313641570464,
                                    2.56291544774150617880};

template <bool whole, class V> OWN_INLINE void multiply(V& x, double factor) {
    x = x * factor;
    // To the nearest whole number.
    if constexpr (whole) x = (x + 0x1.8p52) - 0x1.8p52;
}

// The transforms by halves of up to 8 numbers, in registers.
template <int32_t n, bool whole, class V> OWN_INLINE void shortForward(V (&x)[n]) {
    if constexpr (n > 1) {
        constexpr int32_t half = n / 2;
        V a[half];
        V b[half];
        for (int32_t i = 0; i < half; ++i) {
            a[i] = x[i] + x[n - 1 - i];
            b[i] = x[i] - x[n - 1 - i];
            multiply<whole>(b[i], shortSecants[half + i]);
        }
        shortForward<half, whole>(a);
        shortForward<half, whole>(b);
        for (int32_t i = 0; i < half; ++i) {
            x[i * 2] = a[i];
            x[i * 2 + 1] = b[i];
            if (i + 1 < half) x[i * 2 + 1] += b[i + 1];
        }
    }
}

template <int32_t n, bool whole, class V> OWN_INLINE void shortInverse(V (&x)[n]) {
    if constexpr (n > 1) {
        constexpr int32_t half = n / 2;
        V a[half];
        V b[half];
        for (int32_t i = 0; i < half; ++i) {
            a[i] = x[i * 2];
            b[i] = x[i * 2 + 1];
            if (i > 0) b[i] += x[i * 2 - 1];
        }
        shortInverse<half, whole>(a);
        shortInverse<half, whole>(b);
        for (int32_t i = 0; i < half; ++i) {
            multiply<whole>(b[i], shortSecants[half + i]);
            x[i] = a[i] + b[i];
            x[n - 1 - i] = a[i] - b[i];
        }
    }
}

template <int32_t n, bool whole, bool inverse, class V> OWN_INLINE void inRegisters(double* lanes) {
    V x[n];
    for (int32_t i = 0; i < n; ++i) x[i] = ownLoad<V>(lanes + i * ownDctLanes);
    if constexpr (inverse)
        shortInverse<n, whole>(x);
    else
        shortForward<n, whole>(x);
    for (int32_t i = 0; i < n; ++i) ownStore(lanes + i * ownDctLanes, x[i]);
}

// One vector's share of the lanes; `t` is as large as `x`.
template <bool whole, class V>
void forward(double* x, double* t, ptrdiff_t n, const double* secants) {
    constexpr ptrdiff_t lanes = ownDctLanes;
    if (n == 2) return inRegisters<2, whole, false, V>(x);
    if (n == 4) return inRegisters<4, whole, false, V>(x);
    if (n == 8) return inRegisters<8, whole, false, V>(x);
    const ptrdiff_t half = n / 2;
    double* const second = t + half * lanes;
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V a = ownLoad<V>(x + i * lanes);
        const V b = ownLoad<V>(x + (n - 1 - i) * lanes);
        V difference = a - b;
        multiply<whole>(difference, secants[half + i]);
        ownStore(t + i * lanes, a + b);
        ownStore(second + i * lanes, difference);
    }
    forward<whole, V>(t, x, half, secants);
    forward<whole, V>(second, x, half, secants);
    V b = ownLoad<V>(second);
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V even = ownLoad<V>(t + i * lanes);
        ownStore(x + i * 2 * lanes, even);
        V next = {};
        if (i + 1 < half) next = ownLoad<V>(second + (i + 1) * lanes);
        ownStore(x + (i * 2 + 1) * lanes, b + next);
        b = next;
    }
}

template <bool whole, class V>
void inverse(double* x, double* t, ptrdiff_t n, const double* secants) {
    constexpr ptrdiff_t lanes = ownDctLanes;
    if (n == 2) return inRegisters<2, whole, true, V>(x);
    if (n == 4) return inRegisters<4, whole, true, V>(x);
    if (n == 8) return inRegisters<8, whole, true, V>(x);
    const ptrdiff_t half = n / 2;
    double* const second = t + half * lanes;
    V before = {};
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V even = ownLoad<V>(x + i * 2 * lanes);
        ownStore(t + i * lanes, even);
        const V odd = ownLoad<V>(x + (i * 2 + 1) * lanes);
        ownStore(second + i * lanes, odd + before);
        before = odd;
    }
    inverse<whole, V>(t, x, half, secants);
    inverse<whole, V>(second, x, half, secants);
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V a = ownLoad<V>(t + i * lanes);
        V b = ownLoad<V>(second + i * lanes);
        multiply<whole>(b, secants[half + i]);
        ownStore(x + i * lanes, a + b);
        ownStore(x + (n - 1 - i) * lanes, a - b);
    }
}

template <bool whole, bool isInverse>
void split(double* lanes, double* work, ptrdiff_t n, const double* secants) {
    constexpr auto width = static_cast<ptrdiff_t>(sizeof(OwnWide) / sizeof(double));
    for (ptrdiff_t l = 0; l < ownDctLanes; l += width) {
        if constexpr (isInverse)
            inverse<whole, OwnWide>(lanes + l, work + l, n, secants);
        else
            forward<whole, OwnWide>(lanes + l, work + l, n, secants);
    }
}

// Where element i goes: the even ones in front, the odd ones behind in reverse.
ptrdiff_t folded(ptrdiff_t i, ptrdiff_t n) { return i % 2 == 0 ? i / 2 : n - 1 - i / 2; }

void fold(OwnLanes from, OwnLanes to, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
        const ptrdiff_t at = folded(i, n) * ownDctLanes;
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
            to.re[at + l] = from.re[i * ownDctLanes + l];
            to.im[at + l] = from.im[i * ownDctLanes + l];
        }
    }
}

void unfold(OwnLanes from, OwnLanes to, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
        const ptrdiff_t at = folded(i, n) * ownDctLanes;
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
            to.re[i * ownDctLanes + l] = from.re[at + l];
            to.im[i * ownDctLanes + l] = from.im[at + l];
        }
    }
}

void weigh(OwnLanes from, OwnLanes to, ptrdiff_t n, const double* cosines) {
    for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
        to.re[l] = from.re[l];
        to.im[l] = from.im[l];
    }
    for (ptrdiff_t k = 1; k <= n / 2; ++k) {
        const double c = cosines[k * 2] * 0.5;
        const double s = cosines[k * 2 + 1] * 0.5;
        const ptrdiff_t near = k * ownDctLanes;
        const ptrdiff_t far = (n - k) * ownDctLanes;
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
            const double aRe = from.re[near + l] + from.re[far + l];
            const double aIm = from.im[near + l] - from.im[far + l];
            const double bRe = from.im[near + l] + from.im[far + l];
            const double bIm = from.re[far + l] - from.re[near + l];
            to.re[near + l] = c * aRe + s * aIm;
            to.im[near + l] = c * bRe + s * bIm;
            to.re[far + l] = s * aRe - c * aIm;
            to.im[far + l] = s * bRe - c * bIm;
        }
    }
}

void unweigh(OwnLanes from, OwnLanes to, ptrdiff_t n, const double* cosines) {
    for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
        to.re[l] = from.re[l];
        to.im[l] = from.im[l];
    }
    for (ptrdiff_t k = 1; k <= n / 2; ++k) {
        const double c = cosines[k * 2] * 0.5;
        const double s = cosines[k * 2 + 1] * 0.5;
        const ptrdiff_t near = k * ownDctLanes;
        const ptrdiff_t far = (n - k) * ownDctLanes;
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
            const double aRe = c * from.re[near + l] + s * from.re[far + l];
            const double aIm = s * from.re[near + l] - c * from.re[far + l];
            const double bRe = c * from.im[near + l] + s * from.im[far + l];
            const double bIm = s * from.im[near + l] - c * from.im[far + l];
            to.re[near + l] = aRe - bIm;
            to.im[near + l] = aIm + bRe;
            to.re[far + l] = aRe + bIm;
            to.im[far + l] = bRe - aIm;
        }
    }
}

void scale(double* lanes, ptrdiff_t n, double first, double rest) {
    for (ptrdiff_t l = 0; l < ownDctLanes; ++l) lanes[l] *= first;
    for (ptrdiff_t i = ownDctLanes; i < n * ownDctLanes; ++i) lanes[i] *= rest;
}

void fromColumns(const float* from, ptrdiff_t pitch, double* lanes, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i)
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l)
            lanes[i * ownDctLanes + l] = double{from[i * pitch + l]};
}

void toColumns(const double* lanes, float* to, ptrdiff_t pitch, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i)
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l)
            to[i * pitch + l] = static_cast<float>(lanes[i * ownDctLanes + l]);
}

// A pass down the columns of a block, which it leaves transposed.
template <int32_t n, bool isInverse> OWN_INLINE void blockPass(const double* from, double* to) {
    for (int32_t x = 0; x < n; x += 4) {
        OwnDouble4 column[n];
        for (int32_t y = 0; y < n; ++y) column[y] = ownLoad<OwnDouble4>(from + y * n + x);
        if constexpr (isInverse)
            shortInverse<n, false>(column);
        else
            shortForward<n, false>(column);
        for (int32_t y = 0; y < n; y += 4) {
            OwnDouble4 square[4] = {column[y], column[y + 1], column[y + 2], column[y + 3]};
            ownTranspose(square);
            for (int32_t k = 0; k < 4; ++k) ownStore(to + (x + k) * n + y, square[k]);
        }
    }
}

template <int32_t n> struct BlockScale {
    double factor[n * n] = {};

    constexpr BlockScale() {
        constexpr double root = 1.41421356237309504880;
        for (int32_t i = 0; i < n * n; ++i)
            factor[i] = (i < n ? 1.0 : root) * (i % n == 0 ? 1.0 : root) / n;
        for (int32_t i = n + 1; i < n * n; ++i)
            if (i % n != 0) factor[i] = 2.0 / n;
    }
};

template <int32_t n, bool isInverse> void block(int32_t* samples) {
    static constexpr BlockScale<n> scales;
    double a[n * n];
    double b[n * n];
    for (int32_t i = 0; i < n * n; ++i)
        a[i] = isInverse ? samples[i] * scales.factor[i] : double{1} * samples[i];
    blockPass<n, isInverse>(a, b);
    blockPass<n, isInverse>(b, a);
    for (int32_t i = 0; i < n * n; ++i) {
        double value = isInverse ? a[i] : a[i] * scales.factor[i];
        value = value > -0x1p31 ? value : -0x1p31;
        value = value < 0x1.fffffffcp30 ? value : 0x1.fffffffcp30;
        samples[i] =
            static_cast<int32_t>(static_cast<uint32_t>(std::bit_cast<uint64_t>(value + 0x1.8p52)));
    }
}

constexpr OwnDctTable table = {
    {{split<false, false>, split<false, true>}, {split<true, false>, split<true, true>}},
    fold,
    weigh,
    unweigh,
    unfold,
    scale,
    fromColumns,
    toColumns,
    {{block<4, false>, block<4, true>}, {block<8, false>, block<8, true>}}};

} // namespace

template <> const OwnDctTable& ownRowTable<OwnDctKernels, OWN_ISA>() { return table; }
