// A run of the bench as a page: a table with a line per operation and form, put between two marks
// of a Markdown file, and the same figures as columns for a plot.
#ifndef BENCH_REPORT_H
#define BENCH_REPORT_H

#include "table.h"

#include <string>
#include <vector>

namespace bench {

// False, with a word on standard error, if the page or its marks can't be found or written.
bool writeReport(const std::vector<Line>& lines, const std::string& page, const std::string& data);

} // namespace bench

#endif
