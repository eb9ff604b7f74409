// What the frame takes besides the pixels.

#include "cases.h"

#include "memory.h"

#include <memory>

namespace bench {

namespace {

constexpr int tileSide = 8;

void handOut(DaxImage* image, int32_t, int32_t, int32_t mode) {
    image->tileInfo->tileData = mode == DAX_TILE_RELEASE ? nullptr : block(3, tileSide * tileSide);
}

struct Header {
    DaxTileInfo tiles = {};
    std::unique_ptr<DaxImage, void (*)(DaxImage*)> image = {nullptr, daxDeallocateHeader};
};

// A tile of 8 by 8 pixels is the smallest there is, so that little but the walk remains.
std::shared_ptr<Header> tiled(const DaxImage* plain) {
    auto header = std::make_shared<Header>();
    daxSetTileInfo(&header->tiles, handOut, 0, tileSide, tileSide);
    header->image.reset(daxCreateImageHeader(
        plain->nChannels, 0, plain->depth, "GRAY", "GRAY", plain->dataOrder, plain->origin,
        plain->align, plain->height, plain->width, nullptr, 0, &header->tiles));
    return header;
}

} // namespace

void addFrame() {
    constexpr int side = 512;
    constexpr int tiles = (side / tileSide) * (side / tileSide);
    const Form bytes;
    const std::vector<Use> images = {read(bytes), read(bytes), write(bytes)};
    add({.operation = "tile-walk",
         .images = images,
         .prepare = [](Images& i) -> Task {
             return [&i, d = tiled(i[2])] { daxAdd(i[0], i[1], d->image.get(), nullptr); };
         },
         .variant = "destination-in-tiles",
         .sides = {side},
         .tiles = tiles});
    add({.operation = "tile-walk",
         .images = images,
         .prepare = [](Images& i) -> Task {
             return [a = tiled(i[0]), b = tiled(i[1]), d = tiled(i[2])] {
                 daxAdd(a->image.get(), b->image.get(), d->image.get(), nullptr);
             };
         },
         .variant = "all-three-in-tiles",
         .sides = {side},
         .tiles = tiles});
}

} // namespace bench
