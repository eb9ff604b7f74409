#include "move/daxcvrt.h"

#include "frame/bit_lanes.h"
#include "frame/daxlib.h"
#include "frame/lanes.h"
#include "frame/top_bits.h"
#include "frame/vectors.h"

#include <cstring>
#include <type_traits>

namespace {

// The bits of a sample that a narrower one keeps. Those from a signed one keep its sign.
template <class Dst, int32_t mode, class Src> Src narrowed(Src s) {
    constexpr int32_t kept = 8 * sizeof(Dst);
    constexpr int32_t lost = 8 * (sizeof(Src) - sizeof(Dst));
    if constexpr (std::is_unsigned_v<Src>) {
        return mode == DAX_CONVERT_HIGH_BITS ? static_cast<Src>(s >> lost) : s;
    } else {
        // All bits are set below 0.
        const Src sign = static_cast<Src>(s >> (8 * sizeof(Src) - 1));
        if constexpr (mode == DAX_CONVERT_HIGH_BITS) {
            constexpr Src most = (Src{1} << lost) - 1;
            return static_cast<Src>(static_cast<Src>(s + (sign & most)) >> lost);
        } else {
            constexpr Src least = (Src{1} << (kept - 1)) - 1;
            return static_cast<Src>((s & least) | (sign & ~least));
        }
    }
}

template <class Dst, int32_t mode, class Src> Dst converted(Src s) {
    // Between signed and unsigned the range moves by half, that of the narrower type.
    constexpr size_t width = sizeof(Src) < sizeof(Dst) ? sizeof(Src) : sizeof(Dst);
    constexpr uint32_t half = std::is_signed_v<Src> == std::is_signed_v<Dst> ? 0
                              : std::is_signed_v<Src>                        ? 1u << (8 * width - 1)
                                                      : 0u - (1u << (8 * width - 1));
    if constexpr (sizeof(Dst) < sizeof(Src)) s = narrowed<Dst, mode>(s);
    return static_cast<Dst>(static_cast<uint32_t>(s) + half);
}

#if defined(__AVX512BW__)

// As many samples as a vector has, of 16 or 32 bits, signed, narrowed to their lowest byte.
template <class Src, int32_t mode> __m512i keptByte(const char* at) {
    typedef std::make_unsigned_t<Src> Lanes __attribute__((vector_size(64)));
    typedef Src Signed __attribute__((vector_size(64)));
    constexpr int32_t lost = 8 * (sizeof(Src) - 1);
    Lanes s;
    memcpy(&s, at, sizeof s);
    if constexpr (mode == DAX_CONVERT_LOW_BITS) {
        s = (s >> lost & 0x80) | (s & 0x7F);
    } else {
        const auto sign = reinterpret_cast<Lanes>(reinterpret_cast<Signed>(s) >> (lost + 7));
        s = (s + (sign & ((1 << lost) - 1))) >> lost;
    }
    return reinterpret_cast<__m512i>(s);
}

// 64 narrowed samples. The compiler narrows to bytes with twice as many shuffles: at 0.6 of the
// speed of a stream in place of 1.
template <int32_t mode> __m512i keptBytes(int16_t, const char* at) {
    return _mm512_permutexvar_epi64(
        _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7),
        _mm512_packus_epi16(keptByte<int16_t, mode>(at), keptByte<int16_t, mode>(at + 64)));
}

template <int32_t mode> __m512i keptBytes(int32_t, const char* at) {
    const auto kept = [at](ptrdiff_t part) { return keptByte<int32_t, mode>(at + 64 * part); };
    return _mm512_permutexvar_epi32(
        _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
        _mm512_packus_epi16(_mm512_packs_epi32(kept(0), kept(1)),
                            _mm512_packs_epi32(kept(2), kept(3))));
}

template <class Src, class Dst, int32_t mode>
ptrdiff_t narrowToBytes(const char* src, char* dst, ptrdiff_t count) {
    const __m512i half = _mm512_set1_epi8(std::is_signed_v<Dst> ? 0 : '\x80');
    ptrdiff_t done = 0;
    for (; done + 64 <= count; done += 64) {
        const __m512i bytes =
            keptBytes<mode>(Src{}, src + done * static_cast<ptrdiff_t>(sizeof(Src)));
        _mm512_storeu_si512(dst + done, _mm512_xor_si512(bytes, half));
    }
    return done;
}

#endif

template <class Src, class Dst, int32_t mode>
void samples(const char* src, char* dst, ptrdiff_t count) {
    if constexpr (std::is_same_v<Src, Dst>) {
        memcpy(dst, src, static_cast<size_t>(count) * sizeof(Src));
    } else {
        const auto* x = ownLanes<Src>(src);
        auto* z = ownLanes<Dst>(dst);
        ptrdiff_t done = 0;
#if defined(__AVX512BW__)
        if constexpr (sizeof(Dst) == 1 && sizeof(Src) > 1 && std::is_signed_v<Src>)
            done = narrowToBytes<Src, Dst, mode>(src, dst, count);
#endif
        OWN_EACH_ALONE
        for (ptrdiff_t i = done; i < count; ++i) z[i] = converted<Dst, mode>(Src{x[i]});
    }
}

#if defined(__AVX512BW__)

// Which samples of a vector are above 0, the first in the lowest bit.
__m512i none() { return _mm512_setzero_si512(); }
uint64_t above0(uint8_t, __m512i s) { return _mm512_cmpneq_epi8_mask(none(), s); }
uint64_t above0(uint16_t, __m512i s) { return _mm512_cmpneq_epi16_mask(none(), s); }
uint64_t above0(int8_t, __m512i s) { return _mm512_cmplt_epi8_mask(none(), s); }
uint64_t above0(int16_t, __m512i s) { return _mm512_cmplt_epi16_mask(none(), s); }
uint64_t above0(int32_t, __m512i s) { return _mm512_cmplt_epi32_mask(none(), s); }

// In each of the words that 64 pixels give, the bits of every `channels`-th sample, and how many
// there are in the words before.
template <int32_t lanes, int32_t channels> struct Picks {
    static constexpr int32_t words = 64 * channels / lanes;
    uint64_t picked[words] = {};
    int32_t before[words + 1] = {};
    constexpr Picks() {
        for (int32_t k = 0; k < words; ++k) {
            before[k + 1] = before[k];
            for (int32_t i = 0; i < lanes; ++i)
                if ((k * lanes + i) % channels == 0) {
                    picked[k] |= uint64_t{1} << i;
                    ++before[k + 1];
                }
        }
    }
};
template <int32_t lanes, int32_t channels> constexpr Picks<lanes, channels> picks = {};

// Compares 64 samples, every `channels`-th of those that lie side by side: all of them, and the
// bits are picked out. By words of bits, a stream's speed; byte by byte, a third of it.
template <class T, int32_t channels> uint64_t above0Of64(const char* src) {
    constexpr const auto& from = picks<64 / sizeof(T), channels>;
    uint64_t word = 0;
    for (int32_t k = 0; k < from.words; ++k) {
        const uint64_t all = above0(T{}, _mm512_loadu_si512(src + 64 * k));
        word |= (channels == 1 ? all : _pext_u64(all, from.picked[k])) << from.before[k];
    }
    return word;
}

// Gives how many samples are done.
template <class T, int32_t channels>
ptrdiff_t bitsByWords(const char* src, char* dst, ptrdiff_t count) {
    constexpr ptrdiff_t block = 64;
    constexpr ptrdiff_t step = 64 * channels * static_cast<ptrdiff_t>(sizeof(T));
    // Samples of other channels are read up to the next pixel, which has to be there.
    const ptrdiff_t all = (channels == 1 ? count : count - 1) / 64;
    uint64_t words[block];
    for (ptrdiff_t first = 0; first < all; first += block) {
        const ptrdiff_t n = all - first < block ? all - first : block;
        for (ptrdiff_t i = 0; i < n; ++i)
            words[i] = above0Of64<T, channels>(src + (first + i) * step);
        auto* z = ownLanes<uint64_t>(dst) + first;
        for (ptrdiff_t i = 0; i < n; ++i) z[i] = ownReversedBits(words[i]);
    }
    return all * 64;
}

template <class T>
ptrdiff_t bitsByWords(const char* src, ptrdiff_t step, char* dst, ptrdiff_t count) {
    switch (step / static_cast<ptrdiff_t>(sizeof(T))) {
    case 1: return bitsByWords<T, 1>(src, dst, count);
    case 2: return bitsByWords<T, 2>(src, dst, count);
    case 3: return bitsByWords<T, 3>(src, dst, count);
    case 4: return bitsByWords<T, 4>(src, dst, count);
    default: return 0;
    }
}

#endif

template <class T> void bits(const char* src, ptrdiff_t step, char* dst, ptrdiff_t count) {
    constexpr ptrdiff_t block = 512;
    T apart[block];
    char tops[block];
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    done = bitsByWords<T>(src, step, dst, count);
#endif
    for (ptrdiff_t n = 0; done < count; done += n) {
        n = count - done < block ? count - done : block;
        const char* at = src + done * step;
        if (step != sizeof(T)) {
            ownGather(at, step, apart, n);
            at = reinterpret_cast<const char*>(apart);
        }
        const auto* x = ownLanes<T>(at);
        for (ptrdiff_t i = 0; i < n; ++i) tops[i] = x[i] > 0 ? '\x80' : '\0';
        ownPackTopBits(tops, dst + done / 8, n);
    }
}

template <class Src, class Dst, int32_t mode> constexpr OwnConvertRun run() {
    // One function for both modes where nothing is lost.
    constexpr int32_t lossy = sizeof(Dst) < sizeof(Src) ? mode : DAX_CONVERT_LOW_BITS;
    return samples<Src, Dst, lossy>;
}

template <class Src, int32_t mode> constexpr void fillFrom(OwnConvertRun (&to)[5]) {
    to[0] = run<Src, uint8_t, mode>();
    to[1] = run<Src, int8_t, mode>();
    to[2] = run<Src, uint16_t, mode>();
    to[3] = run<Src, int16_t, mode>();
    to[4] = run<Src, int32_t, mode>();
}

template <int32_t mode> constexpr void fillMode(OwnConvertRun (&from)[5][5]) {
    fillFrom<uint8_t, mode>(from[0]);
    fillFrom<int8_t, mode>(from[1]);
    fillFrom<uint16_t, mode>(from[2]);
    fillFrom<int16_t, mode>(from[3]);
    fillFrom<int32_t, mode>(from[4]);
}

constexpr OwnConvertTable makeTable() {
    OwnConvertTable made = {
        {}, {bits<uint8_t>, bits<int8_t>, bits<uint16_t>, bits<int16_t>, bits<int32_t>}};
    fillMode<DAX_CONVERT_LOW_BITS>(made.samples[DAX_CONVERT_LOW_BITS]);
    fillMode<DAX_CONVERT_HIGH_BITS>(made.samples[DAX_CONVERT_HIGH_BITS]);
    return made;
}

constexpr OwnConvertTable table = makeTable();

} // namespace

template <> const OwnConvertTable& ownRowTable<OwnConvert, OWN_ISA>() { return table; }
