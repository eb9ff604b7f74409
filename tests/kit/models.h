// Plain models of the walks over images, written from their definitions and not from the code.
#ifndef KIT_MODELS_H
#define KIT_MODELS_H

#include "kit/image.h"

#include <array>
#include <functional>
#include <vector>

namespace kit {

// Where a sample of a visit lies in each image: bytes from `imageData`, or bits for the bitonal
// depth.
using Visit = std::array<int64_t, 3>;

// The samples that a sample-by-sample operation visits on two or three plain images that fit each
// other, the last of which is the destination. Samples that don't lie inside every image's block
// are left out.
std::vector<Visit> visitsOf(const std::vector<const DaxImage*>& images);

// Carries an operation out on plain images, sample after sample; with one source the second
// argument is 0.
using SampleFunction = std::function<int64_t(int64_t a, int64_t b)>;
void combineByModel(const std::vector<DaxImage*>& images, const SampleFunction& function);

} // namespace kit

#endif
