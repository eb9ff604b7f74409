// The rank filters: the largest, smallest or middle value of a window. The engine cuts the region
// into blocks whose windows lie in plain memory, in the image's own or in a copy with its
// surroundings; a block routine does the rest.

#include "filter/rank.h"
#include "frame/border.h"
#include "frame/call.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/ownrect.h"

#include <cstring>

namespace {

struct Operation {
    bool (*block)(const OwnRankBlock& block);
    // Whether the routine takes blocks with margins.
    bool (*margins)(int32_t depth, int32_t nRows, int32_t nCols);
};

struct Window {
    int32_t nRows;
    int32_t nCols;
    int32_t anchorX;
    int32_t anchorY;
};

// A rectangle in two images at once: where it starts in each.
struct Piece {
    int32_t srcX;
    int32_t srcY;
    int32_t dstX;
    int32_t dstY;
    int32_t height;
    int32_t width;

    Piece cut(int32_t left, int32_t top, int32_t cutHeight, int32_t cutWidth) const {
        return {srcX + left, srcY + top, dstX + left, dstY + top, cutHeight, cutWidth};
    }
};

// Memory in the layout of the destination: its own, or a tile's.
struct Target {
    char* data;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
};

int32_t coiOf(const DaxImage* image) { return image->roi != nullptr ? image->roi->coi : 0; }

int32_t between(int64_t value, int32_t most) {
    return value < 0 ? 0 : value > most ? most : static_cast<int32_t>(value);
}

// In pixel order the destination's channel count is the step in the source, too. A source with
// another count is read by that step through a copy, and past the end of its memory its last sample
// stands for what isn't there.
bool runBySteps(OwnRankBlock block, const Operation& operation) {
    const ptrdiff_t sample = ownSampleBytes(block.depth);
    const ptrdiff_t rowCells = block.sourceCols() * block.nChannels;
    const ptrdiff_t last = block.srcBytes - sample;
    OwnBuffer<char> copy(block.sourceRows() * rowCells * sample);
    if (!copy) return false;
    for (ptrdiff_t y = 0; y < block.sourceRows(); ++y) {
        const ptrdiff_t row =
            (block.srcY + y) * block.srcRowStep + ptrdiff_t{block.srcX} * block.nChannels * sample;
        for (ptrdiff_t i = 0; i < rowCells; ++i) {
            const ptrdiff_t at = row + i * sample;
            memcpy(copy.get() + (y * rowCells + i) * sample, block.src + (at < last ? at : last),
                   static_cast<size_t>(sample));
        }
    }
    block.src = copy.get();
    block.srcBytes = block.sourceRows() * rowCells * sample;
    block.srcRowStep = rowCells * sample;
    block.srcX = 0;
    block.srcY = 0;
    if (block.srcCoi > block.nChannels) block.srcCoi = block.nChannels;
    return operation.block(block);
}

class Engine {
public:
    Engine(DaxImage* srcImage, DaxImage* dstImage, const Window& theWindow,
           const Operation& theOperation)
        : src(srcImage), dst(dstImage), window(theWindow), operation(theOperation) {}

    void run(const DaxMapping* mapping) {
        Piece region;
        if (!regionOf(mapping, &region)) return;
        if (dst->tileInfo != nullptr)
            runOnTiles(region);
        else if (src->tileInfo != nullptr)
            runOnGrid(region);
        else
            runPlain(region, imageTarget());
    }

private:
    DaxImage* src;
    DaxImage* dst;
    Window window;
    const Operation& operation;

    Target imageTarget() const {
        const ptrdiff_t step = dst->widthStep;
        return {static_cast<char*>(dst->imageData), step, step * dst->height};
    }

    // What a call is to write, with the place in the source that its first pixel pairs with.
    bool regionOf(const DaxMapping* mapping, Piece* region) const {
        DaxRect from;
        DaxRect to;
        ownRoiRect(src, &from);
        ownRoiRect(dst, &to);
        if (mapping != nullptr && dst->tileInfo != nullptr && !cutToTile(*mapping, &to))
            return false;
        *region = {from.begX,
                   from.begY,
                   to.begX,
                   to.begY,
                   from.height < to.height ? from.height : to.height,
                   from.width < to.width ? from.width : to.width};
        return region->height > 0 && region->width > 0;
    }

    // The first two tests that a region misses its tile take height for width, and the others width
    // for height; the results of the library depend on it.
    bool cutToTile(const DaxMapping& mapping, DaxRect* to) const {
        const DaxTileInfo* tiles = dst->tileInfo;
        const int64_t left = int64_t{mapping.xDst / tiles->width} * tiles->width;
        const int64_t top = int64_t{mapping.yDst / tiles->height} * tiles->height;
        const int64_t right = left + tiles->width;
        const int64_t bottom = top + tiles->height;
        if (right <= to->begX || int64_t{to->begX} + to->height <= left) return false;
        if (bottom <= to->begY || int64_t{to->begY} + to->width <= top) return false;
        const auto cut = [](int64_t least, int64_t most, int32_t* offset, int32_t* size) {
            const int64_t first = *offset > least ? *offset : least;
            const int64_t end = int64_t{*offset} + *size < most ? int64_t{*offset} + *size : most;
            *offset = static_cast<int32_t>(first);
            *size = end > first ? static_cast<int32_t>(end - first) : 0;
        };
        cut(left, right, &to->begX, &to->width);
        cut(top, bottom, &to->begY, &to->height);
        return true;
    }

    bool runBlock(OwnRankBlock block, const Piece& piece, const Target& to) {
        block.srcCoi = coiOf(src);
        block.srcChannels = src->nChannels;
        block.dst = to.data;
        block.dstRowStep = to.rowStep;
        block.dstPlaneStep = to.planeStep;
        block.dstX = piece.dstX;
        block.dstY = piece.dstY;
        block.dstCoi = coiOf(dst);
        block.height = piece.height;
        block.width = piece.width;
        block.nRows = window.nRows;
        block.nCols = window.nCols;
        block.nChannels = dst->nChannels;
        block.depth = dst->depth;
        block.dataOrder = dst->dataOrder;
        return bySteps() ? runBySteps(block, operation) : operation.block(block);
    }

    bool bySteps() const {
        return dst->dataOrder == DAX_DATA_PIXEL && src->nChannels != dst->nChannels;
    }

    // The memory of a plain image, with the place of a piece's first window.
    OwnRankBlock blockInImage(const Piece& piece) const {
        OwnRankBlock block = {};
        block.src = static_cast<const char*>(src->imageData);
        block.srcRowStep = src->widthStep;
        block.srcPlaneStep = block.srcRowStep * src->height;
        block.srcBytes =
            block.srcPlaneStep * (src->dataOrder == DAX_DATA_PIXEL ? 1 : src->nChannels);
        block.srcX = piece.srcX - window.anchorX;
        block.srcY = piece.srcY - window.anchorY;
        return block;
    }

    bool runInImage(const Piece& piece, const Target& to) {
        return runBlock(blockInImage(piece), piece, to);
    }

    // The same where windows reach past the image's left or right edge: the columns beyond it go
    // beside the rows.
    bool runBetweenMargins(const Piece& piece, const Target& to) {
        OwnRankBlock block = blockInImage(piece);
        const int64_t end = int64_t{block.srcX} + piece.width + window.nCols - 1;
        const int64_t height = int64_t{piece.height} + window.nRows - 1;
        const int64_t before = block.srcX < 0 ? -int64_t{block.srcX} : 0;
        const int64_t after = end > src->width ? end - src->width : 0;
        OwnBuffer<char> left;
        OwnBuffer<char> right;
        const auto fetchMargin = [&](int32_t x, int64_t width, OwnBuffer<char>* copy,
                                     OwnRankMargin* margin) {
            int32_t step = 0;
            if (width == 0) return true;
            if (width > INT32_MAX) return false;
            copy->reset(ownBorderRect(src, x, block.srcY, static_cast<int32_t>(width),
                                      static_cast<int32_t>(height), &step));
            *margin = {copy->get(), step, step * static_cast<ptrdiff_t>(height),
                       static_cast<int32_t>(width)};
            return copy->get() != nullptr;
        };
        if (!fetchMargin(block.srcX, before, &left, &block.left)) return false;
        if (!fetchMargin(src->width, after, &right, &block.right)) return false;
        if (block.srcX < 0) block.srcX = 0;
        return runBlock(block, piece, to);
    }

    // Whether what is written can't be read.
    bool apart(const Piece& piece, const Target& to) const {
        const OwnRankBlock block = blockInImage(piece);
        const bool planes = dst->dataOrder != DAX_DATA_PIXEL;
        const char* first = to.data + piece.dstY * to.rowStep;
        const char* end = to.data + (ptrdiff_t{piece.dstY} + piece.height) * to.rowStep +
                          (planes ? (dst->nChannels - 1) * to.planeStep : 0);
        return end <= block.src || block.src + block.srcBytes <= first;
    }

    // The source with its surroundings; null when it can't be had.
    char* fetch(const Piece& piece, int32_t* step) const {
        const int64_t height = int64_t{piece.height} + window.nRows - 1;
        const int64_t width = int64_t{piece.width} + window.nCols - 1;
        if (height > INT32_MAX || width > INT32_MAX) return nullptr;
        return ownBorderRect(src, piece.srcX - window.anchorX, piece.srcY - window.anchorY,
                             static_cast<int32_t>(width), static_cast<int32_t>(height), step);
    }

    bool runOnCopy(const Piece& piece, const Target& to) {
        int32_t step = 0;
        OwnBuffer<char> copy;
        copy.reset(fetch(piece, &step));
        if (!copy) return false;
        OwnRankBlock block = {};
        block.src = copy.get();
        block.srcRowStep = step;
        block.srcPlaneStep = block.srcRowStep * (ptrdiff_t{piece.height} + window.nRows - 1);
        block.srcBytes =
            block.srcPlaneStep * (src->dataOrder == DAX_DATA_PIXEL ? 1 : src->nChannels);
        return runBlock(block, piece, to);
    }

    // The source has its pixels in one block. Rows whose windows leave it go by copies, and so do
    // columns; but where nothing that is written is read again, rows may have margins instead,
    // since a block of few columns costs as much as a wide one.
    bool runPlain(Piece piece, const Target& to) {
        if (apart(piece, to) && !bySteps() &&
            operation.margins(dst->depth, window.nRows, window.nCols))
            return runRows(piece, to, &Engine::runBetweenMargins);
        const int32_t left = between(int64_t{window.anchorX} - piece.srcX, piece.width);
        if (left > 0 && !runOnCopy(piece.cut(0, 0, piece.height, left), to)) return false;
        piece = piece.cut(left, 0, piece.height, piece.width - left);
        const int64_t pastRight =
            int64_t{window.nCols} + piece.srcX + piece.width - window.anchorX - src->width - 1;
        const int32_t right = between(pastRight, piece.width);
        piece.width -= right;
        if (right > 0 && !runOnCopy(piece.cut(piece.width, 0, piece.height, right), to))
            return false;
        return piece.width == 0 || runRows(piece, to, &Engine::runInImage);
    }

    bool runRows(Piece piece, const Target& to,
                 bool (Engine::*runInside)(const Piece&, const Target&)) {
        const int32_t top = between(int64_t{window.anchorY} - piece.srcY, piece.height);
        if (top > 0 && !runOnCopy(piece.cut(0, 0, top, piece.width), to)) return false;
        piece = piece.cut(0, top, piece.height - top, piece.width);
        const int64_t pastBottom =
            int64_t{window.nRows} + piece.srcY + piece.height - window.anchorY - src->height - 1;
        const int32_t bottom = between(pastBottom, piece.height);
        piece.height -= bottom;
        if (bottom > 0 && !runOnCopy(piece.cut(0, piece.height, bottom, piece.width), to))
            return false;
        return piece.height == 0 || (this->*runInside)(piece, to);
    }

    void runOnGrid(const Piece& region) {
        const int32_t tileHeight = src->tileInfo->height;
        const int32_t tileWidth = src->tileInfo->width;
        for (int32_t y = 0; y < region.height;) {
            const int32_t height = between(region.height - y, tileHeight);
            for (int32_t x = 0; x < region.width;) {
                const int32_t width = between(region.width - x, tileWidth);
                if (!runOnCopy(region.cut(x, y, height, width), imageTarget())) return;
                x += width;
            }
            y += height;
        }
    }

    void runOnTiles(const Piece& region) {
        const int32_t tileHeight = dst->tileInfo->height;
        const int32_t tileWidth = dst->tileInfo->width;
        const ptrdiff_t rowStep = ownTileRowStep(dst);
        OwnTile tile(dst);
        for (int32_t y = 0; y < region.height;) {
            const int32_t row = (region.dstY + y) / tileHeight;
            const int32_t inTileY = region.dstY + y - row * tileHeight;
            const int32_t height = between(region.height - y, tileHeight - inTileY);
            for (int32_t x = 0; x < region.width;) {
                const int32_t col = (region.dstX + x) / tileWidth;
                const int32_t inTileX = region.dstX + x - col * tileWidth;
                const int32_t width = between(region.width - x, tileWidth - inTileX);
                Piece piece = region.cut(x, y, height, width);
                piece.dstX = inTileX;
                piece.dstY = inTileY;
                if (!tile.request(col, row, DAX_TILE_WRITE)) return;
                const Target to = {static_cast<char*>(tile.data()), rowStep, rowStep * tileHeight};
                const bool done =
                    src->tileInfo != nullptr ? runOnCopy(piece, to) : runPlain(piece, to);
                tile.release();
                if (!done) return;
                x += width;
            }
            y += height;
        }
    }
};

void filter(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, const Window& window,
            const DaxMapping* mapping, const Operation& operation) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    const auto [nRows, nCols, anchorX, anchorY] = window;
    if (call.rejects(anchorX >= nCols || anchorX < 0, "(anchorX>=nCols)||(anchorX<0)")) return;
    if (call.rejects(anchorY >= nRows || anchorY < 0, "(anchorY>=nRows)||(anchorY<0)")) return;
    if (call.rejects(srcImage->depth != dstImage->depth, "srcImage->depth!=dstImage->depth"))
        return;
    if (call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                     "srcImage->dataOrder!=dstImage->dataOrder"))
        return;
    call.rejects(coiOf(srcImage) > srcImage->nChannels,
                 "Interst Channel of input Image more number of channels.");
    call.rejects(coiOf(dstImage) > dstImage->nChannels,
                 "Interst Channel of output Image more number of channels.");
    call.rejects(ownWorkingChannels(srcImage) != ownWorkingChannels(dstImage),
                 "Number of interset channel input and output Image is not equal.");
    if (daxGetErrStatus() < 0) return;
    Engine(srcImage, dstImage, window, operation).run(mapping);
}

constexpr Operation largest = {
    [](const OwnRankBlock& block) { return ownExtremeBlock(block, OwnExtreme::largest); },
    [](int32_t, int32_t, int32_t) { return true; }};
constexpr Operation smallest = {
    [](const OwnRankBlock& block) { return ownExtremeBlock(block, OwnExtreme::smallest); },
    [](int32_t, int32_t, int32_t) { return true; }};
constexpr Operation middle = {ownMedianBlock, ownMedianTakesMargins};

} // namespace

void daxMaxFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                  int32_t anchorX, int32_t anchorY, const DaxMapping* mapping) {
    filter({"daxMaxFilter", "daxnlf"}, srcImage, dstImage, {nRows, nCols, anchorX, anchorY},
           mapping, largest);
}

void daxMinFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                  int32_t anchorX, int32_t anchorY, const DaxMapping* mapping) {
    filter({"daxMinFilter", "daxnlf"}, srcImage, dstImage, {nRows, nCols, anchorX, anchorY},
           mapping, smallest);
}

void daxMedianFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                     int32_t anchorX, int32_t anchorY, const DaxMapping* mapping) {
    filter({"daxMedianFilter", "daxnlf"}, srcImage, dstImage, {nRows, nCols, anchorX, anchorY},
           mapping, middle);
}
