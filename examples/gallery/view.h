// How an image of any depth is shown in 8 bits.
#ifndef EXAMPLES_GALLERY_VIEW_H
#define EXAMPLES_GALLERY_VIEW_H

#include "common/image.h"
#include "common/picture.h"

#include <string>
#include <vector>

// The high byte of a sample, with signed samples moved up by half their range; bits are black and
// white; samples of 32 bits are spread from the least to the greatest. Of more channels than three
// the first three are shown.
Picture viewOf(const DaxImage* image);

// "512 x 600, 3 channels, 8U"
std::string makeText(const DaxImage* image);

// Not wider than 120 pixels.
Picture thumbnail(const Picture& picture);

// Thumbnails side by side, in rows of so many.
Picture collageOf(const std::vector<Picture>& thumbnails, int columns);

#endif
