#include "color/ownreduce.h"
#include "frame/top_bits.h"

namespace {

template <class Src, class Dst, class Of>
void run(const char* src, char* dst, ptrdiff_t count, Of of) {
    const auto* x = ownLanes<Src>(src);
    auto* z = ownLanes<Dst>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = static_cast<Dst>(of(x[i]));
}

void from32To16(const char* src, char* dst, ptrdiff_t count) {
    run<int32_t, uint16_t>(src, dst, count, [](int32_t v) { return v >> 16; });
}

void from32To8(const char* src, char* dst, ptrdiff_t count) {
#if defined(__AVX512BW__)
    // The compiler narrows each vector on its own, which takes half as long again.
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    for (; count >= 64; count -= 64, src += 256, dst += 64) {
        __m512i x[4];
        for (ptrdiff_t k = 0; k < 4; ++k)
            x[k] = _mm512_srai_epi32(_mm512_loadu_si512(src + 64 * k), 23);
        const __m512i bytes =
            _mm512_packus_epi16(_mm512_packs_epi32(x[0], x[1]), _mm512_packs_epi32(x[2], x[3]));
        _mm512_storeu_si512(dst, _mm512_permutexvar_epi32(order, bytes));
    }
#endif
    run<int32_t, uint8_t>(src, dst, count, [](int32_t v) { return v < 0 ? 0 : v >> 23; });
}

void from16To8(const char* src, char* dst, ptrdiff_t count) {
    run<uint16_t, uint8_t>(src, dst, count, [](uint16_t v) { return v >> 8; });
}

constexpr OwnReduceTable table = {from32To16, from32To8, from16To8, ownPackTopBits};

} // namespace

template <> const OwnReduceTable& ownRowTable<OwnReduce, OWN_ISA>() { return table; }
