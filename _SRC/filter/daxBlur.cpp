#include "filter/blur.h"
#include "filter/blur_words.h"
#include "filter/source.h"
#include "frame/border.h"
#include "frame/call.h"
#include "frame/depth.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"
#include "frame/raster.h"

namespace {

constexpr OwnCall call = {"daxBlur", "daxBlur"};

struct Window {
    int32_t nRows;
    int32_t nCols;
    int32_t anchorX;
    int32_t anchorY;
    OwnBlurScale scale;
    OwnBlurQuotient quotient;
};

ptrdiff_t smaller(ptrdiff_t a, ptrdiff_t b) { return a < b ? a : b; }

// The part of an image that is worked: a rectangle and a range of channels.
struct Region {
    ptrdiff_t x;
    ptrdiff_t y;
    ptrdiff_t height;
    ptrdiff_t width;
    int32_t firstChannel;
    int32_t lastChannel;

    explicit Region(const DaxImage* image)
        : x(0), y(0), height(image->height), width(image->width), firstChannel(1),
          lastChannel(image->nChannels) {
        const DaxROI* roi = image->roi;
        if (roi == nullptr) return;
        x = roi->xOffset;
        y = roi->yOffset;
        height = smaller(roi->height, image->height - y);
        width = smaller(roi->width, image->width - x);
        if (roi->coi != 0) firstChannel = lastChannel = roi->coi;
    }
};

// A channel of a plain image, from one of its pixels on.
struct Channel {
    char* start;
    ptrdiff_t rowStep;
    ptrdiff_t step; // bytes from sample to sample

    Channel(const DaxImage* image, ptrdiff_t x, ptrdiff_t y, int32_t channel)
        : rowStep(image->widthStep), step(ownSampleBytes(image->depth)) {
        const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
        const ptrdiff_t plane = pixels ? step : rowStep * image->height;
        if (pixels) step *= image->nChannels;
        start =
            static_cast<char*>(image->imageData) + y * rowStep + x * step + (channel - 1) * plane;
    }
    char* row(ptrdiff_t index) const { return start + index * rowStep; }
};

// Where the window of the first pixel starts in a plain source.
struct Corner {
    const DaxImage* image;
    ptrdiff_t x;
    ptrdiff_t y;
};

// One piece: from a plain source to a plain destination that shares no memory with it.
class Piece {
public:
    Piece(const Window& all, const Region& common, const Corner& from, const DaxImage* to,
          ptrdiff_t dstX, ptrdiff_t dstY, ptrdiff_t rows, ptrdiff_t columns)
        : window(all), corner(from), dstImage(to), x(dstX), y(dstY), height(rows), width(columns),
          columnCount(columns + all.nCols), sample(ownSampleBytes(to->depth)),
          rowKernels(ownRows<OwnBlur>().byDepth[ownDepthIndex(to->depth)]), wordKernels(to->depth),
          sums(columnCount * rowKernels.rowsAtOnce), gathered(columnCount * sample * 2),
          means(columns * sample * rowKernels.rowsAtOnce),
          rowOfWords(usesWords() ? wordCount() : 1),
          moving(usesWords() && !usesQuotient() ? columns + ownBlurBlock : 1) {
        for (int32_t channel = common.firstChannel; channel <= common.lastChannel; ++channel) {
            if (all.nRows == 0 || all.nCols == 0)
                fill(channel);
            else if (!sums || !gathered || !means || !rowOfWords || !moving)
                continue;
            else if (all.nRows == 1 && all.nCols == 1)
                copy(channel);
            else if (usesWords())
                blurWords(channel);
            else
                blur(channel);
        }
    }

private:
    void copy(int32_t channel) const {
        const OwnSourceRows src(corner.image, channel, 1);
        const Channel dst(dstImage, x, y, channel);
        for (ptrdiff_t row = 0; row < height; ++row) put(fetched(src, row, 0), dst, row);
    }

    // The product of no pixels and no limit is no number, and such a one becomes 0x80000000.
    void fill(int32_t channel) const {
        const uint32_t value = dstImage->depth == DAX_DEPTH_32S ? 0x80000000u : 0;
        const Channel dst(dstImage, x, y, channel);
        for (ptrdiff_t row = 0; row < height; ++row)
            ownStridedMovers(sample).fill(value, dst.row(row), dst.step, width);
    }

    void put(const char* from, const Channel& dst, ptrdiff_t row) const {
        if (dst.step == sample)
            ownCopyRow(from, dst.row(row), width * sample);
        else
            ownStridedMovers(sample).copy(from, sample, dst.row(row), dst.step, width);
    }

    // A row of the window's place, with its samples side by side.
    const char* fetched(const OwnSourceRows& src, ptrdiff_t row, ptrdiff_t slot) const {
        return src.fetch(corner.x, corner.y + row, columnCount,
                         gathered.get() + slot * columnCount * sample);
    }

    uint32_t* columns(int32_t slot) const { return sums.get() + slot * columnCount; }

    void blur(int32_t channel) const {
        const OwnSourceRows src(corner.image, channel, 1);
        const Channel dst(dstImage, x, y, channel);
        const bool direct = dst.step == sample;
        // Of floats and of integers, 0 has no bit set.
        ownFillRow32(0, reinterpret_cast<char*>(columns(0)), columnCount);
        for (ptrdiff_t row = 0; row < window.nRows; ++row)
            rowKernels.add(fetched(src, row, 0), columns(0), columnCount);
        int32_t last = 0; // the slot of the latest sums
        for (ptrdiff_t row = 0; row < height;) {
            const void* from[ownMostBlurRows] = {};
            char* to[ownMostBlurRows] = {};
            int32_t rows = 0;
            for (; rows < rowKernels.rowsAtOnce && row + rows < height; ++rows) {
                const ptrdiff_t at = row + rows;
                if (at > 0)
                    rowKernels.slide(fetched(src, at - 1 + window.nRows, 0),
                                     fetched(src, at - 1, 1), columns(last), columns(rows),
                                     columnCount);
                last = rows;
                from[rows] = columns(rows);
                to[rows] = direct ? dst.row(at) : means.get() + rows * width * sample;
            }
            rowKernels.means(from, to, rows, width, window.nCols, window.scale);
            if (!direct)
                for (int32_t k = 0; k < rows; ++k) put(to[k], dst, row + k);
            row += rows;
        }
    }

    bool usesQuotient() const {
        return dstImage->depth == DAX_DEPTH_8U && window.quotient.factor != 0;
    }

    bool usesWords() const {
        if (wordKernels.differ == nullptr) return false;
        return usesQuotient() || (window.scale.single != 0 && window.nCols <= ownMostBlurWords);
    }

    ptrdiff_t wordCount() const { return columnCount + ownBlurWordsBefore + ownBlurWordsAfter; }

    // The part of a row from `at` to `end`, at its place among the columns. What is beyond an edge
    // goes on its own, so that what is inside needn't be copied.
    struct Part {
        ptrdiff_t at;
        ptrdiff_t end;
        bool constant;
    };

    // Gives their count.
    int32_t split(Part* parts) const {
        const DaxImage* image = corner.image;
        const auto inside = [&](ptrdiff_t place) {
            return place < 0 ? 0 : smaller(place, columnCount);
        };
        const ptrdiff_t places[] = {0, inside(-corner.x), inside(image->width - corner.x),
                                    columnCount};
        int32_t count = 0;
        for (int32_t k = 0; k < 3; ++k) {
            if (places[k] >= places[k + 1]) continue;
            const int32_t mode = image->borderModes[k == 0 ? 2 : 3] & 3;
            parts[count++] = {places[k], places[k + 1], k != 1 && mode == DAX_BORDER_CONST};
        }
        return count;
    }

    bool isInside(ptrdiff_t row) const {
        return corner.y + row >= 0 && corner.y + row < corner.image->height;
    }

    const char* fetched(const OwnSourceRows& src, ptrdiff_t row, ptrdiff_t slot,
                        const Part& part) const {
        return src.fetch(corner.x + part.at, corner.y + row, part.end - part.at,
                         gathered.get() + slot * columnCount * sample);
    }

    // The words of a row, which have moved down from the row above.
    void moveWords(const OwnSourceRows& src, const Part* parts, int32_t count, ptrdiff_t row,
                   uint16_t* words) const {
        const auto move = usesQuotient() ? ownRows<OwnBlurWords>().slide : wordKernels.differ;
        const bool rowsInside = isInside(row - 1) && isInside(row - 1 + window.nRows);
        for (int32_t k = 0; k < count; ++k) {
            const Part& part = parts[k];
            const ptrdiff_t size = part.end - part.at;
            if (!part.constant || !rowsInside)
                move(fetched(src, row - 1 + window.nRows, 0, part), fetched(src, row - 1, 1, part),
                     words + part.at, size);
            else if (!usesQuotient())
                ownFillRow16(0, reinterpret_cast<char*>(words + part.at), size);
        }
    }

    void blurWords(int32_t channel) const {
        const OwnSourceRows src(corner.image, channel, 1);
        const Channel dst(dstImage, x, y, channel);
        const bool direct = dst.step == sample;
        Part parts[3];
        const int32_t partCount = split(parts);

        ownFillRow32(0, reinterpret_cast<char*>(columns(0)), columnCount);
        for (ptrdiff_t row = 0; row < window.nRows; ++row)
            for (int32_t k = 0; k < partCount; ++k)
                rowKernels.add(fetched(src, row, 0, parts[k]), columns(0) + parts[k].at,
                               parts[k].end - parts[k].at);
        ownFillRow16(0, reinterpret_cast<char*>(rowOfWords.get()), wordCount());
        uint16_t* words = rowOfWords.get() + ownBlurWordsBefore;
        if (usesQuotient())
            for (ptrdiff_t i = 0; i < columnCount; ++i)
                words[i] = static_cast<uint16_t>(columns(0)[i]);
        else
            wordKernels.start(columns(0), moving.get(), width, window.nCols);
        for (ptrdiff_t row = 0; row < height; ++row) {
            char* to = direct ? dst.row(row) : means.get();
            if (row > 0) moveWords(src, parts, partCount, row, words);
            if (usesQuotient())
                ownRows<OwnBlurWords>().quotients(words, to, width, window.nCols, window.quotient);
            else
                wordKernels.means(words, moving.get(), to, width, window.nCols,
                                  window.scale.single);
            if (!direct) put(to, dst, row);
        }
    }

    // Those of 8 bits have some.
    struct WordKernels : OwnBlurWordRows {
        explicit WordKernels(int32_t depth) : OwnBlurWordRows{} {
            if (ownSampleBytes(depth) == 1)
                OwnBlurWordRows::operator=(
                    ownRows<OwnBlurWords>().byDepth[depth == DAX_DEPTH_8U ? 0 : 1]);
        }
    };

    const Window& window;
    const Corner corner;
    const DaxImage* dstImage;
    const ptrdiff_t x;
    const ptrdiff_t y;
    const ptrdiff_t height;
    const ptrdiff_t width;
    const ptrdiff_t columnCount;
    const ptrdiff_t sample;
    const OwnBlurRows& rowKernels;
    const WordKernels wordKernels;
    OwnBuffer<uint32_t> sums;
    OwnBuffer<char> gathered;
    OwnBuffer<char> means;
    OwnBuffer<uint16_t> rowOfWords;
    OwnBuffer<uint32_t> moving; // the sums of windows, which go with differences
};

// Whether a rectangle with its surroundings is one that a block can hold. None is worked that
// isn't, with a copy of it or without.
bool fits(const Window& window, const DaxImage* image, ptrdiff_t height, ptrdiff_t width) {
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const int64_t rows = (height + window.nRows) * (pixels ? 1 : image->nChannels);
    const int64_t samples = (width + window.nCols) * (pixels ? image->nChannels : 1);
    int64_t size = 0;
    return !__builtin_mul_overflow(rows, samples * ownSampleBytes(image->depth), &size) &&
           size <= INT32_MAX;
}

// A plain copy of a piece's rectangle with its surroundings, one row and one column more than the
// rectangles reach.
class Padded {
public:
    // False when it can't be had.
    bool fetch(const Window& window, DaxImage* image, ptrdiff_t x, ptrdiff_t y, ptrdiff_t height,
               ptrdiff_t width) {
        const ptrdiff_t firstX = x - window.anchorX;
        const ptrdiff_t firstY = y - window.anchorY;
        if (height + window.nRows > INT32_MAX || width + window.nCols > INT32_MAX) return false;
        header = *image;
        header.roi = nullptr;
        header.tileInfo = nullptr;
        header.height = static_cast<int32_t>(height + window.nRows);
        header.width = static_cast<int32_t>(width + window.nCols);
        block.reset(ownBorderRect(image, static_cast<int32_t>(firstX), static_cast<int32_t>(firstY),
                                  header.width, header.height, &header.widthStep));
        header.imageData = block.get();
        return static_cast<bool>(block);
    }
    Corner corner() const { return {&header, 0, 0}; }

private:
    DaxImage header;
    OwnBuffer<char> block;
};

// The tiles to walk along one axis, and the rectangle in them.
struct Span {
    ptrdiff_t first;
    ptrdiff_t last;
    ptrdiff_t inFirst; // place in the first tile
    ptrdiff_t size;
    ptrdiff_t src; // place in the source
};

Span wholeSpan(ptrdiff_t offset, ptrdiff_t size, ptrdiff_t src, ptrdiff_t tileSize) {
    const ptrdiff_t first = offset / tileSize;
    return {first, (offset + size - 1) / tileSize, offset - first * tileSize, size, src};
}

// One tile; what of the rectangle lies before it is left out of the source, too. A tile that has
// nothing of the rectangle gives no size.
Span mappedSpan(ptrdiff_t offset, ptrdiff_t size, ptrdiff_t src, ptrdiff_t tileSize,
                ptrdiff_t mapped) {
    const ptrdiff_t tile = mapped / tileSize;
    const ptrdiff_t begin = tile * tileSize;
    if (offset >= begin + tileSize || offset + size <= begin) return {tile, tile, 0, 0, src};
    const ptrdiff_t before = begin > offset ? begin - offset : 0;
    return {tile, tile, offset + before - begin, size - before, src + before};
}

void releaseTile(DaxImage* image, ptrdiff_t col, ptrdiff_t row) {
    image->tileInfo->callBack(image, static_cast<int32_t>(col), static_cast<int32_t>(row),
                              DAX_TILE_RELEASE);
}

// Tile columns are the outer loop, and a tile is released when its neighbours to the right and
// below have been worked.
void blurTiles(const Window& window, const Region& common, DaxImage* srcImage, DaxImage* dstImage,
               const Span& x, const Span& y) {
    const DaxTileInfo* tiles = dstImage->tileInfo;
    DaxImage header;
    ownTileHeader(dstImage, &header);
    OwnTile tile(dstImage);
    ptrdiff_t doneX = 0;
    ptrdiff_t width = 0;
    for (ptrdiff_t col = x.first; col <= x.last; ++col, doneX += width) {
        const ptrdiff_t inX = col == x.first ? x.inFirst : 0;
        width = smaller(tiles->width - inX, x.size - doneX);
        ptrdiff_t doneY = 0;
        ptrdiff_t height = 0;
        for (ptrdiff_t row = y.first; row <= y.last; ++row, doneY += height) {
            const ptrdiff_t inY = row == y.first ? y.inFirst : 0;
            height = smaller(tiles->height - inY, y.size - doneY);
            Padded padded;
            if (!padded.fetch(window, srcImage, x.src + doneX, y.src + doneY, height, width))
                return;
            if (!tile.request(col, row, DAX_TILE_WRITE)) return;
            header.imageData = tile.data();
            Piece(window, common, padded.corner(), &header, inX, inY, height, width);
            if (col > x.first && row > y.first) releaseTile(dstImage, col - 1, row - 1);
        }
    }
    for (ptrdiff_t col = x.first; col <= x.last; ++col) releaseTile(dstImage, col, y.last);
    for (ptrdiff_t row = y.first; row < y.last; ++row) releaseTile(dstImage, x.last, row);
}

} // namespace

void daxBlur(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols, int32_t anchorX,
             int32_t anchorY, const DaxMapping* mapping) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (call.rejects(srcImage->depth != dstImage->depth, "(srcImage->depth!=dstImage->depth)"))
        return;
    if (call.rejects(srcImage->depth == DAX_DEPTH_1U, "(srcImage->depth==1)")) return;
    if (call.rejects(nRows < 0 || nCols < 0, "(nRows<0||nCols<0)")) return;
    if (call.rejects(anchorX < 0 || anchorY < 0, "(anchorX<0||anchorY<0)")) return;

    const int64_t count = int64_t{nRows} * nCols;
    const Window window = {
        nRows, nCols, anchorX, anchorY, ownBlurScale(count), ownBlurQuotient(count)};
    const Region src(srcImage);
    Region dst(dstImage);
    dst.height = smaller(dst.height, src.height);
    dst.width = smaller(dst.width, src.width);
    if (src.firstChannel > dst.firstChannel) dst.firstChannel = src.firstChannel;
    if (src.lastChannel < dst.lastChannel) dst.lastChannel = src.lastChannel;
    if (dst.height <= 0 || dst.width <= 0) return;

    const DaxTileInfo* tiles = dstImage->tileInfo;
    if (tiles == nullptr) {
        Padded padded;
        if (!fits(window, srcImage, dst.height, dst.width)) return;
        if (srcImage->tileInfo == nullptr && !ownMayOverlap(srcImage, dstImage))
            Piece(window, dst, {srcImage, src.x - anchorX, src.y - anchorY}, dstImage, dst.x, dst.y,
                  dst.height, dst.width);
        else if (padded.fetch(window, srcImage, src.x, src.y, dst.height, dst.width))
            Piece(window, dst, padded.corner(), dstImage, dst.x, dst.y, dst.height, dst.width);
        return;
    }
    Span x = wholeSpan(dst.x, dst.width, src.x, tiles->width);
    Span y = wholeSpan(dst.y, dst.height, src.y, tiles->height);
    if (mapping != nullptr) {
        x = mappedSpan(dst.x, dst.width, src.x, tiles->width, mapping->xDst);
        y = mappedSpan(dst.y, dst.height, src.y, tiles->height, mapping->yDst);
        if (x.size == 0 || y.size == 0) return;
    }
    blurTiles(window, dst, srcImage, dstImage, x, y);
}
