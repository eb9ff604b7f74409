// Random headers, alone and in sets that fit each other.
#ifndef KIT_SHAPES_H
#define KIT_SHAPES_H

#include "kit/image.h"

#include <vector>

namespace kit {

// A region that passes the header check: inside, over an edge, outside, whole or larger than the
// image.
DaxROI anyRoi(Random& random, int32_t width, int32_t height, int32_t coi);

// The region as it stands in the header, and what it keeps when it is cut to the image.
DaxROI regionOf(const DaxImage* image);
DaxROI cutRegion(const DaxImage* image);

// Any sound image, with or without a region.
Shape anyShape(Random& random);

// Images of one depth and order with equal working channel counts, as the sample-by-sample
// operations ask for. Equal sizes, whole images and rows without padding are as frequent as the
// rest, since they are walked in ways of their own. With `tileable` only such as give the same
// pixels in one block and in tiles: row steps by the fields, channel counts that are equal, and
// bitonal regions inside their image.
std::vector<Shape> fittingShapes(Random& random, int32_t count, bool tileable = false);

// Makes plain images wider than what kernels take at once, and low.
void widen(Random& random, std::vector<Shape>* shapes);

std::vector<Image> filledImages(Random& random, const std::vector<Shape>& shapes);

} // namespace kit

#endif
