// What lies beyond the edge of an image: every service against the definition of one sample.

#include "kit/platform.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include "frame/border.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;

// Both ways of repeating an image have a period of twice its size.
int32_t placeOf(int32_t mode, int64_t at, int32_t n) {
    if (at >= 0 && at < n) return static_cast<int32_t>(at);
    if (mode == DAX_BORDER_REPLICATE || mode < 0 || mode > 3) return at < 0 ? 0 : n - 1;
    const auto inPeriod = static_cast<int32_t>((at % (2 * n) + 2 * n) % (2 * n));
    if (inPeriod < n) return inPeriod;
    return mode == DAX_BORDER_REFLECT ? 2 * n - 1 - inPeriod : inPeriod - n;
}

uint32_t cutTo(int32_t depth, int64_t value) {
    const uint32_t bits = static_cast<uint32_t>(value);
    return kit::bitsOf(depth) == 32 ? bits : bits & ((1u << kit::bitsOf(depth)) - 1);
}

// A constant comes as it is stored, everything else in the width of the depth.
uint32_t sampleAt(const Image& image, int32_t x, int32_t y, int32_t channel, int32_t modes = -1) {
    const bool above = y < 0;
    const bool below = y >= image->height;
    const bool left = x < 0;
    const bool right = x >= image->width;
    const int side = above ? 0 : below ? 1 : left ? 2 : 3;
    const int32_t mode = image->borderModes[side] & modes;
    if ((above || below || left || right) && mode == DAX_BORDER_CONST)
        return static_cast<uint32_t>(image->borderConsts[side]);
    const int32_t fromX = placeOf(mode, x, image->width);
    const int32_t fromY = placeOf(mode, y, image->height);
    return cutTo(image->depth, image.get(fromX, fromY, channel));
}

// An image with borders, plain or tiled.
struct Bordered {
    explicit Bordered(Random& random) : plain(kit::anyShape(random), random) {
        const bool oneForAll = random.chance(30);
        for (int32_t side = 1; side < 16; side *= 2)
            daxSetBorderMode(plain, random.in(0, random.chance(10) ? 9 : 3), oneForAll ? 15 : side,
                             random.oneOf({0, 1, 2, 255, 300, -1, 0x12345678, INT32_MIN}));
        if (random.chance(50))
            tiled.emplace(plain, 'A', random.in(1, 2) * 8, random.in(1, 2) * 8, log);
    }

    operator DaxImage*() { return tiled ? *tiled : static_cast<DaxImage*>(plain); }
    void expectReleased() const {
        EXPECT_FALSE(tiled && tiled->holds());
        EXPECT_EQ(log.requests, log.releases);
    }

    Image plain;
    kit::TileLog log;
    std::optional<kit::Tiles> tiled;
};

// Exactly as many bytes as `count` samples take.
Image runBuffer(Random& random, int32_t depth, int32_t count) {
    Shape shape = {.depth = depth, .width = count, .shift = random.in(0, 7)};
    shape.slack =
        static_cast<int32_t>((int64_t{count} * kit::bitsOf(depth) + 7) / 8 - shape.rowStep());
    return Image(shape, random);
}

TEST(Border, ModesAreSetForTheSidesThatAreNamed) {
    Image image(Shape{.width = 3, .height = 4});
    daxSetBorderMode(image, 2, 15, 11);
    daxSetBorderMode(image, 1, 3, 0);
    daxSetBorderMode(image, -7, 8 + 16 + 0x40000000, -9);
    daxSetBorderMode(image, 3, INT32_MIN, 5);
    const int32_t modes[] = {1, 1, 2, -7};
    const int32_t constants[] = {0, 0, 11, -9};
    EXPECT_EQ(memcmp(image->borderModes, modes, sizeof modes), 0);
    EXPECT_EQ(memcmp(image->borderConsts, constants, sizeof constants), 0);
}

// Places that are easy to name, so that the model above can't be wrong together with the code.
TEST(Border, ReadsTheNamedPlaces) {
    Image image(Shape{.width = 1, .height = 4});
    for (int32_t y = 0; y < 4; ++y) image.set(0, y, 1, 10 + y);
    const auto read = [&](int32_t y) {
        return static_cast<int32_t>(ownBorderPixel(image, 0, y, 1)) - 10;
    };
    daxSetBorderMode(image, DAX_BORDER_REFLECT, 15, 0);
    EXPECT_EQ(std::vector({read(-1), read(-4), read(-5), read(-8), read(-9)}),
              std::vector({0, 3, 3, 0, 0}));
    EXPECT_EQ(std::vector({read(4), read(7), read(8)}), std::vector({3, 0, 0}));
    daxSetBorderMode(image, DAX_BORDER_WRAP, 15, 0);
    EXPECT_EQ(std::vector({read(-1), read(-5), read(4), read(9)}), std::vector({3, 3, 0, 1}));
    daxSetBorderMode(image, DAX_BORDER_CONST, DAX_SIDE_TOP, 9);
    EXPECT_EQ(ownBorderPixel(image, -1, -1, 1), 9u);
    daxSetBorderMode(image, DAX_BORDER_CONST, DAX_SIDE_LEFT, -7);
    EXPECT_EQ(ownBorderPixel(image, -1, 0, 1), static_cast<uint32_t>(-7));
}

// A place about the image, or as far away as the numbers go.
int32_t anyPlace(Random& random, int32_t size) {
    const int32_t far = random.oneOf({INT_MIN, INT_MAX - 9999});
    return random.chance(90) ? random.in(-3 * size, 4 * size) : far + random.in(0, 9999);
}

TEST(Border, OneSampleFollowsTheDefinition) {
    kit::forSeeds(400, [](Random& random) {
        Bordered image(random);
        const DaxImage& header = image.plain.header;
        for (int32_t i = 0; i < 60; ++i) {
            const int32_t x = anyPlace(random, header.width);
            const int32_t y = anyPlace(random, header.height);
            const int32_t channel = random.in(1, header.nChannels);
            EXPECT_EQ(ownBorderPixel(image, x, y, channel), sampleAt(image.plain, x, y, channel))
                << image.plain.shape().text() << " x " << x << " y " << y;
        }
        image.expectReleased();
    });
}

TEST(Border, RunsFollowTheDefinition) {
    kit::forEachIsa([] {
        kit::forSeeds(150, [](Random& random) {
            Bordered image(random);
            const DaxImage& header = image.plain.header;
            for (int32_t i = 0; i < 8; ++i) {
                const int32_t channel = random.in(1, header.nChannels);
                const int32_t y = random.in(-2 * header.height, 3 * header.height);
                // A run stays between two vertical edges of the repeated image.
                const int32_t firstX = random.in(-3, 3) * header.width;
                const int32_t x = firstX + random.in(0, header.width - 1);
                const int32_t count = random.in(1, firstX + header.width - x);
                Image run = runBuffer(random, header.depth, count);
                ownBorderRow(image, x, y, channel, reinterpret_cast<char*>(run.data()), count);
                for (int32_t k = 0; k < count; ++k)
                    ASSERT_EQ(cutTo(header.depth, run.get(k, 0, 1)),
                              cutTo(header.depth, sampleAt(image.plain, x + k, y, channel)))
                        << image.plain.shape().text() << " x " << x << " y " << y << " sample "
                        << k;

                const int32_t inX = random.in(0, header.width - 1);
                const int32_t inY = random.in(0, header.height - 1);
                const bool forward = random.chance(50);
                const int32_t length = random.in(1, forward ? header.width - inX : inX + 1);
                Image inside = runBuffer(random, header.depth, length);
                ownPixelRun(image, inX, inY, channel, reinterpret_cast<char*>(inside.data()),
                            length, forward);
                for (int32_t k = 0; k < length; ++k)
                    ASSERT_EQ(inside.get(k, 0, 1),
                              image.plain.get(forward ? inX + k : inX - k, inY, channel));
            }
            image.expectReleased();
        });
    });
}

TEST(Border, ColumnsFollowTheDefinition) {
    kit::forSeeds(200, [](Random& random) {
        Bordered image(random);
        const DaxImage& header = image.plain.header;
        const int32_t channel = random.in(1, header.nChannels);
        const int32_t y = random.in(-2 * header.height, 3 * header.height);
        const int32_t rows = random.in(1, 50);
        const int32_t anyX = random.in(-2 * header.width, 3 * header.width);
        Image column = runBuffer(random, header.depth, rows);
        Image expected = column;
        ownBorderColumn(image, anyX, y, channel, reinterpret_cast<char*>(column.data()), rows);
        for (int32_t k = 0; k < rows; ++k)
            expected.set(k, 0, 1,
                         sampleAt(image.plain, anyX, y + k, channel) &
                             (header.depth == 1 ? 1 : ~0u));
        ASSERT_EQ(byteDifference(column, expected), "");
        image.expectReleased();
    });
}

// The size of a rectangle and its place, inside, over the edges and outside.
struct Rect {
    Rect(Random& random, const DaxImage& image)
        : x(std::min(anyPlace(random, image.width), INT_MAX - 3 * image.width)),
          y(std::min(anyPlace(random, image.height), INT_MAX - 3 * image.height)),
          width(random.in(1, 2 * image.width + 9)), height(random.in(1, 2 * image.height + 9)) {
        if (!random.chance(25)) return;
        x = random.in(0, image.width - 1);
        y = random.in(0, image.height - 1);
        width = random.in(1, image.width - x);
        height = random.in(1, image.height - y);
    }

    char* read(DaxImage* image) { return ownBorderRect(image, x, y, width, height, &step); }

    int32_t x, y, width, height;
    int32_t step = 0;
};

TEST(Border, RectanglesFollowTheDefinition) {
    kit::forEachIsa([] {
        kit::forSeeds(250, [](Random& random) {
            Bordered image(random);
            Rect rect(random, image.plain.header);
            char* buffer = rect.read(image);
            ASSERT_NE(buffer, nullptr);
            image.expectReleased();
            Shape shape = image.plain.shape();
            shape.width = rect.width;
            shape.height = rect.height;
            shape.slack = 0;
            Image is(shape);
            EXPECT_EQ(rect.step, shape.rowStep());
            memcpy(is.data(), buffer, is.size());
            daxFree(buffer);
            for (int32_t channel = 1; channel <= shape.channels; ++channel)
                for (int32_t y = 0; y < rect.height; ++y) {
                    for (int32_t x = 0; x < rect.width; ++x)
                        ASSERT_EQ(cutTo(shape.depth, is.get(x, y, channel)),
                                  cutTo(shape.depth,
                                        sampleAt(image.plain, rect.x + x, rect.y + y, channel, 3)))
                            << image.plain.shape().text() << ": " << x << ", " << y << " of "
                            << rect.x << ", " << rect.y;
                    // A row of constants is constant to its end.
                    const int32_t above = rect.y + y;
                    const int side = above < 0 ? 0 : above >= image.plain->height ? 1 : 2;
                    if (side == 2 || (image.plain->borderModes[side] & 3) != DAX_BORDER_CONST)
                        continue;
                    const int32_t all = rect.step * 8 / kit::bitsOf(shape.depth);
                    const int32_t plane = shape.order == DAX_DATA_PLANE ? channel : 1;
                    is->nChannels = shape.order == DAX_DATA_PIXEL ? 1 : shape.channels;
                    for (int32_t i = 0; i < all; ++i)
                        ASSERT_EQ(cutTo(shape.depth, is.get(i, y, plane)),
                                  cutTo(shape.depth, image.plain->borderConsts[side]))
                            << image.plain.shape().text();
                    is->nChannels = shape.channels;
                }
        });
    });
}

TEST(Border, RectanglesThatCantBeHadAreNull) {
    int32_t step = 0;
    EXPECT_EQ(ownBorderRect(nullptr, 0, 0, 1, 1, &step), nullptr);
    const std::pair<int32_t DaxImage::*, int32_t> faults[] = {{&DaxImage::dataOrder, 2},
                                                              {&DaxImage::dataOrder, -1},
                                                              {&DaxImage::depth, 32},
                                                              {&DaxImage::align, 2}};
    for (const auto& [field, value] : faults) {
        Image image(Shape{.width = 9, .height = 2});
        image->*field = value;
        EXPECT_EQ(ownBorderRect(image, 0, 0, 2, 2, &step), nullptr) << value;
    }
    const std::pair<int32_t, int32_t> sizes[] = {
        {INT_MAX, INT_MAX}, {100, INT_MAX}, {-100, 1}, {100, -1}, {-100, -1}};
    for (const int32_t depth : kit::depths)
        for (const auto& [width, height] : sizes) {
            Image image(Shape{.depth = depth, .width = 9, .height = 2});
            EXPECT_EQ(ownBorderRect(image, 0, 0, width, height, &step), nullptr) << width;
        }
}

} // namespace
