#include "geometry/bits.h"

#include "frame/bit_lanes.h"
#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstring>

namespace {

// The bytes of a destination row that hold bits of a run.
struct Run {
    ptrdiff_t bytes;
    uint8_t head; // the bits taken of the first byte
    uint8_t tail; // and of the last

    Run(ptrdiff_t bit, ptrdiff_t count)
        : bytes((bit + count + 7) / 8), head(static_cast<uint8_t>(0xFF >> bit)),
          tail(static_cast<uint8_t>(0xFF00 >> ((bit + count - 1) % 8 + 1))) {
        if (bytes == 1) head = tail = head & tail;
    }

    uint8_t taken(ptrdiff_t byte) const {
        return byte == 0 ? head : byte == bytes - 1 ? tail : byte < bytes ? 0xFF : 0;
    }
};

void mergeByte(char* dst, uint32_t bits, uint32_t taken) {
    *dst = static_cast<char>((static_cast<uint8_t>(*dst) & ~taken) | (bits & taken));
}

// Some of the destination's rows, and the source row of each.
struct Band {
    static constexpr ptrdiff_t most = 64;

    const char* src[most];
    char* dst;
    ptrdiff_t step;
    ptrdiff_t rows;

    // How many rows from one on have the same source row.
    ptrdiff_t same(ptrdiff_t row) const {
        ptrdiff_t end = row + 1;
        while (end < rows && src[end] == src[row]) ++end;
        return end - row;
    }
};

// The places of some columns, counted from the top of a byte of the source row, which is returned.
// Columns beside the run have the places of its ends.
template <ptrdiff_t count>
OWN_INLINE ptrdiff_t placesOf(const OwnPickedBits& bits, ptrdiff_t column, int32_t* places) {
    const OwnBitPlaces& x = bits.x;
    const ptrdiff_t before = column < 0 ? -column : 0;
    const ptrdiff_t behind = bits.columns - 1 - column;
    const int64_t position = x.start + (column + before) * x.step;
    const int64_t whole = position >> x.unitBits;
    const auto part = static_cast<int32_t>(position - (whole << x.unitBits));
    const ptrdiff_t byte = x.inside(whole) >> 3;
    const auto within = [byte](int64_t place) {
        place -= byte * 8;
        return static_cast<int32_t>(place < INT32_MIN / 2   ? INT32_MIN / 2
                                    : place > INT32_MAX / 2 ? INT32_MAX / 2
                                                            : place);
    };
    const int32_t base = within(whole);
    const int32_t least = within(x.least);
    const int32_t most = within(x.most);
    const auto step = static_cast<int32_t>(x.step);
    const auto first = static_cast<int32_t>(before);
    const auto last = static_cast<int32_t>(behind < count ? behind : count);
    for (int32_t i = 0; i < count; ++i) {
        int32_t k = i > last ? last : i;
        k = k < first ? 0 : k - first;
        int32_t place = base + ((part + k * step) >> x.unitBits);
        place = place < least ? least : place;
        places[i] = place > most ? most : place;
    }
    return byte;
}

// Steps make so many columns of a band. Whole bytes of the destination go in a step, the first of
// which may begin before the run.

// Bytes, bit by bit.
struct ByteStep {
    static constexpr ptrdiff_t columns = 8;

    int64_t at[8];
    uint8_t taken;

    void set(const OwnPickedBits& bits, const Run& run, ptrdiff_t byte) {
        for (ptrdiff_t i = 0; i < 8; ++i) {
            const ptrdiff_t column = byte * 8 - bits.bitDst + i;
            at[i] = bits.x.at(column < 0 ? 0 : column);
        }
        taken = run.taken(byte);
    }

    static void make(const ByteStep* steps, ptrdiff_t count, const Band& band) {
        for (ptrdiff_t row = 0; row < band.rows;) {
            const ptrdiff_t same = band.same(row);
            char* to = band.dst + row * band.step;
            for (ptrdiff_t i = 0; i < count; ++i, ++to) {
                uint32_t result = 0;
                for (const int64_t place : steps[i].at) {
                    const uint32_t byte = static_cast<uint8_t>(band.src[row][place >> 3]);
                    result = result << 1 | (byte >> (7 - (place & 7)) & 1);
                }
                for (ptrdiff_t k = 0; k < same; ++k)
                    mergeByte(to + k * band.step, result, steps[i].taken);
            }
            row += same;
        }
    }
};

#if defined(__AVX2__)
// The bits of a word, each out of a byte of a window of the source.
template <class WordType, ptrdiff_t windowBytes> struct WordStep {
    using Word = WordType;
    static constexpr ptrdiff_t columns = sizeof(Word) * 8;

    static bool fits(const OwnPickedBits& bits) {
        const int64_t unit = int64_t{1} << bits.x.unitBits;
        return (bits.x.most >> 3) - (bits.x.least >> 3) >= windowBytes - 1 &&
               bits.x.step * (columns - 1) <= (windowBytes - 1) * 8 * unit;
    }

    ptrdiff_t first;
    ptrdiff_t bytes;
    Word taken;
    alignas(columns) uint8_t order[columns];
    alignas(columns) uint8_t mask[columns];

    void set(const OwnPickedBits& bits, const Run& run, ptrdiff_t byte) {
        int32_t places[columns];
        const ptrdiff_t from = placesOf<columns>(bits, byte * 8 - bits.bitDst, places);
        const ptrdiff_t last = (bits.x.most >> 3) + 1 - windowBytes;
        first = from < last ? from : last;
        const auto moved = static_cast<int32_t>(from - first);
        // The lowest bit of a word is the rightmost one of its first byte.
        for (ptrdiff_t lane = 0; lane < columns; ++lane) {
            const int32_t place = places[lane ^ 7];
            order[lane] = static_cast<uint8_t>((place >> 3) + moved);
            mask[lane] = static_cast<uint8_t>(0x80 >> (place & 7));
        }
        const auto size = static_cast<ptrdiff_t>(sizeof(Word));
        bytes = run.bytes - byte < size ? run.bytes - byte : size;
        taken = 0;
        for (ptrdiff_t i = 0; i < size; ++i)
            taken |= static_cast<Word>(Word{run.taken(byte + i)} << i * 8);
    }

    void put(Word word, char* dst) const {
        if (taken == static_cast<Word>(-1)) {
            memcpy(dst, &word, sizeof word);
            return;
        }
        for (ptrdiff_t i = 0; i < bytes; ++i)
            mergeByte(dst + i, static_cast<uint8_t>(word >> i * 8),
                      static_cast<uint8_t>(taken >> i * 8));
    }
};

struct ShortStep : WordStep<uint32_t, 16> {
    Word of(const char* src) const {
        const auto lanes = [](const uint8_t* from) {
            return _mm256_load_si256(reinterpret_cast<const __m256i*>(from));
        };
        const __m256i window = _mm256_broadcastsi128_si256(
            _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(src + first)));
        const __m256i bits =
            _mm256_and_si256(_mm256_shuffle_epi8(window, lanes(order)), lanes(mask));
        return static_cast<Word>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bits, lanes(mask))));
    }

    static void make(const ShortStep* steps, ptrdiff_t count, const Band& band) {
        for (ptrdiff_t row = 0; row < band.rows;) {
            const ptrdiff_t same = band.same(row);
            char* to = band.dst + row * band.step;
            for (ptrdiff_t i = 0; i < count; ++i, to += sizeof(Word)) {
                const Word word = steps[i].of(band.src[row]);
                for (ptrdiff_t k = 0; k < same; ++k) steps[i].put(word, to + k * band.step);
            }
            row += same;
        }
    }
};
#endif

#if defined(__AVX512BW__)
#define OWN_BYTE_MATRICES __attribute__((target("avx512vbmi,gfni")))

bool hasByteMatrices() {
    return __builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("gfni") != 0;
}

__mmask64 below(ptrdiff_t lane) {
    return lane >= 64 ? ~__mmask64{0} : lane <= 0 ? 0 : (__mmask64{1} << lane) - 1;
}

// The lanes from a byte on that lie in a row from `begin` to `end`.
__mmask64 within(ptrdiff_t first, ptrdiff_t begin, ptrdiff_t end) {
    return below(end - first) & ~below(begin - first);
}

struct LongStep : WordStep<uint64_t, 64> {
    OWN_BYTE_MATRICES Word of(const char* src) const {
        const __m512i window = _mm512_loadu_si512(src + first);
        return _mm512_test_epi8_mask(_mm512_permutexvar_epi8(_mm512_load_si512(order), window),
                                     _mm512_load_si512(mask));
    }

    OWN_BYTE_MATRICES static void make(const LongStep* steps, ptrdiff_t count, const Band& band) {
        for (ptrdiff_t row = 0; row < band.rows; ++row) {
            const char* const src = band.src[row];
            char* const to = band.dst + row * band.step;
            steps[0].put(steps[0].of(src), to);
            for (ptrdiff_t i = 1; i < count - 1; ++i) {
                const Word word = steps[i].of(src);
                memcpy(to + i * 8, &word, sizeof word);
            }
            if (count > 1) steps[count - 1].put(steps[count - 1].of(src), to + (count - 1) * 8);
        }
    }
};

// 64 bytes of bits. Eight of them come from eight bytes of the source: each takes the eight bits
// there from its first place on, and a matrix of bits spreads them. Where places lie further apart,
// bytes have two parts, of the first eight bits and of the next eight, and there are half as many.
// In equal steps there are at most eight different matrices, besides those of the run's ends.
template <ptrdiff_t parts> struct BlockStep {
    static constexpr ptrdiff_t bytes = 64 / parts;
    static constexpr ptrdiff_t columns = bytes * 8;
    static constexpr ptrdiff_t perWord = 64 / parts; // columns
    static constexpr ptrdiff_t mostMatrices = 16;

    // A word of the source has the places of its columns from any phase on, or from phase 0 on.
    static bool fits(const OwnPickedBits& bits) {
        return bits.x.step * (perWord - 1) <= int64_t{56} << bits.x.unitBits || isWhole(bits.x);
    }
    static bool isWhole(const OwnBitPlaces& x) { return x.step == int64_t{parts} << x.unitBits; }

    ptrdiff_t first;
    int32_t phase; // to begin from
    __mmask64 read;
    __mmask64 next;
    __mmask64 written;
    bool whole;
    ptrdiff_t count; // of matrices
    alignas(64) uint8_t order[64];
    alignas(64) uint8_t shift[64];
    alignas(64) uint8_t taken[64];
    uint64_t matrix[parts][mostMatrices];
    __mmask64 where[parts][mostMatrices];

    OWN_BYTE_MATRICES void set(const OwnPickedBits& bits, const Run& run, ptrdiff_t byte) {
        int32_t places[columns];
        const ptrdiff_t column = byte * 8 - bits.bitDst;
        first = placesOf<columns>(bits, column, places);
        // By the place that the first column would have if it lay in the run.
        const int64_t ideal = (bits.x.start + column * bits.x.step) >> bits.x.unitBits;
        phase = isWhole(bits.x) ? static_cast<int32_t>(ideal & 7) : 0;
        const int32_t moved = (places[0] - phase) >> 3;
        const int32_t base = phase + moved * 8;
        first += moved;
        const ptrdiff_t end = (bits.x.most >> 3) + 1;
        read = within(first, bits.x.least >> 3, end);
        next = within(first + 1, bits.x.least >> 3, end);
        const ptrdiff_t rest = run.bytes - byte < bytes ? run.bytes - byte : bytes;
        written = below(rest);
        memset(taken, 0xFF, sizeof taken);
        taken[0] = run.taken(byte);
        taken[rest - 1] = run.taken(byte + rest - 1);
        whole = taken[0] == 0xFF && taken[rest - 1] == 0xFF;

        alignas(64) uint8_t past[columns]; // the first place of a byte
        for (ptrdiff_t i = 0; i < 64; ++i) {
            // The first of eight source bytes is the top one of a word.
            const int32_t inSource = (places[i / 8 * perWord] - base) >> 3;
            order[i] = static_cast<uint8_t>(inSource + 7 - (i & 7));
            const ptrdiff_t inWord = i % (8 / parts);
            const auto part = static_cast<int32_t>(i % 8 / (8 / parts));
            const int32_t place = places[i / 8 * perWord + inWord * 8] - base + part * 8;
            shift[i] = static_cast<uint8_t>((inSource + 7) * 8 - place);
        }
        for (ptrdiff_t i = 0; i < bytes; ++i) {
            const __m256i eight =
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(places + i * 8));
            const __m256i apart = _mm256_sub_epi32(eight, _mm256_set1_epi32(places[i * 8]));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(past + i * 8), _mm256_cvtepi32_epi8(apart));
        }
        memset(matrix, 0, sizeof matrix);
        memset(where, 0, sizeof where);
        count = 0;
        for (uint64_t left = written; left != 0; ++count) {
            const uint8_t* const eight = past + __builtin_ctzll(left) * 8;
            for (ptrdiff_t k = 0; k < 8; ++k)
                matrix[eight[k] >> 3][count] |= uint64_t{0x80u >> (eight[k] & 7)} << k * 8;
            int64_t key;
            memcpy(&key, eight, sizeof key);
            uint64_t same = 0;
            for (ptrdiff_t i = 0; i < columns; i += 64)
                same |= uint64_t{_mm512_cmpeq_epi64_mask(_mm512_set1_epi64(key),
                                                         _mm512_load_si512(past + i))}
                        << i / 8;
            same &= left;
            left &= ~same;
            where[0][count] = parts == 1 ? same : _pdep_u64(same, 0x0F0F0F0F0F0F0F0F);
            if (parts == 2) where[parts - 1][count] = where[0][count] << 4;
        }
    }

    static void make(const BlockStep* steps, ptrdiff_t count, const Band& band) {
        for (ptrdiff_t i = 0; i < count; ++i) {
            const auto spread = steps[i].count == 1   ? spreadBy<1>
                                : steps[i].count <= 4 ? spreadBy<4>
                                : steps[i].count <= 8 ? spreadBy<8>
                                                      : spreadBy<mostMatrices>;
            spread(steps[i], band, band.dst + i * bytes);
        }
    }

    template <ptrdiff_t most>
    OWN_BYTE_MATRICES static void spreadBy(const BlockStep& step, const Band& band, char* dst) {
        // What is stored could be the step, for all that the compiler knows.
        const BlockStep from = step;
        const __m512i orders = _mm512_load_si512(from.order);
        const __m512i shifts = _mm512_load_si512(from.shift);
        const __m512i bitsTaken = _mm512_load_si512(from.taken);
        const OwnByteShift by(from.phase);
        const __m512i upper = _mm512_set1_epi64(static_cast<int64_t>(by.leftMask));
        const char* made = nullptr;
        __m512i bits = _mm512_setzero_si512();
        __m512i kept = from.kept(dst);
        for (ptrdiff_t row = 0; row < band.rows; ++row, dst += band.step) {
            if (band.src[row] != made) {
                made = band.src[row];
                const char* const at = made + from.first;
                __m512i x = _mm512_maskz_loadu_epi8(from.read, at);
                if (from.phase != 0)
                    x = _mm512_ternarylogic_epi64(
                        upper, _mm512_sll_epi16(x, _mm_cvtsi32_si128(by.left)),
                        _mm512_srl_epi16(_mm512_maskz_loadu_epi8(from.next, at + 1),
                                         _mm_cvtsi32_si128(by.right)),
                        0xCA);
                x = _mm512_multishift_epi64_epi8(shifts, _mm512_permutexvar_epi8(orders, x));
                bits = _mm512_setzero_si512();
                for (ptrdiff_t part = 0; part < parts; ++part)
                    for (ptrdiff_t i = 0; i < most; ++i) {
                        const __m512i matrix =
                            _mm512_set1_epi64(static_cast<int64_t>(from.matrix[part][i]));
                        bits = part == 0 && i == 0 ? _mm512_gf2p8affine_epi64_epi8(x, matrix, 0)
                                                   : _mm512_mask_gf2p8affine_epi64_epi8(
                                                         bits, from.where[part][i], x, matrix, 0);
                    }
                if (parts == 2)
                    bits = _mm512_castsi256_si512(
                        _mm512_cvtepi64_epi32(_mm512_or_si512(bits, _mm512_srli_epi64(bits, 32))));
            }
            const __m512i result =
                from.whole ? bits : _mm512_ternarylogic_epi64(bitsTaken, bits, kept, 0xCA);
            // A load waits for stores that reach into its bytes, even if they write none of them.
            // So the next row's is ahead of this row's store.
            if (row + 1 < band.rows) kept = from.kept(dst + band.step);
            _mm512_mask_storeu_epi8(dst, from.written, result);
        }
    }

    __m512i kept(const char* dst) const {
        return whole ? _mm512_setzero_si512() : _mm512_maskz_loadu_epi8(written, dst);
    }
};
#endif

template <class Step> void pickBy(const OwnPickedBits& bits) {
    constexpr ptrdiff_t stepBytes = Step::columns / 8;
    constexpr ptrdiff_t stripBytes = 512;
    Step steps[stripBytes / stepBytes];
    const Run run(bits.bitDst, bits.columns);
    const OwnBitPlaces y = bits.y;
    // Rows that overlap are made one after the other.
    const bool apart = bits.stepDst >= run.bytes || bits.stepDst <= -run.bytes;
    const ptrdiff_t most = apart ? Band::most : 1;
    for (ptrdiff_t strip = 0; strip < run.bytes; strip += stripBytes) {
        ptrdiff_t count = 0;
        for (ptrdiff_t byte = strip; byte < run.bytes && byte < strip + stripBytes;
             byte += stepBytes)
            steps[count++].set(bits, run, byte);
        Band band;
        band.dst = bits.dst + strip;
        band.step = bits.stepDst;
        int64_t position = y.start;
        for (ptrdiff_t done = 0; done < bits.rows; done += most) {
            band.rows = bits.rows - done < most ? bits.rows - done : most;
            for (ptrdiff_t row = 0; row < band.rows; ++row, position += y.step)
                band.src[row] = bits.src + y.inside(position >> y.unitBits) * bits.stepSrc;
            Step::make(steps, count, band);
            band.dst += most * bits.stepDst;
        }
    }
}

void pick(const OwnPickedBits& bits) {
#if defined(__AVX512BW__)
    if (hasByteMatrices() && BlockStep<1>::fits(bits)) return pickBy<BlockStep<1>>(bits);
    if (hasByteMatrices() && BlockStep<2>::fits(bits)) return pickBy<BlockStep<2>>(bits);
    if (hasByteMatrices() && LongStep::fits(bits)) return pickBy<LongStep>(bits);
#endif
#if defined(__AVX2__)
    if (ShortStep::fits(bits)) return pickBy<ShortStep>(bits);
#endif
    pickBy<ByteStep>(bits);
}

// Quarter turns go by up to 512 source rows of 64 bytes, so that each cache line of either image is
// touched once. Words of eight bytes of all rows, the first bit in the top of the first byte,
// become 64 rows of 64 bytes.
constexpr ptrdiff_t partRows = 512;

struct Words {
    alignas(64) uint64_t row[partRows];
};

struct Turned {
    alignas(64) char row[64][64];
};

// 64 by 64 bits at a time: squares of half the side are exchanged, and so on in each of them.
void turnSquares(const Words& words, ptrdiff_t count, Turned* turned) {
    constexpr ptrdiff_t side = 64;
    for (ptrdiff_t first = 0; first < count; first += side) {
        uint64_t bits[side];
        for (ptrdiff_t k = 0; k < side; ++k) bits[k] = __builtin_bswap64(words.row[first + k]);
        uint64_t mask = 0xFFFFFFFFu;
        for (int32_t half = 32; half != 0; half /= 2, mask ^= mask << half)
            for (ptrdiff_t begin = 0; begin < side; begin += 2 * half)
                for (ptrdiff_t k = begin; k < begin + half; ++k) {
                    const uint64_t differing = (bits[k] ^ bits[k + half] >> half) & mask;
                    bits[k] ^= differing;
                    bits[k + half] ^= differing << half;
                }
        for (ptrdiff_t k = 0; k < side; ++k) {
            const uint64_t row = __builtin_bswap64(bits[k]);
            memcpy(turned->row[k] + first / 8, &row, sizeof row);
        }
    }
}

#if defined(__AVX512BW__)
// Eight vectors of eight words change rows for columns.
OWN_INLINE void turnWords(__m512i (&rows)[8]) {
    __m512i pairs[8];
    for (ptrdiff_t k = 0; k < 4; ++k) {
        pairs[k] = _mm512_unpacklo_epi64(rows[2 * k], rows[2 * k + 1]);
        pairs[4 + k] = _mm512_unpackhi_epi64(rows[2 * k], rows[2 * k + 1]);
    }
    for (ptrdiff_t odd = 0; odd < 2; ++odd) {
        const __m512i* const four = pairs + 4 * odd;
        const __m512i lowA = _mm512_shuffle_i64x2(four[0], four[1], 0x44);
        const __m512i lowB = _mm512_shuffle_i64x2(four[2], four[3], 0x44);
        const __m512i highA = _mm512_shuffle_i64x2(four[0], four[1], 0xEE);
        const __m512i highB = _mm512_shuffle_i64x2(four[2], four[3], 0xEE);
        rows[odd] = _mm512_shuffle_i64x2(lowA, lowB, 0x88);
        rows[2 + odd] = _mm512_shuffle_i64x2(lowA, lowB, 0xDD);
        rows[4 + odd] = _mm512_shuffle_i64x2(highA, highB, 0x88);
        rows[6 + odd] = _mm512_shuffle_i64x2(highA, highB, 0xDD);
    }
}

// The same by bytes: eight rows of eight bytes are turned in a vector, then eight of their columns
// as matrices of bits; then all of it as bytes. 4096 by 4096 bits take a fifth of the time.
OWN_BYTE_MATRICES void turnByMatrices(const Words& words, ptrdiff_t count, Turned* turned) {
    alignas(64) uint8_t places[64];
    for (ptrdiff_t k = 0; k < 64; ++k) places[k] = static_cast<uint8_t>(k % 8 * 8 + k / 8);
    const __m512i order = _mm512_load_si512(places);
    const __m512i columns = _mm512_set1_epi64(0x0102040810204080);
    __m512i bytes[8][8];
    for (ptrdiff_t part = 0; part < 8; ++part) {
        __m512i rows[8];
        for (ptrdiff_t k = 0; k < 8; ++k) {
            rows[k] = _mm512_setzero_si512();
            if (part * 64 >= count) continue;
            const __m512i eight = _mm512_load_si512(words.row + part * 64 + k * 8);
            rows[k] =
                _mm512_gf2p8affine_epi64_epi8(columns, _mm512_permutexvar_epi8(order, eight), 0);
        }
        turnWords(rows);
        for (ptrdiff_t k = 0; k < 8; ++k) bytes[k][part] = _mm512_permutexvar_epi8(order, rows[k]);
    }
    for (ptrdiff_t column = 0; column < 8; ++column) {
        turnWords(bytes[column]);
        for (ptrdiff_t k = 0; k < 8; ++k)
            _mm512_store_si512(turned->row[column * 8 + k], bytes[column][k]);
    }
}
#endif

// The words of some rows, of which the image has those from `begin` to `end`; `bytes` of them, up
// to 64, side by side. Rows that the image doesn't have are 0.
void takeWords(const char* src, ptrdiff_t stepX, ptrdiff_t begin, ptrdiff_t end, ptrdiff_t count,
               ptrdiff_t bytes, Words* words) {
#if defined(__AVX512BW__)
    const __mmask64 read = below(bytes);
    for (ptrdiff_t first = 0; first < count; first += 8) {
        __m512i rows[8];
        for (ptrdiff_t k = 0; k < 8; ++k) {
            const ptrdiff_t row = first + k;
            rows[k] = row < begin || row >= end
                          ? _mm512_setzero_si512()
                          : _mm512_maskz_loadu_epi8(read, src + (row - begin) * stepX);
        }
        turnWords(rows);
        for (ptrdiff_t k = 0; k < 8; ++k) _mm512_store_si512(words[k].row + first, rows[k]);
    }
#else
    for (ptrdiff_t row = 0; row < count; ++row) {
        uint64_t line[8] = {};
        if (row >= begin && row < end)
            memcpy(line, src + (row - begin) * stepX, static_cast<size_t>(bytes));
        for (ptrdiff_t k = 0; k < 8; ++k) words[k].row[row] = line[k];
    }
#endif
}

void putRow(const char* row, const Run& run, ptrdiff_t first, ptrdiff_t bytes, char* dst) {
    const uint8_t head = run.taken(first);
    const uint8_t tail = run.taken(first + bytes - 1);
    if (bytes == 64 && (head & tail) == 0xFF) {
        memcpy(dst, row, 64);
        return;
    }
    mergeByte(dst, static_cast<uint8_t>(row[0]), head);
    if (bytes == 1) return;
    memcpy(dst + 1, row + 1, static_cast<size_t>(bytes - 2));
    mergeByte(dst + bytes - 1, static_cast<uint8_t>(row[bytes - 1]), tail);
}

void turn(const OwnTurnedBits& bits) {
    auto turnBits = turnSquares;
#if defined(__AVX512BW__)
    if (hasByteMatrices()) turnBits = turnByMatrices;
#endif
    const Run run(bits.bitDst, bits.columns);
    // Source bits in their own order, with the destination row of the first.
    const bool upwards = bits.bitStepY < 0;
    const ptrdiff_t firstBit = bits.bitSrc - (upwards ? bits.rows - 1 : 0);
    const ptrdiff_t endBit = firstBit + bits.rows;
    const ptrdiff_t endByte = (endBit + 7) >> 3;
    const ptrdiff_t stepDst = upwards ? -bits.stepDst : bits.stepDst;
    char* const dst = bits.dst - (upwards ? (bits.rows - 1) * stepDst : 0);
    Words words[8];
    Turned turned;
    for (ptrdiff_t strip = 0; strip < run.bytes; strip += partRows / 8) {
        const ptrdiff_t bytes = run.bytes - strip < 64 ? run.bytes - strip : 64;
        const ptrdiff_t count = (bytes + 7) / 8 * 64;
        const ptrdiff_t before = strip * 8 - bits.bitDst; // columns
        const ptrdiff_t begin = before < 0 ? -before : 0;
        const ptrdiff_t rest = bits.columns - before;
        const ptrdiff_t end = rest < partRows ? rest : partRows;
        for (ptrdiff_t byte = firstBit >> 3; byte < endByte; byte += 8) {
            const ptrdiff_t inPart = (byte - (firstBit >> 3)) % 64;
            if (inPart == 0)
                takeWords(bits.src + (before + begin) * bits.stepX + byte, bits.stepX, begin, end,
                          count, endByte - byte < 64 ? endByte - byte : 64, words);
            const ptrdiff_t first = firstBit > byte * 8 ? firstBit : byte * 8;
            const ptrdiff_t behind = endBit < byte * 8 + 64 ? endBit : byte * 8 + 64;
            char* to = dst + (first - firstBit) * stepDst + strip;
            for (ptrdiff_t bit = first; bit < behind; ++bit)
                __builtin_prefetch(to + (bit - first) * stepDst, 1);
            turnBits(words[inPart / 8], count, &turned);
            for (ptrdiff_t bit = first; bit < behind; ++bit, to += stepDst)
                putRow(turned.row[bit - byte * 8], run, strip, bytes, to);
        }
    }
}

constexpr OwnBitTable table = {pick, turn};

} // namespace

template <> const OwnBitTable& ownRowTable<OwnBits, OWN_ISA>() { return table; }
