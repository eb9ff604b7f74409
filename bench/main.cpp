// Times every operation beside memcpy, beside the plainest loop over the same bytes and beside
// other libraries. Options are those of Google Benchmark, chiefly --benchmark_filter=<regular
// expression>, --offset=<bytes>: how far past a cache line the images begin, and
// --report=<page> --columns=<file>: a page into which the figures go, and a file for a plot of
// them.

#include "cases.h"
#include "memory.h"
#include "report.h"
#include "table.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    // An iteration takes a tenth of a second and finds its own medians, so one is enough.
    char enough[] = "--benchmark_min_time=0.1";
    std::vector<char*> options(argv, argv + argc);
    options.insert(options.begin() + 1, enough);
    int count = static_cast<int>(options.size());
    benchmark::Initialize(&count, options.data());
    std::string page;
    std::string columns;
    int unknown = 1;
    for (int k = 1; k < count; ++k) {
        const std::string_view option = options[static_cast<size_t>(k)];
        const auto takes = [option](std::string_view name) { return option.starts_with(name); };
        const std::string value(option.substr(std::min(option.find('=') + 1, option.size())));
        if (takes("--offset="))
            bench::blockOffset = static_cast<size_t>(std::atoi(value.c_str())) % 64;
        else if (takes("--report="))
            page = value;
        else if (takes("--columns="))
            columns = value;
        else
            options[static_cast<size_t>(unknown++)] = options[static_cast<size_t>(k)];
    }
    if (benchmark::ReportUnrecognizedArguments(unknown, options.data())) return 1;
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(daxStdErrReport);

    bench::addFrame();
    bench::addArithmetic();
    bench::addMoves();
    bench::addConversions();
    bench::addBitmaps();
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
    if (!page.empty() && !bench::writeReport(table.lines(), page, columns)) return 1;
    return ran > 0 ? 0 : 1;
}
