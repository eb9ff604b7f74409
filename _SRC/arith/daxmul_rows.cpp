#include "arith/pair_rows.h"
#include "arith/saturate.h"

namespace {

struct Multiply {
    static uint32_t bits(uint32_t a, uint32_t b) { return a & b; }
    template <class T> static T sample(T a, T b) { return ownSaturatedProduct(a, b); }
};

constexpr OwnPairTable table = ownPairTable<Multiply>();

} // namespace

template <> const OwnPairTable& ownRowTable<OwnMultiply, OWN_ISA>() { return table; }
