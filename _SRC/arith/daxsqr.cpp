#include "arith/single.h"

void daxSquare(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call{"daxSquare", "daxsqr"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    ownSingleWalk(call, srcImage, dstImage, tilePos, {ownRows<OwnSquare>(), 0, 0, ownByLayout});
}
