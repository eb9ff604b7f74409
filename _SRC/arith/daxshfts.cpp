#include "arith/single.h"

namespace {

// This module spells its tile texts its own way.
constexpr OwnTileTexts srcTexts = {"(srcImage->tileInfo->tileData == ((void *)0))",
                                   "(srcImage->tileInfo->tileData != ((void *)0))"};
constexpr OwnTileTexts dstTexts = {"(dstImage->tileInfo->tileData == ((void *)0))",
                                   "(dstImage->tileInfo->tileData != ((void *)0))"};

} // namespace

void daxRShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift, const int32_t* tilePos) {
    const OwnCall call{"daxRShiftS", "daxshfts"};
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (!ownSingleFits(call, srcImage, dstImage)) return;
    // Bits are kept by no shift and gone by any.
    const uint32_t pattern = nShift == 0 ? 0xFFFFFFFF : 0;
    ownSingleWalk(call, srcImage, dstImage, tilePos,
                  {ownRows<OwnRShiftS>(), static_cast<int32_t>(nShift), pattern, ownByLayout,
                   srcTexts, dstTexts});
}
