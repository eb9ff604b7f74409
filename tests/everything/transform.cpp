// Fourier and cosine transforms.

#include "everything/families.h"

namespace everything {

namespace {

constexpr std::initializer_list<int32_t> samples = {DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U,
                                                    DAX_DEPTH_16S, DAX_DEPTH_32S};

// Mostly lengths for which there are ways of their own.
int32_t length(Scene& scene) {
    return scene.random.chance(50) ? 1 << scene.random.in(0, 6) : scene.random.in(1, 70);
}

// An image and its transform; regions lie inside.
struct Images {
    DaxImage* src;
    DaxImage* dst;
};

Images images(Scene& scene, Allowed allowed) {
    Shape shape = scene.shape(samples);
    shape.width = length(scene);
    shape.height = length(scene);
    Shape other = scene.like(shape);
    if (other.depth == shape.depth) other.depth = scene.random.oneOf(samples);
    other.width = shape.width;
    other.height = shape.height;
    allowed.regionBeyond = scene.rare();
    if (shape.roi && scene.random.chance(50)) other.roi = shape.roi;
    if (scene.random.chance(80) && !shape.roi) other.roi.reset();
    if (scene.random.chance(20)) allowed.alpha = shape.channels;
    DaxImage* const src = scene.image(shape, allowed);
    if (allowed.alpha > other.channels) allowed.alpha = 0;
    return {src, scene.image(other, allowed)};
}

template <auto function> void fourier(Scene& scene) {
    Allowed allowed;
    allowed.tiles = scene.rare();
    const auto [src, dst] = images(scene, allowed);
    int32_t flags = scene.random.in(1, 2);
    flags |= scene.random.oneOf({0, 0, DAX_FFT_USEINT, DAX_FFT_USEFLOAT});
    flags |= scene.random.oneOf({0, DAX_FFT_NOSCALE});
    flags |= scene.random.oneOf({0, DAX_FFT_ALPHA});
    flags |= scene.random.oneOf({0, DAX_FFT_KEEP});
    if (scene.rare()) flags = scene.number(0, 511);
    flags &= ~DAX_FFT_REPEAT;
    const int32_t map = 0;
    function(src, dst, flags, scene.rare() ? &map : nullptr);
    // Exception: a plan for other images.
    const bool planned = !scene.clearsStatus && daxGetErrStatus() == DAX_StatusNoError &&
                         (flags & DAX_FFT_FREE) == 0;
    if (planned && scene.random.chance(30)) function(src, dst, flags | DAX_FFT_REPEAT, nullptr);
    function(nullptr, nullptr, DAX_FFT_FREE, nullptr);
}

void cosine(Scene& scene) {
    Allowed allowed;
    allowed.tiles = allowed.damage = false; // exception: headers that aren't checked
    const auto [src, dst] = images(scene, allowed);
    const int32_t flags = scene.random.oneOf({1, 1, 2, 2, 5, 6}) | (scene.rare() ? 3 : 0);
    daxDCT2D(src, dst, flags);
    if (scene.rare()) daxDCT2D(src, nullptr, flags);
    if (scene.rare()) daxDCT2D(src, src, flags);
    daxDCT2D(nullptr, nullptr, DAX_DCT_FREE);
}

} // namespace

Scenarios transformScenarios() {
    // Kept tables go first, and the call goes on.
    const char* const refused = "|-5 $ daxfft2d Error in input data";
    return {
        {"transform", "daxRealFft2D", fourier<daxRealFft2D>, refused},
        {"transform", "daxCcsFft2D", fourier<daxCcsFft2D>, refused},
        {"transform", "daxDCT2D", cosine, "", "", 0, true},
    };
}

} // namespace everything
