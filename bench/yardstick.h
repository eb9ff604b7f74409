// What the memory allows: the times of the plainest work on the same number of bytes.
#ifndef BENCH_YARDSTICK_H
#define BENCH_YARDSTICK_H

#include "cases.h"

#include <chrono>
#include <vector>

namespace bench {

// Seconds.
struct Yardstick {
    // The fastest plain loop with the same read and write streams, over all instruction sets that
    // the processor has (and memset, where nothing is read).
    double stream;
    // memcpy moving the same number of bytes; where nothing is read, memset.
    double copy;
};

// Measured anew when the last measurement of the same shape is some seconds old: on a machine with
// other work, only neighbours in time can be compared.
Yardstick yardstick(const std::vector<Use>& images, int side);

inline double now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double>& values);

} // namespace bench

#endif
