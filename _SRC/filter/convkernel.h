// The kernel record of the convolutions.
#ifndef OWN_CONVKERNEL_H
#define OWN_CONVKERNEL_H

#include "frame/daxlib.h"

// Whether the sizes and the anchor are out of range.
bool ownBadKernel(const DaxConvKernel* kernel);

#endif
