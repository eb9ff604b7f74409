#include "dib.h"

#include <cstdlib>
#include <cstring>
#include <new>

Dib::Dib(int32_t width, int32_t height, PixelBits bits) : block(sizeof(BITMAPINFOHEADER)) {
    BITMAPINFOHEADER head = {};
    head.biSize = sizeof head;
    head.biWidth = width;
    head.biHeight = height;
    head.biPlanes = 1;
    head.biBitCount = static_cast<uint16_t>(bits.count);
    head.biCompression = bits.sixGreen ? BI_BITFIELDS : BI_RGB;
    std::memcpy(block.data(), &head, sizeof head);
    block.resize(bytes());
    if (bits.sixGreen) {
        constexpr uint32_t masks[3] = {0xF800, 0x07E0, 0x001F};
        std::memcpy(table(), masks, sizeof masks);
    }
}

size_t Dib::tableEntries() const {
    if (header()->biBitCount > 8) return header()->biCompression == BI_BITFIELDS ? 3 : 0;
    return header()->biClrUsed != 0 ? header()->biClrUsed : size_t{1} << header()->biBitCount;
}

size_t Dib::rowBytes() const {
    return (static_cast<size_t>(header()->biWidth) * header()->biBitCount + 31) / 32 * 4;
}

size_t Dib::rowCount() const { return static_cast<size_t>(std::abs(int64_t{header()->biHeight})); }

Dib dibOf(DaxImage* image, PixelBits bits, int32_t palette) {
    Dib dib(image->width, image->height, bits);
    daxConvertToDIB(image, dib.header(), DAX_DITHER_NONE, palette);
    return dib;
}

Image imageOf(Dib& dib) {
    int32_t shares = 0;
    const Image given(daxTranslateDIB(dib.header(), &shares));
    if (!given) throw std::bad_alloc();
    const Make make = {given->width, given->height, given->nChannels == 1 ? 1 : 3};
    Image image = makeImage(make);
    if (make.channels == 3)
        daxConvertFromDIB(dib.header(), image.get());
    else if (given->depth == DAX_DEPTH_1U)
        daxBitonalToGray(given.get(), image.get(), 0, 255, nullptr);
    else
        // The picture turns over where the bitmap's first row is its last.
        daxConvert(given.get(), image.get(), DAX_CONVERT_LOW_BITS, nullptr);
    return image;
}
