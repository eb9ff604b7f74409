#include "frame/call.h"

#include "frame/header.h"

bool OwnCall::sound(DaxImage* image, int32_t line) const {
    const int32_t bad = daxBadImageHeader(image);
    if (bad == 0) return true;
    const char* text = ownHeaderMessage(bad);
    report(DAX_StatusBadArgument, text, line);
    ownReleaseMessage(text);
    return false;
}

bool OwnCall::rejects(bool condition, const char* text, int32_t line) const {
    if (condition) report(DAX_StatusBadArgument, text, line);
    return condition;
}

void OwnCall::report(DaxStatus status, const char* text, int32_t line) const {
    daxError(status, funcName, text, module, line);
}
