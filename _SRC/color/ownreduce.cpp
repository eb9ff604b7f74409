#include "color/ownreduce.h"

#include "frame/depth.h"
#include "frame/lanes.h"
#include "frame/movers.h"

#include <cstdlib>

namespace {

constexpr char module[] = "owncolor";

bool goesTogether(int32_t srcDepth, int32_t dstDepth) {
    switch (srcDepth) {
    case DAX_DEPTH_32S: return dstDepth == DAX_DEPTH_16U || dstDepth == DAX_DEPTH_8U;
    case DAX_DEPTH_16U: return dstDepth == DAX_DEPTH_8U;
    default: return dstDepth == DAX_DEPTH_1U;
    }
}

bool isDither(int32_t option) {
    return option == DAX_DITHER_FS || option == DAX_DITHER_JJN || option == DAX_DITHER_STUCKI ||
           option == DAX_DITHER_BAYER;
}

} // namespace

bool ownReduceFits(const OwnReduction& is) {
    const OwnCall stage = {is.jitterType != 0 ? "ownjitter_rect" : "ownReduceBits", module};
    const int32_t srcDepth = is.srcImage->depth;
    const int32_t dstDepth = is.dstImage->depth;
    const bool known =
        srcDepth == DAX_DEPTH_32S || srcDepth == DAX_DEPTH_16U || srcDepth == DAX_DEPTH_8U;
    if (stage.rejects(!known, "errInOutDepth")) return false;
    if (stage.rejects(!goesTogether(srcDepth, dstDepth), "errOutDepth")) return false;
    if (is.ditherOption == DAX_DITHER_NONE) return true;
    const OwnCall dither = {"own_dither_rect", module};
    if (dither.rejects(dstDepth != DAX_DEPTH_8U && dstDepth != DAX_DEPTH_16U, "errInDepth"))
        return false;
    return !dither.rejects(!isDither(is.ditherOption), "errDitherOption");
}

// Not meant to be unforeseeable: everyone may seed it.
void OwnNoise::refill() {
    constexpr int low = ownNoiseCount - 1;
    for (double& noise : jitterNoise) noise = (rand() & low) / double{ownNoiseCount};
    // A table that nothing reads any more; its numbers are still drawn.
    for (int32_t i = 0; i < ownNoiseCount; ++i) rand();
    for (int32_t& shuffle : jitterShuffle) shuffle = rand() & low;
}

namespace {

// The rows that two areas share, plane after plane: `row(src, dst, count, y)`.
template <class Row>
void eachRow(const OwnReduction& is, const OwnColorArea& src, const OwnColorArea& dst,
             bool joinRows, Row row) {
    const int32_t channels = is.srcImage->nChannels < is.dstImage->nChannels
                                 ? is.srcImage->nChannels
                                 : is.dstImage->nChannels;
    const bool pixels = is.srcImage->dataOrder == DAX_DATA_PIXEL;
    ptrdiff_t width = src.width < dst.width ? src.width : dst.width;
    ptrdiff_t height = src.height < dst.height ? src.height : dst.height;
    if (pixels) width *= channels;
    const bool flat = width * ownDepthBits(is.srcImage->depth) == src.rowStep * 8 &&
                      width * ownDepthBits(is.dstImage->depth) == dst.rowStep * 8;
    if (joinRows && flat) {
        width *= height;
        height = 1;
    }
    for (ptrdiff_t plane = 0; plane < (pixels ? 1 : channels); ++plane)
        for (ptrdiff_t y = 0; y < height; ++y)
            row(src.data + plane * src.planeStep + y * src.rowStep,
                dst.data + plane * dst.planeStep + y * dst.rowStep, width, y);
}

} // namespace

void ownReduceBits(const OwnReduction& is, const OwnColorArea& src, const OwnColorArea& dst) {
    const OwnReduceTable& table = ownRows<OwnReduce>();
    const int32_t to = is.dstImage->depth;
    const auto row = is.srcImage->depth == DAX_DEPTH_8U    ? table.from8To1
                     : is.srcImage->depth == DAX_DEPTH_16U ? table.from16To8
                     : to == DAX_DEPTH_16U                 ? table.from32To16
                                                           : table.from32To8;
    eachRow(is, src, dst, true, [&](const char* from, char* into, ptrdiff_t count, ptrdiff_t) {
        row(from, into, count);
    });
}

namespace {

// How a depth goes to another with noise.
struct JitterScale {
    int32_t step;    // of the result, in the source's numbers
    int32_t ceiling; // from here on samples are left alone
    uint32_t limit;  // one past the largest sample
    int32_t shift;   // to the result
};

constexpr JitterScale from8To1 = {16, 0xEF, 0x100, 0};
constexpr JitterScale from16To8 = {256, 0xFEFF, 0x10000, 8};
constexpr JitterScale from32To16 = {0x10000, 0x7FFEFFFF, 0x80000000, 15};
constexpr JitterScale from32To8 = {0x1000000, 0x7EFFFFFF, 0x80000000, 23};

int32_t jittered(int32_t v, const JitterScale& scale, const OwnNoise& noise, int32_t jitterType,
                 ptrdiff_t x, ptrdiff_t y) {
    constexpr ptrdiff_t last = ownNoiseCount - 1;
    if (v >= scale.ceiling) return v;
    const ptrdiff_t i = (x + 4 * y + noise.jitterShuffle[x & last]) & last;
    if (v % scale.step <= static_cast<int32_t>(9.0 * noise.jitterNoise[i])) v += scale.step;
    const ptrdiff_t j = (y + 4 * x + noise.jitterShuffle[y & last]) & last;
    const auto q = static_cast<int32_t>(2.0 * jitterType * noise.jitterNoise[j] + 0.5);
    const uint32_t moved = static_cast<uint32_t>(v) + static_cast<uint32_t>(q - jitterType) *
                                                          static_cast<uint32_t>(scale.step);
    return moved < scale.limit ? static_cast<int32_t>(moved) : v;
}

template <class Src, class Store>
void jitterRows(const OwnReduction& is, const JitterScale& scale, const OwnNoise& noise,
                const OwnColorArea& src, const OwnColorArea& dst, Store store) {
    eachRow(is, src, dst, false, [&](char* from, char* into, ptrdiff_t count, ptrdiff_t y) {
        auto* samples = ownLanes<Src>(from);
        for (ptrdiff_t x = 0; x < count; ++x) {
            const int32_t v = jittered(samples[x], scale, noise, is.jitterType, x, y);
            samples[x] = static_cast<Src>(v);
            store(into, x, v >> scale.shift);
        }
    });
}

template <class Dst> void storeSample(char* row, ptrdiff_t x, int32_t value) {
    ownLanes<Dst>(row)[x] = static_cast<Dst>(value);
}

} // namespace

void ownjitter_rect(const OwnReduction& is, const OwnNoise& noise, const OwnColorArea& src,
                    const OwnColorArea& dst) {
    if (is.srcImage->depth == DAX_DEPTH_8U)
        jitterRows<uint8_t>(is, from8To1, noise, src, dst,
                            [](char* row, ptrdiff_t x, int32_t v) { ownPutBit(row, x, v >= 128); });
    else if (is.srcImage->depth == DAX_DEPTH_16U)
        jitterRows<uint16_t>(is, from16To8, noise, src, dst, storeSample<uint8_t>);
    else if (is.dstImage->depth == DAX_DEPTH_16U)
        jitterRows<int32_t>(is, from32To16, noise, src, dst, storeSample<uint16_t>);
    else
        jitterRows<int32_t>(is, from32To8, noise, src, dst, storeSample<uint8_t>);
}

void ownReduce(const OwnCall& call, const OwnReduction& is, const int32_t* tilePos) {
    if (!ownReduceFits(is)) return;
    const bool plain = is.srcImage->tileInfo == nullptr && is.dstImage->tileInfo == nullptr;
    const bool jitters = is.jitterType != 0;
    const bool dithers = is.ditherOption != DAX_DITHER_NONE;
    if (plain && !jitters && !dithers) {
        ownReduceBits(is, ownPlainArea(is.srcImage), ownPlainArea(is.dstImage));
        return;
    }
    OwnNoise noise;
    if (jitters) noise.refill();
    ownColorWalk({call.funcName, module}, is.srcImage, is.dstImage, tilePos, jitters,
                 [&](const OwnColorArea& src, const OwnColorArea& dst) {
                     if (jitters)
                         ownjitter_rect(is, noise, src, dst);
                     else
                         ownReduceBits(is, src, dst);
                     if (dithers) own_dither_rect(is, dst);
                 });
}
