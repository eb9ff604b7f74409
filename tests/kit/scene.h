// Calls on a source and a destination of which some are tiled, for the operations that walk tiles
// by sizes of their own.
#ifndef KIT_SCENE_H
#define KIT_SCENE_H

#include "kit/shapes.h"
#include "kit/tiles.h"

#include <array>
#include <optional>

namespace kit {

// A mode for each side, and constants that are the same in all depths.
void setAnyBorders(Random& random, DaxImage* image);

// The part of a stretch that lies in one tile.
struct Share {
    int32_t tile, inTile, size, before;
};
std::vector<Share> sharesOf(int32_t offset, int32_t size, int32_t tileSize);

// What `tilePos` leaves of a walk; the row to start from comes from its first number unless
// `properRow`, and may lie above the region. False when it names no tile of the region.
bool narrow(std::vector<Share>* columns, std::vector<Share>* rows, const int32_t* tilePos,
            int32_t tileHeight, bool properRow = false);

struct Scene {
    // With a tile position in so many of a hundred cases, mostly of a tile of the destination.
    Scene(Random& random, std::vector<Image> pair, int32_t tiledImages, int32_t posChance = 0);

    bool srcTiled() const { return (cases & 1) != 0; }
    bool dstTiled() const { return (cases & 2) != 0; }

    std::vector<Image> images;
    int32_t cases; // 1 the source is tiled, 2 the destination, 3 both
    int32_t sizes[4];
    std::optional<std::array<int32_t, 2>> pos;
};

// A fresh set of a scene's images, for the call or for the model.
struct Trial {
    explicit Trial(const Scene& scene);

    DaxImage* argument(size_t i) {
        return tiled[i] ? *tiled[i] : static_cast<DaxImage*>(images[i]);
    }
    const int32_t* tilePos() const { return pos ? pos->data() : nullptr; }
    Image result(size_t i) const { return tiled[i] ? tiled[i]->gathered() : images[i]; }
    // All bytes of an image and of all its tiles that a walk can touch.
    void expectSame(Trial& expected, size_t i);
    // Those of both, and nothing held.
    void expectSame(Trial& expected);

    std::vector<Image> images;
    TileLog log;
    std::optional<Tiles> tiled[2];
    std::optional<std::array<int32_t, 2>> pos;
    DaxROI* callersRoi[2];
};

} // namespace kit

#endif
