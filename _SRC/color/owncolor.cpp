#include "color/owncolor.h"

#include "frame/border.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/ownrect.h"

#include <cmath>
#include <cstring>

OwnColorArea ownPlainArea(const DaxImage* image) {
    const ptrdiff_t step = image->widthStep;
    return {static_cast<char*>(image->imageData), step, step * image->height, image->width,
            image->height};
}

int32_t ownChannelOf(const DaxImage* image, char letter) {
    const void* found = memchr(image->channelSeq, letter, sizeof(image->channelSeq));
    const ptrdiff_t place = found != nullptr ? static_cast<const char*>(found) - image->channelSeq
                                             : strchr("RGB", letter) - "RGB";
    return place < image->nChannels ? static_cast<int32_t>(place) : -1;
}

bool ownColorImages(const char* funcName, const DaxImage* srcImage, const DaxImage* dstImage) {
    const OwnCall call = {funcName, "owncolor"};
    if (call.rejects(srcImage == nullptr || dstImage == nullptr, "null_image_pointer"))
        return false;
    const auto empty = [](const DaxImage* image) {
        return image->imageData == nullptr && image->tileInfo == nullptr;
    };
    return !call.rejects(empty(srcImage) || empty(dstImage), "null_data_pointer");
}

namespace {

// False when there is no such tile.
bool requestTile(OwnDstWalk* walk) {
    const DaxTileInfo* tiles = walk->image->tileInfo;
    if (__builtin_mul_overflow(walk->col, tiles->width, &walk->x) ||
        __builtin_mul_overflow(walk->row, tiles->height, &walk->y))
        return false;
    OwnTile tile(walk->image);
    if (!tile.request(walk->col, walk->row, DAX_TILE_WRITE)) return false;
    const ptrdiff_t step = ownTileRowStep(walk->image);
    walk->area = {static_cast<char*>(tile.data()), step, step * tiles->height, tiles->width,
                  tiles->height};
    return true;
}

} // namespace

bool ownNextDstTile(OwnDstWalk* walk) {
    const bool first = !walk->started;
    walk->started = true;
    if (walk->image->tileInfo == nullptr) {
        walk->area = ownPlainArea(walk->image);
        return first;
    }
    if (walk->tilePos != nullptr) {
        if (!first) return false;
        walk->col = walk->tilePos[0];
        walk->row = walk->tilePos[1];
        return requestTile(walk);
    }
    if (!first) ++walk->col;
    if (requestTile(walk)) return true;
    walk->col = 0;
    ++walk->row;
    return requestTile(walk);
}

void ownReleaseDstTile(const OwnDstWalk& walk) {
    if (walk.image->tileInfo != nullptr)
        walk.image->tileInfo->callBack(walk.image, walk.col, walk.row, DAX_TILE_RELEASE);
}

bool OwnColorSource::fetch(DaxImage* srcImage, const OwnDstWalk& walk) {
    const OwnColorArea& dst = walk.area;
    const bool inside = walk.x >= 0 && walk.y >= 0 && walk.x <= srcImage->width - dst.width &&
                        walk.y <= srcImage->height - dst.height;
    if (srcImage->tileInfo == nullptr && inside) {
        area = ownPlainArea(srcImage);
        const ptrdiff_t samples = srcImage->dataOrder == DAX_DATA_PIXEL ? srcImage->nChannels : 1;
        area.data += walk.y * area.rowStep +
                     walk.x * samples * ownDepthBits(srcImage->depth) / 8; // whole bytes of bits
        area.width = dst.width;
        area.height = dst.height;
        return true;
    }
    int32_t step = 0;
    copy.reset(ownBorderRect(srcImage, walk.x, walk.y, dst.width, dst.height, &step));
    area = {copy.get(), step, ptrdiff_t{step} * dst.height, dst.width, dst.height};
    return bool(copy);
}

void OwnColorSource::putBack(DaxImage* srcImage, const OwnDstWalk& walk) const {
    if (!copy || srcImage->tileInfo != nullptr || walk.x < 0 || walk.y < 0) return;
    const bool pixels = srcImage->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t samples = pixels ? srcImage->nChannels : 1;
    const ptrdiff_t pixelBytes = samples * ownSampleBytes(srcImage->depth);
    const int32_t room = srcImage->width - walk.x;
    const ptrdiff_t width = room < area.width ? room : area.width;
    if (width <= 0) return;
    const OwnColorArea whole = ownPlainArea(srcImage);
    for (int32_t plane = 0; plane < (pixels ? 1 : srcImage->nChannels); ++plane)
        for (int32_t row = 0; row < area.height && row < srcImage->height - walk.y; ++row)
            memcpy(whole.data + plane * whole.planeStep + (walk.y + row) * whole.rowStep +
                       walk.x * pixelBytes,
                   area.data + plane * area.planeStep + row * area.rowStep,
                   static_cast<size_t>(width * pixelBytes));
}

namespace {

constexpr int32_t channelCount = 3;

// The place of a depth in a table of kernels; -1 for a depth without one.
int32_t depthPlace(int32_t depth) {
    return depth == DAX_DEPTH_8U ? 0 : depth == DAX_DEPTH_16U ? 1 : depth == DAX_DEPTH_32S ? 2 : -1;
}

// Where an image has the channels of a model.
struct Channels {
    int32_t place[channelCount] = {0, 1, 2};
    bool there = true;

    Channels(const DaxImage* image, OwnModel model) {
        if (model == OwnModel::rgb && image->dataOrder == DAX_DATA_PIXEL) {
            if (image->channelSeq[0] != 'R') place[0] = 2, place[2] = 0;
        } else if (model == OwnModel::rgb) {
            for (int32_t k = 0; k < channelCount; ++k) place[k] = ownChannelOf(image, "RGB"[k]);
        }
        for (const int32_t k : place) there = there && k >= 0 && k < image->nChannels;
    }
};

OwnThirds thirdsOf(const DaxImage* image, const Channels& channels, const OwnColorArea& area) {
    const ptrdiff_t sample = ownSampleBytes(image->depth);
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    OwnThirds thirds = {{}, pixels ? sample * image->nChannels : sample};
    for (int32_t k = 0; k < channelCount; ++k)
        thirds.at[k] = area.data + channels.place[k] * (pixels ? sample : area.planeStep);
    return thirds;
}

// Rows that follow one another without a gap in both images go as one. Steps are in bits where a
// pixel may be one.
template <class Row>
void eachRow(OwnColorArea src, ptrdiff_t srcPixelBits, OwnColorArea dst, ptrdiff_t dstPixelBits,
             Row row) {
    ptrdiff_t width = src.width < dst.width ? src.width : dst.width;
    ptrdiff_t height = src.height < dst.height ? src.height : dst.height;
    if (width * srcPixelBits == src.rowStep * 8 && width * dstPixelBits == dst.rowStep * 8) {
        width *= height;
        height = 1;
    }
    for (ptrdiff_t y = 0; y < height; ++y) row(y * src.rowStep, y * dst.rowStep, width);
}

OwnThirds advanced(OwnThirds thirds, ptrdiff_t bytes) {
    for (char*& at : thirds.at) at += bytes;
    return thirds;
}

// Plain images as they are, tiled ones by the walk; false after a report.
template <class Work>
bool overImages(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos,
                Work work) {
    if (srcImage->tileInfo != nullptr || dstImage->tileInfo != nullptr)
        return ownColorWalk({call.funcName, "owncolor"}, srcImage, dstImage, tilePos, false, work);
    work(ownPlainArea(srcImage), ownPlainArea(dstImage));
    return true;
}

bool rejectsDepths(bool condition, const char* funcName, int32_t line = __builtin_LINE()) {
    return OwnCall{funcName, "owncolor"}.rejects(condition, "errInOutDepth", line);
}

const OwnModelRow* rowsOf(const OwnColorTable& table, OwnModel from, OwnModel to) {
    if (from == OwnModel::hsv) return table.fromHsv;
    if (from == OwnModel::hls) return table.fromHls;
    return to == OwnModel::hsv ? table.toHsv : table.toHls;
}

} // namespace

void ownConvertModel(const OwnCall& call, DaxImage* srcImage, OwnModel from, DaxImage* dstImage,
                     OwnModel to, const int32_t* tilePos) {
    const int32_t depth = depthPlace(srcImage->depth);
    if (rejectsDepths(depth < 0, from == OwnModel::hls ? "ownRGB2HLS" : "ownRGB2HSV")) return;
    const Channels srcChannels(srcImage, from);
    const Channels dstChannels(dstImage, to);
    if (!srcChannels.there || !dstChannels.there) return;
    const OwnModelRow row = rowsOf(ownRows<OwnColor>(), from, to)[depth];
    const bool done = overImages(
        call, srcImage, dstImage, tilePos, [&](const OwnColorArea& src, const OwnColorArea& dst) {
            const OwnThirds a = thirdsOf(srcImage, srcChannels, src);
            const OwnThirds b = thirdsOf(dstImage, dstChannels, dst);
            eachRow(src, a.step * 8, dst, b.step * 8,
                    [&](ptrdiff_t atSrc, ptrdiff_t atDst, ptrdiff_t count) {
                        row(advanced(a, atSrc), advanced(b, atDst), count);
                    });
        });
    if (!done) return;
    const char* const name = to == OwnModel::rgb ? "RGB" : to == OwnModel::hsv ? "HSV" : "HLS";
    memcpy(dstImage->colorModel, name, channelCount);
    memcpy(dstImage->channelSeq, name, channelCount);
}

void ownColorToGray(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                    const int32_t* tilePos) {
    const int32_t srcDepth = depthPlace(srcImage->depth);
    const int32_t dstDepth = dstImage->depth == DAX_DEPTH_1U    ? 2
                             : dstImage->depth == DAX_DEPTH_32S ? -1
                                                                : depthPlace(dstImage->depth);
    if (rejectsDepths(srcDepth < 0 || dstDepth < 0, "ownColorToGray")) return;
    const Channels channels(srcImage, OwnModel::rgb);
    if (!channels.there) return;
    const OwnColorTable& table = ownRows<OwnColor>();
    const bool fromPlanes = srcImage->dataOrder == DAX_DATA_PLANE &&
                            srcImage->depth == DAX_DEPTH_16U && dstImage->depth == DAX_DEPTH_8U;
    const OwnGrayRow row = fromPlanes ? table.grayOfPlanes : table.gray[srcDepth][dstDepth];
    overImages(call, srcImage, dstImage, tilePos,
               [&](const OwnColorArea& src, const OwnColorArea& dst) {
                   const OwnThirds colour = thirdsOf(srcImage, channels, src);
                   eachRow(src, colour.step * 8, dst, ownDepthBits(dstImage->depth),
                           [&](ptrdiff_t atSrc, ptrdiff_t atDst, ptrdiff_t count) {
                               row(advanced(colour, atSrc), dst.data + atDst, count);
                           });
               });
}

namespace {

// A number cut to an integer; what is beyond all integers counts as none.
int64_t whole(double value) {
    return value > -9.2e18 && value < 9.2e18 ? static_cast<int64_t>(value) : 0;
}

OwnGrayWeights weightsFor(int32_t depth, const float (&fracts)[3]) {
    OwnGrayWeights weights = {{}, depth == DAX_DEPTH_16U ? 15 : 8, {}};
    const double one = depth == DAX_DEPTH_8U || depth == DAX_DEPTH_1U ? 256.0 : 32768.0;
    bool none = true;
    for (int32_t k = 0; k < channelCount; ++k) {
        const int64_t weight = whole(double{fracts[k]} * one);
        weights.fixed[k] = static_cast<uint32_t>(weight);
        if (depth == DAX_DEPTH_16U) weights.fixed[k] &= 0xFFFF;
        weights.exact[k] = double{fracts[k]};
        none = none && (depth == DAX_DEPTH_32S ? fabs(double{fracts[k]} * one) < 1.0
                                               : weights.fixed[k] == 0);
    }
    if (!none) return weights;
    if (depth == DAX_DEPTH_16U) return {{109, 366, 37}, 9, {}};
    return {{54, 183, 18},
            8,
            {double{__builtin_bit_cast(float, 0x3E59C66D)},
             double{__builtin_bit_cast(float, 0x3F3714BA)},
             double{__builtin_bit_cast(float, 0x3D93CD57)}}};
}

} // namespace

void ownGrayToColor(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                    const float (&fracts)[3], const int32_t* tilePos) {
    const int32_t depth = depthPlace(dstImage->depth);
    if (rejectsDepths(depth < 0, "ownGrayToColor")) return;
    const Channels channels(dstImage, OwnModel::rgb);
    if (!channels.there) return;
    const OwnGrayWeights weights = weightsFor(dstImage->depth, fracts);
    const OwnColorTable& table = ownRows<OwnColor>();
    const OwnTintRow row = srcImage->depth == DAX_DEPTH_1U ? table.tintBits : table.tint[depth];
    overImages(call, srcImage, dstImage, tilePos,
               [&](const OwnColorArea& src, const OwnColorArea& dst) {
                   const OwnThirds colour = thirdsOf(dstImage, channels, dst);
                   eachRow(src, ownDepthBits(srcImage->depth), dst, colour.step * 8,
                           [&](ptrdiff_t atSrc, ptrdiff_t atDst, ptrdiff_t count) {
                               row(src.data + atSrc, advanced(colour, atDst), count, weights);
                           });
               });
}
