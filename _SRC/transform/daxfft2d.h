// The Fourier transforms of images: the plan of a thread, its memory, and the two engines.
#ifndef OWN_DAXFFT2D_H
#define OWN_DAXFFT2D_H

#include "frame/daxlib.h"
#include "frame/kept.h"
#include "transform/fourier.h"

#include <cstddef>
#include <cstdint>

enum class OwnFftWay : int32_t { realToPacked, packedToReal };

// What a call leaves for one with DAX_FFT_REPEAT.
struct OwnFftPlan {
    int32_t fftSrcWidth, fftSrcHeight, fftSrcStep;
    int32_t fftDstWidth, fftDstHeight, fftDstStep;
    char* fftSrcData;
    char* fftDstData;
    int32_t fftSrcDepth, fftDstDepth;
    int32_t fftSrcOrder, fftDstOrder; // data orders
    int32_t fftNChannels;
    int32_t fftX, fftY, fftW, fftH;
    int32_t fftOrderW, fftOrderH;
    int32_t fftChannelFirst, fftChannelEnd, fftChannelSkip, fftChannelNow;
    int32_t fftDirection; // 1 forward, -1 inverse
    int32_t fftScale;
    int32_t fftUseInt;
};

// Coefficients of the fixed-point engine for one length: four words for each k, c, s, -s and c,
// with 14 fraction bits.
struct OwnFixedTable {
    OwnFixedTable* next;
    int32_t length;
    int16_t* words;
    int32_t* reversal; // of bits; for powers of two
};

// Work memory, handed out in the order of the requests of a call and kept until something larger is
// asked for in the same place.
struct OwnFftBuffers {
    static constexpr int32_t most = 32;
    char* block[most];
    int64_t bytes[most];
    int32_t used;

    // Aligned to a cache line. Null when memory can't be had.
    template <class T> T* take(int64_t count) {
        return static_cast<T*>(take(count, static_cast<int64_t>(sizeof(T))));
    }
    void* take(int64_t count, int64_t size);
    void free();
};

struct OwnFft : OwnKept {
    OwnFftPlan plan;
    OwnFourier* fourier;
    OwnFixedTable* fixed;
    OwnFftBuffers buffers;
};

// The samples of one channel of the rectangle in one image. A channel past the last one begins in
// the next pixel; where that leads past the data there are zeroes to read and nothing to write.
struct OwnFftPlane {
    char* first;
    const char* end;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
    int32_t depth;

    // How many of `count` samples lie in the data.
    ptrdiff_t inside(const char* at, ptrdiff_t step, ptrdiff_t count) const;
    void fetch(const char* at, ptrdiff_t step, int32_t* to, ptrdiff_t count) const;
    void fetchRow(ptrdiff_t y, int32_t* to, ptrdiff_t count) const {
        fetch(first + y * rowStep, pixelStep, to, count);
    }
};

OwnFftPlane ownFftSource(const OwnFftPlan& plan);
OwnFftPlane ownFftTarget(const OwnFftPlan& plan);

// The transform of the plan's channel `fftChannelNow`; false when memory can't be had.
bool ownFloatFft(OwnFft* fft, OwnFftWay way);
bool ownFixedFft(OwnFft* fft, OwnFftWay way);

// In the lanes of the float engine's rows lie eight sequences, and in each two real ones: one of a
// set `a` as the real part, one of a set `b`, eight rows on, as the imaginary part.
constexpr ptrdiff_t ownFftLanes = 8;
constexpr ptrdiff_t ownFftRows = 2 * ownFftLanes;

// The complex frequencies 1, 2, ... of all rows stand in blocks of eight: a row of a block has
// eight real and eight imaginary parts, so that columns are read from one run of memory.
constexpr ptrdiff_t ownFftBlockRow = 2 * ownFftLanes;
static_assert(ownFftLanes == ownFourierFloatLanes);

struct OwnFftTable {
    void (*fetch[5])(const char* src, ptrdiff_t step, int32_t* to, ptrdiff_t count);
    // Floats times a scale: rounded to nearest, or cut towards zero.
    void (*round[5])(const float* from, float scale, char* dst, ptrdiff_t step, ptrdiff_t count);
    void (*cut[5])(const float* from, float scale, char* dst, ptrdiff_t step, ptrdiff_t count);
    void (*narrow[5])(const int32_t* from, char* dst, ptrdiff_t step, ptrdiff_t count);
    // Eight rows of 32-bit samples into lanes and back; `count` is rounded up to a multiple of 4.
    void (*toLanes)(const char* rows, ptrdiff_t rowStep, double* lanes, ptrdiff_t count);
    void (*fromLanes)(const double* lanes, float* rows, ptrdiff_t pitch, ptrdiff_t count);
    // The transforms of 2 * 8 real rows apart and together. `ends` has the frequency 0 of each and
    // then the middle one, `count` further on.
    void (*separate)(OwnLanes lanes, ptrdiff_t width, float* blocks, ptrdiff_t blockStep,
                     float* ends, ptrdiff_t count);
    void (*merge)(float* blocks, ptrdiff_t blockStep, const float* ends, ptrdiff_t count,
                  OwnLanes lanes, ptrdiff_t width);
    // A row of all blocks as pairs and back; `frequencies` is rounded up to whole blocks.
    void (*toRow)(const float* blocks, ptrdiff_t blockStep, float* row, ptrdiff_t frequencies);
    void (*fromRow)(const int32_t* row, float* blocks, ptrdiff_t blockStep, ptrdiff_t frequencies);
};

struct OwnFftKernels {
    using Table = OwnFftTable;
};

#endif
