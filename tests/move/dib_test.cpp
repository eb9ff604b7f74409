// The three functions for bitmaps against decoders, encoders and a median cut that go pixel by
// pixel.

#include "move/dib.h"

#include "kit/image.h"
#include "kit/platform.h"
#include "kit/reports.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <map>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;
using Pixel = std::array<uint8_t, 4>; // blue, green, red, alpha

constexpr int32_t u1 = DAX_DEPTH_1U;
constexpr int32_t u8 = DAX_DEPTH_8U;
constexpr int32_t u16 = DAX_DEPTH_16U;

int64_t tableSize(const BITMAPINFOHEADER& dib) {
    const int32_t bits = dib.biBitCount;
    if (bits == 16 || bits == 32) return dib.biCompression == BI_BITFIELDS ? 3 : 0;
    if (bits == 24) return 0;
    return dib.biClrUsed != 0 ? dib.biClrUsed : 1 << bits;
}

int64_t stepOf(const BITMAPINFOHEADER& dib) {
    return (int64_t{dib.biWidth} * dib.biBitCount + 31) / 32 * 4;
}

int32_t rowsOf(const BITMAPINFOHEADER& dib) { return std::abs(dib.biHeight); }

// A bitmap in a block with guards, which has room for what its header tells and for any table that
// its bits allow.
class Bitmap {
public:
    explicit Bitmap(const BITMAPINFOHEADER& dib, bool roomToGrow = false)
        : store(Shape{.width = static_cast<int32_t>(sizeOf(dib, roomToGrow)), .shift = 4}) {
        memcpy(store.data(), &dib, sizeof(dib));
    }

    operator BITMAPINFOHEADER*() { return reinterpret_cast<BITMAPINFOHEADER*>(store.data()); }
    BITMAPINFOHEADER* operator->() { return *this; }
    BITMAPINFOHEADER header() const {
        BITMAPINFOHEADER dib;
        memcpy(&dib, store.data(), sizeof(dib));
        return dib;
    }
    uint8_t* table() const { return store.data() + sizeof(BITMAPINFOHEADER); }
    uint8_t* row(int32_t y) const { // from the top of the picture
        const BITMAPINFOHEADER dib = header();
        return table() + tableSize(dib) * 4 +
               (dib.biHeight > 0 ? rowsOf(dib) - 1 - y : y) * stepOf(dib);
    }
    uint8_t* end() const { return store.data() + store.size(); }

    void fill(Random& random) {
        for (uint8_t* at = table(); at < end(); ++at) *at = static_cast<uint8_t>(random.bits());
    }
    void setGrey() {
        const int64_t count = tableSize(header());
        for (int64_t i = 0; i < count; ++i)
            memset(table() + 4 * i, static_cast<int>(i * 255 / std::max<int64_t>(count - 1, 1)), 3);
    }

    Image store;

private:
    static int64_t sizeOf(const BITMAPINFOHEADER& dib, bool roomToGrow) {
        int64_t entries = tableSize(dib);
        if (roomToGrow && dib.biBitCount <= 8)
            entries = std::max<int64_t>(entries, 1 << dib.biBitCount);
        return 40 + entries * 4 + std::max<int64_t>(stepOf(dib), 0) * rowsOf(dib);
    }
};

BITMAPINFOHEADER headerOf(int32_t width, int32_t height, int32_t bits, uint32_t compression = 0,
                          uint32_t used = 0) {
    return {40, width, height, 1, static_cast<uint16_t>(bits), compression, 0, 0, 0, used, 0};
}

uint32_t anyMask(Random& random) {
    switch (random.in(0, 3)) {
    case 0: return static_cast<uint32_t>(random.bits());
    case 1: return 0;
    default: {
        const int32_t width = random.in(1, 12);
        return ((1u << width) - 1) << random.in(0, 31);
    }
    }
}

Bitmap anyBitmap(Random& random, bool topDown = true) {
    const int32_t bits = random.oneOf({1, 4, 8, 16, 24, 32});
    uint32_t used = 0;
    if (random.chance(60))
        used = static_cast<uint32_t>(random.chance(20) ? random.in(1, 600)
                                                       : random.in(1, 1 << std::min(bits, 8)));
    Bitmap bitmap(headerOf(random.chance(20) ? random.in(250, 800) : random.in(1, 40),
                           random.in(1, 9) * (topDown && random.chance(50) ? -1 : 1), bits,
                           random.oneOf({0u, 3u}), used),
                  !topDown);
    bitmap.fill(random);
    if (bits <= 8 && random.chance(30)) bitmap.setGrey();
    if (bitmap->biCompression != 0 && (bits == 16 || bits == 32))
        for (int32_t c = 0; c < 3; ++c) {
            const uint32_t mask = anyMask(random);
            memcpy(bitmap.table() + 4 * c, &mask, 4);
        }
    return bitmap;
}

struct Field {
    uint32_t mask = 0;
    int32_t shift = 0;
    int32_t width = 0;

    Field() = default;
    explicit Field(uint32_t bits) : mask(bits) {
        if (mask == 0) return;
        while ((mask >> shift & 1) == 0) ++shift;
        while (shift + width < 32 && (mask >> (shift + width) & 1) != 0) ++width;
    }
    uint8_t decoded(uint32_t word) const {
        const uint32_t v = (word & mask) >> shift;
        return static_cast<uint8_t>(width >= 8 ? v >> (width - 8) : v << (8 - width));
    }
    uint32_t encoded(uint32_t v, bool scaled) const {
        if (scaled) v = width >= 8 ? v << (width - 8) : v >> (8 - width);
        return v << shift & mask;
    }
};

// Blue, green, red, alpha.
std::array<Field, 4> fieldsOf(const Bitmap& bitmap) {
    const BITMAPINFOHEADER dib = bitmap.header();
    const bool words = dib.biBitCount == 16;
    std::array<Field, 4> fields;
    if (dib.biCompression == 0) {
        if (words) return {Field(0x1F), Field(0x3E0), Field(0x7C00), Field()};
        fields = {Field(0xFF), Field(0xFF00), Field(0xFF0000), Field(0xFF000000)};
        fields[3].shift = 8;
        fields[3].width = 24;
        return fields;
    }
    Field top;
    for (int32_t c = 0; c < 3; ++c) {
        uint32_t mask;
        memcpy(&mask, bitmap.table() + 8 - 4 * c, 4);
        const auto i = static_cast<size_t>(c);
        fields[i] = Field(words ? mask & 0xFFFF : mask);
        if (c == 0 || fields[i].shift > top.shift) top = fields[i];
    }
    if (!words && top.shift + top.width < 32) fields[3] = Field(~0u << (top.shift + top.width));
    return fields;
}

Pixel decoded(const Bitmap& bitmap, int32_t x, int32_t y) {
    const BITMAPINFOHEADER dib = bitmap.header();
    const int32_t bits = dib.biBitCount;
    const uint8_t* row = bitmap.row(y);
    Pixel pixel = {};
    if (bits == 24) {
        std::copy_n(row + x * 3, 3, pixel.begin());
    } else if (bits > 8) {
        uint32_t word = 0;
        memcpy(&word, row + x * (bits / 8), static_cast<size_t>(bits / 8));
        const std::array<Field, 4> fields = fieldsOf(bitmap);
        for (size_t c = 0; c < 4; ++c) pixel[c] = fields[c].decoded(word);
    } else {
        const int32_t index = row[x * bits / 8] >> (8 - bits - x * bits % 8) & ((1 << bits) - 1);
        const uint8_t* entry = bitmap.table() + 4 * index;
        if (entry >= bitmap.end()) entry = bitmap.table() + 4 * (tableSize(dib) - 1);
        std::copy_n(entry, 4, pixel.begin());
    }
    return pixel;
}

std::string lettersOf(const DaxImage* image) {
    return {image->channelSeq, strnlen(image->channelSeq, 4)};
}

bool isGrey(const DaxImage* image) { return lettersOf(image)[0] == 'G'; }

void setLetters(DaxImage* image, const char* letters) {
    strncpy(image->channelSeq, letters, sizeof(image->channelSeq));
}

int32_t rowIn(const DaxImage* image, int32_t y) {
    return image->origin == DAX_ORIGIN_TOP_LEFT ? y : image->height - 1 - y;
}

// Row steps count as they follow from the fields.
void importByModel(const Bitmap& bitmap, Image& image) {
    const int32_t step = image->widthStep;
    image->widthStep = static_cast<int32_t>(image.shape().rowStep());
    const BITMAPINFOHEADER dib = bitmap.header();
    for (int32_t y = 0; y < rowsOf(dib); ++y)
        for (int32_t x = 0; x < dib.biWidth; ++x) {
            Pixel pixel = decoded(bitmap, x, y);
            if (isGrey(image))
                pixel[2] =
                    static_cast<uint8_t>((pixel[0] * 28 + pixel[1] * 151 + pixel[2] * 77) >> 8);
            if (lettersOf(image)[0] == 'R') std::swap(pixel[0], pixel[2]);
            for (int32_t c = 1; c <= image->nChannels; ++c) {
                const int32_t v = pixel[static_cast<size_t>(image->nChannels == 1 ? 2 : c - 1)];
                image.set(x, rowIn(image, y), c,
                          image->depth == u1    ? v > 127
                          : image->depth == u16 ? v * 256
                                                : v);
            }
        }
    image->widthStep = step;
}

Shape anyShape(Random& random, int32_t width, int32_t height) {
    Shape shape = {.depth = random.oneOf({u1, u8, u8, u16}),
                   .channels = random.oneOf({1, 3, 4}),
                   .width = width,
                   .height = height,
                   .order = random.in(0, 1),
                   .align = random.oneOf({4, 8}),
                   .origin = random.in(0, 1),
                   .slack = random.chance(20) ? 8 : 0,
                   .shift = random.in(0, 7)};
    if (shape.depth == u1) shape.channels = 1;
    if (shape.depth == u16) shape.shift &= 6;
    return shape;
}

TEST(DibImport, AnyBitmapIntoAnyImage) {
    kit::forEachIsa([] {
        kit::forSeeds(1500, [](Random& random) {
            kit::Reports reports;
            Bitmap bitmap = anyBitmap(random);
            const bool larger = random.chance(30);
            Image is(anyShape(random, bitmap->biWidth + (larger ? random.in(0, 9) : 0),
                              rowsOf(*bitmap) + (larger ? random.in(0, 3) : 0)),
                     random);
            setLetters(is, random.oneOf({"GRAY", "G", "BGR", "BGRA", "RGB", "RGBA"}));
            Image expected = is;
            const Bytes before = bitmap.store.bytes();
            importByModel(bitmap, expected);
            daxConvertFromDIB(bitmap, is);
            EXPECT_EQ(byteDifference(is, expected), "")
                << bitmap->biBitCount << " bits into " << is.shape().text();
            EXPECT_EQ(bitmap.store.bytes(), before);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

TEST(DibImport, Translated) {
    kit::forSeeds(1500, [](Random& random) {
        kit::Reports reports;
        kit::StandIn platform;
        Bitmap bitmap = anyBitmap(random);
        const BITMAPINFOHEADER dib = *bitmap;
        const int32_t bits = dib.biBitCount;
        bool grey = bits <= 8 && tableSize(dib) > 1;
        for (int64_t i = 0; grey && i < tableSize(dib); ++i)
            for (int32_t c = 0; c < 3; ++c)
                grey = grey && bitmap.table()[4 * i + c] == i * 255 / (tableSize(dib) - 1);
        const bool shares = (grey && bits != 4) || bits == 24 || (bits == 32 && !dib.biCompression);
        int32_t cloneData = -1;
        DaxImage* const image = daxTranslateDIB(bitmap, &cloneData);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(cloneData, shares ? 1 : 0);
        EXPECT_EQ(image->nChannels, bits == 32 ? 4 : grey ? 1 : 3);
        EXPECT_EQ(image->alphaChannel, bits == 32 ? 4 : 0);
        EXPECT_EQ(image->depth, grey && bits == 1 ? u1 : u8);
        EXPECT_EQ(std::string(image->colorModel, strnlen(image->colorModel, 4)), bits == 32 ? "RGBA"
                                                                                 : grey     ? "GRAY"
                                                                                        : "RGB");
        EXPECT_EQ(lettersOf(image), bits == 32 ? "BGRA" : grey ? "GRAY" : "BGR");
        EXPECT_EQ(image->dataOrder, shares ? DAX_DATA_PIXEL : DAX_DATA_PLANE);
        EXPECT_EQ(image->origin, dib.biHeight > 0 ? 1 : 0);
        EXPECT_EQ(image->align, shares ? 4 : 8);
        EXPECT_EQ(image->width, dib.biWidth);
        EXPECT_EQ(image->height, rowsOf(dib));
        if (shares) {
            EXPECT_EQ(image->imageData, bitmap.table() + 4 * tableSize(dib));
            EXPECT_EQ(image->widthStep, stepOf(dib));
            EXPECT_EQ(image->dataSize, stepOf(dib) * rowsOf(dib));
        } else {
            Image expected({.channels = image->nChannels,
                            .width = image->width,
                            .height = image->height,
                            .order = DAX_DATA_PLANE,
                            .align = 8,
                            .origin = image->origin});
            setLetters(expected, lettersOf(image).c_str());
            Image is = expected;
            importByModel(bitmap, expected);
            memcpy(is.data(), image->imageData, is.size());
            EXPECT_EQ(pixelDifference(is, expected), "") << bits << " bits";
        }
        daxDeallocate(image, DAX_IMAGE_HEADER | DAX_IMAGE_DATA);
        EXPECT_EQ(platform.live(), 0u);
        EXPECT_EQ(reports.take(), Lines());
    });
}

// What the median cut starts from: how often each color occurs, by the parts of a cell's place.
using Cell = std::array<int32_t, 3>; // red, green, blue; in grey only the first counts
using Cells = std::map<Cell, int64_t>;

std::vector<Cell> cutByModel(const Cells& cells, size_t most) {
    const auto side = [](const Cells& box, size_t axis) {
        int32_t low = INT_MAX;
        int32_t high = INT_MIN;
        for (const auto& [cell, count] : box) {
            low = std::min(low, cell[axis]);
            high = std::max(high, cell[axis]);
        }
        return high - low;
    };
    std::vector<Cells> boxes = {cells};
    while (boxes.size() < most) {
        const size_t existing = boxes.size();
        for (size_t k = 0; k < existing && boxes.size() < most; ++k) {
            const Cells box = boxes[k];
            if (box.size() == 1) continue;
            size_t axis = side(box, 1) >= side(box, 2) ? 1 : 2;
            if (side(box, 0) >= side(box, axis)) axis = 0;
            std::map<int32_t, int64_t> planes;
            int64_t pixels = 0;
            for (const auto& [cell, count] : box) {
                planes[cell[axis]] += count;
                pixels += count;
            }
            int64_t sum = 0;
            int32_t last = 0; // the lower part's last plane
            int32_t previous = 0;
            for (const auto& [plane, count] : planes) {
                previous = last;
                last = plane;
                sum += count;
                if (sum <= pixels / 2) continue;
                if (pixels / 2 - (sum - count) < sum - pixels / 2) last = previous;
                break;
            }
            Cells parts[2];
            for (const auto& one : box) parts[one.first[axis] > last ? 1 : 0].insert(one);
            boxes[k] = parts[0];
            boxes.push_back(parts[1]);
        }
    }
    std::vector<Cell> table;
    for (const Cells& box : boxes) {
        int64_t sums[3] = {};
        int64_t pixels = 0;
        for (const auto& [cell, count] : box) {
            for (size_t axis = 0; axis < 3; ++axis) sums[axis] += count * cell[axis];
            pixels += count;
        }
        Cell mean;
        for (size_t axis = 0; axis < 3; ++axis)
            mean[axis] = static_cast<int32_t>(sums[axis] / pixels);
        table.push_back(mean);
    }
    return table;
}

Pixel pixelOf(const Image& image, int32_t x, int32_t y) {
    Pixel pixel = {};
    for (int32_t c = 0; c < 4; ++c) {
        if (c == 3 && image->nChannels < 4) break;
        const int64_t v = image.get(x, y, image->nChannels == 1 ? 1 : c + 1);
        pixel[static_cast<size_t>(c)] = static_cast<uint8_t>(image->depth == u1    ? v * 255
                                                             : image->depth == u16 ? v >> 8
                                                                                   : v);
    }
    const char first = image->channelSeq[0];
    if (first == 'R') std::swap(pixel[0], pixel[2]);
    if (first == 'G') pixel = {pixel[2], pixel[2], pixel[2], 0};
    return pixel;
}

void setEntries(Bitmap& bitmap, const std::vector<Cell>& entries) {
    for (size_t i = 0; i < entries.size(); ++i) {
        uint8_t* at = bitmap.table() + 4 * i;
        for (size_t c = 0; c < 3; ++c) at[c] = static_cast<uint8_t>(entries[i][2 - c]);
        at[3] = 0;
    }
}

void cutByModel(Image& image, int32_t derivedStep, Bitmap& bitmap) {
    const bool grey = image->nChannels == 1;
    if (image->depth == u1) {
        setEntries(bitmap, {{0, 0, 0}, {255, 255, 255}});
        bitmap->biClrUsed = 2;
        return;
    }
    const int32_t step = image->widthStep;
    if (!grey) image->widthStep = derivedStep;
    std::map<int32_t, Cell> places;
    Cells cells;
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x) {
            const Pixel p = pixelOf(image, x, y);
            const Cell cell = grey ? Cell{p[0], p[0], p[0]} : Cell{p[2] & ~3, p[1] & ~3, p[0] & ~3};
            places[cell[0] + cell[1] * 64 + cell[2] * 4096] = cell;
            ++cells[cell];
        }
    image->widthStep = step;
    const size_t most = size_t{1} << bitmap->biBitCount;
    std::vector<Cell> entries;
    if (cells.size() <= most)
        for (const auto& [place, cell] : places) entries.push_back(cell);
    else
        entries = cutByModel(cells, most);
    setEntries(bitmap, entries);
    bitmap->biClrUsed = static_cast<uint32_t>(entries.size());
}

void fixedByModel(const Image& image, Bitmap& bitmap) {
    const int64_t size = tableSize(*bitmap);
    std::vector<Cell> entries;
    if (size == 2) {
        entries = {{0, 0, 0}, {255, 255, 255}};
    } else if ((size == 16 || size == 256) && image->nChannels == 1) {
        for (int32_t i = 0; i < size; ++i) {
            const int32_t level = 255 * i / static_cast<int32_t>(size - 1);
            entries.push_back({level, level, level});
        }
    } else if (size == 16) {
        for (const int32_t rgb :
             {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
              0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF})
            entries.push_back({rgb >> 16, rgb >> 8 & 255, rgb & 255});
    } else if (size == 256) {
        constexpr int32_t levels[] = {0, 32, 64, 96, 128, 160, 192, 255};
        constexpr int32_t blues[] = {0, 64, 128, 255};
        for (int32_t i = 0; i < 256; ++i)
            entries.push_back({levels[i >> 5], levels[i >> 2 & 7], blues[i & 3]});
    }
    setEntries(bitmap, entries);
}

void exportByModel(Image& image, Bitmap& bitmap, int32_t paletteConversion) {
    const auto derivedStep = static_cast<int32_t>(image.shape().rowStep());
    const int32_t bits = bitmap->biBitCount;
    if (bits <= 8 && paletteConversion == DAX_PALETTE_FIXED) fixedByModel(image, bitmap);
    if (bits <= 8 && paletteConversion == DAX_PALETTE_MEDIAN_CUT)
        cutByModel(image, derivedStep, bitmap);
    const int32_t step = image->widthStep;
    image->widthStep = derivedStep;
    std::array<Field, 4> fields;
    if (bits == 16 || bits == 32) fields = fieldsOf(bitmap);
    if (bits == 32 && bitmap->biCompression == 0) fields[3].width = 8;
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x) {
            const Pixel pixel = pixelOf(image, x, rowIn(image, y));
            uint8_t* const row = bitmap.row(y);
            if (bits == 24) {
                std::copy_n(pixel.begin(), 3, row + 3 * x);
            } else if (bits > 8) {
                uint32_t word = 0;
                for (size_t c = 0; c < 4; ++c) word |= fields[c].encoded(pixel[c], bits == 16);
                memcpy(row + x * (bits / 8), &word, static_cast<size_t>(bits / 8));
            } else {
                int64_t index = 0;
                int32_t least = INT_MAX;
                for (int64_t i = 0; i < tableSize(*bitmap); ++i) {
                    int32_t distance = 0;
                    for (size_t c = 0; c < 3; ++c) {
                        const int32_t apart = pixel[c] - bitmap.table()[4 * i + int64_t(c)];
                        distance += apart * apart;
                    }
                    if (distance < least) index = i;
                    least = std::min(least, distance);
                }
                if (bits == 1) index = index != 0;
                const int32_t up = 8 - bits - x * bits % 8;
                const int32_t mask = (1 << bits) - 1;
                uint8_t& byte = row[x * bits / 8];
                byte = static_cast<uint8_t>((byte & ~(mask << up)) | (index & mask) << up);
            }
        }
    image->widthStep = step;
}

void fillWithFew(Random& random, Image& image, int32_t values) {
    for (int32_t c = 1; c <= image->nChannels; ++c)
        for (int32_t y = 0; y < image->height; ++y)
            for (int32_t x = 0; x < image->width; ++x) {
                const int32_t v = random.in(1, values) * 255 / values;
                image.set(x, y, c, image->depth == u16 ? v * 257 : image->depth == u1 ? v & 1 : v);
            }
}

Image anyPicture(Random& random, const BITMAPINFOHEADER& dib, bool hasBits = true) {
    Shape shape = anyShape(random, dib.biWidth, dib.biHeight);
    if (!hasBits && shape.depth == u1) shape.depth = u8;
    Image image(shape, random);
    if (random.chance(50)) fillWithFew(random, image, random.in(1, 20));
    image->alphaChannel = shape.channels == 4 ? 4 : 0;
    setLetters(image, shape.channels == 1 ? random.oneOf({"GRAY", "G", "BGR", "RGB"})
                                          : random.oneOf({"BGR", "BGRA", "RGB", "RGBA", "GRAY"}));
    return image;
}

TEST(DibExport, AnyImageIntoAnyBitmap) {
    kit::forEachIsa([] {
        kit::forSeeds(1500, [](Random& random) {
            kit::Reports reports;
            Bitmap is = anyBitmap(random, false);
            Image image = anyPicture(random, *is);
            int32_t palette = random.in(0, 2);
            if (palette == 2 && image->nChannels > 1 && isGrey(image)) palette = 1;
            Bitmap expected = is;
            exportByModel(image, expected, palette);
            const Bytes before = image.bytes();
            daxConvertToDIB(image, is, image->depth == u16 ? 1 : random.oneOf({1, 8}), palette);
            EXPECT_EQ(byteDifference(is.store, expected.store), "")
                << is->biBitCount << " bits, palette " << palette << " of " << image.shape().text();
            EXPECT_EQ(image.bytes(), before);
            EXPECT_EQ(reports.take(), Lines());
        });
    });
}

// Dense clouds and lone colors, so that boxes end up with single cells and parts are given back.
TEST(DibExport, MedianCutOfManyColours) {
    kit::forSeeds(40, [](Random& random) {
        kit::Reports reports;
        Bitmap is(headerOf(random.in(20, 90), random.in(20, 60), random.oneOf({1, 4, 8})), true);
        Image image = anyPicture(random, *is, false);
        if (image->nChannels > 1) setLetters(image, random.oneOf({"BGR", "RGBA"}));
        image.fill(random);
        const int32_t centre = random.in(0, 200);
        for (int32_t y = 0; y < image->height; ++y)
            for (int32_t x = 0; x < image->width; ++x)
                if (random.chance(80))
                    for (int32_t c = 1; c <= image->nChannels; ++c)
                        image.set(x, y, c,
                                  (centre + random.in(0, 20)) * (image->depth == u16 ? 256 : 1));
        Bitmap expected = is;
        exportByModel(image, expected, DAX_PALETTE_MEDIAN_CUT);
        daxConvertToDIB(image, is, DAX_DITHER_NONE, DAX_PALETTE_MEDIAN_CUT);
        EXPECT_EQ(byteDifference(is.store, expected.store), "") << image.shape().text();
        EXPECT_EQ(reports.take(), Lines());
    });
}

TEST(DibExport, ReductionEndsTheCallUnlessTheStatusIsNegative) {
    kit::forSeeds(60, [](Random& random) {
        kit::Reports reports;
        kit::StandIn platform;
        Bitmap is(headerOf(random.in(1, 40), random.in(1, 9), random.oneOf({8, 16, 24, 32})), true);
        is.fill(random);
        Image image = anyPicture(random, *is);
        Shape shape = image.shape();
        if (shape.depth == u1) return;
        shape.depth = u16;
        shape.slack = 0;
        Image wide(shape, random);
        wide->alphaChannel = image->alphaChannel;
        memcpy(wide->channelSeq, image->channelSeq, sizeof(wide->channelSeq));
        const Bytes before = is.store.bytes();
        daxConvertToDIB(wide, is, DAX_DITHER_STUCKI, DAX_PALETTE_KEEP);
        EXPECT_EQ(is.store.bytes(), before);
        EXPECT_EQ(reports.take(), Lines{"-3 daxConvertToDIB daxdib "});

        shape.depth = u8;
        shape.shift = 0;
        Image reduced(shape);
        memcpy(reduced->channelSeq, image->channelSeq, sizeof(reduced->channelSeq));
        daxReduceBits(wide, reduced, 0, DAX_DITHER_STUCKI, 1, nullptr);
        Bitmap expected = is;
        exportByModel(reduced, expected, DAX_PALETTE_KEEP);
        daxSetErrStatus(DAX_StatusBadArgument);
        daxConvertToDIB(wide, is, DAX_DITHER_STUCKI, DAX_PALETTE_KEEP);
        EXPECT_EQ(byteDifference(is.store, expected.store), "") << shape.text();
        EXPECT_EQ(platform.live(), 0u);
        EXPECT_EQ(reports.take(), Lines());
    });
}

// A reporter that ends the process finds the reduced image released.
TEST(DibExport, ReductionIsReleasedBeforeTheReport) {
    kit::Reports reports(DAX_ErrModeLeaf);
    daxRedirectError(daxNulDevReport);
    Random random(3);
    Bitmap is(headerOf(20, 9, 24));
    Image wide({.depth = u16, .channels = 3, .width = 20, .height = 9}, random);
    setLetters(wide, "BGR");
    kit::StandIn platform;
    EXPECT_TRUE(
        platform.ends([&] { daxConvertToDIB(wide, is, DAX_DITHER_STUCKI, DAX_PALETTE_KEEP); }));
    EXPECT_EQ(platform.live(), 0u);
}

// With a fault and all of those whose checks come later, the fault's own report comes alone, and
// nothing is written.
struct Trial {
    Trial() : image({.channels = 3, .width = 8, .height = 2}), bitmap(headerOf(8, 2, 8)) {
        setLetters(image, "BGR");
        image->alphaChannel = 0;
    }
    Image image;
    Bitmap bitmap;
    bool nullDib = false;
    int32_t cloneData = 7;
    bool nullClone = false;
    int32_t dither = 1;
    int32_t palette = 0;

    BITMAPINFOHEADER* dib() { return nullDib ? nullptr : static_cast<BITMAPINFOHEADER*>(bitmap); }
};

struct Fault {
    std::string report;
    std::function<void(Trial&)> make;
};

void expectReports(const std::vector<Fault>& faults, const std::function<void(Trial&)>& call) {
    for (size_t i = 0; i < faults.size(); ++i) {
        kit::Reports reports;
        Trial trial;
        for (size_t k = faults.size(); k-- > i;) faults[k].make(trial);
        const Bytes image = trial.image.bytes();
        const Bytes bitmap = trial.bitmap.store.bytes();
        call(trial);
        EXPECT_EQ(reports.take(), Lines{faults[i].report});
        EXPECT_EQ(trial.image.bytes(), image);
        EXPECT_EQ(trial.bitmap.store.bytes(), bitmap);
    }
}

const Fault badSize = {"(dib->biSize != sizeof(BITMAPINFOHEADER))",
                       [](Trial& t) { t.bitmap->biSize = 39; }};
const Fault badPlanes = {"(dib->biPlanes != 1)", [](Trial& t) { t.bitmap->biPlanes = 2; }};
const Fault badCompression = {"(dib->biCompression != 0) && (dib->biCompression != 3)",
                              [](Trial& t) { t.bitmap->biCompression = 1; }};
const Fault badLetters = {"image->channelSeq unsupport",
                          [](Trial& t) { setLetters(t.image, "BGRX"); }};

std::vector<Fault> under(const char* name, std::vector<Fault> faults) {
    for (Fault& fault : faults)
        if (fault.report[0] != '-') fault.report.insert(0, std::string("-5 ") + name + " daxdib ");
    return faults;
}

const std::string badAlign =
    "Image align is invalid                                                "
    "\n";

TEST(DibReports, Translate) {
    expectReports(
        under("daxTranslateDIB",
              {{"(dib == ((void *)0))", [](Trial& t) { t.nullDib = true; }},
               {"(cloneData == ((void *)0))", [](Trial& t) { t.nullClone = true; }},
               badSize,
               badPlanes,
               badCompression,
               {"Bad dib->biBitCount", [](Trial& t) { t.bitmap->biBitCount = 2; }},
               {"Create image header is failed", [](Trial& t) { t.bitmap->biWidth = -1; }}}),
        [](Trial& t) {
            EXPECT_EQ(daxTranslateDIB(t.dib(), t.nullClone ? nullptr : &t.cloneData), nullptr);
        });
}

TEST(DibReports, ConvertFrom) {
    const std::vector<Fault> quiet =
        under("daxConvertFromDIB",
              {{"-3 daxConvertFromDIB daxdib ", [](Trial& t) { t.bitmap->biBitCount = 2; }},
               badLetters,
               {"-3 daxConvertFromDIB daxdib ", [](Trial& t) { t.image->nChannels = 2; }}});
    const auto call = [](Trial& t) { daxConvertFromDIB(t.dib(), t.image); };
    expectReports(quiet, call);
    std::vector<Fault> faults = {
        {badAlign, [](Trial& t) { t.image->align = 3; }},
        {"dib==0", [](Trial& t) { t.nullDib = true; }},
        badSize,
        badPlanes,
        badCompression,
        {"image size is too small", [](Trial& t) { t.bitmap->biWidth = 9; }},
        {"image size is too small", [](Trial& t) { t.bitmap->biHeight = -3; }}};
    faults = under("daxConvertFromDIB", faults);
    faults.insert(faults.end(), quiet.begin(), quiet.end());
    expectReports(faults, call);

    // After a failure nobody hears of the last three.
    for (const Fault& fault : quiet) {
        kit::Reports reports;
        Trial trial;
        fault.make(trial);
        daxSetErrStatus(DAX_StatusBadArgument);
        const Bytes before = trial.image.bytes();
        call(trial);
        EXPECT_EQ(trial.image.bytes(), before);
        EXPECT_EQ(reports.take(), Lines());
    }
}

TEST(DibReports, ConvertTo) {
    expectReports(
        under("daxConvertToDIB",
              {{badAlign, [](Trial& t) { t.image->align = 3; }},
               {"dib==0", [](Trial& t) { t.nullDib = true; }},
               {"(image->nChannels <= 0 || image->nChannels > 4)",
                [](Trial& t) { t.image->nChannels = 5; }},
               {"(image->depth & 0x80000000)", [](Trial& t) { t.image->depth = DAX_DEPTH_8S; }},
               {"(image->alphaChannel != 0 && image->alphaChannel != 4)",
                [](Trial& t) { t.image->alphaChannel = 1; }},
               {"(image->nChannels != 3 && image->nChannels != 1)",
                [](Trial& t) { t.image->nChannels = 2; }},
               {"(image->width != dib->biWidth || image->height != dib->biHeight)",
                [](Trial& t) { t.bitmap->biHeight = -2; }},
               badSize,
               badPlanes,
               badCompression,
               {"(dither != 8 && dither != 1)", [](Trial& t) { t.dither = 2; }},
               {"(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)",
                [](Trial& t) { t.palette = 3; }},
               {"create medcut palette error", [](Trial& t) { t.palette = 2; }},
               badLetters,
               {"dib-<biBitCount is bad", [](Trial& t) { t.bitmap->biBitCount = 2; }}}),
        [](Trial& t) { daxConvertToDIB(t.image, t.dib(), t.dither, t.palette); });
}

// Headers whose numbers no block can match, and what is told of them; and of no pixels.
TEST(DibReports, Sizes) {
    constexpr uint32_t entries = 0x20000000;
    for (const BITMAPINFOHEADER& dib :
         {headerOf(4, INT_MIN, 8), headerOf(4, 2, 8, 0, entries), headerOf(INT_MAX, INT_MAX, 32),
          headerOf(65536, 65536, 8), headerOf(4, 2, 1, 0, UINT32_MAX), headerOf(INT_MAX, 1, 24),
          headerOf(-5, 2, 8), headerOf(0, 2, 4), headerOf(3, 0, 24), headerOf(-INT_MAX, -2, 32)}) {
        kit::Reports reports;
        const bool empty = dib.biWidth <= 0 || dib.biHeight == 0;
        Bitmap bitmap(empty ? dib : headerOf(4, 2, 8));
        memcpy(bitmap.store.data(), &dib, sizeof(dib));
        Image image({.channels = 3, .width = 4, .height = 2});
        setLetters(image, "BGR");
        const Bytes before = image.bytes();
        daxConvertFromDIB(bitmap, image);
        EXPECT_EQ(image.bytes(), before);
        Lines expected;
        if (!empty) {
            int32_t cloneData = 0;
            EXPECT_EQ(daxTranslateDIB(bitmap, &cloneData), nullptr);
            expected = {"-5 daxConvertFromDIB daxdib image size is too small",
                        "-5 daxTranslateDIB daxdib Create image header is failed"};
        }
        if (!empty && dib.biHeight > 0) {
            // An image that says it has as many pixels.
            image->width = dib.biWidth;
            image->height = dib.biHeight;
            daxConvertToDIB(image, bitmap, 1, DAX_PALETTE_FIXED);
            expected.push_back("-5 daxConvertToDIB daxdib (image->width != dib->biWidth || "
                               "image->height != dib->biHeight)");
        }
        EXPECT_EQ(reports.take(), expected);
    }
}

// Headers of images that tell of more than their blocks have.
TEST(DibReports, BlocksOfImagesThatEndEarly) {
    kit::forSeeds(400, [](Random& random) {
        kit::Reports reports;
        Bitmap bitmap = anyBitmap(random, false);
        Shape shape = anyShape(random, bitmap->biWidth, bitmap->biHeight);
        shape.slack = 0;
        Image image(shape, random);
        setLetters(image, "RGB");
        image->alphaChannel = shape.channels == 4 ? 4 : 0;
        image->width += random.in(0, 40);
        if (random.chance(50)) {
            image->height += 3;
            image->width = INT_MAX;
        }
        image->widthStep = 1;
        daxConvertFromDIB(bitmap, image);
        image->width = bitmap->biWidth;
        image->height = bitmap->biHeight;
        image->align = 8;
        image->dataSize -= random.in(0, image->dataSize - 1);
        for (int32_t palette = 0; palette < 3; ++palette)
            daxConvertToDIB(image, bitmap, 1, palette);
        reports.take();
    });
}

TEST(DibReports, FailingRequests) {
    kit::Reports reports;
    Random random(7);
    Bitmap bitmap(headerOf(20, 9, 4), true);
    bitmap.fill(random);
    Image image({.channels = 3, .width = 20, .height = 9}, random);
    setLetters(image, "BGR");
    const std::string header = "-5 daxTranslateDIB daxdib Create image header is failed";
    const std::string data =
        "-5 daxTranslateDIB daxdib Allocate memory for DAX image data is failed";
    EXPECT_EQ(2, kit::forEachFailedRequest([&](kit::StandIn& platform) {
                  const int32_t n = platform.failRequest;
                  int32_t cloneData = 0;
                  DaxImage* const made = daxTranslateDIB(bitmap, &cloneData);
                  EXPECT_EQ(made == nullptr, n <= 2);
                  EXPECT_EQ(reports.take(), n > 2 ? Lines() : Lines{n == 1 ? header : data});
                  daxDeallocate(made, DAX_IMAGE_HEADER | DAX_IMAGE_DATA);
              }));
    EXPECT_EQ(2, kit::forEachFailedRequest([&](kit::StandIn& platform) {
                  daxConvertToDIB(image, bitmap, 1, DAX_PALETTE_MEDIAN_CUT);
                  EXPECT_EQ(reports.take(),
                            platform.failRequest > 2
                                ? Lines()
                                : Lines{"-5 daxConvertToDIB daxdib create medcut palette error"});
              }));
}

} // namespace
