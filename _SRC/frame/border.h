// What lies beyond the edge of an image: one sample, a run along a row, a column, or a rectangle
// with its surroundings in a buffer of its own; all on plain and tiled images alike.
#ifndef OWN_BORDER_H
#define OWN_BORDER_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// The place inside an image that a place outside reads, along one axis of `n` places, in any mode
// but that of the constant. A mode that is none of the four reads the nearest sample.
int32_t ownBorderPlace(int32_t mode, int64_t at, int32_t n);

// One sample inside the image, and one at any place. Samples come as unsigned numbers in their own
// width, constants as they are stored.
uint32_t ownPixelAt(DaxImage* image, int32_t x, int32_t y, int32_t channel);
uint32_t ownBorderPixel(DaxImage* image, int32_t x, int32_t y, int32_t channel);

// `count` samples of one channel inside the image, to the right of a place or to the left.
void ownPixelRun(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                 int32_t count, bool forward);

// `count` samples to the right of any place, in a run that crosses no vertical edge of the image.
void ownBorderRow(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                  int32_t count);

// `count` samples downwards from any place.
void ownBorderColumn(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                     int32_t count);

// Stores a value in the width of a depth; for bits whole bytes of it.
void ownFillRun(uint32_t value, int32_t depth, char* buffer, int32_t count);

// The rectangle with its top left corner at any place, in the image's own layout, from daxMalloc;
// null when it can't be had. `step` receives the distance of its rows.
char* ownBorderRect(DaxImage* image, int32_t x, int32_t y, int32_t width, int32_t height,
                    int32_t* step);

#endif
