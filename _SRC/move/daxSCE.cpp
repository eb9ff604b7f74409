// Copy, set and exchange: the three data movers. Tiles are moved by the same functions, called
// again with plain headers of the tiles.

#include "frame/call.h"
#include "frame/depth.h"
#include "frame/movers.h"
#include "frame/planeview.h"
#include "frame/planewalk.h"

namespace {

constexpr OwnCall copyCall = {"daxCopy", "daxSCE"};
constexpr OwnCall setCall = {"daxSet", "daxSCE"};
constexpr OwnCall exchangeCall = {"daxExchange", "daxSCE"};

// The rows of one view, and of another beside it, as runs: whole rows of samples, or one sample in
// every pixel.
struct Runs {
    ptrdiff_t sample; // bytes; 0 for bits
    ptrdiff_t count;  // samples of a run
    ptrdiff_t rows;
    ptrdiff_t planes;
    bool whole;
};

Runs runsOf(const DaxImage* image, const DaxPlaneView& view, bool whole) {
    Runs runs = {ownDepthBits(image->depth) / 8, view.viewWidth, view.viewHeight, 1, whole};
    if (whole && image->dataOrder == DAX_DATA_PIXEL) runs.count *= image->nChannels;
    if (whole && image->dataOrder != DAX_DATA_PIXEL) runs.planes = view.pixelStep;
    return runs;
}

// Rows that follow each other without a gap are one run, and so are planes.
void join(Runs* runs, const DaxPlaneView& a, const DaxPlaneView& b) {
    const auto follow = [&](ptrdiff_t stepA, ptrdiff_t stepB) {
        return runs->count * runs->sample == stepA && stepA == stepB;
    };
    if (!runs->whole || runs->sample == 0 || !follow(a.rowStep, b.rowStep)) return;
    runs->count *= runs->rows;
    runs->rows = 1;
    if (!follow(a.planeStep, b.planeStep)) return;
    runs->count *= runs->planes;
    runs->planes = 1;
}

// Calls `run(a, b)` with the addresses of each run.
template <class Run>
void eachRun(const Runs& runs, const DaxPlaneView& a, const DaxPlaneView& b, Run run) {
    for (ptrdiff_t plane = 0; plane < runs.planes; ++plane)
        for (ptrdiff_t row = 0; row < runs.rows; ++row)
            run(a.rowStart + plane * a.planeStep + row * a.rowStep,
                b.rowStart + plane * b.planeStep + row * b.rowStep);
}

// Bits that fill whole bytes of both images are samples of a byte.
void takeBytes(Runs* runs, DaxPlaneView* a, ptrdiff_t bitA, DaxPlaneView* b, ptrdiff_t bitB) {
    if (runs->sample != 0 || (bitA | bitB | runs->count) % 8 != 0) return;
    runs->sample = 1;
    runs->count /= 8;
    a->rowStart += bitA / 8;
    b->rowStart += bitB / 8;
}

// The rectangle that two plain images share; false when there is none, or their channels don't pair
// up.
bool pairRuns(const DaxImage* a, const DaxImage* b, DaxPlaneView* viewA, DaxPlaneView* viewB,
              Runs* runs) {
    ownPlaneView(a, viewA);
    ownPlaneView(b, viewB);
    // A reporter that clears the status lets images through that don't fit.
    if (a->depth != b->depth || a->dataOrder != b->dataOrder) return false;
    if (!ownDepthKnown(a->depth) || viewA->pixelStep != viewB->pixelStep) return false;
    if (viewB->viewHeight < viewA->viewHeight) viewA->viewHeight = viewB->viewHeight;
    if (viewB->viewWidth < viewA->viewWidth) viewA->viewWidth = viewB->viewWidth;
    const bool whole = a->dataOrder != DAX_DATA_PIXEL ||
                       (a->nChannels == b->nChannels && a->nChannels == viewA->pixelStep);
    *runs = runsOf(a, *viewA, whole);
    takeBytes(runs, viewA, ownRoiX(a), viewB, ownRoiX(b));
    join(runs, *viewA, *viewB);
    return viewA->viewHeight > 0 && viewA->viewWidth > 0;
}

void copyPlain(const DaxImage* srcImage, const DaxImage* dstImage) {
    DaxPlaneView src;
    DaxPlaneView dst;
    Runs runs;
    if (!pairRuns(srcImage, dstImage, &src, &dst, &runs)) return;
    if (runs.sample == 0) {
        ownMoveBitRows(false, src.rowStart, ownRoiX(srcImage), src.rowStep, dst.rowStart,
                       ownRoiX(dstImage), dst.rowStep, runs.count, runs.rows);
    } else if (runs.whole) {
        eachRun(runs, src, dst, [&](const char* from, char* to) {
            ownCopyRow(from, to, runs.count * runs.sample);
        });
    } else {
        const auto copy = ownStridedMovers(runs.sample).copy;
        eachRun(runs, src, dst, [&](const char* from, char* to) {
            copy(from, runs.sample * srcImage->nChannels, to, runs.sample * dstImage->nChannels,
                 runs.count);
        });
    }
}

// By way of a block, or bit by bit where the runs share bytes, so that they come out in order.
void swapBits(char* a, ptrdiff_t bitA, char* b, ptrdiff_t bitB, ptrdiff_t count) {
    const ptrdiff_t bytes = count / 8 + 2;
    char* const firstA = a + (bitA >> 3);
    char* const firstB = b + (bitB >> 3);
    if (firstA + bytes <= firstB || firstB + bytes <= firstA) {
        char block[512];
        while (count > 0) {
            constexpr ptrdiff_t most = sizeof block * 8;
            const ptrdiff_t share = count < most ? count : most;
            ownCopyBits(a, bitA, block, 0, share);
            ownCopyBits(b, bitB, a, bitA, share);
            ownCopyBits(block, 0, b, bitB, share);
            bitA += share;
            bitB += share;
            count -= share;
        }
        return;
    }
    for (ptrdiff_t i = 0; i < count; ++i) {
        const bool kept = ownGetBit(a, bitA + i);
        ownPutBit(a, bitA + i, ownGetBit(b, bitB + i));
        ownPutBit(b, bitB + i, kept);
    }
}

void swapPlain(const DaxImage* srcImage, const DaxImage* dstImage) {
    DaxPlaneView src;
    DaxPlaneView dst;
    Runs runs;
    if (!pairRuns(srcImage, dstImage, &src, &dst, &runs)) return;
    if (runs.sample == 0) {
        eachRun(runs, src, dst, [&](char* a, char* b) {
            swapBits(a, ownRoiX(srcImage), b, ownRoiX(dstImage), runs.count);
        });
    } else if (runs.whole) {
        eachRun(runs, src, dst,
                [&](char* a, char* b) { ownSwapRows(a, b, runs.count * runs.sample); });
    } else {
        const auto swap = ownStridedMovers(runs.sample).swap;
        eachRun(runs, src, dst, [&](char* a, char* b) {
            swap(a, runs.sample * srcImage->nChannels, b, runs.sample * dstImage->nChannels,
                 runs.count);
        });
    }
}

int32_t clampedTo(int32_t depth, int32_t value) {
    int32_t least = INT32_MIN;
    int32_t most = INT32_MAX;
    switch (depth) {
    case DAX_DEPTH_1U:
        least = 0;
        most = 1;
        break;
    case DAX_DEPTH_8U:
        least = 0;
        most = UINT8_MAX;
        break;
    case DAX_DEPTH_8S:
        least = INT8_MIN;
        most = INT8_MAX;
        break;
    case DAX_DEPTH_16U:
        least = 0;
        most = UINT16_MAX;
        break;
    case DAX_DEPTH_16S:
        least = INT16_MIN;
        most = INT16_MAX;
        break;
    default: break;
    }
    return value < least ? least : value > most ? most : value;
}

void setPlain(const DaxImage* dstImage, int32_t fillValue) {
    DaxPlaneView dst;
    ownPlaneView(dstImage, &dst);
    if (!ownDepthKnown(dstImage->depth) || dst.viewHeight <= 0 || dst.viewWidth <= 0) return;
    const bool whole =
        dstImage->dataOrder != DAX_DATA_PIXEL || dstImage->nChannels == dst.pixelStep;
    Runs runs = runsOf(dstImage, dst, whole);
    DaxPlaneView same = dst;
    takeBytes(&runs, &dst, ownRoiX(dstImage), &same, ownRoiX(dstImage));
    join(&runs, dst, dst);
    const auto value = static_cast<uint32_t>(clampedTo(dstImage->depth, fillValue));
    const uint32_t bits = value != 0 ? 0xFF : 0;
    if (runs.sample == 0) {
        ownFillBitRows(value != 0, dst.rowStart, ownRoiX(dstImage), dst.rowStep, runs.count,
                       runs.rows);
        return;
    }
    eachRun(runs, dst, dst, [&](char* at, char*) {
        if (dstImage->depth == DAX_DEPTH_1U)
            ownFillRow8(bits, at, runs.count);
        else if (whole)
            ownFillRow(runs.sample, value, at, runs.count);
        else
            ownStridedMovers(runs.sample)
                .fill(value, at, runs.sample * dstImage->nChannels, runs.count);
    });
}

} // namespace

void daxCopy(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    if (!copyCall.sound(srcImage)) return;
    if (!copyCall.sound(dstImage)) return;
    ownCheckCompatible(srcImage, dstImage, copyCall.funcName, copyCall.module, __builtin_LINE());
    if (daxGetErrStatus() < 0) return;
    if (srcImage->tileInfo != nullptr && dstImage->tileInfo != nullptr) {
        ownWalkBothTiled(copyCall, srcImage, dstImage, tilePos,
                         [](DaxImage* tile, DaxImage* rectangle, const DaxROI&) {
                             daxCopy(rectangle, tile, nullptr);
                         });
    } else if (srcImage->tileInfo != nullptr) {
        // This walk is never narrowed.
        ownWalkOneTiled(copyCall, srcImage, dstImage, {DAX_TILE_READ, ownReadFailure, nullptr},
                        [](DaxImage* tile, DaxImage* plain) { daxCopy(tile, plain, nullptr); });
    } else if (dstImage->tileInfo != nullptr) {
        ownWalkOneTiled(copyCall, dstImage, srcImage, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                        [](DaxImage* tile, DaxImage* plain) { daxCopy(plain, tile, nullptr); });
    } else {
        copyPlain(srcImage, dstImage);
    }
}

void daxSet(DaxImage* dstImage, int32_t fillValue, const int32_t* tilePos) {
    if (!setCall.sound(dstImage)) return;
    if (dstImage->tileInfo == nullptr) {
        setPlain(dstImage, fillValue);
        return;
    }
    ownWalkSelfTiled(setCall, dstImage, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                     [fillValue](DaxImage* tile) { daxSet(tile, fillValue, nullptr); });
}

void daxExchange(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    if (!exchangeCall.sound(srcImage)) return;
    if (!exchangeCall.sound(dstImage)) return;
    ownCheckCompatible(srcImage, dstImage, exchangeCall.funcName, exchangeCall.module,
                       __builtin_LINE());
    if (daxGetErrStatus() < 0) return;
    if (srcImage->tileInfo != nullptr && dstImage->tileInfo != nullptr) {
        ownWalkBothTiled(exchangeCall, srcImage, dstImage, tilePos,
                         [srcImage](DaxImage* tile, DaxImage* snapshot, const DaxROI& place) {
                             DaxROI* const callersRoi = srcImage->roi;
                             DaxROI* const tileRoi = tile->roi;
                             DaxROI roi = place;
                             srcImage->roi = &roi;
                             daxCopy(tile, srcImage, nullptr);
                             tile->roi = tileRoi; // a walk that fails doesn't put it back
                             daxCopy(snapshot, tile, nullptr);
                             srcImage->roi = callersRoi;
                         });
    } else if (srcImage->tileInfo != nullptr) {
        // The source is written, too; a tile of it that can't be had is reported as one to read all
        // the same.
        ownWalkOneTiled(exchangeCall, srcImage, dstImage, {DAX_TILE_WRITE, ownReadFailure, nullptr},
                        [](DaxImage* tile, DaxImage* plain) { daxExchange(tile, plain, nullptr); });
    } else if (dstImage->tileInfo != nullptr) {
        ownWalkOneTiled(exchangeCall, dstImage, srcImage,
                        {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                        [](DaxImage* tile, DaxImage* plain) { daxExchange(plain, tile, nullptr); });
    } else {
        swapPlain(srcImage, dstImage);
    }
}
