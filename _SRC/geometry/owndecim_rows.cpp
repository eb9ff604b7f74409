#include "geometry/owndecim.h"

#include "frame/kernels.h"
#include "frame/lanes.h"

#include <type_traits>

namespace {

// Weights of the cubic sum up to less than 1728 in size, so that what comes of samples of 8 bits
// fits 16 even when it is 6 times as large; linear ones are never negative.
template <class T> using CubicLane = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;
template <class T> using LinearLane = std::make_unsigned_t<CubicLane<T>>;

template <class T> void take(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    const auto* x = ownLanes<T>(taps.samples);
    auto* z = ownLanes<LinearLane<T>>(lanes);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[i];
}

template <class T> void takeLinear(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    using Lane = LinearLane<T>;
    const auto* a = ownLanes<T>(taps.samples);
    const auto* b = ownLanes<T>(taps.samples + taps.step);
    // The weights of two samples sum up to 256.
    const int16_t* w = taps.weights + taps.stepWeights;
    auto* z = ownLanes<Lane>(lanes);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<Lane>((static_cast<uint32_t>(a[i]) << 8) +
                                 static_cast<uint16_t>(w[i]) *
                                     (static_cast<uint32_t>(b[i]) - static_cast<uint32_t>(a[i])));
}

// The cubic through four numbers, in 1/6 of them, between the second and the third. In 32 bits it
// wraps.
template <class Lane>
int32_t cubicOf(Lane m, Lane p, Lane q, Lane r, int16_t wm, int16_t wp, int16_t wq, int16_t wr) {
    using Sum = std::conditional_t<sizeof(Lane) == 2, int32_t, uint32_t>;
    const auto product = [](Lane a, int16_t b) {
        return static_cast<Sum>(a) * static_cast<Sum>(b);
    };
    const Sum t = product(m, wm) + product(p, wp) + product(q, wq) + product(r, wr);
    return static_cast<int32_t>(static_cast<Sum>(static_cast<int32_t>(t) >> 8) + product(p, 6));
}

template <class T> void takeCubic(const OwnDecimateTaps& taps, char* lanes, ptrdiff_t count) {
    using Lane = CubicLane<T>;
    const auto* m = ownLanes<T>(taps.samples);
    const auto* p = ownLanes<T>(taps.samples + taps.step);
    const auto* q = ownLanes<T>(taps.samples + 2 * taps.step);
    const auto* r = ownLanes<T>(taps.samples + 3 * taps.step);
    const int16_t* w = taps.weights;
    const ptrdiff_t next = taps.stepWeights;
    auto* z = ownLanes<Lane>(lanes);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<Lane>(cubicOf<Lane>(m[i], p[i], q[i], r[i], w[i], w[i + next],
                                               w[i + 2 * next], w[i + 3 * next]));
}

template <class T>
void mixLinear(const char* const* rows, const int16_t* weights, bool ofLinear, char* dst,
               ptrdiff_t count) {
    const auto* upper = ownLanes<LinearLane<T>>(rows[0]);
    const auto* lower = ownLanes<LinearLane<T>>(rows[1]);
    const auto w = static_cast<uint32_t>(weights[1]);
    const int32_t shift = ofLinear ? 15 : 7;
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = static_cast<T>(
            ((((uint32_t{upper[i]} << 8) + w * (uint32_t{lower[i]} - upper[i])) >> shift) + 1) >>
            1);
}

// A 36th or a 6th, cut to the range of samples.
template <class T, int32_t divisor> T partOf(int32_t value) {
    value = value < 0 ? 0 : value;
    if constexpr (sizeof(T) == 1) {
        // Below 2^16; exact there.
        const uint32_t product = static_cast<uint32_t>(value) * (divisor == 6 ? 43691 : 58255);
        value = static_cast<int32_t>(product >> (divisor == 6 ? 18 : 21));
    } else {
        // Below 2^24: exact as a float, and the quotient rounds up to no whole number.
        value = static_cast<int32_t>(static_cast<float>(value) / divisor);
    }
    constexpr int32_t most = static_cast<T>(-1);
    return static_cast<T>(value > most ? most : value);
}

template <class T, int32_t divisor>
void mixCubicBy(const char* const* rows, const int16_t* weights, char* dst, ptrdiff_t count) {
    using Lane = CubicLane<T>;
    const auto* r0 = ownLanes<Lane>(rows[0]);
    const auto* r1 = ownLanes<Lane>(rows[1]);
    const auto* r2 = ownLanes<Lane>(rows[2]);
    const auto* r3 = ownLanes<Lane>(rows[3]);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i)
        z[i] = partOf<T, divisor>(cubicOf<Lane>(r0[i], r1[i], r2[i], r3[i], weights[0], weights[1],
                                                weights[2], weights[3]));
}

template <class T>
void mixCubic(const char* const* rows, const int16_t* weights, bool ofCubic, char* dst,
              ptrdiff_t count) {
    const auto mix = ofCubic ? mixCubicBy<T, 36> : mixCubicBy<T, 6>;
    mix(rows, weights, dst, count);
}

constexpr OwnDecimateTable table = {
    {take<uint8_t>, take<uint16_t>},           {takeLinear<uint8_t>, takeLinear<uint16_t>},
    {takeCubic<uint8_t>, takeCubic<uint16_t>}, {mixLinear<uint8_t>, mixLinear<uint16_t>},
    {mixCubic<uint8_t>, mixCubic<uint16_t>},
};

} // namespace

template <> const OwnDecimateTable& ownRowTable<OwnDecimate, OWN_ISA>() { return table; }
