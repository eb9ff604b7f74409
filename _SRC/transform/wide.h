// For row kernels only: vectors as wide as the instruction set has them, in sums and products that
// read like those of single numbers; and the transposition of four by four.
#ifndef OWN_WIDE_H
#define OWN_WIDE_H

#include "frame/lanes.h"

#include <cstddef>
#include <cstdint>

namespace {

#if defined(__AVX512F__)
constexpr size_t ownWideBytes = 64;
#elif defined(__AVX2__)
constexpr size_t ownWideBytes = 32;
#else
constexpr size_t ownWideBytes = 16;
#endif

typedef double OwnWide __attribute__((vector_size(ownWideBytes)));
typedef float OwnWideFloat __attribute__((vector_size(ownWideBytes / 2)));

// As many numbers as one has, in memory at any address.
template <class V, class T> OWN_INLINE V ownLoad(const T* from) {
    V value;
    __builtin_memcpy(&value, from, sizeof(value));
    return value;
}

template <class V, class T> OWN_INLINE void ownStore(T* to, const V& value) {
    __builtin_memcpy(to, &value, sizeof(value));
}

typedef float OwnFloat4 __attribute__((vector_size(16)));
typedef int32_t OwnInt4 __attribute__((vector_size(16)));
typedef double OwnDouble4 __attribute__((vector_size(32)));
typedef float OwnFloat8 __attribute__((vector_size(32)));
typedef int32_t OwnInt8 __attribute__((vector_size(32)));
typedef double OwnDouble8 __attribute__((vector_size(64)));

// Vectors in arrays, since nothing of more than a register goes by value.
template <class V> OWN_INLINE void ownTranspose(V (&r)[4]) {
    const V a = __builtin_shufflevector(r[0], r[1], 0, 4, 1, 5);
    const V b = __builtin_shufflevector(r[0], r[1], 2, 6, 3, 7);
    const V c = __builtin_shufflevector(r[2], r[3], 0, 4, 1, 5);
    const V d = __builtin_shufflevector(r[2], r[3], 2, 6, 3, 7);
    r[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    r[1] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    r[2] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    r[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}

} // namespace

#endif
