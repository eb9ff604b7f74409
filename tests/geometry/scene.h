// Pairs of images for the operations that resample, and calls on them with tiles.
#ifndef GEOMETRY_SCENE_H
#define GEOMETRY_SCENE_H

#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include "frame/border.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>

namespace geometry {

using kit::Image;
using kit::Random;
using kit::Shape;
using Lines = std::vector<std::string>;

inline DaxROI regionOf(const DaxImage* image) {
    return image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
}

// A source and a destination of one depth and order, whose channels mostly fit; with rows longer
// than their fields say, or not.
std::vector<Image> resamplingPair(Random& random, int32_t mostSize = 60, bool slack = true);

// The part of a stretch that lies in one tile.
struct Share {
    int32_t tile, inTile, size, before;
};
std::vector<Share> sharesOf(int32_t offset, int32_t size, int32_t tileSize);

// What `tilePos` leaves of a walk; the start row comes from its first number unless `properRow`.
// False when it names no tile.
bool narrow(std::vector<Share>* columns, std::vector<Share>* rows, const int32_t* tilePos,
            bool properRow);

// A pair of which at least one image is tiled.
struct Scene {
    Scene(Random& random, std::vector<Image> pair);

    bool srcTiled() const { return (cases & 1) != 0; }
    bool dstTiled() const { return (cases & 2) != 0; }

    std::vector<Image> images;
    int32_t cases; // 1 the source is tiled, 2 the destination, 3 both
    int32_t sizes[4];
    std::optional<std::array<int32_t, 2>> pos;
};

// A fresh set of its images, for the call or for the model.
struct Trial {
    explicit Trial(const Scene& theScene);

    DaxImage* argument(size_t i) {
        return tiled[i] ? *tiled[i] : static_cast<DaxImage*>(images[i]);
    }
    const int32_t* tilePos() const { return scene.pos ? scene.pos->data() : nullptr; }
    Image result(size_t i) const { return tiled[i] ? tiled[i]->gathered() : images[i]; }
    // All bytes of the images and of all tiles that either touched, and nothing held.
    void expectSame(Trial& expected);

    const Scene& scene;
    std::vector<Image> images;
    kit::TileLog log;
    std::optional<kit::Tiles> tiled[2];
    DaxROI* callersRoi[2];
};

// Lets every tile request and every allocation fail in turn. A tile to write is reported with
// status -2 under `name`, anything else is silent; what was done before stays, and the source's
// region isn't put back after a failed tile if `roiStays`.
void expectOrderlyFailures(const Scene& scene, const std::function<void(Trial&)>& call,
                           const std::string& name, bool roiStays, kit::Reports& reports);

} // namespace geometry

#endif
