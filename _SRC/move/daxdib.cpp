#include "frame/call.h"
#include "move/dib.h"

#include <climits>

namespace {

// Whether red, green and blue of all entries are the levels of an even ramp. A single entry is
// none.
bool greyTable(const BITMAPINFOHEADER* dib) {
    const int64_t count = ownDibTableSize(dib);
    const uint8_t* entry = ownDibTable(dib);
    if (count < 2) return false;
    for (int64_t i = 0; i < count; ++i, entry += ownDibEntryBytes) {
        const int64_t level = i * 255 / (count - 1);
        if (entry[0] != level || entry[1] != level || entry[2] != level) return false;
    }
    return true;
}

bool knownBits(const BITMAPINFOHEADER* dib) {
    const int32_t bits = dib->biBitCount;
    return ownDibIndexed(bits) || bits == 16 || bits == 24 || bits == 32;
}

bool tooLarge(const BITMAPINFOHEADER* dib) {
    return knownBits(dib) && ownDibBytes(dib) > INT32_MAX;
}

struct Format {
    int32_t channels;
    int32_t alphaChannel;
    int32_t depth;
    const char* model;
    const char* letters;
    bool shared;
};

// Of a bit count that is known.
Format formatOf(const BITMAPINFOHEADER* dib) {
    const int32_t bits = dib->biBitCount;
    if (bits == 32) return {4, 4, DAX_DEPTH_8U, "RGBA", "BGRA", dib->biCompression == BI_RGB};
    if (ownDibIndexed(bits) && greyTable(dib))
        return {1, 0, bits == 1 ? DAX_DEPTH_1U : DAX_DEPTH_8U, "GRAY", "GRAY", bits != 4};
    return {3, 0, DAX_DEPTH_8U, "RGB", "BGR", bits == 24};
}

// What has no text of its own is told only if nothing has gone wrong before.
void failUntold(const OwnCall& call, int32_t line = __builtin_LINE()) {
    if (daxGetErrStatus() >= 0) call.report(DAX_StatusInternalError, "", line);
}

void convertToDib(const OwnCall& call, DaxImage* image, BITMAPINFOHEADER* dib, int32_t dither) {
    DaxImage* reduced = nullptr;
    if (image->depth == DAX_DEPTH_16U && dither != DAX_DITHER_NONE) {
        reduced = daxCreateImageHeader(image->nChannels, image->alphaChannel, DAX_DEPTH_8U,
                                       image->colorModel, image->channelSeq, image->dataOrder,
                                       image->origin, image->align, image->height, image->width,
                                       nullptr, image->imageTag, nullptr);
        if (reduced == nullptr) return failUntold(call);
        daxAllocateImage(reduced, 0);
        daxReduceBits(image, reduced, 0, dither, 1, nullptr);
        image = reduced;
    }
    // A reduction that went well ends the call; what a failed one has left is written.
    const bool readable = (reduced == nullptr || daxGetErrStatus() < 0) && ownDibSamples(image);
    if (readable &&
        !call.rejects(ownDibStep(image) == OwnDibStep::unknown, "image->channelSeq unsupport") &&
        !call.rejects(!knownBits(dib), "dib-<biBitCount is bad"))
        ownDibWrite(image, dib);
    if (reduced != nullptr) daxDeallocate(reduced, DAX_IMAGE_ALL);
    if (!readable) failUntold(call);
}

} // namespace

DaxImage* daxTranslateDIB(BITMAPINFOHEADER* dib, int32_t* cloneData) {
    const OwnCall call{"daxTranslateDIB", "daxdib"};
    if (call.rejects(dib == nullptr, "(dib == ((void *)0))")) return nullptr;
    if (call.rejects(cloneData == nullptr, "(cloneData == ((void *)0))")) return nullptr;
    if (ownDibRejected(call, dib)) return nullptr;
    if (call.rejects(!knownBits(dib), "Bad dib->biBitCount")) return nullptr;

    constexpr const char* failed = "Create image header is failed";
    if (call.rejects(tooLarge(dib), failed)) return nullptr;
    const Format format = formatOf(dib);
    *cloneData = format.shared ? 1 : 0;
    DaxImage* const image = daxCreateImageHeader(
        format.channels, format.alphaChannel, format.depth, format.model, format.letters,
        format.shared ? DAX_DATA_PIXEL : DAX_DATA_PLANE,
        dib->biHeight >= 0 ? DAX_ORIGIN_BOTTOM_LEFT : DAX_ORIGIN_TOP_LEFT, format.shared ? 4 : 8,
        static_cast<int32_t>(ownDibRows(dib)), dib->biWidth, nullptr, 0, nullptr);
    if (call.rejects(image == nullptr, failed)) return nullptr;
    if (format.shared) {
        // Row step and data size are the bitmap's own already: both round up to 4 bytes.
        image->imageData = ownDibTable(dib) + ownDibTableSize(dib) * ownDibEntryBytes;
        return image;
    }
    daxAllocateImage(image, -1);
    if (call.rejects(image->imageData == nullptr, "Allocate memory for DAX image data is failed")) {
        daxDeallocate(image, DAX_IMAGE_HEADER);
        return nullptr;
    }
    daxConvertFromDIB(dib, image);
    return image;
}

void daxConvertFromDIB(const BITMAPINFOHEADER* dib, DaxImage* image) {
    const OwnCall call{"daxConvertFromDIB", "daxdib"};
    if (!call.sound(image)) return;
    if (call.rejects(dib == nullptr, "dib==0")) return;
    if (ownDibRejected(call, dib)) return;
    if (call.rejects(image->width < dib->biWidth || image->height < ownDibRows(dib) ||
                         tooLarge(dib),
                     "image size is too small"))
        return;
    if (!knownBits(dib)) return failUntold(call);
    if (ownDibStep(image) == OwnDibStep::unknown) {
        call.rejects(daxGetErrStatus() >= 0, "image->channelSeq unsupport");
        return;
    }
    if (!ownDibSamples(image)) return failUntold(call);
    ownDibRead(dib, image);
}

void daxConvertToDIB(DaxImage* image, BITMAPINFOHEADER* dib, int32_t dither,
                     int32_t paletteConversion) {
    const OwnCall call{"daxConvertToDIB", "daxdib"};
    if (!call.sound(image)) return;
    if (call.rejects(dib == nullptr, "dib==0")) return;
    if (call.rejects(image->nChannels <= 0 || image->nChannels > 4,
                     "(image->nChannels <= 0 || image->nChannels > 4)"))
        return;
    if (call.rejects(image->depth < 0, "(image->depth & 0x80000000)")) return;
    if (call.rejects(image->alphaChannel != 0 && image->alphaChannel != 4,
                     "(image->alphaChannel != 0 && image->alphaChannel != 4)"))
        return;
    if (image->alphaChannel != 0) {
        if (call.rejects(image->nChannels != 4, "(image->nChannels != 4)")) return;
    } else if (call.rejects(image->nChannels != 3 && image->nChannels != 1,
                            "(image->nChannels != 3 && image->nChannels != 1)")) {
        return;
    }
    if (call.rejects(image->width != dib->biWidth || image->height != dib->biHeight,
                     "(image->width != dib->biWidth || image->height != dib->biHeight)"))
        return;
    if (ownDibRejected(call, dib)) return;
    if (call.rejects(tooLarge(dib),
                     "(image->width != dib->biWidth || image->height != dib->biHeight)"))
        return;
    if (call.rejects(dither != DAX_DITHER_STUCKI && dither != DAX_DITHER_NONE,
                     "(dither != 8 && dither != 1)"))
        return;
    if (call.rejects(
            paletteConversion < DAX_PALETTE_KEEP || paletteConversion > DAX_PALETTE_MEDIAN_CUT,
            "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)"))
        return;

    if (dib->biBitCount < 16) {
        if (paletteConversion == DAX_PALETTE_FIXED) ownFixedPalette(dib, image->nChannels == 1);
        if (paletteConversion == DAX_PALETTE_MEDIAN_CUT &&
            call.rejects(ownMedianCutPalette(dib, image) == 0, "create medcut palette error"))
            return;
    }
    convertToDib(call, image, dib, dither);
}
