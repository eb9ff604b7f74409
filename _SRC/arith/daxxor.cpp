#include "arith/pair.h"

void daxXor(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call{"daxXor", "daxxor"};
    if (!call.sound(srcImageA)) return;
    if (!call.sound(srcImageB)) return;
    if (!call.sound(dstImage)) return;
    if (!ownPairFits(call, srcImageA, srcImageB, dstImage)) return;
    ownPairWalk(call, srcImageA, srcImageB, dstImage, tilePos, ownRows<OwnXor>());
}
