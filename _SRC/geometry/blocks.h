// The walk over a plain destination in blocks of 128 by 128 pixels, for tiled sources that are
// resampled.
#ifndef OWN_BLOCKS_H
#define OWN_BLOCKS_H

#include "frame/daxlib.h"
#include "frame/planeview.h"

#include <cstdint>

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
