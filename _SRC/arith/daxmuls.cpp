#include "arith/single.h"

void daxMultiplyS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos) {
    const OwnCall call{"daxMultiplyS", "daxmuls"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    ownSingleWalk(
        call, srcImage, dstImage, tilePos,
        {ownRows<OwnMultiplyS>(), static_cast<int32_t>(value), ownBitPattern(value), ownByLayout});
}
