#include "memory.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace bench {

namespace {

constexpr size_t page = 4096;
constexpr size_t stagger = 17 * 64;

struct Block {
    std::unique_ptr<char[]> owned;
    char* start = nullptr;
    size_t size = 0;
    bool noisy = false;
};

Block& blockOf(size_t slot, size_t bytes) {
    static std::vector<Block> blocks;
    if (slot >= blocks.size()) blocks.resize(slot + 1);
    Block& one = blocks[slot];
    if (one.size < bytes) {
        one = {};
        one.owned.reset(new char[bytes + 2 * page]);
        const auto raw = reinterpret_cast<uintptr_t>(one.owned.get());
        one.start =
            one.owned.get() + (page - raw % page) + slot * stagger % page / 64 * 64 + blockOffset;
        one.size = bytes;
        std::memset(one.start, 0, bytes);
    }
    return one;
}

void fillWithNoise(char* start, size_t bytes, uint64_t state) {
    for (size_t at = 0; at < bytes; at += 8) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        std::memcpy(start + at, &state, bytes - at < 8 ? bytes - at : 8);
    }
}

} // namespace

char* block(size_t slot, size_t bytes) {
    Block& one = blockOf(slot, bytes);
    one.noisy = false;
    return one.start;
}

char* noise(size_t slot, size_t bytes) {
    Block& one = blockOf(slot, bytes);
    if (!one.noisy) fillWithNoise(one.start, one.size, 0x9E3779B97F4A7C15u * (slot + 1));
    one.noisy = true;
    return one.start;
}

} // namespace bench
