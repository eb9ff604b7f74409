#include "geometry/owndecim.h"

#include "frame/kernels.h"
#include "frame/lanes.h"

namespace {

template <class T>
void pick(const char* src, ptrdiff_t step, char* dst, ptrdiff_t stepDst, ptrdiff_t count) {
    constexpr ptrdiff_t size = sizeof(T);
    const auto* x = ownLanes<T>(src);
    auto* z = ownLanes<T>(dst);
    if (stepDst == size && step == 2 * size) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i * 2];
    } else if (stepDst == size && step == 3 * size) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i * 3];
    } else if (stepDst == size && step == 4 * size) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i * 4];
    } else {
        for (ptrdiff_t i = 0; i < count; ++i)
            *ownLanes<T>(dst + i * stepDst) = *ownLanes<T>(src + i * step);
    }
}

template <class T> void take(const char* src, const OwnDecimateTaps& taps, int32_t* row) {
    for (ptrdiff_t i = 0; i < taps.count; ++i) row[i] = *ownLanes<T>(src + taps.at[i]);
}

template <class T> void takeLinear(const char* src, const OwnDecimateTaps& taps, int32_t* row) {
    for (ptrdiff_t i = 0; i < taps.count; ++i) {
        const char* at = src + taps.at[i];
        const int32_t a = *ownLanes<T>(at);
        const int32_t b = *ownLanes<T>(at + taps.distance);
        row[i] = (256 - taps.part[i]) * a + taps.part[i] * b;
    }
}

// The cubic through four numbers, in 1/6 of them, between the second and the third. It wraps.
int32_t cubicOf(int32_t first, int32_t second, int32_t third, int32_t fourth, int32_t part) {
    const auto m = static_cast<uint32_t>(first);
    const auto p = static_cast<uint32_t>(second);
    const auto q = static_cast<uint32_t>(third);
    const auto r = static_cast<uint32_t>(fourth);
    const auto f = static_cast<uint32_t>(part);
    const uint32_t f2 = f * f >> 8;
    const uint32_t f3 = f * f * f >> 16;
    const uint32_t t =
        (6 * q - 2 * m - 3 * p - r) * f + 3 * (m - 2 * p + q) * f2 + (3 * p - m - 3 * q + r) * f3;
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int32_t>(t) >> 8) + 6 * p);
}

template <class T> void takeCubic(const char* src, const OwnDecimateTaps& taps, int32_t* row) {
    for (ptrdiff_t i = 0; i < taps.count; ++i) {
        const char* at = src + taps.at[i];
        row[i] = cubicOf(*ownLanes<T>(at), *ownLanes<T>(at + taps.distance),
                         *ownLanes<T>(at + 2 * taps.distance), *ownLanes<T>(at + 3 * taps.distance),
                         taps.part[i]);
    }
}

template <class T, int32_t shift>
void mixLinearBy(const int32_t* const* rows, int32_t part, char* dst, ptrdiff_t stepDst,
                 ptrdiff_t count) {
    const int32_t* upper = rows[0];
    const int32_t* lower = rows[1];
    const auto f = static_cast<uint32_t>(part);
    const auto valueOf = [&](ptrdiff_t i) {
        const uint32_t sum =
            (256 - f) * static_cast<uint32_t>(upper[i]) + f * static_cast<uint32_t>(lower[i]);
        return static_cast<T>(((sum >> shift) + 1) >> 1);
    };
    auto* z = ownLanes<T>(dst);
    if (stepDst == sizeof(T)) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = valueOf(i);
    } else {
        for (ptrdiff_t i = 0; i < count; ++i) *ownLanes<T>(dst + i * stepDst) = valueOf(i);
    }
}

template <class T>
void mixLinear(const int32_t* const* rows, int32_t part, bool ofLinear, char* dst,
               ptrdiff_t stepDst, ptrdiff_t count) {
    const auto mix = ofLinear ? mixLinearBy<T, 15> : mixLinearBy<T, 7>;
    mix(rows, part, dst, stepDst, count);
}

template <class T, int32_t divisor>
void mixCubicBy(const int32_t* const* rows, int32_t part, char* dst, ptrdiff_t stepDst,
                ptrdiff_t count) {
    constexpr int32_t most = static_cast<T>(-1);
    const int32_t* r0 = rows[0];
    const int32_t* r1 = rows[1];
    const int32_t* r2 = rows[2];
    const int32_t* r3 = rows[3];
    const auto valueOf = [&](ptrdiff_t i) {
        const int32_t value = cubicOf(r0[i], r1[i], r2[i], r3[i], part) / divisor;
        return static_cast<T>(value < 0 ? 0 : value > most ? most : value);
    };
    auto* z = ownLanes<T>(dst);
    if (stepDst == sizeof(T)) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = valueOf(i);
    } else {
        for (ptrdiff_t i = 0; i < count; ++i) *ownLanes<T>(dst + i * stepDst) = valueOf(i);
    }
}

template <class T>
void mixCubic(const int32_t* const* rows, int32_t part, bool ofCubic, char* dst, ptrdiff_t stepDst,
              ptrdiff_t count) {
    const auto mix = ofCubic ? mixCubicBy<T, 36> : mixCubicBy<T, 6>;
    mix(rows, part, dst, stepDst, count);
}

constexpr OwnDecimateTable table = {
    {pick<uint8_t>, pick<uint16_t>},
    {take<uint8_t>, take<uint16_t>},
    {takeLinear<uint8_t>, takeLinear<uint16_t>},
    {takeCubic<uint8_t>, takeCubic<uint16_t>},
    {mixLinear<uint8_t>, mixLinear<uint16_t>},
    {mixCubic<uint8_t>, mixCubic<uint16_t>},
};

} // namespace

template <> const OwnDecimateTable& ownRowTable<OwnDecimate, OWN_ISA>() { return table; }
