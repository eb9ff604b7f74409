#include "transform/daxfft2d.h"

#include "frame/call.h"
#include "frame/depth.h"
#include "frame/kernels.h"
#include "frame/memory.h"

#include <bit>
#include <cstring>

void* OwnFftBuffers::take(int64_t count, int64_t size) {
    constexpr int64_t line = 64;
    const int32_t place = used++;
    const int64_t needed = count * size + line;
    if (bytes[place] < needed) {
        daxFree(block[place]);
        block[place] = static_cast<char*>(ownAlloc(needed, 1));
        bytes[place] = block[place] != nullptr ? needed : 0;
    }
    if (block[place] == nullptr) return nullptr;
    const auto address = reinterpret_cast<uintptr_t>(block[place]);
    return block[place] + (line - static_cast<int64_t>(address % line));
}

void OwnFftBuffers::free() {
    for (int32_t i = 0; i < most; ++i) {
        daxFree(block[i]);
        block[i] = nullptr;
        bytes[i] = 0;
    }
    used = 0;
}

ptrdiff_t OwnFftPlane::inside(const char* at, ptrdiff_t step, ptrdiff_t count) const {
    const ptrdiff_t left = end - at - ownSampleBytes(depth);
    if (left < 0) return 0;
    return left / step + 1 < count ? left / step + 1 : count;
}

void OwnFftPlane::fetch(const char* at, ptrdiff_t step, int32_t* to, ptrdiff_t count) const {
    const ptrdiff_t there = inside(at, step, count);
    ownRows<OwnFftKernels>().fetch[ownDepthIndex(depth)](at, step, to, there);
    memset(to + there, 0, static_cast<size_t>(count - there) * sizeof *to);
}

namespace {

constexpr const char* badInput = "Error in input data";
constexpr const char* nothingToDo = "No calculations! Looking input data!";

enum class Outcome { done, nothing, bad };

void freeTables(OwnFft* fft) {
    ownFourierFree(&fft->fourier);
    while (OwnFixedTable* const table = fft->fixed) {
        fft->fixed = table->next;
        daxFree(table->words);
        daxFree(table->reversal);
        daxFree(table);
    }
    fft->buffers.free();
}

void release(OwnKept* kept) { freeTables(static_cast<OwnFft*>(kept)); }

OwnFftPlane plane(const OwnFftPlan& plan, char* data, int32_t step, int32_t height, int32_t order,
                  int32_t depth) {
    const ptrdiff_t sample = ownSampleBytes(depth);
    const ptrdiff_t size = ptrdiff_t{step} * height;
    const bool planes = order == DAX_DATA_PLANE;
    const ptrdiff_t pixel = planes ? sample : sample * plan.fftNChannels;
    const ptrdiff_t channel = plan.fftChannelNow * (planes ? size : sample);
    char* const first = data + channel + plan.fftY * ptrdiff_t{step} + plan.fftX * pixel;
    return {first, data + (planes ? size * plan.fftNChannels : size), step, pixel, depth};
}

// log2 of a power of two from 2 on, else 0.
int32_t orderOf(int32_t length) {
    const auto bits = static_cast<uint32_t>(length);
    return length >= 2 && std::has_single_bit(bits) ? std::countr_zero(bits) : 0;
}

// A ROI that stays inside the image of the plan.
bool fits(const DaxROI* roi, const OwnFftPlan& plan, int32_t width, int32_t height) {
    return roi == nullptr || (roi->coi >= 0 && roi->coi <= plan.fftNChannels && roi->xOffset >= 0 &&
                              roi->yOffset >= 0 && int64_t{roi->xOffset} + roi->width - 1 < width &&
                              int64_t{roi->yOffset} + roi->height - 1 < height);
}

// What two regions share, along one axis: where it begins and how far it goes.
struct Span {
    int32_t first;
    int32_t length;
};

Span shared(int32_t firstA, int32_t lengthA, int32_t firstB, int32_t lengthB) {
    const int32_t first = firstA > firstB ? firstA : firstB;
    const int64_t endA = int64_t{firstA} + lengthA;
    const int64_t endB = int64_t{firstB} + lengthB;
    const int64_t length = (endA < endB ? endA : endB) - first;
    return {first, length > 0 ? static_cast<int32_t>(length) : 0};
}

Outcome findRectangle(OwnFftPlan* plan, const DaxImage* srcImage, const DaxImage* dstImage) {
    const DaxROI* const srcRoi = srcImage->roi;
    const DaxROI* const dstRoi = dstImage->roi;
    if (!fits(srcRoi, *plan, plan->fftSrcWidth, plan->fftSrcHeight) ||
        !fits(dstRoi, *plan, plan->fftDstWidth, plan->fftDstHeight))
        return Outcome::bad;
    const int32_t coi = srcRoi != nullptr ? srcRoi->coi : 0;
    if (coi != (dstRoi != nullptr ? dstRoi->coi : 0)) return Outcome::bad;
    // Here channels of interest count from 0.
    plan->fftChannelFirst = coi;
    plan->fftChannelEnd = coi > 0 ? coi + 1 : plan->fftNChannels;

    const DaxROI src =
        srcRoi != nullptr ? *srcRoi : DaxROI{0, 0, 0, plan->fftSrcHeight, plan->fftSrcWidth};
    const DaxROI dst =
        dstRoi != nullptr ? *dstRoi : DaxROI{0, 0, 0, plan->fftDstHeight, plan->fftDstWidth};
    const Span x = shared(src.xOffset, src.width, dst.xOffset, dst.width);
    const Span y = shared(src.yOffset, src.height, dst.yOffset, dst.height);
    plan->fftX = x.first;
    plan->fftY = y.first;
    plan->fftW = x.length;
    plan->fftH = y.length;
    if (plan->fftW < 1 || plan->fftH < 1) return Outcome::nothing;
    plan->fftOrderW = orderOf(plan->fftW);
    plan->fftOrderH = orderOf(plan->fftH);
    const bool onlySkipped = plan->fftChannelFirst == plan->fftChannelSkip &&
                             plan->fftChannelEnd == plan->fftChannelFirst + 1;
    return onlySkipped ? Outcome::nothing : Outcome::done;
}

bool accepted(DaxImage* srcImage, DaxImage* dstImage, int32_t flags) {
    if (daxBadImageHeader(srcImage) != 0 || daxBadImageHeader(dstImage) != 0) return false;
    const int32_t direction = flags & (DAX_FFT_FORWARD | DAX_FFT_INVERSE);
    if (direction != DAX_FFT_FORWARD && direction != DAX_FFT_INVERSE) return false;
    if ((flags & DAX_FFT_USEINT) != 0 && (flags & DAX_FFT_USEFLOAT) != 0) return false;
    return srcImage->nChannels == dstImage->nChannels &&
           srcImage->alphaChannel == dstImage->alphaChannel && srcImage->depth != DAX_DEPTH_1U &&
           dstImage->depth != DAX_DEPTH_1U;
}

// What isn't accepted leaves the plan as it was.
Outcome makePlan(OwnFftPlan* plan, DaxImage* srcImage, DaxImage* dstImage, int32_t flags) {
    if (!accepted(srcImage, dstImage, flags)) return Outcome::bad;
    *plan = {};
    plan->fftSrcWidth = srcImage->width;
    plan->fftSrcHeight = srcImage->height;
    plan->fftSrcStep = srcImage->widthStep;
    plan->fftSrcData = static_cast<char*>(srcImage->imageData);
    plan->fftSrcDepth = srcImage->depth;
    plan->fftSrcOrder = srcImage->dataOrder;
    plan->fftDstWidth = dstImage->width;
    plan->fftDstHeight = dstImage->height;
    plan->fftDstStep = dstImage->widthStep;
    plan->fftDstData = static_cast<char*>(dstImage->imageData);
    plan->fftDstDepth = dstImage->depth;
    plan->fftDstOrder = dstImage->dataOrder;
    plan->fftNChannels = srcImage->nChannels;
    plan->fftDirection = (flags & DAX_FFT_FORWARD) != 0 ? 1 : -1;
    plan->fftScale = plan->fftDirection < 0 && (flags & DAX_FFT_NOSCALE) == 0 ? 1 : 0;
    const bool skips = srcImage->alphaChannel > 0 && (flags & DAX_FFT_ALPHA) == 0;
    plan->fftChannelSkip = skips ? srcImage->alphaChannel - 1 : -1;
    const Outcome outcome = findRectangle(plan, srcImage, dstImage);
    constexpr int64_t fewPixels = 128;
    const bool few = int64_t{plan->fftW} * plan->fftH <= fewPixels;
    plan->fftUseInt = (flags & DAX_FFT_USEINT) != 0 || ((flags & DAX_FFT_USEFLOAT) == 0 && few);
    return outcome;
}

bool tryChannel(OwnFft* fft, OwnFftWay way) {
    fft->buffers.used = 0;
    return fft->plan.fftUseInt != 0 ? ownFixedFft(fft, way) : ownFloatFft(fft, way);
}

// What is kept for other sizes may be what is missing. A try that fails has written nothing, and
// channels that are done aren't done again, since in place they aren't the source any more.
bool transformChannel(OwnFft* fft, OwnFftWay way) {
    for (int32_t tries = 0; tries < 2; ++tries) {
        if (tryChannel(fft, way)) return true;
        freeTables(fft);
    }
    return false;
}

Outcome transform(OwnFft* fft, OwnFftWay way) {
    OwnFftPlan& plan = fft->plan;
    if (plan.fftW < 2 && plan.fftH < 2) return Outcome::nothing;
    int32_t& now = plan.fftChannelNow;
    for (now = plan.fftChannelFirst; now < plan.fftChannelEnd; ++now)
        if (now != plan.fftChannelSkip && !transformChannel(fft, way)) return Outcome::bad;
    return Outcome::done;
}

bool fails(const OwnCall& call, Outcome outcome, int32_t line = __builtin_LINE()) {
    if (outcome == Outcome::done) return false;
    call.report(DAX_StatusBadArgument, outcome == Outcome::bad ? badInput : nothingToDo, line);
    return true;
}

void run(const OwnCall& call, OwnFftWay way, DaxImage* srcImage, DaxImage* dstImage, int32_t flags,
         const void* map) {
    auto* const fft = ownKept<OwnFft>(release);
    if ((flags & DAX_FFT_FREE) != 0) {
        if (fft != nullptr) freeTables(fft);
        return;
    }
    const bool noSource = call.rejects(srcImage == nullptr, "srcImage==0");
    const bool noTarget = call.rejects(dstImage == nullptr, "dstImage==0");
    if (noSource || noTarget || daxGetErrStatus() < 0) return;
    const bool noSourceData =
        call.rejects(srcImage->imageData == nullptr, "srcImage->imageData==0");
    const bool noTargetData =
        call.rejects(dstImage->imageData == nullptr, "dstImage->imageData==0");
    if (noSourceData || noTargetData || daxGetErrStatus() < 0) return;
    if (call.rejects(map != nullptr, "(map!=((void*)(0)))")) return;

    Outcome outcome = Outcome::bad;
    // The plan of a thread that has made none is of no pixels.
    if (fft != nullptr)
        outcome = (flags & DAX_FFT_REPEAT) == 0 ? makePlan(&fft->plan, srcImage, dstImage, flags)
                                                : findRectangle(&fft->plan, srcImage, dstImage);
    if (fails(call, outcome)) return;
    fails(call, transform(fft, way));
    if ((flags & DAX_FFT_KEEP) == 0) freeTables(fft);
}

} // namespace

OwnFftPlane ownFftSource(const OwnFftPlan& plan) {
    return plane(plan, plan.fftSrcData, plan.fftSrcStep, plan.fftSrcHeight, plan.fftSrcOrder,
                 plan.fftSrcDepth);
}

OwnFftPlane ownFftTarget(const OwnFftPlan& plan) {
    return plane(plan, plan.fftDstData, plan.fftDstStep, plan.fftDstHeight, plan.fftDstOrder,
                 plan.fftDstDepth);
}

void daxRealFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map) {
    run({"daxRealFft2D", "daxfft2d"}, OwnFftWay::realToPacked, srcImage, dstImage, flags, map);
}

void daxCcsFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map) {
    run({"daxCcsFft2D", "daxfft2d"}, OwnFftWay::packedToReal, srcImage, dstImage, flags, map);
}
