// What the library asks of the platform, in one table, so that a test can stand in for any of it.
#ifndef OWN_PLATFORM_H
#define OWN_PLATFORM_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>

// The styles and answers of a message box that the library uses.
constexpr uint32_t ownBoxOk = 0x0000;
constexpr uint32_t ownBoxSystemOk = 0x1000;
constexpr uint32_t ownBoxSystemOkCancel = 0x1001;
constexpr uint32_t ownBoxSystemYesNo = 0x1004;
constexpr int32_t ownAnswerOk = 1;
constexpr int32_t ownAnswerCancel = 2;
constexpr int32_t ownAnswerYes = 6;
constexpr int32_t ownAnswerNo = 7;

constexpr int32_t ownNoSlot = -1;

struct OwnPlatform {
    // Per-thread storage. tlsAlloc returns ownNoSlot when there is none left.
    int32_t (*tlsAlloc)();
    bool (*tlsSetValue)(int32_t slot, void* value);
    void* (*tlsGetValue)(int32_t slot);
    void (*tlsFree)(int32_t slot);
    // Blocks for contexts; localAlloc clears them.
    void* (*localAlloc)(size_t size);
    void (*localFree)(void* block);
    // The plain heap, for all else.
    void* (*heapAlloc)(size_t size);
    void (*heapFree)(void* block);
    int32_t (*messageBox)(const char* text, const char* caption, uint32_t style);
    void (*fatalAppExit)(const char* text);
    uint32_t (*getVersion)();
    void (*exitProcess)(int32_t code);
    // The standard error stream.
    void (*printError)(const char* format, va_list values);
    void (*flushError)();
    // True where nobody tells the library of threads that start: they attach at their first use.
    bool attachesAtFirstUse;
};

extern const OwnPlatform ownNativePlatform;

// The table in use: the native one, except where a test has put another in its place.
extern OwnPlatform ownPlatform;

#endif
