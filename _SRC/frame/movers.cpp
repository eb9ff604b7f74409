#include "frame/movers.h"

void ownFillBits(bool on, char* dst, ptrdiff_t bitDst, ptrdiff_t count) {
    if (count <= 0) return;
    char* first = dst + (bitDst >> 3);
    char* last = dst + ((bitDst + count - 1) >> 3);
    const int head = 0xFF >> (bitDst & 7);
    const int tail = 0xFF00 >> (((bitDst + count - 1) & 7) + 1) & 0xFF;
    const auto merge = [on](char* byte, int mask) {
        *byte = static_cast<char>(on ? *byte | mask : *byte & ~mask);
    };
    if (first == last) {
        merge(first, head & tail);
        return;
    }
    merge(first, head);
    ownFillRow8(on ? 0xFF : 0, first + 1, last - first - 1);
    merge(last, tail);
}
