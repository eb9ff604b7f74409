#include "filter/blur_bytes.h"

#include "filter/blur_piece.h"
#include "filter/source.h"
#include "frame/channels.h"
#include "frame/memory.h"
#include "frame/movers.h"

namespace {

ptrdiff_t smaller(ptrdiff_t a, ptrdiff_t b) { return a < b ? a : b; }

ptrdiff_t wholeBlocks(ptrdiff_t bytes) { return (bytes + ownBlurBlock - 1) & -ownBlurBlock; }

const OwnBlurByteRows& kernelsOf(const OwnBlurPiece& piece) {
    return ownRows<OwnBlurBytes>().byDepth[piece.image->depth == DAX_DEPTH_8U ? 0 : 1];
}

// Whether the channels of its pixels can be taken apart and put together all at once.
bool isMixed(const DaxImage* image) {
    return image->dataOrder == DAX_DATA_PIXEL && image->nChannels > 1 &&
           image->nChannels <= ownMostSplit;
}

OwnBlurStrip shapeOf(const OwnBlurPiece& piece) {
    const OwnBlurWindow& window = piece.window;
    const bool isSigned = piece.image->depth != DAX_DEPTH_8U;
    OwnBlurStrip shape = {};
    shape.width = piece.width;
    shape.rowBytes = wholeBlocks(wholeBlocks(piece.width) + window.nCols + 2);
    shape.nRows = window.nRows;
    shape.nCols = window.nCols;
    shape.mean = ownBlurMean(int64_t{window.nRows} * window.nCols, isSigned);
    return shape;
}

// Some channels, from the first on, row by row. The rows of a window are kept, each channel with
// its samples side by side: every row is fetched once.
class Strip {
public:
    Strip(const OwnBlurPiece& all, int32_t first, int32_t count)
        : kernels(kernelsOf(all)), piece(all), firstChannel(first), channels(count),
          splits(count > 1),
          joins(count > 1 && count == all.image->nChannels && isMixed(all.image)),
          planes(splits ? all.source->nChannels : 1), src(all.source, splits ? 0 : first, 1),
          columnCount(all.width + all.window.nCols - 1),
          inside(all.sourceX < 0 ? smaller(-all.sourceX, columnCount) : 0),
          insideEnd(smaller(all.source->width - all.sourceX, columnCount)),
          firstSource(src.start + all.sourceY * all.source->widthStep +
                      (all.sourceX + inside) * src.pixelStep),
          sourceStep(all.source->widthStep), direct(all.step() == 1), firstDst(all.row(first, 0)),
          dstPlane(all.row(first + 1, 0) - firstDst), dstStep(all.image->widthStep),
          sumCount(wholeBlocks(all.width)), slots(all.window.nRows + ownBlurSteps),
          shape(shapeOf(all)) {}

    // Bytes that blur() works in, from a whole block on.
    int64_t room() const {
        return 2 * ownBlurSteps * ownBlurPlane + shape.rowBytes * 4 +
               channels * sumCount * (4 + ownBlurSteps) + wholeBlocks(columnCount * planes) +
               slots * planes * shape.rowBytes;
    }

    void blur(char* memory) {
        const auto take = [&](ptrdiff_t bytes) {
            char* const taken = memory;
            memory += bytes;
            return taken;
        };
        shape.prefixes = take(2 * ownBlurSteps * ownBlurPlane);
        shape.columns = reinterpret_cast<uint32_t*>(take(shape.rowBytes * 4));
        sums = reinterpret_cast<uint32_t*>(take(channels * sumCount * 4));
        means = take(channels * ownBlurSteps * sumCount);
        pixels = take(wholeBlocks(columnCount * planes));
        kept = take(slots * planes * shape.rowBytes);
        blur();
    }

private:
    char* slot(ptrdiff_t index) const { return kept + index * planes * shape.rowBytes; }

    ptrdiff_t after(ptrdiff_t index) const { return index + 1 < slots ? index + 1 : 0; }

    bool isInside(ptrdiff_t row) const {
        return piece.sourceY + row >= 0 && piece.sourceY + row < piece.source->height;
    }

    bool isConstant(int32_t side) const {
        return (piece.source->borderModes[side] & 3) == DAX_BORDER_CONST;
    }

    // Constants beside the image stay in a slot from one of its rows to the next.
    bool keepsSides(ptrdiff_t row) const {
        return row >= slots && isInside(row) && isInside(row - slots) &&
               (inside == 0 || isConstant(2)) && (insideEnd == columnCount || isConstant(3));
    }

    void fetch(ptrdiff_t row, ptrdiff_t index) const {
        char* to[ownMostSplit];
        for (int32_t plane = 0; plane < planes; ++plane) {
            char* const start = slot(index) + plane * shape.rowBytes;
            to[plane] = start + 1;
            if (row >= slots) continue;
            *start = 0;
            ownFillRow8(0, to[plane] + columnCount, shape.rowBytes - 1 - columnCount);
        }
        ptrdiff_t count = columnCount;
        ptrdiff_t from = piece.sourceX;
        if (keepsSides(row)) {
            count = insideEnd - inside;
            if (count <= 0) return;
            from += inside;
            for (int32_t plane = 0; plane < planes; ++plane) to[plane] += inside;
        }
        char* const into = splits ? pixels : to[0];
        const char* samples = src.fetch(from, piece.sourceY + row, count, into);
        if (splits)
            ownSplitChannels(1, samples, to, planes, count);
        else if (samples != into)
            ownCopyRow(samples, into, count);
    }

    void blur() const {
        const ptrdiff_t nRows = piece.window.nRows;
        for (ptrdiff_t row = 0; row < nRows; ++row) fetch(row, row);
        const ptrdiff_t skipped = splits ? (firstChannel - 1) * shape.rowBytes : 0;
        for (int32_t c = 0; c < channels; ++c)
            kernels.start(shape, kept + skipped + c * shape.rowBytes, planes * shape.rowBytes,
                          sums + c * sumCount);
        ptrdiff_t entering = nRows;
        ptrdiff_t leaving = 0;
        for (ptrdiff_t row = 0; row < piece.height; row += ownBlurSteps) {
            const auto count = static_cast<int32_t>(smaller(ownBlurSteps, piece.height - row));
            OwnBlurStep steps[ownBlurSteps];
            for (int32_t k = 0; k < count; ++k) {
                // The first row's sums stay.
                steps[k] = {kept + skipped, kept + skipped, nullptr, nullptr, nullptr};
                if (row + k == 0) continue;
                fetch(row + k - 1 + nRows, entering);
                steps[k] = {slot(entering) + skipped, slot(leaving) + skipped, nullptr, nullptr,
                            nullptr};
                entering = after(entering);
                leaving = after(leaving);
            }
            move(row, steps, count);
        }
    }

    // A row of the source inside the image, and a row of a channel of the destination.
    const char* sourceRow(ptrdiff_t row) const { return firstSource + row * sourceStep; }
    char* dstRow(int32_t channel, ptrdiff_t row) const {
        return firstDst + channel * dstPlane + row * dstStep;
    }

    void move(ptrdiff_t row, OwnBlurStep* steps, int32_t count) const {
        const char* from[ownBlurSteps][ownMostSplit];
        for (int32_t c = 0; c < channels; ++c) {
            for (int32_t k = 0; k < count; ++k) {
                OwnBlurStep& step = steps[k];
                step.dst = direct ? dstRow(c, row + k) : means + (c * ownBlurSteps + k) * sumCount;
                from[k][c] = step.dst;
                // Each channel of pixels asks for its part of the rows.
                const ptrdiff_t next = row + k + ownBlurSteps;
                const ptrdiff_t entering = next - 1 + piece.window.nRows;
                const ptrdiff_t part = c * piece.width;
                const bool more = next < piece.height;
                step.readNext =
                    more && isInside(entering) ? sourceRow(entering) + part : step.entering;
                step.writtenNext = !more    ? step.dst
                                   : direct ? dstRow(c, next)
                                            : dstRow(0, next) + part;
            }
            kernels.means(shape, steps, count, sums + c * sumCount);
            for (int32_t k = 0; k < count; ++k) {
                if (!direct && !joins) piece.put(steps[k].dst, firstChannel + c, row + k);
                steps[k].entering += shape.rowBytes;
                steps[k].leaving += shape.rowBytes;
            }
        }
        for (int32_t k = 0; joins && k < count; ++k)
            ownJoinChannels(1, from[k], dstRow(0, row + k), channels, piece.width);
    }

    const OwnBlurByteRows& kernels;
    const OwnBlurPiece piece;
    const int32_t firstChannel;
    const int32_t channels;
    const bool splits;
    const bool joins;
    const int32_t planes; // channels that are kept
    const OwnSourceRows src;
    const ptrdiff_t columnCount;
    const ptrdiff_t inside; // the columns of the image
    const ptrdiff_t insideEnd;
    const char* const firstSource;
    const ptrdiff_t sourceStep;
    const bool direct; // into the destination's rows
    char* const firstDst;
    const ptrdiff_t dstPlane;
    const ptrdiff_t dstStep;
    const ptrdiff_t sumCount;
    const ptrdiff_t slots;
    OwnBlurStrip shape;
    uint32_t* sums = nullptr;
    char* means = nullptr;
    char* pixels = nullptr;
    char* kept = nullptr;
};

} // namespace

bool ownBlursBytes(const OwnBlurPiece& piece) {
    const OwnBlurWindow& window = piece.window;
    return piece.sample() == 1 && kernelsOf(piece).means != nullptr && window.scale.single != 0 &&
           window.nCols <= ownMostBlurColumns && piece.rowsApart();
}

// In strips, so that what a row leaves behind for the next one stays near.
void ownBlurBytes(const OwnBlurPiece& piece, int32_t firstChannel, int32_t lastChannel) {
    const int32_t together =
        isMixed(piece.source) && lastChannel > firstChannel ? lastChannel - firstChannel + 1 : 1;
    const ptrdiff_t count = (piece.width + ownMostBlurWidth - 1) / ownMostBlurWidth;
    const ptrdiff_t most = wholeBlocks((piece.width + count - 1) / count);
    const auto strip = [&](ptrdiff_t at, int32_t channel) {
        OwnBlurPiece part = piece;
        part.sourceX += at;
        part.x += at;
        part.width = smaller(most, piece.width - at);
        return Strip(part, channel, together);
    };
    const OwnBuffer<char> block(strip(0, firstChannel).room() + ownBlurBlock);
    if (!block) return;
    char* const memory =
        block.get() + (-reinterpret_cast<uintptr_t>(block.get()) & (ownBlurBlock - 1));
    for (int32_t channel = firstChannel; channel <= lastChannel; channel += together)
        for (ptrdiff_t at = 0; at < piece.width; at += most) strip(at, channel).blur(memory);
}
