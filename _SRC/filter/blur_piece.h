// The blur of a rectangle, from a plain source to a plain destination that shares no memory with
// it.
#ifndef OWN_BLUR_PIECE_H
#define OWN_BLUR_PIECE_H

#include "filter/blur.h"
#include "frame/daxlib.h"
#include "frame/depth.h"

#include <cstddef>
#include <cstdint>

struct OwnBlurWindow {
    int32_t nRows;
    int32_t nCols;
    int32_t anchorX;
    int32_t anchorY;
    OwnBlurScale scale;
};

struct OwnBlurPiece {
    const OwnBlurWindow& window;
    const DaxImage* source;
    ptrdiff_t sourceX; // where the window of the first pixel starts
    ptrdiff_t sourceY;
    const DaxImage* image;
    ptrdiff_t x;
    ptrdiff_t y;
    ptrdiff_t height;
    ptrdiff_t width;

    ptrdiff_t sample() const { return ownSampleBytes(image->depth); }

    // The destination's samples of a channel, from 1, in a row.
    ptrdiff_t step() const {
        return image->dataOrder == DAX_DATA_PIXEL ? sample() * image->nChannels : sample();
    }
    char* row(int32_t channel, ptrdiff_t index) const {
        const ptrdiff_t rowStep = image->widthStep;
        const ptrdiff_t plane =
            image->dataOrder == DAX_DATA_PIXEL ? sample() : rowStep * image->height;
        return static_cast<char*>(image->imageData) + (y + index) * rowStep + x * step() +
               (channel - 1) * plane;
    }
    // Whether no row begins before another one ends. Else a sample is what is written there last,
    // a row after the other and a channel after the other.
    bool rowsApart() const { return width * step() <= image->widthStep; }
    // Samples side by side, to a row of a channel.
    void put(const char* samples, int32_t channel, ptrdiff_t index) const;
};

// Whether a piece is one of bytes that can be worked row by row, and the work. Without memory
// nothing is done.
bool ownBlursBytes(const OwnBlurPiece& piece);
void ownBlurBytes(const OwnBlurPiece& piece, int32_t firstChannel, int32_t lastChannel);

#endif
