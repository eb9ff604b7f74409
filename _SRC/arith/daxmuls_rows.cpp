#include "arith/saturate.h"
#include "arith/single_rows.h"

#include <limits>
#include <type_traits>

namespace {

// The factor is unsigned in every depth.
struct MultiplyConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }

    template <class T> static T sample(T a, int32_t value) {
        return ownClamp<T>(int64_t{a} * static_cast<uint32_t>(value));
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        const auto factor = static_cast<uint32_t>(value);
        if constexpr (std::is_same_v<T, uint8_t>) {
            // Blocks take 8 bits of the factor, the ends 16 and a signed product.
            const auto lane = static_cast<uint8_t>(factor);
            const auto word = static_cast<uint16_t>(factor);
            ownMapSplitRun<T>(
                src, dst, count, 16,
                [word](T a) {
                    return ownClamp<T>(
                        static_cast<int16_t>(static_cast<uint16_t>(uint32_t{a} * word)));
                },
                [lane](T a) { return ownSaturatedProduct(a, lane); });
        } else if constexpr (std::is_same_v<T, uint16_t>) {
            // Blocks take 16 bits of the factor, the ends all of it.
            const auto lane = static_cast<uint16_t>(factor);
            ownMapSplitRun<T>(
                src, dst, count, 8, [factor](T a) { return ownEndProduct(a, factor); },
                [lane](T a) { return ownSaturatedProduct(a, lane); });
        } else {
            // A factor of the size of the range limits every sample but 0, and so does any above
            // it.
            using Wide = std::conditional_t<sizeof(T) == 1, int16_t,
                                            std::conditional_t<sizeof(T) == 2, int32_t, int64_t>>;
            constexpr auto range = static_cast<uint32_t>(std::numeric_limits<T>::max()) + 1;
            const auto lane = static_cast<Wide>(factor < range ? factor : range);
            ownMapRun<T>(src, dst, count,
                         [lane](T a) { return ownClamp<T>(static_cast<Wide>(a * lane)); });
        }
    }
};

constexpr OwnSingleTable table = ownSingleTable<MultiplyConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnMultiplyS, OWN_ISA>() { return table; }
