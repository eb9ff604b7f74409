// Histograms, and the tone curves that are made from them or by hand.

#include "tone/daxHist.h"

#include "frame/call.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/planeview.h"
#include "frame/planewalk.h"
#include "tone/curve.h"

#include <cstring>

namespace {

// The first record of the array that a call works with.
int32_t firstLut(const DaxImage* image) {
    const int32_t coi = ownCoi(image);
    return coi != 0 ? coi - 1 : 0;
}

bool keysRise(const DaxLUT& lut) {
    for (int32_t i = 0; i + 1 < lut.num; ++i)
        if (lut.key[i] > lut.key[i + 1]) return false;
    return true;
}

// What is wrong with a record, or null.
const char* lutFault(const DaxLUT* lut, int32_t histSize) {
    if (lut == nullptr) return "lut[k]==0";
    if (lut->key == nullptr) return "lut[k]->key==0";
    if (lut->value == nullptr) return "lut[k]->value==0";
    if (lut->num < 2) return "lut[k]->num < 2";
    if (lut->key[0] < 0) return "lut[k]->key[0] < 0";
    if (lut->key[lut->num - 1] > histSize) return "lut[k]->key[lut[k]->num-1] > histSize";
    if (!keysRise(*lut)) return "lut[k]->key[i] > lut[k]->key[i+1]";
    return nullptr;
}

bool lutsSound(const OwnCall& call, const DaxImage* image, DaxLUT* const* lut) {
    const int32_t first = firstLut(image);
    for (int32_t k = first; k < first + ownWorkingChannels(image); ++k) {
        const char* fault = lutFault(lut[k], ownHistSize(image->depth));
        if (call.rejects(fault != nullptr, fault)) return false;
    }
    return true;
}

// The checks of the two functions that map.
bool mapsSoundly(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut) {
    if (!call.sound(srcImage)) return false;
    if (!call.sound(dstImage)) return false;
    ownCheckCompatible(srcImage, dstImage, call.funcName, call.module, __builtin_LINE());
    const bool otherDepth =
        call.rejects(srcImage->depth != DAX_DEPTH_8U && srcImage->depth != DAX_DEPTH_16U,
                     "srcImage->depth != DAX_DEPTH_8U && srcImage->depth != DAX_DEPTH_16U");
    const bool noLut = call.rejects(lut == nullptr, "lut==0");
    // A reporter may have cleared the status.
    if (daxGetErrStatus() < 0 || otherDepth || noLut) return false;
    return ownWorkingChannels(srcImage) == ownWorkingChannels(dstImage) &&
           lutsSound(call, srcImage, lut);
}

void reportMemory(const OwnCall& call, int32_t line = __builtin_LINE()) {
    call.report(DAX_StatusOutOfMemory, "", line);
}

// True when the map went well.
bool mapTables(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, const void* tables,
               const int32_t* tilePos) {
    daxMap(srcImage, dstImage, tables, tilePos);
    if (daxGetErrStatus() >= 0) return true;
    call.report(DAX_StatusBacktrace, "");
    return false;
}

template <class T>
void stretch(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
             const int32_t* tilePos) {
    constexpr int32_t size = ownTableSize<T>;
    const int32_t channels = ownWorkingChannels(srcImage);
    const OwnBuffer<T> tables(int64_t{channels} * size);
    if (!tables) return reportMemory(call);
    // In 16 bits the first record counts, whichever one the channel of interest has.
    const int32_t first = sizeof(T) == 1 ? firstLut(srcImage) : 0;
    for (int32_t k = 0; k < channels; ++k) {
        // That one hasn't been checked: whatever a table can be made of will do.
        const DaxLUT* const curve = lut[first + k];
        if (curve == nullptr || curve->key == nullptr || curve->value == nullptr ||
            curve->num < 1 || curve->key[0] < 0)
            return;
        ownStretchTable(*curve, tables.get() + ptrdiff_t{k} * size);
    }
    mapTables(call, srcImage, dstImage, tables.get(), tilePos);
}

template <class T>
void equalize(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
              const int32_t* tilePos) {
    constexpr int32_t size = ownTableSize<T>;
    const int32_t channels = ownWorkingChannels(srcImage);
    const OwnBuffer<T> tables(int64_t{channels} * size);
    const OwnBuffer<uint32_t> cells(int64_t{channels} * size);
    const OwnBuffer<uint32_t> counters(size);
    if (!tables || !cells || !counters) return reportMemory(call);
    for (int32_t k = 0; k < channels; ++k) {
        uint32_t* const sums = cells.get() + ptrdiff_t{k} * size;
        ownSpreadCounts(*lut[firstLut(srcImage) + k], sums, size);
        if (!ownEqualizingTable(sums, tables.get() + ptrdiff_t{k} * size)) {
            call.report(DAX_StatusInternalError, "All values in histogram are zeroes");
            return;
        }
    }
    const int32_t first = firstLut(dstImage);
    if (!mapTables(call, srcImage, dstImage, tables.get(), tilePos)) return;
    for (int32_t k = 0; k < channels; ++k) {
        // The destination's records haven't been checked.
        const DaxLUT* to = lut[first + k];
        if (to == nullptr || to->key == nullptr || to->value == nullptr) continue;
        memset(counters.get(), 0, size * sizeof(uint32_t));
        ownEqualizedCounts(cells.get() + ptrdiff_t{k} * size, tables.get() + ptrdiff_t{k} * size,
                           counters.get());
        ownCountIntervals(counters.get(), size, *to);
    }
}

} // namespace

void daxComputeHisto(DaxImage* srcImage, DaxLUT* const* lut, const int32_t* tilePos) {
    const OwnCall call{"daxComputeHisto", "daxHist"};
    if (!call.sound(srcImage)) return;
    const bool noLut = call.rejects(lut == nullptr, "lut==0");
    const bool isSigned =
        call.rejects((srcImage->depth & DAX_DEPTH_SIGN) != 0, "srcImage->depth & DAX_DEPTH_SIGN");
    // A reporter may have cleared the status.
    if (daxGetErrStatus() < 0 || noLut || isSigned) return;
    if (!lutsSound(call, srcImage, lut)) return;
    const int32_t histSize = ownHistSize(srcImage->depth);
    const int32_t channels = ownWorkingChannels(srcImage);
    const int64_t cells = int64_t{channels} * histSize;
    const OwnBuffer<uint32_t> counters(cells);
    if (!counters) return reportMemory(call);
    memset(counters.get(), 0, static_cast<size_t>(cells) * sizeof(uint32_t));
    if (srcImage->tileInfo == nullptr) {
        ownCountSamples(srcImage, counters.get());
    } else {
        const auto count = [&counters](DaxImage* tile) { ownCountSamples(tile, counters.get()); };
        if (!ownWalkSelfTiled(call, srcImage, {DAX_TILE_READ, ownReadFailure, tilePos}, count))
            return;
    }
    for (int32_t k = 0; k < channels; ++k) {
        DaxLUT* const to = lut[firstLut(srcImage) + k];
        ownCountIntervals(counters.get() + ptrdiff_t{k} * histSize, histSize, *to);
        to->interpolated = 0;
    }
}

void daxContrastStretch(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                        const int32_t* tilePos) {
    const OwnCall call{"daxContrastStretch", "daxHist"};
    if (!mapsSoundly(call, srcImage, dstImage, lut)) return;
    if (srcImage->depth == DAX_DEPTH_8U)
        stretch<uint8_t>(call, srcImage, dstImage, lut, tilePos);
    else
        stretch<uint16_t>(call, srcImage, dstImage, lut, tilePos);
}

void daxHistoEqualize(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                      const int32_t* tilePos) {
    const OwnCall call{"daxHistoEqualize", "daxHist"};
    if (!mapsSoundly(call, srcImage, dstImage, lut)) return;
    if (srcImage->depth == DAX_DEPTH_8U)
        equalize<uint8_t>(call, srcImage, dstImage, lut, tilePos);
    else
        equalize<uint16_t>(call, srcImage, dstImage, lut, tilePos);
}
