// The median of a window: which of the row kernels serves it, and the order of work when the
// destination is the source itself.

#include "filter/median.h"

#include "filter/rank.h"
#include "frame/lanes.h"
#include "frame/memory.h"
#include "frame/movers.h"

namespace {

// Above so many values a window of 16-bit samples is faster found by sliding.
constexpr int64_t mostOfAny16 = 300;

// The histograms of so many columns stay in the cache.
constexpr int32_t leastStripe = 512;

int32_t stripeOf(const OwnRankBlock& block) {
    const int64_t most = block.nCols > leastStripe / 2 ? int64_t{block.nCols} * 2 : leastStripe;
    return block.width < most ? block.width : static_cast<int32_t>(most);
}

OwnMedianArea areaOf(const OwnRankRun& run, const OwnRankBlock& block) {
    OwnMedianArea area = {};
    area.src = run.src;
    area.srcRowStep = run.srcRowStep;
    area.srcCellStep = run.cellStep;
    area.dst = run.dst;
    area.dstRowStep = run.dstRowStep;
    area.dstCellStep = run.cellStep;
    area.height = block.height;
    area.width = block.width;
    area.nRows = block.nRows;
    area.nCols = block.nCols;
    area.isSigned = block.depth < 0;
    area.values = int64_t{block.nRows} * block.nCols;
    area.stripe = stripeOf(block);
    return area;
}

using LineKernel = void (*)(const OwnMedianWindow& window, char* work, char* dst, ptrdiff_t cells);

// The kernel that works whole lines, null if there is none for the window.
LineKernel lineKernel(int32_t depth, int32_t nRows, int32_t nCols) {
    const OwnMedianLines& lines = ownRows<OwnMedians>().lines[ownDepthIndex(depth)];
    const int64_t cells = int64_t{nRows} * nCols;
    const int32_t bits = ownDepthBits(depth);
    if (nRows == 3 && nCols == 3) return lines.nine;
    if (nRows == 5 && nCols == 5) return lines.twentyFive;
    if ((bits == 8 && cells > UINT8_MAX) || (bits == 16 && cells > mostOfAny16)) return nullptr;
    return lines.any;
}

bool byLines(const OwnRankRun& run, const OwnRankBlock& block, LineKernel kernel) {
    const ptrdiff_t lineBytes = run.sourceCells(block.nCols) * run.sampleBytes;
    const bool five = block.nRows == 5 && block.nCols == 5;
    OwnBuffer<const char*> pointers(block.nRows);
    OwnBuffer<char> work(five ? 5 * lineBytes : 0);
    OwnBuffer<char> ring(OwnRankLines::ringBytes(run, block.nRows, block.nCols) +
                         (run.packed() ? 0 : run.cells * run.sampleBytes));
    if (!pointers || !work || !ring) return false;
    char* const result = ring.get() + OwnRankLines::ringBytes(run, block.nRows, block.nCols);
    OwnRankLines lines(run, ring.get(), block.nRows, block.nCols);
    const OwnMedianWindow window = {pointers.get(), block.nRows, block.nCols, run.distance};
    for (ptrdiff_t k = 0; k < block.nRows - 1; ++k) lines.take(k);
    for (ptrdiff_t y = 0; y < block.height; ++y) {
        lines.take(y + block.nRows - 1);
        for (int32_t k = 0; k < block.nRows; ++k) pointers[k] = lines.at(y + k);
        char* const dst = run.dst + y * run.dstRowStep;
        kernel(window, work.get(), run.packed() ? dst : result, run.cells);
        if (!run.packed())
            ownStridedMovers(run.sampleBytes)
                .copy(result, run.sampleBytes, dst, run.cellStep, run.cells);
    }
    return true;
}

bool byColumns(const OwnMedianArea& area) {
    const int64_t counters = ownColumnCounters(area.stripe, area.nCols);
    const bool wide = area.values > UINT16_MAX;
    OwnBuffer<uint16_t> work(wide ? counters * 2 : counters);
    if (!work) return false;
    ownRows<OwnMedians>().columns8[wide ? 1 : 0](area, work.get());
    return true;
}

bool bySliding(const OwnMedianArea& area) {
    OwnBuffer<uint32_t> work(ownSliding16Counters);
    if (!work) return false;
    ownRows<OwnMedians>().sliding16(area, work.get());
    return true;
}

// A call in place reads what it has written. Then the order of the work is part of the result: a
// histogram that slides along a row lets go of what a pixel is by then, not of what came in. Counts
// of what never left stay behind, so that the table can end before enough is found.
bool inOrder8(const OwnMedianArea& area) {
    constexpr int32_t bins = 256;
    OwnBuffer<int64_t> counts(bins);
    if (!counts) return false;
    for (int32_t bin = 0; bin < bins; ++bin) counts[bin] = 0;
    const auto place = [&](ptrdiff_t x, ptrdiff_t y) -> int32_t {
        const char* at = area.src + y * area.srcRowStep + x * area.srcCellStep;
        return static_cast<uint8_t>(*at) ^ (area.isSigned ? 0x80 : 0);
    };
    const int64_t enough = area.values / 2 + 1;
    for (ptrdiff_t y = 0; y < area.height; ++y) {
        for (ptrdiff_t k = 0; k < area.nRows; ++k)
            for (ptrdiff_t x = 0; x < area.nCols; ++x) ++counts[place(x, y + k)];
        int32_t median = 0;
        int64_t upTo = counts[0]; // the sum of the bins up to the median's; 0 before the first
        for (ptrdiff_t x = 0;; ++x) {
            if (upTo < enough) {
                while (upTo < enough && median < bins - 1) upTo += counts[++median];
            } else {
                while (upTo >= enough) upTo -= counts[median--];
                upTo += counts[++median];
            }
            char* at = area.dst + y * area.dstRowStep + x * area.dstCellStep;
            *at = static_cast<char>(median ^ (area.isSigned ? 0x80 : 0));
            if (x == area.width - 1) break;
            for (ptrdiff_t k = 0; k < area.nRows; ++k) {
                const int32_t leaves = place(x, y + k);
                --counts[leaves];
                if (leaves <= median) --upTo;
                const int32_t enters = place(x + area.nCols, y + k);
                ++counts[enters];
                if (enters <= median) ++upTo;
            }
        }
        for (ptrdiff_t k = 0; k < area.nRows; ++k)
            for (ptrdiff_t x = area.width - 1; x < area.width - 1 + area.nCols; ++x)
                counts[place(x, y + k)] = 0;
    }
    return true;
}

// Brings the value at `place` of the rising order there (Hoare).
template <class T> T selected(T* values, ptrdiff_t count, ptrdiff_t place) {
    ptrdiff_t first = 0;
    ptrdiff_t last = count - 1;
    while (first < last) {
        const T pivot = values[place];
        ptrdiff_t i = first;
        ptrdiff_t j = last;
        while (i <= j) {
            while (values[i] < pivot) ++i;
            while (pivot < values[j]) --j;
            if (i > j) break;
            const T kept = values[i];
            values[i++] = values[j];
            values[j--] = kept;
        }
        if (j < place) first = i;
        if (place < i) last = j;
    }
    return values[place];
}

template <class T> bool inOrder(const OwnMedianArea& area) {
    OwnBuffer<T> values(area.values);
    if (!values) return false;
    for (ptrdiff_t y = 0; y < area.height; ++y)
        for (ptrdiff_t x = 0; x < area.width; ++x) {
            T* to = values.get();
            for (ptrdiff_t k = 0; k < area.nRows; ++k) {
                const char* at = area.src + (y + k) * area.srcRowStep + x * area.srcCellStep;
                for (ptrdiff_t i = 0; i < area.nCols; ++i, at += area.srcCellStep)
                    *to++ = *ownLanes<T>(at);
            }
            const auto count = static_cast<ptrdiff_t>(area.values);
            *ownLanes<T>(area.dst + y * area.dstRowStep + x * area.dstCellStep) =
                selected(values.get(), count, count / 2);
        }
    return true;
}

bool inOrder(const OwnMedianArea& area, int32_t depth) {
    bool done = false;
    ownWithSampleType(depth, [&](auto type) {
        using T = typename decltype(type)::type;
        if constexpr (sizeof(T) == 1)
            done = inOrder8(area);
        else
            done = inOrder<T>(area);
    });
    return done;
}

// Whether a row can be written before the last read of it, anywhere in the block.
bool overlaps(const OwnRankBlock& block) {
    const char* srcEnd = block.src + block.srcBytes;
    const bool planes = block.dataOrder != DAX_DATA_PIXEL;
    const char* dst = block.dst + block.dstY * block.dstRowStep;
    const char* dstEnd = block.dst + (ptrdiff_t{block.dstY} + block.height) * block.dstRowStep +
                         (planes ? (block.nChannels - 1) * block.dstPlaneStep : 0);
    return dst < srcEnd && block.src < dstEnd;
}

bool medianOfBits(const OwnRankBlock& block) {
    const OwnMedianTable& table = ownRows<OwnMedians>();
    const ptrdiff_t bytes = (block.sourceCols() + 7) / 8;
    OwnBuffer<char> bits(bytes);
    OwnBuffer<char> result((ptrdiff_t{block.width} + 7) / 8);
    OwnBuffer<uint32_t> ring((int64_t{block.nRows} + 1) * block.width);
    if (!bits || !result || !ring) return false;
    uint32_t* const totals = ring.get() + ptrdiff_t{block.nRows} * block.width;
    const auto counts = [&](ptrdiff_t k) { return ring.get() + k % block.nRows * block.width; };
    const int64_t cells = int64_t{block.nRows} * block.nCols;
    const auto enough = static_cast<uint32_t>(cells / 2 + (cells & 1));
    for (int32_t x = 0; x < block.width; ++x) totals[x] = 0;
    for (ptrdiff_t k = 0; k < block.sourceRows(); ++k) {
        ownRankBits(block, k, bits.get());
        table.countBits(bits.get(), block.nCols, counts(k), block.width);
        if (k < block.nRows - 1) {
            for (int32_t x = 0; x < block.width; ++x) totals[x] += counts(k)[x];
            continue;
        }
        const ptrdiff_t y = k - block.nRows + 1;
        table.moveBits(counts(k), counts(y), totals, enough, result.get(), block.width);
        ownCopyBits(result.get(), 0, block.dst + (block.dstY + y) * block.dstRowStep, block.dstX,
                    block.width);
    }
    return true;
}

} // namespace

bool ownMedianTakesMargins(int32_t depth, int32_t nRows, int32_t nCols) {
    return depth == DAX_DEPTH_1U || lineKernel(depth, nRows, nCols) != nullptr;
}

bool ownMedianBlock(const OwnRankBlock& block) {
    if (block.depth == DAX_DEPTH_1U) return medianOfBits(block);
    const bool inPlace = overlaps(block);
    const LineKernel kernel = inPlace ? nullptr : lineKernel(block.depth, block.nRows, block.nCols);
    const OwnRankRuns runs(block, true, kernel != nullptr);
    for (int32_t i = 0; i < runs.count(); ++i) {
        const OwnRankRun run = runs[i];
        const OwnMedianArea area = areaOf(run, block);
        const bool done = inPlace                ? inOrder(area, block.depth)
                          : kernel != nullptr    ? byLines(run, block, kernel)
                          : run.sampleBytes == 1 ? byColumns(area) || inOrder8(area)
                                                 : bySliding(area);
        if (!done) return false;
    }
    return true;
}
