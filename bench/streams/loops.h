// Plain loops over so many read and write streams. They are compiled once per instruction set, with
// the options of the library's row kernels.
#ifndef BENCH_STREAMS_LOOPS_H
#define BENCH_STREAMS_LOOPS_H

#include <cstddef>

namespace bench {

inline constexpr size_t mostReads = 5;
inline constexpr size_t mostWrites = 2;

using Loop = void (*)(const char* const* reads, char* const* writes, size_t bytes);

// By number of reads and number of writes.
struct Loops {
    Loop at[mostReads + 1][mostWrites + 1];
};

namespace OwnBaseline {
extern const Loops loops;
}
namespace OwnAvx2 {
extern const Loops loops;
}
namespace OwnAvx512 {
extern const Loops loops;
}

} // namespace bench

#endif
