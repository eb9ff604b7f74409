// Copies, fills and exchanges; other depths and bitmaps.

#include "everything/families.h"

namespace everything {

namespace {

template <auto function> void pairOf(Scene& scene) {
    const Shape shape = scene.shape();
    DaxImage* const src = scene.image(shape);
    DaxImage* const dst = scene.image(scene.like(shape));
    function(src, dst, scene.tilePos());
}

void set(Scene& scene) {
    DaxImage* const dst = scene.image(scene.shape());
    const int32_t value = scene.number(-70000, 70000);
    daxSet(dst, value, scene.tilePos());
}

// The whole of images of one size, of any depths and orders.
struct Whole {
    DaxImage* src;
    DaxImage* dst;
};

Whole whole(Scene& scene, Shape shape, Shape other) {
    Allowed allowed;
    allowed.far = false;
    if (!scene.rare()) {
        other.width = shape.width;
        other.height = shape.height;
    }
    if (other.roi && scene.random.chance(50)) other.roi.reset();
    DaxImage* const src = scene.image(shape, allowed);
    return {src, scene.image(other, allowed)};
}

void convert(Scene& scene) {
    const Shape shape = scene.shape();
    Shape other = scene.shape();
    if (shape.depth == DAX_DEPTH_1U && !scene.rare()) other.depth = DAX_DEPTH_1U;
    other.channels = other.depth == DAX_DEPTH_1U ? 1 : shape.channels;
    if (other.roi) other.roi->coi = 0;
    const Whole images = whole(scene, shape, other);
    const int32_t mode = scene.rare() ? scene.number(-1, 2) : scene.random.in(0, 1);
    daxConvert(images.src, images.dst, mode, scene.tilePos());
}

void expandBits(Scene& scene) {
    const Shape shape = scene.shape({DAX_DEPTH_1U});
    const Whole images = whole(scene, shape, scene.shape());
    const int32_t zero = scene.number(0, 127);
    const int32_t one = scene.number(0, 127);
    daxBitonalToGray(images.src, images.dst, zero, one, scene.tilePos());
}

} // namespace

Scenarios moveScenarios() {
    const char* const noTile = "-2 $ daxSCE Error get tile to *";
    return {
        {"move", "daxCopy", pairOf<daxCopy>, "", "|-2 $ daxSCE Error get tile to *"},
        {"move", "daxExchange", pairOf<daxExchange>, "",
         "|-2 $ daxSCE Error get tile to *|-2 daxCopy daxSCE Error get tile to *"},
        {"move", "daxSet", set, "", noTile},
        {"move", "daxConvert", convert, "", "-5 $ daxcvrt (*->tileInfo->tileData == NULL)"},
        {"move", "daxBitonalToGray", expandBits, "",
         "-5 $ daxbitnl (*->tileInfo->tileData == NULL)"},
    };
}

} // namespace everything
