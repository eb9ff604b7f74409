#include "arith/pair.h"

void daxSubtract(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, int32_t reverse,
                 const int32_t* tilePos) {
    const OwnCall call{"daxSubtract", "daxsub"};
    if (!call.sound(srcImageA)) return;
    if (!call.sound(srcImageB)) return;
    if (!call.sound(dstImage)) return;
    if (!ownPairFits(call, srcImageA, srcImageB, dstImage)) return;
    ownPairWalk(call, srcImageA, srcImageB, dstImage, tilePos, ownRows<OwnSubtract>(),
                reverse != 0);
}
