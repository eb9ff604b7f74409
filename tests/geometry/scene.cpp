#include "scene.h"

namespace geometry {

std::vector<Image> resamplingPair(Random& random, int32_t mostSize, bool slack) {
    std::vector<Shape> shapes = {kit::anyShape(random), kit::anyShape(random)};
    Shape& src = shapes[0];
    Shape& dst = shapes[1];
    if (random.chance(90)) src.depth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    const bool bitonal = src.depth == DAX_DEPTH_1U;
    if (bitonal) src.channels = 1;
    dst.depth = src.depth;
    dst.order = src.order;
    dst.origin = src.origin;
    const int32_t kind = random.in(0, 9);
    dst.channels = bitonal ? 1 : kind < 6 ? src.channels : random.in(1, 4);
    if (random.chance(50)) src.width = random.in(1, mostSize / 2), src.height = random.in(1, 20);
    if (random.chance(80)) dst.width = random.in(1, mostSize), dst.height = random.in(1, 40);
    for (Shape& shape : shapes) {
        shape.slack = slack && random.chance(20) ? random.in(1, 5) * 2 : 0;
        shape.roi.reset();
        if (random.chance(60))
            shape.roi = kit::anyRoi(random, shape.width, shape.height,
                                    kind < 4 ? 0 : random.in(0, shape.channels));
    }
    std::vector<Image> images = filledImages(random, shapes);
    for (int32_t side = 1; side < 16; side *= 2)
        daxSetBorderMode(images[0], random.in(0, 3), side, random.in(0, 1));
    return images;
}

std::vector<Share> sharesOf(int32_t offset, int32_t size, int32_t tileSize) {
    std::vector<Share> shares;
    for (int32_t at = offset; at < offset + size;) {
        const int32_t end = std::min((at / tileSize + 1) * tileSize, offset + size);
        shares.push_back({at / tileSize, at % tileSize, end - at, at - offset});
        at = end;
    }
    return shares;
}

bool narrow(std::vector<Share>* columns, std::vector<Share>* rows, const int32_t* tilePos,
            bool properRow) {
    if (tilePos == nullptr) return true;
    const auto holds = [](const std::vector<Share>& shares, int32_t tile) {
        return tile >= shares.front().tile && tile <= shares.back().tile;
    };
    if (!holds(*columns, tilePos[0]) || !holds(*rows, tilePos[1])) return false;
    // Only the first column and the first row are ever walked.
    columns->resize(tilePos[0] == columns->front().tile ? 1 : 0);
    rows->resize(tilePos[properRow ? 1 : 0] == rows->front().tile ? 1 : 0);
    return true;
}

Scene::Scene(Random& random, std::vector<Image> pair)
    : images(pair), cases(random.in(1, 3)), sizes{random.in(1, 3) * 8, random.in(1, 3) * 8,
                                                  random.in(1, 4) * 8, random.in(1, 4) * 8} {
    const DaxROI roi = regionOf(images[1]);
    const int32_t col = roi.xOffset / sizes[2];
    const int32_t row = roi.yOffset / sizes[3];
    if (random.chance(40))
        pos = {{col + (random.chance(40) ? random.in(-1, 3) : 0),
                row + (random.chance(40) ? random.in(-1, 3) : 0)}};
    // Tiles above the region, from which a walk would then start, are another matter.
    if (pos && (*pos)[0] < row) pos.reset();
}

Trial::Trial(const Scene& theScene) : scene(theScene), images(scene.images) {
    for (size_t i = 0; i < 2; ++i) {
        if ((scene.cases >> i & 1) != 0)
            tiled[i].emplace(images[i], "AD"[i], scene.sizes[2 * i], scene.sizes[2 * i + 1], log);
        callersRoi[i] = argument(i)->roi;
    }
}

void Trial::expectSame(Trial& expected) {
    for (size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE("image " + std::to_string(i) + ", tiled: mask " + std::to_string(scene.cases));
        if (!tiled[i]) {
            EXPECT_EQ(byteDifference(images[i], expected.images[i]), "");
            continue;
        }
        EXPECT_FALSE(tiled[i]->holds());
        const DaxROI roi = regionOf(images[i]);
        for (int32_t row = 0; row <= (roi.yOffset + roi.height) / tiled[i]->info.height; ++row)
            for (int32_t col = 0; col <= (roi.xOffset + roi.width) / tiled[i]->info.width; ++col)
                EXPECT_EQ(
                    byteDifference(tiled[i]->tile(col, row), expected.tiled[i]->tile(col, row)), "")
                    << "tile " << col << "," << row;
    }
}

void expectOrderlyFailures(const Scene& scene, const std::function<void(Trial&)>& call,
                           const std::string& name, bool roiStays, kit::Reports& reports) {
    Trial whole(scene);
    call(whole);
    EXPECT_EQ(reports.take(), Lines());
    const Image done = whole.result(1);
    const auto expectPart = [&](Trial& is) {
        const Image result = is.result(1);
        for (int32_t c = 1; c <= result->nChannels; ++c)
            for (int32_t y = 0; y < result->height; ++y)
                for (int32_t x = 0; x < result->width; ++x) {
                    const int64_t sample = result.get(x, y, c);
                    EXPECT_TRUE(sample == done.get(x, y, c) ||
                                sample == scene.images[1].get(x, y, c));
                }
    };
    Lines requests = whole.log.lines;
    std::erase_if(requests,
                  [](const std::string& line) { return line.find("release") != line.npos; });
    if (requests.size() > 20) requests.resize(20);
    for (size_t n = 0; n < requests.size(); ++n) {
        SCOPED_TRACE("failing: " + requests[n]);
        Trial is(scene);
        is.log.failRequest = static_cast<int32_t>(n) + 1;
        call(is);
        const bool told = requests[n][0] == 'D';
        EXPECT_EQ(reports.take(),
                  told ? Lines{"-2 " + name + " Error get tile to write"} : Lines());
        EXPECT_EQ(is.argument(0)->roi != is.callersRoi[0], told && roiStays);
        EXPECT_EQ(is.argument(1)->roi, is.callersRoi[1]);
        expectPart(is);
    }
    kit::forEachFailedRequest([&](kit::StandIn&) {
        Trial is(scene);
        call(is);
        EXPECT_EQ(is.argument(1)->roi, is.callersRoi[1]);
        expectPart(is);
    });
    EXPECT_EQ(reports.take(), Lines());
}

} // namespace geometry
