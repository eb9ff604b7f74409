// Erosion, dilation and what is made of them: each pixel becomes the smallest or the largest of the
// nine around it. A module is its names and the order of its passes.
#ifndef OWN_MORPHOLOGY_H
#define OWN_MORPHOLOGY_H

#include "filter/extremes.h"
#include "frame/call.h"
#include "frame/daxlib.h"

#include <cstdint>

struct OwnMorphology {
    OwnCall call;
    DaxImage* srcImage;
    DaxImage* dstImage;

    // Checks the arguments and clears the thread's status; false after a report.
    bool begins(int32_t nIterations, const DaxMapping* mapping) const;

    // So many iterations with one frame of pixels around the region, always the source's. The first
    // reads the source, or the destination. False when nothing was done, which goes for any pass
    // after it, too: there is nothing to work on, or a pass had no memory.
    enum class From { source, destination };
    bool pass(OwnExtreme which, int32_t nIterations, From from) const;

    // Reports if a pass had no memory.
    void ends() const;
};

#endif
