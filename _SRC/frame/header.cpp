#include "frame/header.h"

#include "frame/depth.h"
#include "frame/error.h"
#include "frame/memory.h"

#include <cstring>

namespace {

struct HeaderMessage {
    int32_t mask;
    const char* text;
};

// In the order in which the texts stand in a report; all of one length, so that a list of faults
// lines up.
constexpr HeaderMessage headerMessages[] = {
    {0x1, "Image header is null                                                  \n"},
    {0x2, "Image data and tileinfo is either null or not null                    \n"},
    {0x4, "Image size is invalid                                                 \n"},
    {0x10, "Image widthStep is invalid                                            \n"},
    {0x20, "Image channel's number is less one                                    \n"},
    {0x40, "For image depth 1U channel's number is not equal one                  \n"},
    {0x80, "Image depth is invalid                                                \n"},
    {0x100, "Image alpha channel's number is less zero or is more channel's number \n"},
    {0x200, "Image data order is invalid                                           \n"},
    {0x400, "Image origin is invalid                                               \n"},
    {0x800, "Image align is invalid                                                \n"},
    {0x1000, "Callback is null                                                      \n"},
    {0x2000, "Tile size is invalid                                                  \n"},
    {0x4000, "COI is less zero or is more image channel's number                    \n"},
    {0x8000, "ROI size is invalid                                                   \n"},
    {0x8, "ROI offset is invalid                                                 \n"},
};

constexpr char unknownStatusText[] = "Bad status: unknown error";

bool isBinary(int32_t value) { return value == 0 || value == 1; }

bool isAlignment(int32_t value) { return value == 4 || value == 8; }

bool isTileSize(int32_t value) { return value > 0 && value % 8 == 0; }

} // namespace

ptrdiff_t ownRowStep(int32_t dataOrder, int32_t depth, int32_t align, int32_t nChannels,
                     int32_t width) {
    // Unsigned, so that a product of fields that no block could match stays defined.
    const uint64_t unit = static_cast<uint64_t>(align) * 8;
    uint64_t bits = static_cast<uint64_t>(ownDepthBits(depth)) * static_cast<uint64_t>(width);
    if (dataOrder == DAX_DATA_PIXEL) bits *= static_cast<uint64_t>(nChannels);
    return static_cast<ptrdiff_t>((bits + unit - 1) & ~(unit - 1)) >> 3;
}

bool ownDataLayout(const DaxImage* image, int32_t* widthStep, int32_t* dataSize) {
    const bool planes = image->dataOrder != DAX_DATA_PIXEL;
    const int64_t rowSamples = int64_t{image->width} * (planes ? 1 : image->nChannels);
    const int64_t rows = int64_t{image->height} * (planes ? image->nChannels : 1);
    if (rowSamples > INT32_MAX) return false;
    const ptrdiff_t step = ownRowStep(image);
    int32_t size = 0;
    if (step > INT32_MAX || __builtin_mul_overflow(rows, step, &size)) return false;
    *widthStep = static_cast<int32_t>(step);
    *dataSize = size;
    return true;
}

int32_t ownBadHeaderFields(const DaxImage* image) {
    int32_t bad = 0;
    if (image->nChannels < 1) bad |= 0x1;
    if (image->alphaChannel > image->nChannels && image->alphaChannel < 0) bad |= 0x2;
    if (!ownDepthKnown(image->depth)) bad |= 0x4;
    if (image->alphaChannel < 0 || image->alphaChannel > image->nChannels) bad |= 0x10;
    if (!isBinary(image->dataOrder)) bad |= 0x20;
    if (!isBinary(image->origin)) bad |= 0x40;
    if (!isAlignment(image->align)) bad |= 0x80;
    if (image->height < 0) bad |= 0x100;
    if (image->width < 0) bad |= 0x200;
    return bad;
}

ptrdiff_t ownTileRowStep(DaxImage* image) {
    if (daxBadImageHeader(image) != 0 || image->tileInfo == nullptr) return 0;
    return ownRowStep(image->dataOrder, image->depth, image->align, image->nChannels,
                      image->tileInfo->width);
}

int32_t daxBadImageHeader(DaxImage* image) {
    if (image == nullptr) return 0x1;
    const DaxROI* roi = image->roi;
    const DaxTileInfo* tiles = image->tileInfo;
    int32_t bad = 0;
    if ((image->imageData == nullptr) == (tiles == nullptr)) bad |= 0x2;
    if (image->height <= 0 || image->width <= 0 || (image->dataSize <= 0 && tiles == nullptr))
        bad |= 0x4;
    if (image->widthStep <= 0 && tiles == nullptr) bad |= 0x10;
    if (image->nChannels <= 0) bad |= 0x20;
    if (image->depth == DAX_DEPTH_1U && image->nChannels != 1) bad |= 0x40;
    if (!ownDepthKnown(image->depth)) bad |= 0x80;
    if (image->alphaChannel < 0 || image->alphaChannel > image->nChannels) bad |= 0x100;
    if (!isBinary(image->dataOrder)) bad |= 0x200;
    if (!isBinary(image->origin)) bad |= 0x400;
    if (!isAlignment(image->align)) bad |= 0x800;
    if (tiles != nullptr && tiles->callBack == nullptr) bad |= 0x1000;
    if (tiles != nullptr && (!isTileSize(tiles->width) || !isTileSize(tiles->height)))
        bad |= 0x2000;
    if (roi != nullptr && (roi->coi < 0 || roi->coi > image->nChannels)) bad |= 0x4000;
    if (roi != nullptr && (roi->height <= 0 || roi->width <= 0)) bad |= 0x8000;
    if (roi != nullptr && (roi->xOffset < 0 || roi->yOffset < 0)) bad |= 0x8;
    return bad;
}

const char* ownHeaderMessage(int32_t bits) {
    if (bits == 0) return nullptr;
    size_t total = 0;
    for (const HeaderMessage& message : headerMessages)
        if ((message.mask & bits) != 0) total += strlen(message.text);
    if (total == 0) return unknownStatusText;
    auto* text = static_cast<char*>(ownAlloc(static_cast<int64_t>(total) + 1, 1));
    if (text == nullptr) return ownOutOfMemoryText;
    char* end = text;
    for (const HeaderMessage& message : headerMessages)
        if ((message.mask & bits) != 0) end = stpcpy(end, message.text);
    return text;
}

void ownReleaseMessage(const char* text) {
    if (text != unknownStatusText && text != ownOutOfMemoryText) daxFree(const_cast<char*>(text));
}
