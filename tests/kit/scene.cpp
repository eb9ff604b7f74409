#include "kit/scene.h"

#include <algorithm>

namespace kit {

void setAnyBorders(Random& random, DaxImage* image) {
    for (int32_t side = 1; side < 16; side *= 2)
        daxSetBorderMode(image, random.in(0, 3), side, random.in(0, 1));
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
            int32_t tileHeight, bool properRow) {
    if (tilePos == nullptr) return true;
    const auto holds = [](const std::vector<Share>& shares, int32_t tile) {
        return tile >= shares.front().tile && tile <= shares.back().tile;
    };
    if (!holds(*columns, tilePos[0]) || !holds(*rows, tilePos[1])) return false;
    // A walk ends with the first column and the first row.
    const Share firstRow = rows->front();
    const int32_t start = tilePos[properRow ? 1 : 0];
    columns->resize(tilePos[0] == columns->front().tile ? 1 : 0);
    rows->clear();
    for (int32_t tile = start; tile < firstRow.tile; ++tile)
        rows->push_back({tile, 0, tileHeight, 0});
    if (start <= firstRow.tile) rows->push_back(firstRow);
    return true;
}

Scene::Scene(Random& random, std::vector<Image> pair, int32_t tiledImages, int32_t posChance)
    : images(std::move(pair)), cases(tiledImages), sizes{random.in(1, 3) * 8, random.in(1, 3) * 8,
                                                         random.in(1, 4) * 8, random.in(1, 4) * 8} {
    const DaxROI roi = regionOf(images[1]);
    if (!random.chance(posChance)) return;
    pos = {{roi.xOffset / sizes[2] + (random.chance(40) ? random.in(-1, 3) : 0),
            roi.yOffset / sizes[3] + (random.chance(40) ? random.in(-1, 3) : 0)}};
}

Trial::Trial(const Scene& scene) : images(scene.images), pos(scene.pos) {
    for (size_t i = 0; i < 2; ++i) {
        if ((scene.cases >> i & 1) != 0)
            tiled[i].emplace(images[i], "AD"[i], scene.sizes[2 * i], scene.sizes[2 * i + 1], log);
        callersRoi[i] = argument(i)->roi;
    }
}

void Trial::expectSame(Trial& expected, size_t i) {
    SCOPED_TRACE(std::string("image ") + "AD"[i] + (tiled[i] ? ", tiled" : ""));
    if (!tiled[i]) {
        EXPECT_EQ(byteDifference(images[i], expected.images[i]), "");
        return;
    }
    const DaxROI region = regionOf(images[i]);
    const DaxTileInfo& info = tiled[i]->info;
    for (int32_t row = 0; row <= (region.yOffset + region.height) / info.height; ++row)
        for (int32_t col = 0; col <= (region.xOffset + region.width) / info.width; ++col)
            EXPECT_EQ(byteDifference(tiled[i]->tile(col, row), expected.tiled[i]->tile(col, row)),
                      "")
                << "tile " << col << "," << row;
}

void Trial::expectSame(Trial& expected) {
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_FALSE(tiled[i] && tiled[i]->holds());
        expectSame(expected, i);
    }
}

} // namespace kit
