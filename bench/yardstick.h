// What the memory allows: the plainest work on the same number of bytes.
#ifndef BENCH_YARDSTICK_H
#define BENCH_YARDSTICK_H

#include "cases.h"

#include <vector>

namespace bench {

struct Yardstick {
    // The fastest plain loop with the same read and write streams, over all instruction sets that
    // the processor has (and memset, where nothing is read).
    Task stream;
    // memcpy moving the same number of bytes; where nothing is read, memset.
    Task copy;
};

Yardstick yardstickFor(const std::vector<Use>& images, int side);

} // namespace bench

#endif
