#include "arith/pair.h"

void daxOr(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call{"daxOr", "daxor"};
    if (!call.sound(srcImageA)) return;
    if (!call.sound(srcImageB)) return;
    if (!call.sound(dstImage)) return;
    if (!ownPairFits(call, srcImageA, srcImageB, dstImage)) return;
    ownPairWalk(call, srcImageA, srcImageB, dstImage, tilePos, ownRows<OwnOr>());
}
