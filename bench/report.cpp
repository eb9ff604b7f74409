#include "report.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>

namespace bench {

namespace {

constexpr std::string_view beginMark = "<!-- measured: from here, by ./dev bench --report -->\n";
constexpr std::string_view endMark = "<!-- measured: to here -->\n";

template <class... Values> std::string text(const char* format, Values... values) {
    char buffer[200];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

// An operation and form, at every size.
struct Entry {
    std::string operation;
    std::string variant;
    std::map<int, const Line*> at;
};

std::vector<Entry> entriesOf(const std::vector<Line>& lines) {
    std::vector<Entry> entries;
    for (const Line& line : lines) {
        const Case& one = *line.subject;
        if (entries.empty() || entries.back().operation != one.operation ||
            entries.back().variant != one.variant)
            entries.push_back({one.operation, one.variant, {}});
        entries.back().at[line.side] = &line;
    }
    return entries;
}

std::string cellsOf(const Line& line, std::vector<std::string>& notes) {
    if (line.subject->tiles > 0) return text(" %.2f us per tile | | |", line.tile);
    Line best = line;
    if (best.peers.size() > 1) best.peers.resize(1);
    return text(" %.3f | %.2f | ", line.perSample, line.stream) + peersOf(best, notes) + " |";
}

std::string tableOf(const std::vector<Entry>& entries) {
    std::vector<std::string> notes;
    std::ostringstream table;
    std::string operation;
    for (const Entry& entry : entries) {
        if (entry.operation != operation) {
            operation = entry.operation;
            table << "\n### " << operation
                  << "\n\n| form | side | ns per sample | stream | best peer |\n"
                     "|---|---|---|---|---|\n";
        }
        for (const auto& [side, line] : entry.at)
            table << "| " << entry.variant << " | " << side << " |" << cellsOf(*line, notes)
                  << "\n";
    }
    table << "\n";
    for (size_t k = 0; k < notes.size(); ++k) table << "[" << k + 1 << "] " << notes[k] << "\\\n";
    return table.str();
}

// A line per case: where its operation stands, the operation, the side, the ratios to the stream
// and to the best peer (0: none).
std::string columnsOf(const std::vector<Line>& lines) {
    std::string columns;
    std::map<std::string, size_t> places;
    for (const Line& line : lines) {
        if (line.subject->tiles > 0) continue;
        const std::string& name = line.subject->operation;
        const size_t place = places.emplace(name, places.size()).first->second;
        columns += text("%zu\t%s\t%d\t%.4f\t%.4f\n", place, name.c_str(), line.side, line.stream,
                        line.peers.empty() ? 0 : line.peers[0].first);
    }
    return columns;
}

} // namespace

bool writeReport(const std::vector<Line>& lines, const std::string& page, const std::string& data) {
    std::ostringstream old;
    old << std::ifstream(page).rdbuf();
    std::string whole = old.str();
    const size_t begin = whole.find(beginMark);
    const size_t end = whole.find(endMark);
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        std::fprintf(stderr, "bench: %s lacks the marks of its table\n", page.c_str());
        return false;
    }
    char date[32];
    const std::time_t today = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d", std::localtime(&today));
    const size_t from = begin + beginMark.size();
    std::ostringstream measured;
    measured << "\n"
             << processor() << ", one thread, " << date << ".\n"
             << tableOf(entriesOf(lines));
    whole.replace(from, end - from, measured.str());
    const bool written = (std::ofstream(page) << whole).flush().good() &&
                         (std::ofstream(data) << columnsOf(lines)).flush().good();
    if (!written) std::fprintf(stderr, "bench: can't write %s or %s\n", page.c_str(), data.c_str());
    return written;
}

} // namespace bench
