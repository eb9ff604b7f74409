#include "alpha/composite.h"
#include "frame/kernels.h"
#include "frame/lanes.h"

#include <bit>
#include <cstring>

namespace {

// In 8 bits the fractions are steps of a 32-bit float: full opacity is slightly more than 1.
template <class T>
constexpr double step = sizeof(T) == 1 ? double{std::bit_cast<float>(0x3B808081)} : 1.0 / 65535.0;

// Half of the square of a step. Colours of an opacity up to there aren't divided.
template <class T>
constexpr double threshold = sizeof(T) == 1 ? double{std::bit_cast<float>(0x37010183)}
                                            : 0.5 / (65535.0 * 65535.0);

template <class T> constexpr double most = sizeof(T) == 1 ? 255.0 : 65535.0;

// Rounded by the 32-bit float that has only whole numbers left in this range.
template <class T> T stored(double value) {
    const auto rounded = static_cast<float>(8388608.0 + value);
    const uint32_t whole = std::bit_cast<uint32_t>(rounded) & 0x7FFFFF;
    constexpr auto limit = static_cast<uint32_t>(most<T>);
    return static_cast<T>(whole < limit ? whole : limit);
}

// The next two choose by bits: compilers make branches of any other choice between 64-bit floats,
// and then a loop isn't vector code.

// The opacity, or 1 where it is next to nothing.
template <class T> double divisor(double opacity) {
    const uint64_t mask = -static_cast<uint64_t>(opacity > threshold<T>);
    return std::bit_cast<double>((std::bit_cast<uint64_t>(opacity) & mask) |
                                 (std::bit_cast<uint64_t>(1.0) & ~mask));
}

// Positive floats are in the order of their bits, and negative ones are below them.
template <class T> double limited(double value) {
    const auto bits = std::bit_cast<int64_t>(value);
    constexpr auto limit = std::bit_cast<int64_t>(most<T>);
    return std::bit_cast<double>(bits < limit ? bits : limit);
}

template <OwnShare share> double shareOf(double colour, double otherOpacity) {
    if constexpr (share == OwnShare::whole)
        return colour;
    else if constexpr (share == OwnShare::covered)
        return colour * otherOpacity;
    else
        return colour * (1.0 - otherOpacity);
}

template <class T, bool premultiplied, int32_t type> struct Kernel {
    static constexpr OwnOperator op = ownOperators[type];

    static double sum(double cA, double a, double cB, double b) {
        if constexpr (op.ofB == OwnShare::none)
            return shareOf<op.ofA>(cA, b);
        else
            return shareOf<op.ofA>(cA, b) + shareOf<op.ofB>(cB, a);
    }
    static double opacityOf(double a, double b) {
        if constexpr (op.opacityIsB)
            return b;
        else
            return sum(a, a, b, b);
    }

    static void colour(const char* colourA, const char* alphaA, const char* colourB,
                       const char* alphaB, char* dst, ptrdiff_t count) {
        const auto* x = ownLanes<T>(colourA);
        const auto* y = ownLanes<T>(colourB);
        const auto* ofX = ownLanes<T>(alphaA);
        const auto* ofY = ownLanes<T>(alphaB);
        auto* z = ownLanes<T>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) {
            const double a = ofX[i] * step<T>;
            const double b = ofY[i] * step<T>;
            const double cA = premultiplied ? x[i] : x[i] * a;
            const double cB = premultiplied ? y[i] : y[i] * b;
            z[i] = stored<T>(limited<T>(sum(cA, a, cB, b) / divisor<T>(opacityOf(a, b))));
        }
    }

    static void opacity(const char*, const char* alphaA, const char*, const char* alphaB, char* dst,
                        ptrdiff_t count) {
        const auto* x = ownLanes<T>(alphaA);
        const auto* y = ownLanes<T>(alphaB);
        auto* z = ownLanes<T>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i)
            z[i] = stored<T>(opacityOf(x[i] * step<T>, y[i] * step<T>) * most<T>);
    }
};

template <class T, int32_t... type> constexpr OwnCompositeTable tableOf() {
    return {{{Kernel<T, false, type>::colour...}, {Kernel<T, true, type>::colour...}},
            {Kernel<T, true, type>::opacity...}};
}

constexpr OwnFloatingTables tables = {
    {tableOf<uint8_t, 0, 1, 2, 3, 4, 5>(), tableOf<uint16_t, 0, 1, 2, 3, 4, 5>()}};

} // namespace

template <> const OwnFloatingTables& ownRowTable<OwnFloatingComposite, OWN_ISA>() { return tables; }
