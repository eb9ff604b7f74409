// Contexts, errors, memory and records.

#include "everything/families.h"

namespace everything {

namespace {

// A text of some length, or rarely none.
const char* text(Scene& scene, bool mayLack = true) {
    if (mayLack && scene.random.chance(10)) return nullptr;
    const int32_t length =
        scene.random.chance(80) ? scene.random.in(0, 30) : scene.random.in(31, 900);
    char* const made = scene.array<char>(length + 1);
    for (int32_t i = 0; i < length; ++i) made[i] = static_cast<char>(scene.random.in(32, 126));
    return made;
}

void errors(Scene& scene) {
    const DaxErrorReporter before = daxRedirectError(scene.random.oneOf<DaxErrorReporter>(
        {nullptr, daxGuiBoxReport, daxStdErrReport, daxNulDevReport}));
    // Mode 0 ends the process.
    daxSetErrMode(scene.random.oneOf({DAX_ErrModeParent, DAX_ErrModeSilent, 3, -1}));
    const int32_t status = scene.number(-9, 1);
    const char* const name = text(scene);
    const char* const context = text(scene, false); // exception: not null with daxGuiBoxReport()
    const char* const file = text(scene);
    const int32_t line = scene.number(-1, 3000);
    scene.keep(daxError(status, name, context, file, line));
    scene.keep(daxStdErrReport(status, name, text(scene), file, line));
    scene.keep(daxNulDevReport(status, name, text(scene), file, line));
    scene.keep(daxGuiBoxReport(status, name, context, file, line));
    for (const char* c = daxErrorStr(status); *c != 0; ++c) scene.keep(*c);
    scene.keep(daxGetErrStatus());
    scene.keep(daxGetErrMode());
    scene.keep(daxUndContext()->status);
    scene.keep(daxGetLibVersion()->major);
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(before);
}

void memory(Scene& scene) {
    const int32_t count = scene.number(-1, 5000);
    // What one request is for as many elements of a size.
    const auto use = [&](void* block, int64_t size) {
        if (count <= 5000 && block != nullptr) memset(block, 1, static_cast<size_t>(count * size));
        daxFree(block);
    };
    use(daxMalloc(count), 1);
    use(daxwMalloc(count), 2);
    use(daxiMalloc(count), 4);
    use(daxsMalloc(count), 4);
    use(daxdMalloc(count), 8);
    daxFree(nullptr);
}

void records(Scene& scene) {
    const int32_t flags = scene.random.in(0, DAX_IMAGE_ALL);
    DaxROI* const roi =
        scene.random.chance(50) ? daxCreateROI(0, 0, 0, scene.number(1, 9), 5) : nullptr;
    DaxTileInfo* const tiles =
        scene.random.chance(20) ? daxCreateTileInfo(nullptr, 7, scene.number(1, 9), 8) : nullptr;
    daxSetROI(roi, 1, scene.number(-1, 3), 0, 2, 2);
    daxSetTileInfo(tiles, nullptr, 7, 8, 16);
    const int32_t channels = scene.number(1, 4);
    const int32_t height = scene.number(0, 40);
    const int32_t width = scene.number(0, 300);
    const int32_t depth =
        scene.random.chance(90) ? scene.random.of(kit::depths) : scene.number(0, 64);
    const int32_t alpha = scene.rare() ? -1 : scene.random.in(0, 1);
    const int32_t order = scene.rare() ? 2 : scene.random.in(0, 1);
    const int32_t origin = scene.rare() ? -1 : scene.random.in(0, 1);
    const int32_t align = scene.rare() ? 3 : scene.random.in(1, 2) * 4;
    DaxImage* const image =
        daxCreateImageHeader(channels, alpha, depth, scene.rare() ? nullptr : "GRAY", "GRAY", order,
                             origin, align, height, width, roi, 9, tiles);
    scene.keep(image != nullptr);
    scene.keep(daxBadImageHeader(image) & ~DAX_BAD_TILE_CALLBACK);
    daxAllocateImage(nullptr, 0);
    if (image == nullptr) {
        daxDeleteROI(roi);
        daxDeleteTileInfo(tiles);
        daxDeallocate(nullptr, DAX_IMAGE_ALL);
        return;
    }
    const int32_t mode = scene.number(0, 3);
    const int32_t sides = scene.number(0, 15);
    daxSetBorderMode(image, mode, sides, scene.number(0, 255));
    if (image->dataSize < 1 << 22) daxAllocateImage(image, scene.number(-1, 255));
    if (scene.random.chance(50) && image->imageData != nullptr)
        for (int32_t i = 0; i < image->dataSize; ++i)
            static_cast<char*>(image->imageData)[i] = static_cast<char>(i);
    if (scene.random.chance(20))
        image->maskImage = daxCreateImageHeader(1, 0, DAX_DEPTH_1U, "GRAY", "GRAY", 0, 0, 4, 3, 3,
                                                nullptr, 0, nullptr);
    if (image->maskImage != nullptr) image->maskImage->roi = daxCreateROI(0, 0, 0, 1, 1);
    if (scene.random.chance(10)) daxDeallocateImage(image);
    daxDeallocate(image, flags & ~DAX_IMAGE_HEADER);
    daxDeallocate(image, DAX_IMAGE_ALL & ~DAX_IMAGE_HEADER);
    if (scene.random.chance(50))
        daxDeallocateHeader(image);
    else
        daxDeallocate(image, DAX_IMAGE_HEADER);
    daxDeleteROI(nullptr);
    daxDeleteTileInfo(nullptr);
    daxDeallocateHeader(nullptr);
}

} // namespace

Scenarios frameScenarios() {
    return {
        {"frame",
         "daxError daxErrorStr daxGetErrMode daxGetErrStatus daxGetLibVersion daxGuiBoxReport "
         "daxNulDevReport daxRedirectError daxSetErrMode daxSetErrStatus daxStdErrReport "
         "daxUndContext",
         errors},
        {"frame", "daxMalloc daxwMalloc daxiMalloc daxsMalloc daxdMalloc daxFree", memory},
        {"frame",
         "daxCreateImageHeader daxCreateROI daxSetROI daxDeleteROI daxCreateTileInfo "
         "daxSetTileInfo daxDeleteTileInfo daxAllocateImage daxDeallocate daxDeallocateHeader "
         "daxDeallocateImage daxBadImageHeader daxSetBorderMode",
         records},
    };
}

} // namespace everything
