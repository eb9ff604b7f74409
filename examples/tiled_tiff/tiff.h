// Tiled TIFF files, a tile at a time. Every failure throws std::runtime_error with one clear line
// that names the file.
#ifndef EXAMPLES_TILED_TIFF_TIFF_H
#define EXAMPLES_TILED_TIFF_TIFF_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <tiffio.h>

// What a file holds, in the terms of daxlib.h.
struct Layout {
    int32_t width;
    int32_t height;
    int32_t tileWidth;
    int32_t tileHeight;
    int32_t channels;
    int32_t depth;
    int32_t order;

    int32_t cols() const { return width / tileWidth + (width % tileWidth != 0 ? 1 : 0); }
    int32_t rows() const { return height / tileHeight + (height % tileHeight != 0 ? 1 : 0); }
    size_t tiles() const { return static_cast<size_t>(cols()) * static_cast<size_t>(rows()); }
    size_t tileBytes() const;
    double megabytes() const; // of all pixels
    std::string text() const;
};

class TiffFile {
public:
    // An existing file.
    explicit TiffFile(std::string path);

    // A new file. It comes to its name when it is finished, so a failure leaves nothing behind and
    // an older file untouched. Colours and resolution are taken from `like`, if given.
    TiffFile(std::string path, const Layout& layout, const TiffFile* like = nullptr);
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    ~TiffFile();

    const std::string& name() const { return path; }
    const Layout& layout() const { return held; }

    // All channels of one tile, laid out as the library wants them; planes follow each other. A
    // tile of a new file that isn't written yet is all zeroes. Writing may leave anything in
    // `tile`.
    void read(int32_t col, int32_t row, uint8_t* tile);
    void write(int32_t col, int32_t row, uint8_t* tile);

    void finish();

private:
    struct CloseTiff {
        void operator()(TIFF* open) const { TIFFClose(open); }
    };

    std::string partPath() const { return path + ".part"; }
    int32_t planes() const;
    uint32_t index(int32_t col, int32_t row, int32_t plane) const;
    size_t number(int32_t col, int32_t row) const;
    void describe(const TiffFile* like);

    std::string path;
    Layout held = {};
    std::unique_ptr<TIFF, CloseTiff> tiff;
    bool isNew = false;
    std::vector<bool> written;
};

#endif
