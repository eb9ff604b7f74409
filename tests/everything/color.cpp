// Colour models, bit reduction, the colour twist.

#include "everything/families.h"

namespace everything {

namespace {

const char* sequence(Scene& scene) {
    return scene.rare() ? scene.random.oneOf({"GRAY", "ARGB", "HHHH", "G\0\0"})
                        : scene.random.oneOf({"RGB", "BGR", "RGBA", "BGRA", "GBR"});
}

// Walks of destinations end where there are no tiles.
Allowed colored(Scene& scene, const char* model) {
    if (scene.rare()) model = scene.random.oneOf({"RGB", "HSV", "HLS", "GRAY"});
    return {.far = false, .ends = true, .model = model, .sequence = sequence(scene)};
}

Shape threeChannels(Scene& scene) {
    Shape shape = scene.shape({DAX_DEPTH_8U, DAX_DEPTH_16U, DAX_DEPTH_32S});
    if (!scene.rare()) shape.channels = scene.random.in(3, 4);
    if (shape.roi) shape.roi->coi = 0;
    return shape;
}

template <auto function> void models(Scene& scene, const char* from) {
    const Shape shape = threeChannels(scene);
    const bool inPlace = scene.random.chance(15);
    Allowed allowed = colored(scene, from);
    allowed.tiles = !inPlace; // exception: daxRGB2HSV() and its like don't name it
    DaxImage* const src = scene.image(shape, allowed);
    const Shape other = scene.like(shape);
    DaxImage* const dst = inPlace ? src : scene.image(other, colored(scene, "RGB"));
    function(src, dst, scene.tilePos());
}

void colorToGray(Scene& scene) {
    const Shape shape = threeChannels(scene);
    Shape gray = scene.like(shape);
    gray.depth = scene.random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    if (!scene.rare() || gray.depth == DAX_DEPTH_1U) gray.channels = 1;
    gray.roi.reset();
    DaxImage* const src = scene.image(shape, colored(scene, "RGB"));
    DaxImage* const dst = scene.image(gray, colored(scene, "GRAY"));
    daxColorToGray(src, dst, scene.tilePos());
}

void grayToColor(Scene& scene) {
    const Shape shape = threeChannels(scene);
    Shape gray = scene.like(shape);
    if (gray.depth == DAX_DEPTH_8U && scene.random.chance(30)) gray.depth = DAX_DEPTH_1U;
    if (!scene.rare() || gray.depth == DAX_DEPTH_1U) gray.channels = 1;
    gray.roi.reset();
    DaxImage* const src = scene.image(gray, colored(scene, "GRAY"));
    DaxImage* const dst = scene.image(shape, colored(scene, "RGB"));
    float weights[3];
    for (float& weight : weights)
        weight = scene.rare() ? scene.random.oneOf({-1.0F, 1e30F, -1e30F, 70000.0F})
                              : static_cast<float>(scene.random.in(0, 8)) / 4.0F;
    daxGrayToColor(src, dst, weights[0], weights[1], weights[2], scene.tilePos());
}

// Noise is the C library's, so only hostile scenes, which nobody compares, have it.
void reduce(Scene& scene) {
    struct Depths {
        int32_t src, dst;
    };
    const Depths depths = scene.random.oneOf<Depths>({{DAX_DEPTH_32S, DAX_DEPTH_16U},
                                                      {DAX_DEPTH_32S, DAX_DEPTH_8U},
                                                      {DAX_DEPTH_16U, DAX_DEPTH_8U},
                                                      {DAX_DEPTH_8U, DAX_DEPTH_1U}});
    Shape shape = scene.shape({depths.src});
    if (depths.dst == DAX_DEPTH_1U) {
        shape.channels = 1;
        if (shape.roi) shape.roi->coi = 0;
    }
    Shape other = scene.like(shape);
    if (other.depth == shape.depth) other.depth = depths.dst;
    DaxImage* const src = scene.image(shape, colored(scene, "RGB"));
    DaxImage* const dst = scene.image(other, colored(scene, "RGB"));
    const int32_t jitter = scene.hostile && scene.random.chance(50) ? scene.random.in(-1, 9) : 0;
    const int32_t dither = scene.rare()
                               ? scene.number(0, 33)
                               : scene.random.oneOf({DAX_DITHER_NONE, DAX_DITHER_FS, DAX_DITHER_JJN,
                                                     DAX_DITHER_STUCKI, DAX_DITHER_BAYER});
    const int32_t levels = scene.number(-1, 9);
    daxReduceBits(src, dst, jitter, dither, levels, scene.tilePos());
}

void twist(Scene& scene) {
    Shape shape = threeChannels(scene);
    if (!scene.rare() && shape.depth == DAX_DEPTH_32S) shape.depth = DAX_DEPTH_16U;
    const bool inPlace = scene.random.chance(15);
    const Allowed allowed = {.held = inPlace ? 2u : 1u, .alpha = shape.channels == 4 ? 4 : 0};
    DaxImage* const src = scene.image(shape, allowed);
    Shape other = scene.like(shape);
    DaxImage* const dst =
        inPlace ? src : scene.image(other, {.alpha = other.channels == 4 ? 4 : 0});
    auto* const data = scene.array<int32_t>(16);
    const int32_t most = scene.random.oneOf({3, 300, 40000, INT32_MAX});
    for (int32_t i = 0; i < 16; ++i) data[i] = scene.random.in(-most, most);
    const int32_t scaling = scene.rare() ? scene.number(0, 40) : scene.random.in(0, 31);
    DaxColorTwist* const made = daxCreateColorTwist(scene.rare() ? nullptr : data, scaling);
    if (scene.random.chance(30)) daxSetColorTwist(made, data, scene.random.in(0, 31));
    const int32_t offset = scene.number(-300, 300);
    daxApplyColorTwist(src, dst, made, offset, scene.mapping());
    daxDeleteColorTwist(made);
}

} // namespace

Scenarios colorScenarios() {
    const char* const noSource = "|-4 $ owncolor out_of_memory";
    return {
        {"color", "daxRGB2HSV", [](Scene& scene) { models<daxRGB2HSV>(scene, "RGB"); }, noSource,
         noSource},
        {"color", "daxHSV2RGB", [](Scene& scene) { models<daxHSV2RGB>(scene, "HSV"); }, noSource,
         noSource},
        {"color", "daxRGB2HLS", [](Scene& scene) { models<daxRGB2HLS>(scene, "RGB"); }, noSource,
         noSource},
        {"color", "daxHLS2RGB", [](Scene& scene) { models<daxHLS2RGB>(scene, "HLS"); }, noSource,
         noSource},
        {"color", "daxColorToGray", colorToGray, noSource, noSource},
        {"color", "daxGrayToColor", grayToColor, noSource, noSource},
        {"color", "daxReduceBits", reduce, noSource, noSource},
        {"color", "daxApplyColorTwist daxCreateColorTwist daxSetColorTwist daxDeleteColorTwist",
         twist,
         "-4 daxCreateColorTwist daxtwist out_of_memory|-5 daxSetColorTwist daxtwist cTwist==0|-5 "
         "$ daxtwist cTwist==0",
         "-5 $ daxtwist (*->tileInfo->tileData == NULL)"},
    };
}

} // namespace everything
