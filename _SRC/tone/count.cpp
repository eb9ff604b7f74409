#include "tone/daxHist.h"

#include "frame/depth.h"
#include "frame/planeview.h"
#include "tone/ones.h"

#include <cstring>

namespace {

// Interleaved channels are counted one after the other, in bands of rows that stay in the cache.
constexpr ptrdiff_t bandBytes = ptrdiff_t{1} << 18;

struct Band {
    const char* start; // first sample
    ptrdiff_t rowStep;
    ptrdiff_t sampleStep;
    ptrdiff_t count; // samples of a row
    ptrdiff_t rows;
};

void countBand(const Band& band, int32_t depth, uint32_t* counters) {
    const OwnToneTable& rows = ownRows<OwnTone>();
    if (depth == DAX_DEPTH_16U) {
        for (ptrdiff_t row = 0; row < band.rows; ++row)
            rows.count16(band.start + row * band.rowStep, band.sampleStep, band.count, counters);
        return;
    }
    uint32_t sets[ownCounterSets][256];
    memset(sets, 0, sizeof sets);
    for (ptrdiff_t row = 0; row < band.rows; ++row)
        rows.count8(band.start + row * band.rowStep, band.sampleStep, band.count, sets);
    for (const auto& set : sets)
        for (int32_t value = 0; value < 256; ++value) counters[value] += set[value];
}

void countBits(const DaxPlaneView& view, ptrdiff_t bit, uint32_t* counters) {
    ptrdiff_t ones = 0;
    for (ptrdiff_t row = 0; row < view.viewHeight; ++row)
        ones += ownRows<OwnOnes>().ones(view.rowStart + row * view.rowStep + (bit >> 3),
                                        static_cast<int32_t>(bit & 7), view.viewWidth);
    const ptrdiff_t all = ptrdiff_t{view.viewWidth} * view.viewHeight;
    counters[0] += static_cast<uint32_t>(all - ones);
    counters[1] += static_cast<uint32_t>(ones);
}

} // namespace

void ownCountSamples(const DaxImage* image, uint32_t* counters) {
    DaxPlaneView view;
    ownPlaneView(image, &view);
    if (view.viewHeight <= 0 || view.viewWidth <= 0) return;
    if (image->depth == DAX_DEPTH_1U) {
        countBits(view, ownRoiX(image), counters);
        return;
    }
    const ptrdiff_t sample = ownSampleBytes(image->depth);
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t channelStep = pixels ? sample : view.planeStep;
    Band band = {view.rowStart, view.rowStep, sample * (pixels ? image->nChannels : 1),
                 view.viewWidth, view.viewHeight};
    if (pixels && view.pixelStep > 1) {
        const ptrdiff_t fitting = bandBytes / (band.count * band.sampleStep);
        if (fitting < band.rows) band.rows = fitting > 0 ? fitting : 1;
    }
    for (ptrdiff_t row = 0; row < view.viewHeight; row += band.rows) {
        if (view.viewHeight - row < band.rows) band.rows = view.viewHeight - row;
        for (ptrdiff_t channel = 0; channel < view.pixelStep; ++channel) {
            band.start = view.rowStart + row * view.rowStep + channel * channelStep;
            countBand(band, image->depth, counters + channel * ownHistSize(image->depth));
        }
    }
}
