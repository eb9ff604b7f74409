#include "alpha/composition.h"

#include "kit/platform.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>

namespace alpha {

namespace {

int32_t coiOf(const DaxImage* image) { return image->roi != nullptr ? image->roi->coi : 0; }

// One operator on one pixel, in the three arithmetics.
struct Pixel {
    int32_t depth;
    int64_t x = depth == DAX_DEPTH_8U ? 255 : 65535;

    int64_t m(int64_t p, int64_t q) const { return product(p, q, depth); }
    int64_t sat(int64_t v) const { return std::min(v, x); }

    int64_t integerColour(int32_t type, int64_t A, int64_t a, int64_t B, int64_t b) const {
        switch (type) {
        case 0: return sat(A + B - m(B, a));
        case 1: return m(A, b);
        case 2: return A - m(A, b);
        case 3: return sat(m(A, b) + B - m(B, a));
        case 4: return sat(A - m(A, b) + B - m(B, a));
        default: return sat(A + B);
        }
    }
    int64_t integerOpacity(int32_t type, int64_t a, int64_t b) const {
        switch (type) {
        case 0: return sat(a + b - m(a, b));
        case 1: return m(a, b);
        case 2: return a - m(a, b);
        case 3: return b;
        case 4: return sat(a + b - 2 * m(a, b));
        default: return sat(a + b);
        }
    }
    int64_t packedColour(int32_t type, int64_t A, int64_t a, int64_t B, int64_t b) const {
        switch (type) {
        case 0: return sat(A + m(B, x - a));
        case 1: return m(A, b);
        case 2: return m(x - b, A);
        case 3: return sat(m(A, b) + m(B, x - a));
        case 4: return sat(m(A, x - b) + m(B, x - a));
        default: return sat(A + B);
        }
    }
    int64_t packedOpacity(int32_t type, int64_t a, int64_t b) const {
        switch (type) {
        case 0: return sat(a + m(x - a, b));
        case 1: return m(a, b);
        case 2: return m(x - b, a);
        case 3: return b;
        case 4: return sat(m(x - a, b) + m(x - b, a));
        default: return sat(a + b);
        }
    }

    double fraction(int64_t sample) const {
        return static_cast<double>(sample) *
               (depth == DAX_DEPTH_8U ? static_cast<double>(0.003921568859368563f) : 1.0 / 65535.0);
    }
    int64_t stored(double value) const {
        const auto rounded = static_cast<float>(8388608.0 + value);
        uint32_t bits = 0;
        memcpy(&bits, &rounded, sizeof bits);
        return sat(bits & 0x7FFFFF);
    }
    static double floatOpacity(int32_t type, double a, double b) {
        switch (type) {
        case 0: return (1 - a) * b + a;
        case 1: return a * b;
        case 2: return (1 - b) * a;
        case 3: return b;
        case 4: return (1 - b) * a + (1 - a) * b;
        default: return a + b;
        }
    }
    double floatColour(int32_t type, double A, double a, double B, double b) const {
        double c = A + B;
        if (type == 0) c = A + B * (1 - a);
        if (type == 1) c = A * b;
        if (type == 2) c = A * (1 - b);
        if (type == 3) c = A * b + B * (1 - a);
        if (type == 4) c = A * (1 - b) + B * (1 - a);
        const double opacity = floatOpacity(type, a, b);
        const double step = depth == DAX_DEPTH_8U ? 1.0 / 255 : 1.0 / 65535;
        if (opacity > step * step / 2) c = std::min(c / opacity, static_cast<double>(x));
        return c;
    }
};

} // namespace

int64_t product(int64_t x, int64_t y, int32_t depth) {
    const int bits = kit::bitsOf(depth);
    const int64_t p = x * y;
    return (p + (p >> bits) + 1) >> bits;
}

Channel::Channel(const DaxImage* image, int32_t channel) : depth(image->depth) {
    const int64_t size = kit::bytesOf(depth);
    const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
    const int64_t bytes = image->width * size * (pixels ? image->nChannels : 1);
    const int64_t unit = image->align == 4 ? 4 : 8;
    rowStep = (bytes + unit - 1) / unit * unit;
    pixelStep = size * (pixels ? image->nChannels : 1);
    first = static_cast<uint8_t*>(image->imageData) +
            (channel - 1) * (pixels ? size : rowStep * image->height);
    if (image->roi != nullptr)
        first += image->roi->yOffset * rowStep + image->roi->xOffset * pixelStep;
}

std::array<int32_t, 2> commonSize(const std::vector<const DaxImage*>& images) {
    std::array<int32_t, 2> size = {99999, 99999};
    for (const DaxImage* image : images) {
        if (image == nullptr) continue;
        const DaxROI roi = kit::cutRegion(image);
        size = {std::min(size[0], roi.height), std::min(size[1], roi.width)};
    }
    return size;
}

void composeByModel(const Settings& settings, const Arguments& images) {
    DaxImage* const d = images[dst];
    const DaxImage* opacityImage = images[alphaDst];
    if (settings.constants)
        opacityImage = nullptr;
    else if (opacityImage == nullptr && d->alphaChannel != 0)
        opacityImage = d;
    const DaxImage* const imageA = images[alphaA] != nullptr ? images[alphaA] : images[srcA];
    const DaxImage* imageB = images[alphaB];
    if (imageB == nullptr && (images[alphaA] == nullptr || settings.constants))
        imageB = images[srcB];

    bool planes = !settings.constants;
    for (const DaxImage* image :
         {static_cast<const DaxImage*>(d), opacityImage, static_cast<const DaxImage*>(images[srcA]),
          static_cast<const DaxImage*>(images[srcB]), imageA, imageB})
        planes = planes && (image == nullptr || image->dataOrder == DAX_DATA_PLANE);
    const auto [height, width] = commonSize({images.begin(), images.end()});
    const int32_t type = settings.type;
    const Pixel pixel = {d->depth};
    const bool premultiplied = settings.premultiplied != 0;
    const bool oneChannel = coiOf(d) != 0;

    const auto alphaOf = [&](const DaxImage* image, int32_t constant, int32_t x, int32_t y) {
        if (settings.constants && constant >= 0) return pixel.sat(constant);
        return Channel(image, std::max(image->alphaChannel, 1)).get(x, y);
    };
    const auto opacities = [&](int32_t x, int32_t y) {
        const int64_t a = alphaOf(imageA, settings.constantA, x, y);
        const int64_t b =
            imageB != nullptr ? alphaOf(imageB, settings.constantB, x, y) : pixel.x - a;
        return std::pair(a, b);
    };
    const auto writeOpacity = [&](int32_t x, int32_t y, int64_t value) {
        if (opacityImage != nullptr)
            Channel(opacityImage, opacityImage->alphaChannel).set(x, y, value);
    };
    for (int32_t y = 0; y < height; ++y) {
        if (planes && settings.divides == 0)
            for (int32_t x = 0; x < width; ++x) {
                const auto [a, b] = opacities(x, y);
                writeOpacity(x, y, pixel.packedOpacity(type, a, b));
            }
        for (int32_t k = 0; k < (oneChannel ? 1 : d->nChannels); ++k) {
            if (k == d->alphaChannel - 1) continue;
            const auto channel = [&](DaxImage* image) {
                return Channel(image, oneChannel ? coiOf(image) : k + 1);
            };
            for (int32_t x = 0; x < width; ++x) {
                const auto [a, b] = opacities(x, y);
                const int64_t A = channel(images[srcA]).get(x, y);
                const int64_t B = channel(images[srcB]).get(x, y);
                int64_t colour = 0;
                if (settings.divides != 0) {
                    const double fa = pixel.fraction(a);
                    const double fb = pixel.fraction(b);
                    const auto dA = static_cast<double>(A);
                    const auto dB = static_cast<double>(B);
                    colour = pixel.stored(pixel.floatColour(type, premultiplied ? dA : dA * fa, fa,
                                                            premultiplied ? dB : dB * fb, fb));
                } else {
                    const int64_t pA = premultiplied ? A : pixel.m(A, a);
                    const int64_t pB = premultiplied ? B : pixel.m(B, b);
                    colour = planes ? pixel.packedColour(type, pA, a, pB, b)
                                    : pixel.integerColour(type, pA, a, pB, b);
                }
                channel(d).set(x, y, colour);
                // Behind the colour, should both go to the same place.
                if (k == 0 && settings.divides != 0)
                    writeOpacity(x, y,
                                 pixel.stored(Pixel::floatOpacity(type, pixel.fraction(a),
                                                                  pixel.fraction(b)) *
                                              static_cast<double>(pixel.x)));
                if (k == 0 && settings.divides == 0 && !planes)
                    writeOpacity(x, y, pixel.integerOpacity(type, a, b));
            }
        }
    }
}

void call(const Settings& settings, const Arguments& images, const int32_t* tilePos) {
    if (settings.constants)
        daxAlphaCompositeC(images[srcA], images[srcB], images[dst], settings.type,
                           settings.constantA, settings.constantB, settings.premultiplied,
                           settings.divides, tilePos);
    else
        daxAlphaComposite(images[srcA], images[srcB], images[dst], settings.type, images[alphaA],
                          images[alphaB], images[alphaDst], settings.premultiplied,
                          settings.divides, tilePos);
}

void expectEverywhere(const std::deque<Image>& before, const Work& model, const Work& call) {
    std::deque<Image> expected = before;
    model(expected);
    kit::forEachIsa([&] {
        std::deque<Image> images = before;
        call(images);
        for (size_t i = 0; i < images.size(); ++i)
            EXPECT_EQ(kit::byteDifference(images[i], expected[i]), "") << "image " << i;
    });
}

DaxROI regionInside(Random& random, int32_t width, int32_t height, int32_t coi) {
    const bool whole = random.chance(30);
    return {coi, whole ? 0 : random.in(0, width - 1), whole ? 0 : random.in(0, height - 1),
            random.in(1, height + 5), random.in(1, width + 5)};
}

Composition anyComposition(Random& random, bool onePerPlace) {
    Composition made;
    Settings& settings = made.settings;
    settings.type = random.in(0, 5);
    settings.premultiplied = random.in(0, 1);
    settings.divides = random.chance(25) ? 1 : 0;
    settings.constants = random.chance(30);
    const int32_t depth = random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_16U});
    const int32_t order = random.in(0, 4); // 0, 1: planes; 2, 3: pixels; 4: either
    const bool oneChannel = random.chance(20);
    const bool rgba = random.chance(30);
    const int32_t colours = rgba ? 3 : random.in(1, 3);
    const int32_t width = random.chance(15) ? random.in(500, 2300) : random.in(1, 70);
    const int32_t height = random.in(1, 6);

    const auto add = [&](Place place, int32_t channels, int32_t alphaChannel, int32_t coi) {
        kit::Shape shape = {.depth = depth, .channels = channels};
        shape.width = width + random.in(0, 5);
        shape.height = height + random.in(0, 3);
        shape.order = order < 2 ? DAX_DATA_PLANE : order < 4 ? DAX_DATA_PIXEL : random.in(0, 1);
        shape.align = random.oneOf({4, 8});
        shape.shift = random.chance(50) ? 0 : random.in(1, 7);
        if (coi != 0 || random.chance(50))
            shape.roi = regionInside(random, shape.width, shape.height, coi);
        made.at[place] = static_cast<int32_t>(made.images.size());
        Image& image = made.images.emplace_back(shape, random);
        image->alphaChannel = alphaChannel;
        // Rows don't follow this field.
        if (random.chance(10)) image->widthStep += random.in(1, 9);
    };
    const auto addColours = [&](Place place, bool withAlpha) {
        const int32_t channels = (oneChannel ? random.in(1, 3) : colours) + (withAlpha ? 1 : 0);
        add(place, channels, withAlpha ? channels : 0, oneChannel ? random.in(1, channels) : 0);
    };
    const bool separateA = !settings.constants && random.chance(30);
    const bool separateB = !settings.constants && random.chance(30);
    settings.constantA = random.chance(30)
                             ? -random.in(1, 9)
                             : random.oneOf({0, 1, 77, 254, 255, 1000, 65534, 65535, 70000});
    settings.constantB =
        random.chance(30) ? -1 : random.oneOf({0, 1, 128, 200, 255, 256, 40000, INT32_MAX});
    const bool mayLackAlpha = !rgba && random.chance(50);
    addColours(dst, !mayLackAlpha || random.chance(40));
    // Nobody asks for these channels.
    const bool freeA = separateA || (settings.constants && settings.constantA >= 0);
    const bool freeB = separateB || separateA || (settings.constants && settings.constantB >= 0);
    addColours(srcA, !(freeA && mayLackAlpha));
    addColours(srcB, !(freeB && mayLackAlpha));
    const auto addAlpha = [&](Place place, Place colour) {
        if (!onePerPlace && random.chance(20)) {
            made.at[place] = made.at[colour];
            return;
        }
        const int32_t channels = random.in(1, 4);
        add(place, channels, random.in(0, channels), 0);
    };
    if (separateA) addAlpha(alphaA, srcA);
    if (separateB) addAlpha(alphaB, srcB);
    if (!settings.constants && random.chance(25)) {
        addAlpha(alphaDst, alphaDst);
        if (made.at[alphaDst] >= 0) {
            DaxImage* image = made.images[static_cast<size_t>(made.at[alphaDst])];
            image->alphaChannel = std::max(image->alphaChannel, 1);
        }
    }
    return made;
}

Arguments Composition::arguments(std::deque<Image>& of) const {
    Arguments arguments = {};
    for (size_t place = 0; place < places; ++place)
        if (at[place] >= 0) arguments[place] = of[static_cast<size_t>(at[place])];
    return arguments;
}

void Composition::print() const {
    std::cout << "type " << settings.type << " premultiplied " << settings.premultiplied
              << " divides " << settings.divides;
    if (settings.constants)
        std::cout << " constants " << settings.constantA << " " << settings.constantB;
    std::cout << "\n";
    for (size_t place = 0; place < places; ++place)
        if (at[place] >= 0) {
            const Image& image = images[static_cast<size_t>(at[place])];
            std::cout << place << ": image " << at[place] << " alpha " << image->alphaChannel << " "
                      << image.shape().text() << "\n";
        }
}

} // namespace alpha
