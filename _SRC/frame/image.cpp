// The caller's records: image headers and their data, regions of interest, tile descriptors.

#include "frame/daxlib.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/platform.h"

#include <cstring>

namespace {

template <class T> T* newRecord() { return static_cast<T*>(ownPlatform.heapAlloc(sizeof(T))); }

void fillData(DaxImage* image, int32_t fillValue) {
    if (fillValue == -1) return;
    uint32_t pattern = static_cast<uint32_t>(fillValue);
    switch (ownDepthBits(image->depth)) {
    case 1: pattern = (pattern & 1) != 0 ? 0xFFFFFFFF : 0; break;
    case 8: pattern = (pattern & 0xFF) * 0x01010101; break;
    case 16: pattern = (pattern & 0xFFFF) * 0x00010001; break;
    default: break;
    }
    char* data = static_cast<char*>(image->imageData);
    for (ptrdiff_t at = 0; at < image->dataSize; at += 4) memcpy(data + at, &pattern, 4);
}

} // namespace

DaxImage* daxCreateImageHeader(int32_t nChannels, int32_t alphaChannel, int32_t depth,
                               const char* colorModel, const char* channelSeq, int32_t dataOrder,
                               int32_t origin, int32_t align, int32_t height, int32_t width,
                               DaxROI* roi, uint32_t imageTag, DaxTileInfo* tileInfo) {
    auto* image = newRecord<DaxImage>();
    if (image == nullptr) return nullptr;
    *image = DaxImage{};
    image->headerSize = static_cast<int32_t>(sizeof(DaxImage));
    image->nChannels = nChannels;
    image->alphaChannel = alphaChannel;
    image->depth = depth;
    image->dataOrder = dataOrder;
    image->origin = origin;
    image->align = align;
    image->height = height;
    image->width = width;
    image->roi = roi;
    image->imageTag = imageTag;
    image->tileInfo = tileInfo;
    daxSetBorderMode(image, DAX_BORDER_CONST, 15, 0);
    if (colorModel == nullptr || channelSeq == nullptr || ownBadHeaderFields(image) != 0 ||
        !ownDataLayout(image, &image->widthStep, &image->dataSize)) {
        ownPlatform.heapFree(image);
        return nullptr;
    }
    memcpy(image->colorModel, colorModel, sizeof image->colorModel);
    memcpy(image->channelSeq, channelSeq, sizeof image->channelSeq);
    return image;
}

void daxAllocateImage(DaxImage* image, int32_t fillValue) {
    if (image == nullptr) return;
    int32_t widthStep = 0;
    int32_t dataSize = 0;
    if (ownBadHeaderFields(image) != 0 || !ownDataLayout(image, &widthStep, &dataSize)) {
        image->imageData = nullptr;
        image->dataSize = 0;
        return;
    }
    const size_t slack = static_cast<size_t>(image->align) - 1;
    image->allocBlock = ownPlatform.heapAlloc(static_cast<size_t>(dataSize) + slack);
    if (image->allocBlock == nullptr) return;
    const size_t past = reinterpret_cast<uintptr_t>(image->allocBlock) & slack;
    image->imageData = static_cast<char*>(image->allocBlock) + (past == 0 ? 0 : slack + 1 - past);
    image->widthStep = widthStep;
    image->dataSize = dataSize;
    fillData(image, fillValue);
}

void daxDeallocateImage(DaxImage* image) {
    if (ownBadHeaderFields(image) != 0) return;
    ownPlatform.heapFree(image->allocBlock);
    image->imageData = nullptr;
    image->allocBlock = nullptr;
}

void daxDeallocate(DaxImage* image, int32_t flags) {
    if (image == nullptr) return;
    if ((flags & DAX_IMAGE_ROI) != 0) {
        daxDeleteROI(image->roi);
        image->roi = nullptr;
    }
    if ((flags & DAX_IMAGE_MASK) != 0 && image->maskImage != nullptr) {
        daxDeallocate(image->maskImage,
                      DAX_IMAGE_HEADER | DAX_IMAGE_DATA | DAX_IMAGE_ROI | DAX_IMAGE_TILE);
        image->maskImage = nullptr;
    }
    if ((flags & DAX_IMAGE_TILE) != 0) {
        daxDeleteTileInfo(image->tileInfo);
        image->tileInfo = nullptr;
    }
    // Data that the caller brought himself stay his.
    if ((flags & DAX_IMAGE_DATA) != 0 && image->allocBlock != nullptr) {
        ownPlatform.heapFree(image->allocBlock);
        image->imageData = nullptr;
        image->allocBlock = nullptr;
    }
    if ((flags & DAX_IMAGE_HEADER) != 0) ownPlatform.heapFree(image);
}

void daxDeallocateHeader(DaxImage* image) { daxDeallocate(image, DAX_IMAGE_HEADER); }

DaxROI* daxCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height, int32_t width) {
    auto* roi = newRecord<DaxROI>();
    daxSetROI(roi, coi, xOffset, yOffset, height, width);
    return roi;
}

void daxSetROI(DaxROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height,
               int32_t width) {
    if (roi != nullptr) *roi = {coi, xOffset, yOffset, height, width};
}

void daxDeleteROI(DaxROI* roi) {
    if (roi != nullptr) ownPlatform.heapFree(roi);
}

DaxTileInfo* daxCreateTileInfo(DaxTileCallBack callBack, uint32_t tileId, int32_t width,
                               int32_t height) {
    auto* tileInfo = newRecord<DaxTileInfo>();
    daxSetTileInfo(tileInfo, callBack, tileId, width, height);
    return tileInfo;
}

void daxSetTileInfo(DaxTileInfo* tileInfo, DaxTileCallBack callBack, uint32_t tileId, int32_t width,
                    int32_t height) {
    if (tileInfo != nullptr) *tileInfo = {callBack, tileId, nullptr, width, height};
}

void daxDeleteTileInfo(DaxTileInfo* tileInfo) {
    if (tileInfo != nullptr) ownPlatform.heapFree(tileInfo);
}
