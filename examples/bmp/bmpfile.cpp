#include "bmpfile.h"

#include "common/picture.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t fileHeaderBytes = 14;
constexpr size_t oldHeaderBytes = 12;

// The numbers of a file, little-endian. What lies past its end is refused.
class Reader {
public:
    Reader(const std::string& thePath, const Bytes& theBytes) : path(thePath), bytes(theBytes) {}

    const uint8_t* at(size_t place, size_t count, const char* what) const {
        if (place > bytes.size() || count > bytes.size() - place)
            failFile(path, std::string("the file ends in its ") + what);
        return bytes.data() + place;
    }
    uint32_t number(size_t place, size_t count) const {
        const uint8_t* const from = at(place, count, "header");
        uint32_t value = 0;
        for (size_t i = count; i-- > 0;) value = value << 8 | from[i];
        return value;
    }
    uint16_t word(size_t place) const { return static_cast<uint16_t>(number(place, 2)); }
    uint32_t word32(size_t place) const { return number(place, 4); }

private:
    const std::string& path;
    const Bytes& bytes;
};

// What the headers of all kinds tell.
struct Heading {
    size_t headerBytes;
    size_t rowsAt;
    int32_t width;
    int32_t height;
    uint16_t planes;
    uint16_t bits;
    uint32_t compression;
    uint32_t colours;
};

Heading headingOf(const Reader& file) {
    Heading is = {};
    is.rowsAt = file.word32(10);
    is.headerBytes = file.word32(14);
    if (is.headerBytes == oldHeaderBytes) {
        is.width = file.word(18);
        is.height = file.word(20);
        is.planes = file.word(22);
        is.bits = file.word(24);
        return is;
    }
    is.width = static_cast<int32_t>(file.word32(18));
    is.height = static_cast<int32_t>(file.word32(22));
    is.planes = file.word(26);
    is.bits = file.word(28);
    is.compression = file.word32(30);
    is.colours = file.word32(46);
    return is;
}

void refuseStrange(const std::string& path, const Heading& is) {
    if (is.headerBytes != oldHeaderBytes && is.headerBytes < sizeof(BITMAPINFOHEADER))
        failFile(path, "a BMP file of an unknown kind");
    if (is.compression != BI_RGB && is.compression != BI_BITFIELDS)
        failFile(path, "compressed bitmaps can't be read");
    constexpr int known[] = {1, 4, 8, 16, 24, 32};
    const bool fields = is.compression == BI_BITFIELDS;
    if (is.planes != 1 ||
        std::find(std::begin(known), std::end(known), is.bits) == std::end(known) ||
        (fields && is.bits != 16 && is.bits != 32))
        failFile(path, "a BMP file of an unknown kind");
    const int64_t height = std::abs(int64_t{is.height});
    if (is.width <= 0 || height == 0) failFile(path, "the picture has no pixels");
    if (height > static_cast<int64_t>(mostPixels) / is.width)
        failFile(path, "the picture is too large: " + std::to_string(is.width) + " x " +
                           std::to_string(height) + " pixels");
}

// The colour table with as many entries as pixels can name: those that the file lacks are black.
void copyColours(const Reader& file, const Heading& is, Dib& dib) {
    const size_t entryBytes = is.headerBytes == oldHeaderBytes ? 3 : 4;
    const size_t all = dib.tableEntries();
    const size_t given = is.colours == 0 ? all : std::min<size_t>(is.colours, all);
    const uint8_t* from =
        file.at(fileHeaderBytes + is.headerBytes, given * entryBytes, "colour table");
    for (size_t i = 0; i < given; ++i) std::memcpy(dib.table() + 4 * i, from + entryBytes * i, 3);
}

} // namespace

bool isBmp(const Bytes& bytes) { return bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M'; }

Dib readBmp(const std::string& path, const Bytes& bytes) {
    const Reader file(path, bytes);
    const Heading is = headingOf(file);
    refuseStrange(path, is);
    const bool fields = is.compression == BI_BITFIELDS;
    // Before there is memory for them, the rows are known to be there.
    const size_t rowBytes = (static_cast<size_t>(is.width) * is.bits + 31) / 32 * 4;
    const auto height = static_cast<size_t>(std::abs(int64_t{is.height}));
    const uint8_t* const rows = file.at(is.rowsAt, rowBytes * height, "pixels");

    Dib dib(is.width, is.height, {is.bits, fields});
    // Masks follow the first 40 bytes of a header, inside of it or after it.
    if (fields)
        std::memcpy(dib.table(), file.at(fileHeaderBytes + sizeof(BITMAPINFOHEADER), 12, "masks"),
                    12);
    else if (is.bits <= 8)
        copyColours(file, is, dib);
    std::memcpy(dib.rows(), rows, rowBytes * height);
    return dib;
}

void writeBmp(const std::string& path, const Dib& dib) {
    Bytes bytes = {'B', 'M'};
    const auto put = [&bytes](size_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<uint8_t>(value >> shift));
    };
    put(fileHeaderBytes + dib.bytes());
    put(0);
    put(fileHeaderBytes + dib.bytesBeforeRows());
    bytes.insert(bytes.end(), dib.data(), dib.data() + dib.bytes());
    writeFile(path, bytes);
}
