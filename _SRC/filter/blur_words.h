// Row kernels of the blur of 8 bits whose sums along a row run in 16 bits, for sets with vectors. A
// window's sum moves down a row by the sum of `words` in it, the differences of the samples that
// enter and leave; or, where the sum itself fits 16 bits, the words are the sums of columns.
#ifndef OWN_BLUR_WORDS_H
#define OWN_BLUR_WORDS_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

// Floor(((sum + up) - down) * factor / 2^16 / 2^shift), where sum + up and the difference stay
// between 0 and 65535.
struct OwnBlurQuotient {
    uint16_t factor; // 0 when there is none
    uint16_t up;
    uint16_t down;
    int32_t shift;
};

// For windows of so many pixels of 8U.
OwnBlurQuotient ownBlurQuotient(int64_t count);

// Rows of words have ownBlurWordsBefore words before them and ownBlurWordsAfter after them, of
// which the kernels use nothing but read some; the last word before a row is 0. Rows of sums are a
// whole number of blocks long, and stand in an order of the kernels' own.
constexpr ptrdiff_t ownBlurBlock = 32;
constexpr ptrdiff_t ownBlurWordsBefore = 32;
constexpr ptrdiff_t ownBlurWordsAfter = 64;

// The widest window whose differences add up to no more than 16 bits with a sign.
constexpr ptrdiff_t ownMostBlurWords = 128;

struct OwnBlurWordRows {
    // words[i] = entering[i] - leaving[i]
    void (*differ)(const char* entering, const char* leaving, uint16_t* words, ptrdiff_t count);
    // The sums of the first row's windows.
    void (*start)(const uint32_t* columns, uint32_t* sums, ptrdiff_t width, ptrdiff_t nCols);
    // Moves the sums down by the words and gives their products with `single`, truncated.
    void (*means)(const uint16_t* words, uint32_t* sums, char* dst, ptrdiff_t width,
                  ptrdiff_t nCols, float single);
};

struct OwnBlurWordTable {
    OwnBlurWordRows byDepth[2]; // 8U and 8S; null where the set has none
    // words[i] += entering[i] - leaving[i], of 8U
    void (*slide)(const char* entering, const char* leaving, uint16_t* words, ptrdiff_t count);
    void (*quotients)(const uint16_t* words, char* dst, ptrdiff_t width, ptrdiff_t nCols,
                      const OwnBlurQuotient& quotient);
};

struct OwnBlurWords {
    using Table = OwnBlurWordTable;
};

#endif
