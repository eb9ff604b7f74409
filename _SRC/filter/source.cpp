#include "filter/source.h"

#include "frame/border.h"
#include "frame/depth.h"
#include "frame/movers.h"

OwnSourceRows::OwnSourceRows(const DaxImage* plain, int32_t channel, uint32_t bitonalMask)
    : image(plain), start(static_cast<const char*>(plain->imageData)),
      sampleBytes(ownSampleBytes(plain->depth)), pixelBytes(sampleBytes), pixelStep(0),
      constantMask(plain->depth == DAX_DEPTH_1U ? bitonalMask : UINT32_MAX) {
    if (image->depth == DAX_DEPTH_1U) return;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    pixelStep = pixels ? sampleBytes * image->nChannels : sampleBytes;
    if (channel == 0)
        pixelBytes = pixelStep;
    else
        start +=
            (channel - 1) * (pixels ? sampleBytes : ptrdiff_t{image->widthStep} * image->height);
}

void OwnSourceRows::fill(int32_t side, char* block, ptrdiff_t count) const {
    const uint32_t value = static_cast<uint32_t>(image->borderConsts[side]) & constantMask;
    ownFillRow(sampleBytes, value, block, count * (pixelBytes / sampleBytes));
}

void OwnSourceRows::copyPixel(const char* row, ptrdiff_t x, char* block) const {
    if (pixelStep == 0)
        *block = ownGetBit(row, x) ? 1 : 0;
    else
        ownCopyRow(row + x * pixelStep, block, pixelBytes);
}

void OwnSourceRows::copyRun(const char* row, ptrdiff_t x, char* block, ptrdiff_t count) const {
    if (pixelStep == 0)
        ownRows<OwnCells>().expandBits(row, x, block, count);
    else if (pixelStep == pixelBytes)
        ownCopyRow(row + x * pixelStep, block, count * pixelBytes);
    else
        ownStridedMovers(sampleBytes)
            .copy(row + x * pixelStep, pixelStep, block, pixelBytes, count);
}

const char* OwnSourceRows::fetch(ptrdiff_t x, ptrdiff_t y, ptrdiff_t count, char* block) const {
    const ptrdiff_t width = image->width;
    const ptrdiff_t height = image->height;
    // Above and below the image one mode holds for the whole row, corners included.
    int32_t left = 2;
    int32_t right = 3;
    if (y < 0 || y >= height) {
        left = right = y < 0 ? 0 : 1;
        if ((image->borderModes[left] & 3) == DAX_BORDER_CONST) {
            fill(left, block, count);
            return block;
        }
        y = ownBorderPlace(image->borderModes[left] & 3, y, image->height);
    }
    const char* row = start + y * image->widthStep;
    const ptrdiff_t before = x >= 0 ? 0 : -x < count ? -x : count;
    const ptrdiff_t end = x + count < width ? count : x < width ? width - x : 0;
    const ptrdiff_t after = end > before ? end : before;
    if (before == 0 && after == count && pixelStep == pixelBytes) return row + x * pixelStep;

    const auto beyond = [&](int32_t side, ptrdiff_t from, ptrdiff_t to) {
        const int32_t mode = image->borderModes[side] & 3;
        if (mode == DAX_BORDER_CONST) {
            fill(side, block + from * pixelBytes, to - from);
            return;
        }
        for (ptrdiff_t i = from; i < to; ++i)
            copyPixel(row, ownBorderPlace(mode, x + i, image->width), block + i * pixelBytes);
    };
    if (before > 0) beyond(left, 0, before);
    if (after > before) copyRun(row, x + before, block + before * pixelBytes, after - before);
    if (count > after) beyond(right, after, count);
    return block;
}
