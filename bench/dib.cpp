// Bitmaps read and written.

#include "cases.h"

#include <cstring>
#include <string>

namespace bench {

namespace {

// A bitmap in an image's block: its rows are that much fewer than the image's as the header and
// the largest colour table need.
constexpr int fewer = 4;

BITMAPINFOHEADER* bitmapIn(Images& images, size_t index, int bits) {
    auto* const dib = images.data<BITMAPINFOHEADER>(index);
    *dib = {};
    dib->biSize = sizeof(*dib);
    dib->biWidth = images.width(index);
    dib->biHeight = images.height(index) - fewer;
    dib->biPlanes = 1;
    dib->biBitCount = static_cast<uint16_t>(bits);
    return dib;
}

Form formOf(int bits) {
    return {.depth = bits == 16 ? u16 : u8, .channels = bits < 24 ? 1 : bits / 8};
}

void setLetters(DaxImage* image, const char* letters) {
    std::memcpy(image->channelSeq, letters, 4);
}

std::string between(const std::string& from, const std::string& to, const char* what) {
    std::string text = from;
    text.append("-to-").append(to).append("-").append(what);
    return text;
}

void addImport(int bits, const Form& to, const char* letters) {
    add({.operation = "daxConvertFromDIB",
         .images = {read(formOf(bits)), write(to)},
         .prepare = [bits, letters](Images& i) -> Task {
             setLetters(i[1], letters);
             return [bits, &i] { daxConvertFromDIB(bitmapIn(i, 0, bits), i[1]); };
         },
         .variant = between(std::to_string(bits), to.label(), letters)});
}

void addExport(const Form& from, int bits, const char* letters, int32_t palette = DAX_PALETTE_KEEP,
               const char* name = "") {
    add({.operation = "daxConvertToDIB",
         .images = {read(from), write(formOf(bits))},
         .prepare = [=](Images& i) -> Task {
             setLetters(i[0], letters);
             i[0]->alphaChannel = i[0]->nChannels == 4 ? 4 : 0;
             i[0]->height -= fewer;
             // The streams that are timed beside it write over the header.
             return
                 [=, &i] { daxConvertToDIB(i[0], bitmapIn(i, 1, bits), DAX_DITHER_NONE, palette); };
         },
         .variant = between(from.label(), std::to_string(bits), *name != 0 ? name : letters)});
}

} // namespace

void addBitmaps() {
    const Form pixels = {.depth = u8, .channels = 3};
    const Form planes = {.depth = u8, .channels = 3, .order = DAX_DATA_PLANE};
    const Form grey = {.depth = u8};
    for (const char* letters : {"BGR", "RGB"}) addImport(24, pixels, letters);
    addImport(24, planes, "BGR");
    addImport(24, grey, "GRAY");
    for (const int bits : {8, 16}) addImport(bits, planes, "BGR");
    addImport(32, {.depth = u8, .channels = 4}, "BGRA");

    for (const char* letters : {"BGR", "RGB"}) addExport(pixels, 24, letters);
    addExport(planes, 24, "BGR");
    addExport(grey, 24, "GRAY");
    addExport(pixels, 16, "BGR");
    addExport({.depth = u8, .channels = 4}, 32, "BGRA");
    addExport(pixels, 8, "BGR", DAX_PALETTE_FIXED, "fixed");
    addExport(pixels, 8, "BGR", DAX_PALETTE_MEDIAN_CUT, "median-cut");
}

} // namespace bench
