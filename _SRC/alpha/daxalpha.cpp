// Composition and scaled products: the checks of the five functions, and what they make of their
// arguments.

#include "alpha/compose.h"
#include "alpha/gather.h"
#include "alpha/scaled.h"
#include "frame/fullcheck.h"

namespace {

constexpr OwnCall compositeCall = {"daxAlphaComposite", "daxalpha"};
constexpr OwnCall compositeCCall = {"daxAlphaCompositeC", "daxalpha"};
constexpr OwnCall multiplyCall = {"daxMultiplyScale", "daxalpha"};
constexpr OwnCall multiplySCall = {"daxMultiplySScale", "daxalpha"};
constexpr OwnCall premultiplyCall = {"daxPreMultiplyAlpha", "daxalpha"};

int32_t fullScale(const DaxImage* image) { return image->depth == DAX_DEPTH_8U ? 255 : 65535; }

bool checked(const OwnCall& call, DaxImage* image, const char* name, OwnCommonSize* size,
             int32_t line = __builtin_LINE()) {
    if (!ownFullCheck(call, image, name, line)) return false;
    size->fold(image);
    return true;
}

bool depthIs8or16(const OwnCall& call, const DaxImage* image, const char* name,
                  int32_t line = __builtin_LINE()) {
    return !ownRejects(call, image->depth != DAX_DEPTH_8U && image->depth != DAX_DEPTH_16U,
                       "@->depth != 8 && @->depth != 16", name, line);
}

bool sameDepth(const OwnCall& call, const DaxImage* image, const DaxImage* dstImage,
               const char* name, int32_t line = __builtin_LINE()) {
    return !ownRejects(call, image->depth != dstImage->depth, "@->depth != dstImage->depth", name,
                       line);
}

// What all that work on two images check at the start.
bool sourcesFit(const OwnCall& call, DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                OwnCommonSize* size) {
    return checked(call, dstImage, "dstImage", size) &&
           checked(call, srcImageA, "srcImageA", size) &&
           checked(call, srcImageB, "srcImageB", size) &&
           depthIs8or16(call, dstImage, "dstImage") &&
           sameDepth(call, srcImageA, dstImage, "srcImageA") &&
           sameDepth(call, srcImageB, dstImage, "srcImageB");
}

bool hasAlpha(const OwnCall& call, const DaxImage* image, const char* name,
              int32_t line = __builtin_LINE()) {
    return !ownRejects(call, image->alphaChannel < 1, "@->alphaChannel < 1", name, line) &&
           !ownRejects(call, image->alphaChannel > image->nChannels,
                       "@->alphaChannel > @->nChannels", name, line);
}

bool alphaIsLast(const OwnCall& call, const DaxImage* image, const char* name,
                 int32_t line = __builtin_LINE()) {
    return !ownRejects(call, image->alphaChannel > 0 && image->alphaChannel != image->nChannels,
                       "@->alphaChannel > 0 && @->alphaChannel != @->nChannels", name, line);
}

// A channel of interest of the destination asks for one of the source. One of the source alone is
// refused only where the destination has no region at all.
bool channelsOfInterestFit(const OwnCall& call, const DaxImage* srcImage, const DaxImage* dstImage,
                           const char* name, int32_t line = __builtin_LINE()) {
    const DaxROI* src = srcImage->roi;
    const DaxROI* dst = dstImage->roi;
    if (dst == nullptr)
        return !ownRejects(call, src != nullptr && src->coi > 0,
                           "@->roi->coi > 0 && dstImage->roi == 0", name, line);
    return !ownRejects(call, dst->coi > 0 && src == nullptr,
                       "dstImage->roi->coi > 0 && @->roi == 0", name, line) &&
           !ownRejects(call, dst->coi > 0 && src->coi == 0,
                       "dstImage->roi->coi > 0 && @->roi->coi == 0", name, line);
}

bool worksAllChannels(const DaxImage* dstImage) {
    return dstImage->roi == nullptr || dstImage->roi->coi == 0;
}

int32_t colours(const DaxImage* image) {
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

bool sameColours(const OwnCall& call, const DaxImage* image, const DaxImage* dstImage,
                 const char* name, int32_t line = __builtin_LINE()) {
    return !ownRejects(call, worksAllChannels(dstImage) && colours(image) != colours(dstImage),
                       "(@->nChannels - (@->alphaChannel != 0)) != "
                       "(dstImage->nChannels - (dstImage->alphaChannel != 0))",
                       name, line);
}

bool sameChannels(const OwnCall& call, const DaxImage* image, const DaxImage* dstImage,
                  const char* name, int32_t line = __builtin_LINE()) {
    return !ownRejects(call, worksAllChannels(dstImage) && image->nChannels != dstImage->nChannels,
                       "@->nChannels != dstImage->nChannels", name, line);
}

bool isFlag(int32_t value) { return value == 0 || value == 1; }

// What both compositions check at the end.
bool compositionFits(const OwnCall& call, const DaxImage* srcImageA, const DaxImage* srcImageB,
                     const DaxImage* dstImage, int32_t compositeType, int32_t premulAlpha,
                     int32_t divideMode) {
    if (!channelsOfInterestFit(call, srcImageA, dstImage, "srcImageA")) return false;
    if (!channelsOfInterestFit(call, srcImageB, dstImage, "srcImageB")) return false;
    if (!alphaIsLast(call, srcImageA, "srcImageA")) return false;
    if (!alphaIsLast(call, srcImageB, "srcImageB")) return false;
    if (!alphaIsLast(call, dstImage, "dstImage")) return false;
    if (!sameColours(call, srcImageA, dstImage, "srcImageA")) return false;
    if (!sameColours(call, srcImageB, dstImage, "srcImageB")) return false;
    if (call.rejects(compositeType < DAX_COMPOSITE_OVER || compositeType > DAX_COMPOSITE_PLUS,
                     "compositeType != 0 && compositeType != 1 && compositeType != 2 && "
                     "compositeType != 3 && compositeType != 4 && compositeType != 5"))
        return false;
    if (call.rejects(!isFlag(premulAlpha), "premulAlpha != 0 && premulAlpha != 1")) return false;
    return !call.rejects(!isFlag(divideMode), "divideMode != 0 && divideMode != 1");
}

} // namespace

void daxAlphaComposite(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                       int32_t compositeType, DaxImage* alphaImageA, DaxImage* alphaImageB,
                       DaxImage* alphaImageDst, int32_t premulAlpha, int32_t divideMode,
                       const int32_t* tilePos) {
    const OwnCall& call = compositeCall;
    OwnCommonSize size;
    if (!sourcesFit(call, srcImageA, srcImageB, dstImage, &size)) return;
    DaxImage* alphaA = alphaImageA;
    if (alphaA != nullptr) {
        if (!checked(call, alphaA, "alphaImageA", &size)) return;
        if (!sameDepth(call, alphaA, dstImage, "alphaImageA")) return;
    } else {
        alphaA = srcImageA;
        if (!hasAlpha(call, srcImageA, "srcImageA")) return;
    }
    DaxImage* alphaB = alphaImageB;
    if (alphaB != nullptr) {
        if (!checked(call, alphaB, "alphaImageB", &size)) return;
        if (!sameDepth(call, alphaB, dstImage, "alphaImageB")) return;
    } else if (alphaImageA == nullptr) {
        alphaB = srcImageB;
        if (!hasAlpha(call, srcImageB, "srcImageB")) return;
    }
    DaxImage* alphaDst = alphaImageDst;
    if (alphaDst != nullptr) {
        if (!checked(call, alphaDst, "alphaImageDst", &size)) return;
        if (!sameDepth(call, alphaDst, dstImage, "alphaImageDst")) return;
        if (!hasAlpha(call, alphaDst, "alphaImageDst")) return;
    } else if (dstImage->alphaChannel != 0) {
        alphaDst = dstImage;
    }
    if (!compositionFits(call, srcImageA, srcImageB, dstImage, compositeType, premulAlpha,
                         divideMode))
        return;

    const OwnComposition what = {compositeType, premulAlpha != 0, divideMode != 0, true};
    const OwnGathered images[] = {{dstImage, DAX_TILE_WRITE}, {alphaDst, DAX_TILE_WRITE},
                                  {srcImageA, DAX_TILE_READ}, {srcImageB, DAX_TILE_READ},
                                  {alphaA, DAX_TILE_READ},    {alphaB, DAX_TILE_READ}};
    ownGatherWalk(call, images, size, tilePos,
                  [&](DaxImage* const* views, int32_t height, int32_t width) {
                      ownCompose(what, views, height, width);
                  });
}

void daxAlphaCompositeC(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                        int32_t compositeType, int32_t alphaA, int32_t alphaB, int32_t premulAlpha,
                        int32_t divideMode, const int32_t* tilePos) {
    const OwnCall& call = compositeCCall;
    OwnCommonSize size;
    if (!sourcesFit(call, srcImageA, srcImageB, dstImage, &size)) return;
    if (alphaA < 0 && !hasAlpha(call, srcImageA, "srcImageA")) return;
    if (alphaB < 0 && !hasAlpha(call, srcImageB, "srcImageB")) return;
    if (!compositionFits(call, srcImageA, srcImageB, dstImage, compositeType, premulAlpha,
                         divideMode))
        return;

    const int32_t most = fullScale(dstImage);
    const OwnComposition what = {compositeType,
                                 premulAlpha != 0,
                                 divideMode != 0,
                                 false,
                                 alphaA < most ? alphaA : most,
                                 alphaB < most ? alphaB : most};
    const OwnGathered images[] = {{dstImage, DAX_TILE_WRITE},
                                  {nullptr, DAX_TILE_WRITE},
                                  {srcImageA, DAX_TILE_READ},
                                  {srcImageB, DAX_TILE_READ},
                                  {alphaA < 0 ? srcImageA : nullptr, DAX_TILE_READ},
                                  {alphaB < 0 ? srcImageB : nullptr, DAX_TILE_READ}};
    ownGatherWalk(call, images, size, tilePos,
                  [&](DaxImage* const* views, int32_t height, int32_t width) {
                      ownCompose(what, views, height, width);
                  });
}

void daxMultiplyScale(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                      const int32_t* tilePos) {
    const OwnCall& call = multiplyCall;
    OwnCommonSize size;
    if (!sourcesFit(call, srcImageA, srcImageB, dstImage, &size)) return;
    if (!channelsOfInterestFit(call, srcImageA, dstImage, "srcImageA")) return;
    if (!channelsOfInterestFit(call, srcImageB, dstImage, "srcImageB")) return;
    if (!sameChannels(call, srcImageA, dstImage, "srcImageA")) return;
    if (!sameChannels(call, srcImageB, dstImage, "srcImageB")) return;

    const OwnGathered images[] = {
        {dstImage, DAX_TILE_WRITE}, {srcImageA, DAX_TILE_READ}, {srcImageB, DAX_TILE_READ}};
    ownGatherWalk(call, images, size, tilePos,
                  [](DaxImage* const* views, int32_t height, int32_t width) {
                      ownMultiplyScaled(views[1], views[2], 0, views[0], height, width);
                  });
}

void daxMultiplySScale(DaxImage* srcImage, DaxImage* dstImage, int32_t value,
                       const int32_t* tilePos) {
    const OwnCall& call = multiplySCall;
    OwnCommonSize size;
    if (!checked(call, dstImage, "dstImage", &size)) return;
    if (!checked(call, srcImage, "srcImage", &size)) return;
    if (!depthIs8or16(call, dstImage, "dstImage")) return;
    if (!sameDepth(call, srcImage, dstImage, "srcImage")) return;
    if (!channelsOfInterestFit(call, srcImage, dstImage, "srcImage")) return;
    if (!sameChannels(call, srcImage, dstImage, "srcImage")) return;

    const auto most = static_cast<uint32_t>(fullScale(dstImage));
    const uint32_t factor =
        static_cast<uint32_t>(value) < most ? static_cast<uint32_t>(value) : most;
    const OwnGathered images[] = {{dstImage, DAX_TILE_WRITE}, {srcImage, DAX_TILE_READ}};
    ownGatherWalk(call, images, size, tilePos,
                  [&](DaxImage* const* views, int32_t height, int32_t width) {
                      ownMultiplyScaled(views[1], nullptr, factor, views[0], height, width);
                  });
}

void daxPreMultiplyAlpha(DaxImage* image, int32_t alpha, const int32_t* tilePos) {
    const OwnCall& call = premultiplyCall;
    OwnCommonSize size;
    if (!checked(call, image, "image", &size)) return;
    if (!depthIs8or16(call, image, "image")) return;
    if (!alphaIsLast(call, image, "image")) return;
    if (alpha < 0 && !hasAlpha(call, image, "image")) return;

    const int32_t constant = alpha < fullScale(image) ? alpha : fullScale(image);
    const OwnGathered images[] = {{image, DAX_TILE_WRITE}};
    ownGatherWalk(call, images, size, tilePos,
                  [&](DaxImage* const* views, int32_t height, int32_t width) {
                      ownPremultiply(views[0], constant, height, width);
                  });
}
