// For row kernels only: how they reach samples. All here has internal linkage or none, so that the
// copies that the instruction sets compile never meet.
#ifndef OWN_LANES_H
#define OWN_LANES_H

#include <cstddef>
#include <cstdint>

// A sample in an image's data: at any address, and whatever type the caller has given the memory.
template <class T> struct OwnLane { typedef T __attribute__((aligned(1), may_alias)) type; };

template <class T> using OwnLaneOf = typename OwnLane<T>::type;

// Before a loop whose destination is a source at the same place or none at all: no iteration waits
// for another.
// Sanitizers take loops apart, and the promise has no place left.
#if defined(__clang__)
#define OWN_EACH_ALONE _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OWN_EACH_ALONE
#else
#define OWN_EACH_ALONE _Pragma("GCC ivdep")
#endif

#define OWN_INLINE inline __attribute__((always_inline))

namespace {

template <class T> const OwnLaneOf<T>* ownLanes(const char* data) {
    return reinterpret_cast<const OwnLaneOf<T>*>(data);
}

template <class T> OwnLaneOf<T>* ownLanes(char* data) {
    return reinterpret_cast<OwnLaneOf<T>*>(data);
}

// Samples at a distance, from and to a block where they lie side by side. The distances of three
// and four samples have loops of their own, which the compiler turns into shuffles.
template <class T> void ownGather(const char* src, ptrdiff_t step, T* block, ptrdiff_t count) {
    constexpr ptrdiff_t size = sizeof(T);
    const auto* x = ownLanes<T>(src);
    if (step == 3 * size)
        for (ptrdiff_t i = 0; i < count; ++i) block[i] = x[i * 3];
    else if (step == 4 * size)
        for (ptrdiff_t i = 0; i < count; ++i) block[i] = x[i * 4];
    else
        for (ptrdiff_t i = 0; i < count; ++i) block[i] = *ownLanes<T>(src + i * step);
}

template <class T> void ownScatter(const T* block, char* dst, ptrdiff_t step, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) *ownLanes<T>(dst + i * step) = block[i];
}

constexpr ptrdiff_t ownStridedBlock = 256; // samples

// Bytes shifted side by side in words: what a shift carries over from the neighbour is masked out.
// Lanes of 8 bits have no shifts of their own.
struct OwnByteShift {
    int32_t left;
    int32_t right;
    uint64_t leftMask;
    uint64_t rightMask;

    // Gives the bytes `phase` bits on, from words a byte apart.
    explicit OwnByteShift(int32_t phase)
        : left(phase), right(8 - phase), leftMask((0xFFu << phase & 0xFF) * 0x0101010101010101u),
          rightMask((0xFFu >> (8 - phase)) * 0x0101010101010101u) {}

    uint64_t operator()(uint64_t bytes, uint64_t next) const {
        return (bytes << left & leftMask) | (next >> right & rightMask);
    }
};

} // namespace

#endif
