#include "filter/morphology.h"

void daxDilate(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
               const DaxMapping* mapping) {
    const OwnMorphology work = {{"daxDilate", "daxDilate"}, srcImage, dstImage};
    if (!work.begins(nIterations, mapping)) return;
    work.pass(OwnExtreme::largest, nIterations, OwnMorphology::From::source);
    work.ends();
}
