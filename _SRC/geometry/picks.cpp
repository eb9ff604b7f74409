#include "geometry/picks.h"

#include "frame/kernels.h"
#include "frame/movers.h"

#include <cstring>

namespace {

constexpr int32_t taken = INT32_MAX; // in place of a place that a window has
constexpr uint8_t elsewhere = 0x80;

int32_t least(const int32_t* places, ptrdiff_t count) {
    int32_t result = taken;
    for (ptrdiff_t i = 0; i < count; ++i) result = places[i] < result ? places[i] : result;
    return result;
}

} // namespace

void OwnPicks::set(const OwnPickForm& theForm, const int32_t* at, ptrdiff_t count) {
    kernels = &ownRows<OwnPick>();
    form = theForm;
    places = at;
    placeCount = total = count;
    again = 0;
    windows = {kernels->widest(), 0, 0, 0, 0, 0, first, order};
    if (form.end < windows.width) windows.width = 16;
    windows.last = form.end - windows.width;
    if (kernels->widest() == 0 || form.end < windows.width) return;
    if (!findWindows()) windows.count = 0;
}

void OwnPicks::repeat(ptrdiff_t theTotal, ptrdiff_t theAgain, ptrdiff_t stride) {
    total = theTotal;
    again = theAgain;
    if (windows.count != 0) windows.again = again * form.stepDst / windows.width;
    windows.stride = stride;
}

bool OwnPicks::findWindows() {
    const ptrdiff_t width = windows.width;
    const ptrdiff_t pixel = form.samples * form.bytes;
    if (form.stepDst != pixel || pixel > mostBytes || placeCount > mostBytes / pixel) return false;
    const ptrdiff_t bytes = placeCount * pixel;
    windows.steps = (bytes + 127) / 128 * 128 / width;
    ptrdiff_t column = 0;
    int32_t inPixel = 0;
    for (ptrdiff_t step = 0; step < windows.steps; ++step) {
        const ptrdiff_t rest = bytes - step * width;
        const ptrdiff_t n = rest < 0 ? 0 : rest < width ? rest : width;
        int32_t wanted[64];
        for (ptrdiff_t i = 0; i < n; ++i) {
            wanted[i] = places[column] + inPixel;
            if (++inPixel < pixel) continue;
            inPixel = 0;
            ++column;
        }
        int32_t next = least(wanted, n);
        for (ptrdiff_t window = 0; next != taken; ++window) {
            if (next < 0 || next >= form.end) return false;
            if (window == windows.count) {
                const ptrdiff_t layer = windows.steps * width;
                if ((window + 1) * layer > mostBytes) return false;
                memset(order + window * layer, elsewhere, static_cast<size_t>(layer));
                memset(first + window * windows.steps, 0,
                       static_cast<size_t>(windows.steps) * sizeof first[0]);
                ++windows.count;
            }
            const ptrdiff_t at = window * windows.steps + step;
            const int32_t start = next;
            first[at] = start;
            next = taken;
            for (ptrdiff_t i = 0; i < n; ++i) {
                const int32_t place = wanted[i];
                const bool here = place < start + static_cast<int32_t>(width);
                order[at * width + i] = here ? static_cast<uint8_t>(place - start) : elsewhere;
                wanted[i] = here ? taken : place;
                next = wanted[i] < next ? wanted[i] : next;
            }
        }
    }
    return true;
}

void OwnPicks::run(const OwnPickRows& rows) const {
    if (windows.count != 0) {
        kernels->bytes(rows, windows, total * form.stepDst);
        return;
    }
    const ptrdiff_t pixel = form.samples * form.bytes;
    for (ptrdiff_t row = 0; row < rows.count * rows.copies; ++row) {
        char* const dst = rows.dst + row * rows.stepDst;
        if (row % rows.copies != 0 && form.stepDst == pixel)
            ownCopyRow(dst - rows.stepDst, dst, total * pixel);
        else
            pickPixels(rows.src[row / rows.copies], dst);
    }
}

void OwnPicks::pickPixels(const char* src, char* dst) const {
    ptrdiff_t begin = 0;
    for (ptrdiff_t done = 0; done < total; src += windows.stride, begin = again) {
        const ptrdiff_t rest = total - done;
        const ptrdiff_t count = placeCount - begin < rest ? placeCount - begin : rest;
        kernels->pixels[form.bytes - 1](src, places + begin, dst + done * form.stepDst,
                                        form.stepDst, form.samples, count);
        done += count;
    }
}
