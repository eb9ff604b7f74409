// Operations on windows of pixels.

#include "everything/families.h"

#include <algorithm>

namespace everything {

namespace {

int32_t side(Scene& scene) {
    return scene.random.chance(90) ? scene.random.in(1, 5) : scene.random.in(6, 17);
}

int32_t anchor(Scene& scene, int32_t size) {
    return scene.rare() ? scene.random.in(-1, size) : scene.random.in(0, size - 1);
}

// The record and its coefficients belong to the scene.
DaxConvKernel* kernel(Scene& scene, int32_t mostRows = 17, int32_t mostCols = 17) {
    auto* const made = scene.array<DaxConvKernel>(1);
    made->nRows = std::min(side(scene), mostRows);
    made->nCols = std::min(side(scene), mostCols);
    made->anchorX = anchor(scene, made->nCols);
    made->anchorY = anchor(scene, made->nRows);
    made->nShiftR = scene.number(0, 9);
    made->values = scene.array<int8_t>(made->nRows * made->nCols);
    for (int32_t i = 0; i < made->nRows * made->nCols; ++i)
        made->values[i] = static_cast<int8_t>(scene.random.chance(80) ? scene.random.in(-3, 3)
                                                                      : scene.random.in(-128, 127));
    return made;
}

void kernels(Scene& scene) {
    const DaxConvKernel& from = *kernel(scene);
    DaxConvKernel* const made =
        daxCreateConvKernel(from.nRows, from.nCols, from.anchorX, from.anchorY,
                            scene.rare() ? nullptr : from.values, from.nShiftR);
    if (made == nullptr) return;
    int32_t* const fields = scene.array<int32_t>(5);
    int8_t* const values = scene.array<int8_t>(made->nRows * made->nCols);
    const int32_t lacking = scene.rare() ? scene.random.in(0, 6) : -1;
    const auto field = [&](int32_t i) { return lacking == i ? nullptr : &fields[i]; };
    daxGetConvKernel(lacking == 6 ? nullptr : made, field(0), field(1), field(2), field(3),
                     lacking == 5 ? nullptr : &values, field(4));
    daxDeleteConvKernel(made);
    if (scene.rare()) daxDeleteConvKernel(nullptr);
}

void convolve(Scene& scene) {
    struct Depths {
        int32_t src, dst;
    };
    const Depths depths = scene.random.oneOf<Depths>({{DAX_DEPTH_1U, DAX_DEPTH_1U},
                                                      {DAX_DEPTH_8U, DAX_DEPTH_8U},
                                                      {DAX_DEPTH_1U, DAX_DEPTH_8U},
                                                      {DAX_DEPTH_8S, DAX_DEPTH_8S},
                                                      {DAX_DEPTH_1U, DAX_DEPTH_8S},
                                                      {DAX_DEPTH_8U, DAX_DEPTH_8S},
                                                      {DAX_DEPTH_16U, DAX_DEPTH_16U},
                                                      {DAX_DEPTH_16U, DAX_DEPTH_16S},
                                                      {DAX_DEPTH_16S, DAX_DEPTH_16S},
                                                      {DAX_DEPTH_16U, DAX_DEPTH_32S},
                                                      {DAX_DEPTH_16S, DAX_DEPTH_32S},
                                                      {DAX_DEPTH_32S, DAX_DEPTH_32S}});
    const Shape shape = scene.shape({depths.src});
    Shape other = scene.like(shape);
    if (other.depth == shape.depth && depths.dst != DAX_DEPTH_1U) other.depth = depths.dst;
    const bool inPlace = scene.random.chance(20);
    Allowed allowed = {.held = inPlace ? 2u : 1u};
    if (scene.random.chance(20)) allowed.alpha = shape.channels;
    DaxImage* const src = scene.image(shape, allowed);
    if (allowed.alpha > other.channels) allowed.alpha = 0;
    DaxImage* const dst = inPlace ? src : scene.image(other, allowed);
    const int32_t count = scene.random.chance(60) ? 1 : scene.random.in(1, 4);
    auto** const list = scene.array<DaxConvKernel*>(count);
    for (int32_t i = 0; i < count; ++i) list[i] = scene.rare() ? nullptr : kernel(scene);
    const int32_t method = scene.rare() ? scene.random.in(-1, 5) : scene.random.in(0, 4);
    daxConvolve2D(src, dst, list, scene.hostile && method == 5 ? 0 : count, method,
                  scene.mapping());
}

void convolveSeparably(Scene& scene) {
    const Shape shape = scene.shape();
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shape, allowed);
    DaxImage* const dst = inPlace ? src : scene.image(scene.like(shape), allowed);
    DaxConvKernel* const row = kernel(scene, 2, 17);
    DaxConvKernel* const column = kernel(scene, 17, 2);
    if (scene.random.chance(10)) row->anchorX = scene.number(-30, 30);
    if (scene.random.chance(10)) column->anchorY = scene.number(-30, 30);
    daxConvolveSep2D(src, dst, row, column);
}

void blur(Scene& scene) {
    const Shape shape =
        scene.shape({DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S});
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = 10000};
    DaxImage* const src = scene.image(shape, allowed);
    DaxImage* const dst = inPlace ? src : scene.image(scene.like(shape), allowed);
    const int32_t rows = scene.number(0, 9);
    const int32_t cols = scene.number(0, 9);
    const int32_t x = scene.number(0, 9);
    const int32_t y = scene.number(0, 9);
    daxBlur(src, dst, rows, cols, x, y, scene.mapping());
}

template <auto function> void rank(Scene& scene) {
    const Shape shape = scene.shape();
    DaxImage* const src = scene.image(shape);
    const bool inPlace = scene.random.chance(5) && src != nullptr && src->tileInfo == nullptr;
    DaxImage* const dst = inPlace ? src : scene.image(scene.like(shape));
    const int32_t rows = side(scene);
    const int32_t cols = side(scene);
    const int32_t x = anchor(scene, cols);
    const int32_t y = anchor(scene, rows);
    function(src, dst, rows, cols, x, y, scene.mapping());
}

template <auto function> void morphology(Scene& scene) {
    const Shape shape =
        scene.rare() ? scene.shape() : scene.shape({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shape, allowed);
    DaxImage* const dst = inPlace ? src : scene.image(scene.like(shape), allowed);
    const int32_t iterations = scene.rare() ? 0 : scene.random.in(1, 4);
    function(src, dst, iterations, scene.rare() ? scene.mapping() : nullptr);
}

} // namespace

Scenarios filterScenarios() {
    return {
        {"filter", "daxCreateConvKernel daxGetConvKernel daxDeleteConvKernel", kernels,
         "-4 daxConvolve2D daxcnv2d Allocation failure", "", 1},
        {"filter", "daxConvolve2D", convolve, "|-4 $ daxcnv2d Allocation failure",
         "|-4 $ daxcnv2d Allocation failure"},
        {"filter", "daxConvolveSep2D", convolveSeparably, "", "", 0, true},
        {"filter", "daxBlur", blur},
        {"filter", "daxMaxFilter", rank<daxMaxFilter>, "", "", 0, true},
        {"filter", "daxMinFilter", rank<daxMinFilter>, "", "", 0, true},
        {"filter", "daxMedianFilter", rank<daxMedianFilter>, "", "", 0, true},
        {"filter", "daxErode", morphology<daxErode>, "-4 $ daxErode Not enough memory", ""},
        {"filter", "daxDilate", morphology<daxDilate>, "-4 $ daxDilate Not enough memory", ""},
        {"filter", "daxOpen", morphology<daxOpen>, "-4 $ daxOpen Not enough memory", "", 0, true},
        {"filter", "daxClose", morphology<daxClose>, "-4 $ daxClose Not enough memory", "", 0,
         true},
    };
}

} // namespace everything
