#include "tone/daxthres.h"

#include "frame/lanes.h"

#include <limits>

namespace {

// Calls `map(of)`, with of(a) the result for a sample. A threshold beyond the depth's range is
// brought into it, as far as one does the same.
template <class T, class Map> void withThreshold(int32_t threshold, Map map) {
    constexpr T low = std::numeric_limits<T>::min();
    constexpr T high = std::numeric_limits<T>::max();
    if (threshold > high)
        map([](T) { return low; });
    else
        map([least = threshold < low ? low : static_cast<T>(threshold)](T a) {
            return a < least ? low : high;
        });
}

template <class T> void line(const char* src, char* dst, ptrdiff_t count, int32_t threshold) {
    withThreshold<T>(threshold, [=](auto of) {
        const auto* x = ownLanes<T>(src);
        auto* z = ownLanes<T>(dst);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i) z[i] = of(T{x[i]});
    });
}

template <class T>
void strided(const char* src, char* dst, ptrdiff_t count, ptrdiff_t stepSrc, ptrdiff_t stepDst,
             int32_t threshold) {
    withThreshold<T>(threshold, [=](auto of) {
        for (ptrdiff_t i = 0; i < count; ++i)
            *ownLanes<T>(dst + i * stepDst) = of(T{*ownLanes<T>(src + i * stepSrc)});
    });
}

template <class T> constexpr OwnSingleRow row() { return {line<T>, strided<T>}; }

constexpr OwnThresholdTable table = {
    {row<uint8_t>(), row<int8_t>(), row<uint16_t>(), row<int16_t>(), row<int32_t>()}};

} // namespace

template <> const OwnThresholdTable& ownRowTable<OwnThreshold, OWN_ISA>() { return table; }
