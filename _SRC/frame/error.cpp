// The error engine: the stored status, the one entry of all reports, and the three reporters.

#include "frame/error.h"

#include "frame/context.h"
#include "frame/daxlib.h"
#include "frame/platform.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

const char ownOutOfMemoryText[] = "Out of memory";

namespace {

constexpr const char* unknownName = "<unknown>";

bool isTrace(DaxStatus status) {
    return status == DAX_StatusBacktrace || status == DAX_StatusAutotrace;
}

__attribute__((format(printf, 1, 2))) void print(const char* format, ...) {
    va_list values;
    va_start(values, format);
    ownPlatform.printError(format, values);
    va_end(values);
}

void endProcess(const char* text, char* body, char* reserve) {
    const bool hasFatalExit = (ownPlatform.getVersion() & 0x80000000u) == 0;
    if (!hasFatalExit) ownPlatform.messageBox(text, "Win32S: Application exit", ownBoxSystemOk);
    if (body != reserve) ownPlatform.heapFree(body);
    if (hasFatalExit)
        ownPlatform.fatalAppExit(text);
    else
        ownPlatform.exitProcess(1);
}

} // namespace

DaxStatus daxGetErrStatus(void) { return ownGetContext()->status; }

void daxSetErrStatus(DaxStatus status) { ownGetContext()->status = status; }

int32_t daxGetErrMode(void) { return ownGetContext()->errMode; }

void daxSetErrMode(int32_t mode) { ownGetContext()->errMode = mode; }

DaxErrorReporter daxRedirectError(DaxErrorReporter reporter) {
    DaxContext* context = ownGetContext();
    const DaxErrorReporter previous = context->reporter;
    context->reporter = reporter != nullptr ? reporter : daxGuiBoxReport;
    return previous;
}

DaxContext* daxUndContext(void) { return ownGetContext(); }

DaxStatus daxError(DaxStatus status, const char* funcName, const char* context, const char* file,
                   int32_t line) {
    if (!isTrace(status)) daxSetErrStatus(status);
    if (status == DAX_StatusNoError) return DAX_StatusNoError;
    return ownGetContext()->reporter(status, funcName, context, file, line);
}

const char* daxErrorStr(DaxStatus status) {
    switch (status) {
    case DAX_StatusNoError: return "No Error";
    case DAX_StatusBacktrace: return "Backtrace";
    case DAX_StatusUnknownError: return "Unknown error";
    case DAX_StatusInternalError: return "Internal error (bad state)";
    case DAX_StatusOutOfMemory: return ownOutOfMemoryText;
    case DAX_StatusBadArgument: return "Bad argument";
    case DAX_StatusUnsupported: return "Unsupported function";
    case DAX_StatusNoConvergence: return "Iteration convergence failed";
    case DAX_StatusAutotrace: return "Autotrace call";
    }
    DaxContext* context = ownGetContext();
    snprintf(context->unknownCodeText, sizeof context->unknownCodeText, "Unknown %s code %d",
             status < 0 ? "error" : "status", static_cast<int>(status));
    return context->unknownCodeText;
}

DaxStatus daxNulDevReport(DaxStatus status, const char*, const char*, const char*, int32_t) {
    if (daxGetErrMode() == DAX_ErrModeLeaf) ownPlatform.exitProcess(1);
    return status;
}

DaxStatus daxStdErrReport(DaxStatus status, const char* funcName, const char* context,
                          const char* file, int32_t line) {
    const int32_t mode = daxGetErrMode();
    if (mode == DAX_ErrModeSilent) return status;
    if (isTrace(status))
        print("\tcalled from");
    else
        print("\nDAX Library Error: %s \n\tin function", daxErrorStr(status));
    if (line > 0 || file != nullptr)
        print(" [%s:%d]", file != nullptr ? file : "(null)", static_cast<int>(line));
    print(":%s", funcName != nullptr ? funcName : unknownName);
    if (context != nullptr) {
        if (status == DAX_StatusAutotrace)
            print("(%s)", context);
        else
            print("(): %s", context);
    }
    print("\n");
    ownPlatform.flushError();
    if (mode == DAX_ErrModeLeaf) {
        print("DAX Library Error\nErrMode=DAX_ErrModeLeaf\nterminating the application");
        ownPlatform.flushError();
        ownPlatform.exitProcess(1);
    }
    return status;
}

DaxStatus daxGuiBoxReport(DaxStatus status, const char* funcName, const char* context,
                          const char* file, int32_t line) {
    // Texts longer than these sizes allow for are cut. A report goes out even when no block is to
    // be had for it.
    char reserve[200];
    size_t bodySize = strlen(context) + 200;
    char* body = static_cast<char*>(ownPlatform.heapAlloc(bodySize));
    if (body == nullptr) {
        body = reserve;
        bodySize = sizeof reserve;
    }
    const int32_t mode = daxGetErrMode();
    bool terminates = false;
    if (mode == DAX_ErrModeLeaf || mode == DAX_ErrModeParent) {
        if (funcName == nullptr) funcName = unknownName;
        if (file == nullptr) file = "";
        const int number = line < 0 ? 0 : static_cast<int>(line);
        const char* tail = mode == DAX_ErrModeLeaf
                               ? "\n\nErrMode=DAX_ErrorModeLeaf\n\nTerminate the application?"
                               : "\n\nErrMode=DAX_ErrorModeParent\n\nContinue?";
        if (status == DAX_StatusBacktrace)
            snprintf(body, bodySize, "called from [%s:%d]:%s():\n%s%s", file, number, funcName,
                     context, tail);
        else if (status == DAX_StatusAutotrace)
            snprintf(body, bodySize, "called from [%s:%d]:\n%s(%s)%s", file, number, funcName,
                     context, tail);
        else
            snprintf(body, bodySize, "in function [%s:%d]:%s():\n%s%s", file, number, funcName,
                     context, tail);
        // The caption tells the stored status, so that a trace report shows the failure that it
        // traces.
        char caption[100];
        snprintf(caption, sizeof caption, "DAX Library Error: %s", daxErrorStr(daxGetErrStatus()));
        terminates =
            mode == DAX_ErrModeParent
                ? ownPlatform.messageBox(body, caption, ownBoxSystemOkCancel) == ownAnswerCancel
                : ownPlatform.messageBox(body, caption, ownBoxSystemYesNo) == ownAnswerYes;
    }
    if (terminates) {
        endProcess("DAX Library:\nterminating the application", body, reserve);
        return status;
    }
    if (body != reserve) ownPlatform.heapFree(body);
    return status;
}
