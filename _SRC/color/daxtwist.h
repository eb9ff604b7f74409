// The kernels of the colour twist.
#ifndef OWN_DAXTWIST_H
#define OWN_DAXTWIST_H

#include "color/owncolor.h"

#include <cstddef>
#include <cstdint>

// In integers: the bias of 16 bits allows for samples and results below half their range by it.
struct OwnPackedTwist {
    int16_t weights[3][3];
    int32_t bias[3];
    int32_t scalingValue;
    int32_t offset;
};

// In floating point, with what is below and above the bounds.
struct OwnFloatTwist {
    double rows[3][4];
    double low, high;
    int32_t below, above;
    int32_t offset;
};

// By depth: 8 bits, 16 bits.
struct OwnTwistTable {
    void (*packed[2])(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
                      const OwnPackedTwist& twist);
    void (*floating[2])(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count,
                        const OwnFloatTwist& twist);
};

struct OwnTwist {
    using Table = OwnTwistTable;
};

#endif
