#include "arith/pair_rows.h"
#include "arith/products.h"
#include "arith/run_ends.h"

#include <type_traits>

namespace {

struct Multiply {
    static uint32_t bits(uint32_t a, uint32_t b) { return a & b; }

    template <class T> static T sample(T a, T b) { return ownSaturatedProduct(a, b); }

    template <class T> static void line(const char* a, const char* b, char* dst, ptrdiff_t count) {
        if constexpr (std::is_same_v<T, uint16_t>) {
            constexpr ptrdiff_t size = sizeof(T);
            ownSplitRun(
                dst, count * size, size, 8,
                [=](ptrdiff_t first, ptrdiff_t n) {
                    ownCombineRun<T>(a + first, b + first, dst + first, n / size, ownEndProduct);
                },
                [=](ptrdiff_t first, ptrdiff_t n) {
                    ownProductRun<T>(a + first, b + first, dst + first, n / size);
                });
        } else {
            ownProductRun<T>(a, b, dst, count);
        }
    }
};

constexpr OwnPairTable table = ownPairTable<Multiply>();

} // namespace

template <> const OwnPairTable& ownRowTable<OwnMultiply, OWN_ISA>() { return table; }
