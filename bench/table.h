// What the bench prints: one line per case.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include "cases.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

// The names under which a run leaves its figures with Google Benchmark.
namespace counter {
inline constexpr const char* pixel = "ns/pixel";
inline constexpr const char* sample = "ns/sample";
inline constexpr const char* bytes = "bytes/s";
inline constexpr const char* stream = "stream";
inline constexpr const char* copy = "memcpy";
inline constexpr const char* tile = "us/tile";
// The time of a peer, divided by that of the operation.
inline constexpr const char* peer = "peer";
} // namespace counter

class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    struct Row {
        const Case* subject;
        int side;
        // Null for the operation's own run.
        const Peer* peer;
    };

    void print(const Row& row, const benchmark::UserCounters& counters);
    std::string peersOf(const Row& row);

    std::map<std::string, Row> rows;
    std::map<std::string, double> peerRatios;
    std::vector<std::string> notes;
    std::string lastOperation;
    size_t nameWidth = 0;
};

} // namespace bench

#endif
