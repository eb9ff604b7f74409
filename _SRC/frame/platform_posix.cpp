#if !defined(_WIN32)

#include "frame/context.h"
#include "frame/platform.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

namespace {

// A thread's end is told only to the owner of a slot that still holds something. The load routine
// reads the slot, so the value goes back into it for the length of the call.
void threadEnds(void* context);

pthread_key_t keyOf(int32_t slot) { return static_cast<pthread_key_t>(slot); }

int32_t slotAlloc() {
    pthread_key_t key = 0;
    return pthread_key_create(&key, threadEnds) == 0 ? static_cast<int32_t>(key) : ownNoSlot;
}

bool slotSet(int32_t slot, void* value) { return pthread_setspecific(keyOf(slot), value) == 0; }

void* slotGet(int32_t slot) {
    return slot == ownNoSlot ? nullptr : pthread_getspecific(keyOf(slot));
}

void slotFree(int32_t slot) { pthread_key_delete(keyOf(slot)); }

void* localAlloc(size_t size) { return calloc(1, size); }

void localFree(void* block) { free(block); }

// Large blocks start at a cache line: rows of vectors that cross one in every load and store take
// half as long again.
void* heapAlloc(size_t size) {
    constexpr size_t line = 64;
    if (size < 4096 || size > PTRDIFF_MAX - line) return malloc(size);
    return aligned_alloc(line, (size + line - 1) / line * line);
}

void heapFree(void* block) { free(block); }

// Without a window system the box is a text on standard error. Where somebody sits at a terminal he
// is asked; where nobody does, the answer is the one that lets the program go on.
int32_t messageBox(const char* text, const char* caption, uint32_t style) {
    fprintf(stderr, "%s\n%s\n", caption, text);
    fflush(stderr);
    const uint32_t buttons = style & 0xF;
    if (buttons == 0) return ownAnswerOk;
    const bool yesNo = buttons == (ownBoxSystemYesNo & 0xF);
    const int32_t goOn = yesNo ? ownAnswerNo : ownAnswerOk;
    const int32_t stop = yesNo ? ownAnswerYes : ownAnswerCancel;
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return goOn;
    fputs(yesNo ? "[y]es or [n]o? " : "[o]k or [c]ancel? ", stderr);
    fflush(stderr);
    char answer[80];
    if (fgets(answer, sizeof answer, stdin) == nullptr) return goOn;
    return strchr(yesNo ? "yY" : "cC", answer[0]) != nullptr && answer[0] != '\0' ? stop : goOn;
}

void exitProcess(int32_t code) { exit(code); }

void fatalAppExit(const char* text) {
    fprintf(stderr, "%s\n", text);
    fflush(stderr);
    exit(1);
}

uint32_t getVersion() { return 0; }

void printError(const char* format, va_list values) { vfprintf(stderr, format, values); }

void flushError() { fflush(stderr); }

constexpr OwnPlatform native = {
    slotAlloc,  slotSet,      slotGet,    slotFree,    localAlloc, localFree,  heapAlloc, heapFree,
    messageBox, fatalAppExit, getVersion, exitProcess, printError, flushError, true,
};

void threadEnds(void* context) {
    if (!ownPutContext(context)) return;
    ownLoad(OwnLoadReason::threadDetach);
    ownPutContext(nullptr);
}

// Early, so that a program's own initialisers may already call the library. Nothing detaches the
// process: the library is never unloaded, and other threads may go on calling it while the process
// ends, which then takes slot and contexts with it.
__attribute__((constructor(101))) void attach() { ownLoad(OwnLoadReason::processAttach); }

} // namespace

const OwnPlatform ownNativePlatform = native;
constinit OwnPlatform ownPlatform = native;

#endif
