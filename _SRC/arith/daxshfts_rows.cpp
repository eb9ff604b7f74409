#include "arith/word_shift.h"

#include <type_traits>

namespace {

// A sample alone is shifted by the count modulo 32. Signed samples are extended to 32 bits and
// shifted as words of bits, those of 32 bits as numbers.
template <class T> T shifted(T a, int32_t nShift) {
    const int32_t count = nShift & 31;
    if constexpr (sizeof(T) == 4)
        return a >> count;
    else
        return static_cast<T>(static_cast<uint32_t>(int32_t{a}) >> count);
}

struct ShiftRight {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }

    template <class T, class Use> static void with(int32_t nShift, Use use) {
        use([nShift](T a) { return shifted(a, nShift); });
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count,
                     int32_t nShift) requires(sizeof(T) < 4) {
        constexpr int32_t width = sizeof(T) * 8;
        if (static_cast<uint32_t>(nShift) < width) {
            words<T>(src, dst, count, nShift);
        } else if constexpr (std::is_unsigned_v<T>) {
            // In blocks, lanes of 16 bits are shifted, and a count beyond them leaves nothing.
            constexpr ptrdiff_t block = sizeof(T) == 1 ? 16 : 32;
            ownMapSplitRun<T>(
                src, dst, count, block, [nShift](T a) { return shifted(a, nShift); },
                [](T) { return T{0}; });
        } else {
            with<T>(nShift, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
        }
    }

private:
    template <class T>
    static void words(const char* src, char* dst, ptrdiff_t count, int32_t nShift) {
        using U = std::make_unsigned_t<T>;
        const uint32_t kept = ownInAllLanes<T>(static_cast<U>(~U{0}) >> nShift);
        const auto lane = [nShift](T a) { return shifted(a, nShift); };
        if constexpr (std::is_unsigned_v<T>) {
            ownMapWords<T>(
                src, dst, count, [=](uint32_t a) { return a >> nShift & kept; }, lane);
        } else {
            // The bits above the shifted sign are the sign's next power up to the lane's end, less
            // its next power.
            const uint32_t sign =
                kept & ~(kept >> 1 & ownInAllLanes<T>(static_cast<U>(~U{0}) >> 1));
            ownMapWords<T>(
                src, dst, count,
                [=](uint32_t a) {
                    const uint32_t bare = a >> nShift & kept;
                    const uint32_t signs = bare & sign;
                    return bare | ((signs << nShift << 1) - (signs << 1));
                },
                lane);
        }
    }
};

constexpr OwnSingleTable table = ownSingleTable<ShiftRight>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnRShiftS, OWN_ISA>() { return table; }
