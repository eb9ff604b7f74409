// The alpha family on tiled images: the same pixels as on plain ones, and which tiles are held
// when.

#include "alpha/composition.h"
#include "kit/platform.h"
#include "kit/reports.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>

namespace {

using namespace alpha;
using Lines = std::vector<std::string>;
using Spot = std::pair<int32_t, int32_t>; // column, row

struct Log {
    Lines lines;
    int32_t requests = 0;
    int32_t failRequest = 0; // from 1; it leaves no data
};

// A tiled copy of a plain image that hands out any number of tiles at a time. Each is a fresh copy
// that goes home at its release, when the descriptor has to hold its address.
class Source {
public:
    Source(const Image& thePlain, int32_t theName, int32_t tileWidth, int32_t tileHeight,
           Log& theLog)
        : header(thePlain.header),
          roi(thePlain.roi), info{serve, 0, nullptr, tileWidth, tileHeight}, plain(thePlain),
          name(std::to_string(theName)), log(theLog) {
        header.imageData = nullptr;
        header.tileInfo = &info;
        if (header.roi != nullptr) header.roi = &roi;
        all[&info] = this;
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() { all.erase(&info); }

    operator DaxImage*() { return &header; }
    size_t holds() const { return held.size(); }

    Image gathered() {
        Image whole = plain;
        for (auto& [spot, tile] : stored) move(tile, spot, whole, false);
        return whole;
    }

    DaxImage header;
    DaxROI roi;
    DaxTileInfo info;

private:
    struct Held {
        std::unique_ptr<Image> tile;
        int32_t mode;
    };

    void move(Image& tile, Spot spot, Image& whole, bool toTile) const {
        for (int32_t channel = 1; channel <= header.nChannels; ++channel)
            for (int32_t y = 0; y < info.height; ++y)
                for (int32_t x = 0; x < info.width; ++x) {
                    const int32_t wholeX = spot.first * info.width + x;
                    const int32_t wholeY = spot.second * info.height + y;
                    if (wholeX >= header.width || wholeY >= header.height) continue;
                    if (toTile)
                        tile.set(x, y, channel, whole.get(wholeX, wholeY, channel));
                    else
                        whole.set(wholeX, wholeY, channel, tile.get(x, y, channel));
                }
    }

    Image& home(Spot spot) {
        const auto found = stored.find(spot);
        if (found != stored.end()) return found->second;
        kit::Shape shape = plain.shape();
        shape.width = info.width;
        shape.height = info.height;
        shape.roi.reset();
        Random random(static_cast<uint64_t>(spot.first * 100 + spot.second));
        Image& made = stored.emplace(spot, Image(shape, random)).first->second;
        move(made, spot, plain, true);
        return made;
    }

    static void serve(DaxImage* image, int32_t col, int32_t row, int32_t mode) {
        Source& self = *all.at(image->tileInfo);
        EXPECT_EQ(image, &self.header);
        const Spot spot = {col, row};
        const std::string where = std::to_string(col) + "," + std::to_string(row);
        if (mode != DAX_TILE_RELEASE) {
            self.log.lines.push_back(self.name + (mode == DAX_TILE_READ ? " read " : " write ") +
                                     where);
            ASSERT_FALSE(self.held.contains(spot)) << where << " is held";
            self.info.tileData = nullptr;
            if (++self.log.requests == self.log.failRequest) return;
            Held& one = self.held[spot] = {std::make_unique<Image>(self.home(spot)), mode};
            self.info.tileData = one.tile->data();
            return;
        }
        self.log.lines.push_back(self.name + " release " + where);
        ASSERT_TRUE(self.held.contains(spot)) << where << " isn't held";
        const Held& one = self.held[spot];
        EXPECT_EQ(self.info.tileData, one.tile->data());
        if (one.mode == DAX_TILE_READ)
            EXPECT_EQ(kit::byteDifference(*one.tile, self.home(spot)), "") << "written";
        else
            self.home(spot).takeBytes(*one.tile);
        self.held.erase(spot);
        self.info.tileData = nullptr;
    }

    static inline std::map<const DaxTileInfo*, Source*> all;

    Image plain;
    std::string name;
    Log& log;
    std::map<Spot, Image> stored;
    std::map<Spot, Held> held;
};

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
    Log log;
    std::deque<Image> plain;
    std::vector<std::unique_ptr<Source>> sources;
    Arguments arguments = {};

    Stage(const Case& one, Random random) : plain(one.made.images), sources(plain.size()) {
        for (size_t i = 0; i < plain.size(); ++i)
            if ((one.tiled >> i & 1) != 0)
                sources[i] =
                    std::make_unique<Source>(plain[i], static_cast<int32_t>(i), random.in(1, 4) * 8,
                                             random.in(1, 2) * 8, log);
        for (size_t place = 0; place < places; ++place) {
            if (one.made.at[place] < 0) continue;
            const auto i = static_cast<size_t>(one.made.at[place]);
            arguments[place] =
                sources[i] != nullptr ? *sources[i] : static_cast<DaxImage*>(plain[i]);
        }
    }

    Image result(size_t i) { return sources[i] != nullptr ? sources[i]->gathered() : plain[i]; }
    size_t held() const {
        size_t sum = 0;
        for (const auto& source : sources) sum += source != nullptr ? source->holds() : 0;
        return sum;
    }
    bool leads() const {
        return std::any_of(arguments.begin(), arguments.end(), [](const DaxImage* image) {
            return image != nullptr && image->tileInfo != nullptr;
        });
    }
};

// What a call asks its tiled images for.
Lines linesOf(const Case& one, const Stage& stage, int32_t failRequest) {
    const Arguments& is = stage.arguments;
    const bool composes = one.call.function < 2;
    const bool constants = composes && one.call.settings.constants;
    std::vector<DaxImage*> order = {is[dst]};
    if (composes && !constants) order.push_back(is[alphaDst]);
    order.insert(order.end(), {is[srcA], is[srcB]});
    if (composes && !constants) order.insert(order.end(), {is[alphaA], is[alphaB]});
    std::vector<std::pair<DaxImage*, bool>> slots; // and whether it is written
    const DaxImage* leader = nullptr;
    for (size_t i = 0; i < order.size(); ++i) {
        if (order[i] == nullptr) continue;
        if (leader == nullptr && order[i]->tileInfo != nullptr) leader = order[i];
        if (std::none_of(slots.begin(), slots.end(),
                         [&](const auto& slot) { return slot.first == order[i]; }))
            slots.emplace_back(order[i], i == 0 || (composes && !constants && i == 1));
    }
    const auto x0 = [](const DaxImage* image) {
        return image->roi != nullptr ? image->roi->xOffset : 0;
    };
    const auto y0 = [](const DaxImage* image) {
        return image->roi != nullptr ? image->roi->yOffset : 0;
    };
    const auto [height, width] = commonSize({order.begin(), order.end()});
    const int32_t tileWidth = leader->tileInfo->width;
    const int32_t tileHeight = leader->tileInfo->height;
    Lines lines;
    int32_t requests = 0;
    bool failed = false;
    int32_t h = tileHeight * (y0(leader) / tileHeight + 1) - y0(leader);
    for (int32_t y = 0; y < height && !failed; y += h, h = tileHeight) {
        h = std::min(h, height - y);
        int32_t w = tileWidth * (x0(leader) / tileWidth + 1) - x0(leader);
        for (int32_t x = 0; x < width && !failed; x += w, w = tileWidth) {
            w = std::min(w, width - x);
            Lines releases;
            for (const auto& [image, writes] : slots) {
                const DaxTileInfo* tiles = image->tileInfo;
                if (tiles == nullptr) continue;
                std::string name;
                for (size_t i = 0; i < stage.sources.size(); ++i)
                    if (stage.sources[i] != nullptr && &stage.sources[i]->info == tiles)
                        name = std::to_string(i);
                bool missing = false;
                for (int32_t row = (y + y0(image)) / tiles->height;
                     row <= (y + y0(image) + h - 1) / tiles->height; ++row)
                    for (int32_t col = (x + x0(image)) / tiles->width;
                         col <= (x + x0(image) + w - 1) / tiles->width; ++col) {
                        if (missing) continue;
                        const std::string where = std::to_string(col) + "," + std::to_string(row);
                        lines.push_back(name + (writes ? " write " : " read ") + where);
                        missing = ++requests == failRequest;
                        if (!missing) releases.push_back(name + " release " + where);
                    }
                failed = failed || missing;
            }
            lines.insert(lines.end(), releases.begin(), releases.end());
        }
    }
    return lines;
}

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
        for (size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(kit::pixelDifference(stage.result(i), expected[i]), "") << "image " << i;
        EXPECT_EQ(stage.held(), 0u);
        if (stage.leads()) {
            EXPECT_EQ(stage.log.lines, linesOf(one, stage, 0));
        }
        if (HasFailure()) one.made.print();
    });
}

// Each request in turn fails: one report, everything that is held goes back, and what was finished
// before stays.
TEST(Gather, RequestsThatFail) {
    kit::Reports reports;
    const char* const names[] = {"daxAlphaComposite", "daxAlphaCompositeC", "daxMultiplyScale",
                                 "daxMultiplySScale", "daxPreMultiplyAlpha"};
    kit::forSeeds(150, [&](Random& random) {
        const Case one = anyCase(random);
        Stage whole(one, random);
        one.call(whole.arguments, nullptr);
        reports.take();
        const int32_t function = one.call.function >= 2        ? one.call.function
                                 : one.call.settings.constants ? 1
                                                               : 0;
        for (int32_t n = 1; n <= std::min(whole.log.requests, 40); ++n) {
            Stage stage(one, random);
            stage.log.failRequest = n;
            one.call(stage.arguments, nullptr);
            EXPECT_EQ(reports.take(), Lines{std::string("-2 ") + names[function] +
                                            " daxalpha ERROR in Tiling callBack"});
            EXPECT_EQ(stage.log.lines, linesOf(one, stage, n)) << n;
            EXPECT_EQ(stage.held(), 0u);
        }
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
        const DaxTileInfo& tiles = stage.sources[0]->info;
        for (int32_t y = random.in(-tiles.height, 0); y < expected[0]->height + tiles.height;
             y += tiles.height)
            for (int32_t x = random.in(-tiles.width, 0); x < expected[0]->width + tiles.width;
                 x += tiles.width) {
                // A position left of the image or above it that names no tile.
                const int32_t tilePos[2] = {x < 0 ? -tiles.width : x, y < 0 ? -tiles.height : y};
                one.call(stage.arguments, tilePos);
            }
        for (size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(kit::pixelDifference(stage.result(i), expected[i]), "") << "image " << i;
        if (HasFailure()) one.made.print();
        EXPECT_EQ(stage.held(), 0u);
        EXPECT_EQ(reports.take(), Lines{});
    });
}

// Positions are divided with truncation: those just left of the image and above it name its first
// tiles. A tile that the region doesn't reach isn't asked for.
TEST(Gather, PositionsAtTheEdges) {
    kit::Reports reports;
    Random random(7);
    kit::Shape shape = {.width = 24, .height = 16};
    Image plain(shape, random);
    const auto linesAt = [&](int32_t x, int32_t y) {
        Log log;
        Source target(Image(shape), 0, 8, 8, log);
        const int32_t tilePos[2] = {x, y};
        daxMultiplySScale(plain, target, 255, tilePos);
        EXPECT_EQ(reports.take(), Lines{});
        return log.lines;
    };
    const auto tile = [](const std::string& where) {
        return Lines{"0 write " + where, "0 release " + where};
    };
    EXPECT_EQ(linesAt(-7, -7), tile("0,0"));
    EXPECT_EQ(linesAt(-7, 15), tile("0,1"));
    EXPECT_EQ(linesAt(23, -1), tile("2,0"));
    for (const auto& [x, y] : {Spot{-8, 0}, {0, -8}, {24, 0}, {0, 16}})
        EXPECT_EQ(linesAt(x, y), Lines{}) << x << " " << y;
    shape.roi = DaxROI{0, 8, 8, 8, 8};
    EXPECT_EQ(linesAt(8, 8), tile("1,1"));
    for (const auto& [x, y] : {Spot{7, 8}, {8, 7}, {16, 8}, {8, 16}})
        EXPECT_EQ(linesAt(x, y), Lines{}) << x << " " << y;
}

// A tile may be declared far larger than its image, so that its bytes don't fit 32 bits, and a
// tiled header need not have a row step. What stands together meanwhile is no larger than the work.
TEST(Gather, TilesFarLargerThanTheWork) {
    kit::Reports reports;
    Random random(5);
    Log log;
    constexpr int32_t huge = 1 << 30;
    static char* tile;
    const auto serve = [](DaxImage* image, int32_t, int32_t, int32_t mode) {
        image->tileInfo->tileData = mode == DAX_TILE_RELEASE ? nullptr : tile;
    };
    // As the destination: the source's small tiles come together.
    const kit::Shape planes = {.channels = 2, .width = 24, .height = 9, .order = DAX_DATA_PLANE};
    const Image plain(planes, random);
    Source source(plain, 0, 8, 8, log);
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
    Source target(result, 1, 24, 16, log);
    daxMultiplySScale(&tiled, target, 255, nullptr);
    Image expected = result;
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 24; ++x)
            for (int32_t channel = 1; channel <= 2; ++channel)
                expected.set(x, y, channel, first.get(x % 8, y, channel));
    EXPECT_EQ(kit::pixelDifference(target.gathered(), expected), "");
    EXPECT_EQ(reports.take(), Lines{});
}

// No memory for an assembly is as bad as no tile.
TEST(Gather, AllocationsThatFail) {
    kit::Reports reports;
    const kit::Shape shape = {.channels = 2, .width = 24, .height = 24, .order = DAX_DATA_PLANE};
    Random random(3);
    Case one = {{}, {}, 3};
    for (int32_t i = 0; i < 3; ++i) one.made.images.emplace_back(shape, random)->alphaChannel = 2;
    one.made.at = {0, -1, 1, 2, -1, -1};
    one.tiled = 7;
    const int32_t requests = kit::forEachFailedRequest([&](kit::StandIn& platform) {
        Stage stage(one, Random(8));
        stage.sources[0]->info.width = 24;
        stage.sources[1]->info.width = stage.sources[2]->info.width = 8;
        one.call(stage.arguments, nullptr);
        EXPECT_EQ(stage.held(), 0u);
        const bool fails = platform.requests >= platform.failRequest;
        EXPECT_EQ(reports.take(),
                  fails ? Lines{"-2 daxAlphaComposite daxalpha ERROR in Tiling callBack"}
                        : Lines{});
    });
    EXPECT_EQ(requests, 4);
}

} // namespace
