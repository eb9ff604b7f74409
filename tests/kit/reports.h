// Catches the reports of a scope.
#ifndef KIT_REPORTS_H
#define KIT_REPORTS_H

#include "frame/daxlib.h"

#include <string>
#include <vector>

namespace kit {

// Installs a reporter and a mode and clears the status of this thread; gives all three back at its
// end.
class Reports {
public:
    explicit Reports(int32_t mode = DAX_ErrModeParent);
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;
    ~Reports();

    // Each report since the last call, as "status funcName file context"; the status is cleared.
    std::vector<std::string> take();

    std::vector<int32_t> lines; // of all reports of the scope

private:
    static DaxStatus reporter(DaxStatus status, const char* funcName, const char* context,
                              const char* file, int32_t line);

    std::vector<std::string> texts;
    Reports* outer;
    DaxErrorReporter oldReporter;
    int32_t oldMode;
    DaxStatus oldStatus;
};

} // namespace kit

#endif
