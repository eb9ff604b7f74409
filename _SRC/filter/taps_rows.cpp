#include "filter/tap_pairs.h"
#include "filter/taps.h"
#include "frame/lanes.h"

#include <utility>

namespace {

// Coefficients and sums of a pass stay in registers, and so do the addresses of its runs.
constexpr ptrdiff_t tapsOfPass = 9;

// A sum modulo 65536.
struct Narrow {
    using Cell = int16_t;
    using Sum = int16_t;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
        const uint32_t product =
            static_cast<uint32_t>(static_cast<uint16_t>(cell)) * static_cast<uint16_t>(coef);
        return static_cast<Sum>(static_cast<uint16_t>(static_cast<uint16_t>(sum) + product));
    }
};

// The same of bytes.
struct Bytes {
    using Cell = uint8_t;
    using Sum = int16_t;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
        return Narrow::add(sum, static_cast<int16_t>(cell), coef);
    }
};

// A sum held at the limits. The product always fits; it is brought into the range in which the sum
// fits, since lanes of 16 bits have minima and maxima.
struct Held {
    using Cell = int16_t;
    using Sum = int16_t;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
        const Sum product = Narrow::add(0, cell, coef);
        const auto least = static_cast<Sum>(INT16_MIN - (sum < 0 ? sum : 0));
        const auto most = static_cast<Sum>(INT16_MAX - (sum > 0 ? sum : 0));
        const Sum raised = product > least ? product : least;
        return static_cast<Sum>(sum + (raised < most ? raised : most));
    }
};

struct Wide {
    using Cell = int16_t;
    using Sum = int32_t;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
        const int32_t product = int32_t{cell} * int32_t{coef};
        return static_cast<Sum>(static_cast<uint32_t>(sum) + static_cast<uint32_t>(product));
    }
};

struct Words {
    using Cell = int32_t;
    using Sum = int32_t;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
        const uint32_t product = static_cast<uint32_t>(cell) * static_cast<uint32_t>(int32_t{coef});
        return static_cast<Sum>(static_cast<uint32_t>(sum) + product);
    }
};

struct Floats {
    using Cell = double;
    using Sum = double;
    static Sum add(Sum sum, Cell cell, int16_t coef) {
#ifdef __FMA__
        // The product is exact, so that there is one rounding in either way.
        return __builtin_fma(cell, static_cast<double>(coef), sum);
#else
        return sum + cell * static_cast<double>(coef);
#endif
    }
};

template <class Op>
using Pass = void (*)(const OwnWindow& window, ptrdiff_t from, typename Op::Sum start,
                      typename Op::Sum* sums, ptrdiff_t begin, ptrdiff_t end);

// The taps from one on, for the sums from `begin` to `end`.
template <class Op, bool first, int... k>
void runPass(const OwnWindow& window, ptrdiff_t from, typename Op::Sum start,
             typename Op::Sum* __restrict sums, ptrdiff_t begin, ptrdiff_t end) {
    const typename Op::Cell* const run[] = {window.run<typename Op::Cell>(from + k)...};
    const int16_t coef[] = {static_cast<int16_t>(window.taps[from + k].coef)...};
    OWN_EACH_ALONE
    for (ptrdiff_t i = begin; i < end; ++i) {
        typename Op::Sum sum = first ? start : sums[i];
        ((sum = Op::add(sum, run[k][i], coef[k])), ...);
        sums[i] = sum;
    }
}

template <class Op, bool first, int... k>
constexpr Pass<Op> passOf(std::integer_sequence<int, k...>) {
    return runPass<Op, first, k...>;
}

template <class Op, bool first, int... n> struct Passes {
    static constexpr Pass<Op> by[] = {
        passOf<Op, first>(std::make_integer_sequence<int, n + 1>{})...};
};

template <class Op, bool first, int... n>
constexpr Pass<Op> passOfCount(ptrdiff_t count, std::integer_sequence<int, n...>) {
    return Passes<Op, first, n...>::by[count - 1];
}

template <class Op>
void sumTaps(const OwnWindow& window, typename Op::Sum start, typename Op::Sum* sums,
             ptrdiff_t begin, ptrdiff_t end) {
    constexpr auto counts = std::make_integer_sequence<int, tapsOfPass>{};
    if (begin >= end) return;
    if (window.tapCount == 0)
        for (ptrdiff_t i = begin; i < end; ++i) sums[i] = start;
    for (ptrdiff_t done = 0; done < window.tapCount;) {
        const ptrdiff_t rest = window.tapCount - done;
        const ptrdiff_t count = rest < tapsOfPass ? rest : tapsOfPass;
        const auto pass = done == 0 ? passOfCount<Op, true>(count, counts)
                                    : passOfCount<Op, false>(count, counts);
        pass(window, done, start, sums, begin, end);
        done += count;
    }
}

template <class Op>
void sumFromZero(const OwnWindow& window, typename Op::Sum* sums, ptrdiff_t width) {
    sumTaps<Op>(window, 0, sums, 0, width);
}

struct Stretch {
    ptrdiff_t from;
    ptrdiff_t to;
};

// Where the run of a tap lies in whole groups of eight.
Stretch bodyOf(const OwnTap& tap, ptrdiff_t phase, ptrdiff_t pitch, ptrdiff_t width) {
    const ptrdiff_t head = -(phase + tap.row * pitch + tap.column) & 7;
    if (head >= width) return {width, width};
    return {head, head + (width - head) / 8 * 8};
}

void sumHeld(const OwnWindow& window, ptrdiff_t phase, ptrdiff_t pitch, int16_t* sums,
             ptrdiff_t width) {
    Stretch common = {0, width};
    for (ptrdiff_t t = 0; t < window.tapCount; ++t) {
        const Stretch body = bodyOf(window.taps[t], phase, pitch, width);
        if (body.from > common.from) common.from = body.from;
        if (body.to < common.to) common.to = body.to;
    }
    if (common.to < common.from) common.to = common.from;
    const auto single = [&](ptrdiff_t i) {
        int16_t sum = 0;
        for (ptrdiff_t t = 0; t < window.tapCount; ++t) {
            const Stretch body = bodyOf(window.taps[t], phase, pitch, width);
            const auto coef = static_cast<int16_t>(window.taps[t].coef);
            const int16_t cell = window.run<int16_t>(t)[i];
            sum = i >= body.from && i < body.to ? Held::add(sum, cell, coef)
                                                : Narrow::add(sum, cell, coef);
        }
        sums[i] = sum;
    };
    for (ptrdiff_t i = 0; i < common.from; ++i) single(i);
    sumTaps<Held>(window, 0, sums, common.from, common.to);
    for (ptrdiff_t i = common.to; i < width; ++i) single(i);
}

void sumBytes(const OwnWindow& window, int32_t start, int16_t* sums, ptrdiff_t width) {
    ptrdiff_t done = 0;
#ifdef __AVX2__
    done = sumPairs<BytePairs>(window, start, sums, width);
#endif
    const auto from = static_cast<int16_t>(static_cast<uint16_t>(start));
    sumTaps<Bytes>(window, from, sums, done, width);
}

void sumWide(const OwnWindow& window, int32_t start, int32_t* sums, ptrdiff_t width) {
    ptrdiff_t done = 0;
#ifdef __AVX2__
    done = sumPairs<WordPairs>(window, start, sums, width);
#endif
    sumTaps<Wide>(window, start, sums, done, width);
}

constexpr OwnTapTable table = {
    sumBytes,
    sumFromZero<Narrow>,
    sumHeld,
    sumWide,
    sumFromZero<Words>,
    sumFromZero<Floats>,
#ifdef __AVX2__
    {pairTaps<BytePairs>, pairTaps<WordPairs>},
    {storePairs<BytePairs, false>, storePairs<BytePairs, true>, storePairs<WordPairs, false>,
     storePairs<WordPairs, true>, storeHalves},
#else
    {},
    {},
#endif
};

} // namespace

template <> const OwnTapTable& ownRowTable<OwnTaps, OWN_ISA>() { return table; }
