// For row kernels only: the parts of a flat run. The samples before the destination's first address
// that is a multiple of 8 and those after the last whole block from there on are taken one by one;
// some kernels do there what they don't do to a block.
#ifndef OWN_RUN_ENDS_H
#define OWN_RUN_ENDS_H

#include <cstddef>
#include <cstdint>

namespace {

// Calls `ends(first, count)` and `body(first, count)` for the parts of a run; all numbers are
// bytes.
template <class Ends, class Body>
void ownSplitRun(const char* dst, ptrdiff_t count, ptrdiff_t sample, ptrdiff_t block, Ends ends,
                 Body body) {
    const ptrdiff_t before =
        static_cast<ptrdiff_t>(-reinterpret_cast<uintptr_t>(dst) & 7) / sample * sample;
    const ptrdiff_t head = count < before ? count : before;
    const ptrdiff_t blocks = (count - head) / block * block;
    ends(0, head);
    body(head, blocks);
    ends(head + blocks, count - head - blocks);
}

} // namespace

#endif
