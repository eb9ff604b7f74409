#include "filter/blur_piece.h"
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

// The product of no pixels and no limit is no number, and such a one becomes 0x80000000.
void fill(const OwnBlurPiece& piece, int32_t channel) {
    const uint32_t value = piece.image->depth == DAX_DEPTH_32S ? 0x80000000u : 0;
    for (ptrdiff_t row = 0; row < piece.height; ++row)
        ownStridedMovers(piece.sample())
            .fill(value, piece.row(channel, row), piece.step(), piece.width);
}

void copy(const OwnBlurPiece& piece, int32_t channel, char* gathered) {
    const OwnSourceRows src(piece.source, channel, 1);
    for (ptrdiff_t row = 0; row < piece.height; ++row)
        piece.put(src.fetch(piece.sourceX, piece.sourceY + row, piece.width, gathered), channel,
                  row);
}

// Sums of columns that move down from row to row.
class Columns {
public:
    explicit Columns(const OwnBlurPiece& all)
        : piece(all), columnCount(all.width + all.window.nCols), sample(all.sample()),
          kernels(ownRows<OwnBlur>().byDepth[ownDepthIndex(all.image->depth)]),
          sums(columnCount * kernels.rowsAtOnce), gathered(columnCount * sample * 2),
          means(all.width * sample * kernels.rowsAtOnce) {}

    explicit operator bool() const { return sums && gathered && means; }

    void blur(int32_t channel) const {
        const OwnBlurWindow& window = piece.window;
        const ptrdiff_t width = piece.width;
        const OwnSourceRows src(piece.source, channel, 1);
        const bool direct = piece.step() == sample && piece.rowsApart();
        // Of floats and of integers, 0 has no bit set.
        ownFillRow32(0, reinterpret_cast<char*>(columns(0)), columnCount);
        for (ptrdiff_t row = 0; row < window.nRows; ++row)
            kernels.add(fetched(src, row, 0), columns(0), columnCount);
        int32_t last = 0; // the slot of the latest sums
        for (ptrdiff_t row = 0; row < piece.height;) {
            const void* from[ownMostBlurRows] = {};
            char* to[ownMostBlurRows] = {};
            int32_t rows = 0;
            for (; rows < kernels.rowsAtOnce && row + rows < piece.height; ++rows) {
                const ptrdiff_t at = row + rows;
                if (at > 0)
                    kernels.slide(fetched(src, at - 1 + window.nRows, 0), fetched(src, at - 1, 1),
                                  columns(last), columns(rows), columnCount);
                last = rows;
                from[rows] = columns(rows);
                to[rows] = direct ? piece.row(channel, at) : means.get() + rows * width * sample;
            }
            kernels.means(from, to, rows, width, window.nCols, window.scale);
            if (!direct)
                for (int32_t k = 0; k < rows; ++k) piece.put(to[k], channel, row + k);
            row += rows;
        }
    }

private:
    // A row of the window's place, with its samples side by side.
    const char* fetched(const OwnSourceRows& src, ptrdiff_t row, ptrdiff_t slot) const {
        return src.fetch(piece.sourceX, piece.sourceY + row, columnCount,
                         gathered.get() + slot * columnCount * sample);
    }

    uint32_t* columns(int32_t slot) const { return sums.get() + slot * columnCount; }

    const OwnBlurPiece& piece;
    const ptrdiff_t columnCount;
    const ptrdiff_t sample;
    const OwnBlurRows& kernels;
    const OwnBuffer<uint32_t> sums;
    const OwnBuffer<char> gathered;
    const OwnBuffer<char> means;
};

void blurPiece(const OwnBlurPiece& piece, const Region& common) {
    const OwnBlurWindow& window = piece.window;
    const int32_t first = common.firstChannel;
    const int32_t last = common.lastChannel;
    if (first > last) return;
    if (window.nRows == 0 || window.nCols == 0) {
        for (int32_t channel = first; channel <= last; ++channel) fill(piece, channel);
    } else if (window.nRows == 1 && window.nCols == 1) {
        const OwnBuffer<char> gathered(piece.width * piece.sample());
        if (!gathered) return;
        for (int32_t channel = first; channel <= last; ++channel)
            copy(piece, channel, gathered.get());
    } else if (ownBlursBytes(piece)) {
        ownBlurBytes(piece, first, last);
    } else {
        const Columns engine(piece);
        if (!engine) return;
        for (int32_t channel = first; channel <= last; ++channel) engine.blur(channel);
    }
}

// Whether a rectangle with its surroundings is one that a block can hold. None is worked that
// isn't, with a copy of it or without.
bool fits(const OwnBlurWindow& window, const DaxImage* image, ptrdiff_t height, ptrdiff_t width) {
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
    bool fetch(const OwnBlurWindow& window, DaxImage* image, ptrdiff_t x, ptrdiff_t y,
               ptrdiff_t height, ptrdiff_t width) {
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
    const DaxImage* image() const { return &header; }

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
void blurTiles(const OwnBlurWindow& window, const Region& common, DaxImage* srcImage,
               DaxImage* dstImage, const Span& x, const Span& y) {
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
            blurPiece({window, padded.image(), 0, 0, &header, inX, inY, height, width}, common);
            if (col > x.first && row > y.first) releaseTile(dstImage, col - 1, row - 1);
        }
    }
    for (ptrdiff_t col = x.first; col <= x.last; ++col) releaseTile(dstImage, col, y.last);
    for (ptrdiff_t row = y.first; row < y.last; ++row) releaseTile(dstImage, x.last, row);
}

} // namespace

void OwnBlurPiece::put(const char* samples, int32_t channel, ptrdiff_t index) const {
    if (step() == sample())
        ownCopyRow(samples, row(channel, index), width * sample());
    else
        ownStridedMovers(sample()).copy(samples, sample(), row(channel, index), step(), width);
}

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
    const OwnBlurWindow window = {nRows, nCols, anchorX, anchorY, ownBlurScale(count)};
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
            blurPiece({window, srcImage, src.x - anchorX, src.y - anchorY, dstImage, dst.x, dst.y,
                       dst.height, dst.width},
                      dst);
        else if (padded.fetch(window, srcImage, src.x, src.y, dst.height, dst.width))
            blurPiece({window, padded.image(), 0, 0, dstImage, dst.x, dst.y, dst.height, dst.width},
                      dst);
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
