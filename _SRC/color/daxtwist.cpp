#include "color/daxtwist.h"

#include "frame/header.h"
#include "frame/ownrect.h"
#include "frame/platform.h"
#include "frame/raster.h"

#include <cstring>

namespace {

constexpr char module[] = "daxtwist";
constexpr OwnCall applyCall = {"daxApplyColorTwist", module};

void fill(DaxColorTwist* cTwist, const int32_t* data, int32_t scalingValue) {
    memcpy(cTwist->data, data, sizeof(cTwist->data));
    cTwist->scalingValue = scalingValue;
}

} // namespace

DaxColorTwist* daxCreateColorTwist(const int32_t* data, int32_t scalingValue) {
    const OwnCall call = {"daxCreateColorTwist", module};
    if (call.rejects(data == nullptr || scalingValue < 0 || scalingValue > 31, "bad_argument"))
        return nullptr;
    auto* cTwist = static_cast<DaxColorTwist*>(ownPlatform.heapAlloc(sizeof(DaxColorTwist)));
    if (cTwist == nullptr) {
        call.report(DAX_StatusOutOfMemory, "out_of_memory");
        return nullptr;
    }
    fill(cTwist, data, scalingValue);
    return cTwist;
}

void daxSetColorTwist(DaxColorTwist* cTwist, const int32_t* data, int32_t scalingValue) {
    const OwnCall call = {"daxSetColorTwist", module};
    if (call.rejects(cTwist == nullptr, "cTwist==0")) return;
    if (call.rejects(data == nullptr, "(data == 0)")) return;
    if (call.rejects(scalingValue < 0, "(scalingValue < 0)")) return;
    if (call.rejects(scalingValue > 31, "(scalingValue > 31)")) return;
    fill(cTwist, data, scalingValue);
}

void daxDeleteColorTwist(DaxColorTwist* cTwist) {
    if (cTwist != nullptr) ownPlatform.heapFree(cTwist);
}

namespace {

struct ChannelTexts {
    const char* few;
    const char* fewBesideAlpha;
    const char* alphaNotLast;
};

constexpr ChannelTexts srcTexts = {
    "(srcImage->nChannels < 3)", "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))",
    "((srcImage->alphaChannel != 0) && (srcImage->alphaChannel < srcImage->nChannels))"};
constexpr ChannelTexts dstTexts = {
    "(dstImage->nChannels < 3)", "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))",
    "((dstImage->alphaChannel != 0) && (dstImage->alphaChannel < dstImage->nChannels))"};

bool rejectsChannels(const DaxImage* image, const ChannelTexts& texts,
                     int32_t line = __builtin_LINE()) {
    const bool alpha = image->alphaChannel != 0;
    return applyCall.rejects(image->nChannels < 3, texts.few, line) ||
           applyCall.rejects(alpha && image->nChannels < 4, texts.fewBesideAlpha, line) ||
           applyCall.rejects(alpha && image->alphaChannel < image->nChannels, texts.alphaNotLast,
                             line);
}

bool accepts(DaxImage* srcImage, DaxImage* dstImage, const DaxColorTwist* cTwist) {
    if (!applyCall.sound(srcImage)) return false;
    if (!applyCall.sound(dstImage)) return false;
    if (applyCall.rejects(cTwist == nullptr, "cTwist==0")) return false;
    if (rejectsChannels(srcImage, srcTexts)) return false;
    if (rejectsChannels(dstImage, dstTexts)) return false;
    if (applyCall.rejects(srcImage->depth != dstImage->depth,
                          "(srcImage->depth != dstImage->depth)"))
        return false;
    if (applyCall.rejects(srcImage->depth != 8 && srcImage->depth != 16,
                          "((srcImage->depth != 8) && (srcImage->depth != 16))"))
        return false;
    if (applyCall.rejects(srcImage->dataOrder != dstImage->dataOrder,
                          "(srcImage->dataOrder != dstImage->dataOrder)"))
        return false;
    return !applyCall.rejects(srcImage->origin != dstImage->origin,
                              "(srcImage->origin != dstImage->origin)");
}

int64_t magnitude(int32_t value) { return value < 0 ? -int64_t{value} : int64_t{value}; }

// A record may have been written by hand.
int32_t scaleOf(const DaxColorTwist& twist) {
    return twist.scalingValue < 0 ? 0 : twist.scalingValue > 31 ? 31 : twist.scalingValue;
}

// Whether a twist can be worked in integers: its weights in 16 bits, its sums in 32.
bool fitsPacked(const DaxColorTwist& twist, bool bytes, int32_t offset) {
    const int32_t half = bytes ? 0x80 : 0x8000;
    if (scaleOf(twist) >= 16 || offset < -half || offset >= half) return false;
    for (int32_t k = 0; k < 3; ++k) {
        const int32_t* row = twist.data + 4 * k;
        int64_t rowSum = bytes ? 0 : int64_t{1} << scaleOf(twist);
        for (int32_t j = 0; j < 3; ++j) {
            if (row[j] != static_cast<int16_t>(row[j])) return false;
            rowSum += magnitude(row[j]);
        }
        if (rowSum >= 0x8000) return false;
        if (-magnitude(row[3]) <= rowSum * (bytes ? 1 : 0x8000) - 0x80000000) return false;
    }
    return true;
}

OwnPackedTwist packedTwist(const DaxColorTwist& twist, bool bytes, int32_t offset) {
    OwnPackedTwist made = {{}, {}, scaleOf(twist), offset};
    for (int32_t k = 0; k < 3; ++k) {
        const int32_t* row = twist.data + 4 * k;
        for (int32_t j = 0; j < 3; ++j) made.weights[k][j] = static_cast<int16_t>(row[j]);
        const int32_t gap = row[0] + row[1] + row[2] - (1 << scaleOf(twist));
        made.bias[k] = bytes ? row[3] : static_cast<int32_t>(gap * int64_t{0x8000} + row[3]);
    }
    return made;
}

OwnFloatTwist floatTwist(const DaxColorTwist& twist, bool bytes, int32_t offset) {
    const double factor = 1.0 / static_cast<double>(int64_t{1} << scaleOf(twist));
    const double range = bytes ? 256.0 : 65536.0;
    const int32_t most = bytes ? 255 : 65535;
    OwnFloatTwist made = {{}, 0.0, 0.0, 0, most, offset};
    for (int32_t k = 0; k < 3; ++k)
        for (int32_t j = 0; j < 4; ++j) made.rows[k][j] = twist.data[4 * k + j] * factor;
    if (offset >= most) {
        made.below = most;
    } else if (offset < -(most - 1)) {
        made.above = 0;
    } else if (offset < 0) {
        made.low = -offset;
        made.high = range;
        made.above = most + offset;
    } else {
        made.high = range - offset;
        made.below = offset;
    }
    return made;
}

// Where a rectangle starts.
struct Corner {
    int32_t x;
    int32_t y;
};

// One image of the walk, with the tile that it holds.
class Place {
public:
    Place(DaxImage* walked, int32_t accessMode, const char* missingText)
        : image(walked), tile(walked), mode(accessMode), missing(missingText) {
        if (tiled()) {
            step = ownTileRowStep(image);
            width = image->tileInfo->width;
            height = image->tileInfo->height;
        } else {
            step = image->widthStep;
            width = image->width;
            height = image->height;
            base = static_cast<char*>(image->imageData);
        }
    }

    bool tiled() const { return image->tileInfo != nullptr; }

    // False after a report.
    bool moveTo(int32_t theX, int32_t theY, int32_t line) {
        x = theX;
        y = theY;
        if (!tiled()) return true;
        if (held && x / width == col && y / height == row) return true;
        if (held) tile.release();
        held = true;
        col = x / width;
        row = y / height;
        if (applyCall.rejects(!tile.request(col, row, mode), missing, line)) return false;
        base = static_cast<char*>(tile.data());
        return true;
    }

    void leave() {
        if (held) tile.release();
    }

    int32_t roomX() const { return width - (tiled() ? x % width : x); }
    int32_t roomY() const { return height - (tiled() ? y % height : y); }

    OwnThirds thirds(ptrdiff_t down) const {
        const ptrdiff_t sample = image->depth / 8;
        const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
        const ptrdiff_t pixel = pixels ? sample * image->nChannels : sample;
        const ptrdiff_t across = tiled() ? x % width : x;
        char* const at = base + ((tiled() ? y % height : y) + down) * step + across * pixel;
        const ptrdiff_t channel = pixels ? sample : height * step;
        return {{at, at + channel, at + 2 * channel}, pixel};
    }

private:
    DaxImage* image;
    OwnTile tile;
    int32_t mode;
    const char* missing;
    ptrdiff_t step;
    int32_t width; // of a tile, or of the plain image
    int32_t height;
    char* base = nullptr;
    bool held = false;
    int32_t x = 0;
    int32_t y = 0;
    int32_t col = 0;
    int32_t row = 0;
};

struct Area {
    Corner src;
    Corner dst;
    int32_t width;
    int32_t height;
};

Area areaOf(const DaxImage* srcImage, const DaxImage* dstImage) {
    DaxRect src;
    DaxRect dst;
    ownRoiRect(srcImage, &src);
    ownRoiRect(dstImage, &dst);
    return {{src.begX, src.begY},
            {dst.begX, dst.begY},
            src.width < dst.width ? src.width : dst.width,
            src.height < dst.height ? src.height : dst.height};
}

// Cuts a rectangle's side to a tile's, and moves the source's along.
void narrow(int64_t tile, int32_t tileSize, int32_t* dst, int32_t* src, int32_t* size) {
    const int64_t left = tile > *dst ? tile - *dst : 0;
    const int64_t end = int64_t{*dst} + *size;
    const int64_t right = tile + tileSize < end ? end - tile - tileSize : 0;
    *dst += static_cast<int32_t>(left);
    *src += static_cast<int32_t>(left);
    *size -= static_cast<int32_t>(left + right);
}

// False after a report: the mapped tile lies beside the rectangle.
bool narrowToTile(const DaxImage* dstImage, const DaxMapping& mapping, Area* area) {
    const int32_t tileWidth = dstImage->tileInfo->width;
    const int32_t tileHeight = dstImage->tileInfo->height;
    const int64_t x = int64_t{mapping.xDst} - mapping.xDst % tileWidth;
    const int64_t y = int64_t{mapping.yDst} - mapping.yDst % tileHeight;
    if (applyCall.rejects(y + tileHeight <= area->dst.y || y >= int64_t{area->dst.y} + area->height,
                          "(((Mapping->yDst - Mapping->yDst % height_tile_d + height_tile_d) <= "
                          "coord_Y_dst) || ((Mapping->yDst - Mapping->yDst % height_tile_d) >= "
                          "max_Y))"))
        return false;
    if (applyCall.rejects(x + tileWidth <= area->dst.x || x >= int64_t{area->dst.x} + area->width,
                          "(((Mapping->xDst - Mapping->xDst % width_tile_d + width_tile_d) <= "
                          "coord_X_dst) || ((Mapping->xDst - Mapping->xDst % width_tile_d) >= "
                          "max_X))"))
        return false;
    narrow(x, tileWidth, &area->dst.x, &area->src.x, &area->width);
    narrow(y, tileHeight, &area->dst.y, &area->src.y, &area->height);
    return true;
}

// Calls `row(src, dst, count)` for the rows of all blocks. A block lies in one tile of each image.
template <class Row> void walk(DaxImage* srcImage, DaxImage* dstImage, const Area& area, Row row) {
    Place src(srcImage, DAX_TILE_READ, "(srcImage->tileInfo->tileData == NULL)");
    Place dst(dstImage, DAX_TILE_WRITE, "(dstImage->tileInfo->tileData == NULL)");
    const auto least = [](int32_t a, int32_t b, int32_t c) {
        return static_cast<int32_t>(ownMin3(a, b, c));
    };
    int32_t height = 0;
    for (int32_t y = 0; y < area.height; y += height) {
        int32_t width = 0;
        for (int32_t x = 0; x < area.width; x += width) {
            if (!dst.moveTo(area.dst.x + x, area.dst.y + y, __builtin_LINE())) return;
            if (!src.moveTo(area.src.x + x, area.src.y + y, __builtin_LINE())) return;
            width = least(dst.roomX(), src.roomX(), area.width - x);
            height = least(dst.roomY(), src.roomY(), area.height - y);
            for (int32_t i = 0; i < height; ++i) row(src.thirds(i), dst.thirds(i), width);
        }
    }
    dst.leave();
    src.leave();
}

} // namespace

void daxApplyColorTwist(DaxImage* srcImage, DaxImage* dstImage, const DaxColorTwist* cTwist,
                        int32_t offset, const DaxMapping* mapping) {
    if (!accepts(srcImage, dstImage, cTwist)) return;
    Area area = areaOf(srcImage, dstImage);
    if (area.width <= 0 || area.height <= 0) return;
    if (mapping != nullptr && dstImage->tileInfo != nullptr &&
        !narrowToTile(dstImage, *mapping, &area))
        return;
    const bool bytes = srcImage->depth == DAX_DEPTH_8U;
    const OwnTwistTable& rows = ownRows<OwnTwist>();
    if (srcImage->nChannels == 3 && dstImage->nChannels == 3 &&
        fitsPacked(*cTwist, bytes, offset)) {
        const OwnPackedTwist twist = packedTwist(*cTwist, bytes, offset);
        walk(srcImage, dstImage, area,
             [&, row = rows.packed[bytes ? 0 : 1]](const OwnThirds& src, const OwnThirds& dst,
                                                   ptrdiff_t count) {
                 row(src, dst, count, twist);
             });
    } else {
        const OwnFloatTwist twist = floatTwist(*cTwist, bytes, offset);
        walk(srcImage, dstImage, area,
             [&, row = rows.floating[bytes ? 0 : 1]](const OwnThirds& src, const OwnThirds& dst,
                                                     ptrdiff_t count) {
                 row(src, dst, count, twist);
             });
    }
}
