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

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    constexpr std::string_view offset = "--offset=";
    if (argc == 2 && std::string_view(argv[1]).starts_with(offset)) {
        bench::blockOffset = static_cast<size_t>(std::atoi(argv[1] + offset.size())) % 64;
        argc = 1;
    }
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(daxStdErrReport);

    bench::addFrame();
    bench::addArithmetic();
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
