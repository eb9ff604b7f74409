#include "arith/single.h"

#include "frame/depth.h"
#include "frame/header.h"
#include "frame/raster.h"

namespace {

void runBits(const OwnSingleWork& work, DaxImage* const* images) {
    OwnBitRuns runs;
    if (!work.rule.bitRuns(images, 2, &runs)) return;
    if (runs.words > 0) {
        work.rows.words(runs.start[0], runs.start[1], runs.words, work.pattern);
        return;
    }
    ownEachBitRun(runs, [&](char* const* at, ptrdiff_t count) {
        work.rows.bits(at[0], runs.bit[0], at[1], runs.bit[1], count, work.pattern);
    });
}

void runSamples(const OwnSingleWork& work, DaxImage* const* images) {
    OwnRuns runs;
    if (!work.rule.runs(images, 2, &runs)) return;
    ownRunSingle(runs, work.rows.byDepth[ownDepthIndex(images[1]->depth)], work.value);
}

bool anyTiled(const DaxImage* srcImage, const DaxImage* dstImage) {
    return srcImage->tileInfo != nullptr || dstImage->tileInfo != nullptr;
}

// The constant's bits repeated over a word.
uint32_t patternOf(int32_t depth, uint32_t value) {
    switch (ownDepthBits(depth)) {
    case 1: return ownBitPattern(value);
    case 8: return (value & 0xFF) * 0x01010101;
    case 16: return (value & 0xFFFF) * 0x00010001;
    default: return value;
    }
}

} // namespace

bool ownSingleFits(const OwnCall& call, const DaxImage* srcImage, const DaxImage* dstImage,
                   int32_t line) {
    return !call.rejects(srcImage->depth != dstImage->depth, "(srcImage->depth != dstImage->depth)",
                         line) &&
           !call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                         "(srcImage->dataOrder != dstImage->dataOrder)", line) &&
           !call.rejects(ownWorkingChannels(srcImage) != ownWorkingChannels(dstImage),
                         "(nChSrc != nChDst)", line);
}

void ownSingleWalk(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                   const int32_t* tilePos, const OwnSingleWork& work, int32_t line) {
    const auto worker = [&](DaxImage* const* images) {
        if (dstImage->depth == DAX_DEPTH_1U)
            runBits(work, images);
        else
            runSamples(work, images);
    };
    if (!anyTiled(srcImage, dstImage)) {
        DaxImage* const images[2] = {srcImage, dstImage};
        worker(images);
        return;
    }
    const OwnWalked walked[2] = {{srcImage, work.srcTexts}, {dstImage, work.dstTexts}};
    ownTileWalk(call, walked, tilePos, worker, line);
}

void ownLogicWalk(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                  const int32_t* tilePos, const OwnSingleTable& rows, uint32_t value,
                  int32_t line) {
    const uint32_t pattern = patternOf(dstImage->depth, value);
    const auto word = static_cast<int32_t>(pattern);
    if (!anyTiled(srcImage, dstImage) && ownSameGeometry(srcImage, dstImage)) {
        // Words of 32 bits, or of 64 where the source's rows are aligned to them; a rest of a word
        // is left.
        const ptrdiff_t words = dstImage->dataSize / srcImage->align * srcImage->align / 4;
        rows.byDepth[ownDepthIndex(DAX_DEPTH_32S)].line(
            static_cast<const char*>(srcImage->imageData), static_cast<char*>(dstImage->imageData),
            words, word);
        return;
    }
    ownSingleWalk(call, srcImage, dstImage, tilePos, {rows, word, pattern, ownBySource}, line);
}
