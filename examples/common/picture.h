// Picture files: PNG and JPEG are read, whatever their colours, as 8-bit RGB and written as they
// stand. Every failure throws std::runtime_error with one clear line that names the file.
#ifndef EXAMPLES_COMMON_PICTURE_H
#define EXAMPLES_COMMON_PICTURE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Picture {
    int width = 0;
    int height = 0;
    // 1 (gray) or 3 (red, green, blue), row by row without gaps.
    int channels = 3;
    std::vector<uint8_t> samples;

    size_t rowSize() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
    const uint8_t* row(int y) const { return samples.data() + static_cast<size_t>(y) * rowSize(); }
    uint8_t* row(int y) { return samples.data() + static_cast<size_t>(y) * rowSize(); }
};

Picture blankPicture(int width, int height, int channels);

// Larger pictures are refused before their pixels are unpacked.
inline constexpr size_t mostPixels = size_t{64} << 20;

// Transparent parts of a PNG stand on white. A damaged file is refused even if part of it is sound.
Picture readPicture(const std::string& path, size_t atMost = mostPixels);

void writePng(const std::string& path, const Picture& picture);
void writeJpeg(const std::string& path, const Picture& picture, int quality);

#endif
