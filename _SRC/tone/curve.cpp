#include "tone/curve.h"

#include <cstring>

void ownSpreadCounts(const DaxLUT& lut, uint32_t* cells, int32_t size) {
    memset(cells, 0, static_cast<size_t>(size) * sizeof *cells);
    // Intervals without a value take a cell all the same, so the cells may run ahead of the keys,
    // and past the end.
    int32_t cursor = lut.key[0];
    const auto put = [&](int32_t count) {
        if (cursor < size) cells[cursor++] = static_cast<uint32_t>(count);
    };
    for (int32_t i = 1; i < lut.num && cursor < size; ++i) {
        const int32_t width = lut.key[i] - lut.key[i - 1];
        const int32_t count = lut.value[i - 1];
        if (width > 1) {
            while (cursor < lut.key[i] - 1) put(count / width);
            // The remainder alone.
            put(count % width);
        } else {
            put(count);
        }
    }
    for (int32_t x = 1; x < size; ++x) cells[x] += cells[x - 1];
}

void ownCountIntervals(const uint32_t* counters, int32_t size, const DaxLUT& lut) {
    for (int32_t i = 0; i + 1 < lut.num; ++i) {
        const int32_t from = lut.key[i] < 0 ? 0 : lut.key[i];
        const int32_t to = lut.key[i + 1] > size ? size : lut.key[i + 1];
        uint32_t sum = 0;
        for (int32_t x = from; x < to; ++x) sum += counters[x];
        lut.value[i] = static_cast<int32_t>(sum);
    }
}
