// Composition of plain images.
#ifndef OWN_COMPOSE_H
#define OWN_COMPOSE_H

#include "frame/daxlib.h"

#include <cstdint>

// The places of the images of a composition. The last four may be missing.
enum OwnPart : int32_t { ownDst, ownOpacityDst, ownA, ownB, ownAlphaA, ownAlphaB, ownParts };

struct OwnComposition {
    int32_t type;
    bool premultiplied;
    bool divides;
    bool maybePacked;
    // In place of the opacities of an image, unless negative.
    int32_t constantA = -1;
    int32_t constantB = -1;
};

// Composes a rectangle, from the corner of each image's region. Where B has neither a constant nor
// an image of opacities, they are what A's are short of full scale.
void ownCompose(const OwnComposition& what, DaxImage* const* images, int32_t height, int32_t width);

#endif
