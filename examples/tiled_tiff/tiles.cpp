#include "tiles.h"

#include <iterator>
#include <new>
#include <stdexcept>
#include <utility>

void TileCache::writeBack(Tile& tile) {
    auto [file, col, row] = tile.key;
    if (tile.changed) file->write(col, row, tile.data.data());
    tile.changed = false;
}

// Memory for one more tile: that of the tiles that must go, if possible.
std::vector<uint8_t> TileCache::room(size_t size) {
    std::vector<uint8_t> data;
    for (auto last = tiles.end(); used + size > limit && last != tiles.begin();) {
        --last;
        if (last->holders != 0) continue;
        writeBack(*last);
        used -= last->data.size();
        data = std::move(last->data);
        places.erase(last->key);
        last = tiles.erase(last);
    }
    if (used + size > limit) throw std::runtime_error("the cache is too small for the tiles");
    data.resize(size);
    return data;
}

uint8_t* TileCache::hold(TiffFile& file, int32_t col, int32_t row) {
    const Key key = {&file, col, row};
    const auto place = places.find(key);
    if (place != places.end()) {
        tiles.splice(tiles.begin(), tiles, place->second);
    } else {
        std::vector<uint8_t> data = room(file.layout().tileBytes());
        file.read(col, row, data.data());
        used += data.size();
        tiles.push_front({key, std::move(data)});
        places[key] = tiles.begin();
    }
    ++tiles.front().holders;
    return tiles.front().data.data();
}

void TileCache::release(TiffFile& file, int32_t col, int32_t row, bool changed) {
    Tile& tile = *places.at({&file, col, row});
    --tile.holders;
    tile.changed |= changed;
}

void TileCache::flush(TiffFile& file) {
    // From the oldest on, so that the file is written in one direction.
    for (auto next = tiles.end(); next != tiles.begin();) {
        const auto tile = std::prev(next);
        if (std::get<0>(tile->key) != &file) {
            next = tile;
            continue;
        }
        writeBack(*tile);
        used -= tile->data.size();
        places.erase(tile->key);
        next = tiles.erase(tile);
    }
}

TiledImage::TiledImage(TileCache& theCache, TiffFile& theFile)
    : cache(theCache), file(theFile), source{{}, this} {
    const Layout& layout = file.layout();
    daxSetTileInfo(&source.info, access, 0, layout.tileWidth, layout.tileHeight);
    const char* const model = layout.channels == 1 ? "GRAY" : "RGB\0";
    // Made for one tile: row step and data size of more than 2 GB don't fit a header, and those of
    // a tiled image aren't read.
    header.reset(daxCreateImageHeader(layout.channels, 0, layout.depth, model, model, layout.order,
                                      DAX_ORIGIN_TOP_LEFT, 4, layout.tileHeight, layout.tileWidth,
                                      nullptr, 0, &source.info));
    if (!header) throw std::bad_alloc();
    header->height = layout.height;
    header->width = layout.width;
}

void TiledImage::region(int32_t x, int32_t y, int32_t width, int32_t height) {
    daxSetROI(&roi, 0, x, y, height, width);
    header->roi = &roi;
}

void TiledImage::rethrow() {
    if (error) std::rethrow_exception(std::exchange(error, nullptr));
}

void TiledImage::access(DaxImage* image, int32_t col, int32_t row, int32_t mode) {
    TiledImage& self = *reinterpret_cast<Source*>(image->tileInfo)->image;
    try {
        self.serve(col, row, mode);
    } catch (...) {
        self.error = std::current_exception();
        self.source.info.tileData = nullptr;
    }
}

void TiledImage::serve(int32_t col, int32_t row, int32_t mode) {
    if (mode == DAX_TILE_RELEASE) {
        source.info.tileData = nullptr;
        cache.release(file, col, row, toWrite);
        if (toWrite && onWritten) onWritten();
        return;
    }
    // A tile to write is read, too: as a rule not all of it is written.
    source.info.tileData = cache.hold(file, col, row);
    toWrite = mode == DAX_TILE_WRITE;
}
