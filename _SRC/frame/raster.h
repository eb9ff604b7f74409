// From a plain header to plain numbers: where the rectangle of an image starts and how far it goes.
#ifndef OWN_RASTER_H
#define OWN_RASTER_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// Byte offset of the first sample of the image's rectangle, with the bytes of one of its rows, its
// rows and its channels; -1 when there is no such rectangle. Row starts follow the fields of the
// header, not its `widthStep`. A rectangle that starts beyond the image gives counts of 0 or less.
ptrdiff_t ownRoiGeometry(const DaxImage* image, ptrdiff_t* rowBytes, ptrdiff_t* rows,
                         int32_t* channels);

// The same for a bitonal image: byte offset of the first row, and the bit in it where the rectangle
// starts; -1 for an image that is null or not bitonal. The size is the smaller of the ROI's and the
// image's, wherever the ROI starts.
ptrdiff_t ownBitonalRect(const DaxImage* image, int32_t* width, int32_t* height,
                         int32_t* bitOffset);

// Whether two images can be walked as one flat run of `dataSize` bytes.
bool ownSameGeometry(const DaxImage* image, const DaxImage* other);

// The end of a plain image's block: of its rows, or of `dataSize` if that is further.
const char* ownBlockEnd(const DaxImage* image);

// Whether two plain images may share memory.
bool ownMayOverlap(const DaxImage* image, const DaxImage* other);

inline ptrdiff_t ownMin3(ptrdiff_t a, ptrdiff_t b, ptrdiff_t c) {
    const ptrdiff_t least = a < b ? a : b;
    return least < c ? least : c;
}

#endif
