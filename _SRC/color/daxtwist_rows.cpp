#include "color/daxtwist.h"
#include "color/thirds.h"

namespace {

int32_t limited(int32_t value, int32_t low, int32_t high) {
    return value < low ? low : value > high ? high : value;
}

// The sums wrap as 32 bits do.
template <class T>
void packed(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
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
