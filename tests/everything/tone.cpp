// Histograms, curves, thresholds, norms.

#include "everything/families.h"

#include <algorithm>

namespace everything {

namespace {

// A record whose arrays are no longer than it says.
DaxLUT* record(Scene& scene, int32_t depth) {
    const int32_t values = depth == DAX_DEPTH_1U ? 2 : depth == DAX_DEPTH_16U ? 65536 : 256;
    const bool all = values <= 256 && scene.random.chance(50);
    auto* const made = scene.array<DaxLUT>(1);
    made->num = all ? values + 1 : scene.random.in(2, 9);
    made->key = scene.array<int32_t>(made->num);
    made->value = scene.array<int32_t>(made->num);
    made->interpolated = scene.random.in(0, 1);
    if (made->interpolated != 0) made->factor = scene.array<int32_t>(made->num);
    for (int32_t i = 0; i < made->num; ++i) {
        made->key[i] = all ? i : scene.random.in(0, values);
        made->value[i] = scene.number(0, 300);
        if (made->factor != nullptr) made->factor[i] = scene.number(-3, 3);
    }
    std::sort(made->key, made->key + made->num);
    if (scene.random.chance(80)) made->key[0] = 0;
    if (scene.rare()) {
        const int32_t place = scene.random.in(0, made->num - 1);
        made->key[place] = scene.number(-1, values + 1);
    }
    if (scene.rare()) made->num = scene.random.in(-1, 1);
    if (scene.rare()) made->value = nullptr;
    return made;
}

DaxLUT** records(Scene& scene, const Shape& shape, int32_t channels) {
    auto** const list = scene.array<DaxLUT*>(channels);
    for (int32_t i = 0; i < channels; ++i)
        list[i] = scene.rare() ? nullptr : record(scene, shape.depth);
    return scene.rare() ? nullptr : list;
}

void histogram(Scene& scene) {
    const Shape shape =
        scene.rare() ? scene.shape() : scene.shape({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    DaxImage* const src = scene.image(shape);
    DaxLUT** const list = records(scene, shape, shape.channels);
    daxComputeHisto(src, list, scene.tilePos());
}

template <auto function> void curve(Scene& scene) {
    const Shape shape = scene.rare() ? scene.shape() : scene.shape({DAX_DEPTH_8U, DAX_DEPTH_16U});
    const Shape other = scene.like(shape);
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shape, allowed);
    DaxImage* const dst = inPlace ? src : scene.image(other, allowed);
    DaxLUT** const list = records(scene, shape, std::max(shape.channels, other.channels));
    function(src, dst, list, scene.tilePos());
}

void threshold(Scene& scene) {
    const std::vector<Shape> shapes = scene.fitting(2);
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shapes[0], allowed);
    DaxImage* const dst = inPlace ? src : scene.image(shapes[1], allowed);
    const int32_t value = scene.number(-300, 70000);
    daxThreshold(src, dst, value, scene.tilePos());
}

void norm(Scene& scene) {
    const Shape shape = scene.shape();
    DaxImage* const a = scene.image(shape);
    DaxImage* const b = scene.random.chance(40) ? nullptr : scene.image(scene.like(shape));
    const int32_t type =
        scene.rare() ? scene.random.in(-1, 13) : scene.random.oneOf({1, 2, 4, 9, 10, 12});
    scene.keep(daxNorm(a, b, type));
}

} // namespace

Scenarios toneScenarios() {
    const char* const ofMap = "|-2 daxMap daxHist Error get tile to *|-1 $ daxHist ";
    return {
        {"tone", "daxComputeHisto", histogram, "-4 $ daxHist ",
         "-2 $ daxHist Error get tile to read"},
        {"tone", "daxContrastStretch", curve<daxContrastStretch>, "|-4 $ daxHist ", ofMap},
        {"tone", "daxHistoEqualize", curve<daxHistoEqualize>, "|-4 $ daxHist ", ofMap},
        {"tone", "daxThreshold", threshold, "", noTileOfWalk},
        {"tone", "daxNorm", norm},
    };
}

} // namespace everything
