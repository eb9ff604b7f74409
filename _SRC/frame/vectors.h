// For row kernels only: the compiler's vector types and intrinsics, for the few loops that the
// compiler can't turn into what they need.
#ifndef OWN_VECTORS_H
#define OWN_VECTORS_H

#if defined(__SSE2__)
// The header has an idiom of its own for a register whose content doesn't matter.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
#endif

#endif
