// The state of one composition of plain images.
#ifndef OWN_COMPOSER_H
#define OWN_COMPOSER_H

#include "alpha/compose.h"
#include "alpha/composite.h"
#include "alpha/scale.h"
#include "alpha/strideview.h"

// Work goes in blocks, for which there are buffers, where samples don't lie side by side.
inline constexpr ptrdiff_t ownComposerBlock = 2048; // bytes

inline int32_t ownAlphaChannel(const DaxImage* image) {
    return image->alphaChannel != 0 ? image->alphaChannel : 1;
}

class OwnComposer {
public:
    OwnComposer(const OwnComposition& composition, DaxImage* const* theImages, int32_t theHeight,
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
    char constants[2][ownComposerBlock];

    bool has(OwnPart part) const { return images[part] != nullptr; }
    int32_t constantOf(OwnPart alpha) const {
        return alpha == ownAlphaA ? what.constantA : what.constantB;
    }
    bool allPlanes() const;
    void joinRows();
    // Whether opacities lie where the call writes.
    bool isWritten(OwnPart alpha) const;

    // The samples of a run: where they lie, or copied into the buffer.
    const char* load(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                     char* buffer) const;
    const char* loadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
                          char* buffer) const;
    // Where a result is to be formed, and its way from there.
    char* place(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, char* buffer) const;
    void store(OwnPart part, ptrdiff_t channel, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count,
               const char* from) const;

    // One run of each channel, in the order in which images that share memory see each other's
    // results.
    void composeRun(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const;
    ptrdiff_t runLength() const;

    // Whether all samples of a pixel can be composed at once: interleaved images of four channels,
    // whose opacity either goes to the fourth or nowhere.
    bool wholePixels() const;
    // Whether opacities are the fourth samples of the pixels beside them.
    bool isOwn(OwnPart alpha) const;
    // Whether opacities lie just where those of the result go, or would go.
    bool isOverwritten(OwnPart alpha) const;
    void spreadAlpha(OwnPart part, ptrdiff_t y, ptrdiff_t x, ptrdiff_t count, char* pixels) const;
    // Premultiplied pixels, with their opacity as the fourth sample if that is to be composed.
    const char* preparePixels(OwnPart part, const char* pixels, const char* spread, ptrdiff_t count,
                              char* buffer) const;
    struct Pixels {
        const char* colourA;
        const char* alphaA; // spread over the places of a pixel, and so is alphaB
        const char* colourB;
        const char* alphaB;
    };
    void composeIntegers(Pixels pixels, char* result, ptrdiff_t count) const;
    void composeFloats(const Pixels& pixels, char* dst, ptrdiff_t y, ptrdiff_t x,
                       ptrdiff_t count) const;
    void composePixels(ptrdiff_t y, ptrdiff_t x, ptrdiff_t count) const;
};

#endif
