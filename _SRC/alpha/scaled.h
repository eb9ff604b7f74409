// Products of plain images over full scale.
#ifndef OWN_SCALED_H
#define OWN_SCALED_H

#include "frame/daxlib.h"

#include <cstdint>

// dst = the product of a and b, or, without b, of a and a factor. Each from the corner of its
// region, by the destination's channel of interest.
void ownMultiplyScaled(DaxImage* a, DaxImage* b, uint32_t factor, DaxImage* dst, int32_t height,
                       int32_t width);

// Colours times their opacities, or, unless it is negative, times a constant, which then becomes
// the opacity.
void ownPremultiply(DaxImage* image, int32_t constant, int32_t height, int32_t width);

#endif
