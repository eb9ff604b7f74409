// The walk of the alpha family over images of which any may be tiled: rectangle by rectangle along
// the tiles of one of them. Where a rectangle lies across several tiles of another, these are held
// all at once, and its samples stand together in an assembly image meanwhile.
#ifndef OWN_GATHER_H
#define OWN_GATHER_H

#include "frame/call.h"
#include "frame/daxlib.h"
#include "frame/memory.h"

#include <cstddef>
#include <cstdint>

class DaxTileGather {
public:
    static constexpr int32_t maxImages = 6;

    // Rectangles aren't larger than the size given here.
    DaxTileGather(int32_t width, int32_t height) : tileWidth(width), tileHeight(height) {}
    DaxTileGather(const DaxTileGather&) = delete;
    DaxTileGather& operator=(const DaxTileGather&) = delete;

    // The number of the image's slot, from 1; the one that it has, if it was added before.
    int32_t add(DaxImage* image, int32_t role);

    // The current rectangle, from the corner of each image's own region.
    void setRect(int32_t x, int32_t y, int32_t width, int32_t height);

    // A plain image with the rectangle as its region; null if it can't be had.
    DaxImage* view(int32_t slotNumber);

    // Gives back what the views hold. What was written goes home.
    void release();

    bool hasFailed() const { return failed; }

private:
    struct Slot {
        DaxImage* image = nullptr;
        int32_t useCount = 0;
        int32_t role = 0;
        DaxImage* currentView = nullptr;
        // A plain image, or a tile of a tiled one.
        DaxImage tileHeader;
        DaxROI tileRoi;
        DaxImage assemblyImage;
        DaxROI assemblyRoi;
        OwnBuffer<char> assemblyData;
        // The tiles behind the assembly image, by rows. Null from the first one that isn't held.
        OwnBuffer<void*> tileGrid;
        ptrdiff_t gridSize;
        // The rectangle in the image, and the tiles that it covers.
        int32_t x, y;
        int32_t firstColumn, lastColumn, firstRow, lastRow;

        ptrdiff_t columns() const { return ptrdiff_t{lastColumn} - firstColumn + 1; }
        ptrdiff_t tiles() const { return columns() * (ptrdiff_t{lastRow} - firstRow + 1); }
    };

    DaxImage* tileView(Slot& slot);
    DaxImage* assembledView(Slot& slot);
    bool makeAssembly(Slot& slot) const;
    bool request(Slot& slot, int32_t column, int32_t row);
    void aimAt(Slot& slot, ptrdiff_t tile) const;
    void releaseTile(Slot& slot, int32_t column, int32_t row) const;
    void releaseAssembled(Slot& slot) const;

    const int32_t tileWidth;
    const int32_t tileHeight;
    bool failed = false;
    int32_t rectX = 0;
    int32_t rectY = 0;
    int32_t rectWidth = 0;
    int32_t rectHeight = 0;
    Slot slots[maxImages];
};

// An image of a call, with DAX_TILE_READ or DAX_TILE_WRITE as its role. There may be no image.
struct OwnGathered {
    DaxImage* image;
    int32_t role;
};

// What the regions of a call's images have in common, from the corner of each.
struct OwnCommonSize {
    int32_t height = 99999;
    int32_t width = 99999;

    void fold(const DaxImage* image);
};

// The state of a walk. The first image is the destination; the first that is tiled leads.
class OwnGatherWalker {
public:
    OwnGatherWalker(const OwnCall& theCall, const OwnGathered* gathered, int32_t imageCount,
                    const OwnCommonSize& commonSize, const int32_t* tilePos, int32_t callLine);

    // Goes on to the next rectangle; false at the end, or after a report.
    bool next();

    DaxImage* const* views() const { return current; }
    int32_t height() const { return static_cast<int32_t>(endY - y); }
    int32_t width() const { return static_cast<int32_t>(endX - x); }

private:
    static const DaxImage* leaderOf(const OwnGathered* gathered, int32_t imageCount);
    bool narrow(const int32_t* tilePos);

    const OwnCall& call;
    const int32_t line;
    const int32_t count;
    const DaxImage* leader;
    DaxTileGather gather;
    int32_t slots[DaxTileGather::maxImages] = {};
    DaxImage* current[DaxTileGather::maxImages] = {};
    // What there is to do, and the current rectangle in it.
    int64_t left = 0;
    int64_t right;
    int64_t top = 0;
    int64_t bottom;
    int64_t x = 0;
    int64_t endX = 0;
    int64_t y = 0;
    int64_t endY = 0;
    bool done = false;
};

// Calls `worker(views, height, width)` for all of the images, or for every rectangle of a walk. A
// view is null where there is no image.
template <int32_t count, class Worker>
void ownGatherWalk(const OwnCall& call, const OwnGathered (&images)[count],
                   const OwnCommonSize& size, const int32_t* tilePos, Worker worker,
                   int32_t line = __builtin_LINE()) {
    DaxImage* plain[count];
    bool tiled = false;
    for (int32_t i = 0; i < count; ++i) {
        plain[i] = images[i].image;
        tiled = tiled || (plain[i] != nullptr && plain[i]->tileInfo != nullptr);
    }
    if (!tiled) {
        worker(static_cast<DaxImage* const*>(plain), size.height, size.width);
        return;
    }
    OwnGatherWalker walker(call, images, count, size, tilePos, line);
    while (walker.next()) worker(walker.views(), walker.height(), walker.width());
}

#endif
