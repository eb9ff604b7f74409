#include "table.h"

#include "memory.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <utility>

namespace bench {

namespace {

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name")) {
            const size_t colon = line.find(": ");
            if (colon != std::string::npos) return line.substr(colon + 2);
        }
    return "unknown processor";
}

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
            print(row->second, run.counters);
    }
    std::fflush(stdout);
}

void Table::print(const Row& row, const benchmark::UserCounters& counters) {
    const std::string name = nameOf(*row.subject, row.side);
    if (!lastOperation.empty() && lastOperation != row.subject->operation) std::puts("");
    lastOperation = row.subject->operation;
    const int width = static_cast<int>(nameWidth);
    if (row.subject->tiles > 0) {
        std::printf("%-*s  %9.3f %s\n", width, name.c_str(), valueOf(counters, counter::tile),
                    counter::tile);
        return;
    }
    std::printf("%-*s  %9.4f  %9.4f  %7.1f  %7.2f  %7.2f  %s\n", width, name.c_str(),
                valueOf(counters, counter::pixel), valueOf(counters, counter::sample),
                valueOf(counters, counter::bytes) / 1e9, valueOf(counters, counter::stream),
                valueOf(counters, counter::copy), peersOf(row).c_str());
}

// The best of them first.
std::string Table::peersOf(const Row& row) {
    std::vector<std::pair<double, const Peer*>> ratios;
    for (const Peer& peer : row.subject->peers) {
        const auto found = peerRatios.find(nameOf(*row.subject, row.side) + "/" + peer.name);
        if (found != peerRatios.end()) ratios.emplace_back(found->second, &peer);
    }
    std::sort(ratios.begin(), ratios.end());
    std::string text;
    for (const auto& [ratio, peer] : ratios) {
        char one[64];
        std::snprintf(one, sizeof one, "%s%.2f %s", text.empty() ? "" : ", ", ratio,
                      peer->name.c_str());
        text += one;
        if (peer->note.empty()) continue;
        const std::string note = row.subject->operation + ", " + peer->name + ": " + peer->note;
        size_t number =
            static_cast<size_t>(std::find(notes.begin(), notes.end(), note) - notes.begin());
        if (number == notes.size()) notes.push_back(note);
        text += " [" + std::to_string(number + 1) + "]";
    }
    return text;
}

void Table::Finalize() {
    if (!notes.empty()) std::puts("");
    for (size_t k = 0; k < notes.size(); ++k) std::printf("[%zu] %s\n", k + 1, notes[k].c_str());
    std::fflush(stdout);
}

} // namespace bench
