// The tile walk against its model, call by call.

#include "kit/models.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include "frame/ownrect.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

namespace {

using kit::Image;
using kit::Random;

// Two or three images, any of them tiled, and a walk over them whose worker checks the headers that
// it gets.
struct Scene {
    Scene(Random& random, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            kit::Shape shape = kit::anyShape(random);
            if (random.chance(50)) shape.width = random.in(1, 70), shape.roi.reset();
            if (random.chance(30))
                shape.roi =
                    kit::anyRoi(random, shape.width, shape.height, random.in(0, shape.channels));
            // The data sizes of all headers go by the first image's order.
            if (i > 0) shape.order = plain[0].shape().order;
            shape.slack = std::max(shape.slack, 0);
            plain.emplace_back(shape);
        }
        plain.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            const char name = i == count - 1 ? 'D' : static_cast<char>('A' + i);
            tiled.push_back(random.chance(60)
                                ? std::make_unique<kit::Tiles>(plain[i], name, random.in(1, 3) * 8,
                                                               random.in(1, 3) * 8, log)
                                : nullptr);
            images.push_back(tiled[i] != nullptr ? *tiled[i] : static_cast<DaxImage*>(plain[i]));
        }
    }

    void run(const int32_t* tilePos) {
        const OwnCall call = {"daxName", "daxfile"};
        const auto worker = [&](DaxImage* const* pieces) { work(pieces); };
        if (images.size() == 3)
            ownTileWalk(
                call,
                {{images[0], ownSrcATexts}, {images[1], ownSrcBTexts}, {images[2], ownDstTexts}},
                tilePos, worker);
        else
            ownTileWalk(call, {{images[0], ownSrcTexts}, {images[1], ownDstTexts}}, tilePos,
                        worker);
    }

    void work(DaxImage* const* pieces) {
        std::vector<DaxROI> regions;
        for (size_t i = 0; i < images.size(); ++i) {
            const DaxImage& is = *pieces[i];
            regions.push_back(*is.roi);
            DaxImage expected = *images[i];
            const DaxTileInfo* tiles = expected.tileInfo;
            if (tiles != nullptr) {
                kit::Shape tile = plain[i].shape();
                tile.width = expected.width = tiles->width;
                expected.height = tiles->height;
                expected.widthStep = static_cast<int32_t>(tile.rowStep());
                expected.imageData = tiles->tileData;
                expected.tileInfo = nullptr;
            }
            expected.dataSize = expected.widthStep * expected.height;
            if (expected.dataOrder == DAX_DATA_PLANE) expected.dataSize *= expected.nChannels;
            EXPECT_EQ(is.roi->coi, expected.roi != nullptr ? expected.roi->coi : 0);
            EXPECT_NE(is.roi, expected.roi);
            expected.roi = is.roi;
            EXPECT_TRUE(is.imageData != nullptr && memcmp(&is, &expected, sizeof is) == 0)
                << "header " << i;
        }
        log.lines.push_back(kit::pieceLine(regions));
    }

    // Far enough round the destination's region that each of the four rejections comes.
    std::optional<std::array<int32_t, 2>> anyTilePos(Random& random) const {
        if (random.chance(40)) return {};
        if (random.chance(5)) return std::array{INT32_MIN, INT32_MAX};
        const DaxTileInfo* tiles = images.back()->tileInfo;
        const DaxROI* roi = images.back()->roi;
        const int32_t col = tiles == nullptr || roi == nullptr ? 0 : roi->xOffset / tiles->width;
        const int32_t row = tiles == nullptr || roi == nullptr ? 0 : roi->yOffset / tiles->height;
        return std::array{col + random.in(-2, 3), row + random.in(-2, 3)};
    }

    kit::TileLog log;
    std::vector<Image> plain;
    std::vector<std::unique_ptr<kit::Tiles>> tiled;
    std::vector<DaxImage*> images;
};

TEST(TileWalk, EveryCallAndPieceAsTheModelHasIt) {
    std::map<std::string, int32_t> outcomes;
    kit::forSeeds(6000, [&](Random& random) {
        kit::Reports reports;
        Scene scene(random, random.chance(70) ? 3 : 2);
        const auto tilePos = scene.anyTilePos(random);
        const kit::TileWalk model = kit::tileWalkOf({scene.images.begin(), scene.images.end()},
                                                    tilePos ? tilePos->data() : nullptr);
        scene.run(tilePos ? tilePos->data() : nullptr);
        ASSERT_EQ(scene.log.lines, model.lines);
        std::vector<std::string> told;
        if (!model.rejection.empty()) told.push_back("-5 daxName daxfile " + model.rejection);
        ASSERT_EQ(reports.take(), told);
        const bool bare = !model.lines.empty() &&
                          std::none_of(model.lines.begin(), model.lines.end(),
                                       [](const auto& line) { return line.starts_with("piece"); });
        ++outcomes[!model.rejection.empty() ? model.rejection
                   : bare                   ? "no piece"
                   : model.lines.empty()    ? "nothing"
                                            : ""];
    });
    // Each of the four rejections, walks without a piece, without anything, and others.
    EXPECT_EQ(outcomes.size(), 7u) << testing::PrintToString(outcomes);
}

TEST(TileWalk, SizesBeyond32BitsWrap) {
    const Image small({.channels = 4, .width = 8, .height = 8, .order = DAX_DATA_PLANE});
    Image large = small;
    large->height = large->widthStep = INT32_MAX;
    kit::TileLog log;
    kit::Tiles tiled(small, 'D', 8, 8, log);
    ownTileWalk(OwnCall{"daxName", "daxfile"}, {{large, ownSrcTexts}, {tiled, ownDstTexts}},
                nullptr, [](DaxImage* const* pieces) { EXPECT_EQ(pieces[0]->dataSize, 4); });
    EXPECT_EQ(log.requests, 1);
}

// After a failure nothing is asked for any more, and what is held stays held.
TEST(TileWalk, FailsAtEachRequestAndEachRelease) {
    const std::map<char, std::string> names3 = {
        {'A', "srcImageA"}, {'B', "srcImageB"}, {'D', "dstImage"}};
    const std::map<char, std::string> names2 = {{'A', "srcImage"}, {'D', "dstImage"}};
    kit::forSeeds(150, [&](Random& random) {
        const uint64_t seed = random.bits();
        const size_t count = random.chance(70) ? 3 : 2;
        for (const bool release : {false, true})
            for (int32_t n = 1; n <= 12; ++n) {
                kit::Reports reports;
                Random same(seed);
                Scene scene(same, count);
                std::vector<std::string> lines =
                    kit::tileWalkOf({scene.images.begin(), scene.images.end()}, nullptr).lines;
                int32_t left = n;
                const auto failing =
                    std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
                        return line[0] != 'p' &&
                               (line.find("release") != std::string::npos) == release &&
                               --left == 0;
                    });
                if (failing == lines.end()) break;
                const std::string name = (count == 3 ? names3 : names2).at((*failing)[0]);
                lines.erase(failing + 1, lines.end());
                (release ? scene.log.failRelease : scene.log.failRequest) = n;
                scene.run(nullptr);
                ASSERT_EQ(scene.log.lines, lines);
                ASSERT_EQ(reports.take(),
                          std::vector<std::string>{"-5 daxName daxfile (" + name +
                                                   "->tileInfo->tileData " + (release ? "!" : "=") +
                                                   "= ((void*)(0)))"});
            }
    });
}

} // namespace
