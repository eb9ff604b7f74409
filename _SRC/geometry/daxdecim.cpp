#include "frame/call.h"
#include "geometry/owndecim.h"

namespace {

constexpr OwnCall call = {"daxDecimate", "daxdecim"};

} // namespace

void daxDecimate(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU,
                 int32_t yL, int32_t interpolate, const int32_t* tilePos) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    bool bad = false;
    bad |= call.rejects(srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth");
    bad |=
        call.rejects(srcImage->origin != dstImage->origin, "srcImage->origin != dstImage->origin");
    bad |= call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                        "srcImage->dataOrder != dstImage->dataOrder");
    bad |= call.rejects(interpolate != DAX_INTER_NN && interpolate != DAX_INTER_LINEAR &&
                            interpolate != DAX_INTER_CUBIC,
                        "interpolate != DAX_INTER_NN, DAX_INTER_LINEAR or DAX_INTER_CUBIC");
    bad |= call.rejects(xU <= 0, "xU <= 0");
    bad |= call.rejects(xL <= 0, "xL <= 0");
    bad |= call.rejects(yU <= 0, "yU <= 0");
    bad |= call.rejects(yL <= 0, "yL <= 0");
    bad |= call.rejects(xU > xL, "xU > xL");
    bad |= call.rejects(yU > yL, "yU > yL");
    // A reporter may clear the status; arguments that don't fit are no use even so.
    if (bad || daxGetErrStatus() < 0) return;
    ownDecimate(srcImage, dstImage, {xU, xL}, {yU, yL}, interpolate, tilePos);
}
