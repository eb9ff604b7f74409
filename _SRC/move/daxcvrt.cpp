// Converts whole images between depths, data orders and origins.

#include "move/daxcvrt.h"

#include "frame/call.h"
#include "frame/channels.h"
#include "frame/depth.h"
#include "frame/movers.h"
#include "move/wholewalk.h"

namespace {

constexpr OwnCall call = {"daxConvert", "daxcvrt"};

// Pixels that are brought together at a time where the data order changes.
constexpr ptrdiff_t blockPixels = 512;

// Samples to samples, of images of equal channel counts.
class Samples {
public:
    Samples(const DaxImage* srcImage, const DaxImage* dstImage, int32_t ConvertMode)
        : run(ownRows<OwnConvert>().samples[ConvertMode][ownDepthIndex(srcImage->depth)]
                                           [ownDepthIndex(dstImage->depth)]),
          same(srcImage->depth == dstImage->depth), channels(dstImage->nChannels),
          srcPixels(srcImage->dataOrder == DAX_DATA_PIXEL),
          dstPixels(dstImage->dataOrder == DAX_DATA_PIXEL),
          srcBytes(ownSampleBytes(srcImage->depth)), dstBytes(ownSampleBytes(dstImage->depth)) {}

    void convert(const OwnWholePiece& piece) const {
        if (!piece.fits())
            convertApart(piece);
        else if (channels == 1 || (srcPixels && dstPixels))
            convertRows(piece, 1, piece.width * channels);
        else if (srcPixels == dstPixels)
            convertRows(piece, channels, piece.width);
        else if (channels <= ownMostSplit)
            reorder(piece);
        else
            convertApart(piece);
    }

private:
    // Rows whose samples lie alike in both images.
    void convertRows(const OwnWholePiece& piece, int32_t planes, ptrdiff_t count) const {
        for (ptrdiff_t c = 0; c < planes; ++c)
            for (ptrdiff_t y = 0; y < piece.height; ++y)
                run(piece.src.row(y, c), piece.dst.row(y, c), count);
    }

    // Each channel by itself, of any number of them.
    void convertApart(const OwnWholePiece& piece) const {
        const OwnWholeSide& src = piece.src;
        const OwnWholeSide& dst = piece.dst;
        for (ptrdiff_t y = 0; y < piece.height; ++y)
            for (ptrdiff_t c = 0; c < channels; ++c) {
                const ptrdiff_t count = dst.inside(y, c, src.inside(y, c, piece.width));
                convertSpread(src.row(y, c), src.pixelStep, dst.row(y, c), dst.pixelStep, count);
            }
    }

    void convertSpread(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t stepDst,
                       ptrdiff_t count) const {
        char before[blockPixels * 4];
        char after[blockPixels * 4];
        for (ptrdiff_t first = 0; first < count; first += blockPixels) {
            const ptrdiff_t n = count - first < blockPixels ? count - first : blockPixels;
            ownStridedMovers(srcBytes).copy(src + first * stepSrc, stepSrc, before, srcBytes, n);
            run(before, after, n);
            ownStridedMovers(dstBytes).copy(after, dstBytes, dst + first * stepDst, stepDst, n);
        }
    }

    void reorder(const OwnWholePiece& piece) const {
        const OwnWholeSide& src = piece.src;
        const OwnWholeSide& dst = piece.dst;
        for (ptrdiff_t y = 0; y < piece.height; ++y)
            for (ptrdiff_t first = 0; first < piece.width; first += blockPixels) {
                const char* from[ownMostSplit];
                char* to[ownMostSplit];
                for (ptrdiff_t c = 0; c < channels; ++c) {
                    from[c] = src.row(y, c) + first * src.pixelStep;
                    to[c] = dst.row(y, c) + first * dst.pixelStep;
                }
                const ptrdiff_t rest = piece.width - first;
                const ptrdiff_t n = rest < blockPixels ? rest : blockPixels;
                if (srcPixels)
                    split(from[0], to, n);
                else
                    join(from, to[0], n);
            }
    }

    // The narrower samples are the ones that change places.
    void split(const char* src, char* const* dst, ptrdiff_t count) const {
        Block block;
        if (same) {
            ownSplitChannels(dstBytes, src, dst, channels, count);
        } else if (dstBytes <= srcBytes) {
            run(src, block.parts[0], count * channels);
            ownSplitChannels(dstBytes, block.parts[0], dst, channels, count);
        } else {
            ownSplitChannels(srcBytes, src, block.parts, channels, count);
            for (ptrdiff_t c = 0; c < channels; ++c) run(block.parts[c], dst[c], count);
        }
    }

    void join(const char* const* src, char* dst, ptrdiff_t count) const {
        Block block;
        if (same) {
            ownJoinChannels(dstBytes, src, dst, channels, count);
        } else if (dstBytes <= srcBytes) {
            for (ptrdiff_t c = 0; c < channels; ++c) run(src[c], block.parts[c], count);
            ownJoinChannels(dstBytes, block.parts, dst, channels, count);
        } else {
            ownJoinChannels(srcBytes, src, block.parts[0], channels, count);
            run(block.parts[0], dst, count * channels);
        }
    }

    // Pixels on their way, channel after channel or interleaved, at most 16 bits a sample.
    struct Block {
        Block() {
            for (ptrdiff_t c = 0; c < ownMostSplit; ++c) parts[c] = samples + c * blockPixels * 2;
        }
        Block(const Block&) = delete;
        Block& operator=(const Block&) = delete;

        alignas(64) char samples[blockPixels * ownMostSplit * 2];
        char* parts[ownMostSplit];
    };

    const OwnConvertRun run;
    const bool same;
    const int32_t channels;
    const bool srcPixels;
    const bool dstPixels;
    const ptrdiff_t srcBytes;
    const ptrdiff_t dstBytes;
};

void samplesToBits(const OwnWholePiece& piece, int32_t depth, int32_t channel) {
    const OwnWholeSide& src = piece.src;
    const OwnWholeSide& dst = piece.dst;
    const auto bits = ownRows<OwnConvert>().bits[ownDepthIndex(depth)];
    for (ptrdiff_t y = 0; y < piece.height; ++y)
        bits(src.row(y, channel), src.pixelStep, dst.row(y, 0),
             dst.inside(y, 0, src.inside(y, channel, piece.width)));
}

void bitsToBits(const OwnWholePiece& piece) {
    const ptrdiff_t width = (piece.width + 7) / 8 * 8;
    for (ptrdiff_t y = 0; y < piece.height; ++y)
        ownCopyRow(piece.src.row(y, 0), piece.dst.row(y, 0),
                   piece.dst.inside(y, 0, piece.src.inside(y, 0, width)) / 8);
}

enum class Kind : int32_t { samplesToSamples = 1, samplesToBits = 2, bitsToBits = 3 };

// `channel` counts from 0 and is that of the samples that become bits.
void ownConvertWhole(Kind kind, DaxImage* srcImage, DaxImage* dstImage, int32_t ConvertMode,
                     int32_t channel, const int32_t* tilePos, int32_t line = __builtin_LINE()) {
    OwnWholeWalk walk(call, srcImage, dstImage, tilePos, line);
    OwnWholePiece piece;
    while (walk.next(&piece)) {
        switch (kind) {
        case Kind::samplesToSamples: Samples(srcImage, dstImage, ConvertMode).convert(piece); break;
        case Kind::samplesToBits: samplesToBits(piece, srcImage->depth, channel); break;
        case Kind::bitsToBits: bitsToBits(piece); break;
        }
    }
}

} // namespace

void daxConvert(DaxImage* srcImage, DaxImage* dstImage, int32_t ConvertMode,
                const int32_t* tilePos) {
    if (!ownWholeFits(call, srcImage, dstImage)) return;
    if (dstImage->depth == DAX_DEPTH_1U && srcImage->depth != DAX_DEPTH_1U) {
        const bool several = srcImage->nChannels > 1;
        const DaxROI* roi = srcImage->roi;
        if (call.rejects(several && roi == nullptr,
                         "((srcImage->nChannels > 1) && (srcImage->roi == 0))"))
            return;
        if (call.rejects(several && roi->coi <= 0,
                         "((srcImage->nChannels > 1) && (srcImage->roi->coi <= 0))"))
            return;
        if (call.rejects(
                several && roi->coi > srcImage->nChannels,
                "((srcImage->nChannels > 1) && (srcImage->roi->coi > srcImage->nChannels))"))
            return;
        ownConvertWhole(Kind::samplesToBits, srcImage, dstImage, ConvertMode,
                        several ? roi->coi - 1 : 0, tilePos);
        return;
    }
    if (call.rejects(srcImage->nChannels != dstImage->nChannels,
                     "srcImage->nChannels != dstImage->nChannels"))
        return;
    if (call.rejects(srcImage->depth == DAX_DEPTH_1U && srcImage->depth != dstImage->depth,
                     "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"))
        return;
    if (srcImage->depth == DAX_DEPTH_1U) {
        ownConvertWhole(Kind::bitsToBits, srcImage, dstImage, ConvertMode, 0, tilePos);
        return;
    }
    if (call.rejects(ConvertMode != DAX_CONVERT_HIGH_BITS && ConvertMode != DAX_CONVERT_LOW_BITS,
                     "((ConvertMode != 1) && (ConvertMode != 0))"))
        return;
    ownConvertWhole(Kind::samplesToSamples, srcImage, dstImage, ConvertMode, 0, tilePos);
}
