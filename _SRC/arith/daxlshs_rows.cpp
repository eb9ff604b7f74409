#include "arith/word_shift.h"

namespace {

// The count is below the width of the samples.
struct ShiftLeft {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }

    template <class T, class Use> static void with(int32_t nShift, Use use) {
        use([nShift](T a) { return static_cast<T>(uint32_t{a} << nShift); });
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t nShift) {
        const uint32_t kept = ownInAllLanes<T>(0xFFFFFFFFu << nShift);
        with<T>(nShift, [&](auto lane) {
            ownMapWords<T>(
                src, dst, count, [=](uint32_t a) { return a << nShift & kept; }, lane);
        });
    }
};

constexpr OwnSingleTable table = ownSingleWordTable<ShiftLeft>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnLShiftS, OWN_ISA>() { return table; }
