#include "arith/constant_sum.h"

namespace {

struct AddConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a | pattern; }
    template <class T> static T sample(T a, int32_t value) {
        return ownClamp<T>(int64_t{a} + value);
    }
    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        ownSumRun<T>(src, dst, count, value);
    }
};

constexpr OwnSingleTable table = ownSingleTable<AddConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnAddS, OWN_ISA>() { return table; }
