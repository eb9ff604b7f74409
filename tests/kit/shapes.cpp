#include "kit/shapes.h"

#include <algorithm>

namespace kit {

namespace {

int32_t anySize(Random& random) { return random.chance(30) ? random.in(1, 4) : random.in(1, 40); }

// `widthStep` may be larger than derived, or smaller where rows are padded.
int32_t anySlack(Random& random, const Shape& shape) {
    if (random.chance(70)) return 0;
    if (random.chance(60)) return random.in(1, 19);
    Shape packed = shape;
    packed.align = 1;
    return static_cast<int32_t>(packed.rowStep() - shape.rowStep());
}

} // namespace

DaxROI anyRoi(Random& random, int32_t width, int32_t height, int32_t coi) {
    const auto span = [&](int32_t limit, int32_t* offset, int32_t* size) {
        const int32_t kind = random.in(0, 19);
        *offset = kind < 14 ? random.in(0, limit - 1) : kind < 19 ? 0 : limit + random.in(0, 9);
        *size = kind < 8    ? random.in(1, limit - *offset)
                : kind < 14 ? limit - *offset + random.in(1, 9)
                : kind < 17 ? limit
                            : random.in(1, limit + 9);
    };
    DaxROI roi = {coi, 0, 0, 0, 0};
    span(width, &roi.xOffset, &roi.width);
    span(height, &roi.yOffset, &roi.height);
    return roi;
}

DaxROI regionOf(const DaxImage* image) {
    return image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
}

DaxROI cutRegion(const DaxImage* image) {
    DaxROI roi = regionOf(image);
    roi.width = std::max(0, std::min(roi.width, image->width - roi.xOffset));
    roi.height = std::max(0, std::min(roi.height, image->height - roi.yOffset));
    return roi;
}

Shape anyShape(Random& random) {
    Shape shape;
    shape.depth = random.of(depths);
    shape.channels = shape.depth == DAX_DEPTH_1U ? 1 : random.in(1, 4);
    shape.width = anySize(random);
    shape.height = anySize(random);
    shape.order = random.in(0, 1);
    shape.align = random.oneOf({4, 8});
    shape.origin = random.in(0, 1);
    shape.slack = anySlack(random, shape);
    shape.shift = random.chance(50) ? 0 : random.in(1, 7);
    if (random.chance(70))
        shape.roi = anyRoi(random, shape.width, shape.height, random.in(0, shape.channels));
    return shape;
}

std::vector<Shape> fittingShapes(Random& random, int32_t count, bool tileable) {
    const Shape common = anyShape(random);
    const bool bitonal = common.depth == DAX_DEPTH_1U;
    const bool ofInterest = random.chance(40);
    const int32_t working = bitonal || ofInterest ? 1 : common.channels;
    const bool sameSize = random.chance(50);
    const bool wholeRows = sameSize && random.chance(40);
    const bool whole = random.chance(30);
    const int32_t rowWidth = random.in(1, 4) * 8;
    std::vector<Shape> shapes;
    for (int32_t i = 0; i < count; ++i) {
        Shape shape = anyShape(random);
        shape.depth = common.depth;
        shape.order = common.order;
        shape.channels = !ofInterest ? working
                         : tileable  ? common.channels
                         : bitonal   ? 1
                                     : random.in(1, 4);
        if (sameSize) {
            shape.width = wholeRows ? rowWidth : common.width;
            shape.height = common.height;
            shape.align = common.align;
        }
        shape.slack = tileable || sameSize ? 0 : anySlack(random, shape);
        const int32_t coi = ofInterest && !(shape.channels == 1 && random.chance(20))
                                ? random.in(1, shape.channels)
                                : 0;
        shape.roi.reset();
        if (coi != 0 || !whole) {
            shape.roi = anyRoi(random, shape.width, shape.height, coi);
            if (whole) shape.roi = DaxROI{coi, 0, 0, shape.height + random.in(0, 2), shape.width};
            if (wholeRows) shape.roi->xOffset = 0, shape.roi->width = shape.width;
            if (bitonal && tileable) {
                shape.roi->xOffset = random.in(0, shape.width - 1);
                shape.roi->yOffset = random.in(0, shape.height - 1);
                shape.roi->width = random.in(1, shape.width - shape.roi->xOffset);
                shape.roi->height = random.in(1, shape.height - shape.roi->yOffset);
            }
        }
        shapes.push_back(shape);
    }
    return shapes;
}

void widen(Random& random, std::vector<Shape>* shapes) {
    const int32_t more = random.in(100, shapes->front().depth == DAX_DEPTH_1U ? 20000 : 3000);
    for (Shape& shape : *shapes) {
        shape.width += more;
        shape.height = std::min(shape.height, 3);
        if (!shape.roi) continue;
        shape.roi->width += more;
        shape.roi->yOffset = std::min(shape.roi->yOffset, 2);
    }
}

std::vector<Image> filledImages(Random& random, const std::vector<Shape>& shapes) {
    std::vector<Image> images;
    for (const Shape& shape : shapes) images.emplace_back(shape, random);
    return images;
}

} // namespace kit
