#include "tiff.h"

#include <daxlib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace {

std::string lastMessage;

void keepMessage(thandle_t, const char* module, const char* format, va_list values) {
    char text[400];
    std::vsnprintf(text, sizeof text, format, values);
    lastMessage = text;
    std::replace(lastMessage.begin(), lastMessage.end(), '\n', ' ');
    // The message of a system error is that of an attempt to open, which begins with the name.
    if (module != nullptr && lastMessage.rfind(std::string(module) + ": ", 0) == 0)
        lastMessage.erase(0, std::strlen(module) + 2);
}

TIFF* open(const std::string& path, const char* mode) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetErrorHandlerExt(keepMessage);
    TIFFSetWarningHandler(nullptr);
    lastMessage = "can't be opened";
    return TIFFOpen(path.c_str(), mode);
}

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw std::runtime_error(path + ": " + why);
}

template <class T> T field(TIFF* tiff, uint32_t tag) {
    T value = 0;
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

int32_t bitsOf(int32_t depth) { return depth & DAX_DEPTH_MASK; }

// 0 for samples that the library doesn't know.
int32_t depthOf(int32_t bits, int32_t format) {
    const bool isSigned = format == SAMPLEFORMAT_INT;
    if (!isSigned && format != SAMPLEFORMAT_UINT) return 0;
    switch (bits) {
    case 1: return isSigned ? 0 : DAX_DEPTH_1U;
    case 8: return isSigned ? DAX_DEPTH_8S : DAX_DEPTH_8U;
    case 16: return isSigned ? DAX_DEPTH_16S : DAX_DEPTH_16U;
    case 32: return isSigned ? DAX_DEPTH_32S : 0;
    default: return 0;
    }
}

Layout layoutOf(TIFF* tiff, const std::string& path) {
    if (TIFFIsTiled(tiff) == 0) fail(path, "the TIFF is stored in strips; only tiles are read");
    const auto bits = field<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
    const auto format = field<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
    const auto width = field<uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
    const auto height = field<uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
    const auto tileWidth = field<uint32_t>(tiff, TIFFTAG_TILEWIDTH);
    const auto tileHeight = field<uint32_t>(tiff, TIFFTAG_TILELENGTH);
    const auto channels = field<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
    const int32_t depth = depthOf(bits, format);
    if (depth == 0 || (bits == 1 && channels != 1))
        fail(path, "samples of this kind aren't read: " + std::to_string(channels) + " of " +
                       std::to_string(bits) + " bits, format " + std::to_string(format));
    if (field<uint16_t>(tiff, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR)
        fail(path, "colours in YCbCr aren't read");
    constexpr uint32_t most = 1 << 20;
    if (width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX || channels == 0)
        fail(path, "the size of the picture is not one");
    // The library's tiles: multiples of 8, and rows of whole units of four bytes.
    if (tileWidth == 0 || tileHeight == 0 || tileWidth > most || tileHeight > most ||
        tileWidth % 8 != 0 || tileHeight % 8 != 0 || tileWidth * bits % 32 != 0)
        fail(path, "tiles of this size aren't read: " + std::to_string(tileWidth) + " x " +
                       std::to_string(tileHeight));
    const bool separate = field<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    return {static_cast<int32_t>(width),
            static_cast<int32_t>(height),
            static_cast<int32_t>(tileWidth),
            static_cast<int32_t>(tileHeight),
            channels,
            depth,
            separate ? DAX_DATA_PLANE : DAX_DATA_PIXEL};
}

template <class T> void copyField(TIFF* from, TIFF* to, uint32_t tag) {
    T value = {};
    if (TIFFGetField(from, tag, &value) != 0) TIFFSetField(to, tag, value);
}

} // namespace

size_t Layout::tileBytes() const {
    return static_cast<size_t>(tileWidth) * static_cast<size_t>(tileHeight) *
           static_cast<size_t>(channels) * static_cast<size_t>(bitsOf(depth)) / 8;
}

double Layout::megabytes() const {
    return static_cast<double>(width) * height * channels * bitsOf(depth) / 8 / 1e6;
}

std::string Layout::text() const {
    return std::to_string(width) + " x " + std::to_string(height) + " x " +
           std::to_string(channels) + " of " + std::to_string(bitsOf(depth)) +
           (depth < 0            ? " bits, signed"
            : bitsOf(depth) == 1 ? " bit"
                                 : " bits");
}

// Mode m: a file mapped to memory would count as memory in use.
TiffFile::TiffFile(std::string thePath) : path(std::move(thePath)), tiff(open(path, "rm")) {
    if (!tiff) fail(path, lastMessage);
    held = layoutOf(tiff.get(), path);
}

TiffFile::TiffFile(std::string thePath, const Layout& layout, const TiffFile* like)
    : path(std::move(thePath)), held(layout),
      // More than 4 GB need 64-bit offsets.
      tiff(open(partPath(), layout.megabytes() > 3900 ? "w8m" : "wm")), isNew(true),
      written(layout.tiles()) {
    if (!tiff) fail(path, lastMessage);
    describe(like);
}

TiffFile::~TiffFile() {
    if (!isNew || !tiff) return;
    tiff.reset();
    std::error_code ignored;
    std::filesystem::remove(partPath(), ignored);
}

void TiffFile::describe(const TiffFile* like) {
    TIFF* const to = tiff.get();
    const auto set = [to](uint32_t tag, int32_t value) { TIFFSetField(to, tag, value); };
    const int32_t bits = bitsOf(held.depth);
    set(TIFFTAG_IMAGEWIDTH, held.width);
    set(TIFFTAG_IMAGELENGTH, held.height);
    set(TIFFTAG_TILEWIDTH, held.tileWidth);
    set(TIFFTAG_TILELENGTH, held.tileHeight);
    set(TIFFTAG_SAMPLESPERPIXEL, held.channels);
    set(TIFFTAG_BITSPERSAMPLE, bits);
    set(TIFFTAG_SAMPLEFORMAT, held.depth < 0 ? SAMPLEFORMAT_INT : SAMPLEFORMAT_UINT);
    set(TIFFTAG_PLANARCONFIG,
        held.order == DAX_DATA_PLANE ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    set(TIFFTAG_PHOTOMETRIC, held.channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (like == nullptr) return;
    TIFF* const from = like->tiff.get();
    const auto compression = field<uint16_t>(from, TIFFTAG_COMPRESSION);
    if (compression == COMPRESSION_LZW || compression == COMPRESSION_ADOBE_DEFLATE ||
        compression == COMPRESSION_PACKBITS)
        set(TIFFTAG_COMPRESSION, compression);
    copyField<uint16_t>(from, to, TIFFTAG_PHOTOMETRIC);
    copyField<uint16_t>(from, to, TIFFTAG_ORIENTATION);
    copyField<uint16_t>(from, to, TIFFTAG_RESOLUTIONUNIT);
    copyField<float>(from, to, TIFFTAG_XRESOLUTION);
    copyField<float>(from, to, TIFFTAG_YRESOLUTION);
    uint16_t extraCount = 0;
    uint16_t* extra = nullptr;
    if (TIFFGetField(from, TIFFTAG_EXTRASAMPLES, &extraCount, &extra) != 0)
        TIFFSetField(to, TIFFTAG_EXTRASAMPLES, extraCount, extra);
    uint16_t* colors[3] = {};
    if (TIFFGetField(from, TIFFTAG_COLORMAP, &colors[0], &colors[1], &colors[2]) != 0)
        TIFFSetField(to, TIFFTAG_COLORMAP, colors[0], colors[1], colors[2]);
    uint32_t profileSize = 0;
    void* profile = nullptr;
    if (TIFFGetField(from, TIFFTAG_ICCPROFILE, &profileSize, &profile) != 0)
        TIFFSetField(to, TIFFTAG_ICCPROFILE, profileSize, profile);
}

int32_t TiffFile::planes() const { return held.order == DAX_DATA_PLANE ? held.channels : 1; }

uint32_t TiffFile::index(int32_t col, int32_t row, int32_t plane) const {
    return TIFFComputeTile(tiff.get(), static_cast<uint32_t>(col * held.tileWidth),
                           static_cast<uint32_t>(row * held.tileHeight), 0,
                           static_cast<uint16_t>(plane));
}

size_t TiffFile::number(int32_t col, int32_t row) const {
    return static_cast<size_t>(row) * static_cast<size_t>(held.cols()) + static_cast<size_t>(col);
}

void TiffFile::read(int32_t col, int32_t row, uint8_t* tile) {
    if (isNew && !written[number(col, row)]) {
        std::fill_n(tile, held.tileBytes(), uint8_t{0});
        return;
    }
    const size_t planeBytes = held.tileBytes() / static_cast<size_t>(planes());
    for (int32_t plane = 0; plane < planes(); ++plane, tile += planeBytes) {
        const auto size = static_cast<tmsize_t>(planeBytes);
        lastMessage = "a tile can't be read";
        if (TIFFReadEncodedTile(tiff.get(), index(col, row, plane), tile, size) != size)
            fail(path, lastMessage);
    }
}

void TiffFile::write(int32_t col, int32_t row, uint8_t* tile) {
    const size_t planeBytes = held.tileBytes() / static_cast<size_t>(planes());
    for (int32_t plane = 0; plane < planes(); ++plane, tile += planeBytes) {
        const auto size = static_cast<tmsize_t>(planeBytes);
        lastMessage = "a tile can't be written";
        if (TIFFWriteEncodedTile(tiff.get(), index(col, row, plane), tile, size) != size)
            fail(path, lastMessage);
    }
    written[number(col, row)] = true;
}

void TiffFile::finish() {
    lastMessage = "can't be written";
    const bool complete = TIFFFlush(tiff.get()) != 0;
    const std::string why = lastMessage;
    tiff.reset();
    std::error_code error;
    if (complete) std::filesystem::rename(partPath(), path, error);
    if (complete && !error) return;
    std::error_code ignored;
    std::filesystem::remove(partPath(), ignored);
    fail(path, complete ? error.message() : why);
}
