#include "alpha/composite.h"
#include "alpha/full_scale.h"
#include "frame/kernels.h"

#include <cstring>

namespace {

// What an image gives of its colour.
template <OwnTier tier, OwnShare share, class T>
OwnParts<T> shareOf(OwnParts<T> colour, OwnParts<T> otherOpacity) {
    if constexpr (share == OwnShare::whole)
        return colour;
    else if constexpr (share == OwnShare::covered)
        return ownProduct(colour, otherOpacity);
    else if constexpr (tier == OwnTier::packed)
        return ownProduct(colour, otherOpacity.missing());
    else
        return ownDifference(colour, ownProduct(colour, otherOpacity));
}

template <class T, OwnTier tier, bool premultiplied, int32_t type> struct Kernel {
    static constexpr OwnOperator op = ownOperators[type];
    using Parts = OwnParts<T>;

    static void colour(const char* colourA, const char* alphaA, const char* colourB,
                       const char* alphaB, char* dst, ptrdiff_t count) {
        if constexpr (premultiplied && op.ofA == OwnShare::whole && op.ofB == OwnShare::whole) {
            ownSumRun<T>(colourA, colourB, dst, count);
            return;
        }
        const auto of = [](Parts cA, Parts a, Parts cB, Parts b) {
            if constexpr (!premultiplied) {
                cA = ownProduct(cA, a);
                cB = ownProduct(cB, b);
            }
            const Parts fromA = shareOf<tier, op.ofA>(cA, b);
            if constexpr (op.ofB == OwnShare::none)
                return fromA;
            else
                return ownSum(fromA, shareOf<tier, op.ofB>(cB, a));
        };
        ownWordRun<T>(dst, count, of, colourA, alphaA, colourB, alphaB);
    }

    static void opacity(const char*, const char* a, const char*, const char* b, char* dst,
                        ptrdiff_t count) {
        if constexpr (op.opacityIsB)
            memmove(dst, b, static_cast<size_t>(count) * sizeof(T));
        else
            Kernel<T, tier, true, type>::colour(a, a, b, b, dst, count);
    }
};

template <class T, OwnTier tier, int32_t... type> constexpr OwnCompositeTable tableOf() {
    return {{{Kernel<T, tier, false, type>::colour...}, {Kernel<T, tier, true, type>::colour...}},
            {Kernel<T, tier, true, type>::opacity...}};
}

template <class T, OwnTier tier>
constexpr OwnCompositeTable allOf = tableOf<T, tier, 0, 1, 2, 3, 4, 5>();

constexpr OwnIntegerTables tables = {
    {{allOf<uint8_t, OwnTier::integer>, allOf<uint8_t, OwnTier::packed>},
     {allOf<uint16_t, OwnTier::integer>, allOf<uint16_t, OwnTier::packed>}}};

} // namespace

template <> const OwnIntegerTables& ownRowTable<OwnIntegerComposite, OWN_ISA>() { return tables; }
