#include "arith/single_rows.h"

#include <type_traits>

namespace {

// The most negative sample has no counterpart and stays what it is.
struct Abs {
    template <class T, class Use> static void with(int32_t, Use use) {
        use([](T a) {
            using U = std::make_unsigned_t<T>;
            const U sign = a < 0 ? static_cast<U>(~U{0}) : U{0};
            return static_cast<T>(static_cast<U>(static_cast<U>(a) + sign) ^ sign);
        });
    }
};

constexpr OwnSingleTable table = {{{},
                                   ownSingleRow<Abs, int8_t>(),
                                   {},
                                   ownSingleRow<Abs, int16_t>(),
                                   ownSingleRow<Abs, int32_t>()},
                                  nullptr,
                                  nullptr};

} // namespace

template <> const OwnSingleTable& ownRowTable<OwnAbs, OWN_ISA>() { return table; }
