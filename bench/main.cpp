// Times every operation beside memcpy, beside the plainest loop over the same bytes and beside
// other libraries. Options are those of Google Benchmark, chiefly --benchmark_filter=<regular
// expression>, and --offset=<bytes>: how far past a cache line the images begin.

#include "cases.h"
#include "memory.h"
#include "table.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    // An iteration takes a tenth of a second and finds its own medians, so one is enough.
    char enough[] = "--benchmark_min_time=0.1";
    std::vector<char*> options(argv, argv + argc);
    options.insert(options.begin() + 1, enough);
    int count = static_cast<int>(options.size());
    benchmark::Initialize(&count, options.data());
    constexpr std::string_view offset = "--offset=";
    if (count == 2 && std::string_view(options[1]).starts_with(offset)) {
        bench::blockOffset = static_cast<size_t>(std::atoi(options[1] + offset.size())) % 64;
        count = 1;
    }
    if (benchmark::ReportUnrecognizedArguments(count, options.data())) return 1;
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(daxStdErrReport);

    bench::addFrame();
    bench::addArithmetic();
    bench::addMoves();
    bench::addAlpha();
    bench::addColor();
    bench::addRank();
    bench::addTransforms();
    bench::addFilter();
    bench::addGeometry();
    bench::addTone();
    bench::registerAll();

    bench::Table table;
    const size_t ran = benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    if (bench::failures() > 0) {
        std::fprintf(stderr, "bench: %d failures\n", bench::failures());
        return 1;
    }
    return ran > 0 ? 0 : 1;
}
