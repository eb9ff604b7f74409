// How a rectangle that two or three plain images share can be walked: in flat runs, or in strided
// runs that visit one channel.
#ifndef OWN_RUNS_H
#define OWN_RUNS_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

struct OwnRuns {
    int32_t images;          // the last one is the destination
    char* start[3];          // the first sample of the first run
    const char* end[3];      // the end of the image's block
    ptrdiff_t rowStep[3];    // bytes
    ptrdiff_t planeStep[3];  // bytes
    ptrdiff_t sampleStep[3]; // bytes
    ptrdiff_t sampleBytes;
    ptrdiff_t count; // samples of a run
    ptrdiff_t rows;
    ptrdiff_t planes;
    bool strided;
    bool leaves; // a run leaves an image's block and is to be cut
};

// The walk of the sample-by-sample operations on depths of 8 bits and more: one flat run over
// everything where all images are of one size and wholly selected, else by the layouts of the
// images, which must fit each other; false when there is nothing to do.
bool ownLayoutRuns(DaxImage* const* images, int32_t count, OwnRuns* runs);

// The walk of the operations that go by the source: its channel of interest decides, starts follow
// the offsets of the regions and `widthStep` as they stand. One source and a destination.
bool ownSourceRuns(DaxImage* const* images, int32_t count, OwnRuns* runs);

// Sets the ends of the images' blocks, and whether runs are to be cut there, where all else of the
// runs is known.
void ownBoundRuns(DaxImage* const* images, OwnRuns* runs);

// The kernels of one depth that turn one image into another by a constant: a flat run, and a run
// that moves each image by its own number of bytes. Each takes of the constant what its operation
// does.
struct OwnSingleRow {
    void (*line)(const char* src, char* dst, ptrdiff_t count, int32_t value);
    void (*strided)(const char* src, char* dst, ptrdiff_t count, ptrdiff_t stepSrc,
                    ptrdiff_t stepDst, int32_t value);
};

void ownRunSingle(const OwnRuns& runs, const OwnSingleRow& row, int32_t value);

// The same for bitonal images.
struct OwnBitRuns {
    int32_t images;
    char* start[3];
    const char* end[3];
    ptrdiff_t rowStep[3];
    int32_t bit[3];  // where a run starts in its first byte
    ptrdiff_t words; // above 0: one flat run of so many 32-bit words, and no rows
    ptrdiff_t count; // bits of a run
    ptrdiff_t rows;
};

bool ownBitRuns(DaxImage* const* images, int32_t count, OwnBitRuns* runs);
bool ownSourceBitRuns(DaxImage* const* images, int32_t count, OwnBitRuns* runs);

// A run of `runs.count` samples, or fewer where a block ends before it.
ptrdiff_t ownSamplesInside(const OwnRuns& runs, char* const* at);
ptrdiff_t ownBitsInside(const OwnBitRuns& runs, char* const* at);

// Calls `run(at, count)` for every run, with the address of its first sample in each image.
template <class Run> void ownEachRun(const OwnRuns& runs, Run run) {
    char* plane[3] = {runs.start[0], runs.start[1], runs.start[2]};
    for (ptrdiff_t p = 0; p < runs.planes; ++p) {
        char* at[3] = {plane[0], plane[1], plane[2]};
        for (ptrdiff_t row = 0; row < runs.rows; ++row) {
            const ptrdiff_t count = runs.leaves ? ownSamplesInside(runs, at) : runs.count;
            if (count > 0) run(at, count);
            for (int32_t i = 0; i < runs.images; ++i) at[i] += runs.rowStep[i];
        }
        for (int32_t i = 0; i < runs.images; ++i) plane[i] += runs.planeStep[i];
    }
}

template <class Run> void ownEachBitRun(const OwnBitRuns& runs, Run run) {
    char* at[3] = {runs.start[0], runs.start[1], runs.start[2]};
    for (ptrdiff_t row = 0; row < runs.rows; ++row) {
        const ptrdiff_t count = ownBitsInside(runs, at);
        if (count > 0) run(at, count);
        for (int32_t i = 0; i < runs.images; ++i) at[i] += runs.rowStep[i];
    }
}

#endif
