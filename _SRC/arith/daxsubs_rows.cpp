#include "arith/constant_sum.h"

namespace {

struct SubtractConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & ~pattern; }

    template <class T, class Use> static void with(int32_t value, Use use) {
        ownWithSum<T>(-int64_t{value}, use);
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        ownSumRun<T>(src, dst, count, -int64_t{value});
    }
};

struct SubtractFromConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return pattern & ~a; }

    template <class T, class Use> static void with(int32_t value, Use use) {
        ownWithDifference<T>(value, use);
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        ownDifferenceRun<T>(src, dst, count, value);
    }
};

constexpr OwnSingleTable subtract = ownSingleTable<SubtractConstant>();
constexpr OwnSingleTable subtractFrom = ownSingleTable<SubtractFromConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnSubtractS, OWN_ISA>() { return subtract; }

template <> const OwnSingleTable& ownRowTable<OwnSubtractFromS, OWN_ISA>() { return subtractFrom; }
