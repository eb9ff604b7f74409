#include "transform/daxdct2d.h"

#include "frame/kernels.h"
#include "frame/lanes.h"
#include "transform/wide.h"

#include <bit>
#include <cstring>
#include <limits>

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

// The transforms by halves of up to 8 numbers, in registers.
template <int32_t n, class V> OWN_INLINE void shortForward(V (&x)[n]) {
    if constexpr (n > 1) {
        constexpr int32_t half = n / 2;
        V a[half];
        V b[half];
        for (int32_t i = 0; i < half; ++i) {
            a[i] = x[i] + x[n - 1 - i];
            b[i] = x[i] - x[n - 1 - i];
            b[i] = b[i] * shortSecants[half + i];
        }
        shortForward<half>(a);
        shortForward<half>(b);
        for (int32_t i = 0; i < half; ++i) {
            x[i * 2] = a[i];
            x[i * 2 + 1] = b[i];
            if (i + 1 < half) x[i * 2 + 1] += b[i + 1];
        }
    }
}

template <int32_t n, class V> OWN_INLINE void shortInverse(V (&x)[n]) {
    if constexpr (n > 1) {
        constexpr int32_t half = n / 2;
        V a[half];
        V b[half];
        for (int32_t i = 0; i < half; ++i) {
            a[i] = x[i * 2];
            b[i] = x[i * 2 + 1];
            if (i > 0) b[i] += x[i * 2 - 1];
        }
        shortInverse<half>(a);
        shortInverse<half>(b);
        for (int32_t i = 0; i < half; ++i) {
            b[i] = b[i] * shortSecants[half + i];
            x[i] = a[i] + b[i];
            x[n - 1 - i] = a[i] - b[i];
        }
    }
}

template <int32_t n, bool inverse, class V> OWN_INLINE void inRegisters(double* lanes) {
    V x[n];
    for (int32_t i = 0; i < n; ++i) x[i] = ownLoad<V>(lanes + i * ownDctLanes);
    if constexpr (inverse)
        shortInverse<n>(x);
    else
        shortForward<n>(x);
    for (int32_t i = 0; i < n; ++i) ownStore(lanes + i * ownDctLanes, x[i]);
}

// One vector's share of the lanes; `t` is as large as `x`.
template <class V> void forward(double* x, double* t, ptrdiff_t n, const double* secants) {
    constexpr ptrdiff_t lanes = ownDctLanes;
    if (n == 2) return inRegisters<2, false, V>(x);
    if (n == 4) return inRegisters<4, false, V>(x);
    if (n == 8) return inRegisters<8, false, V>(x);
    const ptrdiff_t half = n / 2;
    double* const second = t + half * lanes;
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V a = ownLoad<V>(x + i * lanes);
        const V b = ownLoad<V>(x + (n - 1 - i) * lanes);
        const V difference = (a - b) * secants[half + i];
        ownStore(t + i * lanes, a + b);
        ownStore(second + i * lanes, difference);
    }
    forward<V>(t, x, half, secants);
    forward<V>(second, x, half, secants);
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

template <class V> void inverse(double* x, double* t, ptrdiff_t n, const double* secants) {
    constexpr ptrdiff_t lanes = ownDctLanes;
    if (n == 2) return inRegisters<2, true, V>(x);
    if (n == 4) return inRegisters<4, true, V>(x);
    if (n == 8) return inRegisters<8, true, V>(x);
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
    inverse<V>(t, x, half, secants);
    inverse<V>(second, x, half, secants);
    for (ptrdiff_t i = 0; i < half; ++i) {
        const V a = ownLoad<V>(t + i * lanes);
        const V b = ownLoad<V>(second + i * lanes) * secants[half + i];
        ownStore(x + i * lanes, a + b);
        ownStore(x + (n - 1 - i) * lanes, a - b);
    }
}

template <bool isInverse>
void split(double* lanes, double* work, ptrdiff_t n, const double* secants) {
    constexpr auto width = static_cast<ptrdiff_t>(sizeof(OwnWide) / sizeof(double));
    for (ptrdiff_t l = 0; l < ownDctLanes; l += width) {
        if constexpr (isInverse)
            inverse<OwnWide>(lanes + l, work + l, n, secants);
        else
            forward<OwnWide>(lanes + l, work + l, n, secants);
    }
}

// Where element i goes: the even ones in front, the odd ones behind in reverse.
ptrdiff_t folded(ptrdiff_t i, ptrdiff_t n) { return i % 2 == 0 ? i / 2 : n - 1 - i / 2; }

template <bool isInverse> void fold(OwnLanes from, OwnLanes to, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) {
        const ptrdiff_t plain = i * ownDctLanes;
        const ptrdiff_t at = folded(i, n) * ownDctLanes;
        const ptrdiff_t source = isInverse ? at : plain;
        const ptrdiff_t target = isInverse ? plain : at;
        for (ptrdiff_t l = 0; l < ownDctLanes; ++l) {
            to.re[target + l] = from.re[source + l];
            to.im[target + l] = from.im[source + l];
        }
    }
}

// Forward, the two real spectra in one complex one come apart and are turned; the inverse turns
// them first and brings them together.
template <bool isInverse>
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
            const double nearRe = from.re[near + l];
            const double nearIm = from.im[near + l];
            const double farRe = from.re[far + l];
            const double farIm = from.im[far + l];
            if constexpr (isInverse) {
                const double aRe = c * nearRe + s * farRe;
                const double aIm = s * nearRe - c * farRe;
                const double bRe = c * nearIm + s * farIm;
                const double bIm = s * nearIm - c * farIm;
                to.re[near + l] = aRe - bIm;
                to.im[near + l] = aIm + bRe;
                to.re[far + l] = aRe + bIm;
                to.im[far + l] = bRe - aIm;
            } else {
                const double aRe = nearRe + farRe;
                const double aIm = nearIm - farIm;
                const double bRe = nearIm + farIm;
                const double bIm = farRe - nearRe;
                to.re[near + l] = c * aRe + s * aIm;
                to.im[near + l] = c * bRe + s * bIm;
                to.re[far + l] = s * aRe - c * aIm;
                to.im[far + l] = s * bRe - c * bIm;
            }
        }
    }
}

void scale(double* lanes, ptrdiff_t n, double first, double rest) {
    for (ptrdiff_t l = 0; l < ownDctLanes; ++l) lanes[l] *= first;
    for (ptrdiff_t i = ownDctLanes; i < n * ownDctLanes; ++i) lanes[i] *= rest;
}

void roundToWords(double* lanes, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n * ownDctLanes; ++i) {
        const double whole = (lanes[i] + 0x1.8p52) - 0x1.8p52;
        const double up = whole > INT16_MIN ? whole : INT16_MIN;
        lanes[i] = up < INT16_MAX ? up : INT16_MAX;
    }
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
            shortInverse<n>(column);
        else
            shortForward<n>(column);
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

template <int32_t n, bool isInverse> void block(int32_t* samples, int32_t least, int32_t most) {
    static constexpr BlockScale<n> scales;
    double a[n * n];
    double b[n * n];
    for (int32_t i = 0; i < n * n; ++i)
        a[i] = isInverse ? samples[i] * scales.factor[i] : double{1} * samples[i];
    blockPass<n, isInverse>(a, b);
    blockPass<n, isInverse>(b, a);
    const double down = least;
    const double up = most;
    for (int32_t i = 0; i < n * n; ++i) {
        double value = isInverse ? a[i] : a[i] * scales.factor[i];
        value = value > down ? value : down;
        value = value < up ? value : up;
        samples[i] =
            static_cast<int32_t>(static_cast<uint32_t>(std::bit_cast<uint64_t>(value + 0x1.8p52)));
    }
}

template <class T, int32_t n>
void fetchBlock(const char* src, ptrdiff_t rowStep, ptrdiff_t step, int32_t* to) {
    for (int32_t y = 0; y < n; ++y, src += rowStep, to += n) {
        const auto* from = ownLanes<T>(src);
        if (step == sizeof(T))
            for (int32_t x = 0; x < n; ++x) to[x] = from[x];
        else
            for (int32_t x = 0; x < n; ++x) to[x] = *ownLanes<T>(src + x * step);
    }
}

template <class T, int32_t n>
void storeBlock(const int32_t* from, char* dst, ptrdiff_t rowStep, ptrdiff_t step) {
    constexpr int32_t least = std::numeric_limits<T>::min();
    constexpr int32_t most = std::numeric_limits<T>::max();
    for (int32_t y = 0; y < n; ++y, dst += rowStep, from += n) {
        T row[n];
        for (int32_t x = 0; x < n; ++x) {
            const int32_t up = from[x] > least ? from[x] : least;
            row[x] = static_cast<T>(up < most ? up : most);
        }
        if (step == sizeof(T))
            memcpy(dst, row, sizeof row);
        else
            for (int32_t x = 0; x < n; ++x) *ownLanes<T>(dst + x * step) = row[x];
    }
}

template <int32_t n>
constexpr OwnDctBlock blocks = {
    {fetchBlock<uint8_t, n>, fetchBlock<int8_t, n>, fetchBlock<uint16_t, n>, fetchBlock<int16_t, n>,
     fetchBlock<int32_t, n>},
    {block<n, false>, block<n, true>},
    {storeBlock<uint8_t, n>, storeBlock<int8_t, n>, storeBlock<uint16_t, n>, storeBlock<int16_t, n>,
     storeBlock<int32_t, n>}};

constexpr OwnDctTable table = {{split<false>, split<true>},
                               {fold<false>, fold<true>},
                               {weigh<false>, weigh<true>},
                               scale,
                               roundToWords,
                               fromColumns,
                               toColumns,
                               {blocks<4>, blocks<8>}};

} // namespace

template <> const OwnDctTable& ownRowTable<OwnDctKernels, OWN_ISA>() { return table; }
