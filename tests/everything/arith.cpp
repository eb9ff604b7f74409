// Operations sample by sample.

#include "everything/families.h"

namespace everything {

namespace {

template <class Call> void pair(Scene& scene, Call call) {
    const std::vector<Shape> shapes = scene.fitting(3);
    const int32_t inPlace = scene.random.chance(25) ? scene.random.in(0, 2) : 3;
    Allowed allowed = {.held = inPlace == 3 ? 1u : 3u};
    DaxImage* const dst = scene.image(shapes[2], allowed);
    DaxImage* const a = inPlace == 0 || inPlace == 2 ? dst : scene.image(shapes[0], allowed);
    const auto tiled = [](const DaxImage* image) {
        return image != nullptr && image->tileInfo != nullptr;
    };
    allowed.tiles = tiled(a) || tiled(dst); // exception: the second source alone
    DaxImage* const b = inPlace == 1 || inPlace == 2 ? dst : scene.image(shapes[1], allowed);
    call(a, b, dst, scene.tilePos());
}

// `shortSteps`: what an operation hands to daxCopy() has rows by the fields.
template <class Call> void single(Scene& scene, Call call, bool shortSteps = true) {
    std::vector<Shape> shapes = scene.fitting(2);
    for (Shape& shape : shapes)
        if (!shortSteps && shape.slack < 0) shape.slack = 0;
    const bool inPlace = scene.random.chance(20);
    const Allowed allowed = {.held = inPlace ? 2u : 1u};
    DaxImage* const src = scene.image(shapes[0], allowed);
    DaxImage* const dst = inPlace ? src : scene.image(shapes[1], allowed);
    call(src, dst, scene.tilePos());
}

template <auto function> void pairOf(Scene& scene) { pair(scene, function); }

// Half of the time one within the numbers of a byte.
int32_t anyConstant(Scene& scene) {
    return scene.random.chance(50) ? scene.number(-300, 300) : scene.number(INT32_MIN, INT32_MAX);
}

template <class T>
void constant(Scene& scene, void function(DaxImage*, DaxImage*, T, const int32_t*)) {
    single(scene, [&](DaxImage* src, DaxImage* dst, const int32_t* tilePos) {
        function(src, dst, static_cast<T>(anyConstant(scene)), tilePos);
    });
}

void subtractConstant(Scene& scene) {
    single(scene, [&](DaxImage* src, DaxImage* dst, const int32_t* tilePos) {
        const int32_t value = anyConstant(scene);
        daxSubtractS(src, dst, value, scene.random.in(0, 1), tilePos);
    });
}

template <auto function> void constantOf(Scene& scene) { constant(scene, function); }

template <auto function> void shift(Scene& scene) {
    const auto call = [&](DaxImage* src, DaxImage* dst, const int32_t* tilePos) {
        function(src, dst, static_cast<uint32_t>(scene.number(0, 33)), tilePos);
    };
    single(scene, call, false);
}

template <auto function> void plain(Scene& scene) { single(scene, function); }

} // namespace

Scenarios arithScenarios() {
    const char* const noTile = noTileOfWalk;
    const char* const orOfCopy =
        "-5 $ * (*->tileInfo->tileData == *|-2 daxCopy daxSCE Error get tile *";
    return {
        {"arith", "daxAdd", pairOf<daxAdd>, "", noTile},
        {"arith", "daxSubtract",
         [](Scene& scene) {
             pair(scene, [&](DaxImage* a, DaxImage* b, DaxImage* dst, const int32_t* tilePos) {
                 daxSubtract(a, b, dst, scene.random.in(0, 1), tilePos);
             });
         },
         "", noTile},
        {"arith", "daxMultiply", pairOf<daxMultiply>, "", noTile},
        {"arith", "daxAnd", pairOf<daxAnd>, "", noTile},
        {"arith", "daxOr", pairOf<daxOr>, "", noTile},
        {"arith", "daxXor", pairOf<daxXor>, "", noTile},
        {"arith", "daxAddS", constantOf<daxAddS>, "", noTile},
        {"arith", "daxSubtractS", subtractConstant, "", noTile},
        {"arith", "daxMultiplyS", constantOf<daxMultiplyS>, "", noTile},
        {"arith", "daxAndS", constantOf<daxAndS>, "", noTile},
        {"arith", "daxOrS", constantOf<daxOrS>, "", noTile},
        {"arith", "daxXorS", constantOf<daxXorS>, "", noTile},
        {"arith", "daxNot", plain<daxNot>, "", "-5 daxXorS daxxors (*->tileInfo->tileData == *"},
        {"arith", "daxSquare", plain<daxSquare>, "", noTile},
        {"arith", "daxAbs", [](Scene& scene) { single(scene, daxAbs, false); }, "", orOfCopy},
        {"arith", "daxLShiftS", shift<daxLShiftS>, "",
         "-5 $ * (*tileData == *|-5 daxAndS * (*tileData == *|-2 daxCopy daxSCE Error get tile *"},
        {"arith", "daxRShiftS", shift<daxRShiftS>, "", noTile},
    };
}

} // namespace everything
