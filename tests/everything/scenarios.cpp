#include "everything/families.h"

// What no scene does, since it faults or has no defined outcome by the interface's own words. The
// scenarios say "exception" where they keep clear of it.
//
// - A call of the two-image arithmetic and logic in which the second source alone has tiles: it
//   reads through its null `imageData`.
// - Null for daxSetBorderMode(), daxDeallocateImage() and the context of daxGuiBoxReport(), and
//   blocks for daxFree() or records for the delete functions that are not theirs: they aren't
//   tested.
// - Error mode DAX_ErrModeLeaf: its reporters end the process.
// - Bad headers and tiles for daxDCT2D(): it doesn't check headers.
// - DAX_FFT_REPEAT after a call for other images: the plan holds the addresses of the pixels.
// - Row steps that leave out padding, but for the sample-by-sample operations: where steps are
//   derived anew, `widthStep` and the fields have to agree.
// - Fewer entries of `lut` than an image has channels, and a null `factor` of a curve that slopes:
//   neither is tested.
// - Texts of fewer than three characters for daxCreateImageHeader(), values for
//   daxCreateConvKernel() that are fewer than it has cells: the caller's blocks have no size.
// - Images in tiles for the bitmap functions: they take plain ones.
// - Regions far beyond a tiled image: copies go on through tiles that aren't the image's.
// - Copies, filters and resampling with images that overlap, where they don't work in place.
// - A tile access function that delivers tiles without end to the colour conversions, bit reduction
//   and decimation: it tells them where the image ends.

namespace everything {

const std::vector<Scenario>& scenarios() {
    static const std::vector<Scenario> all = [] {
        std::vector<Scenario> list;
        for (const auto& folder :
             {frameScenarios, arithScenarios, moveScenarios, filterScenarios, geometryScenarios,
              transformScenarios, colorScenarios, alphaScenarios, toneScenarios})
            for (const Scenario& scenario : folder()) list.push_back(scenario);
        return list;
    }();
    return all;
}

} // namespace everything
