#include "geometry/owndecim.h"

#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"
#include "geometry/pick_lanes.h"

#include <cstring>
#include <type_traits>

namespace {

// A source row gives, for two samples a and b whose weights sum up to 256,
//     wa a + wb b + 128, for bytes less 32768,
// so that the sum of two rows by such weights has its rounding in it. For four samples, whose
// weights sum up to 1536 and apart from their signs to 1920 at most, it gives
//     (wm m + wp p + wq q + wr r) >> 8,
// which is from -192 to 1721 for bytes; the sum of rows is below 2^30 for words.
constexpr int32_t rounding = 128;

// 2^21 / 36, rounded up: exact for all numbers of 16 bits.
constexpr uint32_t thirtySixth = 58255;
// Floats are exact for halves below 2^23, and come close enough to a 36th of one to have its whole
// part.
constexpr float floatThirtySixth = 1.0F / 36;

#if defined(__AVX2__)

#if defined(__AVX512BW__)
using Vec = __m512i;

Vec load(const char* at) { return _mm512_loadu_si512(at); }
void store(char* at, Vec a) { _mm512_storeu_si512(at, a); }
void storePart(char* at, Vec a, ptrdiff_t bytes) {
    _mm512_mask_storeu_epi8(at, _bzhi_u64(~uint64_t{0}, static_cast<uint32_t>(bytes)), a);
}
Vec all16(int32_t a) { return _mm512_set1_epi16(static_cast<int16_t>(a)); }
Vec all32(int32_t a) { return _mm512_set1_epi32(a); }
Vec bitsOf(Vec a, Vec b) { return _mm512_and_si512(a, b); }
Vec eitherOf(Vec a, Vec b) { return _mm512_or_si512(a, b); }
Vec flip(Vec a, Vec b) { return _mm512_xor_si512(a, b); }
Vec add16(Vec a, Vec b) { return _mm512_add_epi16(a, b); }
Vec add32(Vec a, Vec b) { return _mm512_add_epi32(a, b); }
Vec sub32(Vec a, Vec b) { return _mm512_sub_epi32(a, b); }
Vec multiply32(Vec a, Vec b) { return _mm512_mullo_epi32(a, b); }
Vec upperProduct(Vec a, Vec b) { return _mm512_mulhi_epu16(a, b); }
Vec pairs8(Vec a, Vec b) { return _mm512_maddubs_epi16(a, b); }
Vec pairs16(Vec a, Vec b) { return _mm512_madd_epi16(a, b); }
template <int32_t by> Vec left32(Vec a) { return _mm512_slli_epi32(a, by); }
template <int32_t by> Vec right16(Vec a) { return _mm512_srai_epi16(a, by); }
template <int32_t by> Vec right32(Vec a) { return _mm512_srai_epi32(a, by); }
template <int32_t by> Vec right32u(Vec a) { return _mm512_srli_epi32(a, by); }
Vec low16(Vec a, Vec b) { return _mm512_unpacklo_epi16(a, b); }
Vec high16(Vec a, Vec b) { return _mm512_unpackhi_epi16(a, b); }
Vec cut32(Vec a, Vec b) { return _mm512_packs_epi32(a, b); }
Vec cut32u(Vec a, Vec b) { return _mm512_packus_epi32(a, b); }
Vec cut16(Vec a, Vec b) { return _mm512_packs_epi16(a, b); }
Vec cut16u(Vec a, Vec b) { return _mm512_packus_epi16(a, b); }
// Cutting takes the quarters of two in turns.
Vec inOrder(Vec a) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), a);
}
Vec floatPart(Vec a) {
    const __m512 whole = _mm512_cvtepi32_ps(a);
    return _mm512_cvttps_epi32((whole + 0.5F) * floatThirtySixth);
}
#else
using Vec = __m256i;

Vec load(const char* at) { return _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(at)); }
void store(char* at, Vec a) { _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(at), a); }
void storePart(char* at, Vec a, ptrdiff_t bytes) { memcpy(at, &a, static_cast<size_t>(bytes)); }
Vec all16(int32_t a) { return _mm256_set1_epi16(static_cast<int16_t>(a)); }
Vec all32(int32_t a) { return _mm256_set1_epi32(a); }
Vec bitsOf(Vec a, Vec b) { return _mm256_and_si256(a, b); }
Vec eitherOf(Vec a, Vec b) { return _mm256_or_si256(a, b); }
Vec flip(Vec a, Vec b) { return _mm256_xor_si256(a, b); }
Vec add16(Vec a, Vec b) { return _mm256_add_epi16(a, b); }
Vec add32(Vec a, Vec b) { return _mm256_add_epi32(a, b); }
Vec sub32(Vec a, Vec b) { return _mm256_sub_epi32(a, b); }
Vec multiply32(Vec a, Vec b) { return _mm256_mullo_epi32(a, b); }
Vec upperProduct(Vec a, Vec b) { return _mm256_mulhi_epu16(a, b); }
Vec pairs8(Vec a, Vec b) { return _mm256_maddubs_epi16(a, b); }
Vec pairs16(Vec a, Vec b) { return _mm256_madd_epi16(a, b); }
template <int32_t by> Vec left32(Vec a) { return _mm256_slli_epi32(a, by); }
template <int32_t by> Vec right16(Vec a) { return _mm256_srai_epi16(a, by); }
template <int32_t by> Vec right32(Vec a) { return _mm256_srai_epi32(a, by); }
template <int32_t by> Vec right32u(Vec a) { return _mm256_srli_epi32(a, by); }
Vec low16(Vec a, Vec b) { return _mm256_unpacklo_epi16(a, b); }
Vec high16(Vec a, Vec b) { return _mm256_unpackhi_epi16(a, b); }
Vec cut32(Vec a, Vec b) { return _mm256_packs_epi32(a, b); }
Vec cut32u(Vec a, Vec b) { return _mm256_packus_epi32(a, b); }
Vec cut16(Vec a, Vec b) { return _mm256_packs_epi16(a, b); }
Vec cut16u(Vec a, Vec b) { return _mm256_packus_epi16(a, b); }
Vec inOrder(Vec a) { return _mm256_permute4x64_epi64(a, 0xD8); }
Vec floatPart(Vec a) {
    const __m256 whole = _mm256_cvtepi32_ps(a);
    return _mm256_cvttps_epi32((whole + 0.5F) * floatThirtySixth);
}
#endif

constexpr ptrdiff_t width = sizeof(Vec);

Vec all8Signs() { return all16(static_cast<int16_t>(0x8080)); }
Vec all16Signs() { return all16(INT16_MIN); }
// Two words side by side throughout.
Vec allPairs(int32_t low, int32_t high) {
    return all32(static_cast<int32_t>(static_cast<uint32_t>(low & 0xFFFF) |
                                      static_cast<uint32_t>(high) << 16));
}

// With products of pairs linear bytes take 0.37 ns a sample in cache by AVX2, and 1.3 by plain
// loops.
struct LinearBytes {
    static constexpr int32_t taps = 2;

    template <class Pair, class Weight> static Vec take(Pair pair, Weight weight) {
        return add16(pairs8(weight(0), flip(pair(0), all8Signs())), all16(rounding));
    }

    Vec w;

    explicit LinearBytes(const int32_t* weights) : w(allPairs(weights[0], weights[1])) {}

    Vec words(const char* const* rows, ptrdiff_t at) const {
        const Vec a = load(rows[0] + at);
        const Vec b = load(rows[1] + at);
        return cut32(right32<16>(pairs16(low16(a, b), w)), right32<16>(pairs16(high16(a, b), w)));
    }
    Vec mix(const char* const* rows, ptrdiff_t at) const {
        return flip(inOrder(cut16(words(rows, at), words(rows, at + width))), all8Signs());
    }
};

struct LinearWords {
    static constexpr int32_t taps = 2;

    template <class Pair, class Weight> static Vec take(Pair pair, Weight weight) {
        return add32(pairs16(flip(pair(0), all16Signs()), weight(0)),
                     all32(256 * 32768 + rounding));
    }

    Vec part;

    explicit LinearWords(const int32_t* weights) : part(all32(weights[1])) {}

    Vec half(const char* const* rows, ptrdiff_t at) const {
        const Vec a = load(rows[0] + at);
        const Vec b = load(rows[1] + at);
        return right32u<16>(add32(left32<8>(a), multiply32(sub32(b, a), part)));
    }
    Vec mix(const char* const* rows, ptrdiff_t at) const {
        return inOrder(cut32u(half(rows, at), half(rows, at + width)));
    }
};

struct CubicBytes {
    static constexpr int32_t taps = 4;

    template <class Pair, class Weight> static Vec take(Pair pair, Weight weight) {
        const Vec mp = pair(0);
        const Vec qr = pair(1);
        const Vec high = add16(pairs8(mp, weight(0)), pairs8(qr, weight(2)));
        const Vec low = add16(pairs8(mp, weight(1)), pairs8(qr, weight(3)));
        return right16<2>(add16(high, right16<6>(low)));
    }

    Vec mp;
    Vec qr;

    explicit CubicBytes(const int32_t* w) : mp(allPairs(w[0], w[1])), qr(allPairs(w[2], w[3])) {}

    Vec words(const char* const* rows, ptrdiff_t at) const {
        const Vec m = load(rows[0] + at);
        const Vec p = load(rows[1] + at);
        const Vec q = load(rows[2] + at);
        const Vec r = load(rows[3] + at);
        const Vec low = add32(pairs16(low16(m, p), mp), pairs16(low16(q, r), qr));
        const Vec high = add32(pairs16(high16(m, p), mp), pairs16(high16(q, r), qr));
        const Vec sums = cut32u(right32<8>(low), right32<8>(high));
        return right16<5>(upperProduct(sums, all16(static_cast<int16_t>(thirtySixth))));
    }
    Vec mix(const char* const* rows, ptrdiff_t at) const {
        return inOrder(cut16u(words(rows, at), words(rows, at + width)));
    }
};

// Products of rows need no more than pairs of words either: 32 bits of a number are its lowest 4
// bits and, as a word of its own, what is left of it, less 196608 as it comes of signed samples.
struct CubicWords {
    static constexpr int32_t taps = 4;
    static constexpr int32_t less = 1536 * 32768 >> 8;

    template <class Pair, class Weight> static Vec take(Pair pair, Weight weight) {
        const Vec sum = add32(pairs16(flip(pair(0), all16Signs()), weight(0)),
                              pairs16(flip(pair(1), all16Signs()), weight(2)));
        return eitherOf(bitsOf(left32<4>(sum), all32(static_cast<int32_t>(0xFFFF0000))),
                        bitsOf(right32<8>(sum), all32(15)));
    }

    Vec w[4];

    explicit CubicWords(const int32_t* weights) {
        for (int32_t r = 0; r < 4; ++r) w[r] = allPairs(weights[r], 16 * weights[r]);
    }

    Vec half(const char* const* rows, ptrdiff_t at) const {
        const auto product = [&](int32_t r) { return pairs16(load(rows[r] + at), w[r]); };
        const Vec sum = add32(add32(product(0), product(1)), add32(product(2), product(3)));
        return floatPart(right32<8>(add32(sum, all32(1536 * less))));
    }
    Vec mix(const char* const* rows, ptrdiff_t at) const {
        return inOrder(cut32u(half(rows, at), half(rows, at + width)));
    }
};

template <class Kind, class Pair>
OWN_INLINE void takeOne(const OwnDecimateWeights& weights, ptrdiff_t inRound, Pair pair,
                        char* number) {
    store(number,
          Kind::take(pair, [&](ptrdiff_t row) { return load(weights.row(row) + inRound); }));
}

template <class Kind>
void take(const char* const* pairs, const OwnDecimateWeights& weights, char* numbers,
          ptrdiff_t bytes) {
    for (ptrdiff_t at = 0, inRound = 0; at < bytes; at += width) {
        takeOne<Kind>(
            weights, inRound, [&](ptrdiff_t k) { return load(pairs[k] + at); }, numbers + at);
        inRound += width;
        if (inRound == weights.end) inRound = weights.again;
    }
}

#if defined(__AVX512BW__)
template <class Kind, ptrdiff_t known>
OWN_BYTE_PERMUTES void takePermuted(const char* src, ptrdiff_t second, const OwnWindows& windows,
                                    const OwnDecimateWeights& weights, char* numbers,
                                    ptrdiff_t bytes) {
    // What is stored could be the descriptions, for all that the compiler knows.
    const OwnWindows from = windows;
    const OwnDecimateWeights by = weights;
    OwnStep at;
    for (ptrdiff_t done = 0; done < bytes; done += 2 * width, at.next(from, 2))
        for (ptrdiff_t k = 0; k < 2; ++k) {
            const OwnStep here = {at.step + k, at.base};
            Vec pairs[Kind::taps / 2];
            ownPermutedStep<known, Kind::taps / 2>(src, second, from, here, pairs);
            takeOne<Kind>(
                by, here.step * width, [&](ptrdiff_t i) { return pairs[i]; },
                numbers + done + k * width);
        }
}
#endif

Vec shuffled(const char* src, const OwnWindows& from, const OwnStep& at) {
    const auto step = [&](ptrdiff_t k) {
        return ownShuffledStep(src, from, {at.step + k, at.base});
    };
#if defined(__AVX512BW__)
    const Vec half = _mm512_inserti32x4(_mm512_castsi128_si512(step(0)), step(1), 1);
    return _mm512_inserti32x4(_mm512_inserti32x4(half, step(2), 2), step(3), 3);
#else
    return _mm256_inserti128_si256(_mm256_castsi128_si256(step(0)), step(1), 1);
#endif
}

template <class Kind>
void takeFrom(const char* src, ptrdiff_t second, const OwnWindows& windows,
              const OwnDecimateWeights& weights, char* numbers, ptrdiff_t bytes) {
#if defined(__AVX512BW__)
    if (windows.width == 64) {
        const auto takeAll = windows.count == 1   ? takePermuted<Kind, 1>
                             : windows.count == 2 ? takePermuted<Kind, 2>
                                                  : takePermuted<Kind, 0>;
        takeAll(src, second, windows, weights, numbers, bytes);
        return;
    }
#endif
    const OwnWindows from = windows;
    const OwnDecimateWeights by = weights;
    OwnStep at;
    for (ptrdiff_t done = 0; done < bytes; done += width, at.next(from, width / 16)) {
        Vec pairs[Kind::taps / 2];
        for (int32_t i = 0; i < Kind::taps / 2; ++i)
            pairs[i] = shuffled(src + i * second, from, at);
        takeOne<Kind>(
            by, at.step * 16, [&](ptrdiff_t i) { return pairs[i]; }, numbers + done);
    }
}

template <class Kind>
void mix(const char* const* rows, const int32_t* weights, char* dst, ptrdiff_t bytes) {
    const Kind kind(weights);
    ptrdiff_t at = 0;
    for (; at + width <= bytes; at += width) store(dst + at, kind.mix(rows, at * 2));
    if (at < bytes) storePart(dst + at, kind.mix(rows, at * 2), bytes - at);
}

#else

template <class T> struct Linear {
    using Number = std::conditional_t<sizeof(T) == 1, int16_t, uint32_t>;
    using Weight = std::conditional_t<sizeof(T) == 1, uint8_t, int16_t>;
    static constexpr int32_t less = sizeof(T) == 1 ? 32768 : 0;
    static void take(const char* const* pairs, const OwnDecimateWeights& weights, ptrdiff_t begin,
                     ptrdiff_t first, char* numbers, ptrdiff_t count) {
        const auto* x = ownLanes<T>(pairs[0]) + 2 * first;
        const auto* w = ownLanes<Weight>(weights.row(0)) + 2 * begin;
        auto* z = ownLanes<Number>(numbers) + first;
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i)
            z[i] = static_cast<Number>(w[2 * i] * x[2 * i] + w[2 * i + 1] * x[2 * i + 1] +
                                       rounding - less);
    }

    static T mix(const char* const* rows, const int32_t* w, ptrdiff_t i) {
        const auto number = [&](int32_t r) {
            return static_cast<uint32_t>(ownLanes<Number>(rows[r])[i] + less);
        };
        const uint32_t a = number(0);
        return static_cast<T>(((a << 8) + static_cast<uint32_t>(w[1]) * (number(1) - a)) >> 16);
    }
};

template <class T> struct Cubic {
    using Number = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;

    // Of pair `k` of samples.
    static int32_t weightOf(const OwnDecimateWeights& weights, ptrdiff_t k, ptrdiff_t i) {
        if constexpr (sizeof(T) == 2) return ownLanes<int16_t>(weights.row(2 * k))[i];
        return ownLanes<int8_t>(weights.row(2 * k))[i] * 64 +
               ownLanes<int8_t>(weights.row(2 * k + 1))[i];
    }

    static void take(const char* const* pairs, const OwnDecimateWeights& weights, ptrdiff_t begin,
                     ptrdiff_t first, char* numbers, ptrdiff_t count) {
        const auto* mp = ownLanes<T>(pairs[0]) + 2 * first;
        const auto* qr = ownLanes<T>(pairs[1]) + 2 * first;
        auto* z = ownLanes<Number>(numbers) + first;
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) {
            const auto product = [&](ptrdiff_t k, ptrdiff_t side) {
                const ptrdiff_t at = 2 * i + side;
                return weightOf(weights, k, 2 * begin + at) * (k == 0 ? mp : qr)[at];
            };
            const int32_t sum = product(0, 0) + product(0, 1) + product(1, 0) + product(1, 1);
            z[i] = static_cast<Number>(sum >> 8);
        }
    }

    static T mix(const char* const* rows, const int32_t* w, ptrdiff_t i) {
        const auto product = [&](int32_t r) { return ownLanes<Number>(rows[r])[i] * w[r]; };
        int32_t value = (product(0) + product(1) + product(2) + product(3)) >> 8;
        value = value < 0 ? 0 : value;
        if constexpr (sizeof(T) == 1)
            value = static_cast<int32_t>(static_cast<uint32_t>(value) * thirtySixth >> 21);
        else
            value = static_cast<int32_t>((static_cast<float>(value) + 0.5F) * floatThirtySixth);
        constexpr int32_t most = static_cast<T>(-1);
        return static_cast<T>(value > most ? most : value);
    }
};

template <class Kind>
void take(const char* const* pairs, const OwnDecimateWeights& weights, char* numbers,
          ptrdiff_t bytes) {
    constexpr ptrdiff_t size = sizeof(typename Kind::Number);
    ptrdiff_t begin = 0;
    for (ptrdiff_t done = 0; done < bytes / size;) {
        const ptrdiff_t rest = bytes / size - done;
        const ptrdiff_t most = weights.end / size - begin;
        const ptrdiff_t count = rest < most ? rest : most;
        Kind::take(pairs, weights, begin, done, numbers, count);
        done += count;
        begin = weights.again / size;
    }
}

template <class Kind>
void mix(const char* const* rows, const int32_t* weights, char* dst, ptrdiff_t bytes) {
    using T = decltype(Kind::mix(rows, weights, 0));
    auto* z = ownLanes<T>(dst);
    const ptrdiff_t count = bytes / ptrdiff_t{sizeof(T)};
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = Kind::mix(rows, weights, i);
}

// There are no windows.
template <class Kind> constexpr OwnTakeFrom* takeFrom = nullptr;

using LinearBytes = Linear<uint8_t>;
using LinearWords = Linear<uint16_t>;
using CubicBytes = Cubic<uint8_t>;
using CubicWords = Cubic<uint16_t>;

#endif

constexpr OwnDecimateTable table = {
    {{take<LinearBytes>, take<LinearWords>}, {take<CubicBytes>, take<CubicWords>}},
    {{takeFrom<LinearBytes>, takeFrom<LinearWords>}, {takeFrom<CubicBytes>, takeFrom<CubicWords>}},
    {{mix<LinearBytes>, mix<LinearWords>}, {mix<CubicBytes>, mix<CubicWords>}},
};

} // namespace

template <> const OwnDecimateTable& ownRowTable<OwnDecimate, OWN_ISA>() { return table; }
