// Memory that all runs share, so that no case begins with pages that were never touched.
#ifndef BENCH_MEMORY_H
#define BENCH_MEMORY_H

#include <cstddef>

namespace bench {

// How far past a cache line the blocks begin. daxAllocateImage makes large images begin 16 bytes
// past a page on Linux, since that is where the heap's large blocks begin.
inline size_t blockOffset = 0;

// Block number `slot`, with at least so many bytes, for something that writes into it. No two
// blocks begin at the same place of a page. A larger request than any before may move the block.
char* block(size_t slot, size_t bytes);

// The same, full of noise: no processor can foresee what the samples will be.
char* noise(size_t slot, size_t bytes);

} // namespace bench

#endif
