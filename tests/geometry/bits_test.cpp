// The kernels on rows of bits against bit by bit, in rows that lie between memory that nobody may
// touch.

#include "kit/platform.h"

#include "frame/movers.h"
#include "geometry/bits.h"

#include <algorithm>
#include <sys/mman.h>

namespace {

using kit::Random;

// Rows of bytes, one after the other or with a gap, up to the end or from the beginning of memory
// that can be read and written.
class Rows {
public:
    Rows(Random& random, ptrdiff_t width, ptrdiff_t theCount)
        : bytes((width + 7) / 8), step(bytes + random.oneOf({0, 0, 1, 64})), count(theCount) {
        const auto size = static_cast<size_t>(step * (count - 1) + bytes);
        room = (size + page - 1) / page * page;
        memory = static_cast<char*>(
            mmap(nullptr, room + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_EQ(mprotect(memory + page, room, PROT_READ | PROT_WRITE), 0);
        first = memory + page + (random.chance(70) ? room - size : 0);
        for (size_t i = 0; i < room; ++i) memory[page + i] = static_cast<char>(random.in(0, 255));
    }
    ~Rows() { munmap(memory, room + 2 * page); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    char* row(ptrdiff_t y) const { return first + y * step; }
    bool get(ptrdiff_t x, ptrdiff_t y) const { return ownGetBit(row(y), x); }
    std::string all() const { return {memory + page, room}; }
    void restore(const std::string& kept) { std::copy(kept.begin(), kept.end(), memory + page); }

    const ptrdiff_t bytes;
    const ptrdiff_t step;
    const ptrdiff_t count;

private:
    static constexpr size_t page = 4096;

    size_t room;
    char* memory;
    char* first;
};

// Lengths of rows about the widths of words, vectors and blocks.
int32_t anyLength(Random& random) {
    return random.in(0, 3) == 0
               ? random.in(1, 20)
               : std::max(1, random.oneOf({32, 64, 128, 512, 512, 1024, 4096}) + random.in(-9, 9));
}

// What a kernel makes of the destination against `bitOf(x, y)` for a part of it.
template <class Run, class BitOf>
void expectBits(Rows& dst, ptrdiff_t first, ptrdiff_t width, Run run, BitOf bitOf,
                const std::string& what) {
    const std::string before = dst.all();
    for (ptrdiff_t y = 0; y < dst.count; ++y)
        for (ptrdiff_t x = 0; x < width; ++x) ownPutBit(dst.row(y), first + x, bitOf(x, y));
    const std::string expected = dst.all();
    kit::forEachIsa([&] {
        dst.restore(before);
        run();
        EXPECT_TRUE(dst.all() == expected) << what;
    });
}

TEST(Bits, CopiedAndTurned) {
    kit::forSeeds(600, [](Random& random) {
        const int32_t width = anyLength(random);
        const int32_t rows = random.in(1, 4);
        const int32_t bitSrc = random.in(0, 20);
        const int32_t bitDst = random.in(0, 20);
        const Rows src(random, bitSrc + width + random.in(0, 9), rows);
        Rows dst(random, bitDst + width + random.in(0, 9), rows);
        const bool turned = random.chance(50);
        const bool upwards = random.chance(50);
        expectBits(
            dst, bitDst, width,
            [&] {
                ownMoveBitRows(turned, src.row(upwards ? rows - 1 : 0), bitSrc,
                               upwards ? -src.step : src.step, dst.row(0), bitDst, dst.step, width,
                               rows);
            },
            [&](ptrdiff_t x, ptrdiff_t y) {
                return src.get(bitSrc + (turned ? width - 1 - x : x), upwards ? rows - 1 - y : y);
            },
            std::to_string(width) + " bits from " + std::to_string(bitSrc) + " to " +
                std::to_string(bitDst));
    });
}

TEST(Bits, Picked) {
    kit::forSeeds(1200, [](Random& random) {
        const int32_t columns = anyLength(random);
        const int32_t rows = random.oneOf({1, 2, 5, 70});
        const int32_t width = anyLength(random);
        const int32_t bitDst = random.in(0, 7);
        const Rows src(random, width, random.in(1, 9));
        Rows dst(random, bitDst + columns, rows);
        const int32_t unitBits = random.oneOf({8, 14});
        const auto placesFor = [&](int64_t size, int64_t count) {
            const int64_t unit = int64_t{1} << unitBits;
            // Steps by which the places go all along the source; or those up to which a byte finds
            // its bits in a word, and half a byte.
            int64_t step = (size * unit + random.in(-1, 1)) / count;
            if (random.chance(50))
                step = random.oneOf({int64_t{0}, unit / 2, unit * 8 / 9, unit, unit * 3 / 2,
                                     unit * 56 / 31, unit * 2, unit * 3, unit * 8}) +
                       random.in(-1, 1);
            step = std::max(step, int64_t{0});
            OwnBitPlaces places = {random.in(-1, 99) * unit / 100, step, unitBits, 0, size - 1};
            if (random.chance(20))
                places.start = random.in(-3, 3 + static_cast<int32_t>(size)) * unit;
            return places;
        };
        const OwnBitPlaces x = placesFor(width, columns);
        const OwnBitPlaces y = placesFor(src.count, rows);
        expectBits(
            dst, bitDst, columns,
            [&] {
                ownRows<OwnBits>().pick(
                    {src.row(0), src.step, x, y, dst.row(0), bitDst, dst.step, columns, rows});
            },
            [&](ptrdiff_t column, ptrdiff_t row) { return src.get(x.at(column), y.at(row)); },
            std::to_string(columns) + " of " + std::to_string(width) + " from " +
                std::to_string(x.start) + " in steps of " + std::to_string(x.step));
    });
}

TEST(Bits, ColumnsToRows) {
    kit::forSeeds(300, [](Random& random) {
        const int32_t columns = random.chance(50) ? random.in(1, 200) : random.in(400, 1100);
        const int32_t rows = random.chance(50) ? random.in(1, 100) : random.in(400, 600);
        const int32_t bitSrc = random.in(0, 20);
        const int32_t bitDst = random.in(0, 7);
        const Rows src(random, bitSrc + rows, columns);
        Rows dst(random, bitDst + columns, rows);
        // The destination's columns go down in the source and its rows to the left, or the other
        // way.
        const bool down = random.chance(50);
        expectBits(
            dst, bitDst, columns,
            [&] {
                ownRows<OwnBits>().turn({src.row(down ? 0 : columns - 1),
                                         bitSrc + (down ? rows - 1 : 0),
                                         down ? src.step : -src.step, down ? -1 : 1, dst.row(0),
                                         bitDst, dst.step, columns, rows});
            },
            [&](ptrdiff_t x, ptrdiff_t y) {
                return src.get(bitSrc + (down ? rows - 1 - y : y), down ? x : columns - 1 - x);
            },
            std::to_string(columns) + " by " + std::to_string(rows));
    });
}

} // namespace
