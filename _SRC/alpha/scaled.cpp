#include "alpha/scaled.h"

#include "alpha/scale.h"
#include "alpha/strideview.h"
#include "frame/movers.h"
#include "frame/planeview.h"

namespace {

constexpr ptrdiff_t blockBytes = 2048;

// One run of a channel, or of whole pixels.
struct Run {
    char* at;
    ptrdiff_t step; // bytes; 0 stands for one block that is there again and again
};

// dst = the product of a and b, whose samples may lie apart. Runs in blocks only where it has to.
void multiplyRun(ptrdiff_t size, const Run& a, const Run& b, const Run& dst, ptrdiff_t count) {
    const auto product = ownRows<OwnScale>().at[size - 1].product;
    const auto together = [size](const Run& run) { return run.step == size; };
    if (together(a) && together(b) && together(dst)) {
        product(a.at, b.at, dst.at, count);
        return;
    }
    char bufferA[blockBytes];
    char bufferB[blockBytes];
    char result[blockBytes];
    const auto copy = ownStridedMovers(size).copy;
    const ptrdiff_t length = blockBytes / size;
    for (ptrdiff_t x = 0; x < count; x += length) {
        const ptrdiff_t n = count - x < length ? count - x : length;
        const auto load = [&](const Run& run, char* buffer) -> const char* {
            if (run.step == 0) return run.at;
            if (run.step == size) return run.at + x * size;
            copy(run.at + x * run.step, run.step, buffer, size, n);
            return buffer;
        };
        const char* fromA = load(a, bufferA);
        const char* fromB = load(b, bufferB);
        char* to = dst.at + x * dst.step;
        product(fromA, fromB, together(dst) ? to : result, n);
        if (!together(dst)) copy(result, size, to, dst.step, n);
    }
}

// The colours of whole pixels of four samples by the last of them.
void multiplyPixels(const OwnScaleRows& rows, ptrdiff_t size, char* pixels, ptrdiff_t count) {
    char spread[blockBytes];
    char factors[blockBytes];
    const ptrdiff_t length = blockBytes / 4 / size;
    for (ptrdiff_t x = 0; x < count; x += length) {
        const ptrdiff_t n = count - x < length ? count - x : length;
        char* at = pixels + x * 4 * size;
        rows.spreadOwn(at, spread, n);
        rows.factors(spread, factors, n);
        rows.product(at, factors, at, n * 4);
    }
}

} // namespace

void ownMultiplyScaled(DaxImage* a, DaxImage* b, uint32_t factor, DaxImage* dst, int32_t height,
                       int32_t width) {
    const ptrdiff_t size = ownSampleBytes(dst->depth);
    char block[blockBytes];
    if (b == nullptr) ownFillRow(size, factor, block, blockBytes / size);
    const bool oneChannel = ownCoi(dst) != 0;
    bool wholePixels = !oneChannel;
    DaxStrideView views[3];
    const DaxImage* const images[3] = {a, b, dst};
    for (int32_t i = 0; i < 3; ++i) {
        if (images[i] == nullptr) continue;
        ownStrideView(images[i], images[i]->roi, oneChannel ? ownCoi(images[i]) : 1, &views[i]);
        wholePixels = wholePixels && images[i]->dataOrder == DAX_DATA_PIXEL;
    }
    const ptrdiff_t channels = oneChannel || wholePixels ? 1 : dst->nChannels;
    const ptrdiff_t count = width * ptrdiff_t{wholePixels ? dst->nChannels : 1};
    const auto run = [&](int32_t i, ptrdiff_t y, ptrdiff_t channel) -> Run {
        if (images[i] == nullptr) return {block, 0};
        return {views[i].row(y, channel), wholePixels ? size : views[i].pixelStep * size};
    };
    for (ptrdiff_t y = 0; y < height; ++y)
        for (ptrdiff_t channel = 0; channel < channels; ++channel)
            multiplyRun(size, run(0, y, channel), run(1, y, channel), run(2, y, channel), count);
}

void ownPremultiply(DaxImage* image, int32_t constant, int32_t height, int32_t width) {
    const ptrdiff_t size = ownSampleBytes(image->depth);
    char block[blockBytes];
    if (constant >= 0) ownFillRow(size, static_cast<uint32_t>(constant), block, blockBytes / size);
    const int32_t coi = ownCoi(image);
    const ptrdiff_t channels = coi != 0 ? 1 : image->nChannels;
    DaxStrideView colour;
    DaxStrideView alpha;
    ownStrideView(image, image->roi, coi != 0 ? coi : 1, &colour);
    if (image->alphaChannel != 0) ownStrideView(image, image->roi, image->alphaChannel, &alpha);
    const ptrdiff_t step = colour.pixelStep * size;
    const bool wholePixels =
        constant < 0 && coi == 0 && image->dataOrder == DAX_DATA_PIXEL && image->nChannels == 4;
    for (ptrdiff_t y = 0; y < height; ++y) {
        if (wholePixels) {
            multiplyPixels(ownRows<OwnScale>().at[size - 1], size, colour.row(y), width);
            continue;
        }
        for (ptrdiff_t channel = 0; channel < channels; ++channel) {
            if (coi == 0 && channel == image->alphaChannel - 1) continue;
            const Run samples = {colour.row(y, channel), step};
            multiplyRun(size, samples, constant >= 0 ? Run{block, 0} : Run{alpha.row(y), step},
                        samples, width);
        }
        if (constant < 0 || image->alphaChannel == 0) continue;
        if (step == size)
            ownFillRow(size, static_cast<uint32_t>(constant), alpha.row(y), width);
        else
            ownStridedMovers(size).fill(static_cast<uint32_t>(constant), alpha.row(y), step, width);
    }
}
