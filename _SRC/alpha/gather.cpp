#include "alpha/gather.h"

#include "frame/header.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"

#include <cstring>

namespace {

// A plain header of another size. Where that doesn't fit the fields that nobody follows, they are
// positive all the same, as the check of a header wants them.
void resize(DaxImage* header, int32_t width, int32_t height) {
    header->width = width;
    header->height = height;
    header->tileInfo = nullptr;
    header->widthStep = header->dataSize = INT32_MAX;
    ownDataLayout(header, &header->widthStep, &header->dataSize);
}

int32_t least(int64_t a, int64_t b) { return static_cast<int32_t>(a < b ? a : b); }
int32_t greatest(int64_t a, int64_t b) { return static_cast<int32_t>(a > b ? a : b); }

// How many tiles a rectangle can touch that is not larger than `extent`.
ptrdiff_t mostTiles(int32_t extent, int32_t tileSize) {
    return (ptrdiff_t{extent} - 1 + tileSize) / tileSize + 1;
}

} // namespace

int32_t DaxTileGather::add(DaxImage* image, int32_t role) {
    int32_t index = 0;
    while (slots[index].image != nullptr && slots[index].image != image) ++index;
    Slot& slot = slots[index];
    if (slot.image == nullptr) {
        slot.image = image;
        slot.role = role;
        slot.tileHeader = *image;
        slot.tileHeader.roi = &slot.tileRoi;
        if (image->tileInfo != nullptr)
            resize(&slot.tileHeader, image->tileInfo->width, image->tileInfo->height);
    }
    return index + 1;
}

void DaxTileGather::setRect(int32_t x, int32_t y, int32_t width, int32_t height) {
    rectX = x;
    rectY = y;
    rectWidth = width;
    rectHeight = height;
}

DaxImage* DaxTileGather::view(int32_t slotNumber) {
    Slot& slot = slots[slotNumber - 1];
    if (slot.useCount++ > 0) return slot.currentView;
    slot.x = rectX + ownRoiX(slot.image);
    slot.y = rectY + ownRoiY(slot.image);
    const DaxTileInfo* tiles = slot.image->tileInfo;
    if (tiles == nullptr) {
        slot.tileRoi = {ownCoi(slot.image), slot.x, slot.y, rectHeight, rectWidth};
        return slot.currentView = &slot.tileHeader;
    }
    slot.firstColumn = slot.x / tiles->width;
    slot.lastColumn = (slot.x + rectWidth - 1) / tiles->width;
    slot.firstRow = slot.y / tiles->height;
    slot.lastRow = (slot.y + rectHeight - 1) / tiles->height;
    slot.currentView = slot.tiles() == 1 ? tileView(slot) : assembledView(slot);
    if (slot.currentView == nullptr) failed = true;
    return slot.currentView;
}

bool DaxTileGather::request(Slot& slot, int32_t column, int32_t row) {
    OwnTile tile(slot.image);
    const bool there = tile.request(column, row, slot.role);
    slot.tileHeader.imageData = tile.data();
    return there;
}

DaxImage* DaxTileGather::tileView(Slot& slot) {
    if (!request(slot, slot.firstColumn, slot.firstRow)) return nullptr;
    const DaxTileInfo* tiles = slot.image->tileInfo;
    slot.tileRoi = {ownCoi(slot.image), slot.x - slot.firstColumn * tiles->width,
                    slot.y - slot.firstRow * tiles->height, rectHeight, rectWidth};
    return &slot.tileHeader;
}

DaxImage* DaxTileGather::assembledView(Slot& slot) {
    if (!slot.tileGrid && !makeAssembly(slot)) return nullptr;
    for (ptrdiff_t i = 0; i < slot.gridSize; ++i) slot.tileGrid[i] = nullptr;
    for (ptrdiff_t tile = 0; tile < slot.tiles(); ++tile) {
        const auto column = static_cast<int32_t>(slot.firstColumn + tile % slot.columns());
        const auto row = static_cast<int32_t>(slot.firstRow + tile / slot.columns());
        if (!request(slot, column, row)) return nullptr;
        slot.tileGrid[tile] = slot.tileHeader.imageData;
        // A tile to write is read as well, since the rectangle may cover only a part of it.
        aimAt(slot, tile);
        daxCopy(&slot.tileHeader, &slot.assemblyImage, nullptr);
    }
    slot.assemblyRoi = {ownCoi(slot.image), 0, 0, rectHeight, rectWidth};
    return &slot.assemblyImage;
}

bool DaxTileGather::makeAssembly(Slot& slot) const {
    DaxImage& image = slot.assemblyImage;
    image = *slot.image;
    image.roi = &slot.assemblyRoi;
    resize(&image, tileWidth, tileHeight);
    slot.assemblyData.reset(ownAlloc(image.dataSize, 1));
    if (!slot.assemblyData) return false;
    // A copy that doesn't come about leaves no foreign bytes.
    memset(slot.assemblyData.get(), 0, static_cast<size_t>(image.dataSize));
    image.imageData = slot.assemblyData.get();
    const DaxTileInfo* tiles = slot.image->tileInfo;
    slot.gridSize = mostTiles(tileWidth, tiles->width) * mostTiles(tileHeight, tiles->height);
    slot.tileGrid.reset(ownAlloc(slot.gridSize, sizeof(void*)));
    return static_cast<bool>(slot.tileGrid);
}

// Sets both regions to the part of the rectangle that lies in a tile of the grid, all channels.
void DaxTileGather::aimAt(Slot& slot, ptrdiff_t tile) const {
    const DaxTileInfo* tiles = slot.image->tileInfo;
    const ptrdiff_t tileX = (slot.firstColumn + tile % slot.columns()) * tiles->width;
    const ptrdiff_t tileY = (slot.firstRow + tile / slot.columns()) * tiles->height;
    const int32_t left = greatest(slot.x, tileX);
    const int32_t top = greatest(slot.y, tileY);
    const int32_t width = least(slot.x + rectWidth, tileX + tiles->width) - left;
    const int32_t height = least(slot.y + rectHeight, tileY + tiles->height) - top;
    slot.tileHeader.imageData = slot.tileGrid[tile];
    slot.tileRoi = {0, static_cast<int32_t>(left - tileX), static_cast<int32_t>(top - tileY),
                    height, width};
    slot.assemblyRoi = {0, left - slot.x, top - slot.y, height, width};
}

void DaxTileGather::release() {
    for (Slot& slot : slots) {
        if (slot.useCount == 0) continue;
        slot.useCount = 0;
        if (slot.image->tileInfo == nullptr) continue;
        if (slot.tiles() > 1)
            releaseAssembled(slot);
        else if (slot.tileHeader.imageData != nullptr)
            releaseTile(slot, slot.firstColumn, slot.firstRow);
    }
}

void DaxTileGather::releaseAssembled(Slot& slot) const {
    if (!slot.tileGrid) return;
    for (ptrdiff_t tile = 0; tile < slot.tiles() && slot.tileGrid[tile] != nullptr; ++tile) {
        slot.image->tileInfo->tileData = slot.tileGrid[tile];
        aimAt(slot, tile);
        if (slot.role == DAX_TILE_WRITE) daxCopy(&slot.assemblyImage, &slot.tileHeader, nullptr);
        releaseTile(slot, static_cast<int32_t>(slot.firstColumn + tile % slot.columns()),
                    static_cast<int32_t>(slot.firstRow + tile / slot.columns()));
    }
}

void DaxTileGather::releaseTile(Slot& slot, int32_t column, int32_t row) const {
    slot.image->tileInfo->callBack(slot.image, column, row, DAX_TILE_RELEASE);
}

void OwnCommonSize::fold(const DaxImage* image) {
    DaxRect rect;
    ownRoiRect(image, &rect);
    if (rect.height < height) height = rect.height;
    if (rect.width < width) width = rect.width;
}

OwnGatherWalker::OwnGatherWalker(const OwnCall& theCall, const OwnGathered* gathered,
                                 int32_t imageCount, const OwnCommonSize& commonSize,
                                 const int32_t* tilePos, int32_t callLine)
    : call(theCall), line(callLine), count(imageCount), leader(leaderOf(gathered, imageCount)),
      gather(least(leader->tileInfo->width, commonSize.width),
             least(leader->tileInfo->height, commonSize.height)),
      right(commonSize.width), bottom(commonSize.height) {
    for (int32_t i = 0; i < count; ++i)
        if (gathered[i].image != nullptr)
            slots[i] = gather.add(gathered[i].image, gathered[i].role);
    if (tilePos != nullptr && gathered[0].image->tileInfo != nullptr) done = !narrow(tilePos);
    endX = right;
    endY = top;
}

const DaxImage* OwnGatherWalker::leaderOf(const OwnGathered* gathered, int32_t imageCount) {
    for (int32_t i = 0; i < imageCount; ++i)
        if (gathered[i].image != nullptr && gathered[i].image->tileInfo != nullptr)
            return gathered[i].image;
    return nullptr;
}

// To what the tile at a pixel of the destination has of the common size; false if that is nothing.
bool OwnGatherWalker::narrow(const int32_t* tilePos) {
    const auto cut = [](int64_t place, int64_t tileSize, int64_t offset, int64_t* begin,
                        int64_t* end) {
        const int64_t tile = place / tileSize * tileSize - offset;
        if (tile >= *end || tile + tileSize < 1) return false;
        *begin = greatest(tile, 0);
        *end = least(tile + tileSize, *end);
        return true;
    };
    const DaxTileInfo* tiles = leader->tileInfo;
    return cut(tilePos[0], tiles->width, ownRoiX(leader), &left, &right) &&
           cut(tilePos[1], tiles->height, ownRoiY(leader), &top, &bottom);
}

bool OwnGatherWalker::next() {
    if (done) return false;
    gather.release();
    const DaxTileInfo* tiles = leader->tileInfo;
    // Where the leader's tile at a place ends.
    const auto tileEnd = [](int64_t place, int64_t tileSize, int64_t offset, int64_t limit) {
        const int64_t end = ((offset + place) / tileSize + 1) * tileSize - offset;
        return end < limit ? end : limit;
    };
    x = endX;
    if (x >= right) {
        x = left;
        y = endY;
        endY = tileEnd(y, tiles->height, ownRoiY(leader), bottom);
    }
    if (y >= bottom) {
        done = true;
        return false;
    }
    endX = tileEnd(x, tiles->width, ownRoiX(leader), right);
    gather.setRect(static_cast<int32_t>(x), static_cast<int32_t>(y), width(), height());
    for (int32_t i = 0; i < count; ++i)
        if (slots[i] != 0) current[i] = gather.view(slots[i]);
    if (!gather.hasFailed()) return true;
    gather.release();
    call.report(DAX_StatusUnknownError, "ERROR in Tiling callBack", line);
    done = true;
    return false;
}
