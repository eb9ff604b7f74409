// The tile walk against its model, call by call.

#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include "frame/ownrect.h"
#include "frame/raster.h"
#include "frame/runs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

namespace {

using kit::Image;
using kit::Random;
using Lines = std::vector<std::string>;

// The piece as the worker sees it: each image's region in its shadow header.
std::string pieceLine(const std::vector<DaxROI>& regions) {
    std::string line = "piece";
    for (const DaxROI& roi : regions)
        line += " " + std::to_string(roi.width) + "x" + std::to_string(roi.height) + "+" +
                std::to_string(roi.xOffset) + "+" + std::to_string(roi.yOffset);
    return line;
}

// What a tile walk over two or three images named A, B and D (A and D) does: the requests and
// releases as a TileLog has them, and a line for every piece; or the text of the report with which
// `tilePos` is rejected.
struct TileWalk {
    std::string rejection;
    Lines lines;
};

TileWalk tileWalkOf(const std::vector<const DaxImage*>& images, const int32_t* tilePos) {
    const size_t n = images.size();
    const std::string names = n == 3 ? "ABD" : "AD";
    std::vector<int64_t> x0(n), y0(n);
    int64_t width = INT64_MAX;
    int64_t height = INT64_MAX;
    for (size_t i = 0; i < n; ++i) {
        const DaxImage* image = images[i];
        const DaxROI roi = kit::regionOf(image);
        x0[i] = roi.xOffset;
        y0[i] = roi.yOffset;
        width = std::min({width, int64_t{roi.width}, image->width - x0[i]});
        height = std::min({height, int64_t{roi.height}, image->height - y0[i]});
    }

    const DaxTileInfo* target = images.back()->tileInfo;
    if (tilePos != nullptr && target != nullptr) {
        const int64_t left = int64_t{tilePos[0]} * target->width;
        const int64_t top = int64_t{tilePos[1]} * target->height;
        const int64_t x = x0.back();
        const int64_t y = y0.back();
        if (left > x + width) return {"(dTile.begX > dRoi.endX)", {}};
        if (top > y + height) return {"(dTile.begY > dRoi.endY)", {}};
        if (left + target->width < x) return {"(dTile.endX < dRoi.begX)", {}};
        if (top + target->height < y) return {"(dTile.endY < dRoi.begY)", {}};
        const int64_t offLeft = std::max<int64_t>(left - x, 0);
        const int64_t offTop = std::max<int64_t>(top - y, 0);
        width = std::min(width, left + target->width - x) - offLeft;
        height = std::min(height, top + target->height - y) - offTop;
        for (size_t i = 0; i < n; ++i) {
            x0[i] += offLeft;
            y0[i] += offTop;
        }
    }

    TileWalk walk;
    const auto ask = [&](size_t i, const char* what, int64_t x, int64_t y) {
        const DaxTileInfo* tiles = images[i]->tileInfo;
        walk.lines.push_back(names[i] + std::string(what) + std::to_string(x / tiles->width) + "," +
                             std::to_string(y / tiles->height));
    };
    const auto fetch = [&](size_t i, int64_t x, int64_t y) {
        ask(i, i == n - 1 ? " write " : " read ", x, y);
    };
    int64_t bandHeight = 0;
    for (int64_t dy = 0; dy < height; dy += bandHeight) {
        bandHeight = height - dy;
        for (size_t i = 0; i < n; ++i) {
            if (images[i]->tileInfo == nullptr) continue;
            fetch(i, x0[i], y0[i] + dy);
            const int64_t tileHeight = images[i]->tileInfo->height;
            bandHeight = std::min(bandHeight, tileHeight - (y0[i] + dy) % tileHeight);
        }
        int64_t pieceWidth = 0;
        int64_t lastDx = 0;
        for (int64_t dx = 0; dx < width; dx += pieceWidth) {
            pieceWidth = width - dx;
            std::vector<DaxROI> regions(n);
            for (size_t i = 0; i < n; ++i) {
                const DaxTileInfo* tiles = images[i]->tileInfo;
                const int64_t x = x0[i] + dx;
                const int64_t y = y0[i] + dy;
                if (tiles != nullptr && dx > 0 && x % tiles->width == 0) {
                    ask(i, " release ", x - 1, y);
                    fetch(i, x, y);
                }
                if (tiles != nullptr)
                    pieceWidth = std::min(pieceWidth, tiles->width - x % tiles->width);
                regions[i].xOffset = static_cast<int32_t>(tiles != nullptr ? x % tiles->width : x);
                regions[i].yOffset = static_cast<int32_t>(tiles != nullptr ? y % tiles->height : y);
            }
            for (DaxROI& region : regions) {
                region.width = static_cast<int32_t>(pieceWidth);
                region.height = static_cast<int32_t>(bandHeight);
            }
            walk.lines.push_back(pieceLine(regions));
            lastDx = dx;
        }
        for (size_t i = 0; i < n; ++i)
            if (images[i]->tileInfo != nullptr) ask(i, " release ", x0[i] + lastDx, y0[i] + dy);
    }
    return walk;
}

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
        log.lines.push_back(pieceLine(regions));
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

// After a failure nothing is asked for any more, and what is held stays held.
TEST(TileWalk, EveryCallAndPieceAsTheModelHasIt) {
    std::map<std::string, int32_t> outcomes;
    kit::forSeeds(7000, [&](Random& random) {
        kit::Reports reports;
        Scene scene(random, random.chance(70) ? 3 : 2);
        const auto tilePos = scene.anyTilePos(random);
        const int32_t* pos = tilePos ? tilePos->data() : nullptr;
        TileWalk model = tileWalkOf({scene.images.begin(), scene.images.end()}, pos);
        const bool bare =
            std::none_of(model.lines.begin(), model.lines.end(),
                         [](const std::string& line) { return line.starts_with("piece"); });
        std::string text = model.rejection;
        ++outcomes[!text.empty() ? text : model.lines.empty() ? "nothing" : bare ? "bare" : ""];
        if (random.chance(40)) {
            const bool release = random.chance(50);
            int32_t& fail = release ? scene.log.failRelease : scene.log.failRequest;
            int32_t left = fail = random.in(1, 12);
            for (auto line = model.lines.begin(); line != model.lines.end(); ++line) {
                const bool released = line->find("release") != std::string::npos;
                if ((*line)[0] == 'p' || released != release || --left > 0) continue;
                const bool two = scene.images.size() == 2;
                text = (*line)[0] == 'D'   ? "(dstImage"
                       : two               ? "(srcImage"
                       : (*line)[0] == 'A' ? "(srcImageA"
                                           : "(srcImageB";
                text += std::string("->tileInfo->tileData ") + (release ? "!" : "=") +
                        "= ((void*)(0)))";
                model.lines.erase(line + 1, model.lines.end());
                break;
            }
        }
        scene.run(pos);
        ASSERT_EQ(scene.log.lines, model.lines);
        ASSERT_EQ(reports.take(), text.empty() ? Lines() : Lines{"-5 daxName daxfile " + text});
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

// Images that are walked as one run.
TEST(TileWalk, SameGeometry) {
    const Image one({.channels = 2, .width = 4, .height = 4});
    const auto same = [&](const Image& other) {
        EXPECT_EQ(ownSameGeometry(&one.header, &other.header),
                  ownSameGeometry(&other.header, &one.header));
        return ownSameGeometry(&one.header, &other.header);
    };
    for (int32_t DaxImage::*field :
         {&DaxImage::height, &DaxImage::width, &DaxImage::dataSize, &DaxImage::origin}) {
        Image other = one;
        other->*field += 1;
        EXPECT_EQ(same(other), field == &DaxImage::origin);
    }
    const std::pair<DaxROI, bool> regions[] = {{{0, 0, 0, 4, 4}, true},  {{0, 0, 0, 5, 6}, true},
                                               {{1, 0, 0, 4, 4}, false}, {{0, 1, 0, 4, 4}, false},
                                               {{0, 0, 1, 4, 4}, false}, {{0, 0, 0, 3, 4}, false},
                                               {{0, 0, 0, 4, 3}, false}};
    for (const auto& [roi, whole] : regions)
        EXPECT_EQ(same(Image({.channels = 2, .width = 4, .height = 4, .roi = roi})), whole);
}

// The last row goes on past the block where rows begin before the ones above end.
TEST(TileWalk, MemoryInCommon) {
    const Image block({.width = 100});
    DaxImage one = Image({.width = 10, .height = 4}).header;
    DaxImage other = one;
    for (const int32_t widthStep : {12, 9, 1}) {
        one.widthStep = widthStep;
        one.dataSize = widthStep * 4;
        one.imageData = block.data();
        const int32_t end = widthStep * 3 + 12;
        for (const int32_t place : {0, end - 1, end}) {
            other.imageData = block.data() + place;
            EXPECT_EQ(ownMayOverlap(&one, &other), place < end) << widthStep;
            EXPECT_EQ(ownMayOverlap(&other, &one), place < end) << widthStep;
        }
    }
}

TEST(TileWalk, BitsFarBeyondTheBlockAreLeftAlone) {
    Image image({.depth = DAX_DEPTH_1U, .width = 8, .roi = DaxROI{0, 0, INT32_MAX, 1, 8}});
    image->widthStep = 1 << 30;
    DaxImage* const images[] = {image, image};
    OwnBitRuns runs;
    ASSERT_TRUE(ownBitRuns(images, 2, &runs));
    EXPECT_EQ(ownBitsInside(runs, runs.start), 0);
}

} // namespace
