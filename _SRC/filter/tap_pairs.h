// For row kernels only: taps taken in twos, where the processor has an instruction that multiplies
// neighbouring cells by two coefficients and adds the products. The sums at even and at odd places
// come from loads that are one cell apart, so that nothing has to be widened or shuffled before the
// end. A 3 by 3 kernel takes 0.10 ns a pixel in this way in place of 0.17 on cells of 8 bits, and
// 0.24 in place of 0.59 on cells of 16.
#ifndef OWN_TAP_PAIRS_H
#define OWN_TAP_PAIRS_H

#ifdef __AVX2__

#include "filter/taps.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <utility>

namespace {

// Bytes without a sign, of which no sum of products leaves 16 bits.
struct BytePairs {
    using Cell = uint8_t;
    using Sum = int16_t;
    static __m256i coefs(int32_t a, int32_t b) {
        return _mm256_set1_epi16(static_cast<int16_t>((a & 0xFF) | static_cast<int8_t>(b) * 256));
    }
    static __m256i products(__m256i cells, __m256i coef) {
        return _mm256_maddubs_epi16(cells, coef);
    }
    static __m256i add(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
    static __m256i low(__m256i even, __m256i odd) { return _mm256_unpacklo_epi16(even, odd); }
    static __m256i high(__m256i even, __m256i odd) { return _mm256_unpackhi_epi16(even, odd); }
};

struct WordPairs {
    using Cell = int16_t;
    using Sum = int32_t;
    static __m256i coefs(int32_t a, int32_t b) {
        return _mm256_set1_epi32((a & 0xFFFF) | b * 65536);
    }
    static __m256i products(__m256i cells, __m256i coef) { return _mm256_madd_epi16(cells, coef); }
    static __m256i add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
    static __m256i low(__m256i even, __m256i odd) { return _mm256_unpacklo_epi32(even, odd); }
    static __m256i high(__m256i even, __m256i odd) { return _mm256_unpackhi_epi32(even, odd); }
};

struct TapPair {
    ptrdiff_t offset;
    int32_t first;
    int32_t second;
};

constexpr ptrdiff_t pairsOfPass = 9;

__m256i loadLanes(const void* at) { return _mm256_loadu_si256(static_cast<const __m256i*>(at)); }
void storeLanes(void* at, __m256i lanes) { _mm256_storeu_si256(static_cast<__m256i*>(at), lanes); }

// Whole vectors of sums from up to `width`; returns how many. `rest` are the sums before this pass
// where there is one, else all are `start`.
template <class Op, int... k>
void runPairs(const typename Op::Cell* cells, const TapPair* pairs, __m256i start, bool more,
              typename Op::Sum* sums, ptrdiff_t vectors) {
    constexpr ptrdiff_t step = 32 / sizeof(typename Op::Cell);
    const typename Op::Cell* const run[] = {cells + pairs[k].offset...};
    const __m256i coef[] = {Op::coefs(pairs[k].first, pairs[k].second)...};
    for (ptrdiff_t v = 0; v < vectors; ++v) {
        const ptrdiff_t i = v * step;
        __m256i even = start;
        __m256i odd = start;
        ((even = Op::add(even, Op::products(loadLanes(run[k] + i), coef[k])),
          odd = Op::add(odd, Op::products(loadLanes(run[k] + i + 1), coef[k]))),
         ...);
        const __m256i low = Op::low(even, odd);
        const __m256i high = Op::high(even, odd);
        __m256i first = _mm256_permute2x128_si256(low, high, 0x20);
        __m256i second = _mm256_permute2x128_si256(low, high, 0x31);
        if (more) {
            first = Op::add(first, loadLanes(sums + i));
            second = Op::add(second, loadLanes(sums + i + step / 2));
        }
        storeLanes(sums + i, first);
        storeLanes(sums + i + step / 2, second);
    }
}

template <class Op, int... k> constexpr auto pairPassOf(std::integer_sequence<int, k...>) {
    return runPairs<Op, k...>;
}

template <class Op, int... n>
auto pairPassOfCount(ptrdiff_t count, std::integer_sequence<int, n...>) {
    using Pass = void (*)(const typename Op::Cell*, const TapPair*, __m256i, bool,
                          typename Op::Sum*, ptrdiff_t);
    static constexpr Pass by[] = {pairPassOf<Op>(std::make_integer_sequence<int, n + 1>{})...};
    return by[count - 1];
}

// As many sums as fill whole vectors; returns how many. One cell after the last that any tap needs
// is read.
template <class Op>
ptrdiff_t sumPairs(const typename Op::Cell* cells, const OwnTap* taps, ptrdiff_t tapCount,
                   typename Op::Sum start, typename Op::Sum* sums, ptrdiff_t width) {
    constexpr ptrdiff_t step = 32 / sizeof(typename Op::Cell);
    const ptrdiff_t vectors = tapCount > 0 ? width / step : 0;
    if (vectors == 0) return 0;
    __m256i from = sizeof(start) == 2 ? _mm256_set1_epi16(static_cast<int16_t>(start))
                                      : _mm256_set1_epi32(start);
    for (ptrdiff_t done = 0; done < tapCount;) {
        const bool more = done > 0;
        TapPair pairs[pairsOfPass];
        ptrdiff_t count = 0;
        for (; count < pairsOfPass && done < tapCount; ++count) {
            const OwnTap& tap = taps[done++];
            pairs[count] = {tap.offset, tap.coef, 0};
            if (done < tapCount && taps[done].offset == tap.offset + 1)
                pairs[count].second = taps[done++].coef;
        }
        const auto pass =
            pairPassOfCount<Op>(count, std::make_integer_sequence<int, pairsOfPass>{});
        pass(cells, pairs, from, more, sums, vectors);
        from = _mm256_setzero_si256();
    }
    return vectors * step;
}

} // namespace

#endif

#endif
