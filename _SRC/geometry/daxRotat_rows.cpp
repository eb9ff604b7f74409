#include "geometry/daxRotat.h"

#include "frame/bit_lanes.h"
#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"
#include "geometry/nearest.h"

#include <cstring>
#include <type_traits>

namespace {

constexpr int32_t unitBits = 14;
constexpr int32_t unit = 1 << unitBits;
constexpr ptrdiff_t block = 128; // pixels

void nearest1(const OwnTurned& src, const OwnFixedPlaces& places, char* dst, int32_t bitDst,
              ptrdiff_t count) {
    const auto take = [&](ptrdiff_t from, ptrdiff_t bits) {
        uint32_t taken = 0;
        for (ptrdiff_t k = 0; k < bits; ++k) {
            const auto n = static_cast<int32_t>(from + k);
            const int32_t x = (places.x + n * places.stepX) >> unitBits;
            const int32_t y = (places.y + n * places.stepY) >> unitBits;
            const char byte = src.data[y * src.rowStep + (x >> 3)];
            taken = taken << 1 | (static_cast<uint8_t>(byte) >> (7 - (x & 7)) & 1);
        }
        return taken << (8 - bits);
    };
    ptrdiff_t done = 0;
    if (bitDst != 0) {
        done = count < 8 - bitDst ? count : 8 - bitDst;
        ownMergeBits(dst++, bitDst, done, take(0, done));
    }
    for (; done + 8 <= count; done += 8) *dst++ = static_cast<char>(take(done, 8));
    if (done < count) ownMergeBits(dst, 0, count - done, take(done, count - done));
}

template <int32_t channels>
void pickPixels(const OwnTurned& src, const OwnFixedPlaces& places, char* dst, ptrdiff_t stepDst,
                ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; ++i) {
        const auto n = static_cast<int32_t>(i);
        const int32_t x = (places.x + n * places.stepX) >> unitBits;
        const int32_t y = (places.y + n * places.stepY) >> unitBits;
        const char* from = src.data + (y * src.rowStep + x * src.pixel);
        for (int32_t c = 0; c < (channels != 0 ? channels : src.channels); ++c)
            dst[i * stepDst + c] = from[c];
    }
}

void nearest8(const OwnTurned& src, const OwnFixedPlaces& places, char* dst, ptrdiff_t stepDst,
              ptrdiff_t count) {
    switch (src.channels) {
    case 1: pickPixels<1>(src, places, dst, stepDst, count); break;
    case 3: pickPixels<3>(src, places, dst, stepDst, count); break;
    case 4: pickPixels<4>(src, places, dst, stepDst, count); break;
    default: pickPixels<0>(src, places, dst, stepDst, count); break;
    }
}

// Where the upper left of four samples lies, and how far a position is past it. On the last place
// the one before is taken, and 1/16384 past it.
int32_t placeOf(int32_t position, int32_t limit, int32_t* part) {
    const bool onLimit = position == limit;
    *part = onLimit ? 1 : position & (unit - 1);
    return (position >> unitBits) - (onLimit ? 1 : 0);
}

template <class T> void store(const T* from, char* dst, ptrdiff_t stepDst, ptrdiff_t count) {
    if (stepDst == sizeof(T))
        memcpy(dst, from, static_cast<size_t>(count) * sizeof(T));
    else
        ownScatter(from, dst, stepDst, count);
}

void linear8(const OwnTurned& src, const OwnFixedPlaces& places, char* dst, ptrdiff_t stepDst,
             ptrdiff_t count) {
    const int32_t limitX = src.maxX << unitBits;
    const int32_t limitY = src.maxY << unitBits;
    int32_t at[block];
    int32_t partX[block];
    int32_t partY[block];
    uint16_t upper[block];
    uint16_t lower[block];
    uint8_t out[block];
    for (ptrdiff_t from = 0; from < count; from += block) {
        const ptrdiff_t n = count - from < block ? count - from : block;
        const int32_t x0 = places.x + static_cast<int32_t>(from) * places.stepX;
        const int32_t y0 = places.y + static_cast<int32_t>(from) * places.stepY;
        for (ptrdiff_t i = 0; i < n; ++i) {
            const auto k = static_cast<int32_t>(i);
            const int32_t x = placeOf(x0 + k * places.stepX, limitX, &partX[i]);
            const int32_t y = placeOf(y0 + k * places.stepY, limitY, &partY[i]);
            at[i] = y * src.rowStep + x * src.pixel;
        }
        for (int32_t c = 0; c < src.channels; ++c) {
            const char* data = src.data + c;
            if (src.pixel == 1)
                for (ptrdiff_t i = 0; i < n; ++i) {
                    upper[i] = *ownLanes<uint16_t>(data + at[i]);
                    lower[i] = *ownLanes<uint16_t>(data + at[i] + src.rowStep);
                }
            else
                for (ptrdiff_t i = 0; i < n; ++i) {
                    const auto pair = [&](const char* two) {
                        return static_cast<uint16_t>(static_cast<uint8_t>(two[0]) |
                                                     static_cast<uint8_t>(two[src.pixel]) << 8);
                    };
                    upper[i] = pair(data + at[i]);
                    lower[i] = pair(data + at[i] + src.rowStep);
                }
            for (ptrdiff_t i = 0; i < n; ++i) {
                const int32_t t0 = upper[i] & 0xFF;
                const int32_t t1 = upper[i] >> 8;
                const int32_t b0 = lower[i] & 0xFF;
                const int32_t b1 = lower[i] >> 8;
                const int32_t top = ((t1 - t0) * partX[i] + t0 * unit + 64) >> 7;
                const int32_t bottom = ((b1 - b0) * partX[i] + b0 * unit + 64) >> 7;
                out[i] =
                    static_cast<uint8_t>(((bottom - top) * partY[i] + top * unit + 1048576) >> 21);
            }
            store(out, dst + from * stepDst + c, stepDst, n);
        }
    }
}

void nearest16(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
               ptrdiff_t stepDst, ptrdiff_t count) {
    int32_t at[block];
    for (ptrdiff_t from = 0; from < count; from += block) {
        const ptrdiff_t n = count - from < block ? count - from : block;
        const auto first = static_cast<double>(column + from);
        for (ptrdiff_t i = 0; i < n; ++i) {
            const double X = first + static_cast<double>(static_cast<int32_t>(i));
            const double x = ownNearestWhole((places.x(X) + 0.00001) - 0.5);
            const double y = ownNearestWhole((places.y(X) + 0.00001) - 0.5);
            at[i] = static_cast<int32_t>(y) * src.rowStep + static_cast<int32_t>(x) * src.pixel * 2;
        }
        for (ptrdiff_t i = 0; i < n; ++i)
            for (int32_t c = 0; c < src.channels; ++c)
                *ownLanes<uint16_t>(dst + (from + i) * stepDst + c * 2) =
                    *ownLanes<uint16_t>(src.data + at[i] + c * 2);
    }
}

void linear16(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
              ptrdiff_t stepDst, ptrdiff_t count) {
    int32_t at[block];
    double partX[block];
    double partY[block];
    int32_t four[4][block];
    uint16_t out[block];
    for (ptrdiff_t from = 0; from < count; from += block) {
        const ptrdiff_t n = count - from < block ? count - from : block;
        const auto first = static_cast<double>(column + from);
        for (ptrdiff_t i = 0; i < n; ++i) {
            const double X = first + static_cast<double>(static_cast<int32_t>(i));
            const double xs = places.x(X);
            const double ys = places.y(X);
            auto x = static_cast<int32_t>(ownNearestWhole((xs + 0.00001) - 0.5));
            auto y = static_cast<int32_t>(ownNearestWhole((ys + 0.00001) - 0.5));
            x -= x == src.maxX ? 1 : 0;
            y -= y == src.maxY ? 1 : 0;
            partX[i] = xs - x;
            partY[i] = ys - y;
            at[i] = y * src.rowStep + x * src.pixel * 2;
        }
        for (int32_t c = 0; c < src.channels; ++c) {
            for (ptrdiff_t i = 0; i < n; ++i) {
                const auto* top = ownLanes<uint16_t>(src.data + at[i] + c * 2);
                const auto* bottom = ownLanes<uint16_t>(src.data + at[i] + c * 2 + src.rowStep);
                four[0][i] = top[0];
                four[1][i] = top[src.pixel];
                four[2][i] = bottom[0];
                four[3][i] = bottom[src.pixel];
            }
            for (ptrdiff_t i = 0; i < n; ++i) {
                const double top = four[0][i] + (four[1][i] - four[0][i]) * partX[i];
                const double bottom = four[2][i] + (four[3][i] - four[2][i]) * partX[i];
                const double value = ownNearestWhole((top + (bottom - top) * partY[i]) + 0.00001);
                out[i] = static_cast<uint16_t>(static_cast<int32_t>(value));
            }
            store(out, dst + from * stepDst + c * 2, stepDst, n);
        }
    }
}

// The first of four places around a position, and their weights in the cubic through them.
[[gnu::always_inline]] inline int32_t cubicPlace(double position, int32_t last,
                                                 double (*weights)[block], ptrdiff_t i) {
    const auto at = static_cast<int32_t>(ownNearestWhole((position + 0.00001) - 0.5));
    const int32_t first = at == 0 ? 0 : at < last - 1 ? at - 1 : last - 3;
    const double t = position - first - 1;
    constexpr double sixth = 1.0 / 6;
    constexpr double third = 1.0 / 3;
    weights[0][i] = ((0.5 - sixth * t) * t - third) * t;
    weights[1][i] = ((0.5 * t - 1) * t - 0.5) * t + 1;
    weights[2][i] = ((0.5 - 0.5 * t) * t + 1) * t;
    weights[3][i] = (sixth * t * t - sixth) * t;
    return first;
}

template <class T>
void cubic(const OwnTurned& src, const OwnRealPlaces& places, int64_t column, char* dst,
           ptrdiff_t stepDst, ptrdiff_t count) {
    constexpr int32_t size = sizeof(T);
    constexpr int32_t bits = size * 8;
    constexpr double most = static_cast<T>(-1);
    using Word = std::conditional_t<size == 1, uint32_t, uint64_t>; // four samples
    int32_t at[block];
    double weightX[4][block];
    double weightY[4][block];
    Word words[block];
    double sum[block];
    T out[block];
    for (ptrdiff_t from = 0; from < count; from += block) {
        const ptrdiff_t n = count - from < block ? count - from : block;
        const auto first = static_cast<double>(column + from);
        for (ptrdiff_t i = 0; i < n; ++i) {
            const double X = first + static_cast<double>(static_cast<int32_t>(i));
            const int32_t x = cubicPlace(places.x(X), src.maxX, weightX, i);
            const int32_t y = cubicPlace(places.y(X), src.maxY, weightY, i);
            at[i] = y * src.rowStep + x * src.pixel * size;
        }
        for (int32_t c = 0; c < src.channels; ++c) {
            for (ptrdiff_t i = 0; i < n; ++i) sum[i] = 0;
            for (int32_t r = 0; r < 4; ++r) {
                const char* data = src.data + c * size + ptrdiff_t{r} * src.rowStep;
                if (src.pixel == 1)
                    for (ptrdiff_t i = 0; i < n; ++i) words[i] = *ownLanes<Word>(data + at[i]);
                else
                    for (ptrdiff_t i = 0; i < n; ++i) {
                        const auto* x = ownLanes<T>(data + at[i]);
                        Word word = 0;
                        for (int32_t k = 0; k < 4; ++k)
                            word |= static_cast<Word>(Word{x[k * src.pixel]} << k * bits);
                        words[i] = word;
                    }
                for (ptrdiff_t i = 0; i < n; ++i) {
                    const auto sample = [&](int32_t k) {
                        return static_cast<double>(
                            static_cast<int32_t>(words[i] >> k * bits & static_cast<T>(-1)));
                    };
                    const double value = ((sample(0) * weightX[0][i] + sample(1) * weightX[1][i]) +
                                          sample(2) * weightX[2][i]) +
                                         sample(3) * weightX[3][i];
                    sum[i] += value * weightY[r][i];
                }
            }
            for (ptrdiff_t i = 0; i < n; ++i) {
                double whole = ownNearestWhole(sum[i] + 0.00001);
                whole = whole < 0 ? 0 : whole;
                whole = whole > most ? most : whole;
                out[i] = static_cast<T>(static_cast<int32_t>(whole));
            }
            store(out, dst + from * stepDst + c * size, stepDst, n);
        }
    }
}

template <ptrdiff_t size>
void turnPixels(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep,
                ptrdiff_t stepDst, ptrdiff_t pixelBytes, ptrdiff_t width, ptrdiff_t height) {
    for (ptrdiff_t y = 0; y < height; ++y)
        for (ptrdiff_t x = 0; x < width; ++x)
            memcpy(dst + y * rowStep + x * stepDst, src + x * stepX + y * stepY,
                   static_cast<size_t>(size != 0 ? size : pixelBytes));
}

#if defined(__SSE2__)
// A square of samples that fill a vector in a row, by rounds that interleave the upper half of the
// rows with the lower.
template <int32_t size>
void turnSquare(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep) {
    constexpr int32_t side = 16 / size;
    __m128i rows[side];
    const char* first = stepY > 0 ? src : src - (side - 1) * size;
    for (int32_t x = 0; x < side; ++x)
        rows[x] = _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(first + x * stepX));
    for (int32_t round = 1; round < side; round *= 2) {
        __m128i mixed[side];
        for (int32_t k = 0; k < side / 2; ++k) {
            const __m128i a = rows[k];
            const __m128i b = rows[k + side / 2];
            mixed[2 * k] = size == 1 ? _mm_unpacklo_epi8(a, b) : _mm_unpacklo_epi16(a, b);
            mixed[2 * k + 1] = size == 1 ? _mm_unpackhi_epi8(a, b) : _mm_unpackhi_epi16(a, b);
        }
        for (int32_t k = 0; k < side; ++k) rows[k] = mixed[k];
    }
    for (int32_t k = 0; k < side; ++k)
        _mm_storeu_si128(
            reinterpret_cast<__m128i_u*>(dst + (stepY > 0 ? k : side - 1 - k) * rowStep), rows[k]);
}
#endif

template <ptrdiff_t size>
void turnPart(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep,
              ptrdiff_t stepDst, ptrdiff_t pixelBytes, ptrdiff_t width, ptrdiff_t height) {
    ptrdiff_t doneX = 0;
    ptrdiff_t doneY = 0;
#if defined(__SSE2__)
    if constexpr (size == 1 || size == 2) {
        constexpr ptrdiff_t side = 16 / size;
        if (stepDst == size && (stepY == size || stepY == -size)) {
            doneX = width / side * side;
            doneY = height / side * side;
            for (ptrdiff_t x = 0; x < doneX; x += side)
                for (ptrdiff_t y = 0; y < doneY; y += side)
                    turnSquare<size>(src + x * stepX + y * stepY, stepX, stepY,
                                     dst + y * rowStep + x * size, rowStep);
        }
    }
#endif
    // What the squares leave: at the right, and below.
    turnPixels<size>(src + doneX * stepX, stepX, stepY, dst + doneX * stepDst, rowStep, stepDst,
                     pixelBytes, width - doneX, doneY);
    turnPixels<size>(src + doneY * stepY, stepX, stepY, dst + doneY * rowStep, rowStep, stepDst,
                     pixelBytes, width, height - doneY);
}

// In parts of a few cache lines each way, so that columns find the lines of their neighbours.
template <ptrdiff_t size>
void turnParts(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep,
               ptrdiff_t stepDst, ptrdiff_t pixelBytes, ptrdiff_t width, ptrdiff_t height) {
    constexpr ptrdiff_t side = 64;
    for (ptrdiff_t y = 0; y < height; y += side)
        for (ptrdiff_t x = 0; x < width; x += side)
            turnPart<size>(src + x * stepX + y * stepY, stepX, stepY,
                           dst + y * rowStep + x * stepDst, rowStep, stepDst, pixelBytes,
                           width - x < side ? width - x : side,
                           height - y < side ? height - y : side);
}

void turn(const char* src, ptrdiff_t stepX, ptrdiff_t stepY, char* dst, ptrdiff_t rowStep,
          ptrdiff_t stepDst, ptrdiff_t pixelBytes, ptrdiff_t width, ptrdiff_t height) {
    const auto parts = pixelBytes == 1   ? turnParts<1>
                       : pixelBytes == 2 ? turnParts<2>
                       : pixelBytes == 3 ? turnParts<3>
                       : pixelBytes == 4 ? turnParts<4>
                       : pixelBytes == 6 ? turnParts<6>
                       : pixelBytes == 8 ? turnParts<8>
                                         : turnParts<0>;
    parts(src, stepX, stepY, dst, rowStep, stepDst, pixelBytes, width, height);
}

// Up to eight rows of the source make one column of bytes.
void turnBits(const char* src, int32_t bitSrc, ptrdiff_t stepX, int32_t bitStepY, char* dst,
              int32_t bitDst, ptrdiff_t rowStep, ptrdiff_t width, ptrdiff_t height) {
    for (ptrdiff_t x = 0; x < width;) {
        const ptrdiff_t at = bitDst + x;
        const ptrdiff_t phase = at & 7;
        const ptrdiff_t bits = width - x < 8 - phase ? width - x : 8 - phase;
        for (ptrdiff_t y = 0; y < height; ++y) {
            const ptrdiff_t bit = bitSrc + y * bitStepY;
            const char* from = src + x * stepX + (bit >> 3);
            uint32_t taken = 0;
            for (ptrdiff_t k = 0; k < bits; ++k)
                taken = taken << 1 | (static_cast<uint8_t>(from[k * stepX]) >> (7 - (bit & 7)) & 1);
            ownMergeBits(dst + y * rowStep + (at >> 3), static_cast<int32_t>(phase), bits,
                         taken << (8 - bits));
        }
        x += bits;
    }
}

constexpr OwnRotateTable table = {nearest1,  nearest8, linear8,
                                  nearest16, linear16, {cubic<uint8_t>, cubic<uint16_t>},
                                  turn,      turnBits};

} // namespace

template <> const OwnRotateTable& ownRowTable<OwnRotate, OWN_ISA>() { return table; }
