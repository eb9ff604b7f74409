#include "arith/products.h"
#include "arith/run_ends.h"
#include "arith/single_rows.h"

#include <type_traits>

namespace {

// Calls use(of), of(a) being the sample times the factor, which is unsigned in every depth.
template <class T, class Use> void withProduct(uint32_t factor, Use use) {
    if (factor <= static_cast<uint32_t>(ownMost<T>))
        use([lane = static_cast<T>(factor)](T a) { return ownSaturatedProduct(a, lane); });
    else // all but 0 come to an end of the range
        use([](T a) { return a < T{1} ? a < T{0} ? ownLeast<T> : T{0} : ownMost<T>; });
}

struct MultiplyConstant {
    static uint32_t bits(uint32_t a, uint32_t pattern) { return a & pattern; }

    template <class T, class Use> static void with(int32_t value, Use use) {
        withProduct<T>(static_cast<uint32_t>(value), use);
    }

    template <class T>
    static void line(const char* src, char* dst, ptrdiff_t count, int32_t value) {
        const auto factor = static_cast<uint32_t>(value);
        if constexpr (std::is_same_v<T, uint8_t>) {
            // Blocks take 8 bits of the factor, the ends 16 and a signed product.
            const auto word = static_cast<uint16_t>(factor);
            split<T>(src, dst, count, 16, factor, [word](T a) {
                return ownClamp<T>(static_cast<int16_t>(static_cast<uint16_t>(uint32_t{a} * word)));
            });
        } else if constexpr (std::is_same_v<T, uint16_t>) {
            // Blocks take 16 bits of the factor, the ends all of it.
            split<T>(src, dst, count, 8, factor,
                     [factor](T a) { return ownEndProduct(a, factor); });
        } else if (ownHolds<T>(factor)) {
            ownProductRun<T>(src, static_cast<T>(factor), dst, count);
        } else {
            withProduct<T>(factor, [&](auto of) { ownMapRun<T>(src, dst, count, of); });
        }
    }

private:
    template <class T, class Ends>
    static void split(const char* src, char* dst, ptrdiff_t count, ptrdiff_t block, uint32_t factor,
                      Ends ends) {
        constexpr ptrdiff_t size = sizeof(T);
        ownSplitRun(
            dst, count * size, size, block,
            [=](ptrdiff_t first, ptrdiff_t n) {
                ownMapRun<T>(src + first, dst + first, n / size, ends);
            },
            [=](ptrdiff_t first, ptrdiff_t n) {
                ownProductRun<T>(src + first, static_cast<T>(factor), dst + first, n / size);
            });
    }
};

constexpr OwnSingleTable table = ownSingleTable<MultiplyConstant>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnMultiplyS, OWN_ISA>() { return table; }
