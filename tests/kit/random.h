// A source of random numbers, from a seed or from bytes, and the loop that runs a test's body over
// many seeds.
#ifndef KIT_RANDOM_H
#define KIT_RANDOM_H

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <string>

namespace kit {

class Random {
public:
    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u) {}
    // Numbers by the bytes of a fuzzer, as many of them as a number needs; what they leave open is
    // drawn from a seed that they make.
    Random(const uint8_t* theBytes, size_t theSize)
        : state(theSize), bytes(theBytes), left(theSize) {
        for (size_t i = 0; i < theSize; ++i) state = (state ^ theBytes[i]) * 0x100000001B3u;
    }

    uint64_t bits() {
        uint64_t z = state += 0x9E3779B97F4A7C15u;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
        z = (z ^ z >> 27) * 0x94D049BB133111EBu;
        return z ^ z >> 31;
    }
    // Both ends included.
    int32_t in(int32_t least, int32_t most) {
        const auto span = static_cast<uint64_t>(int64_t{most} - least + 1);
        return static_cast<int32_t>(least + static_cast<int64_t>(below(span)));
    }
    bool chance(int32_t percent) { return in(1, 100) <= percent; }
    template <class T> T oneOf(std::initializer_list<T> values) {
        return *(values.begin() + pick(values.size()));
    }
    template <class List> const auto& of(const List& list) {
        return *(std::begin(list) + pick(std::size(list)));
    }

private:
    ptrdiff_t pick(size_t size) { return static_cast<ptrdiff_t>(below(size)); }

    uint64_t below(uint64_t span) {
        if (left == 0) return bits() % span;
        uint64_t drawn = 0;
        for (uint64_t rest = span - 1; rest > 0 && left > 0; rest >>= 8, --left)
            drawn = drawn << 8 | *bytes++;
        return drawn % span;
    }

    uint64_t state;
    const uint8_t* bytes = nullptr;
    size_t left = 0;
};

// Stops at the first seed that fails and names it; the same seed always gives the same numbers.
template <class Body> void forSeeds(uint64_t count, Body body) {
    for (uint64_t seed = 1; seed <= count; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        body(random);
        if (testing::Test::HasFailure()) return;
    }
}

} // namespace kit

#endif
