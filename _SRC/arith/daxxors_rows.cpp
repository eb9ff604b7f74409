#include "arith/single_rows.h"

namespace {

struct XorConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a ^ pattern; }
    template <class T> static T sample(T a, int32_t pattern) {
        return static_cast<T>(a ^ static_cast<T>(pattern));
    }
};

constexpr OwnSingleTable table = ownSingleWordTable<XorConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnXorS, OWN_ISA>() { return table; }
