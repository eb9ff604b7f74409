// What the sums of a blur are multiplied by.

#include "filter/blur.h"
#include "filter/blur_bytes.h"

// Of samples of 8 bits the sum s of n is exact in single precision. With f the scale, 1 / n times 1
// + e, the mean of a sum that is no multiple of n is further from a whole number than all errors
// together, 3 * 256 / 2^24. Of a multiple, q * n, the product with f is q or more if e isn't
// negative, and so is the rounded one; else it is below q, and so is the rounded product with the
// number next to f.
OwnBlurScale ownBlurScale(int64_t count) {
    const auto scale = static_cast<float>(1.0 / static_cast<double>(count));
    OwnBlurScale result = {static_cast<double>(scale), 0};
    if (count <= ownMostBlurBytes) {
        const bool below = static_cast<double>(scale) * static_cast<double>(count) < 1.0;
        result.single = below ? __builtin_nextafterf(scale, 0.0f) : scale;
    }
    return result;
}

// Of unsigned samples of 8 bits the mean of a sum s is floor(s / n), or, with a scale below 1 / n,
// one less than ceil(s / n), but 0 for 0. With f = (1 + e) / n a float next to 1 / n and not the
// same, |e| <= 2^-24, and m = 2^23 + r the multiple of n with r < n,
//     (m + s) * f - m / n = (s + (m + s) * e) / n.
// (m + s) * e is less than 1, since m + s is less than 2^24; it is positive with e, and so it is
// with a negative e when 1 is added to it and s. So the whole part is floor(s / n), with n - 1
// added to s ceil(s / n), and nothing is left of it that a whole number is. The kernels round it
// once, with a power of 2 added that brings the whole part to fixed bits: down, or, less 1/2, to
// the nearest. All that they add is a float.
OwnBlurMean ownBlurMean(int64_t count, bool isSigned) {
    if (isSigned) return {ownBlurScale(count).single, 0, 0, 0};
    constexpr uint32_t first = 1u << 23;
    constexpr uint32_t firstBits = 150u << 23;
    const auto n = static_cast<uint32_t>(count);
    const auto scale = static_cast<float>(1.0 / static_cast<double>(count));
    const double product = static_cast<double>(scale) * static_cast<double>(count);
    const uint32_t quotient = (first + n - 1) / n;
    OwnBlurMean mean = {product == 1.0 ? __builtin_nextafterf(scale, 0.0f) : scale,
                        static_cast<float>(quotient), firstBits + (quotient * n - first),
                        product < 1.0};
    if (product <= 1.0) ++mean.base;
    if (mean.down != 0) mean.base += n - 1;
    return mean;
}
