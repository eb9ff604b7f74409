// Flips a region, out of place or in place. Rows of bits, of whole pixels and of one channel of
// interleaved ones differ only in how a run of them is moved and turned round.

#include "geometry/daxmirr.h"

#include "frame/border.h"
#include "frame/call.h"
#include "frame/depth.h"
#include "frame/header.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "frame/movers.h"
#include "frame/ownrect.h"
#include "frame/planeview.h"

#include <cstring>

namespace {

constexpr OwnCall call = {"daxMirror", "daxmirr"};

// The place of an element in a row. What an element is, a kind of row says.
struct Place {
    char* row;
    ptrdiff_t index;

    Place past(ptrdiff_t count) const { return {row, index + count}; }
};

// Each kind copies a run, copies it turned round, and exchanges two runs, straight or one of them
// turned round. Exchanged runs don't overlap.
struct Bits {
    static void copy(const Place& src, const Place& dst, ptrdiff_t count) {
        ownCopyBits(src.row, src.index, dst.row, dst.index, count);
    }
    static void turn(const Place& src, const Place& dst, ptrdiff_t count) {
        ownTurnBits(src.row, src.index, dst.row, dst.index, count);
    }
    static void swap(const Place& a, const Place& b, ptrdiff_t count) {
        exchange(a, b, count, copy, [](ptrdiff_t done, ptrdiff_t) { return done; });
    }
    static void swapTurned(const Place& a, const Place& b, ptrdiff_t count) {
        exchange(a, b, count, turn,
                 [count](ptrdiff_t done, ptrdiff_t share) { return count - done - share; });
    }
    static ptrdiff_t roomTo(const char* end, const Place& at) {
        return (end - at.row) * 8 - at.index;
    }

private:
    // By way of a block, so that both runs are read before either is written.
    template <class Move, class Index>
    static void exchange(const Place& a, const Place& b, ptrdiff_t count, Move move, Index inB) {
        char block[512];
        constexpr ptrdiff_t room = sizeof block * 8;
        for (ptrdiff_t done = 0; done < count;) {
            const ptrdiff_t share = count - done < room ? count - done : room;
            const Place partB = b.past(inB(done, share));
            move(a.past(done), {block, 0}, share);
            move(partB, a.past(done), share);
            copy({block, 0}, partB, share);
            done += share;
        }
    }
};

struct Pixels {
    ptrdiff_t bytes;

    char* at(const Place& place) const { return place.row + place.index * bytes; }
    void copy(const Place& src, const Place& dst, ptrdiff_t count) const {
        memmove(at(dst), at(src), static_cast<size_t>(count * bytes));
    }
    void turn(const Place& src, const Place& dst, ptrdiff_t count) const {
        ownRows<OwnMirror>().reverse(at(src), at(dst), bytes, count);
    }
    void swap(const Place& a, const Place& b, ptrdiff_t count) const {
        ownSwapRows(at(a), at(b), count * bytes);
    }
    void swapTurned(const Place& a, const Place& b, ptrdiff_t count) const {
        ownRows<OwnMirror>().swapReversed(at(a), at(b), bytes, count);
    }
    ptrdiff_t roomTo(const char* end, const Place& place) const {
        return (end - at(place)) / bytes;
    }
};

struct Channel {
    ptrdiff_t sample;
    ptrdiff_t step;

    char* at(const Place& place) const { return place.row + place.index * step; }
    void copy(const Place& src, const Place& dst, ptrdiff_t count) const {
        ownStridedMovers(sample).copy(at(src), step, at(dst), step, count);
    }
    void turn(const Place& src, const Place& dst, ptrdiff_t count) const {
        ownStridedMovers(sample).copy(at(src.past(count - 1)), -step, at(dst), step, count);
    }
    void swap(const Place& a, const Place& b, ptrdiff_t count) const {
        ownStridedMovers(sample).swap(at(a), step, at(b), step, count);
    }
    void swapTurned(const Place& a, const Place& b, ptrdiff_t count) const {
        ownStridedMovers(sample).swap(at(a), step, at(b.past(count - 1)), -step, count);
    }
    ptrdiff_t roomTo(const char* end, const Place& place) const {
        return (end - at(place) + step - sample) / step;
    }
};

// The region of one plane.
struct Region {
    Place first;
    ptrdiff_t rowStep;

    Place row(ptrdiff_t y) const { return {first.row + y * rowStep, first.index}; }
};

struct Block {
    ptrdiff_t height;
    ptrdiff_t width;
    int32_t flipAxis;

    bool rowsTurn() const { return flipAxis != DAX_FLIP_ROWS; }
    ptrdiff_t sourceRow(ptrdiff_t y) const {
        return flipAxis == DAX_FLIP_COLUMNS ? y : height - 1 - y;
    }
};

// Runs of some rows, copied or each turned round.
struct Rows {
    Region from;
    Region to;
    ptrdiff_t count;
    ptrdiff_t rows;
};

template <class Kind> void moveRows(const Kind& kind, bool turned, const Rows& runs) {
    for (ptrdiff_t y = 0; y < runs.rows; ++y)
        if (turned)
            kind.turn(runs.from.row(y), runs.to.row(y), runs.count);
        else
            kind.copy(runs.from.row(y), runs.to.row(y), runs.count);
}

// A row of bits may take less time than to set up for it.
void moveRows(const Bits&, bool turned, const Rows& runs) {
    const Place& from = runs.from.first;
    const Place& to = runs.to.first;
    ownMoveBitRows(turned, from.row, from.index, runs.from.rowStep, to.row, to.index,
                   runs.to.rowStep, runs.count, runs.rows);
}

// `end` is that of the source's data: a region of it may be wider than the image.
template <class Kind>
void mirrorAway(const Kind& kind, const Region& src, const char* end, const Region& dst,
                const Block& block) {
    const auto roomOf = [&](ptrdiff_t y) { return kind.roomTo(end, src.row(y)); };
    const bool roomy = roomOf(0) >= block.width && roomOf(block.height - 1) >= block.width;
    const ptrdiff_t together = roomy ? block.height : 1;
    const ptrdiff_t step = block.flipAxis == DAX_FLIP_COLUMNS ? src.rowStep : -src.rowStep;
    for (ptrdiff_t y = 0; y < block.height; y += together) {
        const Place from = src.row(block.sourceRow(y));
        const Place to = dst.row(y);
        const ptrdiff_t room = roomy ? block.width : kind.roomTo(end, from);
        const ptrdiff_t count = room < block.width ? room : block.width;
        if (count <= 0) continue;
        const Place first = block.rowsTurn() ? to.past(block.width - count) : to;
        moveRows(kind, block.rowsTurn(), {{from, step}, {first, dst.rowStep}, count, together});
    }
}

template <class Kind>
void mirrorInPlace(const Kind& kind, const Region& region, const Block& block) {
    const auto turnRow = [&](const Place& row) {
        kind.swapTurned(row, row.past(block.width - block.width / 2), block.width / 2);
    };
    if (block.flipAxis == DAX_FLIP_COLUMNS) {
        for (ptrdiff_t y = 0; y < block.height; ++y) turnRow(region.row(y));
        return;
    }
    for (ptrdiff_t y = 0; y < block.height / 2; ++y) {
        const Place upper = region.row(y);
        const Place lower = region.row(block.height - 1 - y);
        if (block.rowsTurn())
            kind.swapTurned(upper, lower, block.width);
        else
            kind.swap(upper, lower, block.width);
    }
    if (block.rowsTurn() && block.height % 2 != 0) turnRow(region.row(block.height / 2));
}

ptrdiff_t planesOf(const DaxImage* image) {
    return image->dataOrder == DAX_DATA_PIXEL ? 1 : image->nChannels;
}

ptrdiff_t planeStep(const DaxImage* image) { return ptrdiff_t{image->widthStep} * image->height; }

Region regionOf(const DaxImage* image, ptrdiff_t offset) {
    char* data = static_cast<char*>(image->imageData) + offset;
    return {{data + ptrdiff_t{ownRoiY(image)} * image->widthStep, ownRoiX(image)},
            image->widthStep};
}

template <class Kind>
void mirrorRegion(const Kind& kind, const DaxImage* srcImage, ptrdiff_t offsetSrc,
                  const DaxImage* dstImage, ptrdiff_t offsetDst, const Block& block) {
    const Region src = regionOf(srcImage, offsetSrc);
    if (srcImage == dstImage) {
        mirrorInPlace(kind, src, block);
        return;
    }
    const char* end =
        static_cast<const char*>(srcImage->imageData) + planeStep(srcImage) * planesOf(srcImage);
    mirrorAway(kind, src, end, regionOf(dstImage, offsetDst), block);
}

// Plain images. The data order is the source's for both.
void ownMirrorBlock(const DaxImage* srcImage, const DaxImage* dstImage, int32_t channels,
                    int32_t coi, const Block& block) {
    const ptrdiff_t first = coi > 1 ? coi - 1 : 0;
    const ptrdiff_t sample = ownDepthBits(srcImage->depth) / 8;
    const ptrdiff_t pixel = sample * srcImage->nChannels;
    if (srcImage->depth == DAX_DEPTH_1U) {
        mirrorRegion(Bits{}, srcImage, 0, dstImage, 0, block);
    } else if (srcImage->dataOrder == DAX_DATA_PIXEL && channels == srcImage->nChannels) {
        mirrorRegion(Pixels{pixel}, srcImage, 0, dstImage, 0, block);
    } else if (srcImage->dataOrder == DAX_DATA_PIXEL) {
        mirrorRegion(Channel{sample, pixel}, srcImage, first * sample, dstImage, first * sample,
                     block);
    } else {
        for (ptrdiff_t p = first; p < first + channels && p < planesOf(dstImage); ++p)
            mirrorRegion(Pixels{sample}, srcImage, p * planeStep(srcImage), dstImage,
                         p * planeStep(dstImage), block);
    }
}

// The smaller of the two regions. Past its right edge the source's takes on what is left of the
// image's height.
Block blockOf(const DaxImage* srcImage, const DaxImage* dstImage, int32_t flipAxis) {
    DaxRect src;
    DaxRect dst;
    ownRoiRect(srcImage, &src);
    ownRoiRect(dstImage, &dst);
    if (const DaxROI* roi = srcImage->roi;
        roi != nullptr && int64_t{roi->xOffset} + roi->width > srcImage->width)
        src.width = srcImage->height - roi->yOffset;
    return {src.height < dst.height ? src.height : dst.height,
            src.width < dst.width ? src.width : dst.width, flipAxis};
}

// A rectangle, from the corner of the block or of the image.
struct Piece {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// What of a stretch of the block lies in one tile, along one axis.
struct Share {
    int32_t tile;
    int32_t inTile;
    int32_t begin;
    int32_t size;
};

// The block starts `offset` past the first tile.
Share shareOf(int32_t tile, int32_t tileSize, int32_t offset, int32_t begin, int32_t size) {
    const int64_t tileBegin = int64_t{tile} * tileSize - offset;
    const int64_t from = tileBegin > begin ? tileBegin : begin;
    const int64_t end = begin + size;
    const int64_t to = tileBegin + tileSize < end ? tileBegin + tileSize : end;
    return {tile, static_cast<int32_t>(from - tileBegin), static_cast<int32_t>(from),
            static_cast<int32_t>(to - from)};
}

template <class Use>
void eachShare(int32_t tileSize, int32_t offset, int32_t begin, int32_t size, bool backwards,
               Use use) {
    const int32_t first = (offset + begin) / tileSize;
    const int32_t last = (offset + begin + size - 1) / tileSize;
    for (int32_t i = first; i <= last; ++i)
        use(shareOf(backwards ? first + last - i : i, tileSize, offset, begin, size));
}

// Past the end of the numbers a place is as far outside as at their end.
int32_t movedPlace(int32_t offset, int32_t by) {
    return by > INT32_MAX - offset ? INT32_MAX : offset + by;
}

// A copy of a rectangle of a source, as a plain image.
class Copy {
public:
    Copy(DaxImage* image, const Piece& inImage) : header(*image) {
        int32_t step = 0;
        data.reset(
            ownBorderRect(image, inImage.x, inImage.y, inImage.width, inImage.height, &step));
        header.height = inImage.height;
        header.width = inImage.width;
        header.widthStep = step;
        header.tileInfo = nullptr;
        header.roi = nullptr;
        header.imageData = data.get();
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    DaxImage header;

private:
    OwnBuffer<char> data;
};

// Mirrors a block into the tiles of a destination. Tiles and copies that can't be had are left out,
// since none of it is reported.
class TiledMirror {
public:
    TiledMirror(DaxImage* srcImage, DaxImage* dstImage, int32_t theCoi, const Block& theBlock)
        : source(srcImage), destination(dstImage), tiles(*dstImage->tileInfo), coi(theCoi),
          x0(ownRoiX(dstImage)), y0(ownRoiY(dstImage)), width(static_cast<int32_t>(theBlock.width)),
          height(static_cast<int32_t>(theBlock.height)), flipAxis(theBlock.flipAxis),
          tile(dstImage) {}

    void oneTile(const int32_t* tilePos) {
        const int64_t x = int64_t{tilePos[0]} - x0;
        const int64_t y = int64_t{tilePos[1]} - y0;
        if (x < 0 || x >= width || y < 0 || y >= height) return;
        mirrorTile(shareOf(tilePos[0] / tiles.width, tiles.width, x0, 0, width),
                   shareOf(tilePos[1] / tiles.height, tiles.height, y0, 0, height), nullptr);
    }

    void allTiles() {
        if (source != destination) {
            mirrorTiles({0, 0, width, height}, nullptr);
            return;
        }
        // In place what will be overwritten is read before, in bands of whole tiles.
        if (flipAxis == DAX_FLIP_ROWS)
            eachShare(tiles.width, x0, 0, width, false, [&](const Share& x) {
                mirrorBand({x.begin, 0, x.size, height});
            });
        else if (flipAxis == DAX_FLIP_COLUMNS)
            eachShare(tiles.height, y0, 0, height, false, [&](const Share& y) {
                mirrorBand({0, y.begin, width, y.size});
            });
        else
            mirrorBothInPlace();
    }

private:
    // A copy of a part of the source, and where in the block that part lies.
    struct Band {
        Band(const TiledMirror& mirror, const Piece& part)
            : place(part), copy(mirror.source, mirror.inSource(part)) {}

        const Piece place;
        const Copy copy;
    };

    // Where a part of the block comes from, in the block.
    Piece sourceOf(const Piece& part) const {
        Piece from = part;
        if (flipAxis != DAX_FLIP_ROWS) from.x = width - part.x - part.width;
        if (flipAxis != DAX_FLIP_COLUMNS) from.y = height - part.y - part.height;
        return from;
    }

    Piece inSource(const Piece& part) const {
        return {movedPlace(ownRoiX(source), part.x), movedPlace(ownRoiY(source), part.y),
                part.width, part.height};
    }

    void mirrorBand(const Piece& part) {
        const Band before(*this, sourceOf(part));
        mirrorTiles(part, &before);
    }

    // Rows at the bottom change places with rows at the top, a row of tiles at a time.
    void mirrorBothInPlace() {
        for (int32_t end = height; end > height - end;) {
            const int32_t lastTile = (y0 + end - 1) / tiles.height;
            const int32_t begin =
                shareOf(lastTile, tiles.height, y0, height - end, 2 * end - height).begin;
            if (begin < height - begin) {
                // What is left, about the middle.
                mirrorBand({0, height - end, width, 2 * end - height});
                return;
            }
            const Piece lower = {0, begin, width, end - begin};
            const Band lowerBefore(*this, lower);
            mirrorBand(lower);
            mirrorTiles(sourceOf(lower), &lowerBefore);
            end = begin;
        }
    }

    // All tiles of a part of the block, in the order in which the source goes on from its corner;
    // the band is read in place of the source.
    void mirrorTiles(const Piece& part, const Band* band) {
        const auto eachRow = [&](auto use) {
            eachShare(tiles.height, y0, part.y, part.height, flipAxis != DAX_FLIP_COLUMNS, use);
        };
        const auto eachColumn = [&](auto use) {
            eachShare(tiles.width, x0, part.x, part.width, flipAxis != DAX_FLIP_ROWS, use);
        };
        if (flipAxis == DAX_FLIP_ROWS)
            eachColumn(
                [&](const Share& x) { eachRow([&](const Share& y) { mirrorTile(x, y, band); }); });
        else
            eachRow([&](const Share& y) {
                eachColumn([&](const Share& x) { mirrorTile(x, y, band); });
            });
    }

    void mirrorTile(const Share& x, const Share& y, const Band* band) {
        const Piece from = sourceOf({x.begin, y.begin, x.size, y.size});
        if (band != nullptr) {
            DaxROI roi = {coi, from.x - band->place.x, from.y - band->place.y, from.height,
                          from.width};
            DaxImage view = band->copy.header;
            view.roi = &roi;
            mirrorInto(x, y, view);
        } else {
            const Copy fetched(source, inSource(from));
            mirrorInto(x, y, fetched.header);
        }
    }

    void mirrorInto(const Share& x, const Share& y, const DaxImage& from) {
        if (!tile.request(x.tile, y.tile, DAX_TILE_WRITE)) return;
        if (from.imageData != nullptr) {
            DaxROI roi = {coi, x.inTile, y.inTile, y.size, x.size};
            DaxImage to;
            ownTileHeader(destination, &to);
            to.roi = &roi;
            to.imageData = tile.data();
            ownMirrorBlock(&from, &to, ownWorkingChannels(source), coi, {y.size, x.size, flipAxis});
        }
        tile.release();
    }

    DaxImage* const source;
    DaxImage* const destination;
    const DaxTileInfo& tiles;
    const int32_t coi;
    const int32_t x0; // of the block in the destination
    const int32_t y0;
    const int32_t width;
    const int32_t height;
    const int32_t flipAxis;
    OwnTile tile;
};

} // namespace

void daxMirror(DaxImage* srcImage, DaxImage* dstImage, int32_t flipAxis, const int32_t* tilePos) {
    if (!call.sound(srcImage)) return;
    if (!call.sound(dstImage)) return;
    if (call.rejects(srcImage->depth != dstImage->depth, "(srcImage->depth!=dstImage->depth)"))
        return;
    if (call.rejects(srcImage->nChannels != dstImage->nChannels,
                     "(srcImage->nChannels!=dstImage->nChannels)"))
        return;
    if (call.rejects(flipAxis > 1 || flipAxis < -1, "((flipAxis>1)||(flipAxis<-1))")) return;
    const int32_t coi = ownCoi(srcImage);
    if (call.rejects(coi != ownCoi(dstImage), "(coiSrc!=coiDst)")) return;

    const Block block = blockOf(srcImage, dstImage, flipAxis);
    if (block.height <= 0 || block.width <= 0) return;
    if (dstImage->tileInfo != nullptr) {
        TiledMirror mirror(srcImage, dstImage, coi, block);
        if (tilePos != nullptr)
            mirror.oneTile(tilePos);
        else
            mirror.allTiles();
    } else if (srcImage->tileInfo != nullptr) {
        const Copy fetched(srcImage,
                           {ownRoiX(srcImage), ownRoiY(srcImage), static_cast<int32_t>(block.width),
                            static_cast<int32_t>(block.height)});
        if (fetched.header.imageData != nullptr)
            ownMirrorBlock(&fetched.header, dstImage, ownWorkingChannels(srcImage), coi, block);
    } else {
        ownMirrorBlock(srcImage, dstImage, ownWorkingChannels(srcImage), coi, block);
    }
}
