#include "filter/blur.h"
#include "frame/lanes.h"

#include <cstring>

namespace {

template <class T, class Column> void add(const char* row, void* columns, ptrdiff_t count) {
    const auto* x = ownLanes<T>(row);
    auto* column = static_cast<Column*>(columns);
    for (ptrdiff_t i = 0; i < count; ++i) column[i] += static_cast<Column>(x[i]);
}

// The difference is taken in integers, where it wraps.
template <class T, class Column>
void slide(const char* entering, const char* leaving, const void* from, void* to, ptrdiff_t count) {
    const auto* x = ownLanes<T>(entering);
    const auto* y = ownLanes<T>(leaving);
    const auto* before = static_cast<const Column*>(from);
    auto* after = static_cast<Column*>(to);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        const uint32_t moved = static_cast<uint32_t>(x[i]) - static_cast<uint32_t>(y[i]);
        after[i] = before[i] + static_cast<Column>(static_cast<int32_t>(moved));
    }
}

constexpr ptrdiff_t sumsOfBlock = 1024;

#ifdef __AVX2__
// Eight sums at a time are added up within a vector, so that only one addition in eight waits for
// the one before it: 0.2 ns a pixel in place of 0.4.
typedef uint32_t Lanes __attribute__((vector_size(32)));
typedef uint32_t LanesAnywhere __attribute__((vector_size(32), aligned(4), may_alias));

ptrdiff_t runLanes(const uint32_t* columns, ptrdiff_t nCols, uint32_t* sums, ptrdiff_t count) {
    const Lanes none = {};
    Lanes before = none + sums[0];
    ptrdiff_t i = 0;
    for (; i + 8 <= count; i += 8) {
        Lanes sum = *reinterpret_cast<const LanesAnywhere*>(columns + i + nCols) -
                    *reinterpret_cast<const LanesAnywhere*>(columns + i);
        sum += __builtin_shufflevector(none, sum, 0, 8, 9, 10, 4, 12, 13, 14);
        sum += __builtin_shufflevector(none, sum, 0, 1, 8, 9, 4, 5, 12, 13);
        sum += __builtin_shufflevector(none, sum, 0, 1, 2, 3, 11, 11, 11, 11);
        *reinterpret_cast<LanesAnywhere*>(sums + i + 1) = sum + before;
        before += __builtin_shufflevector(sum, sum, 7, 7, 7, 7, 7, 7, 7, 7);
    }
    return i;
}
#else
ptrdiff_t runLanes(const uint32_t*, ptrdiff_t, uint32_t*, ptrdiff_t) { return 0; }
#endif

// sums[i + 1] = sums[i] + (columns[i + nCols] - columns[i])
void runSums(const uint32_t* columns, ptrdiff_t nCols, uint32_t* sums, ptrdiff_t count) {
    ptrdiff_t i = runLanes(columns, nCols, sums, count);
    for (; i < count; ++i) sums[i + 1] = sums[i] + (columns[i + nCols] - columns[i]);
}

template <class T>
void meansOfSums(const uint32_t* sums, char* dst, ptrdiff_t count, const OwnBlurScale& scale) {
    const auto* sum = reinterpret_cast<const int32_t*>(sums);
    auto* z = ownLanes<T>(dst);
    if (sizeof(T) == 1 && scale.single != 0) {
        const float factor = scale.single;
        for (ptrdiff_t i = 0; i < count; ++i)
            z[i] = static_cast<T>(static_cast<int32_t>(static_cast<float>(sum[i]) * factor));
    } else {
        for (ptrdiff_t i = 0; i < count; ++i)
            z[i] = static_cast<T>(static_cast<int32_t>(sum[i] * scale.scale));
    }
}

template <class T>
void means(const void* const* columns, char* const* dst, int32_t rows, ptrdiff_t width,
           ptrdiff_t nCols, const OwnBlurScale& scale) {
    for (int32_t row = 0; row < rows; ++row) {
        const auto* column = static_cast<const uint32_t*>(columns[row]);
        uint32_t sums[sumsOfBlock + 1];
        sums[0] = 0;
        for (ptrdiff_t i = 0; i < nCols; ++i) sums[0] += column[i];
        for (ptrdiff_t done = 0; done < width; done += sumsOfBlock) {
            const ptrdiff_t rest = width - done;
            const ptrdiff_t count = rest < sumsOfBlock ? rest : sumsOfBlock;
            runSums(column + done, nCols, sums, count);
            meansOfSums<T>(sums, dst[row] + done * ptrdiff_t{sizeof(T)}, count, scale);
            sums[0] = sums[count];
        }
    }
}

// A mean beyond the range, which the rounding of large sums can give, becomes the least number.
int32_t truncated(double value) {
    const bool inside = value >= -2147483648.0 && value < 2147483648.0;
    return static_cast<int32_t>(inside ? value : -2147483648.0);
}

// Each sum waits for the one before it; the rows go side by side.
void floatMeans(const void* const* columns, char* const* dst, int32_t rows, ptrdiff_t width,
                ptrdiff_t nCols, const OwnBlurScale& scale) {
    const float* column[ownMostBlurRows];
    double sum[ownMostBlurRows] = {};
    double sums[ownMostBlurRows][sumsOfBlock];
    for (int32_t row = 0; row < ownMostBlurRows; ++row)
        column[row] = static_cast<const float*>(columns[row < rows ? row : 0]);
    for (ptrdiff_t i = 0; i < nCols; ++i)
        for (int32_t row = 0; row < ownMostBlurRows; ++row)
            sum[row] += static_cast<double>(column[row][i]);
    for (ptrdiff_t done = 0; done < width; done += sumsOfBlock) {
        const ptrdiff_t rest = width - done;
        const ptrdiff_t count = rest < sumsOfBlock ? rest : sumsOfBlock;
        for (ptrdiff_t i = 0; i < count; ++i) {
            for (int32_t row = 0; row < ownMostBlurRows; ++row) {
                sums[row][i] = sum[row];
                sum[row] +=
                    static_cast<double>(column[row][done + i + nCols] - column[row][done + i]);
            }
        }
        for (int32_t row = 0; row < rows; ++row) {
            auto* z = ownLanes<int32_t>(dst[row]) + done;
            for (ptrdiff_t i = 0; i < count; ++i) z[i] = truncated(sums[row][i] * scale.scale);
        }
    }
}

template <class T> constexpr OwnBlurRows integerRows() {
    return {add<T, uint32_t>, slide<T, uint32_t>, means<T>, 1};
}

constexpr OwnBlurTable table = {
    {integerRows<uint8_t>(),
     integerRows<int8_t>(),
     integerRows<uint16_t>(),
     integerRows<int16_t>(),
     {add<int32_t, float>, slide<int32_t, float>, floatMeans, ownMostBlurRows}}};

} // namespace

template <> const OwnBlurTable& ownRowTable<OwnBlur, OWN_ISA>() { return table; }
