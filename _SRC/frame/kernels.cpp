#include "frame/kernels.h"

namespace {

OwnIsa isaInUse = OwnIsa::baseline;

// After the platform's own initialisation and before any initialiser of the program.
__attribute__((constructor(101))) void chooseIsa() { isaInUse = ownBestIsa(); }

} // namespace

OwnIsa ownBestIsa() {
#if OWN_HAS_X86_TABLES
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
        __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma")) {
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
            __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
            return OwnIsa::avx512;
        return OwnIsa::avx2;
    }
#endif
    return OwnIsa::baseline;
}

OwnIsa ownIsa() { return isaInUse; }

void ownUseIsa(OwnIsa isa) { isaInUse = isa; }
