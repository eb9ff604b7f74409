// What the bench prints: one line per case.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include "cases.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
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

// What was found out about one case.
struct Line {
    const Case* subject = nullptr;
    int side = 0;
    double perPixel = 0;
    double perSample = 0;
    double bytes = 0;
    // Times divided by the operation's own.
    double stream = 0;
    double copy = 0;
    // Microseconds per tile, for the cases that tell just that.
    double tile = 0;
    // The best first.
    std::vector<std::pair<double, const Peer*>> peers;
};

// "1.2 libyuv [1], 7.5 libvips", and the notes, one line each, without those that stand there
// already.
std::string peersOf(const Line& line, std::vector<std::string>& notes);

std::string processor();

class Table : public benchmark::BenchmarkReporter {
public:
    const std::vector<Line>& lines() const { return taken; }

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

    void print(const Line& line);
    Line lineOf(const Row& row, const benchmark::UserCounters& counters) const;

    std::map<std::string, Row> rows;
    std::map<std::string, double> peerRatios;
    std::vector<Line> taken;
    std::vector<std::string> notes;
    std::string lastOperation;
    size_t nameWidth = 0;
};

} // namespace bench

#endif
