#include "geometry/picks.h"

#include "frame/kernels.h"
#include "frame/movers.h"

#include <cstring>

namespace {

constexpr int32_t taken = INT32_MAX; // in place of a place that a window has

int32_t least(const int32_t* places, ptrdiff_t count) {
    int32_t result = taken;
    for (ptrdiff_t i = 0; i < count; ++i) result = places[i] < result ? places[i] : result;
    return result;
}

} // namespace

void OwnPicks::set(const OwnPickForm& theForm, const int32_t* at, ptrdiff_t count) {
    form = theForm;
    places = at;
    placeCount = count;
    windows = {ownRows<OwnPick>().widest(), 0, 0, first, order, order + mostBits};
    if (form.end < windows.width) windows.width = 16;
    head = form.bytes != 0 || form.stepDst == 0 ? 0 : 8 - form.stepDst;
    if (head > count) head = count;
    if (ownRows<OwnPick>().widest() == 0 || form.end < windows.width) return;
    if (!(form.bytes == 0 ? findBitWindows() : findByteWindows())) windows.count = 0;
}

bool OwnPicks::findByteWindows() {
    const ptrdiff_t width = windows.width;
    const ptrdiff_t pixel = form.samples * form.bytes;
    if (form.stepDst != pixel || pixel > mostBytes || placeCount > mostBytes / pixel) return false;
    const ptrdiff_t total = placeCount * pixel;
    const auto lastFirst = static_cast<int32_t>(form.end - width);
    windows.steps = (total + width - 1) / width;
    ptrdiff_t column = 0;
    int32_t inPixel = 0;
    for (ptrdiff_t step = 0; step < windows.steps; ++step) {
        const ptrdiff_t n = total - step * width < width ? total - step * width : width;
        int32_t wanted[64];
        if (pixel == 1) {
            memcpy(wanted, places + step * width, static_cast<size_t>(n) * sizeof(int32_t));
        } else {
            for (ptrdiff_t i = 0; i < n; ++i) {
                wanted[i] = places[column] + inPixel;
                if (++inPixel < pixel) continue;
                inPixel = 0;
                ++column;
            }
        }
        ptrdiff_t window = 0;
        for (int32_t next = least(wanted, n); next != taken; next = least(wanted, n), ++window) {
            if (next < 0 || next >= form.end) return false;
            if (window == windows.count) {
                const ptrdiff_t layer = windows.steps * width;
                if ((window + 1) * layer > mostBytes) return false;
                memset(order + window * layer, 0x80, static_cast<size_t>(layer));
                memset(first + window * windows.steps, 0,
                       static_cast<size_t>(windows.steps) * sizeof first[0]);
                ++windows.count;
            }
            const int32_t start = next < lastFirst ? next : lastFirst;
            const ptrdiff_t at = window * windows.steps + step;
            first[at] = start;
            for (ptrdiff_t i = 0; i < n; ++i) {
                const int32_t place = wanted[i];
                const bool here = place < start + static_cast<int32_t>(width);
                order[at * width + i] = here ? static_cast<uint8_t>(place - start) : 0x80;
                wanted[i] = here ? taken : place;
            }
        }
    }
    return true;
}

// A single window to a step. The lowest bit of a step's number is the rightmost bit of its first
// byte.
bool OwnPicks::findBitWindows() {
    const ptrdiff_t count = placeCount - head;
    const ptrdiff_t width = windows.width;
    const ptrdiff_t stepBits = width == 64 ? 64 : 32;
    windows.steps = (count + stepBits - 1) / stepBits;
    windows.count = 1;
    if (windows.steps * stepBits > mostBits) return false;
    uint8_t* const masks = order + mostBits;
    for (ptrdiff_t step = 0; step < windows.steps; ++step) {
        const int32_t* at = places + head + step * stepBits;
        const ptrdiff_t rest = count - step * stepBits;
        const int32_t next = least(at, rest < stepBits ? rest : stepBits) >> 3;
        if (next < 0) return false;
        const int32_t start =
            next < form.end - width ? next : static_cast<int32_t>(form.end - width);
        first[step] = start;
        for (ptrdiff_t lane = 0; lane < stepBits; ++lane) {
            const ptrdiff_t bit = lane ^ 7;
            const bool there = bit < rest;
            const int32_t place = there ? (at[bit] >> 3) - start : 0;
            if (place < 0 || place >= width) return false;
            order[step * stepBits + lane] = static_cast<uint8_t>(place);
            masks[step * stepBits + lane] = static_cast<uint8_t>(there ? 0x80 >> (at[bit] & 7) : 0);
        }
    }
    return true;
}

void OwnPicks::run(const char* src, char* dst, ptrdiff_t rowStep, ptrdiff_t rows) const {
    const auto& kernels = ownRows<OwnPick>();
    if (form.bytes != 0 && windows.count != 0) {
        kernels.bytes(src, windows, dst, rowStep, rows, placeCount * form.stepDst);
        return;
    }
    const ptrdiff_t pixel = form.samples * form.bytes;
    for (ptrdiff_t row = 0; row < rows; ++row, dst += rowStep) {
        if (form.bytes == 0) {
            const auto phase = static_cast<int32_t>(form.stepDst);
            const ptrdiff_t single = windows.count != 0 ? head : placeCount;
            kernels.bitByBit(src, places, dst, phase, single);
            if (single < placeCount)
                kernels.bits(src, windows, dst + (phase + single) / 8, placeCount - single);
        } else if (row > 0 && form.stepDst == pixel) {
            ownCopyRow(dst - rowStep, dst, placeCount * pixel);
        } else {
            kernels.pixels[form.bytes - 1](src, places, dst, form.stepDst, form.samples,
                                           placeCount);
        }
    }
}
