#include "kit/tiles.h"

#include <algorithm>

namespace kit {

namespace {

std::vector<Tiles*> sources;

} // namespace

Tiles::Tiles(const Image& thePlain, char theName, int32_t tileWidth, int32_t tileHeight,
             TileLog& theLog)
    : header(thePlain.header), roi(thePlain.roi), info{callBack, 0, nullptr, tileWidth, tileHeight},
      plain(thePlain), name(theName), log(theLog) {
    header.imageData = nullptr;
    header.tileInfo = &info;
    header.widthStep = header.dataSize = -1; // no operation on tiles reads them
    if (header.roi != nullptr) header.roi = &roi;
    sources.push_back(this);
}

Tiles::~Tiles() { std::erase(sources, this); }

Image& Tiles::tile(int32_t col, int32_t row) {
    const auto found = stored.find({col, row});
    if (found != stored.end()) return found->second;
    Shape shape = plain.shape();
    shape.width = info.width;
    shape.height = info.height;
    shape.slack = 0;
    shape.roi.reset();
    Random random(static_cast<uint64_t>(col) << 32 ^ static_cast<uint32_t>(row));
    Image& made = stored.emplace(std::pair(col, row), Image(shape, random)).first->second;
    for (int32_t channel = 1; channel <= header.nChannels; ++channel)
        for (int32_t y = 0; y < info.height && row * info.height + y < header.height; ++y)
            for (int32_t x = 0; x < info.width && col * info.width + x < header.width; ++x)
                made.set(x, y, channel,
                         plain.get(col * info.width + x, row * info.height + y, channel));
    return made;
}

Image Tiles::gathered() const {
    Image whole = plain;
    for (const auto& [at, from] : stored)
        for (int32_t channel = 1; channel <= header.nChannels; ++channel)
            for (int32_t y = 0; y < info.height && at.second * info.height + y < header.height; ++y)
                for (int32_t x = 0; x < info.width && at.first * info.width + x < header.width; ++x)
                    whole.set(at.first * info.width + x, at.second * info.height + y, channel,
                              from.get(x, y, channel));
    return whole;
}

void Tiles::callBack(DaxImage* image, int32_t col, int32_t row, int32_t mode) {
    for (Tiles* source : sources)
        if (image != nullptr && image->tileInfo == &source->info)
            return source->serve(image, col, row, mode);
    ADD_FAILURE() << "a tile function was called with a header that has no tiles";
}

void Tiles::serve(const DaxImage* image, int32_t col, int32_t row, int32_t mode) {
    const char* what = mode == DAX_TILE_READ      ? " read "
                       : mode == DAX_TILE_WRITE   ? " write "
                       : mode == DAX_TILE_RELEASE ? " release "
                                                  : nullptr;
    ASSERT_NE(what, nullptr) << "mode " << mode;
    const std::string line =
        name + std::string(what) + std::to_string(col) + "," + std::to_string(row);
    log.lines.push_back(line);
    EXPECT_TRUE(image == &header || anyHeader) << line << ": another header than the caller's";
    if (mode != DAX_TILE_RELEASE) {
        EXPECT_FALSE(holds()) << line << ": asked for while another is held";
        ASSERT_TRUE(col >= 0 && row >= 0) << line;
        held.reset();
        info.tileData = nullptr;
        if (++log.requests == log.failRequest) return;
        if (ends && (col * info.width >= header.width || row * info.height >= header.height))
            return;
        held = std::make_unique<Image>(tile(col, row));
        heldAt = {col, row};
        heldMode = mode;
        info.tileData = held->data();
        return;
    }
    ASSERT_TRUE(holds() && heldAt == std::pair(col, row)) << line << ": not held";
    if (++log.releases == log.failRelease) return;
    Image& home = tile(col, row);
    if (heldMode == DAX_TILE_READ)
        EXPECT_EQ(byteDifference(*held, home), "") << line << ": written while held for reading";
    else
        home.takeBytes(*held);
    held.reset();
    info.tileData = nullptr;
}

void expectTiledLikePlain(Random& random, const std::vector<Image>& images,
                          const Operation& operation, const std::vector<uint32_t>& except) {
    std::vector<Image> plain = images;
    operation({plain.begin(), plain.end()});
    for (uint32_t set = 1; set < 1u << images.size(); ++set) {
        if (std::find(except.begin(), except.end(), set) != except.end()) continue;
        SCOPED_TRACE("tiled images: mask " + std::to_string(set));
        TileLog log;
        std::vector<Image> copies = images;
        std::vector<std::unique_ptr<Tiles>> tiled(images.size());
        std::vector<DaxImage*> arguments;
        for (size_t i = 0; i < images.size(); ++i) {
            if ((set >> i & 1) != 0)
                tiled[i] = std::make_unique<Tiles>(images[i], static_cast<char>('A' + i),
                                                   random.in(1, 3) * 8, random.in(1, 3) * 8, log);
            arguments.push_back(tiled[i] != nullptr ? *tiled[i]
                                                    : static_cast<DaxImage*>(copies[i]));
        }
        operation(arguments);
        for (size_t i = 0; i < images.size(); ++i) {
            EXPECT_FALSE(tiled[i] != nullptr && tiled[i]->holds()) << "image " << i;
            const Image result = tiled[i] != nullptr ? tiled[i]->gathered() : copies[i];
            EXPECT_EQ(pixelDifference(result, plain[i]), "") << "image " << i;
        }
    }
}

} // namespace kit
