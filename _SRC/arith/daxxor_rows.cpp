#include "arith/pair_rows.h"

namespace {

struct Xor {
    static uint32_t bits(uint32_t a, uint32_t b) { return a ^ b; }
    template <class T> static T sample(T a, T b) { return static_cast<T>(a ^ b); }
};

constexpr OwnPairTable table = ownPairWordTable<Xor>();

} // namespace

template <> const OwnPairTable& ownRowTable<OwnXor, OWN_ISA>() { return table; }
