#include "filter/extremes.h"
#include "frame/lanes.h"

namespace {

struct Largest {
    template <class T> static T of(T a, T b) { return a < b ? b : a; }
};

struct Smallest {
    template <class T> static T of(T a, T b) { return b < a ? b : a; }
};

struct AnyBit {
    template <class T> static T of(T a, T b) { return static_cast<T>(a | b); }
};

struct AllBits {
    template <class T> static T of(T a, T b) { return static_cast<T>(a & b); }
};

template <class Op, class T, int32_t sources>
void mergeRuns(const char* const* src, char* dst, ptrdiff_t cells) {
    const auto* a = ownLanes<T>(src[0]);
    const auto* b = ownLanes<T>(src[sources > 1 ? 1 : 0]);
    const auto* c = ownLanes<T>(src[sources > 2 ? 2 : 0]);
    const auto* d = ownLanes<T>(src[sources > 3 ? 3 : 0]);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < cells; ++i) {
        T best = a[i];
        if constexpr (sources > 1) best = Op::template of<T>(best, b[i]);
        if constexpr (sources > 2) best = Op::template of<T>(best, c[i]);
        if constexpr (sources > 3) best = Op::template of<T>(best, d[i]);
        z[i] = best;
    }
}

template <class Op, class T>
void merge(const char* const* src, int32_t sources, char* dst, ptrdiff_t cells) {
    switch (sources) {
    case 1: mergeRuns<Op, T, 1>(src, dst, cells); break;
    case 2: mergeRuns<Op, T, 2>(src, dst, cells); break;
    case 3: mergeRuns<Op, T, 3>(src, dst, cells); break;
    default: mergeRuns<Op, T, 4>(src, dst, cells); break;
    }
}

template <class Op, class T>
void carry(const char* src, char* kept, const char* other, char* dst, ptrdiff_t cells) {
    const auto* a = ownLanes<T>(src);
    const auto* b = ownLanes<T>(other);
    auto* k = ownLanes<T>(kept);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < cells; ++i) {
        const T best = Op::template of<T>(k[i], a[i]);
        k[i] = best;
        z[i] = Op::template of<T>(best, b[i]);
    }
}

template <class Bits> void slideBits(const char* src, ptrdiff_t shift, char* dst, ptrdiff_t bytes) {
    const OwnByteShift later(static_cast<int32_t>(shift & 7));
    const auto* a = ownLanes<uint64_t>(src);
    const auto* b = ownLanes<uint64_t>(src + (shift >> 3));
    const auto* c = ownLanes<uint64_t>(src + (shift >> 3) + 1);
    auto* z = ownLanes<uint64_t>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < (bytes + 7) / 8; ++i)
        z[i] = Bits::template of<uint64_t>(a[i], later(b[i], c[i]));
}

template <class Bits> void spreadBits(const char* src, char* dst, ptrdiff_t bytes) {
    constexpr uint64_t ones = 0x0101010101010101u;
    const auto* at = ownLanes<uint64_t>(src);
    const auto* before = ownLanes<uint64_t>(src - 1);
    const auto* after = ownLanes<uint64_t>(src + 1);
    auto* z = ownLanes<uint64_t>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < bytes / 8; ++i) {
        const uint64_t x = at[i];
        const uint64_t left = (x >> 1 & ones * 0x7F) | (before[i] << 7 & ones * 0x80);
        const uint64_t right = (x << 1 & ones * 0xFE) | (after[i] >> 7 & ones);
        z[i] = Bits::template of<uint64_t>(Bits::template of<uint64_t>(left, right), x);
    }
    const auto* byte = reinterpret_cast<const uint8_t*>(src);
    for (ptrdiff_t i = bytes / 8 * 8; i < bytes; ++i) {
        const uint32_t left = uint32_t{byte[i]} >> 1 | uint32_t{byte[i - 1]} << 7;
        const uint32_t right = uint32_t{byte[i]} << 1 | uint32_t{byte[i + 1]} >> 7;
        const uint32_t both = Bits::template of<uint32_t>(left, right);
        dst[i] = static_cast<char>(Bits::template of<uint32_t>(both, byte[i]));
    }
}

template <class Op, class T> constexpr OwnExtremeLines lines() {
    return {merge<Op, T>, carry<Op, T>};
}

template <class Op, class Bits> constexpr OwnExtremeTable tableOf() {
    return {{lines<Op, uint8_t>(), lines<Op, int8_t>(), lines<Op, uint16_t>(), lines<Op, int16_t>(),
             lines<Op, int32_t>(), lines<Bits, uint8_t>()},
            slideBits<Bits>,
            spreadBits<Bits>};
}

constexpr OwnExtremeTable largest = tableOf<Largest, AnyBit>();
constexpr OwnExtremeTable smallest = tableOf<Smallest, AllBits>();

} // namespace

template <> const OwnExtremeTable& ownRowTable<OwnLargest, OWN_ISA>() { return largest; }
template <> const OwnExtremeTable& ownRowTable<OwnSmallest, OWN_ISA>() { return smallest; }
