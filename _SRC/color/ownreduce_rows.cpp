#include "color/bits.h"
#include "color/ownreduce.h"

namespace {

template <class Src, class Dst, class Of>
void run(const char* src, char* dst, ptrdiff_t count, Of of) {
    const auto* x = ownLanes<Src>(src);
    auto* z = ownLanes<Dst>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = static_cast<Dst>(of(x[i]));
}

void from32To16(const char* src, char* dst, ptrdiff_t count) {
    run<int32_t, uint16_t>(src, dst, count, [](int32_t v) { return v >> 16; });
}

void from32To8(const char* src, char* dst, ptrdiff_t count) {
    run<int32_t, uint8_t>(src, dst, count, [](int32_t v) { return v < 0 ? 0 : v >> 23; });
}

void from16To8(const char* src, char* dst, ptrdiff_t count) {
    run<uint16_t, uint8_t>(src, dst, count, [](uint16_t v) { return v >> 8; });
}

constexpr OwnReduceTable table = {from32To16, from32To8, from16To8, ownPackTopBits};

} // namespace

template <> const OwnReduceTable& ownRowTable<OwnReduce, OWN_ISA>() { return table; }
