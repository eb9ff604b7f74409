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
    const ptrdiff_t height;
    const ptrdiff_t width;
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
    const char* spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                            char* pixels) const;
    const char* preparePixels(OwnPart part, const char* pixels, const char* spread, ptrdiff_t count,
                              char* buffer) const;
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

// Whole rows where no buffer is needed.
ptrdiff_t Composer::runLength() const {
    if (tier == OwnTier::packed && has(ownAlphaB)) return width;
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
// of four channels, whose opacity either goes to the fourth or nowhere. Where an opacity that takes
// part is written over, later channels see what was written: they go one by one.
bool Composer::wholePixels() const {
    if (tier != OwnTier::integer || coi != 0) return false;
    for (const OwnPart part : colourParts)
        if (images[part]->nChannels != 4 || images[part]->dataOrder != DAX_DATA_PIXEL) return false;
    if (has(ownOpacityDst) && images[ownOpacityDst] != images[ownDst]) return false;
    const auto changes = [&](OwnPart alpha) {
        if (!isWritten(alpha)) return false;
        // The destination's own, which stays as it is.
        const bool stays = !has(ownOpacityDst) || (op.opacityIsB && alpha == ownAlphaB);
        return !stays || skipped < 0 || views[alpha].row(0) != views[ownDst].row(0, 3);
    };
    const bool needsB = ownNeedsB(op, what.premultiplied);
    const bool needsA = ownNeedsA(op, what.premultiplied) || (needsB && !has(ownAlphaB));
    return !(needsA && changes(ownAlphaA)) && !(needsB && changes(ownAlphaB));
}

// Whether opacities are the fourth samples of the pixels beside them.
bool Composer::isOwn(OwnPart alpha) const {
    const OwnPart colours = alpha == ownAlphaA ? ownA : ownB;
    return images[alpha] == images[colours] && alphaChannelOf(images[alpha]) == 4;
}

const char* Composer::spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                                  char* pixels) const {
    if (isOwn(part)) {
        const DaxStrideView& view = views[part == ownAlphaA ? ownA : ownB];
        rows.spreadOwn(view.row(y) + x * 4 * size, pixels, count);
    } else {
        char buffer[blockBytes];
        rows.spread(loadAlpha(part, y, x, count, buffer), pixels, count);
    }
    return pixels;
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

void Composer::composePixels(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const {
    char spreadA[blockBytes];
    char spreadB[blockBytes];
    char bufferA[blockBytes];
    char bufferB[blockBytes];
    char result[blockBytes];
    const auto pixelsOf = [&](OwnPart part) { return views[part].row(y) + x * 4 * size; };
    const char* colourA = pixelsOf(ownA);
    const char* colourB = pixelsOf(ownB);
    char* dst = pixelsOf(ownDst);
    // What isn't needed has to be readable all the same.
    const char* a = colourA;
    const char* b = colourB;
    const bool gives = has(ownOpacityDst);
    if (ownNeedsA(op, what.premultiplied) || (gives && !isOwn(ownAlphaA)))
        a = spreadAlpha(ownAlphaA, y, x, count, spreadA);
    if (ownNeedsB(op, what.premultiplied) || (gives && !isOwn(ownAlphaB)))
        b = spreadAlpha(ownAlphaB, y, x, count, spreadB);
    colourA = preparePixels(ownA, colourA, a, count, bufferA);
    if (op.ofB != OwnShare::none) colourB = preparePixels(ownB, colourB, b, count, bufferB);
    const bool keeps = skipped >= 0 && !gives;
    kernels->colour[1][what.type](colourA, a, colourB, b, keeps ? result : dst, count * 4);
    if (keeps) rows.join(result, dst, dst, count);
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
