#include "move/wholewalk.h"

#include "frame/depth.h"
#include "frame/header.h"
#include "frame/raster.h"

ptrdiff_t OwnWholeSide::inside(ptrdiff_t y, ptrdiff_t channel, ptrdiff_t width) const {
    const ptrdiff_t room = end - row(y, channel);
    const ptrdiff_t samples = room < sampleBytes ? 0
                              : pixelStep == 0   ? room * 8
                                                 : (room - sampleBytes) / pixelStep + 1;
    return samples < width ? samples : width;
}

bool OwnWholePiece::fits() const {
    const auto reaches = [this](const OwnWholeSide& side) {
        const ptrdiff_t furthest = side.rowStep < 0 ? 0 : height - 1;
        return side.inside(furthest, side.channels - 1, width) == width;
    };
    return reaches(src) && reaches(dst);
}

void OwnWholePiece::joinRows() {
    const auto tight = [this](const OwnWholeSide& side) {
        return side.pixelStep != 0 ? width * side.pixelStep == side.rowStep
                                   : width == side.rowStep * 8;
    };
    if (!tight(src) || !tight(dst)) return;
    width *= height;
    height = 1;
}

bool ownWholeFits(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, int32_t line) {
    return call.sound(srcImage, line) && call.sound(dstImage, line) &&
           !call.rejects(srcImage->height != dstImage->height,
                         "(srcImage->height != dstImage->height)", line) &&
           !call.rejects(srcImage->width != dstImage->width, "(srcImage->width != dstImage->width)",
                         line);
}

OwnWholeWalk::Image::Image(DaxImage* theImage, int32_t theMode)
    : image(theImage), tiled(image->tileInfo != nullptr),
      interleaved(image->dataOrder == DAX_DATA_PIXEL), sampleBytes(ownSampleBytes(image->depth)),
      tileWidth(tiled ? image->tileInfo->width : image->width),
      tileHeight(tiled ? image->tileInfo->height : image->height),
      rowStep(tiled ? ownTileRowStep(image) : image->widthStep), mode(theMode), tile(image) {}

bool OwnWholeWalk::Image::hold(ptrdiff_t pixelX, ptrdiff_t pixelY) {
    const ptrdiff_t wantedCol = pixelX / tileWidth;
    const ptrdiff_t wantedRow = pixelY / tileHeight;
    if (!tiled || (held && wantedCol == col && wantedRow == row)) return true;
    release();
    col = wantedCol;
    row = wantedRow;
    held = tile.request(col, row, mode);
    return held;
}

void OwnWholeWalk::Image::release() {
    if (held) tile.release();
    held = false;
}

OwnWholeSide OwnWholeWalk::Image::side(ptrdiff_t first, ptrdiff_t column, ptrdiff_t rows,
                                       bool backward) const {
    const bool bits = image->depth == DAX_DEPTH_1U;
    const ptrdiff_t planeStep = rowStep * tileHeight;
    OwnWholeSide made = {};
    made.channels = image->nChannels;
    made.pixelStep = bits ? 0 : interleaved ? sampleBytes * made.channels : sampleBytes;
    made.channelStep = interleaved ? sampleBytes : planeStep;
    made.sampleBytes = sampleBytes;
    made.rowStep = backward ? -rowStep : rowStep;
    char* const data = static_cast<char*>(tiled ? tile.data() : image->imageData);
    made.at = data + (backward ? first + rows - 1 : first) * rowStep +
              (bits ? column / 8 : column * made.pixelStep);
    made.end = tiled ? data + planeStep * (interleaved ? 1 : made.channels) : ownBlockEnd(image);
    return made;
}

OwnWholeWalk::OwnWholeWalk(const OwnCall& theCall, DaxImage* srcImage, DaxImage* dstImage,
                           const int32_t* tilePos, int32_t callLine)
    : call(theCall), line(callLine), src(srcImage, DAX_TILE_READ), dst(dstImage, DAX_TILE_WRITE),
      turned(srcImage->origin != dstImage->origin), endX(dstImage->width), endY(dstImage->height) {
    if (tilePos == nullptr || !(src.tiled || dst.tiled)) return;
    if (ownPixelOutside(dstImage, tilePos[0], tilePos[1]) != 0) {
        done = true;
        return;
    }
    x = begX = tilePos[0] / dst.tileWidth * dst.tileWidth;
    y = tilePos[1] / dst.tileHeight * dst.tileHeight;
    if (begX + dst.tileWidth < endX) endX = begX + dst.tileWidth;
    if (y + dst.tileHeight < endY) endY = y + dst.tileHeight;
}

DaxConvertRect OwnWholeWalk::rectAt(ptrdiff_t srcY) const {
    DaxConvertRect rect = {};
    rect.srcRow = srcY - src.top();
    rect.srcCol = x - src.left();
    rect.dstRow = y - dst.top();
    rect.dstCol = x - dst.left();
    rect.width = ownMin3(src.tileWidth - rect.srcCol, dst.tileWidth - rect.dstCol, endX - x);
    const ptrdiff_t srcRows = turned ? rect.srcRow + 1 : src.tileHeight - rect.srcRow;
    rect.height = ownMin3(srcRows, dst.tileHeight - rect.dstRow, endY - y);
    if (turned) rect.srcRow -= rect.height - 1;
    return rect;
}

bool OwnWholeWalk::next(OwnWholePiece* piece) {
    if (done) return false;
    done = y >= endY;
    if (done) {
        dst.release();
        src.release();
        return false;
    }
    const ptrdiff_t srcY = turned ? src.image->height - 1 - y : y;
    done = call.rejects(!dst.hold(x, y), "(dstImage->tileInfo->tileData == NULL)", line) ||
           call.rejects(!src.hold(x, srcY), "(srcImage->tileInfo->tileData == NULL)", line);
    if (done) return false;
    const DaxConvertRect rect = rectAt(srcY);
    // Of plain images the destination is walked backward, else the source: where rows overlap, the
    // one that is written last stays.
    const bool turnedSrc = turned && (src.tiled || dst.tiled);
    piece->src = src.side(rect.srcRow, rect.srcCol, rect.height, turnedSrc);
    piece->dst = dst.side(rect.dstRow, rect.dstCol, rect.height, turned && !turnedSrc);
    piece->width = rect.width;
    piece->height = rect.height;
    piece->joinRows();
    x += rect.width;
    if (x >= endX) {
        x = begX;
        y += rect.height;
    }
    return true;
}
