// The alpha family on tiled images: the same pixels as on plain ones.

#include "alpha/composition.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <memory>

namespace {

using namespace alpha;
using Lines = std::vector<std::string>;

// Any call of the family, on the images of a composition.
struct Call {
    int32_t function; // 0, 1: composition; 2: daxMultiplyScale; 3: daxMultiplySScale; 4:
                      // daxPreMultiplyAlpha
    Settings settings;

    void operator()(const Arguments& is, const int32_t* tilePos) const {
        if (function < 2) call(settings, is, tilePos);
        if (function == 2) daxMultiplyScale(is[srcA], is[srcB], is[dst], tilePos);
        if (function == 3) daxMultiplySScale(is[srcA], is[dst], 99, tilePos);
        if (function == 4)
            daxPreMultiplyAlpha(is[dst], is[dst]->alphaChannel != 0 ? -1 : 77, tilePos);
    }
};

struct Case {
    Composition made;
    Call call;
    uint32_t tiled; // a bit for each image
};

Case anyCase(Random& random) {
    Case one = {anyComposition(random, random.chance(70)), {}, 0};
    one.call = {random.in(0, 4), one.made.settings};
    auto& at = one.made.at;
    if (one.call.function >= 2) {
        one.made.settings = {};
        // The products want equal channel counts.
        at[srcA] = random.chance(30) ? at[dst] : at[srcA];
        at[srcB] = at[srcA];
        const auto channelsOf = [&](int32_t place) {
            return one.made.images[static_cast<size_t>(at[static_cast<size_t>(place)])]->nChannels;
        };
        if (channelsOf(srcA) != channelsOf(dst)) at[srcA] = at[srcB] = at[dst];
        at[alphaA] = at[alphaB] = at[alphaDst] = -1;
        if (one.call.function == 4) at[srcA] = at[srcB] = -1;
    }
    for (Image& image : one.made.images)
        image->widthStep = static_cast<int32_t>(image.shape().rowStep());
    while (one.tiled == 0)
        one.tiled = static_cast<uint32_t>(random.in(1, 63)) & ((1u << one.made.images.size()) - 1);
    return one;
}

// The images of a case, as tiled as the case wants them.
struct Stage {
    kit::TileLog log;
    std::deque<Image> plain;
    std::vector<std::unique_ptr<kit::Tiles>> tiled;
    Arguments arguments = {};

    Stage(const Case& one, Random random) : plain(one.made.images), tiled(plain.size()) {
        for (size_t i = 0; i < plain.size(); ++i)
            if ((one.tiled >> i & 1) != 0) {
                tiled[i] =
                    std::make_unique<kit::Tiles>(plain[i], static_cast<char>('0' + i),
                                                 random.in(1, 4) * 8, random.in(1, 2) * 8, log);
                tiled[i]->atMost = SIZE_MAX;
            }
        for (size_t place = 0; place < places; ++place) {
            if (one.made.at[place] < 0) continue;
            const auto i = static_cast<size_t>(one.made.at[place]);
            arguments[place] = tiled[i] != nullptr ? *tiled[i] : static_cast<DaxImage*>(plain[i]);
        }
    }

    void expect(const std::deque<Image>& expected) const {
        for (size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(kit::pixelDifference(tiled[i] != nullptr ? tiled[i]->gathered() : plain[i],
                                           expected[i]),
                      "")
                << "image " << i;
            EXPECT_FALSE(tiled[i] != nullptr && tiled[i]->holds());
        }
    }
};

TEST(Gather, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(3000, [&](Random& random) {
        const Case one = anyCase(random);
        std::deque<Image> expected = one.made.images;
        one.call(one.made.arguments(expected), nullptr);
        Stage stage(one, random);
        // No position counts while the destination has no tiles.
        const int32_t outside[2] = {-77777, 77777};
        one.call(stage.arguments, (one.tiled & 1) != 0 ? nullptr : outside);
        EXPECT_EQ(reports.take(), Lines{});
        stage.expect(expected);
        if (HasFailure()) one.made.print();
    });
}

// A pixel position cuts the work to its tile. All tiles together make the whole.
TEST(Gather, TileByTile) {
    kit::Reports reports;
    kit::forSeeds(400, [&](Random& random) {
        Case one = anyCase(random);
        one.tiled |= 1;
        std::deque<Image> expected = one.made.images;
        one.call(one.made.arguments(expected), nullptr);
        Stage stage(one, random);
        const DaxTileInfo& tiles = stage.tiled[0]->info;
        for (int32_t y = random.in(-tiles.height, 0); y < expected[0]->height + tiles.height;
             y += tiles.height)
            for (int32_t x = random.in(-tiles.width, 0); x < expected[0]->width + tiles.width;
                 x += tiles.width) {
                // A position left of the image or above it that names no tile.
                const int32_t tilePos[2] = {x < 0 ? -tiles.width : x, y < 0 ? -tiles.height : y};
                one.call(stage.arguments, tilePos);
            }
        stage.expect(expected);
        if (HasFailure()) one.made.print();
        EXPECT_EQ(reports.take(), Lines{});
    });
}

// Positions are divided with truncation: those just left of the image and above it name its first
// tiles. A tile that the region doesn't reach isn't asked for.
TEST(Gather, PositionsAtTheEdges) {
    kit::Reports reports;
    const struct {
        int32_t pos[2];
        const char* tile; // none when empty
        bool inRegion = false;
    } cases[] = {
        {{-7, -7}, "0,0"},  {{-7, 15}, "0,1"},  {{23, -1}, "2,0"},   {{-8, 0}, ""},
        {{0, -8}, ""},      {{24, 0}, ""},      {{0, 16}, ""},       {{8, 8}, "1,1", true},
        {{7, 8}, "", true}, {{8, 7}, "", true}, {{16, 8}, "", true}, {{8, 16}, "", true},
    };
    for (const auto& is : cases) {
        kit::Shape shape = {.width = 24, .height = 16};
        Image plain(shape);
        if (is.inRegion) shape.roi = DaxROI{0, 8, 8, 8, 8};
        kit::TileLog log;
        kit::Tiles target(Image(shape), 'D', 8, 8, log);
        daxMultiplySScale(plain, target, 255, is.pos);
        const std::string tile = is.tile;
        EXPECT_EQ(log.lines,
                  tile.empty() ? Lines{} : (Lines{"D write " + tile, "D release " + tile}));
    }
    EXPECT_EQ(reports.take(), Lines{});
}

// A tile may be declared far larger than its image, so that its bytes don't fit 32 bits, and a
// tiled header need not have a row step. What stands together meanwhile is no larger than the work.
TEST(Gather, TilesFarLargerThanTheWork) {
    kit::Reports reports;
    Random random(5);
    kit::TileLog log;
    constexpr int32_t huge = 1 << 30;
    static char* tile;
    const auto serve = [](DaxImage* image, int32_t, int32_t, int32_t mode) {
        image->tileInfo->tileData = mode == DAX_TILE_RELEASE ? nullptr : tile;
    };
    // As the destination: the source's small tiles come together.
    const kit::Shape planes = {.channels = 2, .width = 24, .height = 9, .order = DAX_DATA_PLANE};
    const Image plain(planes, random);
    kit::Tiles source(plain, 'A', 8, 8, log);
    source.atMost = SIZE_MAX;
    Image result({.channels = 2, .width = 24, .height = 9});
    tile = reinterpret_cast<char*>(result.data());
    DaxTileInfo info = {serve, 0, nullptr, 24, huge};
    DaxImage tiled = result.header;
    tiled.imageData = nullptr;
    tiled.tileInfo = &info;
    tiled.widthStep = 0;
    daxMultiplySScale(source, &tiled, 255, nullptr);
    EXPECT_EQ(kit::pixelDifference(result, plain), "");
    EXPECT_EQ(reports.take(), Lines{});
    // As the source: the part of a rectangle in each of its tiles is copied.
    info.width = 8;
    Image first({.channels = 2, .width = 8, .height = 9}, random);
    tile = reinterpret_cast<char*>(first.data());
    kit::Tiles target(result, 'D', 24, 16, log);
    daxMultiplySScale(&tiled, target, 255, nullptr);
    Image expected = result;
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 24; ++x)
            for (int32_t channel = 1; channel <= 2; ++channel)
                expected.set(x, y, channel, first.get(x % 8, y, channel));
    EXPECT_EQ(kit::pixelDifference(target.gathered(), expected), "");
    EXPECT_EQ(reports.take(), Lines{});
}

} // namespace
