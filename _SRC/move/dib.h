// What stands in a device-independent bitmap, and the pieces of its exchange with images.
#ifndef OWN_DIB_H
#define OWN_DIB_H

#include "frame/call.h"
#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

inline constexpr int32_t ownDibEntryBytes = 4;

// Of 1, 4 and 8 bits, pixels are indices into the colour table.
inline bool ownDibIndexed(int32_t bitCount) {
    return bitCount == 1 || bitCount == 4 || bitCount == 8;
}

// Entries of the colour table, or masks in its place.
int64_t ownDibTableSize(const BITMAPINFOHEADER* dib);

// The table, as bytes of blue, green, red and one more.
inline const uint8_t* ownDibTable(const BITMAPINFOHEADER* dib) {
    return reinterpret_cast<const uint8_t*>(dib) + dib->biSize;
}
inline uint8_t* ownDibTable(BITMAPINFOHEADER* dib) {
    return reinterpret_cast<uint8_t*>(dib) + dib->biSize;
}

int64_t ownDibRowStep(const BITMAPINFOHEADER* dib);

// The absolute `biHeight`, which may be 2^31.
int64_t ownDibRows(const BITMAPINFOHEADER* dib);

// Bytes from the header's first to the last of the pixels.
int64_t ownDibBytes(const BITMAPINFOHEADER* dib);

// The reports that the three functions share.
bool ownDibRejected(const OwnCall& call, const BITMAPINFOHEADER* dib,
                    int32_t line = __builtin_LINE());

// Where the channels of a pixel of 16 or 32 bits lie in it: blue, green, red, alpha.
struct DaxDibFields {
    uint32_t mask[4];
    int32_t shift[4];
    int32_t width[4];
};
DaxDibFields ownDibFields(const BITMAPINFOHEADER* dib);

// What the letters of an image's channels ask for.
enum class OwnDibStep { grey, none, exchange, unknown };
OwnDibStep ownDibStep(const DaxImage* image);

// The pixels of an image, row by row from the top of the picture.
struct OwnDibRows {
    explicit OwnDibRows(const DaxImage* image);

    // Where sample 0 of a channel lies.
    char* at(int64_t row, int32_t channel) const { return first + offset(row, channel); }
    // How many of a row's first `count` pixels lie inside the image's block.
    int64_t inside(int64_t row, int64_t count) const;

    char* first;
    int64_t size; // of the block
    int64_t rowStep;
    int64_t planeStep;
    int64_t pixelBits;
    int64_t sampleBytes; // 0 for bits
    int32_t channels;
    bool planes;

private:
    int64_t offset(int64_t row, int32_t channel) const {
        return (upward ? rows - 1 - row : row) * rowStep + channel * planeStep;
    }
    int64_t rows;
    bool upward;
};

// Whether an image's samples can be exchanged: 1 bit, or 8 or 16 without sign, and 1, 3 or 4 of
// them.
bool ownDibSamples(const DaxImage* image);

// From a bitmap into an image and back, of formats that have been found to be exchangeable.
void ownDibRead(const BITMAPINFOHEADER* dib, const DaxImage* image);
void ownDibWrite(const DaxImage* image, BITMAPINFOHEADER* dib);

// The first of a table's entries that are nearest to a pixel.
int64_t ownNearestEntry(const uint8_t* pixel, const uint8_t* table, int64_t count);

// A fixed table; 0 for a size that has none.
int32_t ownFixedPalette(BITMAPINFOHEADER* dib, int32_t grey);

// A table made for the image by the median cut; 0 when there is none.
int32_t ownMedianCutPalette(BITMAPINFOHEADER* dib, const DaxImage* image);

#endif
