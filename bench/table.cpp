#include "table.h"

#include "memory.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <utility>

namespace bench {

namespace {

double valueOf(const benchmark::UserCounters& counters, const char* name) {
    const auto found = counters.find(name);
    return found == counters.end() ? 0 : static_cast<double>(found->second);
}

// The one run that counts: the median of the repetitions, or the only one.
bool counts(const benchmark::BenchmarkReporter::Run& run) {
    if (run.run_type == benchmark::BenchmarkReporter::Run::RT_Aggregate)
        return run.aggregate_name == "median";
    return run.repetitions <= 1;
}

} // namespace

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name")) {
            const size_t colon = line.find(": ");
            if (colon != std::string::npos) return line.substr(colon + 2);
        }
    return "unknown processor";
}

std::string peersOf(const Line& line, std::vector<std::string>& notes) {
    std::string text;
    for (const auto& [ratio, peer] : line.peers) {
        char one[64];
        std::snprintf(one, sizeof one, "%s%.2f %s", text.empty() ? "" : ", ", ratio,
                      peer->name.c_str());
        text += one;
        if (peer->note.empty()) continue;
        const std::string note = line.subject->operation + ", " + peer->name + ": " + peer->note;
        const auto number =
            static_cast<size_t>(std::find(notes.begin(), notes.end(), note) - notes.begin());
        if (number == notes.size()) notes.push_back(note);
        text += " [" + std::to_string(number + 1) + "]";
    }
    return text;
}

bool Table::ReportContext(const Context& context) {
    for (const Case& one : allCases())
        for (const int side : one.sides) {
            const std::string name = nameOf(one, side);
            rows[name] = {&one, side, nullptr};
            for (const Peer& peer : one.peers) rows[name + "/" + peer.name] = {&one, side, &peer};
            nameWidth = std::max(nameWidth, name.size());
        }
    char date[32];
    const std::time_t today = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M", std::localtime(&today));
    std::printf("%s, %d cores, one thread used, %s; images begin %zu bytes past a cache line\n",
                processor().c_str(), context.cpu_info.num_cpus, date, blockOffset % 64);
    std::printf(
        "Ratios are times divided by the operation's own time, so 1.0 is as fast and more is "
        "better.\n"
        "stream: the fastest plain loop over the same bytes. memcpy: the same number of bytes "
        "(memset, if nothing is read).\n\n");
    std::printf("%-*s  %9s  %9s  %7s  %7s  %7s  %s\n", static_cast<int>(nameWidth), "case",
                counter::pixel, counter::sample, "GB/s", counter::stream, counter::copy, "peers");
    std::fflush(stdout);
    return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const auto row = rows.find(run.run_name.function_name);
        if (row == rows.end() || !counts(run)) continue;
        if (run.counters.empty())
            std::printf("%s FAILS\n", row->first.c_str());
        else if (row->second.peer != nullptr)
            peerRatios[row->first] = valueOf(run.counters, counter::peer);
        else
            print(taken.emplace_back(lineOf(row->second, run.counters)));
    }
    std::fflush(stdout);
}

Line Table::lineOf(const Row& row, const benchmark::UserCounters& counters) const {
    Line line{.subject = row.subject,
              .side = row.side,
              .perPixel = valueOf(counters, counter::pixel),
              .perSample = valueOf(counters, counter::sample),
              .bytes = valueOf(counters, counter::bytes),
              .stream = valueOf(counters, counter::stream),
              .copy = valueOf(counters, counter::copy),
              .tile = valueOf(counters, counter::tile),
              .peers = {}};
    for (const Peer& peer : row.subject->peers) {
        const auto found = peerRatios.find(nameOf(*row.subject, row.side) + "/" + peer.name);
        if (found != peerRatios.end()) line.peers.emplace_back(found->second, &peer);
    }
    std::sort(line.peers.begin(), line.peers.end());
    return line;
}

void Table::print(const Line& line) {
    const std::string name = nameOf(*line.subject, line.side);
    if (!lastOperation.empty() && lastOperation != line.subject->operation) std::puts("");
    lastOperation = line.subject->operation;
    const int width = static_cast<int>(nameWidth);
    if (line.subject->tiles > 0) {
        std::printf("%-*s  %9.3f %s\n", width, name.c_str(), line.tile, counter::tile);
        return;
    }
    std::printf("%-*s  %9.4f  %9.4f  %7.1f  %7.2f  %7.2f  %s\n", width, name.c_str(), line.perPixel,
                line.perSample, line.bytes / 1e9, line.stream, line.copy,
                peersOf(line, notes).c_str());
}

void Table::Finalize() {
    if (!notes.empty()) std::puts("");
    for (size_t k = 0; k < notes.size(); ++k) std::printf("[%zu] %s\n", k + 1, notes[k].c_str());
    std::fflush(stdout);
}

} // namespace bench
