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
// A vector of sums is added up within itself, so that only one addition in a vector waits for the
// one before it: 0.1 ns a pixel in place of 0.4.
#ifdef __AVX512F__
constexpr ptrdiff_t lanes = 16;
#else
constexpr ptrdiff_t lanes = 8;
#endif
typedef uint32_t Lanes __attribute__((vector_size(lanes * 4)));
typedef uint32_t LanesAnywhere __attribute__((vector_size(lanes * 4), aligned(4), may_alias));

Lanes runningSums(Lanes sum) {
    const Lanes none = {};
#ifdef __AVX512F__
    sum += __builtin_shufflevector(none, sum, 0, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28,
                                   29, 30);
    sum += __builtin_shufflevector(none, sum, 0, 1, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27,
                                   28, 29);
    sum += __builtin_shufflevector(none, sum, 0, 1, 2, 3, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                                   26, 27);
    return sum + __builtin_shufflevector(none, sum, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21,
                                         22, 23);
#else
    sum += __builtin_shufflevector(none, sum, 0, 8, 9, 10, 4, 12, 13, 14);
    sum += __builtin_shufflevector(none, sum, 0, 1, 8, 9, 4, 5, 12, 13);
    return sum + __builtin_shufflevector(none, sum, 0, 1, 2, 3, 11, 11, 11, 11);
#endif
}

ptrdiff_t runLanes(const uint32_t* columns, ptrdiff_t nCols, uint32_t* sums, ptrdiff_t count) {
    Lanes before = Lanes{} + sums[0];
    ptrdiff_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const Lanes sum = runningSums(*reinterpret_cast<const LanesAnywhere*>(columns + i + nCols) -
                                      *reinterpret_cast<const LanesAnywhere*>(columns + i));
        *reinterpret_cast<LanesAnywhere*>(sums + i + 1) = sum + before;
        before += Lanes{} + sum[lanes - 1];
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
