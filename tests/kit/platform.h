// Stands in for the platform, and for smaller processors.
#ifndef KIT_PLATFORM_H
#define KIT_PLATFORM_H

#include "kit/random.h"

#include "frame/kernels.h"
#include "frame/platform.h"

#include <csetjmp>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kit {

// Takes the platform's place for a scope and tells in `events` what it was asked for: "alloc 20",
// "free", "box style caption|text", "fatal text", "exit 1", "local alloc", "local free", "slot
// alloc", "slot set", "slot free". The per-thread storage stays the native one until `ownSlots`. A
// free of what is not allocated is a test failure.
class StandIn {
public:
    StandIn();
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;
    ~StandIn();

    void ownSlots();
    size_t live() const { return blocks.size(); } // heap blocks, without those from before

    // Whether the body asks for the process to end, which happens here and not in earnest.
    template <class Body> bool ends(Body body) {
        if (setjmp(exit) != 0) return true;
        exits = true;
        body();
        exits = false;
        return false;
    }

    std::vector<std::string> events;
    std::string errorText;
    int32_t requests = 0;    // to the heap
    int32_t failRequest = 0; // this one, from 1, gets nothing
    size_t shift = 0;        // of every heap block past an address aligned to 16
    // What blocks hold at first: no valid pointer, size or text, so that a field that nobody sets
    // shows.
    uint8_t junk = 0xC7;
    bool refuseLocal = false;
    bool refuseSlot = false;
    int32_t answer = ownAnswerOk;
    uint32_t version = 0;

private:
    static void* heapAlloc(size_t size);
    static void heapFree(void* block);
    [[noreturn]] void end();

    OwnPlatform before;
    std::map<void*, void*> blocks; // and where they really start
    void* slotValue = nullptr;
    jmp_buf exit = {};
    bool exits = false;
};

// Runs the body with each of its heap requests failing in turn, until a run has no failure any
// more. Returns the number of requests. The body gets the stand-in and checks what it promises;
// blocks that it leaves are a test failure.
template <class Body> int32_t forEachFailedRequest(Body body) {
    for (int32_t n = 1;; ++n) {
        SCOPED_TRACE("failing request " + std::to_string(n));
        StandIn platform;
        platform.failRequest = n;
        body(platform);
        EXPECT_EQ(platform.live(), 0u);
        if (platform.requests < n || testing::Test::HasFailure()) return platform.requests;
    }
}

// Runs the body once for each instruction set that the processor has, with that set in use.
template <class Body> void forEachIsa(Body body) {
    const OwnIsa before = ownIsa();
    for (int32_t isa = 0; isa <= static_cast<int32_t>(ownBestIsa()); ++isa) {
        SCOPED_TRACE("instruction set " + std::to_string(isa));
        ownUseIsa(static_cast<OwnIsa>(isa));
        body();
    }
    ownUseIsa(before);
}

} // namespace kit

#endif
