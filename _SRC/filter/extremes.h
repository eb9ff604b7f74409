// Largest and smallest of neighbouring cells: the row kernels of the rank filters and of
// morphology.
#ifndef OWN_EXTREMES_H
#define OWN_EXTREMES_H

#include "frame/depth.h"
#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

enum class OwnExtreme : int32_t { largest, smallest };

// Cells are samples, or for bits whole bytes of them.
struct OwnExtremeLines {
    // Of 1 to 4 runs, cell by cell. The destination is none of them, or the first.
    void (*merge)(const char* const* src, int32_t sources, char* dst, ptrdiff_t cells);
    // Takes a run into the ones kept so far, and gives what they and another run make together.
    void (*carry)(const char* src, char* kept, const char* other, char* dst, ptrdiff_t cells);
};

struct OwnExtremeTable {
    OwnExtremeLines lines[6]; // by depth index; the last is for bits
    // A run of bits and the same run from a later bit on. What the last bytes take from behind the
    // run, up to 16 bytes past the shift, is the caller's affair.
    void (*slideBits)(const char* src, ptrdiff_t shift, char* dst, ptrdiff_t bytes);
    // Every bit with its two neighbours. The bytes around the source are read.
    void (*spreadBits)(const char* src, char* dst, ptrdiff_t bytes);
};

struct OwnLargest {
    using Table = OwnExtremeTable;
};
struct OwnSmallest {
    using Table = OwnExtremeTable;
};

inline const OwnExtremeTable& ownExtremes(OwnExtreme which) {
    return which == OwnExtreme::largest ? ownRows<OwnLargest>() : ownRows<OwnSmallest>();
}

inline const OwnExtremeLines& ownExtremeLines(OwnExtreme which, int32_t depth) {
    return ownExtremes(which).lines[depth == DAX_DEPTH_1U ? 5 : ownDepthIndex(depth)];
}

// The extreme of `count` cells of a run, each `distance` cells after the one before, at every cell;
// the source may be anything, the two work lines hold `cells` + (`count` - 1) * `distance` cells.
void ownExtremeRow(const OwnExtremeLines& lines, const char* src, ptrdiff_t count,
                   ptrdiff_t distance, ptrdiff_t sampleBytes, char* const (&work)[2], char* dst,
                   ptrdiff_t cells);

#endif
