// The largest and the smallest value of a window: a row pass into lines, and a column pass over
// them. Rows are consumed in order, one for each row that is written, and never after it.

#include "filter/extremes.h"

#include "filter/rank.h"
#include "frame/memory.h"
#include "frame/movers.h"

namespace {

// The column pass (van Herk; Gil and Werman). Of the lines, in blocks of `nRows`, the running
// extreme from a block's start is kept in one line; when a block is complete its lines are replaced
// by the running extremes from its end. Any window is the end of one block and the start of the
// next, so the cost of a row doesn't depend on the height of the window.
class ColumnPass {
public:
    ColumnPass(const OwnExtremeLines& theLines, char* theWork, ptrdiff_t theLineBytes,
               ptrdiff_t theRows, ptrdiff_t theCells)
        : lines(theLines), work(theWork), lineBytes(theLineBytes), rows(theRows), cells(theCells) {}

    static ptrdiff_t lineCount(ptrdiff_t rows) { return rows <= direct ? rows : rows + 1; }

    // Where line `k` of the source goes.
    char* slot(ptrdiff_t k) const { return work + k % rows * lineBytes; }

    // Line `k` has come; from k = `rows` - 1 on there is a result.
    void take(ptrdiff_t k, char* dst) {
        if (rows <= direct) {
            const char* all[direct] = {slot(0), slot(rows > 1 ? 1 : 0), slot(rows > 2 ? 2 : 0),
                                       slot(rows > 3 ? 3 : 0)};
            if (dst != nullptr) lines.merge(all, static_cast<int32_t>(rows), dst, cells);
            return;
        }
        char* const kept = work + rows * lineBytes;
        const ptrdiff_t place = k % rows;
        const char* last = slot(k);
        if (place == 0) {
            const char* pair[2] = {last, slot(1)};
            lines.merge(pair, 1, kept, cells);
            if (dst != nullptr) lines.merge(pair, 2, dst, cells);
        } else if (place < rows - 1) {
            lines.carry(last, kept, dst != nullptr ? slot(k + 1) : last,
                        dst != nullptr ? dst : kept, cells);
        } else {
            const char* pair[2] = {kept, last};
            lines.merge(pair, 2, dst, cells);
            for (ptrdiff_t i = rows - 2; i > 0; --i) {
                const char* two[2] = {slot(i), slot(i + 1)};
                lines.merge(two, 2, slot(i), cells);
            }
        }
    }

private:
    static constexpr ptrdiff_t direct = 4;

    const OwnExtremeLines& lines;
    char* work;
    ptrdiff_t lineBytes;
    ptrdiff_t rows;
    ptrdiff_t cells;
};

ptrdiff_t roundedUp(ptrdiff_t bytes) { return (bytes + 63) / 64 * 64; }

bool filterRun(const OwnRankRun& run, const OwnRankBlock& block, OwnExtreme which) {
    const OwnExtremeLines& lines = ownExtremeLines(which, block.depth);
    const ptrdiff_t wide = roundedUp(run.sourceCells(block.nCols) * run.sampleBytes);
    const ptrdiff_t narrow = roundedUp(run.cells * run.sampleBytes);
    const ptrdiff_t columnBytes = ColumnPass::lineCount(block.nRows) * narrow;
    // Two lines for the row pass, one for the result, and one for gathered cells.
    OwnBuffer<char> work(columnBytes + 2 * wide + narrow +
                         OwnRankLines::ringBytes(run, 1, block.nCols));
    if (!work) return false;
    char* const rowWork[2] = {work.get() + columnBytes, work.get() + columnBytes + wide};
    char* const result = rowWork[1] + wide;
    OwnRankLines source(run, result + narrow, 1, block.nCols);
    ColumnPass columns(lines, work.get(), narrow, block.nRows, run.cells);
    for (ptrdiff_t k = 0; k < block.sourceRows(); ++k) {
        ownExtremeRow(lines, source.take(k), block.nCols, run.distance, run.sampleBytes, rowWork,
                      columns.slot(k), run.cells);
        char* const dst = run.dst + (k - block.nRows + 1) * run.dstRowStep;
        if (k < block.nRows - 1)
            columns.take(k, nullptr);
        else if (run.packed())
            columns.take(k, dst);
        else {
            columns.take(k, result);
            ownStridedMovers(run.sampleBytes)
                .copy(result, run.sampleBytes, dst, run.cellStep, run.cells);
        }
    }
    return true;
}

// The row pass of bits, in two lines by turns.
void bitRow(const OwnExtremeTable& table, ptrdiff_t count, char* (&work)[2], ptrdiff_t bits,
            char* dst) {
    ptrdiff_t covered = 1;
    while (covered * 2 < count) {
        table.slideBits(work[0], covered, work[1], (bits + count - covered * 2 + 7) / 8);
        char* const kept = work[0];
        work[0] = work[1];
        work[1] = kept;
        covered *= 2;
    }
    if (count > 1)
        table.slideBits(work[0], count - covered, dst, (bits + 7) / 8);
    else
        ownCopyRow(work[0], dst, (bits + 7) / 8);
}

bool filterBits(const OwnRankBlock& block, OwnExtreme which) {
    const OwnExtremeLines& lines = ownExtremeLines(which, DAX_DEPTH_1U);
    const ptrdiff_t wide = roundedUp(block.sourceCols() / 8 + block.nCols / 8 + 32);
    const ptrdiff_t narrow = roundedUp(block.width / 8 + 16);
    const ptrdiff_t columnBytes = ColumnPass::lineCount(block.nRows) * narrow;
    OwnBuffer<char> work(columnBytes + 2 * wide + narrow);
    if (!work) return false;
    ownFillRow8(0, work.get() + columnBytes, 2 * wide);
    char* rowWork[2] = {work.get() + columnBytes, work.get() + columnBytes + wide};
    char* const result = rowWork[1] + wide;
    ColumnPass columns(lines, work.get(), narrow, block.nRows, (ptrdiff_t{block.width} + 7) / 8);
    for (ptrdiff_t k = 0; k < block.sourceRows(); ++k) {
        ownRankBits(block, k, rowWork[0]);
        bitRow(ownExtremes(which), block.nCols, rowWork, block.width, columns.slot(k));
        columns.take(k, k < block.nRows - 1 ? nullptr : result);
        if (k >= block.nRows - 1)
            ownCopyBits(result, 0,
                        block.dst + (block.dstY + k - block.nRows + 1) * block.dstRowStep,
                        block.dstX, block.width);
    }
    return true;
}

} // namespace

// Runs of 4 times the length are made from those before until four of them cover the window, so the
// number of passes is that of the digits of `count` to base 4.
void ownExtremeRow(const OwnExtremeLines& lines, const char* src, ptrdiff_t count,
                   ptrdiff_t distance, ptrdiff_t sampleBytes, char* const (&work)[2], char* dst,
                   ptrdiff_t cells) {
    const ptrdiff_t step = distance * sampleBytes;
    ptrdiff_t covered = 1;
    int32_t turn = 0;
    while (covered * 4 < count) {
        const char* four[4] = {src, src + covered * step, src + 2 * covered * step,
                               src + 3 * covered * step};
        lines.merge(four, 4, work[turn], cells + (count - covered * 4) * distance);
        src = work[turn];
        turn = 1 - turn;
        covered *= 4;
    }
    const ptrdiff_t parts = (count + covered - 1) / covered;
    const char* runs[4] = {};
    for (ptrdiff_t i = 0; i < parts; ++i)
        runs[i] = src + (i < parts - 1 ? i * covered : count - covered) * step;
    lines.merge(runs, static_cast<int32_t>(parts), dst, cells);
}

bool ownExtremeBlock(const OwnRankBlock& block, OwnExtreme which) {
    if (block.depth == DAX_DEPTH_1U) return filterBits(block, which);
    const OwnRankRuns runs(block, false, true);
    for (int32_t i = 0; i < runs.count(); ++i)
        if (!filterRun(runs[i], block, which)) return false;
    return true;
}
