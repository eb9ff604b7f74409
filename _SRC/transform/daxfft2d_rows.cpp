#include "frame/kernels.h"
#include "frame/lanes.h"
#include "transform/daxfft2d.h"
#include "transform/wide.h"

#include <bit>
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

template <class T, bool rounds>
void store(const float* from, float scale, char* dst, ptrdiff_t step, ptrdiff_t count) {
    constexpr double least = std::numeric_limits<T>::min();
    constexpr double most = std::numeric_limits<T>::max();
    storeEach<T>(dst, step, count, [=](ptrdiff_t i) {
        double value = double{from[i] * scale};
        value = value > least ? value : least;
        value = value < most ? value : most;
        if constexpr (rounds) {
            // The sum has whole numbers in its lower bits, rounded to nearest and to even.
            const auto whole = std::bit_cast<uint64_t>(value + 0x1.8p52);
            return static_cast<T>(static_cast<uint32_t>(whole));
        } else {
            return static_cast<T>(static_cast<int32_t>(value));
        }
    });
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

void toLanes(const int32_t* rows, ptrdiff_t pitch, double* lanes, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; x += 4)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            OwnInt4 r[4];
            for (ptrdiff_t k = 0; k < 4; ++k)
                r[k] = ownLoad<OwnInt4>(rows + (half + k) * pitch + x);
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

// Two frequencies at a time make four numbers, which turn from four rows in lanes to four in a row.
void separate(OwnLanes lanes, ptrdiff_t width, float* pairs, ptrdiff_t pitch, float* ends,
              ptrdiff_t count) {
    const ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
        for (ptrdiff_t u = 1; u <= last; u += 2) {
            OwnFloat4 a[4];
            OwnFloat4 b[4];
            for (ptrdiff_t k = 0; k < 2; ++k) {
                const ptrdiff_t near = (u + k <= last ? u + k : u) * ownFftLanes;
                const ptrdiff_t far = width * ownFftLanes - near;
                const OwnDouble4 re = ownLoad<OwnDouble4>(lanes.re + near + half) * 0.5;
                const OwnDouble4 im = ownLoad<OwnDouble4>(lanes.im + near + half) * 0.5;
                const OwnDouble4 farRe = ownLoad<OwnDouble4>(lanes.re + far + half) * 0.5;
                const OwnDouble4 farIm = ownLoad<OwnDouble4>(lanes.im + far + half) * 0.5;
                a[k * 2] = __builtin_convertvector(re + farRe, OwnFloat4);
                a[k * 2 + 1] = __builtin_convertvector(im - farIm, OwnFloat4);
                b[k * 2] = __builtin_convertvector(im + farIm, OwnFloat4);
                b[k * 2 + 1] = __builtin_convertvector(farRe - re, OwnFloat4);
            }
            ownTranspose(a);
            ownTranspose(b);
            float* const to = pairs + (u - 1) * 2 + half * pitch;
            for (ptrdiff_t k = 0; k < 4; ++k) {
                ownStore(to + k * pitch, a[k]);
                ownStore(to + (k + ownFftLanes) * pitch, b[k]);
            }
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

void merge(const float* pairs, ptrdiff_t pitch, const float* ends, ptrdiff_t count, OwnLanes lanes,
           ptrdiff_t width) {
    const ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
        for (ptrdiff_t u = 1; u <= last; u += 2) {
            const float* const from = pairs + (u - 1) * 2 + half * pitch;
            OwnFloat4 a[4];
            OwnFloat4 b[4];
            for (ptrdiff_t k = 0; k < 4; ++k) {
                a[k] = ownLoad<OwnFloat4>(from + k * pitch);
                b[k] = ownLoad<OwnFloat4>(from + (k + ownFftLanes) * pitch);
            }
            ownTranspose(a);
            ownTranspose(b);
            for (ptrdiff_t k = 0; k < 2 && u + k <= last; ++k) {
                const ptrdiff_t near = (u + k) * ownFftLanes + half;
                const ptrdiff_t far = (width - u - k) * ownFftLanes + half;
                const OwnDouble4 aRe = __builtin_convertvector(a[k * 2], OwnDouble4);
                const OwnDouble4 aIm = __builtin_convertvector(a[k * 2 + 1], OwnDouble4);
                const OwnDouble4 bRe = __builtin_convertvector(b[k * 2], OwnDouble4);
                const OwnDouble4 bIm = __builtin_convertvector(b[k * 2 + 1], OwnDouble4);
                ownStore(lanes.re + near, aRe - bIm);
                ownStore(lanes.im + near, aIm + bRe);
                ownStore(lanes.re + far, aRe + bIm);
                ownStore(lanes.im + far, bRe - aIm);
            }
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

void fromPairs(const float* pairs, ptrdiff_t pitch, OwnLanes lanes, ptrdiff_t height) {
    for (ptrdiff_t v = 0; v < height; ++v)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            const auto a = ownLoad<OwnFloat4>(pairs + v * pitch + half * 2);
            const auto b = ownLoad<OwnFloat4>(pairs + v * pitch + half * 2 + 4);
            const OwnFloat4 re = __builtin_shufflevector(a, b, 0, 2, 4, 6);
            const OwnFloat4 im = __builtin_shufflevector(a, b, 1, 3, 5, 7);
            const ptrdiff_t to = v * ownFftLanes + half;
            ownStore(lanes.re + to, __builtin_convertvector(re, OwnDouble4));
            ownStore(lanes.im + to, __builtin_convertvector(im, OwnDouble4));
        }
}

void toPairs(OwnLanes lanes, float* pairs, ptrdiff_t pitch, ptrdiff_t height) {
    for (ptrdiff_t v = 0; v < height; ++v)
        for (ptrdiff_t half = 0; half < ownFftLanes; half += 4) {
            const ptrdiff_t from = v * ownFftLanes + half;
            const OwnFloat4 re =
                __builtin_convertvector(ownLoad<OwnDouble4>(lanes.re + from), OwnFloat4);
            const OwnFloat4 im =
                __builtin_convertvector(ownLoad<OwnDouble4>(lanes.im + from), OwnFloat4);
            float* const to = pairs + v * pitch + half * 2;
            ownStore(to, __builtin_shufflevector(re, im, 0, 4, 1, 5));
            ownStore(to + 4, __builtin_shufflevector(re, im, 2, 6, 3, 7));
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
    fromPairs,
    toPairs};

} // namespace

template <> const OwnFftTable& ownRowTable<OwnFftKernels, OWN_ISA>() { return table; }
