#include "arith/single.h"

void daxSubtractS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, int32_t reverse,
                  const int32_t* tilePos) {
    const OwnCall call{"daxSubtractS", "daxsubs"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    const OwnSingleTable& rows =
        reverse != 0 ? ownRows<OwnSubtractFromS>() : ownRows<OwnSubtractS>();
    const uint32_t pattern = ownBitPattern(static_cast<uint32_t>(value));
    ownSingleWalk(call, srcImage, dstImage, tilePos, {rows, value, pattern, ownByLayout});
}
