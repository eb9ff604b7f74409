#include "color/owncolor.h"
#include "color/ownreduce.h"
#include "frame/header.h"

#include <cstring>

namespace {

constexpr char module[] = "daxcolor";

// Bad headers go by one name in the whole module.
bool soundHeaders(DaxImage* first, DaxImage* second, int32_t line = __builtin_LINE()) {
    const OwnCall frame = {"daxReduceBits", module};
    return frame.sound(first, line) && frame.sound(second, line);
}

// What the functions check alike, ahead of what fits what.
bool begins(const OwnCall& call, DaxImage* src, DaxImage* dst, int32_t line = __builtin_LINE()) {
    return soundHeaders(src, dst, line) && ownColorImages(call.funcName, src, dst);
}

bool hasModel(const DaxImage* image, const char* model) {
    return memcmp(image->colorModel, model, 3) == 0;
}

bool oneChannelIfPixels(const DaxImage* image) {
    return image->dataOrder != DAX_DATA_PIXEL || image->nChannels == 1;
}

bool alike(const DaxImage* src, const DaxImage* dst) {
    return ownWorkingChannels(src) == ownWorkingChannels(dst) && src->dataOrder == dst->dataOrder &&
           src->origin == dst->origin;
}

void convertModel(const OwnCall& call, DaxImage* src, OwnModel from, DaxImage* dst, OwnModel to,
                  const int32_t* tilePos, int32_t line = __builtin_LINE()) {
    if (!begins(call, src, dst, line)) return;
    const char* const names[] = {"RGB", "HSV", "HLS"};
    const bool fits = hasModel(src, names[static_cast<int32_t>(from)]) && alike(src, dst) &&
                      src->depth == dst->depth;
    if (call.rejects(!fits, "incomatibleimages", line)) return;
    ownConvertModel(call, src, from, dst, to, tilePos);
}

} // namespace

void daxRGB2HSV(DaxImage* rgbImage, DaxImage* hsvImage, const int32_t* tilePos) {
    convertModel({"daxRGB2HSV", module}, rgbImage, OwnModel::rgb, hsvImage, OwnModel::hsv, tilePos);
}

void daxHSV2RGB(DaxImage* hsvImage, DaxImage* rgbImage, const int32_t* tilePos) {
    convertModel({"daxHSV2RGB", module}, hsvImage, OwnModel::hsv, rgbImage, OwnModel::rgb, tilePos);
}

void daxRGB2HLS(DaxImage* rgbImage, DaxImage* hlsImage, const int32_t* tilePos) {
    convertModel({"daxRGB2HLS", module}, rgbImage, OwnModel::rgb, hlsImage, OwnModel::hls, tilePos);
}

void daxHLS2RGB(DaxImage* hlsImage, DaxImage* rgbImage, const int32_t* tilePos) {
    convertModel({"daxHLS2RGB", module}, hlsImage, OwnModel::hls, rgbImage, OwnModel::rgb, tilePos);
}

void daxColorToGray(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos) {
    const OwnCall call = {"daxColorToGray", module};
    if (!begins(call, srcImage, dstImage)) return;
    const bool fits = hasModel(srcImage, "RGB") && oneChannelIfPixels(dstImage) &&
                      srcImage->origin == dstImage->origin;
    if (call.rejects(!fits, "incomatibleimages")) return;
    ownColorToGray(call, srcImage, dstImage, tilePos);
}

void daxGrayToColor(DaxImage* srcImage, DaxImage* dstImage, float fractR, float fractG,
                    float fractB, const int32_t* tilePos) {
    const OwnCall call = {"daxGrayToColor", module};
    if (!begins(call, srcImage, dstImage)) return;
    const bool depthsFit = srcImage->depth == dstImage->depth ||
                           (srcImage->depth == DAX_DEPTH_1U && dstImage->depth == DAX_DEPTH_8U);
    const bool fits = hasModel(dstImage, "RGB") && depthsFit && oneChannelIfPixels(srcImage) &&
                      srcImage->origin == dstImage->origin;
    if (call.rejects(!fits, "incomatibleimages")) return;
    ownGrayToColor(call, srcImage, dstImage, {fractR, fractG, fractB}, tilePos);
}

void daxReduceBits(DaxImage* srcImage, DaxImage* dstImage, int32_t jitterType, int32_t ditherOption,
                   int32_t levelBits, const int32_t* tilePos) {
    const OwnCall call = {"daxReduceBits", module};
    if (call.rejects(jitterType < 0 || jitterType > 8, "(0>jitterType)||(jitterType>8)")) return;
    if (!begins(call, srcImage, dstImage)) return;
    if (call.rejects(!alike(srcImage, dstImage), "incomatibleimages")) return;
    ownReduce(call, {srcImage, dstImage, jitterType, ditherOption, levelBits}, tilePos);
}
