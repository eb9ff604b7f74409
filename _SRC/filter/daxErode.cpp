#include "filter/morphology.h"

void daxErode(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
              const DaxMapping* mapping) {
    const OwnMorphology work = {{"daxErode", "daxErode"}, srcImage, dstImage};
    if (!work.begins(nIterations, mapping)) return;
    work.pass(OwnExtreme::smallest, nIterations, OwnMorphology::From::source);
    work.ends();
}
