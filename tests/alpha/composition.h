// Random compositions, and a plain model of what they do.
#ifndef ALPHA_COMPOSITION_H
#define ALPHA_COMPOSITION_H

#include "kit/shapes.h"

#include <array>
#include <deque>
#include <functional>
#include <vector>

namespace alpha {

using kit::Image;
using kit::Random;

// The arguments of a call. Images are named by their places; a place may be empty, and two places
// may hold the same image.
enum Place { dst, alphaDst, srcA, srcB, alphaA, alphaB, places };
using Arguments = std::array<DaxImage*, places>;

struct Settings {
    int32_t type = DAX_COMPOSITE_OVER;
    int32_t premultiplied = 0;
    int32_t divides = 0;
    bool constants = false; // daxAlphaCompositeC with these:
    int32_t constantA = 0;
    int32_t constantB = 0;
};

struct Composition {
    Settings settings;
    std::deque<Image> images; // the destination first
    std::array<int32_t, places> at = {-1, -1, -1, -1, -1, -1};

    Arguments arguments(std::deque<Image>& of) const;
    void print() const;
};

// One that passes all checks. With `onePerPlace` no image is in two places.
Composition anyComposition(Random& random, bool onePerPlace = false);

void call(const Settings& settings, const Arguments& arguments, const int32_t* tilePos = nullptr);

// Sample after sample, in the order of rows, channels and pixels; the images are plain.
void composeByModel(const Settings& settings, const Arguments& arguments);

// What a call makes of images, with every instruction set, against a model.
using Work = std::function<void(std::deque<Image>&)>;
void expectEverywhere(const std::deque<Image>& before, const Work& model, const Work& call);

// Height and width that the regions have in common.
std::array<int32_t, 2> commonSize(const std::vector<const DaxImage*>& images);

// The product over full scale, by its definition.
int64_t product(int64_t x, int64_t y, int32_t depth);

// A channel of the region of a plain image, by the fields of its header but `widthStep`.
class Channel {
public:
    Channel(const DaxImage* image, int32_t channel);
    int64_t get(int32_t x, int32_t y) const { return kit::readSample(at(x, y), depth); }
    void set(int32_t x, int32_t y, int64_t value) const {
        kit::writeSample(at(x, y), depth, value);
    }

private:
    uint8_t* at(int32_t x, int32_t y) const { return first + y * rowStep + x * pixelStep; }

    int32_t depth;
    uint8_t* first;
    int64_t rowStep;
    int64_t pixelStep;
};

// A region that starts inside its image.
DaxROI regionInside(Random& random, int32_t width, int32_t height, int32_t coi);

} // namespace alpha

#endif
