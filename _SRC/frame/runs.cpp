#include "frame/runs.h"

#include "frame/depth.h"
#include "frame/ownrect.h"
#include "frame/raster.h"

namespace {

bool allSameGeometry(DaxImage* const* images, int32_t count) {
    for (int32_t i = 0; i < count - 1; ++i)
        if (!ownSameGeometry(images[i], images[count - 1])) return false;
    return true;
}

// Row starts that go by other numbers than the row steps, and strides that differ, can lead
// outside.
bool leavesBlocks(const OwnRuns& runs) {
    bool leaves = false;
    for (int32_t i = 0; i < runs.images; ++i) {
        const ptrdiff_t last = (runs.planes - 1) * runs.planeStep[i] +
                               (runs.rows - 1) * runs.rowStep[i] +
                               (runs.count - 1) * runs.sampleStep[i];
        leaves = leaves || runs.end[i] - runs.start[i] < last + runs.sampleBytes;
    }
    return leaves;
}

} // namespace

bool ownLayoutRuns(DaxImage* const* images, int32_t count, OwnRuns* runs) {
    const DaxImage* dst = images[count - 1];
    const ptrdiff_t sample = ownSampleBytes(dst->depth);
    *runs = {};
    runs->images = count;
    runs->sampleBytes = sample;
    runs->rows = 1;
    runs->planes = 1;
    for (int32_t i = 0; i < count; ++i) {
        runs->start[i] = static_cast<char*>(images[i]->imageData);
        runs->end[i] = ownBlockEnd(images[i]);
    }
    if (allSameGeometry(images, count)) {
        runs->count = dst->dataSize / sample;
        return runs->count > 0;
    }

    ptrdiff_t width = PTRDIFF_MAX;
    ptrdiff_t height = PTRDIFF_MAX;
    int32_t channels = 0;
    bool wholePixels = true;
    bool oneChannel = true;
    for (int32_t i = 0; i < count; ++i) {
        const DaxImage* image = images[i];
        ptrdiff_t rowBytes = 0;
        ptrdiff_t rows = 0;
        const ptrdiff_t offset = ownRoiGeometry(image, &rowBytes, &rows, &channels);
        if (offset == -1) return false;
        if (rowBytes / sample < width) width = rowBytes / sample;
        if (rows < height) height = rows;
        runs->start[i] += offset;
        runs->rowStep[i] = image->widthStep / sample * sample;
        runs->planeStep[i] = runs->rowStep[i] * image->height;
        runs->sampleStep[i] = sample;
        wholePixels = wholePixels && channels == image->nChannels;
        oneChannel = oneChannel && image->roi != nullptr && image->roi->coi != 0;
    }
    if (width <= 0 || height <= 0) return false;

    bool contiguous = true;
    for (int32_t i = 0; i < count; ++i)
        contiguous = contiguous && width * sample == images[i]->widthStep;
    runs->count = contiguous ? width * height : width;
    runs->rows = contiguous ? 1 : height;

    const bool planes = dst->dataOrder != DAX_DATA_PIXEL;
    if (!wholePixels && !oneChannel) return false;
    if (planes && !oneChannel) runs->planes = channels;
    if (!planes && !wholePixels) {
        // A run ends when the first source's position reaches its length.
        runs->strided = true;
        runs->count = (runs->count + images[0]->nChannels - 1) / images[0]->nChannels;
        for (int32_t i = 0; i < count; ++i) runs->sampleStep[i] = images[i]->nChannels * sample;
    }
    runs->leaves = leavesBlocks(*runs);
    return true;
}

bool ownSourceRuns(DaxImage* const* images, int32_t count, OwnRuns* runs) {
    const ptrdiff_t sample = ownSampleBytes(images[0]->depth);
    const bool pixels = images[0]->dataOrder == DAX_DATA_PIXEL;
    *runs = {};
    runs->images = count;
    runs->sampleBytes = sample;
    runs->planes = 1;
    int32_t coi[3] = {};
    ptrdiff_t width = PTRDIFF_MAX;
    ptrdiff_t height = PTRDIFF_MAX;
    for (int32_t i = 0; i < count; ++i) {
        const DaxImage* image = images[i];
        int32_t rectHeight = 0;
        int32_t rectWidth = 0;
        ownRoiChannels(image, nullptr, &coi[i], &rectHeight, &rectWidth);
        if (rectHeight < height) height = rectHeight;
        if (rectWidth < width) width = rectWidth;
        const ptrdiff_t pixel = sample * (pixels ? image->nChannels : 1);
        runs->start[i] = static_cast<char*>(image->imageData);
        if (const DaxROI* roi = image->roi)
            runs->start[i] += roi->xOffset * pixel + ptrdiff_t{roi->yOffset} * image->widthStep;
        runs->end[i] = ownBlockEnd(image);
        runs->rowStep[i] = image->widthStep;
        runs->planeStep[i] = ptrdiff_t{image->widthStep} * image->height;
        runs->sampleStep[i] = pixel;
    }
    if (width <= 0 || height <= 0) return false;
    runs->count = width;
    runs->rows = height;
    if (coi[0] != 0) {
        // An image that has no channel of interest of its own starts at its first channel. Pixels
        // of one channel lie side by side.
        for (int32_t i = 0; i < count; ++i) {
            if (coi[i] > 1) runs->start[i] += (coi[i] - 1) * (pixels ? sample : runs->planeStep[i]);
            runs->strided = runs->strided || runs->sampleStep[i] != sample;
        }
    } else if (pixels) {
        runs->count *= images[0]->nChannels;
    } else {
        runs->planes = images[0]->nChannels;
    }
    // Rows that follow each other without a gap are one run.
    bool contiguous = !runs->strided;
    for (int32_t i = 0; i < count; ++i)
        contiguous = contiguous && runs->rowStep[i] == runs->count * sample;
    if (contiguous) {
        runs->count *= runs->rows;
        runs->rows = 1;
    }
    if (!runs->strided)
        for (int32_t i = 0; i < count; ++i) runs->sampleStep[i] = sample;
    runs->leaves = leavesBlocks(*runs);
    return true;
}

bool ownSourceBitRuns(DaxImage* const* images, int32_t count, OwnBitRuns* runs) {
    *runs = {};
    runs->images = count;
    runs->count = PTRDIFF_MAX;
    runs->rows = PTRDIFF_MAX;
    for (int32_t i = 0; i < count; ++i) {
        const DaxImage* image = images[i];
        int32_t height = 0;
        int32_t width = 0;
        ownRoiChannels(image, nullptr, nullptr, &height, &width);
        if (height < runs->rows) runs->rows = height;
        if (width < runs->count) runs->count = width;
        runs->start[i] = static_cast<char*>(image->imageData);
        runs->end[i] = ownBlockEnd(image);
        runs->rowStep[i] = image->widthStep;
        const DaxROI* roi = image->roi;
        if (roi == nullptr) continue;
        runs->start[i] += (roi->xOffset >> 3) + ptrdiff_t{roi->yOffset} * image->widthStep;
        runs->bit[i] = roi->xOffset & 7;
    }
    return runs->count > 0 && runs->rows > 0;
}

void ownBoundRuns(DaxImage* const* images, OwnRuns* runs) {
    for (int32_t i = 0; i < runs->images; ++i) runs->end[i] = ownBlockEnd(images[i]);
    runs->leaves = leavesBlocks(*runs);
}

ptrdiff_t ownSamplesInside(const OwnRuns& runs, char* const* at) {
    ptrdiff_t count = runs.count;
    for (int32_t i = 0; i < runs.images; ++i) {
        const ptrdiff_t room = runs.end[i] - at[i] - runs.sampleBytes;
        const ptrdiff_t inside = room < 0 ? 0 : room / runs.sampleStep[i] + 1;
        if (inside < count) count = inside;
    }
    return count;
}

bool ownBitRuns(DaxImage* const* images, int32_t count, OwnBitRuns* runs) {
    *runs = {};
    runs->images = count;
    for (int32_t i = 0; i < count; ++i) runs->start[i] = static_cast<char*>(images[i]->imageData);
    if (allSameGeometry(images, count)) {
        runs->words = images[count - 1]->dataSize / 4;
        return runs->words > 0;
    }
    runs->count = PTRDIFF_MAX;
    runs->rows = PTRDIFF_MAX;
    for (int32_t i = 0; i < count; ++i) {
        int32_t width = 0;
        int32_t height = 0;
        const ptrdiff_t offset = ownBitonalRect(images[i], &width, &height, &runs->bit[i]);
        if (offset < 0) return false;
        if (width < runs->count) runs->count = width;
        if (height < runs->rows) runs->rows = height;
        runs->start[i] += offset;
        runs->end[i] = ownBlockEnd(images[i]);
        runs->rowStep[i] = images[i]->widthStep;
    }
    return runs->count > 0 && runs->rows > 0;
}

ptrdiff_t ownBitsInside(const OwnBitRuns& runs, char* const* at) {
    ptrdiff_t count = runs.count;
    for (int32_t i = 0; i < runs.images; ++i) {
        const ptrdiff_t room = runs.end[i] - at[i];
        if (room <= 0) return 0;
        if (room < (runs.bit[i] + count + 7) / 8) count = room * 8 - runs.bit[i];
    }
    return count;
}

void ownRunSingle(const OwnRuns& runs, const OwnSingleRow& row, int32_t value) {
    ownEachRun(runs, [&](char* const* at, ptrdiff_t count) {
        if (runs.strided)
            row.strided(at[0], at[1], count, runs.sampleStep[0], runs.sampleStep[1], value);
        else
            row.line(at[0], at[1], count, value);
    });
}
