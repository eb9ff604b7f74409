#include "filter/morphology.h"

void daxOpen(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
             const DaxMapping* mapping) {
    using From = OwnMorphology::From;
    const OwnMorphology work = {{"daxOpen", "daxOpen"}, srcImage, dstImage};
    if (!work.begins(nIterations, mapping)) return;
    for (int32_t k = 0; k < nIterations; ++k)
        if (!work.pass(OwnExtreme::smallest, 1, k == 0 ? From::source : From::destination) ||
            !work.pass(OwnExtreme::largest, 1, From::destination))
            break;
    work.ends();
}
