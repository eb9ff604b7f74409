#include "transform/fourier.h"

#include "frame/kernels.h"
#include "transform/turn.h"
#include "transform/wide.h"

namespace {

template <class V> struct Complex {
    V re;
    V im;
};

template <class V> OWN_INLINE Complex<V> operator+(const Complex<V>& a, const Complex<V>& b) {
    return {a.re + b.re, a.im + b.im};
}

template <class V> OWN_INLINE Complex<V> operator-(const Complex<V>& a, const Complex<V>& b) {
    return {a.re - b.re, a.im - b.im};
}

template <class V> OWN_INLINE Complex<V> byMinusI(const Complex<V>& a) { return {a.im, -a.re}; }

template <class V> OWN_INLINE void turn(Complex<V>& a, double cosine, double sine) {
    a = {a.re * cosine - a.im * sine, a.re * sine + a.im * cosine};
}

// Transforms of short sequences, in place and in order.
template <class V> OWN_INLINE void shortTransform(Complex<V> (&x)[2]) {
    const Complex<V> sum = x[0] + x[1];
    x[1] = x[0] - x[1];
    x[0] = sum;
}

template <class V> OWN_INLINE void shortTransform(Complex<V> (&x)[4]) {
    const Complex<V> a = x[0] + x[2];
    const Complex<V> b = x[0] - x[2];
    const Complex<V> c = x[1] + x[3];
    const Complex<V> d = byMinusI(x[1] - x[3]);
    x[0] = a + c;
    x[1] = b + d;
    x[2] = a - c;
    x[3] = b - d;
}

template <class V> OWN_INLINE void shortTransform(Complex<V> (&x)[8]) {
    constexpr double half = 0x1.6a09e667f3bcdp-1; // the root of 1/2
    Complex<V> even[4] = {x[0] + x[4], x[1] + x[5], x[2] + x[6], x[3] + x[7]};
    Complex<V> odd[4] = {x[0] - x[4], x[1] - x[5], byMinusI(x[2] - x[6]), x[3] - x[7]};
    odd[1] = {(odd[1].re + odd[1].im) * half, (odd[1].im - odd[1].re) * half};
    odd[3] = {(odd[3].im - odd[3].re) * half, (odd[3].re + odd[3].im) * -half};
    shortTransform(even);
    shortTransform(odd);
    for (int32_t i = 0; i < 4; ++i) {
        x[i * 2] = even[i];
        x[i * 2 + 1] = odd[i];
    }
}

// An odd number of elements: those at equal distance from both ends have the same cosine and
// opposite sines.
template <class V>
OWN_INLINE void oddTransform(Complex<V>* x, int32_t radix, const double* cosines,
                             const double* sines) {
    constexpr int32_t most = ownFourierLargest / 2;
    const int32_t half = radix / 2;
    Complex<V> sum[most];
    Complex<V> difference[most];
    const Complex<V> first = x[0];
    for (int32_t j = 1; j <= half; ++j) {
        sum[j - 1] = x[j] + x[radix - j];
        difference[j - 1] = byMinusI(x[j] - x[radix - j]);
        x[0] = x[0] + sum[j - 1];
    }
    for (int32_t k = 1; k <= half; ++k) {
        Complex<V> a = first;
        Complex<V> b = {};
        int32_t at = 0;
        for (int32_t j = 1; j <= half; ++j) {
            at = at + k < radix ? at + k : at + k - radix;
            a = a + Complex<V>{sum[j - 1].re * cosines[at], sum[j - 1].im * cosines[at]};
            b = b + Complex<V>{difference[j - 1].re * sines[at], difference[j - 1].im * sines[at]};
        }
        x[k] = a + b;
        x[radix - k] = a - b;
    }
}

// Where a pass reads and writes: `place` counts elements of all lanes.
struct InDoubles {
    OwnLanes at;

    template <class V> OWN_INLINE Complex<V> load(ptrdiff_t place) const {
        return {ownLoad<V>(at.re + place), ownLoad<V>(at.im + place)};
    }
    template <class V> OWN_INLINE void store(ptrdiff_t place, const Complex<V>& x) const {
        ownStore(at.re + place, x.re);
        ownStore(at.im + place, x.im);
    }
};

struct InFloats {
    OwnFourierFloats at;

    static OWN_INLINE ptrdiff_t inRow(ptrdiff_t place) {
        return place + place / ownFourierFloatLanes * ownFourierFloatLanes;
    }
    template <class V> OWN_INLINE Complex<V> load(ptrdiff_t place) const {
        const ptrdiff_t i = inRow(place);
        return {__builtin_convertvector(ownLoad<OwnWideFloat>(at.re + i), V),
                __builtin_convertvector(ownLoad<OwnWideFloat>(at.im + i), V)};
    }
    template <class V> OWN_INLINE void store(ptrdiff_t place, const Complex<V>& x) const {
        const ptrdiff_t i = inRow(place);
        ownStore(at.re + i, __builtin_convertvector(x.re, OwnWideFloat));
        ownStore(at.im + i, __builtin_convertvector(x.im, OwnWideFloat));
    }
};

template <class V, int32_t radix, bool turned, class From, class To>
OWN_INLINE void group(const OwnFourierPass& pass, const From& from, const To& to, ptrdiff_t p) {
    constexpr ptrdiff_t width = sizeof(V) / sizeof(double);
    const ptrdiff_t far = pass.m * pass.stride;
    const double* const w = pass.twiddles + p * (radix - 1) * 2;
    const ptrdiff_t first = p * pass.stride;
    for (ptrdiff_t i = 0; i < pass.stride; i += width) {
        Complex<V> x[radix];
        for (int32_t k = 0; k < radix; ++k) x[k] = from.template load<V>(first + k * far + i);
        shortTransform(x);
        for (int32_t k = 0; k < radix; ++k) {
            if (turned && k > 0) turn(x[k], w[k * 2 - 2], w[k * 2 - 1]);
            to.template store<V>(first * radix + k * pass.stride + i, x[k]);
        }
    }
}

template <class V, int32_t radix, class From, class To>
void evenPass(const OwnFourierPass& pass, const From& from, const To& to) {
    group<V, radix, false>(pass, from, to, 0);
    for (ptrdiff_t p = 1; p < pass.m; ++p) group<V, radix, true>(pass, from, to, p);
}

// `fixed` is the radix where the compiler is to know it, else 0.
template <class V, int32_t fixed, class From, class To>
void oddPass(const OwnFourierPass& pass, const From& from, const To& to) {
    constexpr ptrdiff_t width = sizeof(V) / sizeof(double);
    const int32_t radix = fixed != 0 ? fixed : pass.radix;
    double cosines[ownFourierLargest];
    double sines[ownFourierLargest];
    for (int32_t k = 0; k < radix; ++k) {
        const OwnTurn angle = ownTurn(k, radix);
        cosines[k] = angle.cos;
        sines[k] = angle.sin;
    }
    const ptrdiff_t far = pass.m * pass.stride;
    for (ptrdiff_t p = 0; p < pass.m; ++p) {
        const double* const w = pass.twiddles + p * (radix - 1) * 2;
        const ptrdiff_t first = p * pass.stride;
        for (ptrdiff_t i = 0; i < pass.stride; i += width) {
            Complex<V> x[ownFourierLargest];
            for (int32_t k = 0; k < radix; ++k) x[k] = from.template load<V>(first + k * far + i);
            oddTransform(x, radix, cosines, sines);
            for (int32_t k = 0; k < radix; ++k) {
                if (k > 0) turn(x[k], w[k * 2 - 2], w[k * 2 - 1]);
                to.template store<V>(first * radix + k * pass.stride + i, x[k]);
            }
        }
    }
}

template <class V, class From, class To>
void anyPass(const OwnFourierPass& pass, const From& from, const To& to) {
    switch (pass.radix) {
    case 2: return evenPass<V, 2>(pass, from, to);
    case 4: return evenPass<V, 4>(pass, from, to);
    case 8: return evenPass<V, 8>(pass, from, to);
    case 3: return oddPass<V, 3>(pass, from, to);
    case 5: return oddPass<V, 5>(pass, from, to);
    case 7: return oddPass<V, 7>(pass, from, to);
    default: return oddPass<V, 0>(pass, from, to);
    }
}

void doPass(const OwnFourierPass& pass) {
    const InDoubles from = {pass.from};
    const InDoubles to = {pass.to};
    const InFloats fromFloats = {pass.fromFloats};
    const InFloats toFloats = {pass.toFloats};
    const bool reads = pass.fromFloats.re != nullptr;
    const bool writes = pass.toFloats.re != nullptr;
    if (pass.stride % static_cast<ptrdiff_t>(sizeof(OwnWide) / sizeof(double)) != 0)
        anyPass<double>(pass, from, to);
    else if (reads && writes)
        anyPass<OwnWide>(pass, fromFloats, toFloats);
    else if (reads)
        anyPass<OwnWide>(pass, fromFloats, to);
    else if (writes)
        anyPass<OwnWide>(pass, from, toFloats);
    else
        anyPass<OwnWide>(pass, from, to);
}

void fromFloats(OwnFourierFloats from, OwnLanes to, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i)
        for (ptrdiff_t l = 0; l < ownFourierFloatLanes; ++l) {
            const ptrdiff_t at = i * ownFourierFloatLanes + l;
            to.re[at] = double{from.re[InFloats::inRow(at)]};
            to.im[at] = double{from.im[InFloats::inRow(at)]};
        }
}

void toFloats(OwnLanes from, OwnFourierFloats to, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i)
        for (ptrdiff_t l = 0; l < ownFourierFloatLanes; ++l) {
            const ptrdiff_t at = i * ownFourierFloatLanes + l;
            to.re[InFloats::inRow(at)] = static_cast<float>(from.re[at]);
            to.im[InFloats::inRow(at)] = static_cast<float>(from.im[at]);
        }
}

void turnAll(OwnLanes data, const double* table, ptrdiff_t count, ptrdiff_t lanes) {
    for (ptrdiff_t i = 0; i < count; ++i)
        for (ptrdiff_t l = i * lanes; l < (i + 1) * lanes; ++l) {
            Complex<double> x = {data.re[l], data.im[l]};
            turn(x, table[i * 2], table[i * 2 + 1]);
            data.re[l] = x.re;
            data.im[l] = x.im;
        }
}

constexpr OwnFourierTable table = {doPass, turnAll, fromFloats, toFloats};

} // namespace

template <> const OwnFourierTable& ownRowTable<OwnFourierRows, OWN_ISA>() { return table; }
