// Resampling and reorientation.

#include "everything/families.h"

namespace everything {

namespace {

struct Factor {
    int32_t upper;
    int32_t lower;
};

// At least 1, or rarely anything.
Factor factor(Scene& scene) {
    const int32_t lower = scene.number(1, 9);
    if (scene.rare()) return {scene.number(-1, 20), lower};
    if (lower < 1 || lower > 100) return {INT32_MAX, lower};
    return {lower * scene.random.in(1, 4) + scene.random.in(0, lower), lower};
}

int32_t interpolation(Scene& scene) {
    return scene.rare() ? scene.random.in(-1, 4) : scene.random.in(0, 2);
}

Shape source(Scene& scene) {
    return scene.rare() ? scene.shape() : scene.shape({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
}

void zoom(Scene& scene) {
    const Shape shape = source(scene);
    DaxImage* const src = scene.image(shape);
    DaxImage* const dst = scene.image(scene.like(shape));
    const Factor x = factor(scene), y = factor(scene);
    const int32_t how = interpolation(scene);
    daxZoom(src, dst, x.upper, x.lower, y.upper, y.lower, how, scene.tilePos());
}

void decimate(Scene& scene) {
    const Shape shape = source(scene);
    DaxImage* const src = scene.image(shape, {.ends = true});
    DaxImage* const dst = scene.image(scene.like(shape));
    const Factor x = factor(scene), y = factor(scene);
    const int32_t how = interpolation(scene);
    daxDecimate(src, dst, x.lower, x.upper, y.lower, y.upper, how, scene.tilePos());
}

void mirror(Scene& scene) {
    const Shape shape = scene.shape();
    Shape other = scene.like(shape);
    if (scene.rare()) other.order = scene.random.in(0, 1);
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shape, allowed);
    DaxImage* const dst = inPlace ? src : scene.image(other, allowed);
    const int32_t axis = scene.rare() ? scene.random.in(-2, 2) : scene.random.in(-1, 1);
    daxMirror(src, dst, axis, scene.tilePos());
}

void rotate(Scene& scene) {
    const Shape shape = source(scene);
    DaxImage* const src = scene.image(shape);
    DaxImage* const dst = scene.image(scene.like(shape));
    const int32_t angle =
        scene.random.chance(40) ? scene.random.in(-4, 4) * 9000 : scene.number(-40000, 40000);
    const int32_t x = scene.number(-20, 60);
    const int32_t y = scene.number(-20, 60);
    const int32_t how = interpolation(scene);
    daxRotate(src, dst, angle, x, y, how, scene.tilePos());
}

} // namespace

Scenarios geometryScenarios() {
    return {
        {"geometry", "daxZoom", zoom, "", "|-2 $ daxZoom Error get tile to write"},
        {"geometry", "daxDecimate", decimate,
         "-3 $ owndecim srcImage->tileInfo->callBack crash|-4 $ owndecim ",
         "|-3 $ owndecim *Image->tileInfo->callBack crash"}, // none beyond the source ends it
        {"geometry", "daxMirror", mirror},
        {"geometry", "daxRotate", rotate, "|-1 $ daxRotat ",
         "|-2 $ daxRotat Error get tile to write|-2 daxCopy daxSCE *|-2 daxSet daxSCE *|-1 $ "
         "daxRotat "},
    };
}

} // namespace everything
