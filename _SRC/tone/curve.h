// From curves and histograms over intervals to a value for every sample. The records have passed
// their checks: keys rise, from 0 to the number of values.
#ifndef OWN_CURVE_H
#define OWN_CURVE_H

#include "frame/daxlib.h"

#include <cstdint>
#include <limits>

template <class T> constexpr int32_t ownTableSize = std::numeric_limits<T>::max() + 1;

// Writes ownTableSize<T> entries. Keys may also fall or be too large; those are never met.
template <class T> void ownStretchTable(const DaxLUT& lut, T* table) {
    constexpr int32_t size = ownTableSize<T>;
    // What lies below the first key runs one ahead, and entry 0 is that of no sample.
    table[0] = 0;
    for (int32_t x = 0; x < lut.key[0] && x + 1 < size; ++x) table[x + 1] = static_cast<T>(x);
    int32_t j = -1;
    uint32_t base = 0;
    uint32_t start = 0;
    uint32_t slope = 0;
    for (int32_t x = lut.key[0]; x < size; ++x) {
        if (j + 1 < lut.num && x == lut.key[j + 1]) {
            ++j;
            base = static_cast<uint32_t>(lut.value[j]);
            // In 16 bits slopes count from the output value.
            start = static_cast<uint32_t>(sizeof(T) == 1 ? lut.key[j] : lut.value[j]);
            if (lut.interpolated != 0) slope = static_cast<uint32_t>(lut.factor[j]);
        }
        table[x] = static_cast<T>(base + (static_cast<uint32_t>(x) - start) * slope);
    }
}

// Spreads a histogram over `size` cells and sums them up. All is done in 32 bits, with wrap.
void ownSpreadCounts(const DaxLUT& lut, uint32_t* cells, int32_t size);

// The running sums of a histogram scaled to the whole range; false when the total is 0.
template <class T> bool ownEqualizingTable(const uint32_t* cells, T* table) {
    constexpr int32_t last = ownTableSize<T> - 1;
    const auto total = static_cast<int32_t>(cells[last]);
    if (total == 0) return false;
    for (int32_t x = 0; x <= last; ++x) {
        const auto product = static_cast<int32_t>(cells[x] * static_cast<uint32_t>(last));
        // The one quotient that 32 bits don't hold is that of their least number and -1.
        table[x] = static_cast<T>(int64_t{product} / total);
    }
    return true;
}

// Counts what became of the cells' samples.
template <class T>
void ownEqualizedCounts(const uint32_t* cells, const T* table, uint32_t* counters) {
    uint32_t before = 0;
    for (int32_t x = 0; x < ownTableSize<T>; ++x) {
        counters[table[x]] += cells[x] - before;
        before = cells[x];
    }
}

// Sums counters up into the intervals of a record. Of a record that isn't checked what is out of
// range counts nothing.
void ownCountIntervals(const uint32_t* counters, int32_t size, const DaxLUT& lut);

#endif
