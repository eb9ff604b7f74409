#include "arith/single.h"

void daxAddS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, const int32_t* tilePos) {
    const OwnCall call{"daxAddS", "daxadds"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    const uint32_t pattern = ownBitPattern(static_cast<uint32_t>(value));
    ownSingleWalk(call, srcImage, dstImage, tilePos,
                  {ownRows<OwnAddS>(), value, pattern, ownByLayout});
}
