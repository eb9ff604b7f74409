#include "clock.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

namespace bench {

namespace {

// A reading takes some tenths of a microsecond.
constexpr double leastReading = 50e-6;

double now() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double timeOf(const Task& task, long times) {
    const double begin = now();
    for (long k = 0; k < times; ++k) task();
    return (now() - begin) / static_cast<double>(times);
}

} // namespace

Turns::Turns(std::vector<Task> tasks) {
    for (Task& task : tasks) {
        task();
        const double once = std::max(timeOf(task, 1), 1e-9);
        contenders.push_back(
            {std::move(task), static_cast<long>(std::ceil(leastReading / once)), {}});
    }
}

void Turns::run(double atLeast) {
    const double begin = now();
    for (int turn = 0; turn < 3 || now() - begin < atLeast; ++turn)
        for (Contender& one : contenders) one.times.push_back(timeOf(one.task, one.batch));
}

double Turns::seconds(size_t task) {
    std::vector<double>& times = contenders[task].times;
    const auto middle = times.begin() + static_cast<ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

} // namespace bench
