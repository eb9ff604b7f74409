#include "arith/single.h"

void daxAndS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos) {
    const OwnCall call{"daxAndS", "daxands"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    ownLogicWalk(call, srcImage, dstImage, tilePos, ownRows<OwnAndS>(), value);
}
