// Enlarges by rational factors. Nearest neighbour and linear go in steps of 1/16384 pixel, which
// they round differently; cubic goes in double precision, with rows kept in single precision.

#include "geometry/daxZoom.h"

#include "frame/border.h"
#include "frame/call.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/planewalk.h"
#include "geometry/bits.h"
#include "geometry/blocks.h"
#include "geometry/nearest.h"
#include "geometry/picks.h"

namespace {

constexpr OwnCall call = {"daxZoom", "daxZoom"};

constexpr double unit = 16384; // of fixed-point positions
constexpr int32_t unitBits = 14;

// How much of a destination extent the source reaches.
int32_t reached(int32_t dstSize, int32_t srcSize, double step) {
    if (ownFloor((dstSize - 1) * step) <= srcSize - 1) return dstSize;
    const double size = srcSize / step;
    int64_t whole = ownFloor(size);
    if (static_cast<double>(whole) == size) --whole;
    return whole < dstSize ? static_cast<int32_t>(whole) : dstSize;
}

struct Scale {
    double x; // source pixels to a destination pixel
    double y;
    int32_t interpolate;
};

// One axis of a block: where its region starts in the source, the last source place counted from
// there, and how many destination places there are.
struct Extent {
    int32_t offset;
    int32_t last;
    int32_t count;
    int32_t dstOffset;

    int32_t size() const { return offset + last + 1; }
    // The nearest place inside the image.
    int64_t inside(int64_t at) const { return at > last ? last : at < -offset ? -offset : at; }
};

Extent extentOf(int32_t srcOffset, int32_t srcSize, int32_t srcLimit, int32_t dstOffset,
                int32_t dstSize, int32_t dstLimit, double step) {
    const int32_t srcRest = srcLimit - srcOffset;
    const int32_t dstRest = dstLimit - dstOffset;
    const int32_t src = srcSize < srcRest ? srcSize : srcRest;
    const int32_t dst = dstSize < dstRest ? dstSize : dstRest;
    if (src <= 0 || dst <= 0) return {srcOffset, -1, 0, dstOffset};
    return {srcOffset, srcRest - 1, reached(dst, src, step), dstOffset};
}

// The samples of one image: a run of `channels` of them in every pixel of each plane.
struct Raster {
    char* start;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
    ptrdiff_t pixel; // samples from one pixel to the next

    char* row(ptrdiff_t plane, ptrdiff_t y) const {
        return start + plane * planeStep + y * rowStep;
    }
};

Raster rasterOf(const DaxImage* image, int32_t channel) {
    const ptrdiff_t bytes = ownDepthBits(image->depth) / 8;
    const ptrdiff_t step = image->widthStep;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    // Rows of 16 bits are counted in samples.
    const auto whole = [bytes](ptrdiff_t size) { return bytes == 2 ? size / 2 * 2 : size; };
    Raster raster = {static_cast<char*>(image->imageData) + ownRoiY(image) * step, whole(step),
                     whole(step * image->height), pixels ? image->nChannels : 1};
    if (pixels)
        raster.start += (ptrdiff_t{ownRoiX(image)} * image->nChannels + channel) * bytes;
    else
        raster.start += channel * step * image->height + ownRoiX(image) * bytes;
    return raster;
}

class Zoom {
public:
    Zoom(const DaxImage* srcImage, const DaxImage* dstImage, const Scale& theScale)
        : scale(theScale), depth(srcImage->depth), bytes(ownDepthBits(depth) / 8) {
        const auto extents = [&](const DaxImage* image, DaxROI* roi) {
            *roi =
                image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
        };
        DaxROI src;
        DaxROI dst;
        extents(srcImage, &src);
        extents(dstImage, &dst);
        x = extentOf(src.xOffset, src.width, srcImage->width, dst.xOffset, dst.width,
                     dstImage->width, scale.x);
        y = extentOf(src.yOffset, src.height, srcImage->height, dst.yOffset, dst.height,
                     dstImage->height, scale.y);
        if (x.count <= 0 || y.count <= 0 || !pairChannels(srcImage, dstImage)) return;
        from = rasterOf(srcImage, src.coi != 0 ? src.coi - 1 : 0);
        to = rasterOf(dstImage, dst.coi != 0 ? dst.coi - 1 : 0);
        valid = true;
    }

    // From a position inside the first source pixel on.
    void run(double x0, double y0) const {
        if (!valid || (depth != DAX_DEPTH_1U && depth != DAX_DEPTH_8U && depth != DAX_DEPTH_16U))
            return;
        if (scale.interpolate == DAX_INTER_NN)
            nearest(x0, y0);
        else if (scale.interpolate == DAX_INTER_LINEAR)
            linear(x0, y0);
        else
            cubic(x0, y0);
    }

private:
    // Sets how many channels or planes are worked on.
    bool pairChannels(const DaxImage* srcImage, const DaxImage* dstImage) {
        const int32_t coiSrc = ownCoi(srcImage);
        const int32_t coiDst = ownCoi(dstImage);
        const int32_t countSrc = ownWorkingChannels(srcImage);
        const int32_t countDst = ownWorkingChannels(dstImage);
        if (coiSrc <= 1 && coiDst <= 1) {
            const int32_t asked = coiSrc != 0 ? coiSrc : srcImage->nChannels;
            const int32_t had = dstImage->roi == nullptr ? srcImage->nChannels
                                : coiDst != 0            ? coiDst
                                                         : dstImage->nChannels;
            if (asked != had) return false;
        } else if (countSrc != 1 || countDst != 1) {
            return false;
        }
        const bool pixels = srcImage->dataOrder == DAX_DATA_PIXEL;
        // A destination without a region isn't tested; it takes what it has room for.
        const int32_t count = countSrc < dstImage->nChannels ? countSrc : dstImage->nChannels;
        channels = pixels ? count : 1;
        planes = pixels ? 1 : count;
        return true;
    }

    void nearestBits(double x0, double y0) const {
        const auto placesOf = [](const Extent& extent, double step, double part) {
            const int64_t first = int64_t{extent.offset} * (int64_t{1} << unitBits);
            return OwnBitPlaces{first + ownFloor(part * unit), ownFloor(step * unit), unitBits, 0,
                                int64_t{extent.size()} - 1};
        };
        const ptrdiff_t bit = x.dstOffset;
        ownRows<OwnBits>().pick({from.row(0, -y.offset), from.rowStep, placesOf(x, scale.x, x0),
                                 placesOf(y, scale.y, y0), to.row(0, 0) + (bit >> 3), bit & 7,
                                 to.rowStep, x.count, y.count});
    }

    void nearest(double x0, double y0) const {
        if (bytes == 0) {
            nearestBits(x0, y0);
            return;
        }
        const int64_t stepX = ownFloor(scale.x * unit);
        const int64_t stepY = ownFloor(scale.y * unit);
        const int64_t startX = ownFloor(x0 * unit);
        const int64_t startY = ownFloor(y0 * unit);
        const auto rowOf = [&](int64_t k) { return y.inside((startY + k * stepY) >> unitBits); };
        const ptrdiff_t pixel = channels * bytes;
        constexpr ptrdiff_t most = 4096;
        const ptrdiff_t room = OwnPicks::mostBytes / pixel;
        const ptrdiff_t strip = room > most ? most : room > 0 ? room : 1;
        const ptrdiff_t end = (x.last * from.pixel + channels) * bytes;
        int32_t at[most];
        OwnPicks picks;
        for (ptrdiff_t done = 0; done < x.count; done += strip) {
            const ptrdiff_t count = x.count - done < strip ? x.count - done : strip;
            for (ptrdiff_t i = 0; i < count; ++i) {
                const int64_t column = x.inside((startX + (done + i) * stepX) >> unitBits);
                at[i] = static_cast<int32_t>(column * from.pixel * bytes);
            }
            picks.set({bytes, channels, to.pixel * bytes, end}, at, count);
            const ptrdiff_t first = done * to.pixel * bytes;
            for (ptrdiff_t plane = 0; plane < planes; ++plane) {
                ptrdiff_t same = 0;
                for (ptrdiff_t k = 0; k < y.count; k += same) {
                    const int64_t row = rowOf(k);
                    for (same = 1; k + same < y.count && rowOf(k + same) == row;) ++same;
                    picks.run(from.row(plane, row), to.row(plane, k) + first, to.rowStep, same);
                }
            }
        }
    }

    // Interpolation goes in strips of columns, as wide as windows have room for. The narrower they
    // are the more often a row begins in a page of memory that wasn't in use: at 4096 columns four
    // strips instead of one cost a third.
    static constexpr ptrdiff_t linearStrip = 4096;
    static constexpr ptrdiff_t cubicStrip = 2048;

    ptrdiff_t stripOf(ptrdiff_t most) const { return from.pixel == channels ? most : most / 4; }

    // For interpolation, rows count from the image's edge.
    const char* sourceRow(ptrdiff_t plane, int64_t row) const {
        return from.row(plane, y.inside(row)) - x.offset * from.pixel * bytes;
    }
    int32_t byteOf(int64_t column, ptrdiff_t channel) const {
        const int64_t sample = (x.offset + x.inside(column)) * from.pixel + channel;
        return static_cast<int32_t>(sample * bytes);
    }
    OwnPickForm tapsForm() const {
        return {bytes, 1, bytes, ((x.size() - 1) * from.pixel + channels) * bytes};
    }

    // Lets `write(dst)` write samples of a destination row side by side.
    template <class Write>
    void emit(char* row, ptrdiff_t first, ptrdiff_t count, Write write) const {
        if (to.pixel == channels) {
            write(row + first * bytes);
            return;
        }
        char block[linearStrip * sizeof(uint16_t)];
        write(block);
        if (channels == 1) {
            ownStridedMovers(bytes).copy(block, bytes, row + first * to.pixel * bytes,
                                         to.pixel * bytes, count);
            return;
        }
        for (ptrdiff_t i = 0; i < count; ++i) {
            const ptrdiff_t at = (first + i) / channels * to.pixel + (first + i) % channels;
            ownCopyRow(block + i * bytes, row + at * bytes, bytes);
        }
    }

    struct LinearStrip {
        OwnPicks picks;
        int32_t at[2 * linearStrip]; // two to each sample
        int16_t weights[2 * linearStrip];
        int16_t rows[2][linearStrip];
        char taps[2 * linearStrip * sizeof(uint16_t)];
    };

    void linear(double x0, double y0) const {
        const int64_t stepX = ownNearest(scale.x * unit);
        const int64_t stepY = ownNearest(scale.y * unit);
        const int64_t startX = ownNearest(x0 * unit);
        const int64_t startY = ownNearest(y0 * unit);
        const OwnBuffer<LinearStrip> block(1);
        if (!block) return;
        LinearStrip& strip = block[0];
        const auto& rows = ownRows<OwnZoom>();
        const auto pass = rows.linearPass[bytes - 1];
        const auto blend = rows.linearBlend[bytes - 1];
        const ptrdiff_t total = x.count * channels;
        const ptrdiff_t most = stripOf(linearStrip);
        for (ptrdiff_t first = 0; first < total; first += most) {
            const ptrdiff_t count = total - first < most ? total - first : most;
            ptrdiff_t plain = 0;
            for (ptrdiff_t i = 0; i < count; ++i) {
                const int64_t position = startX + (first + i) / channels * stepX;
                const int64_t column = pairOf(x, position);
                const int32_t part = weightOf(column, position);
                if (part <= 1 << unitBits) plain = i + 1;
                for (ptrdiff_t k = 0; k < 2; ++k)
                    strip.at[2 * i + k] = byteOf(column + k, (first + i) % channels);
                strip.weights[2 * i] = static_cast<int16_t>(unit - part);
                strip.weights[2 * i + 1] = static_cast<int16_t>(part);
            }
            strip.picks.set(tapsForm(), strip.at, 2 * count);
            for (ptrdiff_t plane = 0; plane < planes; ++plane) {
                int64_t kept[2] = {INT64_MIN, INT64_MIN};
                const auto rowOf = [&](int64_t row) {
                    int16_t* const lanes = strip.rows[row & 1];
                    if (kept[row & 1] == row) return lanes;
                    strip.picks.run(sourceRow(plane, row), strip.taps, 0, 1);
                    pass(strip.taps, strip.weights, lanes, count);
                    kept[row & 1] = row;
                    return lanes;
                };
                for (ptrdiff_t k = 0; k < y.count; ++k) {
                    const int64_t position = startY + k * stepY;
                    const int64_t row = pairOf(y, position);
                    const int16_t* upper = rowOf(row);
                    const int16_t* lower = rowOf(row + 1);
                    const int32_t part = weightOf(row, position);
                    emit(to.row(plane, k), first, count,
                         [&](char* dst) { blend(upper, lower, part, dst, plain, count); });
                }
            }
        }
    }

    // The first of the two places that a position lies between. Past the last place the last two
    // are extrapolated.
    static int64_t pairOf(const Extent& extent, int64_t position) {
        const int64_t at = position >> unitBits;
        return at >= extent.last ? int64_t{extent.last} - 1 : at;
    }

    static int32_t weightOf(int64_t first, int64_t position) {
        const int64_t weight = position - first * (int64_t{1} << unitBits);
        return weight < INT16_MAX ? static_cast<int32_t>(weight) : INT16_MAX;
    }

    // The four places around a position, by the second of them; and the weights of their
    // differences.
    static int64_t cubicPlace(const Extent& extent, double position, double* weights) {
        int64_t at = ownFloor(position);
        if (at > extent.last) at = extent.last;
        const int64_t inImage = at + extent.offset;
        if (inImage == 0)
            at += 1;
        else if (inImage == extent.size() - 1)
            at -= 2;
        else if (inImage == extent.size() - 2)
            at -= 1;
        const double f = position - static_cast<double>(at);
        weights[0] = f + 1;
        weights[1] = f * weights[0] * 0.5;
        weights[2] = (f - 1) * weights[1] * (1.0 / 3);
        return at;
    }

    struct CubicStrip {
        OwnPicks picks;
        int32_t at[4 * cubicStrip]; // four to each sample
        double weights[3][cubicStrip];
        float rows[4][cubicStrip];
        char taps[4 * cubicStrip * sizeof(uint16_t)];
    };

    void cubic(double x0, double y0) const {
        const OwnBuffer<CubicStrip> block(1);
        if (!block) return;
        CubicStrip& strip = block[0];
        const auto& rows = ownRows<OwnZoom>();
        const auto pass = rows.cubicPass[bytes - 1];
        const auto blend = rows.cubicBlend[bytes - 1];
        const ptrdiff_t total = x.count * channels;
        double positionX = x0;
        const ptrdiff_t most = stripOf(cubicStrip);
        for (ptrdiff_t first = 0; first < total; first += most) {
            const ptrdiff_t count = total - first < most ? total - first : most;
            for (ptrdiff_t i = 0; i < count; ++i) {
                const ptrdiff_t channel = (first + i) % channels;
                double w[3];
                const int64_t column = cubicPlace(x, positionX, w);
                for (ptrdiff_t k = 0; k < 3; ++k) strip.weights[k][i] = w[k];
                for (ptrdiff_t k = 0; k < 4; ++k)
                    strip.at[4 * i + k] = byteOf(column - 1 + k, channel);
                if (channel == channels - 1) positionX += scale.x;
            }
            strip.picks.set(tapsForm(), strip.at, 4 * count);
            const OwnCubicTaps taps = {count, strip.taps, strip.weights[0], strip.weights[1],
                                       strip.weights[2]};
            for (ptrdiff_t plane = 0; plane < planes; ++plane) {
                int64_t kept[4] = {INT64_MIN, INT64_MIN, INT64_MIN, INT64_MIN};
                const auto rowOf = [&](int64_t row) {
                    float* const lanes = strip.rows[row & 3];
                    if (kept[row & 3] == row) return lanes;
                    strip.picks.run(sourceRow(plane, row), strip.taps, 0, 1);
                    pass(taps, lanes);
                    kept[row & 3] = row;
                    return lanes;
                };
                double positionY = y0;
                for (ptrdiff_t k = 0; k < y.count; ++k, positionY += scale.y) {
                    double w[3];
                    const int64_t row = cubicPlace(y, positionY, w);
                    const float* four[4];
                    for (ptrdiff_t i = 0; i < 4; ++i) four[i] = rowOf(row - 1 + i);
                    emit(to.row(plane, k), first, count,
                         [&](char* dst) { blend(four, w, dst, count); });
                }
            }
        }
    }

    Scale scale;
    int32_t depth;
    ptrdiff_t bytes; // of a sample; 0 for bits
    Extent x;
    Extent y;
    Raster from = {};
    Raster to = {};
    ptrdiff_t channels = 0;
    ptrdiff_t planes = 0;
    bool valid = false;
};

void ownZoomBlock(const DaxImage* srcImage, const DaxImage* dstImage, const Scale& scale, double x0,
                  double y0) {
    Zoom(srcImage, dstImage, scale).run(x0, y0);
}

// The walk over what the source reaches of the destination, by the sizes as they stand.
bool ownZoomTileWalk(const DaxImage* srcImage, const DaxImage* dstImage, const Scale& scale,
                     DaxTileWalk* walk) {
    const auto width = [](const DaxImage* image) {
        return image->roi != nullptr ? image->roi->width : image->width;
    };
    const auto height = [](const DaxImage* image) {
        return image->roi != nullptr ? image->roi->height : image->height;
    };
    const int32_t h = reached(height(dstImage), height(srcImage), scale.y);
    const int32_t w = reached(width(dstImage), width(srcImage), scale.x);
    return h > 0 && w > 0 && ownTileWalkSized(dstImage, h, w, walk) != 0;
}

// Where a block of the destination starts in the source: the pixel, and how far into it.
struct Start {
    int32_t pixel;
    double part;
};

Start startOf(int32_t srcOffset, const OwnTileShare& share, double step) {
    if (share.before == 0) return {srcOffset, 0};
    const int64_t at =
        int64_t{srcOffset} * (int64_t{1} << unitBits) + share.before * ownNearest(step * unit);
    const int64_t pixel = at >> unitBits;
    return {ownPlace(pixel), static_cast<double>(at) * (1 / unit) - static_cast<double>(pixel)};
}

// What of the source one axis of a block needs: a rectangle's start and size, and where in it the
// block starts.
struct Need {
    int32_t first;
    int32_t size;
    int32_t offset;
};

Need needOf(int32_t start, int32_t size, int32_t limit, int32_t interpolate) {
    Need need = {start, size, 0};
    const auto growing = [&] { return int64_t{start} + need.size < limit; };
    if (interpolate == DAX_INTER_NN) return need;
    if (growing()) ++need.size;
    if (interpolate == DAX_INTER_LINEAR) return need;
    if (growing()) ++need.size;
    if (start > 0) {
        --need.first;
        ++need.size;
        need.offset = 1;
    }
    return need;
}

// A block from a copy of what it needs of a tiled source; false when that can't be had.
bool zoomFromCopy(DaxImage* srcImage, const DaxImage* dstImage, const Scale& scale,
                  const OwnTileShare& shareX, const OwnTileShare& shareY) {
    if (shareX.size <= 0 || shareY.size <= 0) return true;
    const Start startX = startOf(ownRoiX(srcImage), shareX, scale.x);
    const Start startY = startOf(ownRoiY(srcImage), shareY, scale.y);
    const Need x = needOf(startX.pixel, shareX.size, srcImage->width, scale.interpolate);
    const Need y = needOf(startY.pixel, shareY.size, srcImage->height, scale.interpolate);
    int32_t step = 0;
    OwnBuffer<char> rectangle;
    rectangle.reset(ownBorderRect(srcImage, x.first, y.first, x.size, y.size, &step));
    if (!rectangle || daxGetErrStatus() < 0) return false;
    DaxROI roi = {ownCoi(srcImage), x.offset, y.offset, y.size, x.size};
    DaxImage header = *srcImage;
    header.height = y.size;
    header.width = x.size;
    header.widthStep = step;
    header.tileInfo = nullptr;
    header.roi = &roi;
    header.imageData = rectangle.get();
    ownZoomBlock(&header, dstImage, scale, startX.part, startY.part);
    return true;
}

void zoomToTiles(DaxImage* srcImage, DaxImage* dstImage, const Scale& scale,
                 const int32_t* tilePos) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (!ownZoomTileWalk(srcImage, dstImage, scale, &walk)) return;
    DaxROI* const callersRoi = srcImage->roi;
    const int32_t srcX = ownRoiX(srcImage);
    const int32_t srcY = ownRoiY(srcImage);
    DaxROI roi = {ownCoi(srcImage), srcX, srcY, walk.walkHeight, walk.walkWidth};
    srcImage->roi = &roi;
    if (!ownTileSpan(walk, tilePos, &span)) return;
    // The caller's region is put back at the end of the whole walk and not before.
    if (ownEachTile(call, dstImage, walk, span, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                    [&](const OwnTileShare& x, const OwnTileShare& y, const DaxImage* tile) {
                        const Start startX = startOf(srcX, x, scale.x);
                        const Start startY = startOf(srcY, y, scale.y);
                        roi.xOffset = startX.pixel;
                        roi.yOffset = startY.pixel;
                        ownZoomBlock(srcImage, tile, scale, startX.part, startY.part);
                        return true;
                    }))
        srcImage->roi = callersRoi;
}

void zoomTilesToTiles(DaxImage* srcImage, DaxImage* dstImage, const Scale& scale,
                      const int32_t* tilePos) {
    DaxTileWalk walk;
    OwnTileSpan span;
    if (!ownZoomTileWalk(srcImage, dstImage, scale, &walk)) return;
    if (!ownTileSpan(walk, tilePos, &span)) return;
    if (tilePos != nullptr) span.firstRow = tilePos[1] - walk.firstTileRow;
    ownEachTile(call, dstImage, walk, span, {DAX_TILE_WRITE, ownWriteFailure, tilePos},
                [&](const OwnTileShare& x, const OwnTileShare& y, const DaxImage* tile) {
                    return zoomFromCopy(srcImage, tile, scale, x, y);
                });
}

} // namespace

void daxZoom(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU, int32_t yL,
             int32_t interpolate, const int32_t* tilePos) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (daxGetErrStatus() < 0) return;
    bool bad = call.rejects(interpolate != DAX_INTER_NN && interpolate != DAX_INTER_LINEAR &&
                                interpolate != DAX_INTER_CUBIC,
                            "interpolate != DAX_INTER_NN && interpolate != DAX_INTER_LINEAR && "
                            "interpolate != DAX_INTER_CUBIC");
    bad |= call.rejects(srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth");
    bad |= call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                        "srcImage->dataOrder != dstImage->dataOrder");
    bad |= call.rejects(xU <= 0 || xL <= 0, "xU <= 0 || xL <= 0");
    bad |= call.rejects(yU <= 0 || yL <= 0, "yU <= 0 || yL <= 0");
    bad |= call.rejects(xU < xL || yU < yL, "xU < xL || yU < yL");
    // A reporter may clear the status; arguments that don't fit are no use even so.
    if (bad || daxGetErrStatus() < 0) return;

    Scale scale = {static_cast<double>(xL) / xU, static_cast<double>(yL) / yU, interpolate};
    const int32_t least = srcImage->width < srcImage->height ? srcImage->width : srcImage->height;
    if (srcImage->depth == DAX_DEPTH_1U || least < 2)
        scale.interpolate = DAX_INTER_NN;
    else if (interpolate == DAX_INTER_CUBIC && least < 4)
        scale.interpolate = DAX_INTER_LINEAR;

    if (dstImage->tileInfo != nullptr && srcImage->tileInfo != nullptr)
        zoomTilesToTiles(srcImage, dstImage, scale, tilePos);
    else if (dstImage->tileInfo != nullptr)
        zoomToTiles(srcImage, dstImage, scale, tilePos);
    else if (srcImage->tileInfo != nullptr)
        ownEachBlock(
            dstImage,
            [&](DaxTileWalk* walk) { return ownZoomTileWalk(srcImage, dstImage, scale, walk); },
            [&](const OwnTileShare& x, const OwnTileShare& y, const DaxImage* block) {
                return zoomFromCopy(srcImage, block, scale, x, y);
            });
    else
        ownZoomBlock(srcImage, dstImage, scale, 0, 0);
}
