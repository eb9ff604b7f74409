#include "tone/daxthres.h"

#include "frame/call.h"
#include "frame/depth.h"
#include "frame/ownrect.h"
#include "frame/raster.h"

namespace {

constexpr OwnCall call = {"daxThreshold", "daxthres"};

// The rectangle of two plain images; false after a report, or when there is nothing to do.
bool thresholdRuns(DaxImage* const* images, OwnRuns* runs) {
    const ptrdiff_t sample = ownSampleBytes(images[0]->depth);
    *runs = {};
    runs->images = 2;
    runs->sampleBytes = sample;
    runs->count = PTRDIFF_MAX;
    runs->rows = PTRDIFF_MAX;
    ptrdiff_t pixels = PTRDIFF_MAX;
    int32_t channels[2] = {};
    bool outside = false;
    for (int32_t i = 0; i < 2; ++i) {
        ptrdiff_t rowBytes = 0;
        ptrdiff_t rows = 0;
        const ptrdiff_t offset = ownRoiGeometry(images[i], &rowBytes, &rows, &channels[i]);
        outside = outside || offset < 0;
        const ptrdiff_t samples = rowBytes / sample;
        if (samples < runs->count) runs->count = samples;
        if (samples / images[i]->nChannels < pixels) pixels = samples / images[i]->nChannels;
        if (rows < runs->rows) runs->rows = rows;
        runs->start[i] = static_cast<char*>(images[i]->imageData) + offset;
        runs->rowStep[i] = images[i]->widthStep / sample * sample;
        runs->planeStep[i] = runs->rowStep[i] * images[i]->height;
        runs->sampleStep[i] = sample;
    }
    if (call.rejects(outside, "The fields of ROI has error")) return false;
    if (call.rejects(channels[0] != channels[1], "The mismath of number channels")) return false;
    if (runs->count <= 0 || runs->rows <= 0) return false;

    const bool planes = images[0]->dataOrder != DAX_DATA_PIXEL;
    runs->planes = planes ? channels[0] : 1;
    if (!planes && (channels[0] != images[0]->nChannels || channels[1] != images[1]->nChannels)) {
        // One sample in each pixel of the rectangle, also of images of different channel counts.
        runs->strided = true;
        runs->count = pixels;
        for (int32_t i = 0; i < 2; ++i) runs->sampleStep[i] = images[i]->nChannels * sample;
    } else if (runs->count * sample == runs->rowStep[0] && runs->rowStep[0] == runs->rowStep[1]) {
        runs->count *= runs->rows;
        runs->rows = 1;
    }
    ownBoundRuns(images, runs);
    return true;
}

void thresholdPlain(DaxImage* const* images, int32_t threshold) {
    OwnRuns runs;
    if (!thresholdRuns(images, &runs)) return;
    ownRunSingle(runs, ownRows<OwnThreshold>().byDepth[ownDepthIndex(images[0]->depth)], threshold);
}

} // namespace

void daxThreshold(DaxImage* srcImage, DaxImage* dstImage, int32_t threshold,
                  const int32_t* tilePos) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (call.rejects(srcImage->depth != dstImage->depth, "(srcImage->depth!=dstImage->depth)"))
        return;
    if (call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                     "(srcImage->dataOrder!=dstImage->dataOrder)"))
        return;
    if (call.rejects(srcImage->depth == DAX_DEPTH_1U, "(srcImage->depth==1)")) return;
    const auto worker = [threshold](DaxImage* const* images) { thresholdPlain(images, threshold); };
    if (srcImage->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        DaxImage* const images[2] = {srcImage, dstImage};
        worker(images);
        return;
    }
    const OwnWalked walked[2] = {{srcImage, ownSrcTexts}, {dstImage, ownDstTexts}};
    ownTileWalk(call, walked, tilePos, worker);
}
