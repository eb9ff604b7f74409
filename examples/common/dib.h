// Device-independent bitmaps in memory, as the library takes them.
#ifndef EXAMPLES_COMMON_DIB_H
#define EXAMPLES_COMMON_DIB_H

#include "file.h"
#include "image.h"

#include <daxlib.h>

#include <cstddef>
#include <cstdint>

// The layout of a bitmap's pixels: 1, 4, 8, 16, 24 or 32 bits, and at 16 bits whether 6 of them are
// green's.
struct PixelBits {
    int32_t count;
    bool sixGreen = false;
};

// A header, its colour table or bit-field masks, and the rows, in one block.
class Dib {
public:
    // All zeroes, with masks in their place. A negative height is that of rows from top to bottom.
    // Throws std::bad_alloc.
    Dib(int32_t width, int32_t height, PixelBits bits);

    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(block.data()); }
    const BITMAPINFOHEADER* header() const {
        return reinterpret_cast<const BITMAPINFOHEADER*>(block.data());
    }

    // Entries of four bytes between header and rows, as the header has them now.
    size_t tableEntries() const;
    size_t rowBytes() const;
    size_t rowCount() const;

    uint8_t* table() { return block.data() + sizeof(BITMAPINFOHEADER); }
    uint8_t* rows() { return table() + 4 * tableEntries(); }
    const uint8_t* data() const { return block.data(); }
    size_t bytesBeforeRows() const { return sizeof(BITMAPINFOHEADER) + 4 * tableEntries(); }
    size_t bytes() const { return bytesBeforeRows() + rowBytes() * rowCount(); }

private:
    Bytes block;
};

// An image of 8 bits, gray or red, green and blue, as a bitmap. `palette` is one of the library's
// DAX_PALETTE_... values.
Dib dibOf(DaxImage* image, PixelBits bits, int32_t palette);

// The picture of a bitmap, top row first: gray if the bitmap is, else red, green and blue.
Image imageOf(Dib& dib);

#endif
