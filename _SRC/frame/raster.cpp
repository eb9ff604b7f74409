#include "frame/raster.h"

#include "frame/depth.h"
#include "frame/header.h"

namespace {

struct Extent {
    ptrdiff_t first;
    ptrdiff_t last;
};

Extent clipped(int32_t offset, int32_t size, int32_t limit) {
    ptrdiff_t last = ptrdiff_t{offset} + size - 1;
    if (last > limit - 1) last = limit - 1;
    return {offset, last};
}

bool coversAll(const DaxImage* image) {
    const DaxROI* roi = image->roi;
    if (roi == nullptr) return true;
    return roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= image->width &&
           roi->height >= image->height &&
           (roi->coi == 0 || (roi->coi == 1 && image->nChannels == 1));
}

} // namespace

ptrdiff_t ownRoiGeometry(const DaxImage* image, ptrdiff_t* rowBytes, ptrdiff_t* rows,
                         int32_t* channels) {
    const ptrdiff_t sample = ownSampleBytes(image->depth);
    Extent x = {0, image->width - 1};
    Extent y = {0, image->height - 1};
    int32_t firstChannel = 1;
    int32_t lastChannel = image->nChannels;
    if (const DaxROI* roi = image->roi) {
        x = clipped(roi->xOffset, roi->width, image->width);
        y = clipped(roi->yOffset, roi->height, image->height);
        if (y.last < 0 || x.last < 0 || roi->coi > image->nChannels) return -1;
        if (x.first < 0) x.first = 0;
        if (y.first < 0) y.first = 0;
        if (roi->coi != 0) firstChannel = lastChannel = roi->coi;
    }
    const ptrdiff_t columns = x.last - x.first + 1;
    const ptrdiff_t step = ownRowStep(image);
    *channels = lastChannel - firstChannel + 1;
    *rows = y.last - y.first + 1;
    if (image->dataOrder == DAX_DATA_PIXEL) {
        *rowBytes = columns * sample * image->nChannels;
        return image->nChannels * x.first * sample + y.first * step + sample * (firstChannel - 1);
    }
    *rowBytes = columns * sample;
    if (image->depth == DAX_DEPTH_1U) return y.first * step + x.first / 8;
    const ptrdiff_t row = ptrdiff_t{image->height} * (firstChannel - 1) + y.first;
    return row * step + sample * x.first;
}

ptrdiff_t ownBitonalRect(const DaxImage* image, int32_t* width, int32_t* height,
                         int32_t* bitOffset) {
    if (image == nullptr || image->depth != DAX_DEPTH_1U) return -1;
    *width = image->width;
    *height = image->height;
    *bitOffset = 0;
    const DaxROI* roi = image->roi;
    if (roi == nullptr) return 0;
    if (roi->width < *width) *width = roi->width;
    if (roi->height < *height) *height = roi->height;
    *bitOffset = roi->xOffset & 7;
    return (roi->xOffset >> 3) + ptrdiff_t{roi->yOffset} * image->widthStep;
}

bool ownSameGeometry(const DaxImage* image, const DaxImage* other) {
    return image->height == other->height && image->width == other->width &&
           image->dataSize == other->dataSize && coversAll(image) && coversAll(other);
}

const char* ownBlockEnd(const DaxImage* image) {
    const bool planes = image->dataOrder != DAX_DATA_PIXEL;
    const ptrdiff_t rows = ptrdiff_t{image->height} * (planes ? image->nChannels : 1);
    ptrdiff_t byRows = 0;
    if (__builtin_mul_overflow(rows, image->widthStep, &byRows)) byRows = 0;
    return static_cast<const char*>(image->imageData) +
           (byRows > image->dataSize ? byRows : image->dataSize);
}

bool ownMayOverlap(const DaxImage* image, const DaxImage* other) {
    const auto address = [](const void* at) { return reinterpret_cast<uintptr_t>(at); };
    // The last row of an image whose rows overlap goes on past the block.
    const auto end = [&](const DaxImage* one) {
        const ptrdiff_t more = ownRowStep(one) - one->widthStep;
        return address(ownBlockEnd(one)) + static_cast<uintptr_t>(more > 0 ? more : 0);
    };
    return address(image->imageData) < end(other) && address(other->imageData) < end(image);
}
