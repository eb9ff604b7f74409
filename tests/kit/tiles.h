// Tiled images for tests: a tile source behind a DaxTileInfo, and a log of what it was asked for.
#ifndef KIT_TILES_H
#define KIT_TILES_H

#include "kit/image.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kit {

// Shared by the images of one call, so that the order between images shows. The source writes "A
// read 2,0", "D write 0,1" and "A release 2,0"; a test may add lines of its own.
struct TileLog {
    std::vector<std::string> lines;
    int32_t requests = 0;
    int32_t releases = 0;
    int32_t failRequest = 0; // this request, from 1, leaves no data
    int32_t failRelease = 0; // this release keeps the data
};

// A tiled copy of a plain image. Each tile is a block of its own with guards, laid out as an image
// of the tile's size; it is handed out as a fresh copy, which goes back on release: after that
// nothing reads or writes it unseen. A request while `atMost` tiles are held, a release of what is
// not held, another header than this one's, an unknown mode, and writing to a tile that is held for
// reading are test failures.
class Tiles {
public:
    Tiles(const Image& plain, char theName, int32_t tileWidth, int32_t tileHeight, TileLog& theLog);
    Tiles(const Tiles&) = delete;
    Tiles& operator=(const Tiles&) = delete;
    ~Tiles();

    operator DaxImage*() { return &header; }
    bool holds() const { return !held.empty(); }
    // The tile as it now stands; tiles beyond the image exist as well.
    Image& tile(int32_t col, int32_t row);
    // The plain image with the pixels of the tiles.
    Image gathered() const;
    template <class Body> void forEachTile(Body body) const {
        for (const auto& one : stored) body(one.second);
    }

    DaxImage header;
    DaxROI roi;
    DaxTileInfo info;
    bool ends = false; // outside of the image there are no tiles
    bool anyHeader =
        false; // for walks that hand on a header of their own with this one's tile descriptor
    size_t atMost = 1; // tiles that may be held; a tile that is asked for twice is one

private:
    static void callBack(DaxImage* image, int32_t col, int32_t row, int32_t mode);
    void serve(const DaxImage* image, int32_t col, int32_t row, int32_t mode);

    struct Held {
        Image copy;
        int32_t modes = 0; // of all requests
        int32_t requests = 0;
    };
    using Spot = std::pair<int32_t, int32_t>; // column, row

    // The pixels of a tile that lie in the plain image: body(x, y, x there, y there, channel).
    template <class Body> void eachPixel(Spot spot, Body body) const;

    Image plain;
    char name;
    TileLog& log;
    std::map<Spot, Image> stored;
    std::map<Spot, Held> held;
};

// Runs an operation on plain clones of the images, then once for each set of them that can be
// tiled, on tiled copies with tiles of random size, and compares all pixels of all images. A set is
// a mask with bit i for image i; the sets in `except` are left out. `ends`: outside of an image
// there are no tiles.
using Operation = std::function<void(const std::vector<DaxImage*>&)>;
void expectTiledLikePlain(Random& random, const std::vector<Image>& images,
                          const Operation& operation, const std::vector<uint32_t>& except = {},
                          bool ends = false);

} // namespace kit

#endif
