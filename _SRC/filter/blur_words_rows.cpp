#include "filter/blur_words.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstring>

namespace {

#ifdef __AVX2__
constexpr ptrdiff_t lanes = 16;

__m256i load(const void* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(from));
}

void store(__m256i value, void* to) {
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(to), value);
}

template <class T> __m256i widened(const char* samples) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(samples));
    return T(-1) < T(0) ? _mm256_cvtepi8_epi16(bytes) : _mm256_cvtepu8_epi16(bytes);
}

template <class T, bool onto>
void differ(const char* entering, const char* leaving, uint16_t* words, ptrdiff_t count) {
    const auto* x = ownLanes<T>(entering);
    const auto* y = ownLanes<T>(leaving);
    ptrdiff_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const __m256i moved = _mm256_sub_epi16(widened<T>(entering + i), widened<T>(leaving + i));
        store(onto ? _mm256_add_epi16(load(words + i), moved) : moved, words + i);
    }
    for (; i < count; ++i) words[i] = static_cast<uint16_t>((onto ? words[i] : 0) + x[i] - y[i]);
}

// The sums of windows side by side, modulo 2^16. A vector of what they move by is added up within
// itself, so that only one addition in a vector waits for the one before it.
class RunningSums {
public:
    RunningSums(const uint16_t* row, ptrdiff_t nCols)
        : leaving(row - 1), entering(leaving + nCols) {
        uint32_t sum = 0;
        for (ptrdiff_t i = 0; i < nCols - 1; ++i) sum += row[i];
        before = _mm256_set1_epi16(static_cast<int16_t>(static_cast<uint16_t>(sum)));
    }

    __m256i at(ptrdiff_t i) {
        const __m256i last = _mm256_set1_epi16(15 << 8 | 14);
        __m256i sum = _mm256_sub_epi16(load(entering + i), load(leaving + i));
        sum = _mm256_add_epi16(sum, _mm256_slli_epi64(sum, 16));
        sum = _mm256_add_epi16(sum, _mm256_slli_epi64(sum, 32));
        sum = _mm256_add_epi16(sum, _mm256_shuffle_epi8(sum, lowOnHigh()));
        const __m256i totals = _mm256_shuffle_epi8(sum, last);
        sum = _mm256_add_epi16(sum, _mm256_permute2x128_si256(totals, totals, 0x08));
        sum = _mm256_add_epi16(sum, before);
        before = _mm256_add_epi16(
            before, _mm256_add_epi16(totals, _mm256_permute2x128_si256(totals, totals, 0x01)));
        return sum;
    }

private:
    // The last word of the low half for each of the high one, in each 128 bits.
    static __m256i lowOnHigh() {
        return _mm256_set_epi64x(0x0706070607060706, -1, 0x0706070607060706, -1);
    }

    const uint16_t* leaving;
    const uint16_t* entering;
    __m256i before;
};

// The same for few columns.
template <int nCols> class DirectSums {
public:
    DirectSums(const uint16_t* words, ptrdiff_t) : row(words) {}
    __m256i at(ptrdiff_t i) const {
        __m256i sum = load(row + i);
        for (int k = 1; k < nCols; ++k) sum = _mm256_add_epi16(sum, load(row + i + k));
        return sum;
    }

private:
    const uint16_t* row;
};

// Words of up to 255 as bytes, no more of them than the row has.
void storeBytes(__m256i low, __m256i high, char* to, ptrdiff_t count) {
    const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
    if (count >= ownBlurBlock) {
        store(bytes, to);
    } else {
        alignas(32) char block[ownBlurBlock];
        store(bytes, block);
        std::memcpy(to, block, static_cast<size_t>(count));
    }
}

// In a vector's row of sums those of even places come first.
void start(const uint32_t* columns, uint32_t* sums, ptrdiff_t width, ptrdiff_t nCols) {
    uint32_t sum = 0;
    for (ptrdiff_t i = 0; i < nCols; ++i) sum += columns[i];
    for (ptrdiff_t i = 0; i < width; ++i) {
        const ptrdiff_t in = i % lanes;
        sums[i - in + in % 2 * (lanes / 2) + in / 2] = sum;
        sum += columns[i + nCols] - columns[i];
    }
}

__m256i truncated(__m256i sum, __m256 single) {
    return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(sum), single));
}

template <class T> __m256i meansOf(__m256i moved, uint32_t* sums, __m256 single) {
    const __m256i evenMoved = _mm256_madd_epi16(moved, _mm256_set1_epi32(1));
    const __m256i oddMoved = _mm256_srai_epi32(moved, 16);
    const __m256i even = _mm256_add_epi32(load(sums), evenMoved);
    const __m256i odd = _mm256_add_epi32(load(sums + lanes / 2), oddMoved);
    store(even, sums);
    store(odd, sums + lanes / 2);
    const __m256i evenMeans = truncated(even, single);
    const __m256i oddMeans = _mm256_slli_epi32(truncated(odd, single), 16);
    if (T(-1) > T(0)) return _mm256_or_si256(evenMeans, oddMeans);
    return _mm256_and_si256(_mm256_blend_epi16(evenMeans, oddMeans, 0xAA), _mm256_set1_epi16(255));
}

template <class T>
void means(const uint16_t* words, uint32_t* sums, char* dst, ptrdiff_t width, ptrdiff_t nCols,
           float factor) {
    const __m256 single = _mm256_set1_ps(factor);
    RunningSums moved(words, nCols);
    for (ptrdiff_t i = 0; i < width; i += ownBlurBlock) {
        const __m256i low = meansOf<T>(moved.at(i), sums + i, single);
        const __m256i high = meansOf<T>(moved.at(i + lanes), sums + i + lanes, single);
        storeBytes(low, high, dst + i, width - i);
    }
}

template <class Sums>
void quotientsOf(Sums sums, char* dst, ptrdiff_t width, const OwnBlurQuotient& quotient) {
    const __m256i factor = _mm256_set1_epi16(static_cast<int16_t>(quotient.factor));
    const __m256i up = _mm256_set1_epi16(static_cast<int16_t>(quotient.up));
    const __m256i down = _mm256_set1_epi16(static_cast<int16_t>(quotient.down));
    const __m128i shift = _mm_cvtsi32_si128(quotient.shift);
    const auto quotientOf = [&](__m256i sum) {
        const __m256i moved = _mm256_subs_epu16(_mm256_adds_epu16(sum, up), down);
        return _mm256_srl_epi16(_mm256_mulhi_epu16(moved, factor), shift);
    };
    for (ptrdiff_t i = 0; i < width; i += ownBlurBlock) {
        const __m256i low = quotientOf(sums.at(i));
        const __m256i high = quotientOf(sums.at(i + lanes));
        storeBytes(low, high, dst + i, width - i);
    }
}

void quotients(const uint16_t* words, char* dst, ptrdiff_t width, ptrdiff_t nCols,
               const OwnBlurQuotient& quotient) {
    switch (nCols) {
    case 1: return quotientsOf(DirectSums<1>(words, nCols), dst, width, quotient);
    case 2: return quotientsOf(DirectSums<2>(words, nCols), dst, width, quotient);
    case 3: return quotientsOf(DirectSums<3>(words, nCols), dst, width, quotient);
    case 4: return quotientsOf(DirectSums<4>(words, nCols), dst, width, quotient);
    case 5: return quotientsOf(DirectSums<5>(words, nCols), dst, width, quotient);
    case 6: return quotientsOf(DirectSums<6>(words, nCols), dst, width, quotient);
    case 7: return quotientsOf(DirectSums<7>(words, nCols), dst, width, quotient);
    default: return quotientsOf(RunningSums(words, nCols), dst, width, quotient);
    }
}

constexpr OwnBlurWordTable table = {{{differ<uint8_t, false>, start, means<uint8_t>},
                                     {differ<int8_t, false>, start, means<int8_t>}},
                                    differ<uint8_t, true>,
                                    quotients};
#else
constexpr OwnBlurWordTable table = {};
#endif

} // namespace

template <> const OwnBlurWordTable& ownRowTable<OwnBlurWords, OWN_ISA>() { return table; }
