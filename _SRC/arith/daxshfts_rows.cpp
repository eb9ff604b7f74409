#include "arith/single_rows.h"

#include <type_traits>

namespace {

// A sample alone is shifted by the count modulo 32. Signed samples are extended to 32 bits and
// shifted as words of bits, those of 32 bits as numbers.
struct ShiftRight {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }

    template <class T> static T sample(T a, int32_t nShift) {
        const int32_t count = nShift & 31;
        if constexpr (sizeof(T) == 4)
            return a >> count;
        else
            return static_cast<T>(static_cast<uint32_t>(int32_t{a}) >> count);
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count,
                     int32_t nShift) requires std::is_unsigned_v<T> {
        // In blocks, lanes of 16 bits are shifted: a count beyond them leaves nothing.
        constexpr ptrdiff_t block = sizeof(T) == 1 ? 16 : 32;
        const auto ends = [nShift](T a) { return sample(a, nShift); };
        if (static_cast<uint32_t>(nShift) >= 16)
            ownMapSplitRun<T>(src, dst, count, block, ends, [](T) { return T{0}; });
        else
            ownMapSplitRun<T>(src, dst, count, block, ends,
                              [nShift](T a) { return static_cast<T>(a >> nShift); });
    }
};

constexpr OwnSingleTable table = ownSingleTable<ShiftRight>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnRShiftS, OWN_ISA>() { return table; }
