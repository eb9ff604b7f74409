#include "geometry/daxZoom.h"

#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"
#include "geometry/nearest.h"

#include <type_traits>

namespace {

void linearPass8(const char* src, const OwnLinearTaps& taps, int16_t* row) {
    const auto* x = ownLanes<uint8_t>(src);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if (taps.window != nullptr) {
        for (; i + 8 <= taps.count; i += 8) {
            const __m128i window =
                _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(src + taps.window[i / 8]));
            const auto* order = reinterpret_cast<const __m128i_u*>(taps.order + i * 4);
            const auto* weight = reinterpret_cast<const __m128i_u*>(taps.weight + i * 2);
            const auto half = [&](ptrdiff_t k) {
                const __m128i pairs = _mm_shuffle_epi8(window, _mm_loadu_si128(order + k));
                return _mm_srai_epi32(_mm_madd_epi16(pairs, _mm_loadu_si128(weight + k)), 8);
            };
            _mm_storeu_si128(reinterpret_cast<__m128i_u*>(row + i),
                             _mm_packs_epi32(half(0), half(1)));
        }
    }
#endif
    for (; i < taps.count; ++i)
        row[i] = static_cast<int16_t>((x[taps.sample[2 * i]] * taps.weight[2 * i] +
                                       x[taps.sample[2 * i + 1]] * taps.weight[2 * i + 1]) >>
                                      8);
}

void linearPass16(const char* src, const OwnLinearTaps& taps, int16_t* row) {
    const auto* x = ownLanes<uint16_t>(src);
    for (ptrdiff_t i = 0; i < taps.count; ++i)
        row[i] = static_cast<int16_t>(((x[taps.sample[2 * i]] >> 1) * taps.weight[2 * i] +
                                       (x[taps.sample[2 * i + 1]] >> 1) * taps.weight[2 * i + 1]) >>
                                      14);
}

template <class T, int32_t shift>
void linearBlend(const int16_t* upper, const int16_t* lower, int32_t weight, char* dst,
                 ptrdiff_t count) {
    const auto w1 = static_cast<int16_t>(weight);
    const auto w0 = static_cast<int16_t>(16384 - weight);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<T>((upper[i] * w0 + lower[i] * w1) >> shift);
}

constexpr ptrdiff_t cubicBlock = 128; // columns

template <class T> void cubicPass(const char* src, const OwnCubicTaps& taps, float* row) {
    const auto* x = ownLanes<T>(src);
    // Four samples in a word each; the first of them lowest.
    using Word = std::conditional_t<sizeof(T) == 1, uint32_t, uint64_t>;
    Word words[cubicBlock];
    constexpr int32_t bits = sizeof(T) * 8;
    constexpr Word mask = (Word{1} << bits) - 1;
    for (ptrdiff_t from = 0; from < taps.count; from += cubicBlock) {
        const ptrdiff_t count = taps.count - from < cubicBlock ? taps.count - from : cubicBlock;
        const int32_t* column = taps.column + from * 4;
        if (taps.neighbours)
            for (ptrdiff_t i = 0; i < count; ++i)
                words[i] = *ownLanes<Word>(src + column[4 * i] * ptrdiff_t{sizeof(T)});
        else
            for (ptrdiff_t i = 0; i < count; ++i) {
                Word word = 0;
                for (int32_t k = 0; k < 4; ++k)
                    word |= static_cast<Word>(Word{x[column[4 * i + k]]} << k * bits);
                words[i] = word;
            }
        const double* a = taps.a + from;
        const double* b = taps.b + from;
        const double* c = taps.c + from;
        float* out = row + from;
        for (ptrdiff_t i = 0; i < count; ++i) {
            const auto q0 = static_cast<int32_t>(words[i] & mask);
            const auto q1 = static_cast<int32_t>(words[i] >> bits & mask);
            const auto q2 = static_cast<int32_t>(words[i] >> 2 * bits & mask);
            const auto q3 = static_cast<int32_t>(words[i] >> 3 * bits & mask);
            const int32_t d1 = q1 - q0;
            const int32_t d2 = (q2 - q1) - d1;
            const int32_t d3 = (q3 - 2 * q2 + q1) - d2;
            out[i] = static_cast<float>(((q0 + a[i] * d1) + b[i] * d2) + c[i] * d3);
        }
    }
}

template <class T>
void cubicBlend(const float* const* rows, const double* weights, char* dst, ptrdiff_t count) {
    constexpr double most = static_cast<T>(-1);
    const double a = weights[0];
    const double b = weights[1];
    const double c = weights[2];
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        const double q0 = r0[i];
        const double q1 = r1[i];
        const double q2 = r2[i];
        const double q3 = r3[i];
        const double d1 = q1 - q0;
        const double d2 = (q2 - q1) - d1;
        const double d3 = (q3 - 2 * q2 + q1) - d2;
        const double value = ((q0 + a * d1) + b * d2) + c * d3;
        double whole = ownNearestWhole((value + 0.00001) - 0.5);
        whole = whole < 0 ? 0 : whole;
        whole = whole > most ? most : whole;
        z[i] = static_cast<T>(static_cast<int32_t>(whole));
    }
}

constexpr OwnZoomTable table = {
    {linearPass8, linearPass16},
    {linearBlend<uint8_t, 20>, linearBlend<uint16_t, 13>},
    {cubicPass<uint8_t>, cubicPass<uint16_t>},
    {cubicBlend<uint8_t>, cubicBlend<uint16_t>},
#if defined(__AVX2__)
    true,
#else
    false,
#endif
};

} // namespace

template <> const OwnZoomTable& ownRowTable<OwnZoom, OWN_ISA>() { return table; }
