// Scenes: calls of every exported function on random images with random arguments. A scene is drawn
// from a source of numbers, so that the fuzzer finds its way through the same scenes that the tests
// repeat. Draw one number a statement: compilers evaluate arguments in orders of their own.
#ifndef EVERYTHING_SCENE_H
#define EVERYTHING_SCENE_H

#include "kit/image.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <cstring>
#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace everything {

using kit::Random;
using kit::Shape;

// What a scene is drawn for. Hostile scenes have headers that the checks refuse, null images,
// images that don't fit each other and an earlier failure now and then.
struct Purpose {
    bool hostile = false;
    int32_t failRequest = 0; // this tile request, from 1, leaves no data
};

// What images may be. The callers' exceptions are listed at `exceptions`.
struct Allowed {
    bool tiles = true;
    bool far = true;          // tiled images of up to 2^31 pixels a side, with a region
    bool damage = true;       // headers that don't pass the check, and null
    bool shortSteps = false;  // a `widthStep` that leaves out the padding that the fields ask for
    bool regionBeyond = true; // regions that reach beyond the image
    size_t held = 1;          // tiles that may be held
    bool ends = false;        // beyond a tiled image there are no tiles
    int32_t alpha = 0;        // the alpha channel
    const char* model = "GRAY";
    const char* sequence = "GRAY";
};

class Scene {
public:
    Scene(Random& theRandom, const Purpose& thePurpose);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    Random& random;
    const bool hostile;

    bool rare() { return hostile && random.chance(3); }

    // A shape with one of the depths and 1 to `channels` channels; small, seldom a few hundred
    // pixels wide.
    Shape shape(std::initializer_list<int32_t> depths, int32_t channels = 4);
    Shape shape() {
        return shape({kit::depths[0], kit::depths[1], kit::depths[2], kit::depths[3],
                      kit::depths[4], kit::depths[5]});
    }
    // A shape of its own size and region with the depth, order, origin and channels of another one.
    Shape like(const Shape& other);

    // The image of a shape, which belongs to the scene.
    DaxImage* image(Shape shape, const Allowed& allowed = {});

    // Null, or a position of tiles or pixels.
    const int32_t* tilePos();
    const DaxMapping* mapping();
    // A number, seldom one from the ends of all numbers.
    int32_t number(int32_t least, int32_t most);
    // Zeroed memory of exactly so many elements, which lives as long as the scene. Arrays of
    // numbers are results.
    template <class T> T* array(int32_t count) {
        const size_t size = static_cast<size_t>(count) * sizeof(T);
        arrays.push_back({std::make_unique<uint8_t[]>(size), std::is_arithmetic_v<T> ? size : 0});
        return reinterpret_cast<T*>(arrays.back().bytes.get());
    }
    // Shapes that fit each other for operations sample by sample.
    std::vector<Shape> fitting(int32_t count);

    // Adds a result to those of the images.
    template <class T> void keep(T value) {
        static_assert(std::is_arithmetic_v<T>);
        uint8_t bytes[sizeof value];
        memcpy(bytes, &value, sizeof value);
        mix(bytes, sizeof value);
    }

    // Of all pixels, padding included, of arrays, reports, what was kept, the requests and releases
    // of tiles in their order, and whose regions headers have.
    uint64_t hash();

    // Of the plain images, as they were and as they are; none if there are tiles.
    struct Change {
        uint64_t before;
        uint64_t after;
    };
    std::vector<Change> changes() const;

    kit::Reports reports;
    std::vector<std::string> seen; // reports
    bool clearsStatus = false;     // the reporter does, so that it tells of nothing
    kit::TileLog log;

private:
    struct Picture {
        kit::Image plain;
        std::unique_ptr<kit::Tiles> tiles;
        uint64_t before;
    };

    void damage(DaxImage* image);
    void goFar(kit::Tiles& tiles);
    void mix(const uint8_t* bytes, size_t size) { state = mixed(state, bytes, size); }
    static uint64_t mixed(uint64_t from, const uint8_t* bytes, size_t size);

    std::deque<Picture> pictures;
    struct Array {
        std::unique_ptr<uint8_t[]> bytes;
        size_t hashed;
    };
    std::deque<Array> arrays;
    uint64_t state = 0xCBF29CE484222325u;
};

// A scene of an exported function, or of several that belong together.
struct Scenario {
    const char* folder;
    const char* names; // of the functions, with blanks between them
    void (*run)(Scene& scene);
    // The reports that follow when memory or a tile can't be had, as the patterns of glob with `|`
    // between them; an empty one stands for silence.
    const char* noMemory = "";
    const char* noTile = "";
    // When memory can't be had: blocks that stay, and whether plain images may change in part.
    size_t leaves = 0;
    bool partly = false;
};

const std::vector<Scenario>& scenarios();

// One run of a scenario, with its reports and its hash.
struct Outcome {
    uint64_t hash = 0;
    std::vector<Scene::Change> changes;
    std::vector<std::string> reports;
    int32_t requests = 0; // of tiles
};

// From now on message boxes and texts for standard error go nowhere.
void quietPlatform();
Outcome play(const Scenario& scenario, Random& random, const Purpose& purpose);

} // namespace everything

#endif
