#include "arith/pair.h"

void daxAnd(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call{"daxAnd", "daxand"};
    if (!call.sound(srcImageA)) return;
    if (!call.sound(srcImageB)) return;
    if (!call.sound(dstImage)) return;
    if (!ownPairFits(call, srcImageA, srcImageB, dstImage)) return;
    ownPairWalk(call, srcImageA, srcImageB, dstImage, tilePos, ownRows<OwnAnd>());
}
