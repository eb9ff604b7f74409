#include "filter/source.h"
#include "frame/lanes.h"

namespace {

void expandBits(const char* row, ptrdiff_t bit, char* bytes, ptrdiff_t count) {
    const auto* at = ownLanes<uint8_t>(row);
    ptrdiff_t i = 0;
    for (; i < count && ((bit + i) & 7) != 0; ++i)
        bytes[i] = static_cast<char>(at[(bit + i) >> 3] >> (7 - ((bit + i) & 7)) & 1);
    for (; i + 8 <= count; i += 8) {
        const uint32_t eight = at[(bit + i) >> 3];
        for (int32_t k = 0; k < 8; ++k) bytes[i + k] = static_cast<char>(eight >> (7 - k) & 1);
    }
    for (; i < count; ++i)
        bytes[i] = static_cast<char>(at[(bit + i) >> 3] >> (7 - ((bit + i) & 7)) & 1);
}

template <class T, int32_t bias, class Cell>
void widen(const char* samples, Cell* cells, ptrdiff_t count) {
    const auto* x = ownLanes<T>(samples);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) cells[i] = static_cast<Cell>(x[i] - bias);
}

void toHalves(const char* samples, int16_t* high, int16_t* low, ptrdiff_t count) {
    const auto* x = ownLanes<int32_t>(samples);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        high[i] = static_cast<int16_t>(x[i] >> 16);
        low[i] = static_cast<int16_t>(static_cast<uint16_t>(x[i]) - 32768);
    }
}

constexpr OwnCellTable table = {
    expandBits,
    widen<uint8_t, 0, int16_t>,
    widen<int8_t, 0, int16_t>,
    widen<uint8_t, 128, uint8_t>,
    widen<uint16_t, 32768, int16_t>,
    widen<int16_t, 0, int16_t>,
    toHalves,
    widen<int32_t, 0, double>,
};

} // namespace

template <> const OwnCellTable& ownRowTable<OwnCells, OWN_ISA>() { return table; }
