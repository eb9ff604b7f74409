#include "arith/single.h"

void daxOrS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos) {
    const OwnCall call{"daxOrS", "daxors"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    ownLogicWalk(call, srcImage, dstImage, tilePos, ownRows<OwnOrS>(), value);
}
