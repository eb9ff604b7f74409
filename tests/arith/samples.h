// What the one-image operations make of a sample, one after the other and in wide numbers.
#ifndef ARITH_SAMPLES_H
#define ARITH_SAMPLES_H

#include "kit/image.h"

#include <algorithm>
#include <climits>

namespace samples {

// Constants outside the range of unsigned samples are cut in flat runs, and otherwise in their
// blocks than at their ends. Samples of a channel among others are taken alone.
enum class Place { alone, end, block };

// The place of sample `i` of a flat run: blocks, of a number of bytes, start at a multiple of 8.
inline Place placeOf(const uint8_t* dst, int64_t i, int64_t count, int64_t size, int64_t block) {
    const auto before = static_cast<int64_t>(-reinterpret_cast<uintptr_t>(dst) & 7) / size;
    const int64_t head = std::min(count, before);
    const int64_t inBlocks = (count - head) * size / block * block / size;
    return i < head || i >= head + inBlocks ? Place::end : Place::block;
}

inline int64_t limited(int64_t exact, int32_t depth) {
    return std::clamp(exact, kit::leastOf(depth), kit::mostOf(depth));
}

// The low 16 or 32 bits as a signed number.
inline int64_t signed16(int64_t x) { return static_cast<int16_t>(static_cast<uint16_t>(x)); }
inline int64_t signed32(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(x)); }

// Products at the ends of a run of 16 bits are compared as signed numbers.
inline int64_t endProduct(int64_t product) { return std::min<int64_t>(signed32(product), 0xFFFF); }

// All take a sample, the constant, the depth and the place. Of a result that is wider than the
// depth the low bits count.
using Function = int64_t(int64_t a, int64_t v, int32_t depth, Place place);

inline int64_t addS(int64_t a, int64_t v, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_1U) return a | (v & 1);
    if (depth == DAX_DEPTH_8U && place != Place::alone) return limited(signed16(a + v), depth);
    if (depth == DAX_DEPTH_16U && place == Place::end) return limited(signed32(a + v), depth);
    if (depth == DAX_DEPTH_16U && place == Place::block)
        return limited(v < 0 ? a - (-v & 0xFFFF) : a + (v & 0xFFFF), depth);
    return limited(a + v, depth);
}

inline int64_t subtractS(int64_t a, int64_t v, int32_t depth, Place place) {
    return depth == DAX_DEPTH_1U ? a & ~v & 1 : addS(a, -v, depth, place);
}

inline int64_t subtractFromS(int64_t a, int64_t v, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_1U) return v & ~a & 1;
    if (depth == DAX_DEPTH_8U && place != Place::alone) return limited(signed16(v - a), depth);
    if (depth == DAX_DEPTH_16U && place == Place::block && v >= 0) v &= 0xFFFF;
    return limited(v - a, depth);
}

inline int64_t multiplyS(int64_t a, int64_t v, int32_t depth, Place place) {
    const int64_t factor = static_cast<uint32_t>(v);
    if (depth == DAX_DEPTH_1U) return a & v & 1;
    if (depth == DAX_DEPTH_8U && place == Place::end) return limited(signed16(a * factor), depth);
    if (depth == DAX_DEPTH_16U && place == Place::end) return endProduct(a * factor);
    const bool cut = place == Place::block && !kit::isSigned(depth);
    return limited(a * (cut ? factor & kit::mostOf(depth) : factor), depth);
}

inline int64_t square(int64_t a, int64_t, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_16U && place == Place::end) return endProduct(a * a);
    return limited(a * a, depth);
}

inline int64_t absolute(int64_t a, int64_t, int32_t, Place) { return a < 0 ? -a : a; }

inline int64_t andS(int64_t a, int64_t v, int32_t, Place) { return a & v; }

inline int64_t orS(int64_t a, int64_t v, int32_t depth, Place) {
    return depth == DAX_DEPTH_1U ? (a | v) & 1 : a | v;
}

inline int64_t xorS(int64_t a, int64_t v, int32_t depth, Place) {
    return depth == DAX_DEPTH_1U ? (a ^ v) & 1 : a ^ v;
}

inline int64_t lShiftS(int64_t a, int64_t v, int32_t depth, Place) {
    const auto count = static_cast<uint32_t>(v);
    return count >= static_cast<uint32_t>(kit::bitsOf(depth)) ? 0 : a * (int64_t{1} << count);
}

inline int64_t rShiftS(int64_t a, int64_t v, int32_t depth, Place place) {
    const auto count = static_cast<uint32_t>(v);
    if (depth == DAX_DEPTH_1U) return count == 0 ? a : 0;
    if (depth == DAX_DEPTH_32S) return a >> (count & 31);
    if (!kit::isSigned(depth) && place == Place::block && count >= 16) return 0;
    return static_cast<uint32_t>(a) >> (count & 31);
}

// A constant of any size, those about the ends of the depths' ranges often.
inline int32_t anyConstant(kit::Random& random) {
    if (random.chance(30)) return random.in(-300, 300);
    if (random.chance(40)) return random.in(INT_MIN, INT_MAX);
    const int32_t base = random.oneOf({0, 128, 255, 256, 32768, 65535, 65536, 1 << 24, INT_MIN});
    const int64_t near = (random.chance(50) ? -int64_t{base} : base) + random.in(-1, 1);
    return static_cast<int32_t>(near);
}

} // namespace samples

#endif
