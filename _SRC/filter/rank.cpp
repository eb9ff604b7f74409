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
    const bool pixels = block.dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t pixel = pixels ? sample * block.nChannels : sample;
    const bool moved = !pixels || (median && !joined);
    // Where a channel begins in memory of rows of this layout.
    const auto from = [&](ptrdiff_t channel, ptrdiff_t planeStep) {
        return moved ? channel * (pixels ? sample : planeStep) : 0;
    };
    OwnRankRun run = {};
    run.src = block.src + block.srcY * block.srcRowStep + block.srcX * pixel +
              from(srcChannel, block.srcPlaneStep);
    run.srcRowStep = block.srcRowStep;
    if (block.left.cols > 0) run.left = block.left.data + from(srcChannel, block.left.planeStep);
    run.leftRowStep = block.left.rowStep;
    if (block.right.cols > 0)
        run.right = block.right.data + from(srcChannel, block.right.planeStep);
    run.rightRowStep = block.right.rowStep;
    run.dst = block.dst + block.dstY * block.dstRowStep + block.dstX * pixel +
              from(dstChannel, block.dstPlaneStep);
    run.dstRowStep = block.dstRowStep;
    run.sampleBytes = sample;
    run.cellStep = joined ? sample : pixel;
    run.distance = joined ? block.nChannels : 1;
    run.cells = block.width * run.distance;
    run.leftCells = block.left.cols * run.distance;
    run.rightCells = block.right.cols * run.distance;
    return run;
}

const char* OwnRankLines::take(ptrdiff_t row) {
    if (run.direct()) return at(row);
    char* const line = ring + row % slots * lineBytes;
    char* to = line;
    const auto append = [&](const char* from, ptrdiff_t cells) {
        if (run.packed())
            ownCopyRow(from, to, cells * run.sampleBytes);
        else
            ownStridedMovers(run.sampleBytes).copy(from, run.cellStep, to, run.sampleBytes, cells);
        to += cells * run.sampleBytes;
    };
    if (run.leftCells > 0) append(run.left + row * run.leftRowStep, run.leftCells);
    append(run.src + row * run.srcRowStep,
           lineBytes / run.sampleBytes - run.leftCells - run.rightCells);
    if (run.rightCells > 0) append(run.right + row * run.rightRowStep, run.rightCells);
    return line;
}

void ownRankBits(const OwnRankBlock& block, ptrdiff_t row, char* line) {
    const ptrdiff_t left = block.left.cols;
    const ptrdiff_t inside = block.sourceCols() - left - block.right.cols;
    if (left > 0) ownCopyBits(block.left.data + row * block.left.rowStep, 0, line, 0, left);
    ownCopyBits(block.src + (block.srcY + row) * block.srcRowStep, block.srcX, line, left, inside);
    if (block.right.cols > 0)
        ownCopyBits(block.right.data + row * block.right.rowStep, 0, line, left + inside,
                    block.right.cols);
}
