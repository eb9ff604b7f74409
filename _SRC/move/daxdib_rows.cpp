#include "move/daxdib.h"

#include "frame/lanes.h"
#include "frame/top_bits.h"
#include "frame/vectors.h"
#include "frame/weighed_pixels.h"

#include <cstring>

namespace {

void spreadBits(const char* src, uint8_t* indices, ptrdiff_t count) {
    const auto* x = ownLanes<uint8_t>(src);
    for (ptrdiff_t i = 0; i < count; ++i) indices[i] = x[i / 8] >> (7 - i % 8) & 1;
}

void spreadNibbles(const char* src, uint8_t* indices, ptrdiff_t count) {
    const auto* x = ownLanes<uint8_t>(src);
    for (ptrdiff_t i = 0; i < count / 2; ++i) {
        indices[2 * i] = x[i] >> 4;
        indices[2 * i + 1] = x[i] & 15;
    }
    if (count % 2 != 0) indices[count - 1] = x[count / 2] >> 4;
}

void lookUp(const uint8_t* indices, const uint32_t* table, uint32_t* pixels, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) pixels[i] = table[indices[i]];
}

template <class T>
void takeFields(const char* src, const DaxDibFields& fields, uint8_t* const* runs,
                ptrdiff_t count) {
    const auto* x = ownLanes<T>(src);
    for (int32_t c = 0; c < 4; ++c) {
        const uint32_t mask = fields.mask[c];
        const int32_t width = fields.width[c];
        const int32_t down = fields.shift[c] + (width > 8 ? width - 8 : 0);
        const int32_t up = width < 8 ? 8 - width : 0;
        uint8_t* z = runs[c];
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i)
            z[i] = static_cast<uint8_t>((x[i] & mask) >> down << up);
    }
}

// Channels of words are scaled to the width of their fields, those of 32 bits aren't.
template <class T>
void putFields(const uint8_t* const* runs, const DaxDibFields& fields, char* dst, ptrdiff_t count) {
    constexpr bool words = sizeof(T) == 2;
    auto* z = ownLanes<T>(dst);
    for (int32_t c = 0; c < 4; ++c) {
        const uint32_t mask = fields.mask[c];
        const int32_t width = words ? fields.width[c] : 8;
        const int32_t down = width < 8 ? 8 - width : 0;
        const int32_t up = fields.shift[c] + (width > 8 ? width - 8 : 0);
        const uint8_t* x = runs[c];
        if (c == 0)
            for (ptrdiff_t i = 0; i < count; ++i)
                z[i] = static_cast<T>(uint32_t{x[i]} >> down << up & mask);
        else if (mask != 0)
            for (ptrdiff_t i = 0; i < count; ++i)
                z[i] = static_cast<T>(z[i] | (uint32_t{x[i]} >> down << up & mask));
    }
}

constexpr int32_t weights[] = {28, 151, 77};

void luminance(const uint8_t* blue, const uint8_t* green, uint8_t* red, ptrdiff_t count) {
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        red[i] = static_cast<uint8_t>(
            (blue[i] * weights[0] + green[i] * weights[1] + red[i] * weights[2]) >> 8);
}

ptrdiff_t weigh(const char* src, char* grey, ptrdiff_t count) {
    return ownWeighPixels(src, 3, weights, grey, count);
}

void exchange(const char* src, char* dst, ptrdiff_t count) {
    ptrdiff_t done = 0;
#if defined(__AVX2__)
    // Five pixels at a time. The sixteenth byte is written as it was, and again by the next ones.
    const __m128i order = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15);
    for (; done + 6 <= count; done += 5) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(src + done * 3));
        _mm_storeu_si128(reinterpret_cast<__m128i_u*>(dst + done * 3), _mm_shuffle_epi8(x, order));
    }
#endif
    const auto* x = ownLanes<uint8_t>(src);
    auto* z = ownLanes<uint8_t>(dst);
    for (ptrdiff_t i = done * 3; i < count * 3; i += 3) {
        const uint8_t first = x[i];
        z[i] = x[i + 2];
        z[i + 1] = x[i + 1];
        z[i + 2] = first;
    }
}

void widen(const uint8_t* src, uint16_t* dst, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) dst[i] = static_cast<uint16_t>(src[i] << 8);
}

void narrow(const char* src, uint8_t* dst, ptrdiff_t count) {
    const auto* x = ownLanes<uint16_t>(src);
    for (ptrdiff_t i = 0; i < count; ++i) dst[i] = static_cast<uint8_t>(x[i] >> 8);
}

void pack(const uint8_t* src, char* dst, ptrdiff_t count) {
    ownPackTopBits(reinterpret_cast<const char*>(src), dst, count);
}

void putBits(const uint8_t* indices, char* dst, ptrdiff_t count) {
    uint8_t bytes[ownDibBlock];
    for (ptrdiff_t i = 0; i < count; ++i) bytes[i] = indices[i] != 0 ? 255 : 0;
    pack(bytes, dst, count);
}

void putNibbles(const uint8_t* indices, char* dst, ptrdiff_t count) {
    auto* z = ownLanes<uint8_t>(dst);
    for (ptrdiff_t i = 0; i < count / 2; ++i)
        z[i] = static_cast<uint8_t>(indices[2 * i] << 4 | (indices[2 * i + 1] & 15));
    if (count % 2 != 0)
        z[count / 2] = static_cast<uint8_t>(indices[count - 1] << 4 | (z[count / 2] & 15));
}

void putBytes(const uint8_t* indices, char* dst, ptrdiff_t count) {
    memcpy(dst, indices, static_cast<size_t>(count));
}

// Sums of products of words, four vectors of pixels to a pass: compilers find no way to them from
// plain loops.
#if defined(__AVX512BW__)
using Words = __m512i;
Words everywhere(int32_t value) { return _mm512_set1_epi32(value); }
Words load(const int32_t* at) { return _mm512_loadu_si512(at); }
void store(int32_t* at, Words words) { _mm512_storeu_si512(at, words); }
Words least(Words a, Words b) { return _mm512_min_epi32(a, b); }
#if defined(__AVX512VNNI__)
Words added(Words sum, Words a, Words b) { return _mm512_dpwssd_epi32(sum, a, b); }
#else
Words added(Words sum, Words a, Words b) { return _mm512_add_epi32(sum, _mm512_madd_epi16(a, b)); }
#endif
#define OWN_DIB_WORDS 1
#elif defined(__AVX2__)
using Words = __m256i;
Words everywhere(int32_t value) { return _mm256_set1_epi32(value); }
Words load(const int32_t* at) { return _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(at)); }
void store(int32_t* at, Words words) {
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(at), words);
}
Words least(Words a, Words b) { return _mm256_min_epi32(a, b); }
Words added(Words sum, Words a, Words b) { return _mm256_add_epi32(sum, _mm256_madd_epi16(a, b)); }
#define OWN_DIB_WORDS 1
#endif

void nearest(const uint8_t* const* runs, const OwnDibPage& page, int32_t entries, uint8_t* indices,
             ptrdiff_t count) {
    int32_t keys[ownDibBlock];
    // Twice a word to each pixel, as the products want them.
    int32_t blueGreen[ownDibBlock];
    int32_t red[ownDibBlock];
    for (ptrdiff_t i = 0; i < count; ++i) {
        blueGreen[i] = runs[0][i] << 2 | runs[1][i] << 18;
        red[i] = runs[2][i] << 2;
    }
#if OWN_DIB_WORDS
    constexpr ptrdiff_t lanes = sizeof(Words) / sizeof(int32_t);
    constexpr ptrdiff_t vectors = 4;
    for (ptrdiff_t i = count; i % (lanes * vectors) != 0; ++i) blueGreen[i] = red[i] = 0;
    for (ptrdiff_t first = 0; first < count; first += lanes * vectors) {
        Words bg[vectors];
        Words r[vectors];
        Words best[vectors];
        for (ptrdiff_t k = 0; k < vectors; ++k) {
            bg[k] = load(blueGreen + first + k * lanes);
            r[k] = load(red + first + k * lanes);
            best[k] = everywhere(INT32_MAX);
        }
        for (int32_t e = 0; e < entries; ++e) {
            const Words entryBg = everywhere(page.blueGreen[e]);
            const Words entryR = everywhere(page.red[e]);
            const Words base = everywhere(page.base[e]);
            for (ptrdiff_t k = 0; k < vectors; ++k)
                best[k] = least(best[k], added(added(base, bg[k], entryBg), r[k], entryR));
        }
        for (ptrdiff_t k = 0; k < vectors; ++k) store(keys + first + k * lanes, best[k]);
    }
#else
    for (ptrdiff_t i = 0; i < count; ++i) keys[i] = INT32_MAX;
    for (int32_t e = 0; e < entries; ++e) {
        const int32_t b = static_cast<int16_t>(page.blueGreen[e]);
        const int32_t g = page.blueGreen[e] >> 16;
        const int32_t r = static_cast<int16_t>(page.red[e]);
        const int32_t base = page.base[e];
        for (ptrdiff_t i = 0; i < count; ++i) {
            const int32_t key =
                base + b * (blueGreen[i] & 0xFFFF) + g * (blueGreen[i] >> 16) + r * red[i];
            keys[i] = key < keys[i] ? key : keys[i];
        }
    }
#endif
    for (ptrdiff_t i = 0; i < count; ++i) indices[i] = static_cast<uint8_t>(keys[i]);
}

constexpr OwnDibTable table = {
    {spreadBits, spreadNibbles},
    lookUp,
    {takeFields<uint16_t>, takeFields<uint32_t>},
    {putFields<uint16_t>, putFields<uint32_t>},
    luminance,
    weigh,
    exchange,
    widen,
    narrow,
    pack,
    {putBits, putNibbles, putBytes},
    nearest,
};

} // namespace

template <> const OwnDibTable& ownRowTable<OwnDib, OWN_ISA>() { return table; }
