#include "arith/pair_rows.h"
#include "arith/saturate.h"

namespace {

struct Add {
    static uint32_t bits(uint32_t a, uint32_t b) { return a | b; }
    template <class T> static T sample(T a, T b) { return ownSaturatedSum(a, b); }
};

constexpr OwnPairTable table = ownPairTable<Add>();

} // namespace

template <> const OwnPairTable& ownRowTable<OwnAdd, OWN_ISA>() { return table; }
