// Pairs of images for the operations that resample, and calls on them with tiles.
#ifndef GEOMETRY_SCENE_H
#define GEOMETRY_SCENE_H

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/scene.h"
#include "kit/shapes.h"

#include "frame/border.h"

#include <algorithm>

namespace geometry {

using kit::Image;
using kit::narrow;
using kit::Random;
using kit::regionOf;
using kit::Shape;
using kit::Share;
using kit::sharesOf;
using kit::Trial;
using Lines = std::vector<std::string>;

// A source and a destination of one depth and order, whose channels mostly fit; with rows longer
// than their fields say, or not.
std::vector<Image> resamplingPair(Random& random, int32_t mostSize = 60, bool slack = true);

// A pair of which at least one image is tiled.
struct Scene : kit::Scene {
    Scene(Random& random, std::vector<Image> pair);
};

} // namespace geometry

#endif
