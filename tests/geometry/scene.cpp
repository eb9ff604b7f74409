#include "scene.h"

namespace geometry {

std::vector<Image> resamplingPair(Random& random, int32_t mostSize, bool slack) {
    std::vector<Shape> shapes = {kit::anyShape(random), kit::anyShape(random)};
    Shape& src = shapes[0];
    Shape& dst = shapes[1];
    if (random.chance(90)) src.depth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    const bool bitonal = src.depth == DAX_DEPTH_1U;
    if (bitonal) src.channels = 1;
    dst.depth = src.depth;
    dst.order = src.order;
    dst.origin = src.origin;
    const int32_t kind = random.in(0, 9);
    dst.channels = bitonal ? 1 : kind < 6 ? src.channels : random.in(1, 4);
    if (random.chance(50)) src.width = random.in(1, mostSize / 2), src.height = random.in(1, 20);
    if (random.chance(80)) dst.width = random.in(1, mostSize), dst.height = random.in(1, 40);
    for (Shape& shape : shapes) {
        shape.slack = slack && random.chance(20) ? random.in(1, 5) * 2 : 0;
        shape.roi.reset();
        if (random.chance(60))
            shape.roi = kit::anyRoi(random, shape.width, shape.height,
                                    kind < 4 ? 0 : random.in(0, shape.channels));
    }
    std::vector<Image> images = filledImages(random, shapes);
    kit::setAnyBorders(random, images[0]);
    return images;
}

Scene::Scene(Random& random, std::vector<Image> pair)
    : kit::Scene(random, std::move(pair), random.in(1, 3), 40) {
    // Tiles above the region, from which a walk would then start, are another matter.
    if (pos && (*pos)[0] < regionOf(images[1]).yOffset / sizes[3]) pos.reset();
}

} // namespace geometry
