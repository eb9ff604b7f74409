#include "loops.h"

namespace bench::OWN_ISA {

namespace {

typedef unsigned long long Lane __attribute__((aligned(1), may_alias));

// Not the same byte throughout, so that no compiler makes the fill a memset.
constexpr unsigned long long seed = 0x0123456789ABCDEFu;

template <size_t reads, size_t writes>
void stream(const char* const* from, char* const* to, size_t bytes) {
    const Lane* in[reads + 1];
    Lane* out[writes + 1];
    for (size_t k = 0; k < reads; ++k) in[k] = reinterpret_cast<const Lane*>(from[k]);
    for (size_t k = 0; k < writes; ++k) out[k] = reinterpret_cast<Lane*>(to[k]);
    const size_t count = bytes / sizeof(Lane);
    unsigned long long sum = 0;
#if defined(__clang__)
#pragma clang loop vectorize(assume_safety)
#else
#pragma GCC ivdep
#endif
    for (size_t i = 0; i < count; ++i) {
        unsigned long long value = seed;
        for (size_t k = 0; k < reads; ++k) value ^= in[k][i];
        for (size_t k = 0; k < writes; ++k) out[k][i] = value;
        if (writes == 0) sum ^= value;
    }
    if (writes == 0) __asm__ volatile("" : : "r"(sum));
}

} // namespace

const Loops loops = {{{nullptr, stream<0, 1>, stream<0, 2>},
                      {stream<1, 0>, stream<1, 1>, stream<1, 2>},
                      {stream<2, 0>, stream<2, 1>, stream<2, 2>},
                      {stream<3, 0>, stream<3, 1>, stream<3, 2>},
                      {stream<4, 0>, stream<4, 1>, stream<4, 2>},
                      {stream<5, 0>, stream<5, 1>, stream<5, 2>}}};

} // namespace bench::OWN_ISA
