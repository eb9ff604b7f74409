#include "color/daxtwist.h"
#include "color/thirds.h"

namespace {

int32_t limited(int32_t value, int32_t low, int32_t high) {
    return value < low ? low : value > high ? high : value;
}

// The sums wrap as 32 bits do.
template <class T>
void packedEach(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
                const OwnPackedTwist& twist) {
    // Words of 16 bits are made signed; so are their results.
    constexpr int32_t half = sizeof(T) == 1 ? 0 : 0x8000;
    constexpr int32_t least = sizeof(T) == 1 ? 0 : -0x8000;
    constexpr int32_t greatest = sizeof(T) == 1 ? 255 : 0x7FFF;
    const OwnPackedTwist t = twist;
    ownMapThirds<T>(src, dst, count, [t](T a, T b, T c, T* results) {
        const auto x = static_cast<int16_t>(a - half);
        const auto y = static_cast<int16_t>(b - half);
        const auto z = static_cast<int16_t>(c - half);
        for (ptrdiff_t k = 0; k < 3; ++k) {
            const auto sum = static_cast<uint32_t>(x * t.weights[k][0]) +
                             static_cast<uint32_t>(y * t.weights[k][1]) +
                             static_cast<uint32_t>(z * t.weights[k][2]) +
                             static_cast<uint32_t>(t.bias[k]);
            const int32_t shifted = static_cast<int32_t>(sum) >> t.scalingValue;
            const int32_t moved = limited(shifted, least, greatest) + t.offset;
            results[k] = static_cast<T>(limited(moved, least, greatest) + half);
        }
    });
}

#if defined(__AVX512BW__)

// The compiler makes each product of a sum on its own, which takes three times as long as products
// in pairs.
class TwistLanes {
public:
    explicit TwistLanes(const OwnPackedTwist& twist)
        : shift(_mm512_set1_epi32(twist.scalingValue)),
          up(_mm512_set1_epi8(static_cast<char>(twist.offset > 0 ? twist.offset : 0))),
          down(_mm512_set1_epi8(static_cast<char>(twist.offset < 0 ? -twist.offset : 0))),
          offset(_mm512_set1_epi16(static_cast<int16_t>(twist.offset))) {
        const auto pair = [](int16_t low, int16_t high) {
            return _mm512_set1_epi32(static_cast<uint16_t>(low) | int32_t{high} * 0x10000);
        };
        for (int32_t k = 0; k < 3; ++k) {
            first[k] = pair(twist.weights[k][0], twist.weights[k][1]);
            last[k] = pair(twist.weights[k][2], 0);
            bias[k] = _mm512_set1_epi32(twist.bias[k]);
        }
    }

    // Of pixels whose first two channels stand in one word of 32 bits, and whose third in another.
    __m512i result(int32_t k, __m512i ab, __m512i c) const {
        const __m512i sum =
            _mm512_add_epi32(_mm512_madd_epi16(ab, first[k]), _mm512_madd_epi16(c, last[k]));
        return _mm512_srav_epi32(_mm512_add_epi32(sum, bias[k]), shift);
    }

    // Four results in one, limited.
    __m512i bytes(__m512i a, __m512i b, __m512i c, __m512i d) const {
        const __m512i all = _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
        return _mm512_subs_epu8(_mm512_adds_epu8(all, up), down);
    }

    // Two results in one, limited; samples of 16 bits are signed meanwhile.
    __m512i words(__m512i a, __m512i b) const {
        return flipped(_mm512_adds_epi16(_mm512_packs_epi32(a, b), offset));
    }
    static __m512i flipped(__m512i samples) {
        return _mm512_xor_si512(samples, _mm512_set1_epi16(INT16_MIN));
    }

private:
    __m512i first[3], last[3], bias[3];
    __m512i shift, up, down, offset;
};

// Whole groups of pixels in planes; these and the next return how many pixels that is.
ptrdiff_t twistPlanes(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
                      const TwistLanes& lanes, uint8_t) {
    const __m512i none = _mm512_setzero_si512();
    ptrdiff_t done = 0;
    for (; done + 64 <= count; done += 64) {
        const __m512i a = _mm512_loadu_si512(src.at[0] + done);
        const __m512i b = _mm512_loadu_si512(src.at[1] + done);
        const __m512i c = _mm512_loadu_si512(src.at[2] + done);
        const __m512i pairs[4] = {_mm512_unpacklo_epi8(a, b), _mm512_unpackhi_epi8(a, b),
                                  _mm512_unpacklo_epi8(c, none), _mm512_unpackhi_epi8(c, none)};
        __m512i quarters[8];
        for (int32_t i = 0; i < 4; ++i) {
            quarters[2 * i] = _mm512_unpacklo_epi8(pairs[i], none);
            quarters[2 * i + 1] = _mm512_unpackhi_epi8(pairs[i], none);
        }
        for (int32_t k = 0; k < 3; ++k) {
            __m512i results[4];
            for (int32_t i = 0; i < 4; ++i)
                results[i] = lanes.result(k, quarters[i], quarters[4 + i]);
            _mm512_storeu_si512(dst.at[k] + done,
                                lanes.bytes(results[0], results[1], results[2], results[3]));
        }
    }
    return done;
}

ptrdiff_t twistPlanes(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
                      const TwistLanes& lanes, uint16_t) {
    ptrdiff_t done = 0;
    for (; done + 32 <= count; done += 32) {
        const __m512i a = TwistLanes::flipped(_mm512_loadu_si512(src.at[0] + 2 * done));
        const __m512i b = TwistLanes::flipped(_mm512_loadu_si512(src.at[1] + 2 * done));
        const __m512i c = TwistLanes::flipped(_mm512_loadu_si512(src.at[2] + 2 * done));
        const __m512i ab[2] = {_mm512_unpacklo_epi16(a, b), _mm512_unpackhi_epi16(a, b)};
        const __m512i cc[2] = {_mm512_unpacklo_epi16(c, c), _mm512_unpackhi_epi16(c, c)};
        for (int32_t k = 0; k < 3; ++k)
            _mm512_storeu_si512(dst.at[k] + 2 * done, lanes.words(lanes.result(k, ab[0], cc[0]),
                                                                  lanes.result(k, ab[1], cc[1])));
    }
    return done;
}

// Bytes of 16 pixels, and words of 8, to and from the words of 32 bits that results are made of.
struct TwistOrders {
    OwnByteOrder pairs8, thirds8, back8;
    OwnByteOrder pairs16, thirds16, back16[2], backThirds16[2];
    constexpr TwistOrders() {
        for (int32_t i = 0; i < 16; ++i) {
            for (int32_t k = 0; k < 2; ++k) pairs8.from[4 * i + 2 * k] = place(3 * i + k);
            thirds8.from[4 * i] = place(3 * i + 2);
            for (int32_t k = 0; k < 3; ++k)
                back8.from[3 * i + k] = place(i / 4 * 16 + k * 4 + i % 4);
        }
        for (int32_t at = 0; at < 64; ++at) {
            const int32_t i = at / 4 % 8;
            pairs16.from[at] = place(6 * i + at % 4);
            thirds16.from[at] = place(6 * i + 4 + at % 2);
        }
        for (int32_t i = 0; i < 16; ++i)
            for (int32_t byte = 0; byte < 6; ++byte) {
                const int32_t lane = i / 4 * 16 + i % 4 * 2 + byte % 2;
                OwnByteOrder& to = byte < 4 ? back16[i / 8] : backThirds16[i / 8];
                to.from[i % 8 * 6 + byte] = place(lane + (byte / 2 == 1 ? 8 : 0));
            }
    }

private:
    static constexpr int8_t place(int32_t at) { return static_cast<int8_t>(at); }
};

constexpr TwistOrders twistOrders;

__attribute__((target("avx512vbmi"))) ptrdiff_t twistPixels(const OwnThirds& src,
                                                            const OwnThirds& dst, ptrdiff_t count,
                                                            const TwistLanes& lanes, uint8_t) {
    const __m512i pairs = twistOrders.pairs8.get();
    const __m512i thirds = twistOrders.thirds8.get();
    const __m512i back = twistOrders.back8.get();
    ptrdiff_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const __m512i x = _mm512_maskz_loadu_epi32(0x0FFF, src.at[0] + 3 * done);
        const __m512i ab = _mm512_maskz_permutexvar_epi8(0x5555555555555555, pairs, x);
        const __m512i c = _mm512_maskz_permutexvar_epi8(0x1111111111111111, thirds, x);
        const __m512i last = lanes.result(2, ab, c);
        const __m512i all = lanes.bytes(lanes.result(0, ab, c), lanes.result(1, ab, c), last, last);
        _mm512_mask_storeu_epi32(dst.at[0] + 3 * done, 0x0FFF, _mm512_permutexvar_epi8(back, all));
    }
    return done;
}

__attribute__((target("avx512vbmi"))) ptrdiff_t twistPixels(const OwnThirds& src,
                                                            const OwnThirds& dst, ptrdiff_t count,
                                                            const TwistLanes& lanes, uint16_t) {
    constexpr __mmask64 upper = 0xFFFFFFFF00000000;
    constexpr __mmask64 everyThird = 0x0000C30C30C30C30;
    const __m512i pairs = twistOrders.pairs16.get();
    const __m512i thirds = twistOrders.thirds16.get();
    ptrdiff_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const char* at = src.at[0] + 6 * done;
        const __m512i x = TwistLanes::flipped(_mm512_maskz_loadu_epi32(0x0FFF, at));
        const __m512i y = TwistLanes::flipped(_mm512_maskz_loadu_epi32(0x0FFF, at + 48));
        const __m512i ab =
            _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(pairs, x), upper, pairs, y);
        const __m512i c =
            _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(thirds, x), upper, thirds, y);
        const __m512i last = lanes.result(2, ab, c);
        const __m512i two = lanes.words(lanes.result(0, ab, c), lanes.result(1, ab, c));
        const __m512i third = lanes.words(last, last);
        for (int32_t half = 0; half < 2; ++half) {
            const __m512i all = _mm512_mask_permutexvar_epi8(
                _mm512_permutexvar_epi8(twistOrders.back16[half].get(), two), everyThird,
                twistOrders.backThirds16[half].get(), third);
            _mm512_mask_storeu_epi32(dst.at[0] + 6 * done + 48 * half, 0x0FFF, all);
        }
    }
    return done;
}

#endif

template <class T>
void packed(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
            const OwnPackedTwist& twist) {
    ptrdiff_t done = 0;
#if defined(__AVX512BW__)
    const TwistLanes lanes(twist);
    if (src.step == sizeof(T))
        done = twistPlanes(src, dst, count, lanes, T());
    else if (__builtin_cpu_supports("avx512vbmi"))
        done = twistPixels(src, dst, count, lanes, T());
#endif
    packedEach<T>(ownThirdsFrom(src, done), ownThirdsFrom(dst, done), count - done, twist);
}

template <class T>
void floating(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
              const OwnFloatTwist& twist) {
    const OwnFloatTwist t = twist;
    ownMapThirds<T>(src, dst, count, [t](T a, T b, T c, T* results) {
        const double x = a;
        const double y = b;
        const double z = c;
        for (ptrdiff_t k = 0; k < 3; ++k) {
            const double* row = t.rows[k];
            const double sum = row[0] * x + row[1] * y + row[2] * z + row[3];
            const bool below = sum < t.low;
            const bool above = sum >= t.high;
            const auto inside = static_cast<int32_t>(below || above ? 0.0 : sum) + t.offset;
            results[k] = static_cast<T>(below ? t.below : above ? t.above : inside);
        }
    });
}

constexpr OwnTwistTable table = {
    {packed<uint8_t>, packed<uint16_t>},
    {floating<uint8_t>, floating<uint16_t>},
};

} // namespace

template <> const OwnTwistTable& ownRowTable<OwnTwist, OWN_ISA>() { return table; }
