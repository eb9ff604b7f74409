#include "filter/convkernel.h"
#include "filter/convolve.h"
#include "frame/border.h"
#include "frame/call.h"
#include "frame/memory.h"
#include "frame/ownrect.h"

namespace {

constexpr OwnCall call = {"daxConvolve2D", "daxcnv2d"};

enum class Outcome { done, incompatible, noMemory };

// A plain copy of a rectangle with its surroundings, from the window's first place on.
class Padded {
public:
    Padded(const DaxImage* image, const OwnConvolution& convolution)
        : header(*image), left(convolution.left), above(convolution.above),
          moreColumns(convolution.left + convolution.right - 1),
          moreRows(convolution.above + convolution.below - 1) {
        header.roi = nullptr;
        header.tileInfo = nullptr;
    }

    bool fetch(DaxImage* image, ptrdiff_t x, ptrdiff_t y, ptrdiff_t height, ptrdiff_t width) {
        if (height + moreRows > INT32_MAX || width + moreColumns > INT32_MAX) return false;
        header.height = static_cast<int32_t>(height + moreRows);
        header.width = static_cast<int32_t>(width + moreColumns);
        block.reset(ownBorderRect(image, static_cast<int32_t>(x - left),
                                  static_cast<int32_t>(y - above), header.width, header.height,
                                  &header.widthStep));
        header.imageData = block.get();
        return static_cast<bool>(block);
    }

    OwnPlace place() const { return {&header, left, above}; }

private:
    DaxImage header;
    OwnBuffer<char> block;
    const ptrdiff_t left;
    const ptrdiff_t above;
    const ptrdiff_t moreColumns;
    const ptrdiff_t moreRows;
};

// The part of a rectangle that lies in one tile, along one axis and in coordinates of the tile.
struct Share {
    ptrdiff_t from;
    ptrdiff_t size;
};

Share shareOf(ptrdiff_t from, ptrdiff_t size, ptrdiff_t tile, ptrdiff_t tileSize) {
    const ptrdiff_t begin = tile * tileSize;
    const ptrdiff_t first = from > begin ? from : begin;
    const ptrdiff_t end = from + size < begin + tileSize ? from + size : begin + tileSize;
    return {first - begin, end > first ? end - first : 0};
}

// Over the tiles of the destination, rows of them outermost. With a mapping it is one tile, and the
// source's place is that of the whole rectangle all the same.
struct TileWalk {
    const OwnConvolution& convolution;
    OwnPlace src;
    DaxImage* gathered; // the source, if each tile needs a copy of its own
    DaxImage* dstImage;
    DaxRect dst;
    const DaxMapping* mapping;

    Outcome run() {
        const DaxTileInfo* tiles = dstImage->tileInfo;
        ptrdiff_t firstCol = dst.begX / tiles->width;
        ptrdiff_t lastCol = (ptrdiff_t{dst.begX} + dst.width - 1) / tiles->width;
        ptrdiff_t firstRow = dst.begY / tiles->height;
        ptrdiff_t lastRow = (ptrdiff_t{dst.begY} + dst.height - 1) / tiles->height;
        if (mapping != nullptr) {
            firstCol = lastCol = mapping->xDst / tiles->width;
            firstRow = lastRow = mapping->yDst / tiles->height;
        }
        DaxImage header;
        ownTileHeader(dstImage, &header);
        OwnTile tile(dstImage);
        const ptrdiff_t firstX = src.x;
        for (ptrdiff_t row = firstRow; row <= lastRow; ++row) {
            const Share y = shareOf(dst.begY, dst.height, row, tiles->height);
            src.x = firstX;
            for (ptrdiff_t col = firstCol; col <= lastCol; ++col) {
                const Share x = shareOf(dst.begX, dst.width, col, tiles->width);
                if (!tile.request(col, row, DAX_TILE_WRITE)) return Outcome::done;
                header.imageData = tile.data();
                OwnPlace from = src;
                Padded rectangle(src.image, convolution);
                if (gathered != nullptr) {
                    if (!rectangle.fetch(gathered, src.x, src.y, tiles->height, tiles->width))
                        return Outcome::noMemory;
                    from = rectangle.place();
                }
                const bool done =
                    ownConvolve(convolution, from, {&header, x.from, y.from}, y.size, x.size);
                tile.release();
                if (!done) return Outcome::incompatible;
                src.x += x.size;
            }
            src.y += y.size;
        }
        return Outcome::done;
    }
};

Outcome convolve(const OwnConvolution& convolution, DaxImage* srcImage, DaxImage* dstImage,
                 const DaxMapping* mapping) {
    DaxRect src;
    DaxRect dst;
    ownRoiRect(srcImage, &src);
    ownRoiRect(dstImage, &dst);
    if (src.height < dst.height) dst.height = src.height;
    if (src.width < dst.width) dst.width = src.width;
    if (dst.height <= 0 || dst.width <= 0) return Outcome::done;

    const bool same = srcImage == dstImage;
    const bool srcTiled = srcImage->tileInfo != nullptr;
    const bool dstTiled = dstImage->tileInfo != nullptr;
    OwnPlace from = {srcImage, src.begX, src.begY};
    Padded copy(srcImage, convolution);
    if (same || (srcTiled && !dstTiled)) {
        if (!copy.fetch(srcImage, src.begX, src.begY, dst.height, dst.width))
            return Outcome::noMemory;
        from = copy.place();
    }
    if (dstTiled) {
        DaxImage* const gathered = srcTiled && !same ? srcImage : nullptr;
        return TileWalk{convolution, from, gathered, dstImage, dst, mapping}.run();
    }
    return ownConvolve(convolution, from, {dstImage, dst.begX, dst.begY}, dst.height, dst.width)
               ? Outcome::done
               : Outcome::incompatible;
}

} // namespace

// clang-format off
void daxConvolve2D(DaxImage* srcImage, DaxImage* dstImage, DaxConvKernel* const* kernel,
                   int32_t nKernels, int32_t combineMethod, const DaxMapping* mapping) {
    call.rejects(srcImage == nullptr, "srcImage==0");
    call.rejects(dstImage == nullptr, "dstImage==0");
    if (daxGetErrStatus() < 0) return;
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (call.rejects(kernel == nullptr, "kernel==0")) return;
    if (call.rejects(nKernels <= 0 || nKernels > 100, "(nKernels<=0 || nKernels>100)")) return;
    if (call.rejects(combineMethod < DAX_COMBINE_SUM || combineMethod > DAX_COMBINE_MIN, "( combineMethod != 0 && combineMethod != 1 && combineMethod != 2 && combineMethod != 3 && combineMethod != 4)")) return;
    for (int32_t i = 0; i < nKernels; ++i) {
        if (call.rejects(kernel[i] == nullptr, "kernel[i]==0")) return;
        if (call.rejects(ownBadKernel(kernel[i]), "ownBadKernel(kernel[i])")) return;
    }
    if (call.rejects(mapping != nullptr && (mapping->xDst < 0 || mapping->xDst > dstImage->width - 1 || mapping->yDst < 0 || mapping->yDst > dstImage->height - 1), "( mapping->xDst < 0 || mapping->xDst > dstImage->width-1 || mapping->yDst < 0 || mapping->yDst > dstImage->height-1)")) return;
    if (!ownConvolves(srcImage->depth, dstImage->depth)) return;
    const OwnConvolution convolution(kernel, nKernels, combineMethod);
    const Outcome outcome = convolve(convolution, srcImage, dstImage, mapping);
    if (outcome == Outcome::incompatible) call.report(DAX_StatusBadArgument, "Uncompatible images");
    if (outcome == Outcome::noMemory) call.report(DAX_StatusOutOfMemory, "Allocation failure");
}
// clang-format on
