// From a depth constant to the sample type that it names.
#ifndef OWN_DEPTH_H
#define OWN_DEPTH_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

constexpr int32_t ownDepthBits(int32_t depth) { return depth & 0x7FFFFFFF; }

constexpr bool ownDepthKnown(int32_t depth) {
    return depth == DAX_DEPTH_1U || depth == DAX_DEPTH_8U || depth == DAX_DEPTH_8S ||
           depth == DAX_DEPTH_16U || depth == DAX_DEPTH_16S || depth == DAX_DEPTH_32S;
}

// Bytes of a sample; 1 for the bitonal depth.
constexpr ptrdiff_t ownSampleBytes(int32_t depth) {
    return depth == DAX_DEPTH_1U ? 1 : ownDepthBits(depth) / 8;
}

// The place of a depth of 8 bits or more in a table of kernels: 8U, 8S, 16U, 16S, 32S.
constexpr int32_t ownDepthIndex(int32_t depth) {
    const int32_t narrow = ownDepthBits(depth) / 16 * 2;
    return narrow < 4 ? narrow + (depth < 0 ? 1 : 0) : 4;
}

// Stands for a sample type where a function object is called with one.
template <class T> struct OwnType { using type = T; };

// Calls `use(OwnType<T>{})` with the sample type of a depth of 8 bits or more; any other depth
// calls nothing.
template <class Use> void ownWithSampleType(int32_t depth, Use use) {
    switch (depth) {
    case DAX_DEPTH_8U: use(OwnType<uint8_t>{}); break;
    case DAX_DEPTH_8S: use(OwnType<int8_t>{}); break;
    case DAX_DEPTH_16U: use(OwnType<uint16_t>{}); break;
    case DAX_DEPTH_16S: use(OwnType<int16_t>{}); break;
    case DAX_DEPTH_32S: use(OwnType<int32_t>{}); break;
    default: break;
    }
}

// The same by the width alone, for operations to which a sample is a word of bits.
template <class Use> void ownWithSampleWidth(int32_t depth, Use use) {
    switch (ownDepthBits(depth)) {
    case 8: use(OwnType<uint8_t>{}); break;
    case 16: use(OwnType<uint16_t>{}); break;
    case 32: use(OwnType<uint32_t>{}); break;
    default: break;
    }
}

#endif
