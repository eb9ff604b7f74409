#include "filter/morphology.h"

#include "frame/border.h"
#include "frame/header.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"

namespace {

bool modeClear(const DaxImage* image) {
    return (image->imageData != nullptr) != (image->tileInfo != nullptr);
}

bool tilesLegal(const DaxImage* image) {
    const DaxTileInfo* tiles = image->tileInfo;
    return tiles == nullptr ||
           (tiles->callBack != nullptr && tiles->width >= 1 && tiles->height >= 1);
}

int32_t channelOf(const DaxImage* image) {
    return image->roi != nullptr && image->roi->coi > 0 ? image->roi->coi : 1;
}

// The region of one image, with the channel that is worked, or the first of several side by side.
struct Place {
    DaxImage* image;
    int32_t x;
    int32_t y;
    int32_t channel;
};

struct Region {
    Place src;
    Place dst;
    int32_t height;
    int32_t width;
    int32_t group; // channels of a pixel that are worked together
};

// Rows of a region as cells side by side, or as bits from the top of a byte on.
class Rows {
public:
    Rows(const Place& thePlace, const Region& region)
        : place(thePlace), width(region.width), group(region.group),
          bitonal(place.image->depth == DAX_DEPTH_1U), sample(ownSampleBytes(place.image->depth)) {}

    bool tiled() const { return place.image->tileInfo != nullptr; }

    // Whether a row lies in the image as it is to be.
    bool direct() const {
        const DaxImage* image = place.image;
        if (tiled()) return false;
        if (bitonal) return place.x % 8 == 0;
        return image->dataOrder != DAX_DATA_PIXEL || image->nChannels == group;
    }

    char* address(int32_t i) const { return addressIn(place.image, place.x, place.y + i); }

    const char* read(int32_t i, char* line) const {
        if (direct()) return address(i);
        ownPixelRun(place.image, place.x, place.y + i, place.channel, line, width, true);
        return line;
    }

    void write(int32_t i, const char* line) const {
        if (!tiled()) {
            store(place.image, place.x, place.y + i, line, 0, width);
            return;
        }
        OwnTile tile(place.image);
        DaxImage header;
        ownTileHeader(place.image, &header);
        const int32_t y = place.y + i;
        const int32_t row = y / header.height;
        for (int32_t done = 0; done < width;) {
            const int32_t x = place.x + done;
            const int32_t col = x / header.width;
            const int32_t inTile = x - col * header.width;
            const int32_t room = header.width - inTile;
            const int32_t share = room < width - done ? room : width - done;
            if (tile.request(col, row, DAX_TILE_WRITE)) {
                header.imageData = tile.data();
                store(&header, inTile, y - row * header.height, line, done, share);
                tile.release();
            }
            done += share;
        }
    }

private:
    Place place;
    int32_t width;
    int32_t group;
    bool bitonal;
    ptrdiff_t sample;

    char* addressIn(const DaxImage* image, int32_t x, int32_t y) const {
        char* row = static_cast<char*>(image->imageData) + ptrdiff_t{y} * image->widthStep;
        if (bitonal) return row + x / 8;
        if (image->dataOrder == DAX_DATA_PIXEL)
            return row + (ptrdiff_t{x} * image->nChannels + place.channel - 1) * sample;
        return row + (place.channel - 1) * ptrdiff_t{image->widthStep} * image->height + x * sample;
    }

    void store(const DaxImage* image, int32_t x, int32_t y, const char* line, int32_t from,
               int32_t count) const {
        char* at = addressIn(image, x, y);
        const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
        if (bitonal)
            ownCopyBits(line, from, at, x % 8, count);
        else
            ownStridedMovers(sample).copy(line + from * sample, sample, at,
                                          pixels ? sample * image->nChannels : sample, count);
    }
};

// One pass over one channel, or over all channels of interleaved pixels. Each row is first taken
// together with its neighbours to the left and right, into a line; of three such lines a row of the
// result is made. So a row is read before the row above it is written, which makes calls in place
// work.
class Pass {
public:
    Pass(OwnExtreme which, const Region& theRegion)
        : region(theRegion), bitonal(region.src.image->depth == DAX_DEPTH_1U),
          sample(ownSampleBytes(region.src.image->depth)), table(ownExtremes(which)),
          lines(ownExtremeLines(which, region.src.image->depth)), lineBytes(bytesOf(region.width)),
          columnBytes(bytesOf(int64_t{region.height} + 2)),
          block(lineBytes * lineCount + columnBytes * columnCount) {}

    explicit operator bool() const { return static_cast<bool>(block); }

    void run(int32_t nIterations, bool fromDestination, int32_t srcChannel, int32_t dstChannel) {
        region.src.channel = srcChannel;
        region.dst.channel = dstChannel;
        readFrame();
        for (int32_t k = 0; k < nIterations; ++k)
            iterate(k > 0 || fromDestination ? region.dst : region.src);
    }

private:
    // What the kernels for bits may touch before and after a line.
    static constexpr ptrdiff_t margin = 32;
    // Lines of the frame's rows and of the rows as they come, each taken with its neighbours.
    enum Line : int32_t { above, below, ring, input = ring + 3, output, lineCount };
    enum Column : int32_t { left, right, oneChannel, columnCount };

    Region region;
    bool bitonal;
    ptrdiff_t sample;
    const OwnExtremeTable& table;
    const OwnExtremeLines& lines;
    ptrdiff_t lineBytes;
    ptrdiff_t columnBytes;
    OwnBuffer<char> block;

    ptrdiff_t bytesOf(int64_t pixels) const {
        return (bitonal ? pixels / 8 : pixels * sample * region.group) + 2 * margin;
    }
    char* line(int32_t which) const { return block.get() + which * lineBytes + margin; }
    char* column(int32_t which) const {
        return block.get() + lineCount * lineBytes + which * columnBytes;
    }

    // Calls `read(channel, to)` for each channel, and brings what it gives side by side.
    template <class Read> void gather(char* to, char* work, int32_t count, Read read) const {
        if (region.group == 1) {
            read(region.src.channel, to);
            return;
        }
        for (int32_t c = 0; c < region.group; ++c) {
            read(c + 1, work);
            ownStridedMovers(sample).copy(work, sample, to + c * sample, sample * region.group,
                                          count);
        }
    }

    void readFrame() const {
        DaxImage* const image = region.src.image;
        const int32_t x = region.src.x;
        const int32_t y = region.src.y;
        const auto readColumn = [&](Column which, int32_t at) {
            gather(column(which), column(oneChannel), region.height + 2,
                   [&](int32_t channel, char* to) {
                       ownBorderColumn(image, at, y - 1, channel, to, region.height + 2);
                   });
        };
        const auto readRow = [&](char* row, int32_t at) {
            gather(row, line(output), region.width, [&](int32_t channel, char* to) {
                ownBorderRow(image, x, at, channel, to, region.width);
            });
        };
        // Rows before columns, which the tile function of a source sees.
        readRow(line(ring), y - 1);
        readRow(line(ring + 1), y + region.height);
        readColumn(left, x - 1);
        readColumn(right, x + region.width);
        takeRow(line(ring), 0, line(above));
        takeRow(line(ring + 1), region.height + 1, line(below));
    }

    // A row with its neighbours, those at its ends from the frame's columns.
    void takeRow(const char* row, int32_t entry, char* to) const {
        if (bitonal) {
            char* const bits = line(input);
            const ptrdiff_t bytes = (ptrdiff_t{region.width} + 7) / 8;
            if (row != bits) ownCopyRow(row, bits, bytes);
            ownPutBit(bits - 1, 7, ownGetBit(column(left), entry));
            ownPutBit(bits, region.width, ownGetBit(column(right), entry));
            table.spreadBits(bits, to, bytes);
            return;
        }
        const ptrdiff_t cells = region.group;
        const ptrdiff_t step = cells * sample;
        const ptrdiff_t last = (ptrdiff_t{region.width} - 1) * step;
        const char* first = column(left) + entry * step;
        const char* beyond = column(right) + entry * step;
        const char* atLeft[3] = {first, row, last > 0 ? row + step : beyond};
        const char* within[3] = {row, row + step, row + 2 * step};
        const char* atRight[3] = {last > 0 ? row + last - step : first, row + last, beyond};
        lines.merge(atLeft, 3, to, cells);
        if (region.width > 2) lines.merge(within, 3, to + step, (region.width - 2) * cells);
        if (region.width > 1) lines.merge(atRight, 3, to + last, cells);
    }

    void iterate(const Place& from) const {
        const Rows source(from, region);
        const Rows result(region.dst, region);
        const bool direct = result.direct();
        const ptrdiff_t cells = bitonal ? region.width / 8 : ptrdiff_t{region.width} * region.group;
        const char* three[3] = {line(above), line(ring), nullptr};
        takeRow(source.read(0, line(input)), 1, line(ring));
        for (int32_t i = 0; i < region.height; ++i) {
            three[2] = line(below);
            if (i < region.height - 1) {
                char* const next = line(ring + (i + 1) % 3);
                takeRow(source.read(i + 1, line(input)), i + 2, next);
                three[2] = next;
            }
            // The tiles of a destination are asked for before they are written.
            if (result.tiled()) result.read(i, line(output));
            char* const to = direct ? result.address(i) : line(output);
            lines.merge(three, 3, to, cells);
            if (bitonal) mergeLastBits(three, to, cells, direct);
            if (!direct) result.write(i, line(output));
            three[0] = three[1];
            three[1] = three[2];
        }
    }

    // Of the last byte of a row only the region's bits are written.
    void mergeLastBits(const char* const (&three)[3], char* to, ptrdiff_t bytes,
                       bool direct) const {
        const int32_t rest = region.width % 8;
        if (rest == 0) return;
        const char* last[3] = {three[0] + bytes, three[1] + bytes, three[2] + bytes};
        char* const merged = direct ? line(output) : to + bytes;
        lines.merge(last, 3, merged, 1);
        if (direct) ownCopyBits(merged, 0, to + bytes, 0, rest);
    }
};

// The channels of a pass: one of each image, or all of both.
void runChannels(Pass* pass, const Region& region, int32_t nIterations, bool fromDestination) {
    if (ownWorkingChannels(region.src.image) == 1) {
        pass->run(nIterations, fromDestination, channelOf(region.src.image),
                  channelOf(region.dst.image));
        return;
    }
    for (int32_t channel = 1; channel <= region.src.image->nChannels; channel += region.group)
        pass->run(nIterations, fromDestination, channel, channel);
}

bool depthServed(int32_t depth) {
    return depth == DAX_DEPTH_1U || depth == DAX_DEPTH_8U || depth == DAX_DEPTH_16U;
}

} // namespace

bool OwnMorphology::begins(int32_t nIterations, const DaxMapping* mapping) const {
    if (call.rejects(srcImage == nullptr, "Null SRC image header")) return false;
    if (call.rejects(dstImage == nullptr, "Null DST image header")) return false;
    if (call.rejects(!modeClear(srcImage), "Specify exactly SRC image mode (non-tile/tile)"))
        return false;
    if (call.rejects(!modeClear(dstImage), "Specify exactly DST image mode (non-tile/tile)"))
        return false;
    if (call.rejects(!tilesLegal(srcImage), "Illegal SRC tile info contents")) return false;
    if (call.rejects(!tilesLegal(dstImage), "Illegal DST tile info contents")) return false;
    if (call.rejects(nIterations < 1, "Illegal number of of iterations")) return false;
    if (call.rejects(mapping != nullptr, "Mapping must be NULL")) return false;
    if (call.rejects(daxBadImageHeader(srcImage) != 0, "Illegal SRC image header contents"))
        return false;
    if (call.rejects(daxBadImageHeader(dstImage) != 0, "Illegal DST image header contents"))
        return false;
    if (call.rejects(srcImage->depth != dstImage->depth, "SRC and DST depth are not compatible"))
        return false;
    if (call.rejects(srcImage->dataOrder != dstImage->dataOrder,
                     "SRC and DST order are not compatible"))
        return false;
    if (call.rejects(srcImage->origin != dstImage->origin, "SRC and DST orign are not compatible"))
        return false;
    if (call.rejects(ownWorkingChannels(srcImage) != ownWorkingChannels(dstImage),
                     "SRC and DST number of channels are not compatible"))
        return false;
    daxSetErrStatus(DAX_StatusNoError);
    return true;
}

bool OwnMorphology::pass(OwnExtreme which, int32_t nIterations, From from) const {
    if (daxGetErrStatus() != DAX_StatusNoError || !depthServed(srcImage->depth)) return false;
    DaxRect src;
    DaxRect dst;
    ownRoiRect(srcImage, &src);
    ownRoiRect(dstImage, &dst);
    Region region = {{srcImage, src.begX, src.begY, 1},
                     {dstImage, dst.begX, dst.begY, 1},
                     src.height < dst.height ? src.height : dst.height,
                     src.width < dst.width ? src.width : dst.width,
                     1};
    if (region.height <= 0 || region.width <= 0) return false;
    // Tiles are asked for channel by channel.
    if (srcImage->dataOrder == DAX_DATA_PIXEL && ownWorkingChannels(srcImage) > 1 &&
        srcImage->tileInfo == nullptr && dstImage->tileInfo == nullptr)
        region.group = srcImage->nChannels;
    Pass work(which, region);
    if (region.height > INT32_MAX - 2 || !work) {
        daxSetErrStatus(DAX_StatusOutOfMemory);
        return false;
    }
    runChannels(&work, region, nIterations, from == From::destination);
    return true;
}

void OwnMorphology::ends() const {
    if (daxGetErrStatus() != DAX_StatusNoError)
        call.report(DAX_StatusOutOfMemory, "Not enough memory");
}
