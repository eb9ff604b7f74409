#include "frame/border.h"

#include "frame/depth.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"

#include <cstring>

namespace {

enum Side : int32_t { top, bottom, left, right };

Side sideOf(int32_t outside) {
    if ((outside & 1) != 0) return top;
    if ((outside & 2) != 0) return bottom;
    return (outside & 4) != 0 ? left : right;
}

int64_t floorMod(int64_t value, int64_t n) {
    const int64_t rest = value % n;
    return rest < 0 ? rest + n : rest;
}

// The place of a coordinate in the image's endless reflection: 0 to n - 1 where it runs with the
// image, -n to -1, the complements of the image's places, where it runs against it.
int64_t reflected(int64_t at, int64_t n) { return floorMod(at + n, 2 * n) - n; }

int64_t nearest(int64_t at, int64_t n) { return at < 0 ? 0 : at >= n ? n - 1 : at; }

// Calls `use(header of the tile, first x in it, first y in it, number of samples, samples before)`
// for each tile that a run along a row crosses, with the tile held; the header is null for a tile
// that can't be had. A plain image is its own only tile.
template <class Use>
void eachTileOfRun(DaxImage* image, int32_t x, int32_t y, int32_t count, bool forward, Use use) {
    if (image->tileInfo == nullptr) {
        use(image, x, y, count, 0);
        return;
    }
    const int32_t tileWidth = image->tileInfo->width;
    const int32_t row = y / image->tileInfo->height;
    OwnTile tile(image);
    DaxImage header;
    ownTileHeader(image, &header);
    for (int32_t done = 0; done < count;) {
        const int32_t at = forward ? x + done : x - done;
        const int32_t col = at / tileWidth;
        const int32_t inTile = at - col * tileWidth;
        const int32_t room = forward ? tileWidth - inTile : inTile + 1;
        const int32_t share = room < count - done ? room : count - done;
        const bool had = tile.request(col, row, DAX_TILE_READ);
        header.imageData = tile.data();
        use(had ? &header : nullptr, inTile, y - row * image->tileInfo->height, share, done);
        if (had) tile.release();
        done += share;
    }
}

// Samples of a plain image, one of each pixel, into a packed run.
void readRun(const DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
             ptrdiff_t to, int32_t count, bool forward) {
    const ptrdiff_t sample = ownDepthBits(image->depth) / 8;
    const ptrdiff_t step = image->dataOrder == DAX_DATA_PIXEL ? sample * image->nChannels : sample;
    const char* row = static_cast<const char*>(image->imageData) + ptrdiff_t{y} * image->widthStep;
    row +=
        (channel - 1) *
        (image->dataOrder == DAX_DATA_PIXEL ? sample : ptrdiff_t{image->widthStep} * image->height);
    if (sample == 0 && forward) {
        ownCopyBits(row, x, buffer, to, count);
    } else if (sample == 0) {
        for (int32_t i = 0; i < count; ++i) ownPutBit(buffer, to + i, ownGetBit(row, x - i));
    } else if (forward && step == sample) {
        ownCopyRow(row + x * step, buffer + to * sample, count * sample);
    } else {
        ownStridedMovers(sample).copy(row + x * step, forward ? step : -step, buffer + to * sample,
                                      sample, count);
    }
}

void clearRun(int32_t depth, char* buffer, ptrdiff_t to, int32_t count) {
    const ptrdiff_t sample = ownDepthBits(depth) / 8;
    memset(buffer + to * sample, 0, static_cast<size_t>(count * sample));
    for (int32_t i = 0; sample == 0 && i < count; ++i) ownPutBit(buffer, to + i, false);
}

void storeSample(uint32_t value, int32_t depth, char* buffer, int32_t index) {
    switch (ownDepthBits(depth)) {
    case 1: ownPutBit(buffer, index, (value & 1) != 0); break;
    case 8: buffer[index] = static_cast<char>(value); break;
    case 16: memcpy(buffer + ptrdiff_t{index} * 2, &value, 2); break;
    default: memcpy(buffer + ptrdiff_t{index} * 4, &value, 4); break;
    }
}

// A rectangle in the making, in the layout of an image.
struct RectBuffer {
    char* data;
    ptrdiff_t step;
    ptrdiff_t plane;
    ptrdiff_t pixelBytes; // 0 for bits
    ptrdiff_t planes;

    char* row(ptrdiff_t p, ptrdiff_t y) const { return data + p * plane + y * step; }
};

void copyPixels(const char* src, ptrdiff_t stepSrc, char* dst, ptrdiff_t pixelBytes,
                ptrdiff_t count) {
    if (stepSrc == pixelBytes) {
        ownCopyRow(src, dst, count * pixelBytes);
    } else if (pixelBytes == 1 || pixelBytes == 2 || pixelBytes == 4) {
        ownStridedMovers(pixelBytes).copy(src, stepSrc, dst, pixelBytes, count);
    } else {
        for (ptrdiff_t i = 0; i < count; ++i)
            ownCopyRow(src + i * stepSrc, dst + i * pixelBytes, pixelBytes);
    }
}

// One axis of a part of a rectangle: `count` places of the buffer from `to` on, read from `from` on
// in steps of 1, -1 or, where all are the same, 0.
struct Axis {
    int32_t to;
    int32_t from;
    int32_t count;
    int32_t step;
};

// A part of a rectangle out of a plain image.
void copyPlain(const DaxImage* image, const Axis& x, const Axis& y, const RectBuffer& buffer) {
    const char* data = static_cast<const char*>(image->imageData);
    for (ptrdiff_t p = 0; p < buffer.planes; ++p) {
        for (int32_t i = 0; i < y.count; ++i) {
            const char* src = data + (p * image->height + y.from + ptrdiff_t{i} * y.step) *
                                         ptrdiff_t{image->widthStep};
            char* dst = buffer.row(p, y.to + i);
            if (buffer.pixelBytes != 0)
                copyPixels(src + x.from * buffer.pixelBytes, x.step * buffer.pixelBytes,
                           dst + x.to * buffer.pixelBytes, buffer.pixelBytes, x.count);
            else if (x.step == 1)
                ownCopyBits(src, x.from, dst, x.to, x.count);
            else
                for (int32_t k = 0; k < x.count; ++k)
                    ownPutBit(dst, x.to + k, ownGetBit(src, x.from - k));
        }
    }
}

// What of an axis lies in the tile that holds its first place, in coordinates of the tile.
Axis axisInTile(const Axis& axis, int32_t tileSize, int32_t* tile) {
    *tile = axis.from / tileSize;
    const int32_t inTile = axis.from - *tile * tileSize;
    const int32_t room = axis.step > 0 ? tileSize - inTile : inTile + 1;
    return {axis.to, inTile, axis.count < room ? axis.count : room, axis.step};
}

void advance(Axis* axis, int32_t count) {
    axis->to += count;
    axis->from += count * axis->step;
    axis->count -= count;
}

// A part of a rectangle, forwards or backwards along each axis; false when a tile can't be had.
bool ownCopyRect(DaxImage* image, const Axis& x, const Axis& y, const RectBuffer& buffer) {
    if (image->tileInfo == nullptr) {
        copyPlain(image, x, y, buffer);
        return true;
    }
    OwnTile tile(image);
    DaxImage header;
    ownTileHeader(image, &header);
    for (Axis restY = y; restY.count > 0;) {
        int32_t row = 0;
        const Axis inTileY = axisInTile(restY, image->tileInfo->height, &row);
        for (Axis restX = x; restX.count > 0;) {
            int32_t col = 0;
            const Axis inTileX = axisInTile(restX, image->tileInfo->width, &col);
            if (!tile.request(col, row, DAX_TILE_READ)) return false;
            header.imageData = tile.data();
            copyPlain(&header, inTileX, inTileY, buffer);
            if (!tile.release()) return false;
            advance(&restX, inTileX.count);
        }
        advance(&restY, inTileY.count);
    }
    return true;
}

// Copies the first row over the rows below it, and the first column over the columns to its right.
void ownSpreadRow(const RectBuffer& buffer, const Axis& x, const Axis& y) {
    for (ptrdiff_t p = 0; p < buffer.planes; ++p) {
        const char* first = buffer.row(p, y.to);
        for (int32_t i = 1; i < y.count; ++i) {
            char* row = buffer.row(p, y.to + i);
            if (buffer.pixelBytes == 0)
                ownCopyBits(first, x.to, row, x.to, x.count);
            else
                ownCopyRow(first + x.to * buffer.pixelBytes, row + x.to * buffer.pixelBytes,
                           x.count * buffer.pixelBytes);
        }
    }
}

void ownSpreadColumn(const RectBuffer& buffer, const Axis& x, const Axis& y) {
    for (ptrdiff_t p = 0; p < buffer.planes; ++p) {
        for (int32_t i = 0; i < y.count; ++i) {
            char* row = buffer.row(p, y.to + i);
            if (buffer.pixelBytes == 0) {
                ownFillBits(ownGetBit(row, x.to), row, x.to, x.count);
                continue;
            }
            char* first = row + x.to * buffer.pixelBytes;
            for (int32_t k = 1; k < x.count; ++k)
                ownCopyRow(first, first + k * buffer.pixelBytes, buffer.pixelBytes);
        }
    }
}

// A part of a rectangle whose axes may also stand still.
bool fillPart(DaxImage* image, const Axis& x, const Axis& y, const RectBuffer& buffer) {
    const Axis readX = {x.to, x.from, x.step == 0 ? 1 : x.count, x.step == 0 ? 1 : x.step};
    const Axis readY = {y.to, y.from, y.step == 0 ? 1 : y.count, y.step == 0 ? 1 : y.step};
    if (!ownCopyRect(image, readX, readY, buffer)) return false;
    if (x.step == 0) ownSpreadColumn(buffer, x, readY);
    if (y.step == 0) ownSpreadRow(buffer, x, y);
    return true;
}

// Cuts a stretch of places, `at` in the image being at `to` in the buffer, into pieces that each
// read the image in one direction, and calls `use(piece)` for them until it answers false.
template <class Use>
bool eachPiece(int32_t mode, int32_t to, int64_t at, int32_t count, int32_t n, Use use) {
    while (count > 0) {
        int64_t from = at;
        int64_t length = n - at;
        int32_t step = 1;
        if (mode == DAX_BORDER_REFLECT) {
            from = reflected(at, n);
            length = from < 0 ? -from : n - from;
            step = from < 0 ? -1 : 1;
            if (from < 0) from = ~from;
        } else if (mode == DAX_BORDER_WRAP) {
            from = floorMod(at, n);
            length = n - from;
        } else if (at < 0 || at >= n) {
            from = nearest(at, n);
            length = at < 0 ? -at : count;
            step = 0;
        }
        const int32_t share = length < count ? static_cast<int32_t>(length) : count;
        if (!use(Axis{to, static_cast<int32_t>(from), share, step})) return false;
        to += share;
        at += share;
        count -= share;
    }
    return true;
}

void fillConstant(const DaxImage* image, Side side, const Axis& x, const Axis& y,
                  const RectBuffer& buffer) {
    const auto value = static_cast<uint32_t>(image->borderConsts[side]);
    const ptrdiff_t sample = ownDepthBits(image->depth) / 8;
    // Above and below the image rows are filled to their ends, padding included.
    const auto samplesOfStep = static_cast<int32_t>(buffer.step * 8 / ownDepthBits(image->depth));
    for (ptrdiff_t p = 0; p < buffer.planes; ++p) {
        for (int32_t i = 0; i < y.count; ++i) {
            char* row = buffer.row(p, y.to + i);
            if (side == top || side == bottom)
                ownFillRun(value, image->depth, row, samplesOfStep);
            else if (sample == 0)
                ownFillBits((value & 1) != 0, row, x.to, x.count);
            else
                ownFillRow(sample, value, row + x.to * buffer.pixelBytes,
                           x.count * buffer.pixelBytes / sample);
        }
    }
}

// A band of rows, or a piece of one, all of which follows one side of the image.
bool fillBand(DaxImage* image, Side side, const Axis& x, const Axis& y, const RectBuffer& buffer) {
    const int32_t mode = image->borderModes[side] & 3;
    if (mode == DAX_BORDER_CONST) {
        fillConstant(image, side, x, y, buffer);
        return true;
    }
    return eachPiece(mode, y.to, y.from, y.count, image->height, [&](const Axis& pieceY) {
        return eachPiece(mode, x.to, x.from, x.count, image->width, [&](const Axis& pieceX) {
            return fillPart(image, pieceX, pieceY, buffer);
        });
    });
}

// The three parts of a stretch: before the image, in it, and after it.
struct Parts {
    Axis before;
    Axis inside;
    Axis after;
};

Parts partsOf(int32_t from, int32_t count, int32_t n) {
    const int64_t end = int64_t{from} + count;
    const int64_t firstInside = from < 0 ? (end < 0 ? end : 0) : from;
    const int64_t endInside = end > n ? (from > n ? from : n) : end;
    const auto before = static_cast<int32_t>(firstInside - from);
    const auto inside = static_cast<int32_t>(endInside > firstInside ? endInside - firstInside : 0);
    return {{0, from, before, 1},
            {before, from + before, inside, 1},
            {before + inside, from + before + inside, count - before - inside, 1}};
}

bool fillRect(DaxImage* image, const Axis& allX, const Parts& x, const Parts& y,
              const RectBuffer& buffer) {
    return (y.before.count == 0 || fillBand(image, top, allX, y.before, buffer)) &&
           (y.inside.count == 0 || x.before.count == 0 ||
            fillBand(image, left, x.before, y.inside, buffer)) &&
           (y.inside.count == 0 || x.inside.count == 0 ||
            ownCopyRect(image, x.inside, y.inside, buffer)) &&
           (y.inside.count == 0 || x.after.count == 0 ||
            fillBand(image, right, x.after, y.inside, buffer)) &&
           (y.after.count == 0 || fillBand(image, bottom, allX, y.after, buffer));
}

} // namespace

int32_t ownBorderPlace(int32_t mode, int64_t at, int32_t n) {
    int64_t place = nearest(at, n);
    if (mode == DAX_BORDER_REFLECT) {
        place = reflected(at, n);
        if (place < 0) place = ~place;
    } else if (mode == DAX_BORDER_WRAP) {
        place = floorMod(at, n);
    }
    return static_cast<int32_t>(place);
}

void daxSetBorderMode(DaxImage* image, int32_t mode, int32_t border, int32_t constVal) {
    for (int32_t side = 0; side < 4; ++side) {
        if ((border >> side & 1) == 0) continue;
        image->borderModes[side] = mode;
        image->borderConsts[side] = constVal;
    }
}

uint32_t ownPixelAt(DaxImage* image, int32_t x, int32_t y, int32_t channel) {
    uint32_t value = 0;
    eachTileOfRun(image, x, y, 1, true,
                  [&](const DaxImage* tile, int32_t inX, int32_t inY, int32_t, int32_t) {
                      if (tile != nullptr) value = ownGetPixel(tile, inX, inY, channel);
                  });
    return value;
}

uint32_t ownBorderPixel(DaxImage* image, int32_t x, int32_t y, int32_t channel) {
    const int32_t outside = ownPixelOutside(image, x, y);
    if (outside == 0) return ownPixelAt(image, x, y, channel);
    const Side side = sideOf(outside);
    const int32_t mode = image->borderModes[side];
    if (mode == DAX_BORDER_CONST) return static_cast<uint32_t>(image->borderConsts[side]);
    return ownPixelAt(image, ownBorderPlace(mode, x, image->width),
                      ownBorderPlace(mode, y, image->height), channel);
}

void ownPixelRun(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                 int32_t count, bool forward) {
    eachTileOfRun(
        image, x, y, count, forward,
        [&](const DaxImage* tile, int32_t inX, int32_t inY, int32_t share, int32_t before) {
            if (tile != nullptr)
                readRun(tile, inX, inY, channel, buffer, before, share, forward);
            else
                clearRun(image->depth, buffer, before, share);
        });
}

void ownBorderRow(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                  int32_t count) {
    const int32_t outside = ownPixelOutside(image, x, y);
    if (outside == 0) {
        ownPixelRun(image, x, y, channel, buffer, count, true);
        return;
    }
    const Side side = sideOf(outside);
    const int32_t mode = image->borderModes[side];
    if (mode == DAX_BORDER_CONST) {
        ownFillRun(static_cast<uint32_t>(image->borderConsts[side]), image->depth, buffer, count);
        return;
    }
    const int32_t insideX = ownBorderPlace(mode, x, image->width);
    const int32_t insideY = ownBorderPlace(mode, y, image->height);
    if (mode == DAX_BORDER_REFLECT) {
        const bool forward = reflected(x, image->width) >= 0;
        ownPixelRun(image, insideX, insideY, channel, buffer, count, forward);
    } else if (mode == DAX_BORDER_WRAP || (outside & 12) == 0) {
        ownPixelRun(image, insideX, insideY, channel, buffer, count, true);
    } else {
        ownFillRun(ownPixelAt(image, insideX, insideY, channel), image->depth, buffer, count);
    }
}

void ownBorderColumn(DaxImage* image, int32_t x, int32_t y, int32_t channel, char* buffer,
                     int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        storeSample(ownBorderPixel(image, x, y + i, channel), image->depth, buffer, i);
}

void ownFillRun(uint32_t value, int32_t depth, char* buffer, int32_t count) {
    if (depth == DAX_DEPTH_1U)
        ownFillRow8((value & 1) != 0 ? 0xFF : 0, buffer, (ptrdiff_t{count} + 7) / 8);
    else
        ownFillRow(ownSampleBytes(depth), value, buffer, count);
}

char* ownBorderRect(DaxImage* image, int32_t x, int32_t y, int32_t width, int32_t height,
                    int32_t* step) {
    if (image == nullptr || width < 0 || height < 0 ||
        (image->dataOrder != DAX_DATA_PIXEL && image->dataOrder != DAX_DATA_PLANE) ||
        !ownDepthKnown(image->depth) || (image->align != 4 && image->align != 8))
        return nullptr;
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const ptrdiff_t sample = ownDepthBits(image->depth) / 8;
    RectBuffer buffer = {};
    buffer.step = ownRowStep(image->dataOrder, image->depth, image->align, image->nChannels, width);
    buffer.planes = pixels ? 1 : image->nChannels;
    buffer.pixelBytes = pixels ? sample * image->nChannels : sample;
    if (buffer.step > INT32_MAX || __builtin_mul_overflow(buffer.step, height, &buffer.plane))
        return nullptr;
    int64_t size = 0;
    if (__builtin_mul_overflow(buffer.plane, buffer.planes, &size) || size > INT32_MAX - 16)
        return nullptr;
    buffer.data = static_cast<char*>(daxMalloc(static_cast<int32_t>(size) + 16));
    if (buffer.data == nullptr) return nullptr;
    if (sample == 0) memset(buffer.data, 0, static_cast<size_t>(size));
    *step = static_cast<int32_t>(buffer.step);

    const Axis allX = {0, x, width, 1};
    if (!fillRect(image, allX, partsOf(x, width, image->width), partsOf(y, height, image->height),
                  buffer)) {
        daxFree(buffer.data);
        return nullptr;
    }
    return buffer.data;
}
