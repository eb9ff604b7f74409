// The tile walks of the data movers and of what works like them. They go by the sizes of regions as
// they stand, and hand on plain headers of the tiles. A tile that doesn't come is reported; then
// the walk stops where it is.
#ifndef OWN_PLANEWALK_H
#define OWN_PLANEWALK_H

#include "frame/border.h"
#include "frame/call.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"

inline constexpr const char* ownReadFailure = "Error get tile to read";
inline constexpr const char* ownWriteFailure = "Error get tile to write";

// Past the end of the numbers a place is as far outside as at their end.
inline int32_t ownMovedPlace(int32_t offset, int32_t by) {
    return by > INT32_MAX - offset ? INT32_MAX : offset + by;
}

// Which tiles of an image a walk asks for, and how.
struct OwnTileRequests {
    int32_t mode;
    const char* failure;
    const int32_t* tilePos;
};

// Goes over the tiles of one image: `work(tile header)`. False after a report; a walk in which
// there is nothing to do is none.
template <class Work>
bool ownWalkSelfTiled(const OwnCall& call, DaxImage* image, const OwnTileRequests& requests,
                      Work work, int32_t line = __builtin_LINE()) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (ownTileWalkSelf(image, &walk) == 0 || !ownTileSpan(walk, requests.tilePos, &span))
        return true;
    OwnTile tile(image);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, requests.mode)) {
                call.report(DAX_StatusUnknownError, requests.failure, line);
                return false;
            }
            OwnTileView view(image, tile.data(), ownTileShareX(walk, col),
                             ownTileShareY(walk, row));
            work(&view.header);
            tile.release();
        }
    }
    return true;
}

// One of two images is tiled. The walk goes over its tiles, and the region of the other's own
// header follows it: `work(tile header, the other image)`. The caller's region is put back at the
// end of the whole walk and not before.
template <class Work>
void ownWalkOneTiled(const OwnCall& call, DaxImage* tiled, DaxImage* plain,
                     const OwnTileRequests& requests, Work work, int32_t line = __builtin_LINE()) {
    DaxTileWalk walk;
    OwnTileSpan span;
    DaxROI* const callersRoi = plain->roi;
    const int32_t plainX = ownRoiX(plain);
    const int32_t plainY = ownRoiY(plain);
    if (ownTileWalkOf(plain, tiled, &walk) == 0) return;
    DaxROI roi = {ownCoi(plain), plainX, plainY, walk.walkHeight, walk.walkWidth};
    plain->roi = &roi;
    if (!ownTileSpan(walk, requests.tilePos, &span)) return;
    OwnTile tile(tiled);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            const OwnTileShare x = ownTileShareX(walk, col);
            const OwnTileShare y = ownTileShareY(walk, row);
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, requests.mode)) {
                call.report(DAX_StatusUnknownError, requests.failure, line);
                return;
            }
            roi.xOffset = ownMovedPlace(plainX, x.before);
            roi.yOffset = ownMovedPlace(plainY, y.before);
            OwnTileView view(tiled, tile.data(), x, y);
            work(&view.header, plain);
            tile.release();
        }
    }
    plain->roi = callersRoi;
}

// Both images are tiled. The walk goes over the destination's tiles, each with a copy of the
// source's rectangle that belongs to it: `work(tile header, rectangle header, place of the
// rectangle in the source)`.
template <class Work>
void ownWalkBothTiled(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                      const int32_t* tilePos, Work work, int32_t line = __builtin_LINE()) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (ownTileWalkOf(srcImage, dstImage, &walk) == 0 || !ownTileSpan(walk, tilePos, &span)) return;
    OwnTile tile(dstImage);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            const OwnTileShare x = ownTileShareX(walk, col);
            const OwnTileShare y = ownTileShareY(walk, row);
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, DAX_TILE_WRITE)) {
                call.report(DAX_StatusUnknownError, ownWriteFailure, line);
                return;
            }
            OwnTileView view(dstImage, tile.data(), x, y);
            const DaxROI place = {ownCoi(srcImage), ownMovedPlace(ownRoiX(srcImage), x.before),
                                  ownMovedPlace(ownRoiY(srcImage), y.before), y.size, x.size};
            int32_t step = 0;
            OwnBuffer<char> rectangle;
            rectangle.reset(ownBorderRect(srcImage, place.xOffset, place.yOffset, place.width,
                                          place.height, &step));
            if (!rectangle || daxGetErrStatus() < 0) return;
            DaxROI rectangleRoi = {place.coi, 0, 0, place.height, place.width};
            DaxImage header = *srcImage;
            header.height = place.height;
            header.width = place.width;
            header.tileInfo = nullptr;
            header.roi = &rectangleRoi;
            header.imageData = rectangle.get();
            ownDataLayout(&header, &header.widthStep, &header.dataSize);
            work(&view.header, &header, place);
            tile.release();
        }
    }
}

#endif
