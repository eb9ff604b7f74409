// Rectangles of images, and the walk that cuts a rectangle that images share into pieces that each
// lie inside one tile of every tiled image. A worker sees the pieces as plain images, through
// shadow headers.
#ifndef OWN_OWNRECT_H
#define OWN_OWNRECT_H

#include "frame/call.h"
#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// The rectangle of one image in a walk, in its own pixels; the ends are one past the last.
struct DaxRect {
    int32_t begX;
    int32_t endX;
    int32_t begY;
    int32_t endY;
    int32_t height;
    int32_t width;
};

// The image's region, cut at its right and lower edge; the ends are left to the caller.
void ownRoiRect(const DaxImage* image, DaxRect* rect);

// Channels, channel of interest and cut size of the region. The first two results may be null. An
// image of one channel has that channel as its channel of interest as soon as it has a region.
void ownRoiChannels(const DaxImage* image, int32_t* nChannels, int32_t* coi, int32_t* height,
                    int32_t* width);

// A header for one tile of an image, without data.
void ownTileHeader(const DaxImage* image, DaxImage* shadow);

// 0 inside the image, else the OR of 1 above, 2 below, 4 left and 8 right of it.
int32_t ownPixelOutside(const DaxImage* image, int32_t x, int32_t y);

// One sample of a plain image, as an unsigned number in its own width; channels count from 1.
uint32_t ownGetPixel(const DaxImage* image, int32_t x, int32_t y, int32_t channel);

// Holds one tile of an image at a time, through the caller's callback. A tile that is held when a
// walk fails stays held.
class OwnTile {
public:
    OwnTile() = default;
    explicit OwnTile(DaxImage* tiled) : image(tiled) {}

    // False when the callback left no data.
    bool request(ptrdiff_t tileCol, ptrdiff_t tileRow, int32_t mode) {
        col = static_cast<int32_t>(tileCol);
        row = static_cast<int32_t>(tileRow);
        image->tileInfo->callBack(image, col, row, mode);
        return image->tileInfo->tileData != nullptr;
    }

    // False when the callback left data behind.
    bool release() {
        image->tileInfo->callBack(image, col, row, DAX_TILE_RELEASE);
        return image->tileInfo->tileData == nullptr;
    }

    void* data() const { return image->tileInfo->tileData; }

private:
    DaxImage* image = nullptr;
    int32_t col = 0;
    int32_t row = 0;
};

// What a walk says of an image whose tile didn't come, or didn't go.
struct OwnTileTexts {
    const char* missing;
    const char* kept;
};

inline constexpr OwnTileTexts ownSrcTexts = {"(srcImage->tileInfo->tileData == ((void*)(0)))",
                                             "(srcImage->tileInfo->tileData != ((void*)(0)))"};
inline constexpr OwnTileTexts ownSrcATexts = {"(srcImageA->tileInfo->tileData == ((void*)(0)))",
                                              "(srcImageA->tileInfo->tileData != ((void*)(0)))"};
inline constexpr OwnTileTexts ownSrcBTexts = {"(srcImageB->tileInfo->tileData == ((void*)(0)))",
                                              "(srcImageB->tileInfo->tileData != ((void*)(0)))"};
inline constexpr OwnTileTexts ownDstTexts = {"(dstImage->tileInfo->tileData == ((void*)(0)))",
                                             "(dstImage->tileInfo->tileData != ((void*)(0)))"};

struct OwnWalked {
    DaxImage* image;
    OwnTileTexts texts;
};

// The state of a walk over two or three images, the last of which is the destination. Images in it
// are never copied: the shadow headers point at their neighbours.
class OwnTileWalker {
public:
    OwnTileWalker(const OwnCall& theCall, const OwnWalked* walked, int32_t imageCount,
                  const int32_t* tilePos, int32_t callLine);
    OwnTileWalker(const OwnTileWalker&) = delete;
    OwnTileWalker& operator=(const OwnTileWalker&) = delete;

    // Goes on to the next piece; false at the end, or after a report.
    bool next();

    // The headers of the piece, in the order of the images.
    DaxImage* const* pieces() const { return shadows; }

private:
    static constexpr int32_t maxImages = 3;

    // One axis of an image: where the walk stands, and the tile there. An image that isn't tiled is
    // one tile without an end.
    struct Axis {
        ptrdiff_t at;
        ptrdiff_t size;  // of a tile
        ptrdiff_t tile;  // its index
        ptrdiff_t begin; // its first coordinate

        void start(ptrdiff_t first);
        bool past() const { return at >= begin + size; }
        void nextTile();
        // What lies in the tile and before `end`: its place in the tile, and its length.
        void share(ptrdiff_t end, int32_t* offset, int32_t* length) const;
    };

    struct Image {
        OwnWalked walked;
        OwnTile tile;
        DaxImage shadow;
        DaxROI roi;
        DaxRect rect;
        int32_t mode;
        Axis x;
        Axis y;

        bool tiled() const { return walked.image->tileInfo != nullptr; }
    };

    bool narrow(const int32_t* tilePos);
    void setUp(Image& at);
    bool startBand();
    bool startPiece();
    bool endBand();
    bool fetch(Image& at);
    bool drop(Image& at);

    const OwnCall& call;
    const int32_t line;
    const int32_t count;
    Image images[maxImages];
    DaxImage* shadows[maxImages];
    int32_t bandHeight = 0;
    int32_t pieceWidth = 0;
    bool inBand = false;
    bool done = false;
};

// Calls `worker(pieces)` for every piece.
template <int32_t count, class Worker>
void ownTileWalk(const OwnCall& call, const OwnWalked (&walked)[count], const int32_t* tilePos,
                 Worker worker, int32_t line = __builtin_LINE()) {
    OwnTileWalker walker(call, walked, count, tilePos, line);
    while (walker.next()) worker(walker.pieces());
}

#endif
