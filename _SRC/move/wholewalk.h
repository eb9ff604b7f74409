// The walk of the operations on whole images of one size, which may differ in depth, data order and
// origin: in one piece, or in pieces that each lie inside one tile of either image. Headers are
// only read.
#ifndef OWN_WHOLEWALK_H
#define OWN_WHOLEWALK_H

#include "frame/call.h"
#include "frame/daxlib.h"
#include "frame/ownrect.h"

#include <cstddef>
#include <cstdint>

// A piece of work, in the pixels of the tile that it lies in. An image without tiles is one tile.
struct DaxConvertRect {
    ptrdiff_t srcRow;
    ptrdiff_t srcCol;
    ptrdiff_t dstRow;
    ptrdiff_t dstCol;
    ptrdiff_t width;
    ptrdiff_t height;
};

// One image's share of a piece. All steps are in bytes, and a row step is negative when rows are
// turned over.
struct OwnWholeSide {
    char* at;        // the first row's first pixel; bits start at a byte
    const char* end; // of the block
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep; // 0 for bits
    ptrdiff_t channelStep;
    ptrdiff_t sampleBytes;
    int32_t channels;

    char* row(ptrdiff_t y, ptrdiff_t channel) const {
        return at + y * rowStep + channel * channelStep;
    }

    // How many samples of a row of one channel lie in the block. Only a `widthStep` that is too
    // small for its row leads outside.
    ptrdiff_t inside(ptrdiff_t y, ptrdiff_t channel, ptrdiff_t width) const;
};

struct OwnWholePiece {
    OwnWholeSide src;
    OwnWholeSide dst;
    ptrdiff_t width;
    ptrdiff_t height;

    // Whether all samples lie in the blocks.
    bool fits() const;
    // Makes one row of rows that follow each other without a gap in both images.
    void joinRows();
};

// The checks that come first: sound headers and equal sizes.
bool ownWholeFits(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                  int32_t line = __builtin_LINE());

class OwnWholeWalk {
public:
    // With `tilePos` only the tile of the destination that holds this pixel is walked.
    OwnWholeWalk(const OwnCall& theCall, DaxImage* srcImage, DaxImage* dstImage,
                 const int32_t* tilePos, int32_t callLine = __builtin_LINE());
    OwnWholeWalk(const OwnWholeWalk&) = delete;
    OwnWholeWalk& operator=(const OwnWholeWalk&) = delete;

    // Goes on to the next piece; false at the end, or after a report.
    bool next(OwnWholePiece* piece);

private:
    class Image {
    public:
        Image(DaxImage* theImage, int32_t theMode);

        // Takes the tile that holds a pixel, in place of the one that is held; false when it
        // can't be had.
        bool hold(ptrdiff_t pixelX, ptrdiff_t pixelY);
        void release();
        OwnWholeSide side(ptrdiff_t row, ptrdiff_t column, ptrdiff_t rows, bool turned) const;

        // Of the tile that is held.
        ptrdiff_t left() const { return col * tileWidth; }
        ptrdiff_t top() const { return row * tileHeight; }

        DaxImage* const image;
        const bool tiled;
        const bool interleaved;
        const ptrdiff_t sampleBytes;
        const ptrdiff_t tileWidth;
        const ptrdiff_t tileHeight;

    private:
        const ptrdiff_t rowStep;
        const int32_t mode;
        OwnTile tile;
        bool held = false;
        ptrdiff_t col = 0;
        ptrdiff_t row = 0;
    };

    DaxConvertRect rectAt(ptrdiff_t srcY) const;

    const OwnCall& call;
    const int32_t line;
    Image src;
    Image dst;
    const bool turned;
    ptrdiff_t begX = 0;
    ptrdiff_t endX;
    ptrdiff_t endY;
    ptrdiff_t x = 0;
    ptrdiff_t y = 0;
    bool done = false;
};

#endif
