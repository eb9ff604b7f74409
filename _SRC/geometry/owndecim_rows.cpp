#include "geometry/owndecim.h"

#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <type_traits>

namespace {

// Weights of the cubic sum up to less than 1728 in size, so that what comes of samples of 8 bits
// fits 16 even when it is 6 times as large; linear ones are never negative.
template <class T> using CubicLane = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;
template <class T> using LinearLane = std::make_unsigned_t<CubicLane<T>>;

// 2^18 / 6 and 2^21 / 36, rounded up: exact for all numbers of 16 bits.
constexpr uint32_t sixth = 43691;
constexpr uint32_t thirtySixth = 58255;

template <class T> void take(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    const auto* x = ownLanes<T>(taps.samples);
    auto* z = ownLanes<LinearLane<T>>(lanes);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i];
}

template <class T> void takeLinear(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    using Lane = LinearLane<T>;
    const auto* a = ownLanes<T>(taps.samples);
    const auto* b = ownLanes<T>(taps.samples + taps.step);
    // The weights of two samples sum up to 256.
    const int16_t* w = taps.weights + taps.stepWeights;
    auto* z = ownLanes<Lane>(lanes);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<Lane>((static_cast<uint32_t>(a[i]) << 8) +
                                 static_cast<uint16_t>(w[i]) *
                                     (static_cast<uint32_t>(b[i]) - static_cast<uint32_t>(a[i])));
}

// The cubic through four numbers, in 1/6 of them, between the second and the third. In 32 bits it
// wraps.
template <class Lane>
int32_t cubicOf(Lane m, Lane p, Lane q, Lane r, int16_t wm, int16_t wp, int16_t wq, int16_t wr) {
    using Sum = std::conditional_t<sizeof(Lane) == 2, int32_t, uint32_t>;
    const auto product = [](Lane a, int16_t b) {
        return static_cast<Sum>(a) * static_cast<Sum>(b);
    };
    const Sum t = product(m, wm) + product(p, wp) + product(q, wq) + product(r, wr);
    return static_cast<int32_t>(static_cast<Sum>(static_cast<int32_t>(t) >> 8) + product(p, 6));
}

#if defined(__AVX2__)
// Products of pairs of 16 bits: cubics of bytes take 1.0 ns a sample, and 1.4 by the plain loops.
__m256i load(const void* at) { return _mm256_loadu_si256(static_cast<const __m256i_u*>(at)); }

__m256i byteLanes(const char* at) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i_u*>(at)));
}

// Two rows of weights, number by number, for both halves of the lanes.
struct Pairs {
    __m256i low;
    __m256i high;

    Pairs(__m256i a, __m256i b)
        : low(_mm256_unpacklo_epi16(a, b)), high(_mm256_unpackhi_epi16(a, b)) {}
};

// As cubicOf, of 16 places.
__m256i cubicOf(const Pairs& mp, const Pairs& qr, __m256i p, const Pairs& wmp, const Pairs& wqr) {
    const auto half = [](__m256i a, __m256i wa, __m256i b, __m256i wb) {
        return _mm256_srai_epi32(
            _mm256_add_epi32(_mm256_madd_epi16(a, wa), _mm256_madd_epi16(b, wb)), 8);
    };
    const __m256i t = _mm256_packs_epi32(half(mp.low, wmp.low, qr.low, wqr.low),
                                         half(mp.high, wmp.high, qr.high, wqr.high));
    return _mm256_add_epi16(t, _mm256_mullo_epi16(p, _mm256_set1_epi16(6)));
}

ptrdiff_t takeCubicBytes(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    ptrdiff_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const auto row = [&](ptrdiff_t t) { return byteLanes(taps.samples + t * taps.step + i); };
        const auto weights = [&](ptrdiff_t t) {
            return load(taps.weights + t * taps.stepWeights + i);
        };
        const __m256i p = row(1);
        const __m256i value = cubicOf({row(0), p}, {row(2), row(3)}, p, {weights(0), weights(1)},
                                      {weights(2), weights(3)});
        _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(lanes + i * 2), value);
    }
    return i;
}

template <int32_t divisor>
ptrdiff_t mixCubicBytes(const char* const* rows, const int16_t* weights, char* dst,
                        ptrdiff_t count) {
    const auto weight = [&](ptrdiff_t t) { return _mm256_set1_epi16(weights[t]); };
    const Pairs wmp(weight(0), weight(1));
    const Pairs wqr(weight(2), weight(3));
    // The factors of partOf, whose upper 16 bits come out.
    const __m256i factor =
        _mm256_set1_epi16(static_cast<int16_t>(divisor == 6 ? sixth : thirtySixth));
    ptrdiff_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const auto row = [&](ptrdiff_t t) { return load(rows[t] + i * 2); };
        const __m256i p = row(1);
        const __m256i value = _mm256_max_epi16(cubicOf({row(0), p}, {row(2), row(3)}, p, wmp, wqr),
                                               _mm256_setzero_si256());
        const __m256i part =
            _mm256_srli_epi16(_mm256_mulhi_epu16(value, factor), divisor == 6 ? 2 : 5);
        _mm_storeu_si128(
            reinterpret_cast<__m128i_u*>(dst + i),
            _mm_packus_epi16(_mm256_castsi256_si128(part), _mm256_extracti128_si256(part, 1)));
    }
    return i;
}
#endif

template <class T> void takeCubic(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    using Lane = CubicLane<T>;
    const auto* m = ownLanes<T>(taps.samples);
    const auto* p = ownLanes<T>(taps.samples + taps.step);
    const auto* q = ownLanes<T>(taps.samples + 2 * taps.step);
    const auto* r = ownLanes<T>(taps.samples + 3 * taps.step);
    const int16_t* w = taps.weights;
    const ptrdiff_t next = taps.stepWeights;
    auto* z = ownLanes<Lane>(lanes);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (sizeof(T) == 1) i = takeCubicBytes(taps, lanes, count);
#endif
    OWN_EACH_ALONE
    for (; i < count; ++i)
        z[i] = static_cast<Lane>(cubicOf<Lane>(m[i], p[i], q[i], r[i], w[i], w[i + next],
                                               w[i + 2 * next], w[i + 3 * next]));
}

template <class T>
void mixLinear(const char* const* rows, const int16_t* weights, bool ofLinear, char* dst,
               ptrdiff_t count) {
    const auto* upper = ownLanes<LinearLane<T>>(rows[0]);
    const auto* lower = ownLanes<LinearLane<T>>(rows[1]);
    const auto w = static_cast<uint32_t>(weights[1]);
    const int32_t shift = ofLinear ? 15 : 7;
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<T>(
            ((((uint32_t{upper[i]} << 8) + w * (uint32_t{lower[i]} - upper[i])) >> shift) + 1) >>
            1);
}

// A 36th or a 6th, cut to the range of samples.
template <class T, int32_t divisor> T partOf(int32_t value) {
    value = value < 0 ? 0 : value;
    if constexpr (sizeof(T) == 1) {
        const uint32_t product =
            static_cast<uint32_t>(value) * (divisor == 6 ? sixth : thirtySixth);
        value = static_cast<int32_t>(product >> (divisor == 6 ? 18 : 21));
    } else {
        // Below 2^24: exact as a float, and the quotient rounds up to no whole number.
        value = static_cast<int32_t>(static_cast<float>(value) / divisor);
    }
    constexpr int32_t most = static_cast<T>(-1);
    return static_cast<T>(value > most ? most : value);
}

template <class T, int32_t divisor>
void mixCubicBy(const char* const* rows, const int16_t* weights, char* dst, ptrdiff_t count) {
    using Lane = CubicLane<T>;
    const auto* r0 = ownLanes<Lane>(rows[0]);
    const auto* r1 = ownLanes<Lane>(rows[1]);
    const auto* r2 = ownLanes<Lane>(rows[2]);
    const auto* r3 = ownLanes<Lane>(rows[3]);
    auto* z = ownLanes<T>(dst);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (sizeof(T) == 1) i = mixCubicBytes<divisor>(rows, weights, dst, count);
#endif
    OWN_EACH_ALONE
    for (; i < count; ++i)
        z[i] = partOf<T, divisor>(cubicOf<Lane>(r0[i], r1[i], r2[i], r3[i], weights[0], weights[1],
                                                weights[2], weights[3]));
}

template <class T>
void mixCubic(const char* const* rows, const int16_t* weights, bool ofCubic, char* dst,
              ptrdiff_t count) {
    const auto mix = ofCubic ? mixCubicBy<T, 36> : mixCubicBy<T, 6>;
    mix(rows, weights, dst, count);
}

constexpr OwnDecimateTable table = {
    {take<uint8_t>, take<uint16_t>},           {takeLinear<uint8_t>, takeLinear<uint16_t>},
    {takeCubic<uint8_t>, takeCubic<uint16_t>}, {mixLinear<uint8_t>, mixLinear<uint16_t>},
    {mixCubic<uint8_t>, mixCubic<uint16_t>},
};

} // namespace

template <> const OwnDecimateTable& ownRowTable<OwnDecimate, OWN_ISA>() { return table; }
