// One channel of one image, in samples.
#ifndef OWN_STRIDEVIEW_H
#define OWN_STRIDEVIEW_H

#include "frame/daxlib.h"
#include "frame/depth.h"

#include <cstddef>
#include <cstdint>

struct DaxStrideView {
    char* base;
    int32_t depth;
    ptrdiff_t offset; // of the region's first sample in its channel
    ptrdiff_t channelStep;
    ptrdiff_t rowStep; // by the fields of the header, whatever its `widthStep` says
    ptrdiff_t pixelStep;

    // The first sample of a row, in the channel so many after the view's own.
    char* row(ptrdiff_t y, ptrdiff_t channel = 0) const {
        return base + (offset + y * rowStep + channel * channelStep) * ownSampleBytes(depth);
    }
};

// Of a region of a plain image, or of all of it; channels count from 1.
void ownStrideView(const DaxImage* image, const DaxROI* roi, int32_t channel, DaxStrideView* view);

#endif
