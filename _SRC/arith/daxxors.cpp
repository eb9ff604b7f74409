#include "arith/single.h"

void daxXorS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos) {
    const OwnCall call{"daxXorS", "daxxors"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    ownLogicWalk(call, srcImage, dstImage, tilePos, ownRows<OwnXorS>(), value);
}

void daxNot(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    daxXorS(srcImage, dstImage, 0xFFFFFFFF, tilePos);
}
