// The row kernels of the exchange with bitmaps. A block of pixels is a run of bytes for each of
// blue, green, red and alpha.
#ifndef OWN_DAXDIB_H
#define OWN_DAXDIB_H

#include "frame/kernels.h"
#include "move/dib.h"

#include <cstddef>
#include <cstdint>

inline constexpr ptrdiff_t ownDibBlock = 512; // pixels

// A colour table taken apart for the search, with what is added to products.
inline constexpr int32_t ownDibPageSize = 256;
struct OwnDibPage {
    int32_t blueGreen[ownDibPageSize];
    int32_t red[ownDibPageSize];
    int32_t base[ownDibPageSize];
};

struct OwnDibTable {
    // Bits and nibbles as bytes, from the start of a byte on.
    void (*spread[2])(const char* src, uint8_t* indices, ptrdiff_t count);
    // Entries of a table of 256.
    void (*lookUp)(const uint8_t* indices, const uint32_t* table, uint32_t* pixels,
                   ptrdiff_t count);
    // Fields of pixels of 16 and of 32 bits.
    void (*takeFields[2])(const char* src, const DaxDibFields& fields, uint8_t* const* runs,
                          ptrdiff_t count);
    void (*putFields[2])(const uint8_t* const* runs, const DaxDibFields& fields, char* dst,
                         ptrdiff_t count);
    void (*luminance)(const uint8_t* blue, const uint8_t* green, uint8_t* red, ptrdiff_t count);
    // The same of pixels of three bytes, as far as they needn't be taken apart for it: how many.
    ptrdiff_t (*weigh)(const char* src, char* grey, ptrdiff_t count);
    // Pixels of three bytes with the first and the last exchanged.
    void (*exchange)(const char* src, char* dst, ptrdiff_t count);
    // Bytes as the high bytes of words, and back.
    void (*widen)(const uint8_t* src, uint16_t* dst, ptrdiff_t count);
    void (*narrow)(const char* src, uint8_t* dst, ptrdiff_t count);
    // Bits that tell which bytes are above 127, what follows them being kept.
    void (*pack)(const uint8_t* src, char* dst, ptrdiff_t count);
    // Indices as bits that tell which ones aren't 0, as nibbles and as bytes.
    void (*putIndices[3])(const uint8_t* indices, char* dst, ptrdiff_t count);
    // For each pixel of up to a block the first of the nearest entries of a page.
    void (*nearest)(const uint8_t* const* runs, const OwnDibPage& page, int32_t entries,
                    uint8_t* indices, ptrdiff_t count);
};

struct OwnDib {
    using Table = OwnDibTable;
};

#endif
