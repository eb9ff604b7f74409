#include "kit/platform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kit {

namespace {

StandIn* current = nullptr;

constexpr int32_t onlySlot = 5;

} // namespace

StandIn::StandIn() : before(ownPlatform) {
    EXPECT_EQ(current, nullptr);
    current = this;
    ownPlatform.heapAlloc = heapAlloc;
    ownPlatform.heapFree = heapFree;
    ownPlatform.localAlloc = [](size_t size) -> void* {
        current->events.push_back("local alloc " + std::to_string(size));
        return current->refuseLocal ? nullptr : calloc(1, size);
    };
    ownPlatform.localFree = [](void* block) {
        current->events.emplace_back("local free");
        free(block);
    };
    ownPlatform.messageBox = [](const char* text, const char* caption, uint32_t style) {
        current->events.push_back("box " + std::to_string(style) + " " + caption + "|" + text);
        return current->answer;
    };
    ownPlatform.fatalAppExit = [](const char* text) {
        current->events.push_back(std::string("fatal ") + text);
        current->end();
    };
    ownPlatform.exitProcess = [](int32_t code) {
        current->events.push_back("exit " + std::to_string(code));
        current->end();
    };
    ownPlatform.getVersion = [] { return current->version; };
    ownPlatform.printError = [](const char* format, va_list values) {
        char text[2000];
        vsnprintf(text, sizeof text, format, values);
        current->errorText += text;
    };
    ownPlatform.flushError = [] { current->errorText += "<flush>"; };
}

StandIn::~StandIn() {
    for (const auto& [block, start] : blocks) free(start);
    ownPlatform = before;
    current = nullptr;
}

void StandIn::ownSlots() {
    ownPlatform.tlsAlloc = [] {
        current->events.emplace_back("slot alloc");
        return current->refuseSlot ? ownNoSlot : onlySlot;
    };
    ownPlatform.tlsSetValue = [](int32_t slot, void* value) {
        EXPECT_EQ(slot, onlySlot);
        current->events.emplace_back("slot set");
        current->slotValue = value;
        return true;
    };
    ownPlatform.tlsGetValue = [](int32_t slot) {
        return slot == onlySlot ? current->slotValue : nullptr;
    };
    ownPlatform.tlsFree = [](int32_t slot) {
        EXPECT_EQ(slot, onlySlot);
        current->events.emplace_back("slot free");
        current->slotValue = nullptr;
    };
}

void* StandIn::heapAlloc(size_t size) {
    StandIn& self = *current;
    self.events.push_back("alloc " + std::to_string(size));
    if (++self.requests == self.failRequest) return nullptr;
    auto* start = static_cast<char*>(malloc(size + self.shift));
    if (start == nullptr) return nullptr;
    memset(start, self.junk, std::min<size_t>(size + self.shift, 1 << 20));
    self.blocks[start + self.shift] = start;
    return start + self.shift;
}

void StandIn::heapFree(void* block) {
    if (block == nullptr) return;
    StandIn& self = *current;
    self.events.emplace_back("free");
    const auto found = self.blocks.find(block);
    if (found == self.blocks.end()) {
        ADD_FAILURE() << "a block goes to the heap that didn't come from it";
        return;
    }
    free(found->second);
    self.blocks.erase(found);
}

// Jumps, so nothing here or in its callers may be left to destroy.
void StandIn::end() {
    if (exits) {
        exits = false;
        longjmp(exit, 1);
    }
    fprintf(stderr, "the process ends: %s\n", events.back().c_str());
    abort();
}

} // namespace kit
