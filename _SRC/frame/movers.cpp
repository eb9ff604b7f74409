#include "frame/movers.h"

void ownFillBitRows(bool on, char* dst, ptrdiff_t bitDst, ptrdiff_t stepDst, ptrdiff_t count,
                    ptrdiff_t rows) {
    if (count <= 0) return;
    char* first = dst + (bitDst >> 3);
    const ptrdiff_t last = ((bitDst + count - 1) >> 3) - (bitDst >> 3);
    const int head = 0xFF >> (bitDst & 7);
    const int tail = 0xFF00 >> (((bitDst + count - 1) & 7) + 1) & 0xFF;
    const auto merge = [on](char* byte, int mask) {
        *byte = static_cast<char>(on ? *byte | mask : *byte & ~mask);
    };
    for (ptrdiff_t row = 0; row < rows; ++row, first += stepDst) {
        if (last == 0) {
            merge(first, head & tail);
            continue;
        }
        merge(first, head);
        ownFillRow8(on ? 0xFF : 0, first + 1, last - 1);
        merge(first + last, tail);
    }
}
