#include "alpha/strideview.h"

#include "frame/header.h"

void ownStrideView(const DaxImage* image, const DaxROI* roi, int32_t channel, DaxStrideView* view) {
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    view->base = static_cast<char*>(image->imageData);
    view->depth = image->depth;
    view->rowStep = ownRowStep(image) / ownSampleBytes(image->depth);
    view->channelStep = pixels ? 1 : image->height * view->rowStep;
    view->pixelStep = pixels ? image->nChannels : 1;
    view->offset = (channel - 1) * view->channelStep;
    if (roi != nullptr)
        view->offset += roi->yOffset * view->rowStep + roi->xOffset * view->pixelStep;
}
