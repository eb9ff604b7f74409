#include "arith/pair.h"

#include "frame/depth.h"
#include "frame/header.h"
#include "frame/ownrect.h"
#include "frame/runs.h"

namespace {

void combineBits(const OwnPairTable& rows, DaxImage* const* images) {
    OwnBitRuns runs;
    if (!ownBitRuns(images, 3, &runs)) return;
    if (runs.words > 0) {
        rows.words(runs.start[0], runs.start[1], runs.start[2], runs.words);
        return;
    }
    ownEachBitRun(runs, [&](char* const* at, ptrdiff_t count) {
        rows.bits(at[0], runs.bit[0], at[1], runs.bit[1], at[2], runs.bit[2], count);
    });
}

void combineSamples(const OwnPairRow& row, DaxImage* const* images) {
    OwnRuns runs;
    if (!ownLayoutRuns(images, 3, &runs)) return;
    ownEachRun(runs, [&](char* const* at, ptrdiff_t count) {
        if (runs.strided)
            row.strided(at[0], at[1], at[2], count, runs.sampleStep[0], runs.sampleStep[1],
                        runs.sampleStep[2]);
        else
            row.line(at[0], at[1], at[2], count);
    });
}

} // namespace

bool ownPairFits(const OwnCall& call, const DaxImage* srcImageA, const DaxImage* srcImageB,
                 const DaxImage* dstImage, int32_t line) {
    const int32_t channels = ownWorkingChannels(dstImage);
    return !call.rejects(srcImageA->depth != dstImage->depth,
                         "(srcImageA->depth != dstImage->depth)", line) &&
           !call.rejects(srcImageB->depth != dstImage->depth,
                         "(srcImageB->depth != dstImage->depth)", line) &&
           !call.rejects(srcImageA->dataOrder != dstImage->dataOrder,
                         "(srcImageA->dataOrder != dstImage->dataOrder)", line) &&
           !call.rejects(srcImageB->dataOrder != dstImage->dataOrder,
                         "(srcImageB->dataOrder != dstImage->dataOrder)", line) &&
           !call.rejects(ownWorkingChannels(srcImageA) != channels, "(nChSrcA != nChDst)", line) &&
           !call.rejects(ownWorkingChannels(srcImageB) != channels, "(nChSrcB != nChDst)", line);
}

void ownPairWalk(const OwnCall& call, DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                 const int32_t* tilePos, const OwnPairTable& rows, bool reverse, int32_t line) {
    const auto worker = [&](DaxImage* const* images) {
        DaxImage* const ordered[3] = {images[reverse ? 1 : 0], images[reverse ? 0 : 1], images[2]};
        if (dstImage->depth == DAX_DEPTH_1U)
            combineBits(rows, ordered);
        else
            combineSamples(rows.byDepth[ownDepthIndex(dstImage->depth)], ordered);
    };
    // A second source that alone is tiled has no walk; its data are taken for plain.
    if (srcImageA->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        DaxImage* const images[3] = {srcImageA, srcImageB, dstImage};
        worker(images);
        return;
    }
    const OwnWalked walked[3] = {
        {srcImageA, ownSrcATexts}, {srcImageB, ownSrcBTexts}, {dstImage, ownDstTexts}};
    ownTileWalk(call, walked, tilePos, worker, line);
}
