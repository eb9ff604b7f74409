#include "frame/context.h"

#include "frame/kept.h"
#include "frame/platform.h"

#include <cstdlib>

namespace {

constexpr DaxContext contextTemplate = {
    DAX_StatusNoError, DAX_ErrModeLeaf, daxGuiBoxReport, {}, {}};

// Touched only by the load routine, which the platform never calls twice at once.
int32_t contextSlot = ownNoSlot;
int32_t attachedProcesses = 0;

bool attachThread() {
    auto* thread = static_cast<OwnThread*>(ownPlatform.localAlloc(sizeof(OwnThread)));
    if (thread == nullptr) return false;
    if (!ownPutContext(&thread->context)) {
        ownPlatform.localFree(thread);
        return false;
    }
    thread->context = contextTemplate;
    thread->kept = nullptr;
    return true;
}

void detachThread() {
    auto* thread = static_cast<OwnThread*>(ownPlatform.tlsGetValue(contextSlot));
    if (thread == nullptr) return;
    ownReleaseKept(thread->kept);
    ownPlatform.localFree(thread);
}

[[noreturn]] void endWithoutContext() {
    ownPlatform.messageBox("pDaxContext", "NULL", ownBoxOk);
    const char* const text = "DAX Library error:\nBad DAX Context\nTerminating the application";
    if ((ownPlatform.getVersion() & 0x80000000u) == 0) {
        ownPlatform.fatalAppExit(text);
    } else {
        ownPlatform.messageBox(text, "Win32S: Fatal Application Exit", ownBoxOk);
        ownPlatform.exitProcess(1);
    }
    abort();
}

} // namespace

bool ownPutContext(void* context) {
    return contextSlot != ownNoSlot && ownPlatform.tlsSetValue(contextSlot, context);
}

bool ownLoad(OwnLoadReason reason) {
    switch (reason) {
    case OwnLoadReason::processAttach:
        if (attachedProcesses == 0) {
            contextSlot = ownPlatform.tlsAlloc();
            if (contextSlot == ownNoSlot) return false;
        }
        ++attachedProcesses;
        return attachThread();
    case OwnLoadReason::threadAttach: return attachThread();
    case OwnLoadReason::threadDetach: detachThread(); return true;
    case OwnLoadReason::processDetach:
        --attachedProcesses;
        detachThread();
        if (attachedProcesses == 0) {
            ownPlatform.tlsFree(contextSlot);
            contextSlot = ownNoSlot;
        }
        return true;
    }
    return true;
}

DaxContext* ownGetContext() {
    void* context = ownPlatform.tlsGetValue(contextSlot);
    if (context == nullptr && ownPlatform.attachesAtFirstUse &&
        ownLoad(OwnLoadReason::threadAttach))
        context = ownPlatform.tlsGetValue(contextSlot);
    if (context == nullptr) endWithoutContext();
    return static_cast<DaxContext*>(context);
}

OwnKept** ownGetKept() { return &reinterpret_cast<OwnThread*>(ownGetContext())->kept; }
