// A seeded source of random numbers, and the loop that runs a test's body over many seeds.
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

    uint64_t bits() {
        uint64_t z = state += 0x9E3779B97F4A7C15u;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
        z = (z ^ z >> 27) * 0x94D049BB133111EBu;
        return z ^ z >> 31;
    }
    // Both ends included.
    int32_t in(int32_t least, int32_t most) {
        const auto span = static_cast<uint64_t>(int64_t{most} - least + 1);
        return static_cast<int32_t>(least + static_cast<int64_t>(bits() % span));
    }
    bool chance(int32_t percent) { return in(1, 100) <= percent; }
    template <class T> T oneOf(std::initializer_list<T> values) {
        return *(values.begin() + pick(values.size()));
    }
    template <class List> const auto& of(const List& list) {
        return *(std::begin(list) + pick(std::size(list)));
    }

private:
    ptrdiff_t pick(size_t size) { return static_cast<ptrdiff_t>(bits() % size); }

    uint64_t state;
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
