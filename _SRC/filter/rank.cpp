#include "filter/rank.h"

#include "frame/movers.h"

OwnRankRuns::OwnRankRuns(const OwnRankBlock& theBlock, bool theMedian, bool together)
    : block(theBlock), median(theMedian), joined(false), runs(1) {
    if (block.dstCoi != 0) return;
    if (block.dataOrder == DAX_DATA_PIXEL && together) {
        joined = true;
        return;
    }
    runs = block.nChannels;
    // A reporter that clears the status lets images through that don't fit.
    if (block.dataOrder != DAX_DATA_PIXEL && block.srcChannels < runs) runs = block.srcChannels;
}

OwnRankRun OwnRankRuns::operator[](int32_t index) const {
    const ptrdiff_t sample = ownSampleBytes(block.depth);
    ptrdiff_t srcChannel = index;
    ptrdiff_t dstChannel = index;
    if (block.dstCoi != 0) {
        srcChannel = block.srcCoi > 0 ? block.srcCoi - 1 : 0;
        dstChannel = block.dstCoi - 1;
    }
    const char* src = block.src + block.srcY * block.srcRowStep;
    char* dst = block.dst + block.dstY * block.dstRowStep;
    OwnRankRun run = {};
    run.srcRowStep = block.srcRowStep;
    run.dstRowStep = block.dstRowStep;
    run.sampleBytes = sample;
    if (block.dataOrder != DAX_DATA_PIXEL) {
        run.src = src + srcChannel * block.srcPlaneStep + block.srcX * sample;
        run.dst = dst + dstChannel * block.dstPlaneStep + block.dstX * sample;
        run.cellStep = sample;
        run.cells = block.width;
        run.distance = 1;
        return run;
    }
    const ptrdiff_t pixel = sample * block.nChannels;
    run.src = src + block.srcX * pixel;
    run.dst = dst + block.dstX * pixel;
    run.cellStep = joined ? sample : pixel;
    run.cells = joined ? ptrdiff_t{block.width} * block.nChannels : block.width;
    run.distance = joined ? block.nChannels : 1;
    if (median && !joined) {
        run.src += srcChannel * sample;
        run.dst += dstChannel * sample;
    }
    return run;
}

const char* OwnRankLines::take(ptrdiff_t row) {
    if (run.packed()) return at(row);
    char* line = ring + row % slots * lineBytes;
    ownStridedMovers(run.sampleBytes)
        .copy(run.src + row * run.srcRowStep, run.cellStep, line, run.sampleBytes,
              lineBytes / run.sampleBytes);
    return line;
}
