// The six operators, each by what it takes of its two images, and the kernels that follow from
// them.
#ifndef OWN_COMPOSITE_H
#define OWN_COMPOSITE_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// What an operator takes of an image: nothing, all, or as much as the other's opacity, or what is
// missing of it to full scale, lets through.
enum class OwnShare : int32_t { none, whole, covered, uncovered };

struct OwnOperator {
    OwnShare ofA;
    OwnShare ofB;
    bool opacityIsB; // as it stands, and not as the sum of the shares
};

// By DAX_COMPOSITE_...: over, in, out, atop, xor, plus.
inline constexpr OwnOperator ownOperators[6] = {
    {OwnShare::whole, OwnShare::uncovered, false},
    {OwnShare::covered, OwnShare::none, false},
    {OwnShare::uncovered, OwnShare::none, false},
    {OwnShare::covered, OwnShare::uncovered, true},
    {OwnShare::uncovered, OwnShare::uncovered, false},
    {OwnShare::whole, OwnShare::whole, false},
};

// Whether the opacity of A, or of B, has a part in the colour.
constexpr bool ownNeedsA(const OwnOperator& op, bool premultiplied) {
    return !premultiplied || op.ofB == OwnShare::uncovered;
}
constexpr bool ownNeedsB(const OwnOperator& op, bool premultiplied) {
    return (!premultiplied && op.ofB != OwnShare::none) || op.ofA == OwnShare::covered ||
           op.ofA == OwnShare::uncovered;
}

// Runs of colours with an opacity beside each sample: dst = share of A + share of B. The opacity of
// the result is the same sum, of opacities that count as premultiplied.
using OwnCompositeRun = void (*)(const char* colourA, const char* alphaA, const char* colourB,
                                 const char* alphaB, char* dst, ptrdiff_t count);

// The arithmetics of the sums. They differ in the last bit.
enum class OwnTier : int32_t { integer, packed, floating };

struct OwnCompositeTable {
    OwnCompositeRun colour[2][6]; // by premultiplication and operator
    OwnCompositeRun opacity[6];   // colours aren't read
};

// By depth (8 bits, 16 bits).
struct OwnIntegerTables {
    OwnCompositeTable at[2][2]; // and by tier
};
struct OwnFloatingTables {
    OwnCompositeTable at[2];
};

struct OwnIntegerComposite {
    using Table = OwnIntegerTables;
};
struct OwnFloatingComposite {
    using Table = OwnFloatingTables;
};

#endif
