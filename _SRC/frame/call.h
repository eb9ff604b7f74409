// A call of an exported function: its name and its module's, under which it checks its arguments
// and reports. The line of a report is the line of the check in the module that makes it.
#ifndef OWN_CALL_H
#define OWN_CALL_H

#include "frame/daxlib.h"

#include <cstdint>

struct OwnCall {
    const char* funcName;
    const char* module;

    // Reports a header that is not sound, with all that is wrong with it.
    bool sound(DaxImage* image, int32_t line = __builtin_LINE()) const;

    // Reports a bad argument when the condition holds, under the condition's own text.
    bool rejects(bool condition, const char* text, int32_t line = __builtin_LINE()) const;

    void report(DaxStatus status, const char* text, int32_t line = __builtin_LINE()) const;
};

#endif
