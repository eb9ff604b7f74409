// The clock of the bench, made for machines that have other work as well: it counts the processor
// time of the program, so that nothing is charged to a case while others have the processor, and it
// times things that are to be compared in turns.
#ifndef BENCH_CLOCK_H
#define BENCH_CLOCK_H

#include "cases.h"

#include <vector>

namespace bench {

class Turns {
public:
    explicit Turns(std::vector<Task> tasks);

    // Takes turns for so many seconds, at least three. Fast tasks run several times to one reading
    // of the clock.
    void run(double atLeast = 0.105);

    // The median time of one run of a task, in seconds.
    double seconds(size_t task);

private:
    struct Contender {
        Task task;
        long batch;
        std::vector<double> times;
    };
    std::vector<Contender> contenders;
};

} // namespace bench

#endif
