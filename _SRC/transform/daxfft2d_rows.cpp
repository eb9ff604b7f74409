#include "frame/kernels.h"
#include "frame/lanes.h"
#include "transform/daxfft2d.h"
#include "transform/wide.h"

#include <limits>
#include <type_traits>

namespace {

template <class T> void fetch(const char* src, ptrdiff_t step, int32_t* to, ptrdiff_t count) {
    const auto* from = ownLanes<T>(src);
    if (step == sizeof(T))
        for (ptrdiff_t i = 0; i < count; ++i) to[i] = from[i];
    else
        for (ptrdiff_t i = 0; i < count; ++i) to[i] = *ownLanes<T>(src + i * step);
}

// Runs `convert(i)` into the samples of a row.
template <class T, class Convert>
OWN_INLINE void storeEach(char* dst, ptrdiff_t step, ptrdiff_t count, Convert convert) {
    if (step == sizeof(T)) {
        auto* to = ownLanes<T>(dst);
        for (ptrdiff_t i = 0; i < count; ++i) to[i] = convert(i);
        return;
    }
    T block[ownStridedBlock];
    for (ptrdiff_t first = 0; first < count; first += ownStridedBlock) {
        const ptrdiff_t n = count - first < ownStridedBlock ? count - first : ownStridedBlock;
        for (ptrdiff_t i = 0; i < n; ++i) block[i] = convert(first + i);
        ownScatter(block, dst + first * step, step, n);
    }
}

// The values of a row limited to what the samples can hold, rounded to nearest and to even or cut
// towards zero.
template <class T, bool rounds, class Doubles, class Floats>
OWN_INLINE Doubles wholeOf(const Floats& from, float scale) {
    constexpr double least = std::numeric_limits<T>::min();
    constexpr double most = std::numeric_limits<T>::max();
    Doubles value = __builtin_convertvector(from * scale, Doubles);
    value = value > least ? value : least + Doubles{};
    value = value < most ? value : most + Doubles{};
    // The sum has whole numbers only.
    if constexpr (rounds) value = (value + 0x1.8p52) - 0x1.8p52;
    return value;
}

template <class T, bool rounds>
void store(const float* from, float scale, char* dst, ptrdiff_t step, ptrdiff_t count) {
    constexpr ptrdiff_t lanes = 8;
    for (ptrdiff_t first = 0; first < count; first += ownStridedBlock) {
        const ptrdiff_t n = count - first < ownStridedBlock ? count - first : ownStridedBlock;
        int32_t block[ownStridedBlock];
        ptrdiff_t i = 0;
        for (; i + lanes <= n; i += lanes) {
            const auto value =
                wholeOf<T, rounds, OwnDouble8>(ownLoad<OwnFloat8>(from + first + i), scale);
            ownStore(block + i, __builtin_convertvector(value, OwnInt8));
        }
        for (; i < n; ++i) {
            const auto value = wholeOf<T, rounds, OwnDouble4>(OwnFloat4{from[first + i]}, scale);
            block[i] = static_cast<int32_t>(value[0]);
        }
        if (step == sizeof(T)) {
            auto* to = ownLanes<T>(dst) + first;
            for (i = 0; i < n; ++i) to[i] = static_cast<T>(block[i]);
        } else {
            for (i = 0; i < n; ++i)
                *ownLanes<T>(dst + (first + i) * step) = static_cast<T>(block[i]);
        }
    }
}

template <class T> void narrow(const int32_t* from, char* dst, ptrdiff_t step, ptrdiff_t count) {
    if constexpr (std::is_same_v<T, int32_t>) {
        storeEach<T>(dst, step, count, [=](ptrdiff_t i) { return from[i]; });
    } else {
        constexpr int32_t least = std::numeric_limits<T>::min();
        constexpr int32_t most = std::numeric_limits<T>::max();
        storeEach<T>(dst, step, count, [=](ptrdiff_t i) {
            const int32_t up = from[i] > least ? from[i] : least;
            return static_cast<T>(up < most ? up : most);
        });
    }
}

void toLanes(const char* rows, ptrdiff_t rowStep, double* lanes, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; x += 4)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            OwnInt4 r[4];
            for (ptrdiff_t k = 0; k < 4; ++k)
                r[k] = ownLoad<OwnInt4>(rows + (half + k) * rowStep +
                                        x * static_cast<ptrdiff_t>(sizeof(int32_t)));
            ownTranspose(r);
            for (ptrdiff_t k = 0; k < 4; ++k)
                ownStore(lanes + (x + k) * ownFftLanes + half,
                         __builtin_convertvector(r[k], OwnDouble4));
        }
}

void fromLanes(const double* lanes, float* rows, ptrdiff_t pitch, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; x += 4)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            OwnFloat4 r[4];
            for (ptrdiff_t k = 0; k < 4; ++k)
                r[k] = __builtin_convertvector(
                    ownLoad<OwnDouble4>(lanes + (x + k) * ownFftLanes + half), OwnFloat4);
            ownTranspose(r);
            for (ptrdiff_t k = 0; k < 4; ++k) ownStore(rows + (half + k) * pitch + x, r[k]);
        }
}

// Where the first of four frequencies from u on lies in a row of the blocks.
float* inBlocks(float* blocks, ptrdiff_t blockStep, ptrdiff_t u) {
    return blocks + (u - 1) / ownFftLanes * blockStep + (u - 1) % ownFftLanes;
}

// Four frequencies at a time turn from four rows in lanes to four in a row. Those past the last one
// are copies of it.
void separate(OwnLanes lanes, ptrdiff_t width, float* blocks, ptrdiff_t blockStep, float* ends,
              ptrdiff_t count) {
    const ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t u = 1; u <= last; u += 4)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            OwnFloat4 aRe[4];
            OwnFloat4 aIm[4];
            OwnFloat4 bRe[4];
            OwnFloat4 bIm[4];
            for (ptrdiff_t k = 0; k < 4; ++k) {
                const ptrdiff_t near = (u + k <= last ? u + k : last) * ownFftLanes;
                const ptrdiff_t far = width * ownFftLanes - near;
                const OwnDouble4 re = ownLoad<OwnDouble4>(lanes.re + near + half) * 0.5;
                const OwnDouble4 im = ownLoad<OwnDouble4>(lanes.im + near + half) * 0.5;
                const OwnDouble4 farRe = ownLoad<OwnDouble4>(lanes.re + far + half) * 0.5;
                const OwnDouble4 farIm = ownLoad<OwnDouble4>(lanes.im + far + half) * 0.5;
                aRe[k] = __builtin_convertvector(re + farRe, OwnFloat4);
                aIm[k] = __builtin_convertvector(im - farIm, OwnFloat4);
                bRe[k] = __builtin_convertvector(im + farIm, OwnFloat4);
                bIm[k] = __builtin_convertvector(farRe - re, OwnFloat4);
            }
            ownTranspose(aRe);
            ownTranspose(aIm);
            ownTranspose(bRe);
            ownTranspose(bIm);
            float* const to = inBlocks(blocks, blockStep, u) + half * ownFftBlockRow;
            for (ptrdiff_t k = 0; k < 4; ++k) {
                float* const row = to + k * ownFftBlockRow;
                ownStore(row, aRe[k]);
                ownStore(row + ownFftLanes, aIm[k]);
                ownStore(row + ownFftLanes * ownFftBlockRow, bRe[k]);
                ownStore(row + ownFftLanes * ownFftBlockRow + ownFftLanes, bIm[k]);
            }
        }
    for (ptrdiff_t l = 0; l < ownFftLanes; ++l) {
        const ptrdiff_t middle = width / 2 * ownFftLanes + l;
        ends[l] = static_cast<float>(lanes.re[l]);
        ends[l + ownFftLanes] = static_cast<float>(lanes.im[l]);
        ends[l + count] = static_cast<float>(lanes.re[middle]);
        ends[l + count + ownFftLanes] = static_cast<float>(lanes.im[middle]);
    }
}

void merge(float* blocks, ptrdiff_t blockStep, const float* ends, ptrdiff_t count, OwnLanes lanes,
           ptrdiff_t width) {
    const ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t u = 1; u <= last; u += 4)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            const float* const from = inBlocks(blocks, blockStep, u) + half * ownFftBlockRow;
            OwnFloat4 aRe[4];
            OwnFloat4 aIm[4];
            OwnFloat4 bRe[4];
            OwnFloat4 bIm[4];
            for (ptrdiff_t k = 0; k < 4; ++k) {
                const float* const row = from + k * ownFftBlockRow;
                aRe[k] = ownLoad<OwnFloat4>(row);
                aIm[k] = ownLoad<OwnFloat4>(row + ownFftLanes);
                bRe[k] = ownLoad<OwnFloat4>(row + ownFftLanes * ownFftBlockRow);
                bIm[k] = ownLoad<OwnFloat4>(row + ownFftLanes * ownFftBlockRow + ownFftLanes);
            }
            ownTranspose(aRe);
            ownTranspose(aIm);
            ownTranspose(bRe);
            ownTranspose(bIm);
            for (ptrdiff_t k = 0; k < 4 && u + k <= last; ++k) {
                const ptrdiff_t near = (u + k) * ownFftLanes + half;
                const ptrdiff_t far = (width - u - k) * ownFftLanes + half;
                const OwnDouble4 ar = __builtin_convertvector(aRe[k], OwnDouble4);
                const OwnDouble4 ai = __builtin_convertvector(aIm[k], OwnDouble4);
                const OwnDouble4 br = __builtin_convertvector(bRe[k], OwnDouble4);
                const OwnDouble4 bi = __builtin_convertvector(bIm[k], OwnDouble4);
                ownStore(lanes.re + near, ar - bi);
                ownStore(lanes.im + near, ai + br);
                ownStore(lanes.re + far, ar + bi);
                ownStore(lanes.im + far, br - ai);
            }
        }
    for (ptrdiff_t l = 0; l < ownFftLanes; ++l) {
        const ptrdiff_t middle = width / 2 * ownFftLanes + l;
        if (width % 2 == 0) {
            lanes.re[middle] = double{ends[l + count]};
            lanes.im[middle] = double{ends[l + count + ownFftLanes]};
        }
        lanes.re[l] = double{ends[l]};
        lanes.im[l] = double{ends[l + ownFftLanes]};
    }
}

// A row of the blocks as pairs and back, up to a whole block.
void toRow(const float* blocks, ptrdiff_t blockStep, float* row, ptrdiff_t frequencies) {
    for (ptrdiff_t u = 0; u < frequencies; u += ownFftLanes, blocks += blockStep)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            const auto re = ownLoad<OwnFloat4>(blocks + half);
            const auto im = ownLoad<OwnFloat4>(blocks + ownFftLanes + half);
            float* const to = row + (u + half) * 2;
            ownStore(to, __builtin_shufflevector(re, im, 0, 4, 1, 5));
            ownStore(to + 4, __builtin_shufflevector(re, im, 2, 6, 3, 7));
        }
}

void fromRow(const int32_t* row, float* blocks, ptrdiff_t blockStep, ptrdiff_t frequencies) {
    for (ptrdiff_t u = 0; u < frequencies; u += ownFftLanes, blocks += blockStep)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            const int32_t* const from = row + (u + half) * 2;
            const auto a = ownLoad<OwnInt4>(from);
            const auto b = ownLoad<OwnInt4>(from + 4);
            const OwnInt4 re = __builtin_shufflevector(a, b, 0, 2, 4, 6);
            const OwnInt4 im = __builtin_shufflevector(a, b, 1, 3, 5, 7);
            ownStore(blocks + half, __builtin_convertvector(re, OwnFloat4));
            ownStore(blocks + ownFftLanes + half, __builtin_convertvector(im, OwnFloat4));
        }
}

// The signed bytes are never rounded.
constexpr OwnFftTable table = {
    {fetch<uint8_t>, fetch<int8_t>, fetch<uint16_t>, fetch<int16_t>, fetch<int32_t>},
    {store<uint8_t, true>, store<int8_t, false>, store<uint16_t, true>, store<int16_t, true>,
     store<int32_t, true>},
    {store<uint8_t, false>, store<int8_t, false>, store<uint16_t, false>, store<int16_t, false>,
     store<int32_t, false>},
    {narrow<uint8_t>, narrow<int8_t>, narrow<uint16_t>, narrow<int16_t>, narrow<int32_t>},
    toLanes,
    fromLanes,
    separate,
    merge,
    toRow,
    fromRow};

} // namespace

template <> const OwnFftTable& ownRowTable<OwnFftKernels, OWN_ISA>() { return table; }
