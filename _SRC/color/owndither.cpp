#include "color/ownreduce.h"

#include "frame/depth.h"
#include "frame/lanes.h"

namespace {

// One channel of the destination.
template <class T> struct Channel {
    char* data;
    ptrdiff_t rowStep;
    ptrdiff_t step; // samples
    ptrdiff_t width;
    ptrdiff_t height;

    OwnLaneOf<T>* row(ptrdiff_t y) const { return ownLanes<T>(data + y * rowStep); }
};

// Levels are `step` apart. A sample of 16 bits is divided by a product: a division takes longer
// than all the rest of the diffusion.
struct Levels {
    int32_t step;
    uint64_t reciprocal;

    explicit Levels(int32_t theStep)
        : step(theStep), reciprocal((uint64_t{1} << 40) / static_cast<uint64_t>(step) + 1) {}

    int32_t base(int32_t v) const {
        return static_cast<int32_t>(static_cast<uint64_t>(v) * reciprocal >> 40) * step;
    }
    // The middle goes down. The top level is never more than half a step below the largest sample,
    // so nothing goes past that.
    int32_t nearest(int32_t v) const { return base(v + step - 1 - (step >> 1)); }
};

// What becomes of a sample and how far that is away, the sample's error.
struct Chosen {
    int32_t level;
    int32_t error;
};

template <class T> class Quantiser;

template <> class Quantiser<uint8_t> {
public:
    explicit Quantiser(const Levels& levels) {
        for (int32_t v = 0; v < 256; ++v) {
            const int32_t level = levels.nearest(v);
            table[v] = {level, v - level};
        }
    }
    Chosen operator()(uint8_t v) const { return table[v]; }

private:
    Chosen table[256];
};

template <> class Quantiser<uint16_t> {
public:
    explicit Quantiser(const Levels& theLevels) : levels(theLevels) {}
    Chosen operator()(uint16_t v) const {
        const int32_t level = levels.nearest(v);
        return {level, v - level};
    }

private:
    Levels levels;
};

// One row of a diffusion on its way to the right. Shares of the error go to samples that wrap; what
// a sample of the next row gets from its three neighbours above is gathered and added once.
template <class T> class DiffusedRow {
public:
    DiffusedRow(const Channel<T>& channel, ptrdiff_t y)
        : at(channel.row(y)), step(channel.step), last(y + 1 == channel.height),
          next(last ? at : channel.row(y + 1)) {}

    void take(const Quantiser<T>& quantiser, ptrdiff_t x) {
        const Chosen is = quantiser(static_cast<T>(*at + right));
        *at = static_cast<T>(is.level);
        at += step;
        right = 7 * is.error >> 4;
        if (last) return;
        if (x > 0) add(below + (3 * is.error >> 4));
        below = (5 * is.error >> 4) + belowRight;
        belowRight = is.error >> 4;
    }
    void end() {
        if (!last) add(below);
    }

private:
    void add(int32_t share) {
        *next = static_cast<T>(*next + share);
        next += step;
    }

    OwnLaneOf<T>* at;
    ptrdiff_t step;
    bool last;
    OwnLaneOf<T>* next;
    int32_t right = 0;
    int32_t below = 0;      // for the sample below the one before
    int32_t belowRight = 0; // from the sample before
};

// A sample waits for the one before it, so two rows go side by side, the lower one a sample behind:
// by then it has all that comes from above. That takes two thirds of the time.
template <class T> void floydSteinberg(const Channel<T>& channel, const Levels& levels) {
    const Quantiser<T> quantiser(levels);
    ptrdiff_t y = 0;
    for (; y + 1 < channel.height; y += 2) {
        DiffusedRow<T> upper(channel, y);
        DiffusedRow<T> lower(channel, y + 1);
        upper.take(quantiser, 0);
        for (ptrdiff_t x = 1; x < channel.width; ++x) {
            upper.take(quantiser, x);
            lower.take(quantiser, x - 1);
        }
        upper.end();
        lower.take(quantiser, channel.width - 1);
        lower.end();
    }
    if (y == channel.height) return;
    DiffusedRow<T> row(channel, y);
    for (ptrdiff_t x = 0; x < channel.width; ++x) row.take(quantiser, x);
    row.end();
}

constexpr int32_t weightCount = 12;

constexpr uint8_t jarvis8[weightCount] = {37, 26, 15, 26, 37, 26, 15, 5, 15, 26, 15, 5};
constexpr uint8_t stucki8[weightCount] = {48, 24, 12, 24, 48, 24, 12, 6, 12, 24, 12, 6};
constexpr uint16_t jarvis16[weightCount] = {0x2555, 0x1AAA, 0x0FFF, 0x1AAA, 0x2555, 0x1AAA,
                                            0x0FFF, 0x0555, 0x0FFF, 0x1AAA, 0x0FFF, 0x0555};
constexpr uint16_t stucki16[weightCount] = {0x30C2, 0x1861, 0x0C30, 0x1861, 0x30C2, 0x1861,
                                            0x0C30, 0x0618, 0x0C30, 0x1861, 0x0C30, 0x0618};

// The weights are scaled for a division that isn't made, and are dealt out from the leftmost sample
// that there is, so they lie shifted beside the left edge.
template <class T>
void diffuse(const Channel<T>& channel, const Levels& levels, const T (&weights)[weightCount]) {
    const Quantiser<T> quantiser(levels);
    const auto give = [&](ptrdiff_t x, ptrdiff_t y, ptrdiff_t count, const T* weight,
                          int32_t error) {
        auto* at = channel.row(y) + x * channel.step;
        for (ptrdiff_t i = 0; i < count; ++i, at += channel.step)
            *at = static_cast<T>(*at + weight[i] * error);
    };
    for (ptrdiff_t y = 0; y < channel.height; ++y)
        for (ptrdiff_t x = 0; x < channel.width; ++x) {
            auto* at = channel.row(y) + x * channel.step;
            const Chosen is = quantiser(*at);
            *at = static_cast<T>(is.level);
            const ptrdiff_t room = channel.width - 1 - x;
            const ptrdiff_t ahead = room < 2 ? room : 2;
            const ptrdiff_t start = x < 2 ? 0 : x - 2;
            const ptrdiff_t count = x + ahead - start + 1;
            give(x + 1, y, ahead, weights, is.error);
            if (y + 1 < channel.height) give(start, y + 1, count, weights + 2, is.error);
            if (y + 2 < channel.height) give(start, y + 2, count, weights + 7, is.error);
        }
}

constexpr uint8_t bayer[16] = {0x00, 0x78, 0x1E, 0x96, 0xB4, 0x3C, 0xD2, 0x5A,
                               0x2D, 0xA5, 0x0F, 0x87, 0xE1, 0x69, 0xC3, 0x4B};

// The thresholds aren't divided, so only a zero of the matrix lets anything rise.
template <class T> void ordered(const Channel<T>& channel, const Levels& levels) {
    constexpr int32_t spread = sizeof(T) == 1 ? 1 : 0x101;
    for (ptrdiff_t y = 0; y < channel.height; ++y) {
        auto* at = channel.row(y);
        for (ptrdiff_t x = 0; x < channel.width; ++x, at += channel.step) {
            const int32_t base = levels.base(*at);
            const int64_t threshold = int64_t{bayer[(x & 3) * 4 + (y & 3)] * spread} * levels.step;
            *at = static_cast<T>(*at - base > threshold ? base + levels.step : base);
        }
    }
}

template <class T> void dither(const Channel<T>& channel, int32_t option, const Levels& levels) {
    constexpr bool bytes = sizeof(T) == 1;
    if (option == DAX_DITHER_FS) {
        floydSteinberg(channel, levels);
    } else if (option == DAX_DITHER_BAYER) {
        ordered(channel, levels);
    } else if constexpr (bytes) {
        diffuse<T>(channel, levels, option == DAX_DITHER_JJN ? jarvis8 : stucki8);
    } else {
        diffuse<T>(channel, levels, option == DAX_DITHER_JJN ? jarvis16 : stucki16);
    }
}

Levels levelsFor(int32_t bits, int32_t levelBits) {
    if (levelBits < 0) levelBits = 0;
    if (levelBits > bits) levelBits = bits / 2;
    const int32_t step = ((1 << bits) - 1) >> levelBits;
    return Levels(step == 0 ? 1 : step);
}

} // namespace

void own_dither_rect(const OwnReduction& is, const OwnColorArea& dst) {
    const DaxImage* image = is.dstImage;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownSampleBytes(image->depth);
    const Levels levels = levelsFor(ownDepthBits(image->depth), is.levelBits);
    const auto channelAt = [&](int32_t place) {
        if (place < 0) return;
        char* const data = dst.data + place * (pixels ? sample : dst.planeStep);
        const ptrdiff_t step = pixels ? image->nChannels : 1;
        if (image->depth == DAX_DEPTH_8U)
            dither(Channel<uint8_t>{data, dst.rowStep, step, dst.width, dst.height},
                   is.ditherOption, levels);
        else
            dither(Channel<uint16_t>{data, dst.rowStep, step, dst.width, dst.height},
                   is.ditherOption, levels);
    };
    if (image->channelSeq[0] == 'G')
        channelAt(0);
    else
        for (const char* letter = "RGB"; *letter != 0; ++letter)
            channelAt(ownChannelOf(image, *letter));
}
