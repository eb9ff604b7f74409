#include "arith/products.h"
#include "arith/run_ends.h"
#include "arith/single_rows.h"

#include <type_traits>

namespace {

struct Square {
    static uint32_t bits(uint32_t a, uint32_t) { return a; }

    template <class T, class Use> static void with(int32_t, Use use) {
        use([](T a) { return ownSaturatedProduct(a, a); });
    }

    template <class T> static void line(const char* src, char* dst, ptrdiff_t count, int32_t) {
        if constexpr (std::is_same_v<T, uint16_t>)
            ownMapSplitRun<T>(
                src, dst, count, 8, [](T a) { return ownEndProduct(a, a); },
                [](T a) { return ownSaturatedProduct(a, a); });
        else
            ownProductRun<T>(src, src, dst, count);
    }
};

constexpr OwnSingleTable table = ownSingleTable<Square>();

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnSquare, OWN_ISA>() { return table; }
