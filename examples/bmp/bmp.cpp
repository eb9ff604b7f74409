// Turns pictures into BMP files and BMP files into pictures, through the library's bitmaps.

#include "bmpfile.h"
#include "common/dib.h"
#include "common/image.h"
#include "common/picture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* help =
    "bmp FROM TO.bmp [option ...]   from a PNG, JPEG or BMP\n"
    "bmp FROM TO.png                the same as a PNG\n"
    "Options: --bits 1|4|8|16|565|24|32  bits of a pixel (24); 565: 16 with 6 for green\n"
    "         --palette median|fixed     up to 8 bits: colours made for the picture (median)\n"
    "         --gray                     without colours\n";

struct Options {
    PixelBits bits = {24};
    int32_t palette = DAX_PALETTE_MEDIAN_CUT;
    bool gray = false;
};

std::string firstReport;

DaxStatus keepReport(DaxStatus status, const char* funcName, const char* context, const char*,
                     int32_t) {
    if (firstReport.empty()) firstReport = std::string(funcName) + ": " + context;
    return status;
}

Image imageOf(const Picture& picture) {
    Image image = makeImage({picture.width, picture.height, picture.channels});
    auto* to = static_cast<uint8_t*>(image->imageData);
    for (int y = 0; y < picture.height; ++y, to += image->widthStep)
        std::memcpy(to, picture.row(y), picture.rowSize());
    return image;
}

Picture pictureOf(const DaxImage* image) {
    Picture picture = blankPicture(image->width, image->height, image->nChannels);
    const auto* from = static_cast<const uint8_t*>(image->imageData);
    for (int y = 0; y < picture.height; ++y, from += image->widthStep)
        std::memcpy(picture.row(y), from, picture.rowSize());
    return picture;
}

Image read(const std::string& path) {
    const Bytes bytes = readFile(path);
    if (!isBmp(bytes)) return imageOf(readPicture(path));
    Dib dib = readBmp(path, bytes);
    return imageOf(dib);
}

Image grayOf(Image image) {
    if (image->nChannels == 1) return image;
    Image gray = makeImage({image->width, image->height, 1});
    daxColorToGray(image.get(), gray.get(), nullptr);
    return gray;
}

bool isBmpName(std::string_view path) { return path.ends_with(".bmp") || path.ends_with(".BMP"); }

void convert(const std::string& from, const std::string& to, const Options& options) {
    Image image = read(from);
    if (options.gray) image = grayOf(std::move(image));
    if (isBmpName(to)) {
        const Dib dib = dibOf(image.get(), options.bits, options.palette);
        if (daxGetErrStatus() >= 0) writeBmp(to, dib);
    } else if (daxGetErrStatus() >= 0) {
        writePng(to, pictureOf(image.get()));
    }
    if (daxGetErrStatus() < 0) throw std::runtime_error(from + ": " + firstReport);
}

PixelBits bitsOf(const std::string& text) {
    if (text == "565") return {16, true};
    for (const int32_t count : {1, 4, 8, 16, 24, 32})
        if (text == std::to_string(count)) return {count};
    throw std::runtime_error("--bits " + text + ": 1, 4, 8, 16, 565, 24 or 32");
}

int32_t paletteOf(const std::string& text) {
    if (text == "median") return DAX_PALETTE_MEDIAN_CUT;
    if (text == "fixed") return DAX_PALETTE_FIXED;
    throw std::runtime_error("--palette " + text + ": median or fixed");
}

int run(const std::vector<std::string>& arguments) {
    Options options;
    std::vector<std::string> paths;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--gray") {
            options.gray = true;
        } else if (word.starts_with("-")) {
            const std::string value = i + 1 < arguments.size() ? arguments[++i] : "";
            if (word == "--bits")
                options.bits = bitsOf(value);
            else if (word == "--palette")
                options.palette = paletteOf(value);
            else
                throw std::runtime_error("no such option: " + word);
        } else {
            paths.push_back(word);
        }
    }
    if (paths.size() != 2) {
        std::fputs(help, stderr);
        return 1;
    }
    convert(paths[0], paths[1], options);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(keepReport);
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::bad_alloc&) {
        std::fputs("bmp: not enough memory\n", stderr);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bmp: %s\n", failure.what());
    }
    return 1;
}
