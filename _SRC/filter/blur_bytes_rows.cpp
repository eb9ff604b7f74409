#include "filter/blur_bytes.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstring>
#include <type_traits>

namespace {

#ifdef __AVX2__

// A vector is seen as bytes, words of 16 bits or sums of 32.
#ifdef __AVX512BW__
using Lanes = __m512i;

Lanes load(const void* from) { return _mm512_loadu_si512(from); }
void store(Lanes value, void* to) { _mm512_storeu_si512(to, value); }
Lanes addWords(Lanes a, Lanes b) { return _mm512_add_epi16(a, b); }
Lanes takeWords(Lanes a, Lanes b) { return _mm512_sub_epi16(a, b); }
Lanes everyByte(uint8_t value) { return _mm512_set1_epi8(static_cast<char>(value)); }
Lanes everyWide(int32_t value) { return _mm512_set1_epi32(value); }

template <class T> Lanes pairsOf(Lanes bytes) {
    const Lanes ones = everyByte(1);
    return T(-1) < T(0) ? _mm512_maddubs_epi16(ones, bytes) : _mm512_maddubs_epi16(bytes, ones);
}

template <class T> Lanes oddsOf(Lanes bytes) {
    return T(-1) < T(0) ? _mm512_srai_epi16(bytes, 8) : _mm512_srli_epi16(bytes, 8);
}

// Each word with all before it in its 128 bits.
Lanes sumsInLanes(Lanes words) {
    const Lanes lowOnHigh = _mm512_broadcast_i32x4(_mm_set_epi64x(0x0706070607060706, -1));
    words = addWords(words, _mm512_slli_epi64(words, 16));
    words = addWords(words, _mm512_slli_epi64(words, 32));
    return addWords(words, _mm512_shuffle_epi8(words, lowOnHigh));
}

struct Plain {
    // Each word with all before it and `before`, which becomes the last such sum.
    static Lanes runningSums(Lanes words, Lanes& before) {
        const Lanes evenOnOdd = _mm512_set_epi64(0x0017001700170017, 0x0017001700170017, 0, 0,
                                                 0x0007000700070007, 0x0007000700070007, 0, 0);
        const Lanes half = _mm512_set1_epi16(15);
        words = sumsInLanes(words);
        words = addWords(words, _mm512_maskz_permutexvar_epi16(0xFF00FF00, evenOnOdd, words));
        words = addWords(words, _mm512_maskz_permutexvar_epi16(0xFFFF0000, half, words));
        words = addWords(words, before);
        before = _mm512_permutexvar_epi16(_mm512_set1_epi16(31), words);
        return words;
    }
    static Lanes addProducts(Lanes sums, Lanes a, Lanes b) {
        return _mm512_add_epi32(sums, _mm512_madd_epi16(a, b));
    }
};

// The same by later instructions: an eighth of the time less.
struct Later {
    __attribute__((target("avx512vbmi"))) static Lanes runningSums(Lanes words, Lanes& before) {
        const Lanes evenOnOdd = _mm512_set_epi64(0x2F2E2F2E2F2E2F2E, 0x2F2E2F2E2F2E2F2E, 0, 0,
                                                 0x0F0E0F0E0F0E0F0E, 0x0F0E0F0E0F0E0F0E, 0, 0);
        const Lanes half = _mm512_set1_epi16(31 << 8 | 30);
        const Lanes last = _mm512_set1_epi16(63 << 8 | 62);
        words = sumsInLanes(words);
        words =
            addWords(words, _mm512_maskz_permutexvar_epi8(0xFFFF0000FFFF0000, evenOnOdd, words));
        words = addWords(words, _mm512_maskz_permutexvar_epi8(0xFFFFFFFF00000000, half, words));
        words = addWords(words, before);
        before = _mm512_permutexvar_epi8(last, words);
        return words;
    }
    __attribute__((target("avx512vnni"))) static Lanes addProducts(Lanes sums, Lanes a, Lanes b) {
        return _mm512_dpwssd_epi32(sums, a, b);
    }
};

class Scale {
public:
    explicit Scale(const OwnBlurMean& mean)
        : factor(_mm512_set1_ps(mean.factor)), toLow(_mm512_set1_ps(0x1p23F - mean.quotient)),
          toHigh(_mm512_set1_ps(0x1p15F - mean.quotient)), down(everyByte(mean.down)) {}

    template <class T> Lanes means(const Lanes (&sums)[4]) const {
        constexpr bool isSigned = T(-1) < T(0);
        const auto lowByte = [&](Lanes sum) {
            return isSigned ? truncated(sum) : floored(sum, toLow);
        };
        const auto highByte = [&](Lanes sum) {
            return isSigned ? _mm512_slli_epi32(truncated(sum), 8) : floored(sum, toHigh);
        };
        const auto word = [&](Lanes a, Lanes b) {
            return _mm512_mask_blend_epi8(0x2222222222222222, lowByte(a), highByte(b));
        };
        const Lanes high = _mm512_slli_epi32(word(sums[2], sums[3]), 16);
        const Lanes both = _mm512_mask_blend_epi16(0xAAAAAAAA, word(sums[0], sums[1]), high);
        return isSigned ? both : _mm512_subs_epu8(both, down);
    }

private:
    Lanes truncated(Lanes sums) const {
        return _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(sums), factor));
    }
    Lanes floored(Lanes sums, __m512 addend) const {
        return _mm512_castps_si512(_mm512_fmadd_round_ps(
            _mm512_castsi512_ps(sums), factor, addend, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
    }

    const __m512 factor;
    const __m512 toLow;  // for means in the lowest 8 bits
    const __m512 toHigh; // for means in the 8 bits above, with parts of a whole below them
    const Lanes down;
};
#else
using Lanes = __m256i;

Lanes load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i_u*>(from)); }
void store(Lanes value, void* to) { _mm256_storeu_si256(static_cast<__m256i_u*>(to), value); }
Lanes addWords(Lanes a, Lanes b) { return _mm256_add_epi16(a, b); }
Lanes takeWords(Lanes a, Lanes b) { return _mm256_sub_epi16(a, b); }
Lanes everyByte(uint8_t value) { return _mm256_set1_epi8(static_cast<char>(value)); }
Lanes everyWide(int32_t value) { return _mm256_set1_epi32(value); }

template <class T> Lanes pairsOf(Lanes bytes) {
    const Lanes ones = everyByte(1);
    return T(-1) < T(0) ? _mm256_maddubs_epi16(ones, bytes) : _mm256_maddubs_epi16(bytes, ones);
}

template <class T> Lanes oddsOf(Lanes bytes) {
    return T(-1) < T(0) ? _mm256_srai_epi16(bytes, 8) : _mm256_srli_epi16(bytes, 8);
}

struct Plain {
    // Each word with all before it and `before`, which becomes the last such sum.
    static Lanes runningSums(Lanes words, Lanes& before) {
        const Lanes lowOnHigh = _mm256_broadcastsi128_si256(_mm_set_epi64x(0x0706070607060706, -1));
        const Lanes last = _mm256_set1_epi16(15 << 8 | 14);
        words = addWords(words, _mm256_slli_epi64(words, 16));
        words = addWords(words, _mm256_slli_epi64(words, 32));
        words = addWords(words, _mm256_shuffle_epi8(words, lowOnHigh));
        const Lanes lasts = _mm256_shuffle_epi8(words, last);
        words = addWords(words, _mm256_permute2x128_si256(lasts, lasts, 0x08));
        words = addWords(words, before);
        before = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(words, last), 0xFF);
        return words;
    }
    static Lanes addProducts(Lanes sums, Lanes a, Lanes b) {
        return _mm256_add_epi32(sums, _mm256_madd_epi16(a, b));
    }
};

class Scale {
public:
    explicit Scale(const OwnBlurMean& mean)
        : factor(_mm256_set1_ps(mean.factor)),
          addend(_mm256_set1_ps(0x1p23F - mean.quotient + 255.5F)), down(everyByte(mean.down)) {}

    template <class T> Lanes means(const Lanes (&sums)[4]) const {
        constexpr bool isSigned = T(-1) < T(0);
        const auto mean = [&](Lanes sum) { return isSigned ? truncated(sum) : floored(sum); };
        const Lanes even =
            _mm256_blend_epi16(mean(sums[0]), _mm256_slli_epi32(mean(sums[2]), 16), 0xAA);
        const Lanes odd =
            _mm256_blend_epi16(mean(sums[1]), _mm256_slli_epi32(mean(sums[3]), 16), 0xAA);
        const Lanes both = _mm256_or_si256(_mm256_and_si256(even, _mm256_set1_epi16(0xFF)),
                                           _mm256_slli_epi16(odd, 8));
        return isSigned ? both : _mm256_subs_epu8(both, down);
    }

private:
    Lanes truncated(Lanes sums) const {
        return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(sums), factor));
    }
    // What is rounded is half a whole less, and 256 more, so that it is not below 2^23.
    Lanes floored(Lanes sums) const {
        return _mm256_castps_si256(_mm256_fmadd_ps(_mm256_castsi256_ps(sums), factor, addend));
    }

    const __m256 factor;
    const __m256 addend;
    const Lanes down;
};
#endif

constexpr ptrdiff_t lanes = sizeof(Lanes); // bytes
constexpr ptrdiff_t quarter = lanes / 4;

// Prefixes of a row's places, each including its own: those of even places, then those of odd ones.
template <class T, class Set>
OWN_INLINE void sumRow(const OwnBlurStep& step, ptrdiff_t rowBytes, char* even) {
    const char* entering = step.entering;
    const char* leaving = step.leaving;
    const char* next = step.readNext;
    char* odd = even + ownBlurPlane;
    Lanes before = everyByte(0);
    for (ptrdiff_t i = 0; i < rowBytes; i += lanes) {
        _mm_prefetch(next + i, _MM_HINT_T0);
        const Lanes in = load(entering + i);
        const Lanes out = load(leaving + i);
        const Lanes moved = takeWords(pairsOf<T>(in), pairsOf<T>(out));
        const Lanes all = Set::runningSums(moved, before);
        store(all, odd + i);
        store(takeWords(all, takeWords(oddsOf<T>(in), oddsOf<T>(out))), even + i);
    }
}

// Blocks of sums are four vectors: of the places 0, 4, 8 ... of the block, of 1, 5, 9 ... and so
// on.
struct Sums {
    Lanes lanes[4];

    explicit Sums(const uint32_t* sums)
        : lanes{load(sums), load(sums + quarter), load(sums + 2 * quarter),
                load(sums + 3 * quarter)} {}
    void put(uint32_t* sums) const {
        for (ptrdiff_t k = 0; k < 4; ++k) store(lanes[k], sums + k * quarter);
    }
};

// What windows, or parts of them, move by: differences of prefixes, from an even column on. They
// are words with a sign, so there is a limit to the columns.
constexpr ptrdiff_t mostColumns = 128;

template <class Set> class Moves {
public:
    Moves(const char* prefixes, ptrdiff_t begin, ptrdiff_t end)
        : fromEven(prefixes + begin),
          toEven(prefixes + (end % 2 == 0 ? end : ownBlurPlane + end - 1)),
          toOdd(prefixes + (end % 2 == 0 ? ownBlurPlane + end : end + 1)) {}

    OWN_INLINE void move(ptrdiff_t block, ptrdiff_t row, Sums& sums) const {
        const Lanes low = everyWide(1);
        const Lanes high = everyWide(1 << 16);
        const ptrdiff_t at = block + row * 2 * ownBlurPlane;
        const Lanes even = takeWords(load(toEven + at), load(fromEven + at));
        const Lanes odd = takeWords(load(toOdd + at), load(fromEven + at + ownBlurPlane));
        sums.lanes[0] = Set::addProducts(sums.lanes[0], even, low);
        sums.lanes[1] = Set::addProducts(sums.lanes[1], odd, low);
        sums.lanes[2] = Set::addProducts(sums.lanes[2], even, high);
        sums.lanes[3] = Set::addProducts(sums.lanes[3], odd, high);
    }

private:
    const char* fromEven;
    const char* toEven;
    const char* toOdd;
};

template <class T, class Set, ptrdiff_t rows>
OWN_INLINE void moveRows(const OwnBlurStrip& strip, const Moves<Set>& moves,
                         const OwnBlurStep* steps, uint32_t* sums) {
    const Scale scale(strip.mean);
    const ptrdiff_t width = strip.width;
    char* dst[rows];
    const char* next[rows];
    for (ptrdiff_t row = 0; row < rows; ++row) {
        dst[row] = steps[row].dst;
        next[row] = steps[row].writtenNext;
    }
    Lanes means[rows];
    const auto move = [&](ptrdiff_t block) {
        Sums moved(sums + block);
        for (ptrdiff_t row = 0; row < rows; ++row) {
            moves.move(block, row, moved);
            means[row] = scale.means<T>(moved.lanes);
        }
        moved.put(sums + block);
    };
    ptrdiff_t i = 0;
    for (; i + lanes <= width; i += lanes) {
        move(i);
        for (ptrdiff_t row = 0; row < rows; ++row) {
            store(means[row], dst[row] + i);
            __builtin_prefetch(next[row] + i, 1);
        }
    }
    if (i == width) return;
    move(i);
    for (ptrdiff_t row = 0; row < rows; ++row) {
        alignas(sizeof(Lanes)) char block[lanes];
        store(means[row], block);
        std::memcpy(dst[row] + i, block, static_cast<size_t>(width - i));
    }
}

template <class T, class Set>
OWN_INLINE void meansOf(const OwnBlurStrip& strip, const OwnBlurStep* steps, int32_t rows,
                        uint32_t* sums) {
    for (int32_t row = 0; row < rows; ++row)
        sumRow<T, Set>(steps[row], strip.rowBytes, strip.prefixes + row * 2 * ownBlurPlane);
    if (rows == ownBlurSteps && strip.nCols <= mostColumns) {
        moveRows<T, Set, ownBlurSteps>(strip, {strip.prefixes, 0, strip.nCols}, steps, sums);
        return;
    }
    for (int32_t row = 0; row < rows; ++row) {
        const char* prefixes = strip.prefixes + row * 2 * ownBlurPlane;
        ptrdiff_t done = 0;
        for (; done + mostColumns < strip.nCols; done += mostColumns) {
            const Moves<Set> part(prefixes, done, done + mostColumns);
            for (ptrdiff_t i = 0; i < strip.width; i += lanes) {
                Sums moved(sums + i);
                part.move(i, 0, moved);
                moved.put(sums + i);
            }
        }
        moveRows<T, Set, 1>(strip, {prefixes, done, strip.nCols}, steps + row, sums);
    }
}

#if defined(__AVX512BW__)
template <class T>
__attribute__((target("avx512vbmi,avx512vnni"), flatten)) void
laterMeans(const OwnBlurStrip& strip, const OwnBlurStep* steps, int32_t rows, uint32_t* sums) {
    meansOf<T, Later>(strip, steps, rows, sums);
}
#endif

template <class T>
void means(const OwnBlurStrip& strip, const OwnBlurStep* steps, int32_t rows, uint32_t* sums) {
#if defined(__AVX512BW__)
    if (__builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vnni"))
        return laterMeans<T>(strip, steps, rows, sums);
#endif
    meansOf<T, Plain>(strip, steps, rows, sums);
}

// Sums of columns, in words for so many rows at a time as they hold. The sums of pairs and those of
// odd columns stand where prefixes will.
template <class T> void sumColumns(const OwnBlurStrip& strip, const char* rows, ptrdiff_t rowStep) {
    using Word = std::conditional_t<T(-1) < T(0), int16_t, uint16_t>;
    constexpr ptrdiff_t most = 256;
    char* const pairs = strip.prefixes;
    char* const odds = pairs + ownBlurPlane;
    std::memset(strip.columns, 0, static_cast<size_t>(strip.rowBytes) * sizeof *strip.columns);
    for (ptrdiff_t row = 0; row < strip.nRows;) {
        const ptrdiff_t end = strip.nRows - row < most ? strip.nRows : row + most;
        std::memset(pairs, 0, static_cast<size_t>(2 * ownBlurPlane));
        for (; row < end; ++row)
            for (ptrdiff_t i = 0; i < strip.rowBytes; i += lanes) {
                const Lanes bytes = load(rows + row * rowStep + i);
                store(addWords(load(pairs + i), pairsOf<T>(bytes)), pairs + i);
                store(addWords(load(odds + i), oddsOf<T>(bytes)), odds + i);
            }
        for (ptrdiff_t i = 0; i < strip.rowBytes; i += 2) {
            const auto odd = *ownLanes<Word>(odds + i);
            const auto even = static_cast<Word>(*ownLanes<Word>(pairs + i) - odd);
            strip.columns[i] += static_cast<uint32_t>(int32_t{even});
            strip.columns[i + 1] += static_cast<uint32_t>(int32_t{odd});
        }
    }
}

template <class T>
void start(const OwnBlurStrip& strip, const char* rows, ptrdiff_t rowStep, uint32_t* sums) {
    sumColumns<T>(strip, rows, rowStep);
    const uint32_t* leaving = strip.columns + 1;
    const uint32_t* entering = leaving + strip.nCols;
    uint32_t sum = strip.mean.base;
    for (ptrdiff_t i = 0; i < strip.nCols; ++i) sum += leaving[i];
    for (ptrdiff_t block = 0; block < strip.width; block += lanes)
        for (ptrdiff_t k = 0; k < lanes; ++k) {
            sums[block + k % 4 * quarter + k / 4] = sum;
            sum += entering[block + k] - leaving[block + k];
        }
}

constexpr OwnBlurByteTable table = {
    {{start<uint8_t>, means<uint8_t>}, {start<int8_t>, means<int8_t>}}};
#else
constexpr OwnBlurByteTable table = {};
#endif

} // namespace

template <> const OwnBlurByteTable& ownRowTable<OwnBlurBytes, OWN_ISA>() { return table; }
