// Expands whole bitonal images to two values.

#include "move/daxbitnl.h"

#include "frame/call.h"
#include "frame/channels.h"
#include "frame/depth.h"
#include "frame/movers.h"
#include "move/wholewalk.h"

namespace {

constexpr OwnCall call = {"daxBitonalToGray", "daxbitnl"};

// Pixels that are expanded at a time where they are then spread over channels.
constexpr ptrdiff_t blockPixels = 512;

class Expansion {
public:
    Expansion(const DaxImage* dstImage, int32_t theZero, int32_t theOne)
        : channels(dstImage->nChannels), bytes(ownSampleBytes(dstImage->depth)), zero(theZero),
          one(theOne) {}

    void expand(const OwnWholePiece& piece) const {
        const OwnWholeSide& src = piece.src;
        const OwnWholeSide& dst = piece.dst;
        const bool fits = piece.fits();
        const ptrdiff_t pixel = dst.pixelStep;
        for (ptrdiff_t y = 0; y < piece.height; ++y) {
            const char* from = src.row(y, 0);
            if (fits && (pixel == 2 * bytes || pixel == 4 * bytes) && pixel <= 4)
                run(pixel, from, dst.row(y, 0), piece.width, repeated(zero), repeated(one));
            else if (fits && pixel > bytes && channels <= ownMostSplit)
                expandTogether(from, dst.row(y, 0), piece.width);
            else
                for (ptrdiff_t c = 0; c < channels; ++c)
                    expandChannel(from, dst.row(y, c), pixel,
                                  dst.inside(y, c, src.inside(y, 0, piece.width)));
        }
    }

private:
    static void run(ptrdiff_t size, const char* src, char* dst, ptrdiff_t count, int32_t clear,
                    int32_t set) {
        ownRows<OwnBitonal>().expand[size / 2](src, dst, count, clear, set);
    }

    // A sample in all places of a word of 32 bits.
    int32_t repeated(int32_t sample) const {
        const uint32_t value = static_cast<uint32_t>(sample);
        return static_cast<int32_t>(bytes == 1 ? (value & 0xFF) * 0x01010101u
                                               : (value & 0xFFFF) * 0x00010001u);
    }

    // Calls `use(block, first, n)` with the samples of one channel, a block at a time.
    template <class Use> void eachBlock(const char* src, ptrdiff_t count, Use use) const {
        char block[blockPixels * 4];
        for (ptrdiff_t first = 0; first < count; first += blockPixels) {
            const ptrdiff_t n = count - first < blockPixels ? count - first : blockPixels;
            run(bytes, src + first / 8, block, n, zero, one);
            use(block, first, n);
        }
    }

    void expandTogether(const char* src, char* dst, ptrdiff_t count) const {
        eachBlock(src, count, [=, this](const char* block, ptrdiff_t first, ptrdiff_t n) {
            const char* const same[ownMostSplit] = {block, block, block, block};
            ownJoinChannels(bytes, same, dst + first * channels * bytes, channels, n);
        });
    }

    void expandChannel(const char* src, char* dst, ptrdiff_t step, ptrdiff_t count) const {
        if (step == bytes)
            run(bytes, src, dst, count, zero, one);
        else
            eachBlock(src, count, [=, this](const char* block, ptrdiff_t first, ptrdiff_t n) {
                ownStridedMovers(bytes).copy(block, bytes, dst + first * step, step, n);
            });
    }

    const int32_t channels;
    const ptrdiff_t bytes;
    const int32_t zero;
    const int32_t one;
};

// What a depth can't hold is told for each of the two values, above the range and below it.
struct Bounds {
    int32_t depth;
    int32_t least;
    int32_t most;
    const char* texts[4];
};

constexpr Bounds bounds[] = {
    {DAX_DEPTH_8S,
     -128,
     127,
     {"((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))",
      "((dstImage->depth == (0x80000000| 8)) && (ZeroScale < -128))",
      "((dstImage->depth == (0x80000000| 8)) && (OneScale > 127))",
      "((dstImage->depth == (0x80000000| 8)) && (OneScale < -128))"}},
    {DAX_DEPTH_8U,
     0,
     255,
     {"((dstImage->depth == 8) && (ZeroScale > 255))",
      "((dstImage->depth == 8) && (ZeroScale < 0))", "((dstImage->depth == 8) && (OneScale > 255))",
      "((dstImage->depth == 8) && (OneScale < 0))"}},
    {DAX_DEPTH_16S,
     -32768,
     32767,
     {"((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))",
      "((dstImage->depth == (0x80000000|16)) && (ZeroScale < -32768))",
      "((dstImage->depth == (0x80000000|16)) && (OneScale > 32767))",
      "((dstImage->depth == (0x80000000|16)) && (OneScale < -32768))"}},
    {DAX_DEPTH_16U,
     0,
     65535,
     {"((dstImage->depth == 16) && (ZeroScale > 65535))",
      "((dstImage->depth == 16) && (ZeroScale < 0))",
      "((dstImage->depth == 16) && (OneScale > 65535))",
      "((dstImage->depth == 16) && (OneScale < 0))"}},
};

} // namespace

void daxBitonalToGray(DaxImage* srcImage, DaxImage* dstImage, int32_t ZeroScale, int32_t OneScale,
                      const int32_t* tilePos) {
    if (!ownWholeFits(call, srcImage, dstImage)) return;
    if (call.rejects(srcImage->nChannels != 1, "(srcImage->nChannels != 1)")) return;
    if (call.rejects(srcImage->depth != DAX_DEPTH_1U, "(srcImage->depth != 1)")) return;
    if (call.rejects(dstImage->depth == DAX_DEPTH_1U, "(dstImage->depth == 1)")) return;
    for (const Bounds& of : bounds) {
        if (of.depth != dstImage->depth) continue;
        if (call.rejects(ZeroScale > of.most, of.texts[0])) return;
        if (call.rejects(ZeroScale < of.least, of.texts[1])) return;
        if (call.rejects(OneScale > of.most, of.texts[2])) return;
        if (call.rejects(OneScale < of.least, of.texts[3])) return;
    }

    const Expansion expansion(dstImage, ZeroScale, OneScale);
    OwnWholeWalk walk(call, srcImage, dstImage, tilePos);
    OwnWholePiece piece;
    while (walk.next(&piece)) expansion.expand(piece);
}
