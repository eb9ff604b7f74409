#include "arith/constant_sum.h"

namespace {

struct AddConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a | pattern; }

    template <class T, class Use> static void with(int32_t value, Use use) {
        ownWithSum<T>(value, use);
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        ownSumRun<T>(src, dst, count, value);
    }
};

constexpr OwnSingleTable table = ownSingleTable<AddConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnAddS, OWN_ISA>() { return table; }
