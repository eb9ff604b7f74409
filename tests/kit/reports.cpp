#include "kit/reports.h"

#include <utility>

namespace kit {

namespace {

thread_local Reports* current = nullptr;

std::string shown(const char* text) { return text != nullptr ? text : "(null)"; }

} // namespace

Reports::Reports(int32_t mode)
    : outer(std::exchange(current, this)), oldReporter(daxRedirectError(reporter)),
      oldMode(daxGetErrMode()), oldStatus(daxGetErrStatus()) {
    daxSetErrMode(mode);
    daxSetErrStatus(DAX_StatusNoError);
}

Reports::~Reports() {
    daxSetErrStatus(oldStatus);
    daxSetErrMode(oldMode);
    daxRedirectError(oldReporter);
    current = outer;
}

std::vector<std::string> Reports::take() {
    daxSetErrStatus(DAX_StatusNoError);
    return std::exchange(texts, {});
}

DaxStatus Reports::reporter(DaxStatus status, const char* funcName, const char* context,
                            const char* file, int32_t line) {
    current->texts.push_back(std::to_string(status) + " " + shown(funcName) + " " + shown(file) +
                             " " + shown(context));
    current->lines.push_back(line);
    return status;
}

} // namespace kit
