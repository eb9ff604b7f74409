#include "filter/median.h"

#include "frame/lanes.h"

#include <cstring>

namespace {

template <class T> void order(T& a, T& b) {
    const T low = b < a ? b : a;
    b = a < b ? b : a;
    a = low;
}

template <class T> T least(T a, T b) { return b < a ? b : a; }
template <class T> T most(T a, T b) { return a < b ? b : a; }
template <class T> T middle(T a, T b, T c) { return most(least(a, b), least(most(a, b), c)); }

template <class T> void order3(T& a, T& b, T& c) {
    order(b, c);
    order(a, b);
    order(b, c);
}

template <class T> void order5(T& a, T& b, T& c, T& d, T& e) {
    order(a, b);
    order(d, e);
    order(c, e);
    order(c, d);
    order(b, e);
    order(a, d);
    order(a, c);
    order(b, d);
    order(b, c);
}

// Calls `use(first, count)` for parts that make up a line, all of them whole vectors if there is
// one in it: the last overlaps the one before, since cell after cell would take longer than all the
// rest.
template <class T, class Use> void inVectors(ptrdiff_t cells, Use use) {
    constexpr ptrdiff_t vector = 64 / sizeof(T);
    if (cells < vector) {
        use(0, cells);
        return;
    }
    const ptrdiff_t whole = cells / vector * vector;
    use(0, whole);
    if (whole < cells) use(cells - vector, vector);
}

// Of sorted columns, the largest of the least, the middle of the middle and the least of the
// largest hold the median in their middle.
template <class T>
void medianOfNine(const OwnMedianWindow& window, char*, char* dst, ptrdiff_t cells) {
    const auto* top = ownLanes<T>(window.lines[0]);
    const auto* mid = ownLanes<T>(window.lines[1]);
    const auto* low = ownLanes<T>(window.lines[2]);
    const ptrdiff_t d = window.distance;
    auto* z = ownLanes<T>(dst);
    inVectors<T>(cells, [=](ptrdiff_t first, ptrdiff_t count) {
        OWN_EACH_ALONE
        for (ptrdiff_t i = first; i < first + count; ++i) {
            T a0 = top[i], a1 = mid[i], a2 = low[i];
            T b0 = top[i + d], b1 = mid[i + d], b2 = low[i + d];
            T c0 = top[i + 2 * d], c1 = mid[i + 2 * d], c2 = low[i + 2 * d];
            order3(a0, a1, a2);
            order3(b0, b1, b2);
            order3(c0, c1, c2);
            z[i] = middle(most(most(a0, b0), c0), middle(a1, b1, c1), least(least(a2, b2), c2));
        }
    });
}

// Puts the least of so many values first and the largest last.
template <class T> void ends3(T& a, T& b, T& c) { order3(a, b, c); }
template <class T> void ends4(T& a, T& b, T& c, T& d) {
    order(a, b);
    order(c, d);
    order(a, c);
    order(b, d);
}
template <class T> void ends5(T& a, T& b, T& c, T& d, T& e) {
    order(a, b);
    order(c, d);
    order(a, c);
    order(a, e);
    order(d, e);
    order(b, e);
}
template <class T> void ends6(T& a, T& b, T& c, T& d, T& e, T& f) {
    order(a, d);
    order(b, e);
    order(c, f);
    order(a, b);
    order(a, c);
    order(e, f);
    order(d, f);
}
template <class T> void ends7(T& a, T& b, T& c, T& d, T& e, T& f, T& g) {
    order(a, d);
    order(b, e);
    order(c, f);
    order(a, b);
    order(a, c);
    order(e, f);
    order(d, f);
    order(a, g);
    order(f, g);
}
template <class T> void ends8(T& a, T& b, T& c, T& d, T& e, T& f, T& g, T& h) {
    order(a, e);
    order(b, f);
    order(c, g);
    order(d, h);
    order(a, b);
    order(c, d);
    order(a, c);
    order(e, f);
    order(g, h);
    order(f, h);
}

// The rows of sorted columns are sorted. Of those only 13 values can be the median, and as many of
// the rest lie below them as above; their own median is found by leaving out the least and the
// largest of those that it takes to know that neither is it, again and again.
template <class T>
void middleOfColumns(const T* s0, ptrdiff_t columns, ptrdiff_t d, char* dst, ptrdiff_t cells) {
    const T* const s1 = s0 + columns;
    const T* const s2 = s1 + columns;
    const T* const s3 = s2 + columns;
    const T* const s4 = s3 + columns;
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < cells; ++i) {
        const auto sorted = [&](const T* row, T(&v)[5]) {
            for (int k = 0; k < 5; ++k) v[k] = row[i + k * d];
            order5(v[0], v[1], v[2], v[3], v[4]);
        };
        T r0[5], r1[5], r2[5], r3[5], r4[5];
        sorted(s0, r0);
        sorted(s1, r1);
        sorted(s2, r2);
        sorted(s3, r3);
        sorted(s4, r4);
        T v[8] = {r0[3], r0[4], r1[2], r1[3], r2[1], r2[2], r3[0], r4[0]};
        ends8(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
        T w = r1[4];
        ends7(v[1], v[2], v[3], v[4], v[5], v[6], w);
        T x = r2[3];
        ends6(v[2], v[3], v[4], v[5], v[6], x);
        T y = r3[1];
        ends5(v[3], v[4], v[5], v[6], y);
        T u = r3[2];
        ends4(v[4], v[5], v[6], u);
        T t = r4[1];
        ends3(v[5], v[6], t);
        z[i] = v[6];
    }
}

// The columns of the window are sorted first, each once for the five windows that it is in.
template <class T>
void medianOfTwentyFive(const OwnMedianWindow& window, char* work, char* dst, ptrdiff_t cells) {
    const ptrdiff_t d = window.distance;
    const ptrdiff_t columns = cells + 4 * d;
    const auto* l0 = ownLanes<T>(window.lines[0]);
    const auto* l1 = ownLanes<T>(window.lines[1]);
    const auto* l2 = ownLanes<T>(window.lines[2]);
    const auto* l3 = ownLanes<T>(window.lines[3]);
    const auto* l4 = ownLanes<T>(window.lines[4]);
    T* const s0 = reinterpret_cast<T*>(work);
    T* const s1 = s0 + columns;
    T* const s2 = s1 + columns;
    T* const s3 = s2 + columns;
    T* const s4 = s3 + columns;
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < columns; ++i) {
        T a = l0[i], b = l1[i], c = l2[i], e = l3[i], f = l4[i];
        order5(a, b, c, e, f);
        s0[i] = a;
        s1[i] = b;
        s2[i] = c;
        s3[i] = e;
        s4[i] = f;
    }
    inVectors<T>(cells, [=](ptrdiff_t first, ptrdiff_t count) {
        middleOfColumns<T>(s0 + first, columns, d, dst + first * ptrdiff_t{sizeof(T)}, count);
    });
}

template <class T> struct WordOf;
template <> struct WordOf<uint8_t> { using type = uint8_t; };
template <> struct WordOf<int8_t> { using type = uint8_t; };
template <> struct WordOf<uint16_t> { using type = uint16_t; };
template <> struct WordOf<int16_t> { using type = uint16_t; };
template <> struct WordOf<int32_t> { using type = uint32_t; };

// How many of a window's values lie below what each cell tries.
template <class T, class U>
void countBelow(const OwnMedianWindow& window, ptrdiff_t first, ptrdiff_t count, const T* tried,
                U* below) {
    const ptrdiff_t d = window.distance;
    for (int32_t row = 0; row < window.nRows; ++row) {
        const auto* a = ownLanes<T>(window.lines[row]) + first;
        int32_t col = 0;
        for (; col + 4 <= window.nCols; col += 4, a += 4 * d) {
            const auto *b = a + d, *c = b + d, *e = c + d;
            OWN_EACH_ALONE
            for (ptrdiff_t i = 0; i < count; ++i) {
                U sum = below[i];
                sum = static_cast<U>(sum + static_cast<U>(a[i] < tried[i]));
                sum = static_cast<U>(sum + static_cast<U>(b[i] < tried[i]));
                sum = static_cast<U>(sum + static_cast<U>(c[i] < tried[i]));
                sum = static_cast<U>(sum + static_cast<U>(e[i] < tried[i]));
                below[i] = sum;
            }
        }
        for (; col < window.nCols; ++col, a += d) {
            OWN_EACH_ALONE
            for (ptrdiff_t i = 0; i < count; ++i)
                below[i] = static_cast<U>(below[i] + static_cast<U>(a[i] < tried[i]));
        }
    }
}

// Bit by bit from the top: the median is the largest number that at most half of the window's
// values lie below. The cells of a block are worked side by side.
template <class T>
void medianOfAny(const OwnMedianWindow& window, char*, char* dst, ptrdiff_t cells) {
    using U = typename WordOf<T>::type;
    constexpr U top = static_cast<U>(U{1} << (sizeof(U) * 8 - 1));
    constexpr U flip = static_cast<T>(-1) < 0 ? top : 0;
    constexpr ptrdiff_t block = 512 / sizeof(T);
    const U half = static_cast<U>(int64_t{window.nRows} * window.nCols / 2);
    inVectors<T>(cells, [=, &window](ptrdiff_t begin, ptrdiff_t all) {
        for (ptrdiff_t first = begin; first < begin + all; first += block) {
            const ptrdiff_t rest = begin + all - first;
            const ptrdiff_t count = rest < block ? rest : block;
            U found[block] = {};
            T tried[block];
            U below[block];
            for (U bit = top; bit != 0; bit = static_cast<U>(bit >> 1)) {
                for (ptrdiff_t i = 0; i < block; ++i) {
                    tried[i] = static_cast<T>((found[i] | bit) ^ flip);
                    below[i] = 0;
                }
                countBelow<T, U>(window, first, count, tried, below);
                for (ptrdiff_t i = 0; i < count; ++i)
                    found[i] = static_cast<U>(below[i] <= half ? found[i] | bit : found[i]);
            }
            auto* z = ownLanes<T>(dst) + first;
            for (ptrdiff_t i = 0; i < count; ++i) z[i] = static_cast<T>(found[i] ^ flip);
        }
    });
}

// The first of 16 bins with which a sum from the first on exceeds `place`; `before` becomes the sum
// without it. Without a branch, so that the search of the next pixel needn't wait.
template <class C> ptrdiff_t binAt(const C* bins, C place, C& before) {
    ptrdiff_t bin = 0;
    C sum = before;
    for (ptrdiff_t i = 0; i < 16; ++i) {
        sum = static_cast<C>(sum + bins[i]);
        const bool at = sum <= place;
        bin += at ? 1 : 0;
        before = at ? sum : before;
    }
    return bin;
}

template <class C> void addBins(C* to, const C* bins) {
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < 16; ++i) to[i] = static_cast<C>(to[i] + bins[i]);
}

template <class C> void exchangeBins(C* to, const C* entering, const C* leaving) {
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < 16; ++i) to[i] = static_cast<C>(to[i] + entering[i] - leaving[i]);
}

// Each column of the rows of the window has a histogram of its own (Perreault and Hebert), with one
// of 16 bins over it, so that the cost of a pixel doesn't depend on the size of the window. The 16
// parts of the window's own histogram are brought up to date when the median is in them.
template <class C> struct Columns {
    static constexpr ptrdiff_t parts = 16;

    const OwnMedianArea& area;
    C* fine;   // 256 bins a column
    C* coarse; // 16 bins a column
    C* window; // 256 bins
    C* sums;   // 16 bins

    ptrdiff_t place(const char* sample) const {
        return static_cast<uint8_t>(*sample) ^ (area.isSigned ? 0x80 : 0);
    }

    template <bool enters> void count(const char* src, ptrdiff_t columns) {
        for (ptrdiff_t x = 0; x < columns; ++x) {
            const ptrdiff_t at = place(src + x * area.srcCellStep);
            C& bin = fine[x * 256 + at];
            C& sum = coarse[x * parts + at / parts];
            bin = static_cast<C>(enters ? bin + 1 : bin - 1);
            sum = static_cast<C>(enters ? sum + 1 : sum - 1);
        }
    }

    void row(char* dst, ptrdiff_t width) {
        ptrdiff_t updated[parts]; // the column of the window for which a part is right
        for (ptrdiff_t& column : updated) column = -area.nCols;
        const C middle = static_cast<C>(area.values / 2);
        memset(sums, 0, parts * sizeof(C));
        for (ptrdiff_t x = 0; x < area.nCols; ++x) addBins(sums, coarse + x * parts);
        for (ptrdiff_t x = 0; x < width; ++x) {
            if (x > 0)
                exchangeBins(sums, coarse + (x + area.nCols - 1) * parts, coarse + (x - 1) * parts);
            C before = 0;
            const ptrdiff_t part = binAt<C>(sums, middle, before);
            C* const bins = window + part * parts;
            const C* const from = fine + part * parts;
            ptrdiff_t column = updated[part];
            if (x - column >= area.nCols) {
                memset(bins, 0, parts * sizeof(C));
                for (ptrdiff_t i = 0; i < area.nCols; ++i) addBins(bins, from + (x + i) * 256);
            } else {
                for (; column < x; ++column)
                    exchangeBins(bins, from + (column + area.nCols) * 256, from + column * 256);
            }
            updated[part] = x;
            const ptrdiff_t median = part * parts + binAt<C>(bins, middle, before);
            dst[x * area.dstCellStep] = static_cast<char>(median ^ (area.isSigned ? 0x80 : 0));
        }
    }
};

template <class C> void columns8(const OwnMedianArea& area, void* work) {
    const ptrdiff_t most = ptrdiff_t{area.stripe} + area.nCols - 1;
    C* const fine = static_cast<C*>(work);
    C* const coarse = fine + most * 256;
    C* const window = coarse + most * 16;
    Columns<C> all = {area, fine, coarse, window, window + 256};
    for (ptrdiff_t first = 0; first < area.width; first += area.stripe) {
        const ptrdiff_t rest = area.width - first;
        const ptrdiff_t width = rest < area.stripe ? rest : area.stripe;
        const ptrdiff_t columns = width + area.nCols - 1;
        const char* src = area.src + first * area.srcCellStep;
        char* dst = area.dst + first * area.dstCellStep;
        memset(fine, 0, static_cast<size_t>(most) * 272 * sizeof(C));
        for (ptrdiff_t k = 0; k < area.nRows - 1; ++k)
            all.template count<true>(src + k * area.srcRowStep, columns);
        for (int32_t y = 0; y < area.height; ++y) {
            all.template count<true>(src + (area.nRows - 1) * area.srcRowStep, columns);
            all.row(dst, width);
            all.template count<false>(src, columns);
            src += area.srcRowStep;
            dst += area.dstRowStep;
        }
    }
}

// The histogram of the window slides along a row, in three layers, so that the way from one median
// to the next is short.
class Sliding16 {
public:
    Sliding16(uint32_t* work) : bins(work), mid(work + 65536), high(work + 65536 + 4096) {}

    void enter(uint32_t sample) { change(sample, 1); }
    void leave(uint32_t sample) { change(sample, ~uint32_t{0}); }

    // The value with at most `place` values below it and more than that up to it.
    uint32_t at(uint32_t place) {
        while (below > place) {
            if ((value & 0xFF) == 0 && below - high[(value >> 8) - 1] > place)
                below -= high[(value >> 8) - 1], value -= 256;
            else if ((value & 0xF) == 0 && below - mid[(value >> 4) - 1] > place)
                below -= mid[(value >> 4) - 1], value -= 16;
            else
                below -= bins[--value];
        }
        while (below + bins[value] <= place) {
            if ((value & 0xFF) == 0 && below + high[value >> 8] <= place)
                below += high[value >> 8], value += 256;
            else if ((value & 0xF) == 0 && below + mid[value >> 4] <= place)
                below += mid[value >> 4], value += 16;
            else
                below += bins[value++];
        }
        return value;
    }

private:
    uint32_t* bins;
    uint32_t* mid;
    uint32_t* high;
    uint32_t value = 0;
    uint32_t below = 0; // how many lie below `value`

    void change(uint32_t sample, uint32_t by) {
        bins[sample] += by;
        mid[sample >> 4] += by;
        high[sample >> 8] += by;
        below += sample < value ? by : 0;
    }
};

void sliding16(const OwnMedianArea& area, uint32_t* work) {
    memset(work, 0, ownSliding16Counters * sizeof(uint32_t));
    Sliding16 window(work);
    const uint32_t flip = area.isSigned ? 0x8000 : 0;
    const auto place = static_cast<uint32_t>(area.values / 2);
    const auto sample = [&](ptrdiff_t x, ptrdiff_t y) {
        return *ownLanes<uint16_t>(area.src + y * area.srcRowStep + x * area.srcCellStep) ^ flip;
    };
    const auto column = [&](ptrdiff_t x, ptrdiff_t y, bool enters) {
        for (ptrdiff_t k = 0; k < area.nRows; ++k) {
            if (enters)
                window.enter(sample(x, y + k));
            else
                window.leave(sample(x, y + k));
        }
    };
    for (ptrdiff_t y = 0; y < area.height; ++y) {
        for (ptrdiff_t x = 0; x < area.nCols; ++x) column(x, y, true);
        for (ptrdiff_t x = 0; x < area.width; ++x) {
            char* at = area.dst + y * area.dstRowStep + x * area.dstCellStep;
            *ownLanes<uint16_t>(at) = static_cast<uint16_t>(window.at(place) ^ flip);
            column(x, y, false);
            if (x < area.width - 1) column(x + area.nCols, y, true);
        }
        for (ptrdiff_t x = area.width; x < area.width + area.nCols - 1; ++x) column(x, y, false);
    }
}

void countBits(const char* bits, ptrdiff_t nCols, uint32_t* counts, ptrdiff_t width) {
    const auto bit = [&](ptrdiff_t x) {
        return static_cast<uint32_t>(static_cast<uint8_t>(bits[x >> 3]) >> (7 - (x & 7)) & 1);
    };
    uint32_t count = 0;
    for (ptrdiff_t x = 0; x < nCols - 1; ++x) count += bit(x);
    for (ptrdiff_t x = 0; x < width; ++x) {
        count += bit(x + nCols - 1);
        counts[x] = count;
        count -= bit(x);
    }
}

void moveBits(const uint32_t* entering, const uint32_t* leaving, uint32_t* totals, uint32_t enough,
              char* bits, ptrdiff_t width) {
    OWN_EACH_ALONE
    for (ptrdiff_t x = 0; x < width; ++x) totals[x] += entering[x];
    for (ptrdiff_t first = 0; first < width; first += 8) {
        uint32_t byte = 0;
        const ptrdiff_t end = width - first < 8 ? width - first : 8;
        for (ptrdiff_t x = 0; x < end; ++x) byte |= (totals[first + x] >= enough ? 0x80u : 0u) >> x;
        bits[first >> 3] = static_cast<char>(byte);
    }
    OWN_EACH_ALONE
    for (ptrdiff_t x = 0; x < width; ++x) totals[x] -= leaving[x];
}

template <class T> constexpr OwnMedianLines lines() {
    return {medianOfNine<T>, medianOfTwentyFive<T>, medianOfAny<T>};
}

constexpr OwnMedianTable table = {
    {lines<uint8_t>(), lines<int8_t>(), lines<uint16_t>(), lines<int16_t>(), lines<int32_t>()},
    {columns8<uint16_t>, columns8<uint32_t>},
    sliding16,
    countBits,
    moveBits,
};

} // namespace

template <> const OwnMedianTable& ownRowTable<OwnMedians, OWN_ISA>() { return table; }
