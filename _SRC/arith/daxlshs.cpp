#include "arith/single.h"
#include "frame/depth.h"

void daxLShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift, const int32_t* tilePos) {
    const OwnCall call{"daxLShiftS", "daxlshs"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    if (nShift >= static_cast<uint32_t>(ownDepthBits(srcImage->depth))) {
        daxAndS(srcImage, dstImage, 0, tilePos);
        return;
    }
    if (srcImage->depth == DAX_DEPTH_1U) {
        daxCopy(srcImage, dstImage, tilePos);
        return;
    }
    ownSingleWalk(call, srcImage, dstImage, tilePos,
                  {ownRows<OwnLShiftS>(), static_cast<int32_t>(nShift), 0, ownBySource});
}
