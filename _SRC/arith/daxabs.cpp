#include "arith/single.h"

void daxAbs(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call{"daxAbs", "daxabs"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    if ((srcImage->depth & DAX_DEPTH_SIGN) == 0) {
        daxCopy(srcImage, dstImage, tilePos);
        return;
    }
    ownSingleWalk(call, srcImage, dstImage, tilePos, {ownRows<OwnAbs>(), 0, 0, ownBySource});
}
