#include "arith/single_rows.h"

namespace {

struct OrConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a | pattern; }

    template <class T, class Use> static void with(int32_t pattern, Use use) {
        use([lane = static_cast<T>(pattern)](T a) { return static_cast<T>(a | lane); });
    }
};

constexpr OwnSingleTable table = ownSingleWordTable<OrConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnOrS, OWN_ISA>() { return table; }
