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
#if defined(__clang__)
#define OWN_EACH_ALONE _Pragma("clang loop vectorize(assume_safety)")
#else
#define OWN_EACH_ALONE _Pragma("GCC ivdep")
#endif

namespace {

template <class T> const OwnLaneOf<T>* ownLanes(const char* data) {
    return reinterpret_cast<const OwnLaneOf<T>*>(data);
}

template <class T> OwnLaneOf<T>* ownLanes(char* data) {
    return reinterpret_cast<OwnLaneOf<T>*>(data);
}

} // namespace

#endif
