#include "color/colors.h"

namespace color {

namespace {

void (*served)(DaxImage* image, int32_t col, int32_t row, int32_t mode) = nullptr;

void serveInside(DaxImage* image, int32_t col, int32_t row, int32_t mode) {
    const bool inside = int64_t{col} * image->tileInfo->width < image->width &&
                        int64_t{row} * image->tileInfo->height < image->height;
    if (inside)
        served(image, col, row, mode);
    else
        image->tileInfo->tileData = nullptr;
}

} // namespace

EndingTiles::EndingTiles(const Image& image, char theName, int32_t width, int32_t height,
                         kit::TileLog& theLog)
    : Tiles(image, theName, width, height, theLog) {
    served = info.callBack;
    info.callBack = serveInside;
}

} // namespace color
