// Compositing, and products over full scale.

#include "everything/families.h"

namespace everything {

namespace {

Allowed tiledAnyhow(int32_t alpha) { return {.held = 10000, .alpha = alpha}; }

Shape first(Scene& scene) {
    return scene.rare() ? scene.shape() : scene.shape({DAX_DEPTH_8U, DAX_DEPTH_16U});
}

// Of the depth and channels of another one, in any order.
Shape beside(Scene& scene, const Shape& other) {
    Shape shape = scene.like(other);
    if (scene.random.chance(50)) shape.order = scene.random.in(0, 1);
    return shape;
}

struct Composition {
    DaxImage* a;
    DaxImage* b;
    DaxImage* dst;
    Shape shape;
};

Composition composition(Scene& scene, bool opacities) {
    const Shape shape = first(scene);
    const auto made = [&](const Shape& one) {
        return scene.image(one, tiledAnyhow(opacities && !scene.rare() ? one.channels : 0));
    };
    Composition images = {made(shape), nullptr, nullptr, shape};
    images.b = scene.random.chance(10) ? images.a : made(beside(scene, shape));
    images.dst = scene.random.chance(20)   ? images.a
                 : scene.random.chance(20) ? images.b
                                           : made(beside(scene, shape));
    return images;
}

// An image with opacities, often of one channel.
DaxImage* opacity(Scene& scene, const Shape& other) {
    if (scene.random.chance(60)) return nullptr;
    Shape shape = beside(scene, other);
    shape.channels = scene.random.in(1, 2);
    if (shape.depth == DAX_DEPTH_1U) shape.channels = 1;
    if (shape.roi && scene.random.chance(80)) shape.roi->coi = 0;
    if (shape.roi && shape.roi->coi > shape.channels) shape.roi->coi = 1;
    return scene.image(shape, tiledAnyhow(scene.random.chance(80) ? shape.channels : 0));
}

void composite(Scene& scene) {
    const Composition images = composition(scene, scene.random.chance(80));
    DaxImage* alphas[3];
    for (DaxImage*& alpha : alphas) alpha = opacity(scene, images.shape);
    const int32_t type = scene.rare() ? scene.random.in(-1, 6) : scene.random.in(0, 5);
    const int32_t premultiplied = scene.random.in(0, scene.rare() ? 2 : 1);
    const int32_t divide = scene.random.in(0, scene.rare() ? 2 : 1);
    daxAlphaComposite(images.a, images.b, images.dst, type, alphas[0], alphas[1], alphas[2],
                      premultiplied, divide, scene.tilePos());
}

void compositeConstant(Scene& scene) {
    const Composition images = composition(scene, scene.random.chance(60));
    const int32_t type = scene.rare() ? scene.random.in(-1, 6) : scene.random.in(0, 5);
    const int32_t alphaA = scene.number(-100, 300);
    const int32_t alphaB = scene.number(-100, 300);
    const int32_t premultiplied = scene.random.in(0, 1);
    const int32_t divide = scene.random.in(0, 1);
    daxAlphaCompositeC(images.a, images.b, images.dst, type, alphaA, alphaB, premultiplied, divide,
                       scene.tilePos());
}

void premultiply(Scene& scene) {
    const Shape shape = first(scene);
    DaxImage* const image =
        scene.image(shape, tiledAnyhow(scene.random.chance(80) ? shape.channels : 0));
    const int32_t alpha = scene.number(-100, 300);
    daxPreMultiplyAlpha(image, alpha, scene.tilePos());
}

void product(Scene& scene) {
    const Composition images = composition(scene, scene.random.chance(30));
    daxMultiplyScale(images.a, images.b, images.dst, scene.tilePos());
}

void constantProduct(Scene& scene) {
    const Composition images = composition(scene, scene.random.chance(30));
    const int32_t value = scene.number(-1, 70000);
    daxMultiplySScale(images.a, images.dst, value, scene.tilePos());
}

} // namespace

Scenarios alphaScenarios() {
    const char* const failed = "-2 $ daxalpha ERROR in Tiling callBack";
    return {
        {"alpha", "daxAlphaComposite", composite, failed, failed},
        {"alpha", "daxAlphaCompositeC", compositeConstant, failed, failed},
        {"alpha", "daxPreMultiplyAlpha", premultiply, failed, failed},
        {"alpha", "daxMultiplyScale", product, failed, failed},
        {"alpha", "daxMultiplySScale", constantProduct, failed, failed},
    };
}

} // namespace everything
