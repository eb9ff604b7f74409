#include "arith/single_rows.h"

namespace {

struct ShiftLeft {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }
    template <class T> static T sample(T a, int32_t nShift) {
        return static_cast<T>(uint32_t{a} << nShift);
    }
};

constexpr OwnSingleTable table = ownSingleWordTable<ShiftLeft>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnLShiftS, OWN_ISA>() { return table; }
