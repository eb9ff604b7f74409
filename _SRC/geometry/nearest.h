// The nearest whole number of a double, ties to even, as the processor rounds by default.
#ifndef OWN_NEAREST_H
#define OWN_NEAREST_H

#include <cmath>
#include <cstdint>

namespace {

// Below 2^51 in size. The sum has no room for a fraction; unlike the library's functions the
// compiler makes vector code of it for every instruction set.
[[maybe_unused]] inline double ownNearestWhole(double value) {
    constexpr double big = 6755399441055744.0; // 1.5 times 2^52
    return (value + big) - big;
}

// Below 2^22 in size.
[[maybe_unused]] inline float ownNearestWhole(float value) {
    constexpr float big = 12582912; // 1.5 times 2^23
    return (value + big) - big;
}

[[maybe_unused]] inline int64_t ownNearest(double value) { return llrint(value); }

// The whole part of a position that isn't negative, with a tolerance for what rounding took away.
[[maybe_unused]] inline int64_t ownFloor(double value) { return llrint((value + 0.00001) - 0.5); }

} // namespace

#endif
