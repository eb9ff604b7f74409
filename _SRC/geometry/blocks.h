// The walks that resampling operations share: destinations in blocks, of a tile each or of 128 by
// 128 pixels.
#ifndef OWN_BLOCKS_H
#define OWN_BLOCKS_H

#include "frame/call.h"
#include "frame/daxlib.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"

#include <cstdint>

inline constexpr const char* ownNoTileToWrite = "Error get tile to write";

// A coordinate that leaves the numbers is as far outside as their end.
constexpr int32_t ownCoordinate(int64_t at) {
    return at > INT32_MAX ? INT32_MAX : at < INT32_MIN ? INT32_MIN : static_cast<int32_t>(at);
}

// Calls `work(x, y, header of the tile)` for the tiles of a destination; false when a tile couldn't
// be had, or the work fails.
template <class Work>
bool ownEachTile(const OwnCall& call, DaxImage* dstImage, const DaxTileWalk& walk,
                 const OwnTileSpan& span, Work work) {
    OwnTile tile(dstImage);
    for (int32_t row = span.firstRow; row < span.endRow; ++row) {
        for (int32_t col = span.firstCol; col < span.endCol; ++col) {
            if (!tile.request(walk.firstTileCol + col, walk.firstTileRow + row, DAX_TILE_WRITE)) {
                call.report(DAX_StatusUnknownError, ownNoTileToWrite);
                return false;
            }
            const OwnTileShare x = ownTileShareX(walk, col);
            const OwnTileShare y = ownTileShareY(walk, row);
            OwnTileView view(dstImage, tile.data(), x, y);
            if (!work(x, y, &view.header)) return false;
            tile.release();
        }
    }
    return true;
}

// Calls `work(x, y, dstImage)` for the blocks of a plain destination, with its region on each in
// turn, until the work fails; the caller's region is put back in any case. `measure(walk)` gives
// the walk over the destination as if blocks were its tiles. Blocks past the first lie at multiples
// of their size from the image's corner, whatever the region's offset.
template <class Measure, class Work>
void ownEachBlock(DaxImage* dstImage, Measure measure, Work work) {
    constexpr int32_t side = 128;
    DaxTileInfo grid = {nullptr, 0, nullptr, side, side};
    DaxTileWalk walk;
    dstImage->tileInfo = &grid;
    const bool any = measure(&walk);
    dstImage->tileInfo = nullptr;
    if (!any) return;
    DaxROI* const callersRoi = dstImage->roi;
    walk.xInFirstTile = ownRoiX(dstImage);
    walk.yInFirstTile = ownRoiY(dstImage);
    DaxROI roi = {ownCoi(dstImage), 0, 0, 0, 0};
    dstImage->roi = &roi;
    bool going = true;
    for (int32_t row = 0; going && row < walk.tileRows; ++row) {
        for (int32_t col = 0; going && col < walk.tileCols; ++col) {
            const OwnTileShare x = ownTileShareX(walk, col);
            const OwnTileShare y = ownTileShareY(walk, row);
            roi.xOffset = col == 0 ? x.inTile : side * col;
            roi.yOffset = row == 0 ? y.inTile : side * row;
            roi.width = x.size;
            roi.height = y.size;
            going = work(x, y, dstImage);
        }
    }
    dstImage->roi = callersRoi;
}

#endif
