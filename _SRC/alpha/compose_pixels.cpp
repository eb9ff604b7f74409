#include "alpha/composer.h"

#include "frame/kernels.h"

#include <initializer_list>

bool OwnComposer::wholePixels() const {
    if (tier == OwnTier::packed || coi != 0) return false;
    for (const OwnPart part : {ownDst, ownA, ownB})
        if (images[part]->nChannels != 4 || images[part]->dataOrder != DAX_DATA_PIXEL) return false;
    if (has(ownOpacityDst) && images[ownOpacityDst] != images[ownDst]) return false;
    // An opacity that is read may not be written meanwhile, unless by the fourth sample of the same
    // pixel; in the floating tier not even so.
    const auto inStep = [this](OwnPart alpha) {
        return !isWritten(alpha) || (tier == OwnTier::integer && isOverwritten(alpha));
    };
    return inStep(ownAlphaA) && inStep(ownAlphaB);
}

bool OwnComposer::isOverwritten(OwnPart alpha) const {
    return has(alpha) && skipped == 3 && views[alpha].pixelStep == 4 &&
           views[alpha].rowStep == views[ownDst].rowStep &&
           views[alpha].row(0) == views[ownDst].row(0, 3);
}

bool OwnComposer::isOwn(OwnPart alpha) const {
    const OwnPart colours = alpha == ownAlphaA ? ownA : ownB;
    return images[alpha] == images[colours] && ownAlphaChannel(images[alpha]) == 4;
}

void OwnComposer::spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                              char* pixels) const {
    if (isOwn(part)) {
        const DaxStrideView& view = views[part == ownAlphaA ? ownA : ownB];
        rows.spreadOwn(view.row(y) + x * 4 * size, pixels, count);
    } else {
        char buffer[ownComposerBlock];
        rows.spread(loadAlpha(part, y, x, count, buffer), pixels, count);
    }
}

const char* OwnComposer::preparePixels(OwnPart part, const char* pixels, const char* spread,
                                       ptrdiff_t count, char* buffer) const {
    if (has(ownOpacityDst) && !isOwn(part == ownA ? ownAlphaA : ownAlphaB)) {
        rows.join(pixels, spread, buffer, count);
        pixels = buffer;
    }
    if (!what.premultiplied) {
        char factors[ownComposerBlock];
        rows.factors(spread, factors, count);
        rows.product(pixels, factors, buffer, count * 4);
        pixels = buffer;
    }
    return pixels;
}

// The opacity comes out as the fourth sample, since its sum is that of premultiplied colours.
void OwnComposer::composeIntegers(Pixels pixels, char* result, ptrdiff_t count) const {
    char bufferA[ownComposerBlock];
    char bufferB[ownComposerBlock];
    const char* colourA = preparePixels(ownA, pixels.colourA, pixels.alphaA, count, bufferA);
    const char* colourB = pixels.colourB;
    if (op.ofB != OwnShare::none)
        colourB = preparePixels(ownB, colourB, pixels.alphaB, count, bufferB);
    kernels->colour[1][what.type](colourA, pixels.alphaA, colourB, pixels.alphaB, result,
                                  count * 4);
}

void OwnComposer::composeFloats(const Pixels& pixels, char* dst, ptrdiff_t y, ptrdiff_t x,
                                ptrdiff_t count) const {
    char result[ownComposerBlock];
    kernels->colour[what.premultiplied ? 1 : 0][what.type](
        pixels.colourA, pixels.alphaA, pixels.colourB, pixels.alphaB, result, count * 4);
    if (has(ownOpacityDst)) {
        char bufferA[ownComposerBlock];
        char bufferB[ownComposerBlock];
        char opacity[ownComposerBlock];
        char spread[ownComposerBlock];
        const char* a = loadAlpha(ownAlphaA, y, x, count, bufferA);
        const char* b = loadAlpha(ownAlphaB, y, x, count, bufferB);
        kernels->opacity[what.type](a, a, b, b, opacity, count);
        rows.spread(opacity, spread, count);
        rows.join(result, spread, dst, count);
    } else {
        rows.join(result, skipped < 0 ? result : dst, dst, count);
    }
}

void OwnComposer::composePixels(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const {
    char spreadA[ownComposerBlock];
    char spreadB[ownComposerBlock];
    const auto pixelsOf = [&](OwnPart part) { return views[part].row(y) + x * 4 * size; };
    char* dst = pixelsOf(ownDst);
    // Opacities that aren't needed have to be readable all the same.
    Pixels pixels = {pixelsOf(ownA), pixelsOf(ownA), pixelsOf(ownB), pixelsOf(ownB)};
    const bool gives = has(ownOpacityDst);
    const bool usesA = what.divides || ownNeedsA(op, what.premultiplied);
    const bool usesB = what.divides || ownNeedsB(op, what.premultiplied);
    if (usesA || (gives && !isOwn(ownAlphaA))) {
        spreadAlpha(ownAlphaA, y, x, count, spreadA);
        pixels.alphaA = spreadA;
    }
    if (usesB || (gives && !isOwn(ownAlphaB))) {
        spreadAlpha(ownAlphaB, y, x, count, spreadB);
        pixels.alphaB = spreadB;
    }
    if (what.divides) {
        composeFloats(pixels, dst, y, x, count);
        return;
    }
    const bool complements = !has(ownAlphaB) && constantOf(ownAlphaB) < 0;
    const bool changesA = gives && isOverwritten(ownAlphaA);
    const bool changesB = gives && (complements ? changesA : isOverwritten(ownAlphaB));
    char result[ownComposerBlock];
    if ((usesA && changesA) || (usesB && changesB)) {
        // The first channel has written its opacity over one that the next ones read.
        char inner[ownComposerBlock];
        composeIntegers(pixels, result, count);
        if (changesA) rows.spreadOwn(result, spreadA, count);
        if (changesB) rows.spreadOwn(result, spreadB, count);
        if (complements) ownRows<OwnScale>().complement(spreadA, spreadB, count * 4 * size);
        composeIntegers(pixels, inner, count);
        rows.wrap(inner, result, dst, count);
    } else if (gives || skipped < 0) {
        composeIntegers(pixels, dst, count);
    } else {
        composeIntegers(pixels, result, count);
        rows.join(result, dst, dst, count);
    }
}
