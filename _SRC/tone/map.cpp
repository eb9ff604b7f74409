// The map through lookup tables. Tiles are mapped by the same function, called again with plain
// headers of the tiles.

#include "tone/daxHist.h"

#include "frame/call.h"
#include "frame/depth.h"
#include "frame/planeview.h"
#include "frame/planewalk.h"

namespace {

constexpr OwnCall mapCall = {"daxMap", "daxHist"};

void mapRun(int32_t depth, const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst,
            ptrdiff_t count, const void* tables, ptrdiff_t channel) {
    const OwnToneTable& rows = ownRows<OwnTone>();
    const ptrdiff_t first = channel * ownHistSize(depth);
    if (depth == DAX_DEPTH_8U)
        rows.map8(src, stepSrc, dst, stepDst, count, static_cast<const uint8_t*>(tables) + first);
    else
        rows.map16(src, stepSrc, dst, stepDst, count, static_cast<const uint16_t*>(tables) + first);
}

void mapPlain(const DaxImage* srcImage, const DaxImage* dstImage, const void* tables) {
    DaxPlaneView src;
    DaxPlaneView dst;
    ownPlaneView(srcImage, &src);
    ownPlaneView(dstImage, &dst);
    if (src.pixelStep != dst.pixelStep) return;
    ptrdiff_t width = src.viewWidth < dst.viewWidth ? src.viewWidth : dst.viewWidth;
    ptrdiff_t height = src.viewHeight < dst.viewHeight ? src.viewHeight : dst.viewHeight;
    if (width <= 0 || height <= 0) return;

    const ptrdiff_t sample = ownSampleBytes(srcImage->depth);
    const bool pixels = srcImage->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t stepSrc = sample * (pixels ? srcImage->nChannels : 1);
    const ptrdiff_t stepDst = sample * (pixels ? dstImage->nChannels : 1);
    const ptrdiff_t channelSrc = pixels ? sample : src.planeStep;
    const ptrdiff_t channelDst = pixels ? sample : dst.planeStep;
    // Rows that follow each other without a gap are one.
    if (width * stepSrc == src.rowStep && width * stepDst == dst.rowStep && src.pixelStep == 1) {
        width *= height;
        height = 1;
    }
    for (ptrdiff_t row = 0; row < height; ++row)
        for (ptrdiff_t channel = 0; channel < src.pixelStep; ++channel)
            mapRun(srcImage->depth, src.rowStart + row * src.rowStep + channel * channelSrc,
                   stepSrc, dst.rowStart + row * dst.rowStep + channel * channelDst, stepDst, width,
                   tables, channel);
}

} // namespace

void daxMap(DaxImage* srcImage, DaxImage* dstImage, const void* tables, const int32_t* tilePos) {
    // A reporter that clears the status lets images through that don't fit.
    if (srcImage->depth != dstImage->depth || srcImage->dataOrder != dstImage->dataOrder) return;
    if (srcImage == dstImage && srcImage->tileInfo != nullptr) {
        // A tile that is held for writing holds the samples to read, too.
        ownWalkSelfTiled(mapCall, dstImage, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                         [tables](DaxImage* tile) { daxMap(tile, tile, tables, nullptr); });
    } else if (srcImage->tileInfo != nullptr && dstImage->tileInfo != nullptr) {
        ownWalkBothTiled(mapCall, srcImage, dstImage, tilePos,
                         [tables](DaxImage* tile, DaxImage* rectangle, const DaxROI&) {
                             daxMap(rectangle, tile, tables, nullptr);
                         });
    } else if (srcImage->tileInfo != nullptr) {
        // This walk is never narrowed.
        ownWalkOneTiled(
            mapCall, srcImage, dstImage, {DAX_TILE_READ, ownReadFailure, nullptr},
            [tables](DaxImage* tile, DaxImage* plain) { daxMap(tile, plain, tables, nullptr); });
    } else if (dstImage->tileInfo != nullptr) {
        ownWalkOneTiled(
            mapCall, dstImage, srcImage, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
            [tables](DaxImage* tile, DaxImage* plain) { daxMap(plain, tile, tables, nullptr); });
    } else {
        mapPlain(srcImage, dstImage, tables);
    }
}
