// The row kernels of every instruction set against the definitions of their samples: short and long
// runs at every phase, with constants of any size. Nothing but the run is written; the address
// sanitizer finds reads behind it.

#include "arith/pair.h"
#include "arith/samples.h"
#include "arith/single.h"
#include "kit/platform.h"

#include <cstring>
#include <memory>

namespace {

using kit::Random;
using samples::Place;

constexpr int32_t wideDepths[] = {DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S,
                                  DAX_DEPTH_32S}; // in the order of the tables

// The table of an operation for each instruction set that the processor has.
template <class Op> std::vector<const typename Op::Table*> tablesOf() {
    std::vector<const typename Op::Table*> tables;
    kit::forEachIsa([&] { tables.push_back(&ownRows<Op>()); });
    return tables;
}

// Samples with the ends of the range among them, at the end of their memory or at a random phase.
class Source {
public:
    Source() : memory(new uint8_t[size]) {}

    char* place(Random& random, int32_t depth, size_t bytes) {
        const size_t at = random.chance(50) ? size - bytes : static_cast<size_t>(random.in(0, 63));
        uint8_t* start = memory.get() + at;
        const std::vector<uint8_t>& samples = pool(depth);
        const int32_t slots = static_cast<int32_t>((samples.size() - bytes) / 4);
        memcpy(start, samples.data() + random.in(0, slots) * 4, bytes);
        return reinterpret_cast<char*>(start);
    }

private:
    static constexpr size_t size = 16384;

    static const std::vector<uint8_t>& pool(int32_t depth) {
        static std::map<int32_t, std::vector<uint8_t>> pools;
        std::vector<uint8_t>& bytes = pools[depth];
        if (bytes.empty()) {
            Random random(7);
            bytes = kit::Image({.depth = depth, .width = 24000, .height = 1}, random).bytes();
        }
        return bytes;
    }

    std::unique_ptr<uint8_t[]> memory;
};

// A destination before a run, with what a model makes of it, and after.
struct Destination {
    static constexpr size_t size = 16384;
    alignas(64) uint8_t before[size];
    alignas(64) uint8_t expected[size];
    alignas(64) uint8_t is[size];
    size_t used = 0;

    explicit Destination(Random& random) {
        for (uint8_t& byte : before) byte = static_cast<uint8_t>(random.bits());
    }

    // For a run within the first so many bytes.
    void start(size_t bytes) {
        used = bytes + 64;
        ASSERT_LE(used, size);
        memcpy(expected, before, used);
        memcpy(is, before, used);
    }
    char* at(size_t offset) { return reinterpret_cast<char*>(is + offset); }
    bool asExpected() const { return memcmp(is, expected, used) == 0; }
};

const uint8_t* bytesAt(const char* data) { return reinterpret_cast<const uint8_t*>(data); }

// Calls `run(count, phase)` for every length and phase.
template <class Run> void forEachRun(Run run) {
    for (int32_t count = 1; count <= 130; ++count)
        for (size_t phase = 0; phase < 64; ++phase) {
            run(count, phase);
            if (testing::Test::HasFailure()) return;
        }
}

// Steps of a strided run, in bytes, and its length.
struct Stride {
    explicit Stride(Random& random, int64_t size)
        : count(random.chance(80) ? random.in(1, 130) : random.in(250, 530)),
          from{anyStep(random, size), anyStep(random, size)}, to(anyStep(random, size)) {}

    static int64_t anyStep(Random& random, int64_t size) {
        return size * random.oneOf({1, 2, 3, 3, 4, 4, 5, 7});
    }
    size_t span(int64_t step, int64_t size) const {
        return static_cast<size_t>((count - 1) * step + size);
    }

    int64_t count;
    int64_t from[2];
    int64_t to;
};

template <class Op>
void expectSingle(samples::Function* sample, int64_t block8, int64_t block16,
                  bool unsignedToo = true) {
    Random random(1);
    Source source;
    const auto out = std::make_unique<Destination>(random);
    const auto tables = tablesOf<Op>();
    for (size_t d = 0; d < std::size(wideDepths); ++d) {
        const int32_t depth = wideDepths[d];
        const int64_t size = kit::bytesOf(depth);
        if (!unsignedToo && !kit::isSigned(depth)) continue;
        const auto anyValue = [&] {
            // A left shift comes with a count below the width alone.
            return sample == samples::lShiftS || (sample == samples::rShiftS && random.chance(80))
                       ? random.in(0, sample == samples::lShiftS ? kit::bitsOf(depth) - 1 : 40)
                       : samples::anyConstant(random);
        };
        forEachRun([&](int32_t count, size_t phase) {
            const auto bytes = static_cast<size_t>(count * size);
            const char* from = source.place(random, depth, bytes);
            const int32_t value = anyValue();
            const bool inPlace = random.chance(20);
            if (inPlace) memcpy(out->before + phase, from, bytes);
            out->start(phase + bytes);
            for (int64_t i = 0; i < count; ++i) {
                const Place place = samples::placeOf(bytesAt(out->at(phase)), i, count, size,
                                                     size == 1 ? block8 : block16);
                kit::writeSample(
                    out->expected + phase + i * size, depth,
                    sample(kit::readSample(bytesAt(from) + i * size, depth), value, depth, place));
            }
            for (const auto* table : tables) {
                memcpy(out->is, out->before, out->used);
                table->byDepth[d].line(inPlace ? out->at(phase) : from, out->at(phase), count,
                                       value);
                EXPECT_TRUE(out->asExpected()) << "depth " << depth << " count " << count
                                               << " phase " << phase << " value " << value;
            }
        });
        for (int32_t n = 0; n < 2000 && !testing::Test::HasFailure(); ++n) {
            const Stride stride(random, size);
            const char* from = source.place(random, depth, stride.span(stride.from[0], size));
            const auto phase = static_cast<size_t>(random.in(0, 63));
            const int32_t value = anyValue();
            out->start(phase + stride.span(stride.to, size));
            for (int64_t i = 0; i < stride.count; ++i)
                kit::writeSample(out->expected + phase + i * stride.to, depth,
                                 sample(kit::readSample(bytesAt(from) + i * stride.from[0], depth),
                                        value, depth, Place::alone));
            for (const auto* table : tables) {
                memcpy(out->is, out->before, out->used);
                table->byDepth[d].strided(from, out->at(phase), stride.count, stride.from[0],
                                          stride.to, value);
                EXPECT_TRUE(out->asExpected())
                    << "depth " << depth << " count " << stride.count << " steps " << stride.from[0]
                    << " " << stride.to << " value " << value;
            }
        }
    }
}

TEST(Rows, AddS) { expectSingle<OwnAddS>(samples::addS, 16, 32); }
TEST(Rows, SubtractS) { expectSingle<OwnSubtractS>(samples::subtractS, 16, 32); }
TEST(Rows, SubtractFromS) { expectSingle<OwnSubtractFromS>(samples::subtractFromS, 16, 32); }
TEST(Rows, MultiplyS) { expectSingle<OwnMultiplyS>(samples::multiplyS, 16, 8); }
TEST(Rows, Square) { expectSingle<OwnSquare>(samples::square, 16, 8); }
TEST(Rows, Abs) { expectSingle<OwnAbs>(samples::absolute, 8, 8, false); }
TEST(Rows, AndS) { expectSingle<OwnAndS>(samples::andS, 8, 8); }
TEST(Rows, OrS) { expectSingle<OwnOrS>(samples::orS, 8, 8); }
TEST(Rows, XorS) { expectSingle<OwnXorS>(samples::xorS, 8, 8); }
TEST(Rows, LShiftS) { expectSingle<OwnLShiftS>(samples::lShiftS, 8, 8); }
TEST(Rows, RShiftS) { expectSingle<OwnRShiftS>(samples::rShiftS, 16, 32); }

using PairSample = int64_t(int64_t a, int64_t b);

template <class Op> void expectPair(PairSample* sample, bool wrapsAtEnds = false) {
    Random random(2);
    Source sources[2];
    const auto out = std::make_unique<Destination>(random);
    const auto tables = tablesOf<Op>();
    for (size_t d = 0; d < std::size(wideDepths); ++d) {
        const int32_t depth = wideDepths[d];
        const int64_t size = kit::bytesOf(depth);
        const auto model = [&](const char* a, const char* b, Place place) {
            const int64_t exact =
                sample(kit::readSample(bytesAt(a), depth), kit::readSample(bytesAt(b), depth));
            return wrapsAtEnds && depth == DAX_DEPTH_16U && place == Place::end
                       ? samples::endProduct(exact)
                       : samples::limited(exact, depth);
        };
        forEachRun([&](int32_t count, size_t phase) {
            const auto bytes = static_cast<size_t>(count * size);
            const char* a = sources[0].place(random, depth, bytes);
            const char* b = sources[1].place(random, depth, bytes);
            const int32_t inPlace = random.in(0, 9); // 0 and 1: that source is the destination
            if (inPlace < 2) memcpy(out->before + phase, inPlace == 0 ? a : b, bytes);
            out->start(phase + bytes);
            for (int64_t i = 0; i < count; ++i)
                kit::writeSample(
                    out->expected + phase + i * size, depth,
                    model(a + i * size, b + i * size,
                          samples::placeOf(bytesAt(out->at(phase)), i, count, size, 8)));
            for (const auto* table : tables) {
                memcpy(out->is, out->before, out->used);
                char* dst = out->at(phase);
                table->byDepth[d].line(inPlace == 0 ? dst : a, inPlace == 1 ? dst : b, dst, count);
                EXPECT_TRUE(out->asExpected())
                    << "depth " << depth << " count " << count << " phase " << phase;
            }
        });
        for (int32_t n = 0; n < 2000 && !testing::Test::HasFailure(); ++n) {
            const Stride stride(random, size);
            const char* a = sources[0].place(random, depth, stride.span(stride.from[0], size));
            const char* b = sources[1].place(random, depth, stride.span(stride.from[1], size));
            const auto phase = static_cast<size_t>(random.in(0, 63));
            out->start(phase + stride.span(stride.to, size));
            for (int64_t i = 0; i < stride.count; ++i)
                kit::writeSample(
                    out->expected + phase + i * stride.to, depth,
                    model(a + i * stride.from[0], b + i * stride.from[1], Place::alone));
            for (const auto* table : tables) {
                memcpy(out->is, out->before, out->used);
                table->byDepth[d].strided(a, b, out->at(phase), stride.count, stride.from[0],
                                          stride.from[1], stride.to);
                EXPECT_TRUE(out->asExpected()) << "depth " << depth << " count " << stride.count;
            }
        }
    }
}

int64_t sumOf(int64_t a, int64_t b) { return a + b; }
int64_t differenceOf(int64_t a, int64_t b) { return a - b; }
int64_t productOf(int64_t a, int64_t b) { return a * b; }
int64_t bothOf(int64_t a, int64_t b) { return a & b; }
int64_t anyOf(int64_t a, int64_t b) { return a | b; }
int64_t oneOf(int64_t a, int64_t b) { return a ^ b; }

TEST(Rows, Add) { expectPair<OwnAdd>(sumOf); }
TEST(Rows, Subtract) { expectPair<OwnSubtract>(differenceOf); }
TEST(Rows, Multiply) { expectPair<OwnMultiply>(productOf, true); }
TEST(Rows, And) { expectPair<OwnAnd>(bothOf); }
TEST(Rows, Or) { expectPair<OwnOr>(anyOf); }
TEST(Rows, Xor) { expectPair<OwnXor>(oneOf); }

// Bits at every phase of the destination and any of the sources, in runs within a byte, in short
// ones and in such as are longer than the kernels' blocks; and whole words of them.
template <class Run, class Words>
void expectBits(bool two, int64_t (*bit)(int64_t a, int64_t b), Run run, Words runWords) {
    Random random(3);
    Source sources[2];
    const auto out = std::make_unique<Destination>(random);
    const auto expectRun = [&](int32_t count, size_t phase, bool wholeWords) {
        const int32_t bitDst = wholeWords ? 0 : static_cast<int32_t>(phase & 7);
        const size_t byte = wholeWords ? phase : phase >> 3;
        const int32_t bits = wholeWords ? count * 32 : count;
        // Without a second source, all ones or all zeroes.
        const uint32_t pattern = random.chance(50) ? 0xFFFFFFFF : 0;
        const char* from[2] = {};
        int32_t first[2] = {};
        for (size_t i = 0; i < 2; ++i) {
            first[i] = wholeWords ? 0 : random.in(0, 7);
            from[i] = sources[i].place(random, DAX_DEPTH_8U,
                                       static_cast<size_t>(first[i] + bits + 7) / 8);
        }
        out->start(byte + static_cast<size_t>(bitDst + bits + 7) / 8);
        for (int32_t i = 0; i < bits; ++i) {
            const auto bitOf = [&](size_t of) {
                return kit::readSample(bytesAt(from[of]), DAX_DEPTH_1U, first[of] + i);
            };
            kit::writeSample(out->expected + byte, DAX_DEPTH_1U,
                             bit(bitOf(0), two ? bitOf(1) : pattern & 1), bitDst + i);
        }
        for (size_t isa = 0; isa <= static_cast<size_t>(ownBestIsa()); ++isa) {
            memcpy(out->is, out->before, out->used);
            if (wholeWords)
                runWords(isa, from, out->at(byte), count, pattern);
            else
                run(isa, from, first, out->at(byte), bitDst, count, pattern);
            EXPECT_TRUE(out->asExpected())
                << "isa " << isa << " count " << count << " phase " << phase;
        }
    };
    forEachRun([&](int32_t count, size_t phase) {
        expectRun(count, phase, false);
        expectRun(count, phase, true);
    });
    for (int32_t n = 0; n < 300 && !testing::Test::HasFailure(); ++n)
        expectRun(random.in(131, 20000), static_cast<size_t>(random.in(0, 511)), false);
}

template <class Op> void expectPairBits(int64_t (*bit)(int64_t a, int64_t b)) {
    const auto tables = tablesOf<Op>();
    expectBits(
        true, bit,
        [&](size_t isa, const char* const* from, const int32_t* first, char* dst, int32_t bitDst,
            ptrdiff_t count, uint32_t) {
            tables[isa]->bits(from[0], first[0], from[1], first[1], dst, bitDst, count);
        },
        [&](size_t isa, const char* const* from, char* dst, ptrdiff_t count, uint32_t) {
            tables[isa]->words(from[0], from[1], dst, count);
        });
}

template <class Op> void expectSingleBits(int64_t (*bit)(int64_t a, int64_t c)) {
    const auto tables = tablesOf<Op>();
    expectBits(
        false, bit,
        [&](size_t isa, const char* const* from, const int32_t* first, char* dst, int32_t bitDst,
            ptrdiff_t count, uint32_t pattern) {
            tables[isa]->bits(from[0], first[0], dst, bitDst, count, pattern);
        },
        [&](size_t isa, const char* const* from, char* dst, ptrdiff_t count, uint32_t pattern) {
            tables[isa]->words(from[0], dst, count, pattern);
        });
}

int64_t withoutOf(int64_t a, int64_t b) { return a & ~b & 1; }

TEST(Rows, PairBits) {
    expectPairBits<OwnAdd>(anyOf);
    expectPairBits<OwnSubtract>(withoutOf);
    expectPairBits<OwnMultiply>(bothOf);
    expectPairBits<OwnAnd>(bothOf);
    expectPairBits<OwnOr>(anyOf);
    expectPairBits<OwnXor>(oneOf);
}

TEST(Rows, SingleBits) {
    expectSingleBits<OwnAddS>(anyOf);
    expectSingleBits<OwnSubtractS>(withoutOf);
    expectSingleBits<OwnSubtractFromS>([](int64_t a, int64_t c) { return withoutOf(c, a); });
    expectSingleBits<OwnMultiplyS>(bothOf);
    expectSingleBits<OwnSquare>([](int64_t a, int64_t) { return a; });
    expectSingleBits<OwnAndS>(bothOf);
    expectSingleBits<OwnOrS>(anyOf);
    expectSingleBits<OwnXorS>(oneOf);
    expectSingleBits<OwnRShiftS>(bothOf);
}

} // namespace
