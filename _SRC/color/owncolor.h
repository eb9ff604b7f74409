// What the colour operations share: areas of plain images and of tiles, the walk over the
// destination's tiles, and the kernels of the conversions.
#ifndef OWN_OWNCOLOR_H
#define OWN_OWNCOLOR_H

#include "frame/call.h"
#include "frame/kernels.h"
#include "frame/memory.h"

#include <cstddef>
#include <cstdint>

// A rectangle of samples in memory, laid out as its image is.
struct OwnColorArea {
    char* data;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
    int32_t width;
    int32_t height;
};

// The whole of a plain image.
OwnColorArea ownPlainArea(const DaxImage* image);

// The channel of a letter, from 0: where `channelSeq` has it; a letter that it doesn't have is
// where it is in "RGB". -1 for a channel that the image doesn't have.
int32_t ownChannelOf(const DaxImage* image, char letter);

// False after a report: an image is null, or has neither data nor tiles.
bool ownColorImages(const char* funcName, const DaxImage* srcImage, const DaxImage* dstImage);

// The destination of a walk: tile after tile, until the callback leaves no data for two in turn, or
// the one tile of `tilePos`, or a plain image as one area.
struct OwnDstWalk {
    DaxImage* image;
    const int32_t* tilePos;
    int32_t col = 0;
    int32_t row = 0;
    bool started = false;
    int32_t x = 0;
    int32_t y = 0;
    OwnColorArea area = {};
};

bool ownNextDstTile(OwnDstWalk* walk);
void ownReleaseDstTile(const OwnDstWalk& walk);

// The samples of a source under a rectangle of the destination: where they lie, if they lie there
// as they are, or a copy with the source's surroundings.
class OwnColorSource {
public:
    // False when they can't be had.
    bool fetch(DaxImage* srcImage, const OwnDstWalk& walk);
    const OwnColorArea& samples() const { return area; }
    // Puts what was changed in a copy of a plain source back into it.
    void putBack(DaxImage* srcImage, const OwnDstWalk& walk) const;

private:
    OwnBuffer<char> copy;
    OwnColorArea area = {};
};

// Calls `work(src, dst)` for each area of the destination; false after a report.
template <class Work>
bool ownColorWalk(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                  const int32_t* tilePos, bool changesSource, Work work,
                  int32_t line = __builtin_LINE()) {
    OwnDstWalk walk = {.image = dstImage, .tilePos = tilePos};
    while (ownNextDstTile(&walk)) {
        OwnColorSource source;
        const bool fetched = source.fetch(srcImage, walk);
        if (fetched) {
            work(source.samples(), walk.area);
            if (changesSource) source.putBack(srcImage, walk);
        }
        ownReleaseDstTile(walk);
        if (!fetched) {
            call.report(DAX_StatusOutOfMemory, "out_of_memory", line);
            return false;
        }
    }
    return true;
}

// Three channels of pixels, in the order in which an arithmetic takes them.
struct OwnThirds {
    char* at[3];
    ptrdiff_t step; // bytes from pixel to pixel
};

struct OwnGrayWeights {
    uint32_t fixed[3];
    int32_t shift;
    double exact[3];
};

using OwnModelRow = void (*)(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count);
using OwnGrayRow = void (*)(const OwnThirds& colour, char* gray, ptrdiff_t count);
using OwnTintRow = void (*)(const char* gray, const OwnThirds& colour, ptrdiff_t count,
                            const OwnGrayWeights& weights);

// Depths in the order 8U, 16U, 32S.
struct OwnColorTable {
    OwnModelRow toHsv[3];
    OwnModelRow fromHsv[3];
    OwnModelRow toHls[3];
    OwnModelRow fromHls[3];
    OwnGrayRow gray[3][3];   // by the source, then by the destination: 8U, 16U, 1U
    OwnGrayRow grayOfPlanes; // 16U to 8U
    OwnTintRow tint[3];
    OwnTintRow tintBits;
};

struct OwnColor {
    using Table = OwnColorTable;
};

enum class OwnModel : int32_t { rgb, hsv, hls };

// The conversions themselves. They end without a word when an image doesn't have the channels that
// its model has.
void ownConvertModel(const OwnCall& call, DaxImage* srcImage, OwnModel from, DaxImage* dstImage,
                     OwnModel to, const int32_t* tilePos);
void ownColorToGray(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                    const int32_t* tilePos);
void ownGrayToColor(const OwnCall& call, DaxImage* srcImage, DaxImage* dstImage,
                    const float (&fracts)[3], const int32_t* tilePos);

#endif
