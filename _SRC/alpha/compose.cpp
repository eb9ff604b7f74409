#include "alpha/composer.h"

#include "frame/kernels.h"
#include "frame/movers.h"
#include "frame/planeview.h"

namespace {

constexpr OwnPart colourParts[] = {ownDst, ownA, ownB};
constexpr OwnPart opacityParts[] = {ownOpacityDst, ownAlphaA, ownAlphaB};
constexpr OwnPart alphaParts[] = {ownAlphaA, ownAlphaB};

} // namespace

OwnComposer::OwnComposer(const OwnComposition& composition, DaxImage* const* theImages,
                         int32_t theHeight, int32_t theWidth)
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
            ownStrideView(images[part], images[part]->roi, ownAlphaChannel(images[part]),
                          &views[part]);
    for (const OwnPart part : alphaParts)
        if (constantOf(part) >= 0)
            ownFillRow(size, static_cast<uint32_t>(constantOf(part)), constants[part - ownAlphaA],
                       ownComposerBlock / size);
    joinRows();
    inPixels = wholePixels();
    alphasChange = isWritten(ownAlphaA) || isWritten(ownAlphaB);
}

// Rows that follow each other without a gap are one row.
void OwnComposer::joinRows() {
    bool joined = true;
    for (int32_t part = 0; part < ownParts; ++part)
        joined = joined &&
                 (images[part] == nullptr || views[part].rowStep == width * views[part].pixelStep);
    if (joined) {
        width *= height;
        height = 1;
    }
}

bool OwnComposer::allPlanes() const {
    for (int32_t part = 0; part < ownParts; ++part)
        if (images[part] != nullptr && images[part]->dataOrder != DAX_DATA_PLANE) return false;
    return true;
}

bool OwnComposer::isWritten(OwnPart alpha) const {
    if (!has(alpha)) return false;
    const auto last = [this](OwnPart part, ptrdiff_t channelCount) {
        const DaxStrideView& view = views[part];
        return view.row(height - 1, channelCount - 1) + ((width - 1) * view.pixelStep + 1) * size -
               1;
    };
    const auto writes = [&](OwnPart part, ptrdiff_t channelCount) {
        return views[part].row(0) <= last(alpha, 1) &&
               views[alpha].row(0) <= last(part, channelCount);
    };
    return writes(ownDst, channels) || (has(ownOpacityDst) && writes(ownOpacityDst, 1));
}

const char* OwnComposer::load(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x,
                              ptrdiff_t count, char* buffer) const {
    const DaxStrideView& view = views[part];
    const char* at = view.row(y, channel) + x * view.pixelStep * size;
    if (view.pixelStep == 1) return at;
    ownStridedMovers(size).copy(at, view.pixelStep * size, buffer, size, count);
    return buffer;
}

const char* OwnComposer::loadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                                   char* buffer) const {
    if (constantOf(part) >= 0) return constants[part - ownAlphaA];
    if (has(part)) return load(part, 0, y, x, count, buffer);
    // Of B: what A leaves.
    const char* ofA = loadAlpha(ownAlphaA, y, x, count, buffer);
    ownRows<OwnScale>().complement(ofA, buffer, count * size);
    return buffer;
}

char* OwnComposer::place(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x,
                         char* buffer) const {
    const DaxStrideView& view = views[part];
    return view.pixelStep == 1 ? view.row(y, channel) + x * size : buffer;
}

void OwnComposer::store(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                        const char* from) const {
    const DaxStrideView& view = views[part];
    char* at = view.row(y, channel) + x * view.pixelStep * size;
    if (at != from) ownStridedMovers(size).copy(from, size, at, view.pixelStep * size, count);
}

// Where no buffer is needed, as much as stays in the nearest cache from one channel to the next.
ptrdiff_t OwnComposer::runLength() const {
    if (tier == OwnTier::packed && has(ownAlphaB)) return 4 * ownComposerBlock / size;
    return ownComposerBlock / size / (inPixels ? 4 : 1);
}

void OwnComposer::composeRun(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const {
    char bufferA[ownComposerBlock];
    char bufferB[ownComposerBlock];
    char alphaBufferA[ownComposerBlock];
    char alphaBufferB[ownComposerBlock];
    char result[ownComposerBlock];
    char opacity[ownComposerBlock];
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
        if (givesOpacity) store(ownOpacityDst, 0, y, x, count, opacity);
        if (alphasChange) loadAlphas();
    }
}

void OwnComposer::run() {
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

void ownCompose(const OwnComposition& what, DaxImage* const* images, int32_t height,
                int32_t width) {
    OwnComposer(what, images, height, width).run();
}
