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

// A place that leaves the numbers is as far outside as their end.
constexpr int32_t ownPlace(int64_t at) {
    return at > INT32_MAX ? INT32_MAX : at < INT32_MIN ? INT32_MIN : static_cast<int32_t>(at);
}

// Which tiles of an image a walk asks for, and how.
struct OwnTileRequests {
    int32_t mode;
    const char* failure;
    const int32_t* tilePos;
};

// Calls `work(x, y, tile header)` for the tiles of a span of a walk, with their shares of it, for
// as long as it gives true. False when it doesn't, or after a report.
template <class Work>
bool ownEachTile(const OwnCall& call, DaxImage* tiled, const DaxTileWalk& walk,
                 const OwnTileSpan& span, const OwnTileRequests& requests, Work work,
                 int32_t line = __builtin_LINE()) {
    OwnTile tile(tiled);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, requests.mode)) {
                call.report(DAX_StatusUnknownError, requests.failure, line);
                return false;
            }
            const OwnTileShare x = ownTileShareX(walk, col);
            const OwnTileShare y = ownTileShareY(walk, row);
            OwnTileView view(tiled, tile.data(), x, y);
            if (!work(x, y, &view.header)) return false;
            tile.release();
        }
    }
    return true;
}

// Goes over the tiles of one image: `work(tile header)`. False after a report; a walk in which
// there is nothing to do is none.
template <class Work>
bool ownWalkSelfTiled(const OwnCall& call, DaxImage* image, const OwnTileRequests& requests,
                      Work work, int32_t line = __builtin_LINE()) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (ownTileWalkSelf(image, &walk) == 0 || !ownTileSpan(walk, requests.tilePos, &span))
        return true;
    return ownEachTile(
        call, image, walk, span, requests,
        [&](const OwnTileShare&, const OwnTileShare&, DaxImage* tile) {
            work(tile);
            return true;
        },
        line);
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
    if (ownEachTile(
            call, tiled, walk, span, requests,
            [&](const OwnTileShare& x, const OwnTileShare& y, DaxImage* tile) {
                roi.xOffset = ownPlace(int64_t{plainX} + x.before);
                roi.yOffset = ownPlace(int64_t{plainY} + y.before);
                work(tile, plain);
                return true;
            },
            line))
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
    ownEachTile(
        call, dstImage, walk, span, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
        [&](const OwnTileShare& x, const OwnTileShare& y, DaxImage* tile) {
            const DaxROI place = {ownCoi(srcImage), ownPlace(int64_t{ownRoiX(srcImage)} + x.before),
                                  ownPlace(int64_t{ownRoiY(srcImage)} + y.before), y.size, x.size};
            int32_t step = 0;
            OwnBuffer<char> rectangle;
            rectangle.reset(ownBorderRect(srcImage, place.xOffset, place.yOffset, place.width,
                                          place.height, &step));
            if (!rectangle || daxGetErrStatus() < 0) return false;
            DaxROI rectangleRoi = {place.coi, 0, 0, place.height, place.width};
            DaxImage header = *srcImage;
            header.height = place.height;
            header.width = place.width;
            header.tileInfo = nullptr;
            header.roi = &rectangleRoi;
            header.imageData = rectangle.get();
            ownDataLayout(&header, &header.widthStep, &header.dataSize);
            work(tile, &header, place);
            return true;
        },
        line);
}

#endif
