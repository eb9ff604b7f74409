#include "filter/separable.h"
#include "frame/border.h"
#include "frame/call.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"

#include <initializer_list>

namespace {

constexpr OwnCall call = {"daxConvolveSep2D", "daxcsep2"};

ptrdiff_t smaller(ptrdiff_t a, ptrdiff_t b) { return a < b ? a : b; }

// The rectangle to work on: in the source from the window's first place on, in the destination from
// its own place on.
struct Region {
    ptrdiff_t srcX;
    ptrdiff_t srcY;
    ptrdiff_t dstX;
    ptrdiff_t dstY;
    ptrdiff_t height;
    ptrdiff_t width;
};

// The offsets don't count for the size, but nothing is written beyond the destination's edges.
Region regionOf(const DaxImage* srcImage, const DaxImage* dstImage, const OwnSeparable& filter) {
    Region region = {ptrdiff_t{ownRoiX(srcImage)} - filter.across->anchorX,
                     ptrdiff_t{ownRoiY(srcImage)} - filter.down->anchorY,
                     ownRoiX(dstImage),
                     ownRoiY(dstImage),
                     smaller(srcImage->height, dstImage->height),
                     smaller(srcImage->width, dstImage->width)};
    for (const DaxROI* roi : {srcImage->roi, dstImage->roi}) {
        if (roi == nullptr) continue;
        region.height = smaller(region.height, roi->height);
        region.width = smaller(region.width, roi->width);
    }
    region.height = smaller(region.height, dstImage->height - region.dstY);
    region.width = smaller(region.width, dstImage->width - region.dstX);
    return region;
}

// Copies a rectangle between plain images of one layout; of one channel, or with 0 of all.
void copyRect(const DaxImage* from, ptrdiff_t fromX, ptrdiff_t fromY, const DaxImage* to,
              ptrdiff_t toX, ptrdiff_t toY, ptrdiff_t height, ptrdiff_t width, int32_t channel) {
    const bool pixels = from->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownDepthBits(from->depth) / 8;
    const ptrdiff_t step = pixels ? sample * from->nChannels : sample;
    const int32_t first = channel > 0 ? channel : 1;
    const int32_t last = channel > 0 || pixels ? first : from->nChannels;
    const auto rowOf = [&](const DaxImage* image, ptrdiff_t x, ptrdiff_t y, int32_t c) {
        const ptrdiff_t plane = pixels ? sample : ptrdiff_t{image->widthStep} * image->height;
        return static_cast<char*>(image->imageData) + y * image->widthStep + x * step +
               (c - 1) * plane;
    };
    for (int32_t c = first; c <= last; ++c) {
        for (ptrdiff_t row = 0; row < height; ++row) {
            const char* src = rowOf(from, fromX, fromY + row, c);
            char* dst = rowOf(to, toX, toY + row, c);
            if (sample == 0)
                ownCopyBits(src, fromX, dst, toX, width);
            else if (channel == 0 || step == sample)
                ownCopyRow(src, dst, width * step);
            else
                ownStridedMovers(sample).copy(src, step, dst, step, width);
        }
    }
}

// Into a plain image, or into all the tiles that the rectangle touches; false when one is missing.
bool putRect(const DaxImage* block, DaxImage* dstImage, ptrdiff_t dstX, ptrdiff_t dstY,
             ptrdiff_t height, ptrdiff_t width, int32_t channel) {
    const DaxTileInfo* tiles = dstImage->tileInfo;
    if (tiles == nullptr) {
        copyRect(block, 0, 0, dstImage, dstX, dstY, height, width, channel);
        return true;
    }
    DaxImage header;
    ownTileHeader(dstImage, &header);
    OwnTile tile(dstImage);
    ptrdiff_t rows = 0;
    for (ptrdiff_t y = 0; y < height; y += rows) {
        const ptrdiff_t row = (dstY + y) / tiles->height;
        const ptrdiff_t inY = dstY + y - row * tiles->height;
        rows = smaller(height - y, tiles->height - inY);
        ptrdiff_t columns = 0;
        for (ptrdiff_t x = 0; x < width; x += columns) {
            const ptrdiff_t col = (dstX + x) / tiles->width;
            const ptrdiff_t inX = dstX + x - col * tiles->width;
            columns = smaller(width - x, tiles->width - inX);
            if (!tile.request(col, row, DAX_TILE_WRITE)) return false;
            header.imageData = tile.data();
            copyRect(block, x, y, &header, inX, inY, rows, columns, channel);
            tile.release();
        }
    }
    return true;
}

// In blocks, each with a copy of its surroundings and a result of its own.
void filterBlocks(const OwnSeparable& filter, DaxImage* srcImage, DaxImage* dstImage,
                  const Region& region) {
    const DaxTileInfo* tiles =
        dstImage->tileInfo != nullptr ? dstImage->tileInfo : srcImage->tileInfo;
    const ptrdiff_t blockHeight = tiles != nullptr ? tiles->height : region.height;
    const ptrdiff_t blockWidth = tiles != nullptr ? tiles->width : region.width;
    DaxImage result = *dstImage;
    result.roi = nullptr;
    result.tileInfo = nullptr;
    result.align = 4;
    result.height = static_cast<int32_t>(blockHeight);
    result.width = static_cast<int32_t>(blockWidth);
    if (!ownDataLayout(&result, &result.widthStep, &result.dataSize)) return;
    const OwnBuffer<char> resultBlock(result.dataSize);
    if (!resultBlock) return;
    result.imageData = resultBlock.get();

    DaxImage source = *srcImage;
    source.roi = nullptr;
    source.tileInfo = nullptr;
    for (ptrdiff_t y = 0; y < region.height; y += blockHeight) {
        for (ptrdiff_t x = 0; x < region.width; x += blockWidth) {
            const ptrdiff_t height = smaller(region.height - y, blockHeight);
            const ptrdiff_t width = smaller(region.width - x, blockWidth);
            const ptrdiff_t srcX = region.srcX + x;
            const ptrdiff_t srcY = region.srcY + y;
            const ptrdiff_t srcHeight = height + filter.down->nRows;
            const ptrdiff_t srcWidth = width + filter.across->nCols;
            if (srcX + srcWidth > INT32_MAX || srcY + srcHeight > INT32_MAX || srcX < INT32_MIN ||
                srcY < INT32_MIN || srcWidth > INT32_MAX || srcHeight > INT32_MAX)
                return;
            source.height = static_cast<int32_t>(srcHeight);
            source.width = static_cast<int32_t>(srcWidth);
            OwnBuffer<char> surroundings;
            surroundings.reset(ownBorderRect(srcImage, static_cast<int32_t>(srcX),
                                             static_cast<int32_t>(srcY), source.width,
                                             source.height, &source.widthStep));
            if (!surroundings) return;
            source.imageData = surroundings.get();
            ownSeparate(filter, &source, 0, 0, &result, 0, 0, height, width);
            if (!putRect(&result, dstImage, region.dstX + x, region.dstY + y, height, width,
                         filter.dstChannel))
                return;
        }
    }
}

} // namespace

void daxConvolveSep2D(DaxImage* srcImage, DaxImage* dstImage, const DaxConvKernel* Xkernel,
                      const DaxConvKernel* Ykernel) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    bool bad = call.rejects(Xkernel == nullptr, "Xkernel==0");
    bad = call.rejects(Ykernel == nullptr, "Ykernel==0") || bad;
    if (bad || daxGetErrStatus() < 0) return;
    const int32_t srcCoi = ownCoi(srcImage);
    const int32_t dstCoi = ownCoi(dstImage);
    constexpr const char* otherCount = "nChannels in srcImage ROI != nChannels in dstImage ROI";
    const auto reject = [&](bool condition, const char* text, int32_t line = __builtin_LINE()) {
        bad = call.rejects(condition, text, line) || bad;
    };
    reject(srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth");
    // Images of two origins fit each other well enough for a reporter that lets them.
    call.rejects(srcImage->origin != dstImage->origin, "srcImage->origin != dstImage->origin");
    reject(srcImage->dataOrder != dstImage->dataOrder,
           "srcImage->dataOrder != dstImage->dataOrder");
    reject(srcImage->nChannels != dstImage->nChannels,
           "srcImage->nChannels != dstImage->nChannels");
    reject(srcImage->nChannels > 1 && srcCoi != 0 && dstCoi == 0, otherCount);
    reject(dstCoi != 0 && srcCoi == 0, otherCount);
    reject(Xkernel->nCols <= 0, "Xkernel->nCols <= 0");
    reject(Ykernel->nRows <= 0, "Ykernel->nRows <= 0");
    if (bad || daxGetErrStatus() < 0) return;

    const uint32_t shift =
        static_cast<uint32_t>(Xkernel->nShiftR) + static_cast<uint32_t>(Ykernel->nShiftR);
    const OwnSeparable filter = {Xkernel, Ykernel, srcCoi, dstCoi != 0 ? dstCoi : srcCoi,
                                 static_cast<int32_t>(shift & 31)};
    const Region region = regionOf(srcImage, dstImage, filter);
    if (region.height <= 0 || region.width <= 0) return;
    const bool tiled = srcImage->tileInfo != nullptr || dstImage->tileInfo != nullptr;
    if (tiled || srcImage->imageData == dstImage->imageData)
        filterBlocks(filter, srcImage, dstImage, region);
    else
        ownSeparate(filter, srcImage, region.srcX, region.srcY, dstImage, region.dstX, region.dstY,
                    region.height, region.width);
}
