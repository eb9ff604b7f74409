#include "frame/planeview.h"

#include "frame/depth.h"
#include "frame/header.h"

namespace {

ptrdiff_t wholeBytes(const DaxImage* image) { return ownDepthBits(image->depth) / 8; }

// Cuts an extent to 0 up to `limit`; one that has nothing in common with it becomes empty.
void cut(int32_t* offset, int32_t* size, int32_t limit) {
    const int64_t end = int64_t{*offset} + *size;
    if (*offset >= limit || end < 1) {
        *offset = 0;
        *size = 0;
        return;
    }
    if (*offset < 0) *offset = 0;
    *size = static_cast<int32_t>((end < limit ? end : limit) - *offset);
}

int32_t lastShare(int32_t inFirst, int32_t size, int32_t tileSize) {
    const int64_t rest = tileSize == -1 ? 0 : (int64_t{inFirst} - 1 + size) % tileSize;
    return static_cast<int32_t>(rest + 1);
}

OwnTileShare shareOf(int32_t index, int32_t tiles, int32_t inFirst, int32_t size,
                     int32_t tileSize) {
    const int32_t first = tiles == 1 ? size : tileSize - inFirst;
    if (index == 0) return {inFirst, first, 0};
    const int32_t before = index > 0 ? (index - 1) * tileSize + first : 0;
    return {0, index == tiles - 1 ? lastShare(inFirst, size, tileSize) : tileSize, before};
}

int32_t regionHeight(const DaxImage* image) {
    return image->roi != nullptr ? image->roi->height : image->height;
}

int32_t regionWidth(const DaxImage* image) {
    return image->roi != nullptr ? image->roi->width : image->width;
}

int32_t tilesOver(int32_t offset, int32_t size, int32_t tileSize) {
    const int64_t last = (int64_t{offset} + size - 1) / tileSize;
    return static_cast<int32_t>(last - offset / tileSize + 1);
}

} // namespace

void ownPlaneView(const DaxImage* image, DaxPlaneView* view) {
    int32_t x = 0;
    int32_t y = 0;
    int32_t coi = 0;
    view->viewWidth = image->width;
    view->viewHeight = image->height;
    if (const DaxROI* roi = image->roi) {
        x = roi->xOffset;
        y = roi->yOffset;
        coi = roi->coi;
        view->viewWidth = roi->width;
        view->viewHeight = roi->height;
        cut(&x, &view->viewWidth, image->width);
        cut(&y, &view->viewHeight, image->height);
    }
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    view->rowStep = ownRowStep(image);
    // Of use in plane order alone, where it doesn't overflow in an image that memory can hold.
    if (__builtin_mul_overflow(view->rowStep, image->height, &view->planeStep)) view->planeStep = 0;
    view->pixelStep = coi != 0 ? 1 : image->nChannels;
    view->rowStart = static_cast<char*>(image->imageData) + y * view->rowStep +
                     x * wholeBytes(image) * (pixels ? image->nChannels : 1);
    if (coi > 1) view->rowStart += (coi - 1) * (pixels ? wholeBytes(image) : view->planeStep);
}

char* ownPixelAddress(const DaxImage* image, int32_t x, int32_t y, int32_t channel) {
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t rowStep = ownRowStep(image);
    char* at = static_cast<char*>(image->imageData) + y * rowStep +
               x * wholeBytes(image) * (pixels ? image->nChannels : 1);
    if (channel > 1) at += (channel - 1) * (pixels ? wholeBytes(image) : rowStep * image->height);
    return at;
}

void ownCheckCompatible(const DaxImage* srcImage, const DaxImage* dstImage, const char* funcName,
                        const char* fileName, int32_t line) {
    const auto check = [&](bool differs, const char* text) {
        if (differs) daxError(DAX_StatusBadArgument, funcName, text, fileName, line);
    };
    check(srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth");
    check(srcImage->dataOrder != dstImage->dataOrder, "srcImage->dataOrder != dstImage->dataOrder");
    check(srcImage->origin != dstImage->origin, "srcImage->origin != dstImage->origin");
}

int32_t ownTileWalkSized(const DaxImage* image, int32_t height, int32_t width, DaxTileWalk* walk) {
    if (height == 0 || width == 0) return 0;
    const int32_t x = ownRoiX(image);
    const int32_t y = ownRoiY(image);
    walk->walkHeight = height;
    walk->walkWidth = width;
    walk->tileHeight = image->tileInfo->height;
    walk->tileWidth = image->tileInfo->width;
    walk->firstTileCol = x / walk->tileWidth;
    walk->firstTileRow = y / walk->tileHeight;
    walk->tileCols = tilesOver(x, width, walk->tileWidth);
    walk->tileRows = tilesOver(y, height, walk->tileHeight);
    walk->xInFirstTile = x - walk->firstTileCol * walk->tileWidth;
    walk->yInFirstTile = y - walk->firstTileRow * walk->tileHeight;
    return 1;
}

int32_t ownTileWalkOf(const DaxImage* otherImage, const DaxImage* walkedImage, DaxTileWalk* walk) {
    int32_t height = regionHeight(walkedImage);
    int32_t width = regionWidth(walkedImage);
    if (regionHeight(otherImage) < height) height = regionHeight(otherImage);
    if (regionWidth(otherImage) < width) width = regionWidth(otherImage);
    return ownTileWalkSized(walkedImage, height, width, walk);
}

int32_t ownTileWalkSelf(const DaxImage* walkedImage, DaxTileWalk* walk) {
    return ownTileWalkSized(walkedImage, regionHeight(walkedImage), regionWidth(walkedImage), walk);
}

OwnTileShare ownTileShareX(const DaxTileWalk& walk, int32_t col) {
    return shareOf(col, walk.tileCols, walk.xInFirstTile, walk.walkWidth, walk.tileWidth);
}

OwnTileShare ownTileShareY(const DaxTileWalk& walk, int32_t row) {
    return shareOf(row, walk.tileRows, walk.yInFirstTile, walk.walkHeight, walk.tileHeight);
}

bool ownTileSpan(const DaxTileWalk& walk, const int32_t* tilePos, OwnTileSpan* span) {
    *span = {0, walk.tileCols, 0, walk.tileRows};
    if (tilePos == nullptr) return true;
    const int64_t col = int64_t{tilePos[0]} - walk.firstTileCol;
    const int64_t row = int64_t{tilePos[1]} - walk.firstTileRow;
    if (col < 0 || col >= walk.tileCols || row < 0 || row >= walk.tileRows) return false;
    // The start row comes from the tile column, too.
    *span = {static_cast<int32_t>(col), 1, tilePos[0] - walk.firstTileRow, 1};
    return true;
}

OwnTileView::OwnTileView(const DaxImage* tiled, void* data, const OwnTileShare& x,
                         const OwnTileShare& y)
    : header(*tiled), roi{ownCoi(tiled), x.inTile, y.inTile, y.size, x.size} {
    header.height = tiled->tileInfo->height;
    header.width = tiled->tileInfo->width;
    header.tileInfo = nullptr;
    header.roi = &roi;
    header.imageData = data;
    // Those of a tiled header may be anything.
    ownDataLayout(&header, &header.widthStep, &header.dataSize);
}
