#include "filter/pack.h"
#include "filter/separable.h"
#include "frame/bit_lanes.h"
#include "frame/lanes.h"

#include <limits>

namespace {

template <class From, class To>
void store(const void* from, char* dst, ptrdiff_t, ptrdiff_t width, int32_t shift) {
    const auto* x = static_cast<const From*>(from);
    auto* z = ownLanes<To>(dst);
    constexpr bool narrows = sizeof(From) > sizeof(To);
    constexpr int64_t least = std::numeric_limits<To>::min();
    constexpr int64_t most = std::numeric_limits<To>::max();
    // A shift by the width of narrow sums, or by more, leaves their sign.
    constexpr int32_t most16 = sizeof(From) == 2 ? 15 : 31;
    const int32_t by = shift < most16 ? shift : most16;
    const int32_t rest = shift > most16 ? 1 : 0;
    ptrdiff_t done = 0;
    if constexpr (sizeof(From) == 2 && std::numeric_limits<From>::is_signed)
        done = packRun<To>(x, dst, width, by);
    OWN_EACH_ALONE
    for (ptrdiff_t i = done; i < width; ++i) {
        auto value = static_cast<From>(x[i] >> by);
        // Unsigned sums of 16 bits have one bit more.
        value = static_cast<From>(value >> rest);
        if constexpr (narrows && std::numeric_limits<From>::is_signed)
            value = value > static_cast<From>(least) ? value : static_cast<From>(least);
        if constexpr (narrows)
            value = value < static_cast<From>(most) ? value : static_cast<From>(most);
        z[i] = static_cast<To>(value);
    }
}

template <class From>
void storeBits(const void* from, char* dst, ptrdiff_t bit, ptrdiff_t width, int32_t shift) {
    const auto* x = static_cast<const From*>(from);
    for (ptrdiff_t i = 0; i < width;) {
        const ptrdiff_t phase = (bit + i) & 7;
        const ptrdiff_t count = width - i < 8 - phase ? width - i : 8 - phase;
        uint32_t bits = 0;
        for (ptrdiff_t k = 0; k < count; ++k)
            bits |= (int32_t{x[i + k]} >> shift > 0 ? 0x80u : 0u) >> k;
        ownMergeBits(dst + ((bit + i) >> 3), static_cast<int32_t>(phase), count, bits);
        i += count;
    }
}

constexpr OwnSeparableTable table = {
    {storeBits<int16_t>, store<int16_t, uint8_t>, store<int16_t, int8_t>},
    {storeBits<uint16_t>, store<uint16_t, uint8_t>, store<uint16_t, int8_t>},
    storeBits<int32_t>,
    {store<int32_t, uint8_t>, store<int32_t, int8_t>, store<int32_t, uint16_t>,
     store<int32_t, int16_t>, store<int32_t, int32_t>},
};

} // namespace

template <> const OwnSeparableTable& ownRowTable<OwnSeparableRows, OWN_ISA>() { return table; }
