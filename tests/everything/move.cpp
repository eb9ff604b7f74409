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

} // namespace

Scenarios moveScenarios() {
    const char* const noTile = "-2 $ daxSCE Error get tile to *";
    return {
        {"move", "daxCopy", pairOf<daxCopy>, "", "|-2 $ daxSCE Error get tile to *"},
        {"move", "daxExchange", pairOf<daxExchange>, "",
         "|-2 $ daxSCE Error get tile to *|-2 daxCopy daxSCE Error get tile to *"},
        {"move", "daxSet", set, "", noTile},
    };
}

} // namespace everything
