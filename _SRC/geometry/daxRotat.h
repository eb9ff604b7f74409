// Row kernels of daxRotate: runs of destination pixels all of which have a place in the source, and
// blocks that a quarter turn moves.
#ifndef OWN_DAXROTAT_H
#define OWN_DAXROTAT_H

#include <cstddef>
#include <cstdint>

// The source image, or one plane of it. All its bytes lie less than 2^31 apart.
struct OwnTurned {
    const char* data;
    int32_t rowStep;
    int32_t pixel;    // samples from one pixel to the next
    int32_t channels; // to work on, side by side
    int32_t maxX;
    int32_t maxY;
};

// The source position of a run's first pixel, and the steps, in 1/16384 pixel.
struct OwnFixedPlaces {
    int32_t x;
    int32_t y;
    int32_t stepX;
    int32_t stepY;
};

// The same in doubles: destination column X lies at ((c X - sy) + tx, (s X + cy) + ty).
struct OwnRealPlaces {
    double c;
    double s;
    double sy;
    double cy;
    double tx;
    double ty;

    double x(double column) const { return (c * column - sy) + tx; }
    double y(double column) const { return (s * column + cy) + ty; }
};

// The most pixels of a run. Short, so that the source lines under a run and under the one below it
// are the same for the most part, and stay in the cache.
constexpr ptrdiff_t ownTurnedRun = 128;

struct OwnRotateTable {
    void (*nearest1)(const OwnTurned& src, const OwnFixedPlaces& places, char* dst, int32_t bitDst,
                     ptrdiff_t count);
    void (*nearest8)(const OwnTurned& src, const OwnFixedPlaces& places, char* dst,
                     ptrdiff_t stepDst, ptrdiff_t count);
    void (*linear8)(const OwnTurned& src, const OwnFixedPlaces& places, char* dst,
                    ptrdiff_t stepDst, ptrdiff_t count);
    void (*nearest16)(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
                      ptrdiff_t stepDst, ptrdiff_t count);
    void (*linear16)(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
                     ptrdiff_t stepDst, ptrdiff_t count);
    void (*cubic[2])(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
                     ptrdiff_t stepDst, ptrdiff_t count);
    // Quarter turns: the destination's pixel (x, y) comes from `src` + x `stepX` + y `stepY`. All
    // distances are in bytes.
    void (*turn)(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep,
                 ptrdiff_t stepDst, ptrdiff_t pixelBytes, ptrdiff_t width, ptrdiff_t height);
};

struct OwnRotate {
    using Table = OwnRotateTable;
};

#endif
