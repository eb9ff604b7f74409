#include "kit/tiles.h"

#include <algorithm>

namespace kit {

namespace {

thread_local std::vector<Tiles*> sources;

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

template <class Body> void Tiles::eachPixel(Spot spot, Body body) const {
    const int64_t left = int64_t{spot.first} * info.width;
    const int64_t top = int64_t{spot.second} * info.height;
    const int64_t right = std::min<int64_t>(plain->width, left + info.width);
    const int64_t bottom = std::min<int64_t>(plain->height, top + info.height);
    for (int32_t channel = 1; channel <= header.nChannels; ++channel)
        for (int64_t y = top; y < bottom; ++y)
            for (int64_t x = left; x < right; ++x)
                body(static_cast<int32_t>(x - left), static_cast<int32_t>(y - top),
                     static_cast<int32_t>(x), static_cast<int32_t>(y), channel);
}

Image& Tiles::tile(int32_t col, int32_t row) {
    const Spot spot = {col, row};
    const auto found = stored.find(spot);
    if (found != stored.end()) return found->second;
    Shape shape = plain.shape();
    shape.width = info.width;
    shape.height = info.height;
    shape.slack = 0;
    shape.roi.reset();
    Random random(static_cast<uint64_t>(col) << 32 ^ static_cast<uint32_t>(row));
    Image& made = stored.emplace(spot, Image(shape, random)).first->second;
    eachPixel(spot, [&](int32_t x, int32_t y, int32_t plainX, int32_t plainY, int32_t channel) {
        made.set(x, y, channel, plain.get(plainX, plainY, channel));
    });
    return made;
}

Image Tiles::gathered() const {
    Image whole = plain;
    for (const auto& one : stored)
        eachPixel(one.first,
                  [&](int32_t x, int32_t y, int32_t plainX, int32_t plainY, int32_t channel) {
                      whole.set(plainX, plainY, channel, one.second.get(x, y, channel));
                  });
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
    const Spot spot = {col, row};
    const auto found = held.find(spot);
    if (mode != DAX_TILE_RELEASE) {
        const bool again = atMost > 1 && found != held.end();
        EXPECT_TRUE(held.size() < atMost || again) << line << ": asked for while another is held";
        ASSERT_TRUE(ends || (col >= 0 && row >= 0)) << line;
        if (atMost == 1) held.clear();
        info.tileData = nullptr;
        if (++log.requests == log.failRequest) return;
        if (ends && (col < 0 || int64_t{col} * info.width >= header.width || row < 0 ||
                     int64_t{row} * info.height >= header.height))
            return;
        Held& one = held.try_emplace(spot, Held{tile(col, row)}).first->second;
        one.modes |= mode;
        ++one.requests;
        info.tileData = one.copy.data();
        return;
    }
    ASSERT_NE(found, held.end()) << line << ": not held";
    if (++log.releases == log.failRelease) return;
    info.tileData = nullptr;
    Held& one = found->second;
    if (--one.requests > 0) return;
    Image& home = tile(col, row);
    if (one.modes == DAX_TILE_READ)
        EXPECT_EQ(byteDifference(one.copy, home), "") << line << ": written while held for reading";
    else
        home.takeBytes(one.copy);
    held.erase(found);
}

void expectTiledLikePlain(Random& random, const std::vector<Image>& images,
                          const Operation& operation, const std::vector<uint32_t>& except,
                          bool ends) {
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
            if ((set >> i & 1) != 0) {
                tiled[i] = std::make_unique<Tiles>(images[i], static_cast<char>('A' + i),
                                                   random.in(1, 3) * 8, random.in(1, 3) * 8, log);
                tiled[i]->ends = ends;
            }
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
