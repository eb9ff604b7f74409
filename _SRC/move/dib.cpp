#include "move/dib.h"

#include "frame/depth.h"
#include "frame/header.h"
#include "frame/raster.h"

#include <cstring>

namespace {

// Low zero bits of a mask, and the ones that follow.
void placeOf(uint32_t mask, int32_t* shift, int32_t* width) {
    *shift = *width = 0;
    if (mask == 0) return;
    *shift = __builtin_ctz(mask);
    const uint32_t rest = ~(mask >> *shift);
    *width = rest == 0 ? 32 : __builtin_ctz(rest);
}

} // namespace

int64_t ownDibTableSize(const BITMAPINFOHEADER* dib) {
    switch (dib->biBitCount) {
    case 1:
    case 4:
    case 8: return dib->biClrUsed != 0 ? dib->biClrUsed : 1 << dib->biBitCount;
    case 16:
    case 32: return dib->biCompression == BI_BITFIELDS ? 3 : 0;
    case 24: return 0;
    default: return dib->biClrUsed;
    }
}

int64_t ownDibRowStep(const BITMAPINFOHEADER* dib) {
    return (int64_t{dib->biWidth} * dib->biBitCount + 31) / 32 * 4;
}

int64_t ownDibRows(const BITMAPINFOHEADER* dib) {
    const int64_t height = dib->biHeight;
    return height < 0 ? -height : height;
}

int64_t ownDibBytes(const BITMAPINFOHEADER* dib) {
    int64_t pixels = 0;
    const int64_t step = dib->biWidth < 0 ? 0 : ownDibRowStep(dib);
    if (__builtin_mul_overflow(step, ownDibRows(dib), &pixels) || pixels > INT64_MAX / 2)
        return INT64_MAX;
    return dib->biSize + ownDibTableSize(dib) * ownDibEntryBytes + pixels;
}

bool ownDibRejected(const OwnCall& call, const BITMAPINFOHEADER* dib, int32_t line) {
    return call.rejects(dib->biSize != sizeof(BITMAPINFOHEADER),
                        "(dib->biSize != sizeof(BITMAPINFOHEADER))", line) ||
           call.rejects(dib->biPlanes != 1, "(dib->biPlanes != 1)", line) ||
           call.rejects(dib->biCompression != BI_RGB && dib->biCompression != BI_BITFIELDS,
                        "(dib->biCompression != 0) && (dib->biCompression != 3)", line);
}

DaxDibFields ownDibFields(const BITMAPINFOHEADER* dib) {
    const bool words = dib->biBitCount == 16;
    if (dib->biCompression != BI_BITFIELDS) {
        if (words) return {{0x1F, 0x3E0, 0x7C00, 0}, {0, 5, 10, 0}, {5, 5, 5, 0}};
        // The fourth byte comes in whole and goes out as 0.
        return {{0xFF, 0xFF00, 0xFF0000, 0xFF000000}, {0, 8, 16, 8}, {8, 8, 8, 24}};
    }
    DaxDibFields fields = {};
    int32_t highest = 0;
    for (int32_t c = 0; c < 3; ++c) {
        uint32_t mask;
        memcpy(&mask, ownDibTable(dib) + (2 - c) * ownDibEntryBytes, sizeof(mask));
        if (words) mask &= 0xFFFF;
        fields.mask[c] = mask;
        placeOf(mask, &fields.shift[c], &fields.width[c]);
        if (fields.shift[c] > fields.shift[highest]) highest = c;
    }
    if (words) return fields;
    const int32_t top = fields.shift[highest] + fields.width[highest];
    fields.mask[3] = top < 32 ? ~uint32_t{0} << top : 0;
    placeOf(fields.mask[3], &fields.shift[3], &fields.width[3]);
    return fields;
}

OwnDibStep ownDibStep(const DaxImage* image) {
    const auto is = [image](const char* letters) {
        return memcmp(image->channelSeq, letters, 4) == 0;
    };
    if (is("GRAY") || is("G\0\0")) return OwnDibStep::grey;
    if (is("BGR") || is("BGRA")) return OwnDibStep::none;
    if (is("RGB") || is("RGBA")) return OwnDibStep::exchange;
    return OwnDibStep::unknown;
}

bool ownDibSamples(const DaxImage* image) {
    const int32_t channels = image->nChannels;
    if (image->depth == DAX_DEPTH_1U) return channels == 1;
    return (image->depth == DAX_DEPTH_8U || image->depth == DAX_DEPTH_16U) &&
           (channels == 1 || channels == 3 || channels == 4);
}

OwnDibRows::OwnDibRows(const DaxImage* image)
    : first(static_cast<char*>(image->imageData)), size(0), rowStep(ownRowStep(image)),
      planeStep(0), pixelBits(ownDepthBits(image->depth)),
      sampleBytes(ownDepthBits(image->depth) / 8), channels(image->nChannels),
      planes(image->dataOrder != DAX_DATA_PIXEL || image->nChannels == 1), rows(image->height),
      upward(image->origin != DAX_ORIGIN_TOP_LEFT) {
    if (first != nullptr) size = ownBlockEnd(image) - first;
    // What lies so far on is in no block, and the offsets stay in range.
    constexpr int64_t far = int64_t{1} << 60;
    if (rowStep > INT32_MAX) rowStep = INT32_MAX;
    planeStep = rowStep * image->height < far ? rowStep * image->height : far;
    if (planes) return;
    pixelBits *= channels;
    planeStep = sampleBytes;
}

int64_t OwnDibRows::inside(int64_t row, int64_t count) const {
    const int64_t left = size - offset(row, planes ? channels - 1 : 0);
    if (left <= 0) return 0;
    return left * 8 < count * pixelBits ? left * 8 / pixelBits : count;
}
