#include "color/owncolor.h"
#include "color/thirds.h"
#include "frame/top_bits.h"
#include "frame/weighed_pixels.h"

namespace {

template <class T> constexpr double most = 0;
template <> constexpr double most<uint16_t> = 65535.0;
template <> constexpr double most<int32_t> = 2147483647.0;

// Wide enough for differences of samples times 360.
template <class T> struct Wider { typedef int32_t type; };
template <> struct Wider<int32_t> { typedef int64_t type; };
template <class T> using Wide = typename Wider<T>::type;

// Cut to an integer, and wrapped. Negative samples can lead beyond all integers: that is 0.
template <class T> T cut(double value) {
    if constexpr (sizeof(T) < 4) {
        return static_cast<T>(static_cast<int32_t>(value));
    } else {
        const bool fits = value > -9.2e18 && value < 9.2e18;
        return static_cast<T>(static_cast<uint64_t>(static_cast<int64_t>(fits ? value : 0.0)));
    }
}

template <class W> W larger(W a, W b) { return a > b ? a : b; }
template <class W> W smaller(W a, W b) { return a < b ? a : b; }

// What the models say of a pixel alike.
template <class W> struct Spread {
    W r, g, b;
    W high, low, span;

    Spread(W theR, W theG, W theB)
        : r(theR), g(theG), b(theB), high(larger(larger(r, g), b)), low(smaller(smaller(r, g), b)),
          span(high - low) {}

    // Masks, of which one has all bits: ties go to red, then to green. Branches would keep the
    // compiler from taking pixels side by side.
    W isR() const { return -static_cast<W>(r == high); }
    W isG() const { return -static_cast<W>(g == high) & ~isR(); }
    W isB() const { return ~(isR() | isG()); }
    W slope() const { return ((g - b) & isR()) | ((b - r) & isG()) | ((r - g) & isB()); }
    // Degrees, with a whole turn for slopes below red.
    W base() const {
        return (360 & isR() & -static_cast<W>(slope() < 0)) | (120 & isG()) | (240 & isB());
    }
    W divisor() const { return larger<W>(span, 1); }
};

// A quotient of integers below 2^24 whose divisor is below 2^9 is never rounded up to the next
// integer.
int32_t quotient(int32_t dividend, int32_t divisor) {
    return static_cast<int32_t>(static_cast<float>(dividend) / static_cast<float>(divisor));
}

// Half degrees; gray gives 0.
int32_t hueOf(const Spread<int32_t>& is) {
    return quotient(60 * is.slope() + is.base() * is.span, 2 * is.divisor());
}

// Degrees; gray gives 0.
template <class W> double wideHueOf(const Spread<W>& is) {
    return static_cast<double>(60 * is.slope()) / static_cast<double>(is.divisor()) +
           static_cast<double>(is.base());
}

template <class T> struct ToHsv {
    void operator()(T r, T g, T b, T* hsv) const {
        if constexpr (sizeof(T) == 1) {
            const Spread<int32_t> is(r, g, b);
            hsv[0] = static_cast<T>(hueOf(is));
            hsv[1] = static_cast<T>(quotient(255 * is.span, larger(is.high, 1)));
            hsv[2] = static_cast<T>(is.high);
        } else {
            const Spread<Wide<T>> is(r, g, b);
            const auto span = static_cast<double>(is.span) * most<T>;
            hsv[2] = static_cast<T>(is.high);
            if constexpr (sizeof(T) == 2) {
                hsv[0] = cut<T>(wideHueOf(is));
                hsv[1] = cut<T>(span / static_cast<double>(larger(is.high, 1)));
            } else {
                const T s = is.high == 0 ? 0 : cut<T>(span / static_cast<double>(is.high));
                hsv[0] = s == 0 ? 0 : cut<T>(wideHueOf(is));
                hsv[1] = s;
            }
        }
    }
};

// A colour of a sector of 60 degrees.
struct Sector {
    double top, rising, falling, bottom;

    template <class T, class Store> void store(int32_t sector, T* rgb, Store as) const {
        rgb[0] = as(sector == 1                  ? falling
                    : sector == 2 || sector == 3 ? bottom
                    : sector == 4                ? rising
                                                 : top);
        rgb[1] = as(sector == 0                  ? rising
                    : sector == 1 || sector == 2 ? top
                    : sector == 3                ? falling
                                                 : bottom);
        rgb[2] = as(sector == 0 || sector == 1   ? bottom
                    : sector == 2                ? rising
                    : sector == 3 || sector == 4 ? top
                                                 : falling);
    }
};

// The upper half of a product of 16-bit numbers.
uint16_t highHalf(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>(uint32_t{a} * uint32_t{b} >> 16);
}

template <class T> struct FromHsv {
    void operator()(T h, T s, T v, T* rgb) const {
        if constexpr (sizeof(T) == 1) {
            // All in 16 bits. 137/4096 is 1/30 as far as bytes go.
            const auto sector = static_cast<uint16_t>(static_cast<uint16_t>(h * 137) >> 12);
            const auto f = static_cast<uint16_t>(2 * h - 60 * sector);
            const auto w = static_cast<uint16_t>(static_cast<uint16_t>(v * s) >> 8);
            // w f 34 >> 11
            const auto part = [w](int32_t at) {
                return highHalf(static_cast<uint16_t>(w * at), 34 << 5);
            };
            const auto less = [v](uint16_t by) { return static_cast<uint16_t>(v - by); };
            const auto rising = less(part(60 - f));
            const auto falling = less(part(f));
            const auto bottom = less(w);
            const auto is = [sector](int32_t at) { return -static_cast<int32_t>(sector == at); };
            const int32_t last = ~(is(0) | is(1) | is(2) | is(3) | is(4));
            rgb[0] = static_cast<T>((v & (is(0) | last)) | (falling & is(1)) |
                                    (bottom & (is(2) | is(3))) | (rising & is(4)));
            rgb[1] = static_cast<T>((rising & is(0)) | (v & (is(1) | is(2))) | (falling & is(3)) |
                                    (bottom & (is(4) | last)));
            rgb[2] = static_cast<T>((bottom & (is(0) | is(1))) | (rising & is(2)) |
                                    (v & (is(3) | is(4))) | (falling & last));
        } else {
            const double full = most<T>;
            const double part = 1.0 / most<T>;
            const double x = h == 360 ? 0.0 : static_cast<double>(h) * (1.0 / 60.0);
            const auto sector = static_cast<int32_t>(x);
            const double f = x - static_cast<double>(sector);
            const auto ds = static_cast<double>(s);
            const auto dv = static_cast<double>(v);
            const Sector is = {dv, (full - (1.0 - f) * ds) * dv * part, (full - f * ds) * dv * part,
                               (full - ds) * dv * part};
            is.store(s == 0 ? -1 : sector, rgb,
                     [s, dv](double value) { return cut<T>(s == 0 ? dv : value); });
        }
    }
};

template <class T> struct ToHls {
    void operator()(T r, T g, T b, T* hls) const {
        if constexpr (sizeof(T) == 1) {
            const Spread<int32_t> is(r, g, b);
            const int32_t sum = is.high + is.low;
            const int32_t room = larger(smaller(sum, 510 - sum), 1);
            hls[0] = static_cast<T>(hueOf(is));
            hls[1] = static_cast<T>(sum >> 1);
            hls[2] = static_cast<T>(quotient(255 * is.span, room));
        } else {
            const Spread<Wide<T>> is(r, g, b);
            hls[0] = cut<T>(wideHueOf(is));
            if constexpr (sizeof(T) == 2) {
                const int32_t sum = is.high + is.low;
                const int32_t room = larger(smaller(sum, 131070 - sum), 1);
                hls[1] = static_cast<T>(sum >> 1);
                hls[2] = cut<T>(most<T> * static_cast<double>(is.span) / static_cast<double>(room));
            } else {
                // Unsigned and wrapped; negative samples can leave no room.
                const auto sum = static_cast<uint32_t>(is.high + is.low);
                const auto span = static_cast<double>(static_cast<uint32_t>(is.span));
                const double room = sum <= 0x7FFFFFFF ? static_cast<double>(sum)
                                                      : 2.0 * most<T> - static_cast<double>(sum);
                hls[1] = static_cast<T>(sum >> 1);
                hls[2] = is.span == 0 || room == 0.0 ? 0 : cut<T>(most<T> * span / room);
            }
        }
    }
};

template <class T> struct FromHls {
    void operator()(T h, T l, T s, T* rgb) const {
        if constexpr (sizeof(T) == 1) {
            // All in 16 bits.
            const auto w = highHalf(static_cast<uint16_t>(s * l), 258);
            const auto rise = static_cast<uint16_t>(l < 128 ? w : s - w);
            const auto high = static_cast<uint16_t>(l + rise);
            const auto low = static_cast<uint16_t>(l - rise);
            const auto h2 = static_cast<uint16_t>(2 * h);
            // The slope 2 * 137 rise times the place, >> 13.
            const auto climb = [rise](int32_t place) {
                return highHalf(static_cast<uint16_t>(rise * place), 2 * 137 << 3);
            };
            const auto ramp = [=](uint16_t at) {
                const uint16_t up = climb(at < 60 ? at : 240 - at);
                const auto slant = static_cast<uint16_t>(low + up);
                const bool flat = at >= 60 && at < 180;
                return static_cast<T>(flat ? high : at >= 240 ? low : slant);
            };
            rgb[0] = ramp(static_cast<uint16_t>(h2 < 241 ? h2 + 120 : h2 - 240));
            rgb[1] = ramp(h2);
            rgb[2] = ramp(static_cast<uint16_t>(h2 < 120 ? h2 + 240 : h2 - 120));
        } else {
            const double dl = static_cast<double>(l) / most<T>;
            const double ds = static_cast<double>(s) / most<T>;
            const bool dark = static_cast<double>(l) <= (most<T> - 1.0) / 2.0;
            const double high = dark ? dl * (1.0 + ds) : dl + ds - dl * ds;
            const double low = 2.0 * dl - high;
            const auto ramp = [=](double at) {
                const double under = at < 0.0 ? at + 360.0 : at;
                const double hue = under > 360.0 ? under - 360.0 : under;
                const double place = hue < 60.0 ? hue : 240.0 - hue;
                const double slant = low + (high - low) * place * 0.0166666667;
                const bool flat = hue >= 60.0 && hue < 180.0;
                const double value = flat ? high : hue >= 240.0 ? low : slant;
                return cut<T>(s == 0 ? static_cast<double>(l) : value * most<T>);
            };
            const auto dh = static_cast<double>(h);
            rgb[0] = ramp(dh + 120.0);
            rgb[1] = ramp(dh);
            rgb[2] = ramp(dh - 120.0);
        }
    }
};

template <class T, template <class> class Model>
void model(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count) {
    ownMapThirds<T>(src, dst, count, Model<T>());
}

// Three of 8 bits stay in 16.
template <class T> auto luma(T r, T g, T b) {
    if constexpr (sizeof(T) == 1)
        return static_cast<uint16_t>(54 * r + 183 * g + 18 * b);
    else
        return 54u * r + 183u * g + 18u * b;
}

int32_t wideLuma(int32_t r, int32_t g, int32_t b, int32_t shift) {
    return (r >> shift) * 109 + (g >> shift) * 366 + (b >> shift) * 37;
}

struct ToBit {};

template <class T, class Dst> struct ToGray {
    Dst operator()(T r, T g, T b) const {
        constexpr int32_t narrower = static_cast<int32_t>(sizeof(T) - sizeof(Dst)) * 8;
        if constexpr (sizeof(T) == 4)
            return static_cast<Dst>(wideLuma(r, g, b, 11) >> (narrower - 3));
        else
            return static_cast<Dst>(luma(r, g, b) >> (narrower + 8));
    }
};

// The top bit of a byte.
template <class T> struct ToGray<T, ToBit> {
    uint8_t operator()(T r, T g, T b) const {
        if constexpr (sizeof(T) == 4)
            return wideLuma(r, g, b, 10) < 0x20000000 ? 0 : 0x80;
        else
            return static_cast<uint8_t>(luma(r, g, b) >> (sizeof(T) * 8) & 0x80);
    }
};

struct PlanesToGray {
    uint8_t operator()(uint16_t r, uint16_t g, uint16_t b) const {
        const int32_t sum = highHalf(r, 109) + highHalf(g, 366) + highHalf(b, 37);
        return static_cast<uint8_t>(sum >> 1);
    }
};

template <class T, class Dst, class Of>
void grayBlock(const OwnThirdsRead<T>& in, char* dst, ptrdiff_t count, Of of) {
    const auto* r = ownLanes<T>(in.at[0]);
    const auto* g = ownLanes<T>(in.at[1]);
    const auto* b = ownLanes<T>(in.at[2]);
    auto* z = ownLanes<Dst>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = of(T{r[i]}, T{g[i]}, T{b[i]});
}

template <class T, class Dst, class Of>
void grayBy(const OwnThirds& colour, char* gray, ptrdiff_t count) {
    OwnThirdsRead<T> in;
    ownEachBlock(count, [&](ptrdiff_t first, ptrdiff_t n) {
        in(colour, first, n);
        grayBlock<T, Dst>(in, gray + first * static_cast<ptrdiff_t>(sizeof(Dst)), n, Of());
    });
}

template <class T, class Dst> void gray(const OwnThirds& colour, char* dst, ptrdiff_t count) {
    grayBy<T, Dst, ToGray<T, Dst>>(colour, dst, count);
}

#if defined(__AVX512BW__)

// Goes over whole groups of 64 pixels and returns how many pixels that is. The weight of green is
// more than a signed byte holds, so green comes twice, with two shares of it. Weighted one by one
// in words of 16 bits, planes take twice as long.
ptrdiff_t grayPlanes(const OwnThirds& planes, char* dst, ptrdiff_t count) {
    const __m512i besideRed = _mm512_set1_epi16(54 | 73 << 8);
    const __m512i besideBlue = _mm512_set1_epi16(18 | 110 << 8);
    const auto halved = [&](__m512i rg, __m512i bg) {
        return _mm512_srli_epi16(_mm512_add_epi16(_mm512_maddubs_epi16(rg, besideRed),
                                                  _mm512_maddubs_epi16(bg, besideBlue)),
                                 8);
    };
    ptrdiff_t done = 0;
    for (; done + 64 <= count; done += 64) {
        const __m512i r = _mm512_loadu_si512(planes.at[0] + done);
        const __m512i g = _mm512_loadu_si512(planes.at[1] + done);
        const __m512i b = _mm512_loadu_si512(planes.at[2] + done);
        const __m512i low = halved(_mm512_unpacklo_epi8(r, g), _mm512_unpacklo_epi8(b, g));
        const __m512i high = halved(_mm512_unpackhi_epi8(r, g), _mm512_unpackhi_epi8(b, g));
        _mm512_storeu_si512(dst + done, _mm512_packus_epi16(low, high));
    }
    return done;
}

#endif

void grayBytes(const OwnThirds& colour, char* dst, ptrdiff_t count) {
    const bool forward = colour.at[0] < colour.at[2];
    const int32_t weights[] = {forward ? 54 : 18, 183, forward ? 18 : 54};
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    if (colour.step == 1) done = grayPlanes(colour, dst, count);
#endif
    if (colour.step != 1)
        done = ownWeighPixels(colour.at[forward ? 0 : 2], colour.step, weights, dst, count);
    gray<uint8_t, uint8_t>(ownThirdsFrom(colour, done), dst + done, count - done);
}

template <class T> void grayBits(const OwnThirds& colour, char* dst, ptrdiff_t count) {
    OwnThirdsRead<T> in;
    char tops[ownThirdsBlock];
    ownEachBlock(count, [&](ptrdiff_t first, ptrdiff_t n) {
        in(colour, first, n);
        grayBlock<T, uint8_t>(in, tops, n, ToGray<T, ToBit>());
        ownPackTopBits(tops, dst + first / 8, n);
    });
}

template <class T>
void tintBlock(const char* src, char* dst, ptrdiff_t count, const OwnGrayWeights& weights,
               ptrdiff_t k) {
    const auto* x = ownLanes<T>(src);
    auto* z = ownLanes<T>(dst);
    const int32_t shift = weights.shift;
    // Only the lower 16 bits of a weight reach the result.
    const auto weight = static_cast<uint16_t>(weights.fixed[k]);
    const double exact = weights.exact[k];
    ptrdiff_t done = 0;
    if constexpr (sizeof(T) == 1) {
        // Two bytes in a word, which takes no widening and narrowing.
        const auto* two = ownLanes<uint16_t>(src);
        auto* to = ownLanes<uint16_t>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count / 2; ++i) {
            const auto low = static_cast<uint16_t>((two[i] & 0xFF) * weight);
            const auto high = static_cast<uint16_t>((two[i] >> 8) * weight);
            to[i] = static_cast<uint16_t>(low >> 8 | (high & 0xFF00));
        }
        done = count & ~ptrdiff_t{1};
    }
    OWN_EACH_ALONE
    for (ptrdiff_t i = done; i < count; ++i) {
        if constexpr (sizeof(T) == 1)
            z[i] = static_cast<T>(static_cast<uint16_t>(x[i] * weight) >> 8);
        else if constexpr (sizeof(T) == 2)
            z[i] = static_cast<T>(uint32_t{x[i]} * uint32_t{weight} >> shift);
        else
            z[i] = cut<T>(static_cast<double>(x[i]) * exact);
    }
}

template <class T>
void tint(const char* gray, const OwnThirds& colour, ptrdiff_t count,
          const OwnGrayWeights& weights) {
    OwnThirdsWrite<T> out;
    ownEachBlock(count, [&](ptrdiff_t first, ptrdiff_t n) {
        out.begin(colour, first);
        for (ptrdiff_t k = 0; k < 3; ++k)
            tintBlock<T>(gray + first * static_cast<ptrdiff_t>(sizeof(T)), out.at[k], n, weights,
                         k);
        out.end(colour, first, n);
    });
}

#if defined(__AVX512BW__)

// Where the 192 bytes of 64 pixels have their gray: each byte's in the upper half of a word, for
// those at even places, and in the lower half, for those at odd ones.
struct TintOrder {
    OwnByteOrder even[3], odd[3];
    constexpr TintOrder() {
        for (int32_t at = 0; at < 192; ++at) {
            const auto gray = static_cast<int8_t>(at / 3);
            if (at % 2 == 0)
                even[at / 64].from[at % 64 + 1] = gray;
            else
                odd[at / 64].from[at % 64 - 1] = gray;
        }
    }
};

// Whole groups of 64 pixels; returns how many pixels that is. Tinted apart and joined they go at
// half the speed.
__attribute__((target("avx512vbmi"))) ptrdiff_t tintPixels(const char* gray,
                                                           const OwnThirds& colour, ptrdiff_t count,
                                                           const OwnGrayWeights& weights) {
    static constexpr TintOrder order;
    const bool forward = colour.at[0] < colour.at[2];
    char* dst = forward ? colour.at[0] : colour.at[2];
    __m512i even[3], odd[3], evenWeights[3], oddWeights[3];
    for (int32_t j = 0; j < 3; ++j) {
        alignas(64) uint16_t evens[32];
        alignas(64) uint16_t odds[32];
        const auto weight = [&](int32_t at) {
            return static_cast<uint16_t>(weights.fixed[forward ? at % 3 : 2 - at % 3]);
        };
        for (int32_t i = 0; i < 32; ++i) {
            evens[i] = weight(64 * j + 2 * i);
            odds[i] = weight(64 * j + 2 * i + 1);
        }
        even[j] = order.even[j].get();
        odd[j] = order.odd[j].get();
        evenWeights[j] = _mm512_load_si512(evens);
        oddWeights[j] = _mm512_load_si512(odds);
    }
    ptrdiff_t done = 0;
    for (; done + 64 <= count; done += 64, dst += 192) {
        const __m512i x = _mm512_loadu_si512(gray + done);
        for (int32_t j = 0; j < 3; ++j) {
            const __m512i upper = _mm512_maskz_permutexvar_epi8(0xAAAAAAAAAAAAAAAA, even[j], x);
            const __m512i lower = _mm512_maskz_permutexvar_epi8(0x5555555555555555, odd[j], x);
            const __m512i tinted = _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAA,
                                                          _mm512_mulhi_epu16(upper, evenWeights[j]),
                                                          _mm512_mullo_epi16(lower, oddWeights[j]));
            _mm512_storeu_si512(dst + 64 * j, tinted);
        }
    }
    return done;
}

#endif

void tintBytes(const char* gray, const OwnThirds& colour, ptrdiff_t count,
               const OwnGrayWeights& weights) {
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    if (colour.step == 3 && __builtin_cpu_supports("avx512vbmi"))
        done = tintPixels(gray, colour, count, weights);
#endif
    tint<uint8_t>(gray + done, ownThirdsFrom(colour, done), count - done, weights);
}

void tintBits(const char* bits, const OwnThirds& colour, ptrdiff_t count,
              const OwnGrayWeights& weights) {
    OwnThirdsWrite<uint8_t> out;
    ownEachBlock(count, [&](ptrdiff_t first, ptrdiff_t n) {
        out.begin(colour, first);
        const auto* x = ownLanes<uint8_t>(bits + first / 8);
        for (ptrdiff_t k = 0; k < 3; ++k) {
            auto* z = ownLanes<uint8_t>(out.at[k]);
            const auto on = static_cast<uint8_t>(weights.fixed[k] * 255u >> 8);
            for (ptrdiff_t i = 0; i < n; ++i)
                z[i] = (x[i >> 3] >> (7 - (i & 7)) & 1) != 0 ? on : uint8_t{0};
        }
        out.end(colour, first, n);
    });
}

constexpr OwnColorTable table = {
    {model<uint8_t, ToHsv>, model<uint16_t, ToHsv>, model<int32_t, ToHsv>},
    {model<uint8_t, FromHsv>, model<uint16_t, FromHsv>, model<int32_t, FromHsv>},
    {model<uint8_t, ToHls>, model<uint16_t, ToHls>, model<int32_t, ToHls>},
    {model<uint8_t, FromHls>, model<uint16_t, FromHls>, model<int32_t, FromHls>},
    {{grayBytes, gray<uint8_t, uint16_t>, grayBits<uint8_t>},
     {gray<uint16_t, uint8_t>, gray<uint16_t, uint16_t>, grayBits<uint16_t>},
     {gray<int32_t, uint8_t>, gray<int32_t, uint16_t>, grayBits<int32_t>}},
    grayBy<uint16_t, uint8_t, PlanesToGray>,
    {tintBytes, tint<uint16_t>, tint<int32_t>},
    tintBits,
};

} // namespace

template <> const OwnColorTable& ownRowTable<OwnColor, OWN_ISA>() { return table; }
