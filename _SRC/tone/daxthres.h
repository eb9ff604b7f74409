// The row kernels of the threshold.
#ifndef OWN_DAXTHRES_H
#define OWN_DAXTHRES_H

#include "frame/kernels.h"
#include "frame/runs.h"

struct OwnThresholdTable {
    OwnSingleRow byDepth[5]; // by ownDepthIndex
};

struct OwnThreshold {
    using Table = OwnThresholdTable;
};

#endif
