// The geometry of the data movers and of what works like them: rows follow the fields of a header
// and never its `widthStep`, tile walks follow the sizes of the regions as they stand.
#ifndef OWN_PLANEVIEW_H
#define OWN_PLANEVIEW_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

struct DaxPlaneView {
    char* rowStart;     // first byte of the region in its channel; at the row's first byte for bits
    ptrdiff_t rowStep;  // bytes
    int32_t pixelStep;  // channels of a pixel to work on
    int32_t viewHeight; // the region, cut to the image
    int32_t viewWidth;  // in pixels
    ptrdiff_t planeStep; // bytes
};

void ownPlaneView(const DaxImage* image, DaxPlaneView* view);

// The address of one sample of a plain image; channels count from 1.
char* ownPixelAddress(const DaxImage* image, int32_t x, int32_t y, int32_t channel);

// The region's first column, as it stands; 0 without a region.
inline int32_t ownRoiX(const DaxImage* image) {
    return image->roi != nullptr ? image->roi->xOffset : 0;
}
inline int32_t ownRoiY(const DaxImage* image) {
    return image->roi != nullptr ? image->roi->yOffset : 0;
}
inline int32_t ownCoi(const DaxImage* image) { return image->roi != nullptr ? image->roi->coi : 0; }

// Reports every difference of depth, data order and origin.
void ownCheckCompatible(const DaxImage* srcImage, const DaxImage* dstImage, const char* funcName,
                        const char* fileName, int32_t line);

// How a rectangle lies on the tiles of an image.
struct DaxTileWalk {
    int32_t walkHeight;
    int32_t walkWidth;
    int32_t xInFirstTile;
    int32_t yInFirstTile;
    int32_t tileHeight;
    int32_t tileWidth;
    int32_t firstTileCol;
    int32_t firstTileRow;
    int32_t tileCols;
    int32_t tileRows;
};

// The walk over the tiles of one image, with a rectangle of another beside it, or alone; 0 when
// there's nothing to do.
int32_t ownTileWalkOf(const DaxImage* otherImage, const DaxImage* walkedImage, DaxTileWalk* walk);
int32_t ownTileWalkSelf(const DaxImage* walkedImage, DaxTileWalk* walk);

// The walk of a rectangle of a given size at the corner of the image's region.
int32_t ownTileWalkSized(const DaxImage* walkedImage, int32_t height, int32_t width,
                         DaxTileWalk* walk);

// One step of such a walk along one axis: the place in the tile, the share of the rectangle that
// lies in it, and how far the rectangle has come before it.
struct OwnTileShare {
    int32_t inTile;
    int32_t size;
    int32_t before;
};

OwnTileShare ownTileShareX(const DaxTileWalk& walk, int32_t col);
OwnTileShare ownTileShareY(const DaxTileWalk& walk, int32_t row);

// The part of a walk that a call is to do, in steps of the walk.
struct OwnTileSpan {
    int32_t firstCol;
    int32_t endCol;
    int32_t firstRow;
    int32_t endRow;
};

// All of the walk, or what `tilePos` leaves of it; false when it names no tile of the walk. The
// start row is formed from the tile column that is asked for.
bool ownTileSpan(const DaxTileWalk& walk, const int32_t* tilePos, OwnTileSpan* span);

// A plain header for one tile that is held, with a region of its own.
struct OwnTileView {
    DaxImage header;
    DaxROI roi;

    OwnTileView(const DaxImage* tiled, void* data, const OwnTileShare& x, const OwnTileShare& y);
    OwnTileView(const OwnTileView&) = delete;
    OwnTileView& operator=(const OwnTileView&) = delete;
};

#endif
