#include "frame/ownrect.h"

#include "frame/depth.h"
#include "frame/header.h"

#include <cstring>

namespace {

int32_t cutSize(int32_t offset, int32_t size, int32_t limit) {
    return int64_t{offset} + size > limit ? limit - offset : size;
}

constexpr ptrdiff_t endless = PTRDIFF_MAX;

} // namespace

void ownRoiRect(const DaxImage* image, DaxRect* rect) {
    rect->begX = 0;
    rect->begY = 0;
    rect->height = image->height;
    rect->width = image->width;
    const DaxROI* roi = image->roi;
    if (roi == nullptr) return;
    rect->begX = roi->xOffset;
    rect->begY = roi->yOffset;
    rect->height = cutSize(roi->yOffset, roi->height, image->height);
    rect->width = cutSize(roi->xOffset, roi->width, image->width);
}

void ownRoiChannels(const DaxImage* image, int32_t* nChannels, int32_t* coi, int32_t* height,
                    int32_t* width) {
    DaxRect rect;
    ownRoiRect(image, &rect);
    *height = rect.height;
    *width = rect.width;
    if (nChannels != nullptr) *nChannels = image->nChannels;
    if (coi == nullptr) return;
    *coi = image->roi == nullptr ? 0 : image->nChannels == 1 ? 1 : image->roi->coi;
}

void ownTileHeader(const DaxImage* image, DaxImage* shadow) {
    *shadow = *image;
    shadow->height = image->tileInfo->height;
    shadow->width = image->tileInfo->width;
    shadow->dataSize = 0;
    shadow->allocBlock = nullptr;
    shadow->imageData = nullptr;
    shadow->imageTag = 0;
    shadow->tileInfo = nullptr;
    shadow->roi = nullptr;
    shadow->widthStep = static_cast<int32_t>(ownRowStep(shadow));
}

int32_t ownPixelOutside(const DaxImage* image, int32_t x, int32_t y) {
    return (y < 0 ? 1 : 0) | (y >= image->height ? 2 : 0) | (x < 0 ? 4 : 0) |
           (x >= image->width ? 8 : 0);
}

uint32_t ownGetPixel(const DaxImage* image, int32_t x, int32_t y, int32_t channel) {
    const char* row = static_cast<const char*>(image->imageData) + ptrdiff_t{y} * image->widthStep;
    ptrdiff_t index = x;
    if (image->dataOrder == DAX_DATA_PIXEL)
        index = ptrdiff_t{x} * image->nChannels + channel - 1;
    else
        row += ptrdiff_t{image->widthStep} * image->height * (channel - 1);
    switch (ownDepthBits(image->depth)) {
    case 1: return static_cast<uint32_t>(row[index >> 3] >> (7 - (index & 7)) & 1);
    case 8: return static_cast<uint8_t>(row[index]);
    case 16: {
        uint16_t sample = 0;
        memcpy(&sample, row + index * 2, sizeof sample);
        return sample;
    }
    default: {
        uint32_t sample = 0;
        memcpy(&sample, row + index * 4, sizeof sample);
        return sample;
    }
    }
}

OwnTileWalker::OwnTileWalker(const OwnCall& theCall, const OwnWalked* walked, int32_t imageCount,
                             const int32_t* tilePos, int32_t callLine)
    : call(theCall), line(callLine), count(imageCount) {
    int32_t height = INT32_MAX;
    int32_t width = INT32_MAX;
    for (int32_t i = 0; i < count; ++i) {
        Image& at = images[i];
        DaxImage* image = walked[i].image;
        at.walked = walked[i];
        at.tile = OwnTile(image);
        at.mode = i == count - 1 ? DAX_TILE_WRITE : DAX_TILE_READ;
        at.shadow = *image;
        at.roi = {image->roi != nullptr ? image->roi->coi : 0, 0, 0, 0, 0};
        at.shadow.roi = &at.roi;
        shadows[i] = &at.shadow;
        ownRoiRect(image, &at.rect);
        if (at.rect.height < height) height = at.rect.height;
        if (at.rect.width < width) width = at.rect.width;
    }
    for (int32_t i = 0; i < count; ++i) {
        DaxRect& rect = images[i].rect;
        rect.height = height;
        rect.width = width;
        rect.endX = rect.begX + width;
        rect.endY = rect.begY + height;
    }
    if (tilePos != nullptr && images[count - 1].tiled() && !narrow(tilePos)) {
        done = true;
        return;
    }
    for (int32_t i = 0; i < count; ++i) setUp(images[i]);
    const bool planes = images[0].shadow.dataOrder != DAX_DATA_PIXEL;
    for (int32_t i = 0; i < count; ++i) {
        DaxImage& shadow = images[i].shadow;
        auto size = static_cast<uint32_t>(shadow.widthStep) * static_cast<uint32_t>(shadow.height);
        if (planes) size *= static_cast<uint32_t>(shadow.nChannels);
        shadow.dataSize = static_cast<int32_t>(size);
    }
}

bool OwnTileWalker::narrow(const int32_t* tilePos) {
    const Image& dst = images[count - 1];
    const DaxTileInfo* tiles = dst.walked.image->tileInfo;
    const int64_t begX = int64_t{tilePos[0]} * tiles->width;
    const int64_t begY = int64_t{tilePos[1]} * tiles->height;
    const int64_t endX = begX + tiles->width;
    const int64_t endY = begY + tiles->height;
    const DaxRect rect = dst.rect;
    if (call.rejects(begX > rect.endX, "(dTile.begX > dRoi.endX)", line)) return false;
    if (call.rejects(begY > rect.endY, "(dTile.begY > dRoi.endY)", line)) return false;
    if (call.rejects(endX < rect.begX, "(dTile.endX < dRoi.begX)", line)) return false;
    if (call.rejects(endY < rect.begY, "(dTile.endY < dRoi.begY)", line)) return false;
    // What the tile leaves out at a side of the destination is left out at the same side of every
    // image.
    const auto left = static_cast<int32_t>(begX > rect.begX ? begX - rect.begX : 0);
    const auto top = static_cast<int32_t>(begY > rect.begY ? begY - rect.begY : 0);
    const auto right = static_cast<int32_t>(endX < rect.endX ? rect.endX - endX : 0);
    const auto bottom = static_cast<int32_t>(endY < rect.endY ? rect.endY - endY : 0);
    for (int32_t i = 0; i < count; ++i) {
        images[i].rect.begX += left;
        images[i].rect.begY += top;
        images[i].rect.endX -= right;
        images[i].rect.endY -= bottom;
    }
    return true;
}

void OwnTileWalker::Axis::start(ptrdiff_t first) {
    at = first;
    tile = first / size;
    begin = tile * size;
}

void OwnTileWalker::Axis::nextTile() {
    ++tile;
    begin += size;
}

void OwnTileWalker::Axis::share(ptrdiff_t end, int32_t* offset, int32_t* length) const {
    const ptrdiff_t last = begin + size < end ? begin + size : end;
    *offset = static_cast<int32_t>(at - begin);
    *length = static_cast<int32_t>(last - at);
}

void OwnTileWalker::setUp(Image& at) {
    const DaxTileInfo* tiles = at.walked.image->tileInfo;
    if (tiles != nullptr) {
        at.shadow.tileInfo = nullptr;
        at.shadow.width = tiles->width;
        at.shadow.height = tiles->height;
        at.shadow.widthStep = static_cast<int32_t>(ownRowStep(&at.shadow));
    }
    at.x.size = tiles != nullptr ? tiles->width : endless;
    at.y.size = tiles != nullptr ? tiles->height : endless;
    at.y.start(at.rect.begY);
}

bool OwnTileWalker::fetch(Image& at) {
    if (!at.tiled()) return true;
    if (call.rejects(!at.tile.request(at.x.tile, at.y.tile, at.mode), at.walked.texts.missing,
                     line))
        return false;
    at.shadow.imageData = at.tile.data();
    return true;
}

bool OwnTileWalker::drop(Image& at) {
    return !at.tiled() || !call.rejects(!at.tile.release(), at.walked.texts.kept, line);
}

bool OwnTileWalker::startBand() {
    bandHeight = INT32_MAX;
    for (int32_t i = 0; i < count; ++i) {
        Image& at = images[i];
        if (at.y.past()) at.y.nextTile();
        at.x.start(at.rect.begX);
        if (!fetch(at)) return false;
        at.y.share(at.rect.endY, &at.roi.yOffset, &at.roi.height);
        if (at.roi.height < bandHeight) bandHeight = at.roi.height;
    }
    for (int32_t i = 0; i < count; ++i) images[i].roi.height = bandHeight;
    return true;
}

bool OwnTileWalker::startPiece() {
    pieceWidth = INT32_MAX;
    for (int32_t i = 0; i < count; ++i) {
        Image& at = images[i];
        if (at.x.past()) {
            if (!drop(at)) return false;
            at.x.nextTile();
            if (!fetch(at)) return false;
        }
        at.x.share(at.rect.endX, &at.roi.xOffset, &at.roi.width);
        if (at.roi.width < pieceWidth) pieceWidth = at.roi.width;
    }
    for (int32_t i = 0; i < count; ++i) images[i].roi.width = pieceWidth;
    return true;
}

bool OwnTileWalker::endBand() {
    for (int32_t i = 0; i < count; ++i)
        if (!drop(images[i])) return false;
    return true;
}

bool OwnTileWalker::next() {
    if (inBand)
        for (int32_t i = 0; i < count; ++i) images[i].x.at += pieceWidth;
    while (!done) {
        if (!inBand) {
            if (images[0].y.at >= images[0].rect.endY || !startBand()) break;
            inBand = true;
        }
        if (images[0].x.at < images[0].rect.endX) {
            if (!startPiece()) break;
            return true;
        }
        if (!endBand()) break;
        for (int32_t i = 0; i < count; ++i) images[i].y.at += bandHeight;
        inBand = false;
    }
    done = true;
    return false;
}
