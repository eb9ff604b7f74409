#include "transform/daxdct2d.h"

#include "frame/call.h"
#include "frame/depth.h"
#include "transform/dctlanes.h"

#include <bit>

namespace {

void release(OwnKept* kept) { ownFreeDct(static_cast<OwnDct*>(kept)); }

bool inImage(const DaxImage* image) {
    const DaxROI* const roi = image->roi;
    return roi == nullptr || (int64_t{roi->xOffset} + roi->width <= image->width &&
                              int64_t{roi->yOffset} + roi->height <= image->height);
}

bool compatible(const DaxImage* src, const DaxImage* dst) {
    return src != dst && src->nChannels == dst->nChannels &&
           (src->roi != nullptr) == (dst->roi != nullptr) && src->width == dst->width &&
           src->height == dst->height && inImage(src) && inImage(dst) &&
           src->dataOrder == dst->dataOrder;
}

OwnDctPlane plane(const DaxImage* image, int32_t channel) {
    const ptrdiff_t sample = ownSampleBytes(image->depth);
    const bool planes = image->dataOrder != DAX_DATA_PIXEL;
    const ptrdiff_t step = image->widthStep;
    const ptrdiff_t pixel = planes ? sample : sample * image->nChannels;
    char* first =
        static_cast<char*>(image->imageData) + channel * (planes ? step * image->height : sample);
    if (image->roi != nullptr) first += image->roi->yOffset * step + image->roi->xOffset * pixel;
    return {first, step, pixel, image->depth};
}

bool takesFixed(const OwnDctJob& job) {
    const auto fits = [](int32_t n) {
        return n > 2 && std::has_single_bit(static_cast<uint32_t>(n));
    };
    return fits(job.width) && fits(job.height) && job.src.depth != DAX_DEPTH_32S &&
           job.dst.depth != DAX_DEPTH_32S;
}

bool done(const OwnDctJob& job) {
    const bool fixed = takesFixed(job);
    if (job.width == job.height && (job.width == 8 || (fixed && job.width == 4))) {
        ownDctBlock(job);
        return true;
    }
    auto* const dct = ownKept<OwnDct>(release);
    if (dct == nullptr) return false;
    return (fixed && ownFixedDct(dct, job)) || ownFloatDct(dct, job);
}

// A region that begins before its image, and depths that aren't sound, describe no samples.
bool hasSamples(const DaxImage* image) {
    return image->imageData != nullptr && image->depth != DAX_DEPTH_1U &&
           ownDepthKnown(image->depth) &&
           (image->roi == nullptr || (image->roi->xOffset >= 0 && image->roi->yOffset >= 0));
}

// The target's rectangle has the size of the source's. What would leave the target is left out by
// doing nothing.
bool targetHolds(const DaxImage* dst, int32_t width, int32_t height) {
    return dst->roi == nullptr || (int64_t{dst->roi->xOffset} + width <= dst->width &&
                                   int64_t{dst->roi->yOffset} + height <= dst->height);
}

void transform(const DaxImage* src, const DaxImage* dst, int32_t flags) {
    const int32_t width = src->roi != nullptr ? src->roi->width : src->width;
    const int32_t height = src->roi != nullptr ? src->roi->height : src->height;
    if (width < 1 || height < 1 || !hasSamples(src) || !hasSamples(dst) ||
        !targetHolds(dst, width, height))
        return;
    const bool inverse = (flags & DAX_DCT_INVERSE) != 0;
    const auto one = [&](int32_t from, int32_t to) {
        return done({plane(src, from), plane(dst, to), width, height, inverse});
    };
    const int32_t count = src->nChannels;
    if (src->roi != nullptr && src->roi->coi != 0) {
        // The target without a channel of interest takes the same one.
        const int32_t from = src->roi->coi - 1;
        const int32_t to = dst->roi->coi != 0 ? dst->roi->coi - 1 : from;
        if (from >= 0 && from < count && to >= 0 && to < count) one(from, to);
        return;
    }
    const int32_t skip = (flags & DAX_DCT_ALPHA) != 0 ? -1 : src->alphaChannel - 1;
    for (int32_t channel = 0; channel < count; ++channel)
        if (channel != skip && !one(channel, channel)) return;
}

} // namespace

void daxDCT2D(DaxImage* src, DaxImage* dst, int32_t flags) {
    if ((flags & DAX_DCT_FREE) != 0) {
        if (auto* const dct = ownKept<OwnDct>(release)) ownFreeDct(dct);
        return;
    }
    const OwnCall call{"daxDCT2D", "daxdct2d"};
    const bool noSource = call.rejects(src == nullptr, "src==0");
    const bool noTarget = call.rejects(dst == nullptr, "dst==0");
    if (noSource || noTarget || daxGetErrStatus() < 0) return;
    if (call.rejects(!compatible(src, dst), "Images are not compatible")) return;
    const int32_t direction = flags & (DAX_DCT_FORWARD | DAX_DCT_INVERSE);
    if (direction != DAX_DCT_FORWARD && direction != DAX_DCT_INVERSE) return;
    transform(src, dst, flags);
}
