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
    windows = {ownRows<OwnPick>().widest(), 0, 0, first, order};
    if (form.end < windows.width) windows.width = 16;
    if (ownRows<OwnPick>().widest() == 0 || form.end < windows.width) return;
    if (!findWindows()) windows.count = 0;
}

bool OwnPicks::findWindows() {
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

void OwnPicks::run(const char* src, char* dst, ptrdiff_t rowStep, ptrdiff_t rows) const {
    const auto& kernels = ownRows<OwnPick>();
    if (windows.count != 0) {
        kernels.bytes(src, windows, dst, rowStep, rows, placeCount * form.stepDst);
        return;
    }
    const ptrdiff_t pixel = form.samples * form.bytes;
    for (ptrdiff_t row = 0; row < rows; ++row, dst += rowStep) {
        if (row > 0 && form.stepDst == pixel) {
            ownCopyRow(dst - rowStep, dst, placeCount * pixel);
        } else {
            kernels.pixels[form.bytes - 1](src, places, dst, form.stepDst, form.samples,
                                           placeCount);
        }
    }
}
