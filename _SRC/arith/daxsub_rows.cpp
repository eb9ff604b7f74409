#include "arith/pair_rows.h"
#include "arith/saturate.h"

namespace {

struct Subtract {
    static uint32_t bits(uint32_t a, uint32_t b) { return a & ~b; }
    template <class T> static T sample(T a, T b) { return ownSaturatedDifference(a, b); }
};

constexpr OwnPairTable table = ownPairTable<Subtract>();

} // namespace

template <> const OwnPairTable& ownRowTable<OwnSubtract, OWN_ISA>() { return table; }
