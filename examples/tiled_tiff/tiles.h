// Tiles of TIFF files for the library, with only so many of them in memory.
#ifndef EXAMPLES_TILED_TIFF_TILES_H
#define EXAMPLES_TILED_TIFF_TILES_H

#include "tiff.h"

#include <daxlib.h>

#include <exception>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

// Tiles of any number of files. The one that wasn't used for the longest time goes first, back to
// its file if it was changed.
class TileCache {
public:
    explicit TileCache(size_t limitBytes) : limit(limitBytes) {}

    // The tile stays where it is until it is released.
    uint8_t* hold(TiffFile& file, int32_t col, int32_t row);
    void release(TiffFile& file, int32_t col, int32_t row, bool changed);

    // Writes what was changed of a file and forgets its tiles.
    void flush(TiffFile& file);

private:
    using Key = std::tuple<TiffFile*, int32_t, int32_t>;
    struct Tile {
        Key key;
        std::vector<uint8_t> data;
        int holders = 0;
        bool changed = false;
    };

    std::vector<uint8_t> room(size_t size);
    void writeBack(Tile& tile);

    size_t limit;
    size_t used = 0;
    std::list<Tile> tiles; // used last, first
    std::map<Key, std::list<Tile>::iterator> places;
};

// A TIFF file as an image of the library.
class TiledImage {
public:
    TiledImage(TileCache& cache, TiffFile& file);
    TiledImage(const TiledImage&) = delete;
    TiledImage& operator=(const TiledImage&) = delete;

    operator DaxImage*() { return header.get(); }

    // Narrows operations to a rectangle.
    void region(int32_t x, int32_t y, int32_t width, int32_t height);

    // Throws what went wrong when a tile was asked for: the library can't pass it on.
    void rethrow();

    std::function<void()> onWritten; // called for each tile that an operation has written

private:
    // The library hands the tile descriptor to the access function, and what belongs to it stands
    // right behind it.
    struct Source {
        DaxTileInfo info;
        TiledImage* image;
    };
    struct FreeHeader {
        void operator()(DaxImage* image) const { daxDeallocateHeader(image); }
    };

    static void access(DaxImage* image, int32_t col, int32_t row, int32_t mode);
    void serve(int32_t col, int32_t row, int32_t mode);

    TileCache& cache;
    TiffFile& file;
    Source source;
    DaxROI roi = {};
    std::unique_ptr<DaxImage, FreeHeader> header;
    bool toWrite = false;
    std::exception_ptr error;
};

#endif
