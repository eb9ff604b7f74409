// The image record against itself: row step and data size, validation, and the text of what is
// wrong.
#ifndef OWN_HEADER_H
#define OWN_HEADER_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// Bytes from one row to the next, by the fields and not by what a header says in `widthStep`.
ptrdiff_t ownRowStep(int32_t dataOrder, int32_t depth, int32_t align, int32_t nChannels,
                     int32_t width);

inline ptrdiff_t ownRowStep(const DaxImage* image) {
    return ownRowStep(image->dataOrder, image->depth, image->align, image->nChannels, image->width);
}

// Row step and data size of a header whose fields are sound; false when one of them doesn't fit 32
// bits.
bool ownDataLayout(const DaxImage* image, int32_t* widthStep, int32_t* dataSize);

// The light test of a header that need not have data yet: 0 or a mask.
int32_t ownBadHeaderFields(const DaxImage* image);

// Row step of an image's tiles; 0 for an image that is null, unsound or not tiled.
ptrdiff_t ownTileRowStep(DaxImage* image);

// The text for a mask of daxBadImageHeader, null for 0. It goes back through ownReleaseMessage,
// which knows the constant texts from the allocated ones.
const char* ownHeaderMessage(int32_t bits);
void ownReleaseMessage(const char* text);

// How many channels a call works on: one with a channel of interest, all without.
inline int32_t ownWorkingChannels(const DaxImage* image) {
    return image->roi != nullptr && image->roi->coi != 0 ? 1 : image->nChannels;
}

#endif
