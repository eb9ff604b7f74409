#include "alpha/compose.h"

#include "alpha/composite.h"
#include "alpha/scale.h"
#include "alpha/strideview.h"
#include "frame/movers.h"
#include "frame/planeview.h"

#include <cstring>

namespace {

// Work goes in blocks, for which there are buffers, where samples don't lie side by side.
constexpr ptrdiff_t blockBytes = 2048;

constexpr OwnPart colourParts[] = {ownDst, ownA, ownB};
constexpr OwnPart opacityParts[] = {ownOpacityDst, ownAlphaA, ownAlphaB};
constexpr OwnPart alphaParts[] = {ownAlphaA, ownAlphaB};

int32_t alphaChannelOf(const DaxImage* image) {
    return image->alphaChannel != 0 ? image->alphaChannel : 1;
}

// The memory between the first and the last sample of a rectangle.
struct Extent {
    const char* first;
    const char* last;
};

bool overlap(const Extent& a, const Extent& b) { return a.first <= b.last && b.first <= a.last; }

class Composer {
public:
    Composer(const OwnComposition& composition, DaxImage* const* theImages, int32_t theHeight,
             int32_t theWidth);

    void run();

private:
    const OwnComposition& what;
    const OwnOperator& op;
    DaxImage* const* images;
    ptrdiff_t height;
    ptrdiff_t width;
    const ptrdiff_t size; // of a sample, in bytes
    const OwnScaleRows& rows;
    const int32_t coi;
    OwnTier tier = OwnTier::integer;
    const OwnCompositeTable* kernels = nullptr;
    DaxStrideView views[ownParts] = {};
    ptrdiff_t channels = 1;
    ptrdiff_t skipped; // no colour goes there
    bool inPixels = false;
    bool alphasChange = false; // in the course of the call
    // What lies in every place where a constant stands for opacities.
    char constants[2][blockBytes];

    bool has(OwnPart part) const { return images[part] != nullptr; }
    bool allPlanes() const;
    Extent extentOf(OwnPart part, ptrdiff_t channelCount) const;
    bool isWritten(OwnPart alpha) const;
    bool wholePixels() const;
    int32_t constantOf(OwnPart alpha) const {
        return alpha == ownAlphaA ? what.constantA : what.constantB;
    }

    // The samples of a run: where they lie, or copied into the buffer.
    const char* load(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                     char* buffer) const;
    const char* loadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                          char* buffer) const;
    // Where a result is to be formed, and its way from there.
    char* place(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, char* buffer) const;
    void store(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
               const char* from) const;

    ptrdiff_t runLength() const;
    void composeRun(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const;
    void composePixels(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const;
    bool isOwn(OwnPart alpha) const;
    bool isOverwritten(OwnPart alpha) const;
    void spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count, char* pixels) const;
    const char* preparePixels(OwnPart part, const char* pixels, const char* spread, ptrdiff_t count,
                              char* buffer) const;
    void composeIntegers(const char* colourA, const char* a, const char* colourB, const char* b,
                         char* result, ptrdiff_t count) const;
};

Composer::Composer(const OwnComposition& composition, DaxImage* const* theImages, int32_t theHeight,
                   int32_t theWidth)
    : what(composition), op(ownOperators[composition.type]), images(theImages), height(theHeight),
      width(theWidth), size(ownSampleBytes(theImages[ownDst]->depth)),
      rows(ownRows<OwnScale>().at[size - 1]), coi(ownCoi(theImages[ownDst])),
      skipped(theImages[ownDst]->alphaChannel - 1) {
    if (what.divides)
        tier = OwnTier::floating;
    else if (what.maybePacked && allPlanes())
        tier = OwnTier::packed;
    kernels = tier == OwnTier::floating
                  ? &ownRows<OwnFloatingComposite>().at[size - 1]
                  : &ownRows<OwnIntegerComposite>().at[size - 1][static_cast<int32_t>(tier)];
    if (coi == 0) channels = images[ownDst]->nChannels;
    for (const OwnPart part : colourParts)
        ownStrideView(images[part], images[part]->roi, coi != 0 ? ownCoi(images[part]) : 1,
                      &views[part]);
    for (const OwnPart part : opacityParts)
        if (has(part))
            ownStrideView(images[part], images[part]->roi, alphaChannelOf(images[part]),
                          &views[part]);
    for (const OwnPart part : alphaParts)
        if (constantOf(part) >= 0)
            ownFillRow(size, static_cast<uint32_t>(constantOf(part)), constants[part - ownAlphaA],
                       blockBytes / size);
    // Rows that follow each other without a gap are one row.
    bool joined = true;
    for (int32_t part = 0; part < ownParts; ++part)
        joined = joined &&
                 (images[part] == nullptr || views[part].rowStep == width * views[part].pixelStep);
    if (joined) {
        width *= height;
        height = 1;
    }
    inPixels = wholePixels();
    alphasChange = isWritten(ownAlphaA) || isWritten(ownAlphaB);
}

bool Composer::allPlanes() const {
    for (int32_t part = 0; part < ownParts; ++part)
        if (images[part] != nullptr && images[part]->dataOrder != DAX_DATA_PLANE) return false;
    return true;
}

Extent Composer::extentOf(OwnPart part, ptrdiff_t channelCount) const {
    const DaxStrideView& view = views[part];
    return {view.row(0),
            view.row(height - 1, channelCount - 1) + ((width - 1) * view.pixelStep + 1) * size - 1};
}

// Whether opacities lie where the call writes.
bool Composer::isWritten(OwnPart alpha) const {
    if (!has(alpha)) return false;
    const Extent read = extentOf(alpha, 1);
    return overlap(read, extentOf(ownDst, channels)) ||
           (has(ownOpacityDst) && overlap(read, extentOf(ownOpacityDst, 1)));
}

const char* Composer::load(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x,
                           ptrdiff_t count, char* buffer) const {
    const DaxStrideView& view = views[part];
    const char* at = view.row(y, channel) + x * view.pixelStep * size;
    if (view.pixelStep == 1) return at;
    ownStridedMovers(size).copy(at, view.pixelStep * size, buffer, size, count);
    return buffer;
}

const char* Composer::loadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                                char* buffer) const {
    if (constantOf(part) >= 0) return constants[part - ownAlphaA];
    if (has(part)) return load(part, 0, y, x, count, buffer);
    // Of B: what A leaves.
    const char* ofA = loadAlpha(ownAlphaA, y, x, count, buffer);
    ownRows<OwnScale>().complement(ofA, buffer, count * size);
    return buffer;
}

char* Composer::place(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x,
                      char* buffer) const {
    const DaxStrideView& view = views[part];
    return view.pixelStep == 1 ? view.row(y, channel) + x * size : buffer;
}

void Composer::store(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                     const char* from) const {
    const DaxStrideView& view = views[part];
    char* at = view.row(y, channel) + x * view.pixelStep * size;
    if (at != from) ownStridedMovers(size).copy(from, size, at, view.pixelStep * size, count);
}

// Where no buffer is needed, as much as stays in the nearest cache from one channel to the next.
ptrdiff_t Composer::runLength() const {
    if (tier == OwnTier::packed && has(ownAlphaB)) return 4 * blockBytes / size;
    return blockBytes / size / (inPixels ? 4 : 1);
}

// One run of each channel, in the order in which images that share memory see each other's results.
void Composer::composeRun(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const {
    char bufferA[blockBytes];
    char bufferB[blockBytes];
    char alphaBufferA[blockBytes];
    char alphaBufferB[blockBytes];
    char result[blockBytes];
    char opacity[blockBytes];
    const char* a = nullptr;
    const char* b = nullptr;
    const auto loadAlphas = [&] {
        a = loadAlpha(ownAlphaA, y, x, count, alphaBufferA);
        b = loadAlpha(ownAlphaB, y, x, count, alphaBufferB);
    };
    loadAlphas();
    if (tier == OwnTier::packed && has(ownOpacityDst)) {
        char* at = place(ownOpacityDst, 0, y, x, opacity);
        kernels->opacity[what.type](a, a, b, b, at, count);
        loadAlphas();
    }
    for (ptrdiff_t channel = 0; channel < channels; ++channel) {
        if (channel == skipped) continue;
        const bool givesOpacity = tier != OwnTier::packed && channel == 0 && has(ownOpacityDst);
        if (givesOpacity) kernels->opacity[what.type](a, a, b, b, opacity, count);
        const char* colourA = load(ownA, channel, y, x, count, bufferA);
        const char* colourB = load(ownB, channel, y, x, count, bufferB);
        char* at = place(ownDst, channel, y, x, result);
        kernels->colour[what.premultiplied ? 1 : 0][what.type](colourA, a, colourB, b, at, count);
        store(ownDst, channel, y, x, count, at);
        if (givesOpacity) {
            store(ownOpacityDst, 0, y, x, count, opacity);
        }
        if (alphasChange) loadAlphas();
    }
}

// Whether a row can be composed pixel by pixel, all samples of a pixel at once: interleaved images
// of four channels, whose opacity either goes to the fourth or nowhere.
bool Composer::wholePixels() const {
    if (tier == OwnTier::packed || coi != 0) return false;
    for (const OwnPart part : colourParts)
        if (images[part]->nChannels != 4 || images[part]->dataOrder != DAX_DATA_PIXEL) return false;
    if (has(ownOpacityDst) && images[ownOpacityDst] != images[ownDst]) return false;
    // What is read may be written elsewhere by one channel, and read again by the next; but not in
    // the floating tier.
    const auto inStep = [this](OwnPart alpha) {
        return !isWritten(alpha) || (tier == OwnTier::integer && isOverwritten(alpha));
    };
    return inStep(ownAlphaA) && inStep(ownAlphaB);
}

// Whether opacities lie just where those of the result go, or in the channel that stays as it is.
bool Composer::isOverwritten(OwnPart alpha) const {
    return has(alpha) && skipped == 3 && views[alpha].pixelStep == 4 &&
           views[alpha].rowStep == views[ownDst].rowStep &&
           views[alpha].row(0) == views[ownDst].row(0, 3);
}

// Whether opacities are the fourth samples of the pixels beside them.
bool Composer::isOwn(OwnPart alpha) const {
    const OwnPart colours = alpha == ownAlphaA ? ownA : ownB;
    return images[alpha] == images[colours] && alphaChannelOf(images[alpha]) == 4;
}

void Composer::spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                           char* pixels) const {
    if (isOwn(part)) {
        const DaxStrideView& view = views[part == ownAlphaA ? ownA : ownB];
        rows.spreadOwn(view.row(y) + x * 4 * size, pixels, count);
    } else {
        char buffer[blockBytes];
        rows.spread(loadAlpha(part, y, x, count, buffer), pixels, count);
    }
}

// Premultiplied pixels, with their opacity as the fourth sample if that is to be composed.
const char* Composer::preparePixels(OwnPart part, const char* pixels, const char* spread,
                                    ptrdiff_t count, char* buffer) const {
    const OwnPart alpha = part == ownA ? ownAlphaA : ownAlphaB;
    if (has(ownOpacityDst) && !isOwn(alpha)) {
        rows.join(pixels, spread, buffer, count);
        pixels = buffer;
    }
    if (!what.premultiplied) {
        char factors[blockBytes];
        rows.factors(spread, factors, count);
        rows.product(pixels, factors, buffer, count * 4);
        pixels = buffer;
    }
    return pixels;
}

// The opacity comes out as the fourth sample, since its sum is that of premultiplied colours.
void Composer::composeIntegers(const char* colourA, const char* a, const char* colourB,
                               const char* b, char* result, ptrdiff_t count) const {
    char bufferA[blockBytes];
    char bufferB[blockBytes];
    colourA = preparePixels(ownA, colourA, a, count, bufferA);
    if (op.ofB != OwnShare::none) colourB = preparePixels(ownB, colourB, b, count, bufferB);
    kernels->colour[1][what.type](colourA, a, colourB, b, result, count * 4);
}

void Composer::composePixels(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const {
    char spreadA[blockBytes];
    char spreadB[blockBytes];
    char result[blockBytes];
    const auto pixelsOf = [&](OwnPart part) { return views[part].row(y) + x * 4 * size; };
    const char* colourA = pixelsOf(ownA);
    const char* colourB = pixelsOf(ownB);
    char* dst = pixelsOf(ownDst);
    const bool gives = has(ownOpacityDst);
    const bool whole = gives || skipped < 0;
    // What isn't needed has to be readable all the same.
    const char* a = colourA;
    const char* b = colourB;
    if (ownNeedsA(op, what.premultiplied) || what.divides || (gives && !isOwn(ownAlphaA))) {
        spreadAlpha(ownAlphaA, y, x, count, spreadA);
        a = spreadA;
    }
    if (ownNeedsB(op, what.premultiplied) || what.divides || (gives && !isOwn(ownAlphaB))) {
        spreadAlpha(ownAlphaB, y, x, count, spreadB);
        b = spreadB;
    }
    if (what.divides) {
        char opacity[blockBytes];
        char spread[blockBytes];
        kernels->colour[what.premultiplied ? 1 : 0][what.type](colourA, a, colourB, b, result,
                                                               count * 4);
        if (gives) {
            char bufferA[blockBytes];
            char bufferB[blockBytes];
            const char* rowA = loadAlpha(ownAlphaA, y, x, count, bufferA);
            const char* rowB = loadAlpha(ownAlphaB, y, x, count, bufferB);
            kernels->opacity[what.type](rowA, rowA, rowB, rowB, opacity, count);
            rows.spread(opacity, spread, count);
        }
        rows.join(result, gives ? spread : whole ? result : dst, dst, count);
        return;
    }
    const bool overwrites =
        gives && ((a == spreadA && isOverwritten(ownAlphaA)) ||
                  (b == spreadB && isOverwritten(has(ownAlphaB) ? ownAlphaB : ownAlphaA)));
    composeIntegers(colourA, a, colourB, b, whole && !overwrites ? dst : result, count);
    if (overwrites) {
        // The first channel has written its opacity over one that the next ones read.
        char inner[blockBytes];
        if (isOverwritten(ownAlphaA)) rows.spreadOwn(result, spreadA, count);
        if (isOverwritten(ownAlphaB)) rows.spreadOwn(result, spreadB, count);
        if (!has(ownAlphaB) && constantOf(ownAlphaB) < 0)
            ownRows<OwnScale>().complement(spreadA, spreadB, count * 4 * size);
        composeIntegers(colourA, a, colourB, b, inner, count);
        rows.wrap(inner, result, dst, count);
    } else if (!whole) {
        rows.join(result, dst, dst, count);
    }
}

void Composer::run() {
    const ptrdiff_t length = runLength();
    for (ptrdiff_t y = 0; y < height; ++y)
        for (ptrdiff_t x = 0; x < width; x += length) {
            const ptrdiff_t count = width - x < length ? width - x : length;
            if (inPixels)
                composePixels(y, x, count);
            else
                composeRun(y, x, count);
        }
}

} // namespace

void ownCompose(const OwnComposition& what, DaxImage* const* images, int32_t height,
                int32_t width) {
    Composer(what, images, height, width).run();
}
