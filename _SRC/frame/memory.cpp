#include "frame/memory.h"

#include "frame/platform.h"

#include <cstring>

namespace {

// Room for the raw pointer before the result and for the way up to the next multiple of 8.
constexpr int64_t overhead = 20;
constexpr uintptr_t alignment = 8;
static_assert(sizeof(void*) + alignment - 1 <= overhead);

} // namespace

void* ownAlloc(int64_t count, size_t elementSize) {
    const int64_t most = (INT32_MAX - overhead) / static_cast<int64_t>(elementSize);
    if (count < 0 || count > most) return nullptr;
    void* raw = ownPlatform.heapAlloc(static_cast<size_t>(count) * elementSize + overhead);
    if (raw == nullptr) return nullptr;
    const uintptr_t first = reinterpret_cast<uintptr_t>(raw) + sizeof raw + alignment - 1;
    char* result = static_cast<char*>(raw) +
                   (first / alignment * alignment - reinterpret_cast<uintptr_t>(raw));
    memcpy(result - sizeof raw, &raw, sizeof raw);
    return result;
}

void* daxMalloc(int32_t size) { return ownAlloc(size, 1); }

void* daxwMalloc(int32_t count) { return ownAlloc(count, sizeof(uint16_t)); }

void* daxiMalloc(int32_t count) { return ownAlloc(count, sizeof(int32_t)); }

void* daxsMalloc(int32_t count) { return ownAlloc(count, sizeof(float)); }

void* daxdMalloc(int32_t count) { return ownAlloc(count, sizeof(double)); }

void daxFree(void* p) {
    if (p == nullptr) return;
    void* raw = nullptr;
    memcpy(&raw, static_cast<char*>(p) - sizeof raw, sizeof raw);
    ownPlatform.heapFree(raw);
}
