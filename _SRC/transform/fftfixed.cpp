// The fixed-point engine: 32-bit integers with 6 fraction bits and coefficients with 14. Its sums
// wrap, and products are cut, never rounded: the steps are part of the results.
#include "frame/depth.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "transform/daxfft2d.h"
#include "transform/turn.h"

#include <bit>

namespace {

constexpr int32_t fractionBits = 6;
constexpr int32_t coefficientBits = 14;
constexpr double coefficientOne = 1 << coefficientBits;

int32_t plus(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

int32_t minus(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

int32_t shiftedLeft(int32_t a, int32_t bits) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) << bits);
}

struct Complex {
    int32_t re;
    int32_t im;
};

Complex operator+(Complex a, Complex b) { return {plus(a.re, b.re), plus(a.im, b.im)}; }
Complex operator-(Complex a, Complex b) { return {minus(a.re, b.re), minus(a.im, b.im)}; }
Complex byMinusI(Complex a) { return {a.im, minus(0, a.re)}; }
Complex conjugate(Complex a) { return {a.re, minus(0, a.im)}; }

// Both halves of the 32-bit parts against a pair of words; there is nothing wider than 32 bits.
int32_t dot(Complex a, const int16_t* words) {
    const int32_t low = (a.re & 0xFFFF) / 2 * words[0] + (a.im & 0xFFFF) / 2 * words[1];
    const int32_t high = (a.re >> 16) * words[0] + (a.im >> 16) * words[1];
    return plus(low >> 13, shiftedLeft(high, 2));
}

// By the forward root: the words are c, s, -s and c.
Complex turned(Complex a, const int16_t* words) { return {dot(a, words), dot(a, words + 2)}; }

// One term of a direct sum.
int32_t term(int32_t x, int16_t coefficient) {
    return static_cast<int32_t>(int64_t{x} * coefficient >> coefficientBits);
}

bool isPowerOfTwo(int32_t n) { return std::has_single_bit(static_cast<uint32_t>(n)); }

// Radix 4, decimation in frequency, in place: the result lies in bit-reversed order.
void radix4(Complex* x, int32_t n, const OwnFixedTable& table) {
    int32_t size = n;
    for (; size >= 4; size /= 4) {
        const int32_t quarter = size / 4;
        const ptrdiff_t step = ptrdiff_t{table.length / size} * 4; // of the root in words
        for (Complex* block = x; block < x + n; block += size)
            for (int32_t i = 0; i < quarter; ++i) {
                Complex* const at = block + i;
                const Complex a = at[0] + at[quarter * 2];
                const Complex b = at[0] - at[quarter * 2];
                const Complex c = at[quarter] + at[quarter * 3];
                const Complex d = byMinusI(at[quarter] - at[quarter * 3]);
                at[0] = a + c;
                at[quarter] = a - c;
                at[quarter * 2] = b + d;
                at[quarter * 3] = b - d;
                if (i == 0) continue;
                at[quarter] = turned(at[quarter], table.words + step * i * 2);
                at[quarter * 2] = turned(at[quarter * 2], table.words + step * i);
                at[quarter * 3] = turned(at[quarter * 3], table.words + step * i * 3);
            }
    }
    if (size == 2)
        for (Complex* pair = x; pair < x + n; pair += 2) {
            const Complex sum = pair[0] + pair[1];
            pair[1] = pair[0] - pair[1];
            pair[0] = sum;
        }
}

void reverseBits(Complex* x, int32_t n, const OwnFixedTable& table) {
    // The table is that of the length or of its double.
    const int32_t extra = table.length / n;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t other = table.reversal[i] / extra;
        if (i >= other) continue;
        const Complex kept = x[i];
        x[i] = x[other];
        x[other] = kept;
    }
}

// A sequence of one length, with its table and the room for a copy.
class FixedSequence {
public:
    FixedSequence() = default;
    FixedSequence(int32_t length, int32_t direction, const OwnFixedTable* words, Complex* copyRoom)
        : n(length), inverse(direction < 0), table(words), room(copyRoom) {}

    void complexToComplex(Complex* x) const {
        if (isPowerOfTwo(n))
            fastComplex(x, n, inverse);
        else
            directComplex(x);
    }

    void realToPacked(int32_t* x) const {
        if (n >= 4 && isPowerOfTwo(n))
            splitReal(x);
        else
            directReal(x);
    }

    void packedToReal(int32_t* x) const {
        if (n >= 4 && isPowerOfTwo(n))
            joinPacked(x);
        else
            directPacked(x);
    }

private:
    // For the other sign, the transform runs between conjugates.
    void fastComplex(Complex* x, int32_t length, bool isInverse) const {
        if (length < 2) return;
        for (int32_t i = 0; isInverse && i < length; ++i) x[i] = conjugate(x[i]);
        radix4(x, length, *table);
        reverseBits(x, length, *table);
        for (int32_t i = 0; isInverse && i < length; ++i) x[i] = conjugate(x[i]);
    }

    int32_t next(int32_t index, int32_t k) const {
        return index + k < n ? index + k : index + k - n;
    }
    const int16_t* words(int32_t index) const { return table->words + ptrdiff_t{index} * 4; }

    void directComplex(Complex* x) const {
        for (int32_t i = 0; i < n; ++i) room[i] = x[i];
        for (int32_t k = 0; k < n; ++k) {
            Complex sum = {0, 0};
            int32_t index = 0;
            for (int32_t i = 0; i < n; ++i) {
                const int16_t c = words(index)[0];
                const int16_t s = words(index)[1];
                const Complex cosine = {term(room[i].re, c), term(room[i].im, c)};
                const Complex sine = byMinusI({term(room[i].re, s), term(room[i].im, s)});
                sum = sum + cosine;
                sum = inverse ? sum - sine : sum + sine;
                index = next(index, k);
            }
            x[k] = sum;
        }
    }

    void directReal(int32_t* x) const {
        int32_t* const in = reinterpret_cast<int32_t*>(room);
        int32_t sum = 0;
        int32_t alternating = 0;
        for (int32_t i = 0; i < n; ++i) {
            in[i] = x[i];
            sum = plus(sum, x[i]);
            alternating = i % 2 == 0 ? plus(alternating, x[i]) : minus(alternating, x[i]);
        }
        for (int32_t k = 1; k <= (n - 1) / 2; ++k) {
            Complex value = {0, 0};
            int32_t index = 0;
            for (int32_t i = 0; i < n; ++i) {
                value.re = plus(value.re, term(in[i], words(index)[0]));
                value.im = plus(value.im, term(in[i], words(index)[1]));
                index = next(index, k);
            }
            x[k * 2 - 1] = value.re;
            x[k * 2] = inverse ? value.im : minus(0, value.im);
        }
        x[0] = sum;
        if (n % 2 == 0) x[n - 1] = alternating;
    }

    void directPacked(int32_t* x) const {
        int32_t* const in = reinterpret_cast<int32_t*>(room);
        for (int32_t i = 0; i < n; ++i) in[i] = x[i];
        const int32_t middle = n % 2 == 0 ? in[n - 1] : 0;
        for (int32_t i = 0; i < n; ++i) {
            const int32_t start = i % 2 == 0 ? plus(in[0], middle) : minus(in[0], middle);
            int32_t sum = 0;
            int32_t index = 0;
            for (int32_t k = 1; k <= (n - 1) / 2; ++k) {
                index = next(index, i);
                const int32_t sine = term(in[k * 2], words(index)[1]);
                sum = plus(sum, term(in[k * 2 - 1], words(index)[0]));
                sum = inverse ? minus(sum, sine) : plus(sum, sine);
            }
            x[i] = plus(start, shiftedLeft(sum, 1));
        }
    }

    // The even and the odd samples as one complex sequence of half the length.
    void splitReal(int32_t* x) const {
        const int32_t half = n / 2;
        for (int32_t i = 0; i < half; ++i) room[i] = {x[i * 2], x[i * 2 + 1]};
        fastComplex(room, half, false);
        x[0] = plus(room[0].re, room[0].im);
        x[n - 1] = minus(room[0].re, room[0].im);
        for (int32_t k = 1; k <= half / 2; ++k) {
            const Complex sum = room[k] + conjugate(room[half - k]);
            const Complex difference = room[k] - conjugate(room[half - k]);
            const Complex odd = byMinusI(turned(difference, words(k)));
            put(x, k, sum + odd);
            put(x, half - k, conjugate(sum - odd));
        }
    }

    void put(int32_t* x, int32_t k, Complex twice) const {
        const Complex value = inverse ? conjugate(twice) : twice;
        x[k * 2 - 1] = value.re >> 1;
        x[k * 2] = value.im >> 1;
    }

    Complex packed(const int32_t* x, int32_t k) const {
        const Complex value = {x[k * 2 - 1], x[k * 2]};
        return inverse ? value : conjugate(value);
    }

    void joinPacked(int32_t* x) const {
        const int32_t half = n / 2;
        room[0] = {plus(x[0], x[n - 1]), minus(x[0], x[n - 1])};
        for (int32_t k = 1; k <= half / 2; ++k) {
            const Complex near = packed(x, k);
            const Complex far = conjugate(packed(x, half - k));
            // Times i and the inverse root.
            const Complex difference = conjugate(turned(conjugate(near - far), words(k)));
            const Complex odd = byMinusI(difference);
            const Complex sum = near + far;
            room[k] = sum - odd;
            room[half - k] = conjugate(sum + odd);
        }
        fastComplex(room, half, true);
        for (int32_t i = 0; i < half; ++i) {
            x[i * 2] = room[i].re;
            x[i * 2 + 1] = room[i].im;
        }
    }

    int32_t n = 0;
    bool inverse = false;
    const OwnFixedTable* table = nullptr;
    Complex* room = nullptr;
};

// Away from the fraction bits; what lies between -(2^s) and 0 becomes 0.
int32_t shiftedRight(int32_t value, int32_t s) {
    if (s > 31 || (value < 0 && value > -(int64_t{1} << s))) return 0;
    return value >> s;
}

int32_t scaled(int32_t value, float scale) {
    const double product = double{static_cast<float>(value) * scale};
    if (product >= 0x1p31) return INT32_MAX;
    if (product <= -0x1p31) return INT32_MIN;
    return static_cast<int32_t>(static_cast<uint32_t>(std::bit_cast<uint64_t>(product + 0x1.8p52)));
}

int16_t coefficient(double value) {
    const double scaledValue = value * coefficientOne;
    return static_cast<int16_t>(scaledValue < 0 ? scaledValue - 0.5 : scaledValue + 0.5);
}

const OwnFixedTable* tableFor(OwnFixedTable** list, int32_t n) {
    for (const OwnFixedTable* table = *list; table != nullptr; table = table->next)
        if (table->length == n) return table;
    OwnBuffer<OwnFixedTable> made(1);
    OwnBuffer<int16_t> words(int64_t{n} * 4);
    OwnBuffer<int32_t> reversal(n);
    if (!made || !words || !reversal) return nullptr;
    for (int32_t k = 0; k < n; ++k) {
        const OwnTurn turn = ownTurn(k, n);
        int16_t* const at = words.get() + ptrdiff_t{k} * 4;
        at[0] = at[3] = coefficient(turn.cos);
        at[1] = coefficient(turn.sin);
        at[2] = static_cast<int16_t>(-at[1]);
    }
    reversal[0] = 0;
    if (isPowerOfTwo(n))
        for (int32_t i = 1; i < n; ++i)
            reversal[i] = reversal[i / 2] / 2 + (i % 2 == 0 ? 0 : n / 2);
    made[0] = {*list, n, words.release(), reversal.release()};
    *list = made.release();
    return *list;
}

class FixedFft {
public:
    FixedFft(OwnFft* state, OwnFftWay theWay)
        : fft(*state), plan(state->plan), way(theWay), width(plan.fftW), height(plan.fftH),
          src(ownFftSource(plan)), dst(ownFftTarget(plan)) {}

    bool run() {
        const int32_t longer = width > height ? width : height;
        auto* const room = fft.buffers.take<Complex>(longer);
        column = fft.buffers.take<Complex>(longer);
        numbers = fft.buffers.take<int32_t>(int64_t{width} * height);
        const OwnFixedTable* const widthTable = tableFor(&fft.fixed, width);
        const OwnFixedTable* const heightTable = tableFor(&fft.fixed, height);
        if (room == nullptr || column == nullptr || numbers == nullptr || widthTable == nullptr ||
            heightTable == nullptr)
            return false;
        along = FixedSequence(width, plan.fftDirection, widthTable, room);
        down = FixedSequence(height, plan.fftDirection, heightTable, room);

        for (ptrdiff_t y = 0; y < height; ++y) src.fetchRow(y, row(y), width);
        for (ptrdiff_t i = 0; i < count(); ++i) numbers[i] = shiftedLeft(numbers[i], fractionBits);
        if (way == OwnFftWay::realToPacked) {
            for (ptrdiff_t y = 0; y < height; ++y) along.realToPacked(row(y));
            columns();
        } else {
            columns();
            for (ptrdiff_t y = 0; y < height; ++y) along.packedToReal(row(y));
        }
        finish();
        const auto narrow = ownRows<OwnFftKernels>().narrow[ownDepthIndex(dst.depth)];
        for (ptrdiff_t y = 0; y < height; ++y) {
            char* const to = dst.first + y * dst.rowStep;
            narrow(row(y), to, dst.pixelStep, dst.inside(to, dst.pixelStep, width));
        }
        return true;
    }

private:
    ptrdiff_t count() const { return ptrdiff_t{width} * height; }
    int32_t* row(ptrdiff_t y) const { return numbers + y * width; }

    void columns() const {
        if (height == 1) return;
        realColumn(0);
        if (width % 2 == 0) realColumn(width - 1);
        for (ptrdiff_t x = 1; x + 1 < width; x += 2) {
            for (ptrdiff_t y = 0; y < height; ++y) column[y] = {row(y)[x], row(y)[x + 1]};
            down.complexToComplex(column);
            for (ptrdiff_t y = 0; y < height; ++y) {
                row(y)[x] = column[y].re;
                row(y)[x + 1] = column[y].im;
            }
        }
    }

    void realColumn(ptrdiff_t x) const {
        int32_t* const values = reinterpret_cast<int32_t*>(column);
        for (ptrdiff_t y = 0; y < height; ++y) values[y] = row(y)[x];
        if (way == OwnFftWay::realToPacked)
            down.realToPacked(values);
        else
            down.packedToReal(values);
        for (ptrdiff_t y = 0; y < height; ++y) row(y)[x] = values[y];
    }

    // Scaling by a power of two is part of the shift.
    void finish() const {
        const bool shifts = plan.fftScale != 0 && plan.fftOrderW > 0 && plan.fftOrderH > 0;
        const int32_t s = fractionBits + (shifts ? plan.fftOrderW + plan.fftOrderH : 0);
        for (ptrdiff_t i = 0; i < count(); ++i) numbers[i] = shiftedRight(numbers[i], s);
        if (plan.fftScale == 0 || shifts) return;
        const auto scale = static_cast<float>(1.0 / static_cast<double>(count()));
        for (ptrdiff_t i = 0; i < count(); ++i) numbers[i] = scaled(numbers[i], scale);
    }

    OwnFft& fft;
    const OwnFftPlan& plan;
    OwnFftWay way;
    int32_t width;
    int32_t height;
    OwnFftPlane src;
    OwnFftPlane dst;
    FixedSequence along;
    FixedSequence down;
    Complex* column = nullptr;
    int32_t* numbers = nullptr;
};

} // namespace

bool ownFixedFft(OwnFft* fft, OwnFftWay way) { return FixedFft(fft, way).run(); }
