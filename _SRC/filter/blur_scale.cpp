// What the sums of a blur are multiplied by.

#include "filter/blur.h"
#include "filter/blur_words.h"

namespace {

// The largest count of pixels for which the means of samples of 8 bits come out in single
// precision, see ownBlurScale().
constexpr int64_t mostForSingle = 21845;

} // namespace

// Of samples of 8 bits the sum s of n is exact in single precision. With f the scale, 1 / n times 1
// + e, the mean of a sum that is no multiple of n is further from a whole number than all errors
// together, 3 * 256 / 2^24. Of a multiple, q * n, the product with f is q or more if e isn't
// negative, and so is the rounded one; else it is below q, and so is the rounded product with the
// number next to f.
OwnBlurScale ownBlurScale(int64_t count) {
    const auto scale = static_cast<float>(1.0 / static_cast<double>(count));
    OwnBlurScale result = {static_cast<double>(scale), 0};
    if (count <= mostForSingle) {
        const bool below = static_cast<double>(scale) * static_cast<double>(count) < 1.0;
        result.single = below ? __builtin_nextafterf(scale, 0.0f) : scale;
    }
    return result;
}

// For sums of unsigned samples of 8 bits that fit 16 bits. Of such a sum s, up to 255 * n, the mean
// is floor(s / n), or, with a scale below 1 / n, ceil(s / n) - 1, the floor of (s - 1) / n. With
// the factor 2^k / n rounded up by e / n, floor(s * factor / 2^k) is floor(s / n) while 255 * n * e
// is less than 2^k; rounded down by d / n, floor((s + 1) * factor / 2^k) is, while (255 * n + 1) *
// d is no more than 2^k.
OwnBlurQuotient ownBlurQuotient(int64_t count) {
    OwnBlurQuotient result = {0, 0, 0, 0};
    if (count < 2 || count > UINT16_MAX / 255) return result;
    const auto n = static_cast<uint32_t>(count);
    uint64_t power = 1u << 16;
    while (power << 1 <= uint64_t{UINT16_MAX} * n) {
        power <<= 1;
        ++result.shift;
    }
    const auto below = static_cast<uint32_t>(power % n); // d
    const uint32_t above = below == 0 ? 0 : n - below;   // e
    const auto down = static_cast<uint16_t>(power / n);
    if (uint64_t{255} * n * above < power) {
        result.factor = static_cast<uint16_t>(above == 0 ? down : down + 1);
    } else if ((uint64_t{255} * n + 1) * below <= power) {
        result.factor = down;
        result.up = 1;
    }
    const auto scale = static_cast<float>(1.0 / static_cast<double>(count));
    if (static_cast<double>(scale) * static_cast<double>(count) < 1.0) result.down = 1;
    if (result.up == result.down) result.up = result.down = 0;
    return result;
}
