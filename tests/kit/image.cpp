#include "kit/image.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(at, size)
#define ASAN_UNPOISON_MEMORY_REGION(at, size)
#endif

namespace kit {

namespace {

constexpr size_t guard = 64;

uint8_t guardByte(size_t at) { return static_cast<uint8_t>(0xA5 ^ at * 29); }

} // namespace

int64_t leastOf(int32_t depth) {
    return isSigned(depth) ? -(int64_t{1} << (bitsOf(depth) - 1)) : 0;
}

int64_t mostOf(int32_t depth) {
    return (int64_t{1} << (bitsOf(depth) - (isSigned(depth) ? 1 : 0))) - 1;
}

int64_t readSample(const uint8_t* at, int32_t depth, int64_t bit) {
    if (depth == DAX_DEPTH_1U) return at[bit / 8] >> (7 - bit % 8) & 1;
    int64_t value = 0;
    for (int32_t i = bytesOf(depth); i-- > 0;) value = value << 8 | at[i];
    return value > mostOf(depth) ? value - (int64_t{1} << bitsOf(depth)) : value;
}

void writeSample(uint8_t* at, int32_t depth, int64_t value, int64_t bit) {
    if (depth == DAX_DEPTH_1U) {
        const int mask = 0x80 >> bit % 8;
        at[bit / 8] = static_cast<uint8_t>((at[bit / 8] & ~mask) | (value != 0 ? mask : 0));
        return;
    }
    for (int32_t i = 0; i < bytesOf(depth); ++i) at[i] = static_cast<uint8_t>(value >> 8 * i);
}

int64_t Shape::rowStep() const {
    const int64_t bits = int64_t{width} * bitsOf(depth) * (order == DAX_DATA_PIXEL ? channels : 1);
    const int64_t bytes = (bits + 7) / 8;
    return (bytes + align - 1) / align * align;
}

std::string Shape::text() const {
    std::ostringstream out;
    out << bitsOf(depth) << (isSigned(depth) ? "S" : "U")
        << (order == DAX_DATA_PIXEL ? " pixel " : " plane ") << width << "x" << height << "x"
        << channels << " align " << align << " slack " << slack << " shift " << shift;
    if (roi)
        out << " roi " << roi->width << "x" << roi->height << "+" << roi->xOffset << "+"
            << roi->yOffset << " coi " << roi->coi;
    return out.str();
}

void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.text(); }

Image::Image(const Shape& theShape) : header{}, roi{}, made(theShape) {
    const int64_t step = made.rowStep() + made.slack;
    const int64_t rows = int64_t{made.height} * (made.order == DAX_DATA_PIXEL ? 1 : made.channels);
    blockSize = static_cast<size_t>(step * rows);
    const size_t before = guard + static_cast<size_t>(made.shift);
    store.resize(before + blockSize + guard);
    for (size_t i = 0; i < store.size(); ++i) store[i] = guardByte(i);
    block = store.data() + before;
    memset(block, 0, blockSize);
    ASAN_POISON_MEMORY_REGION(store.data(), before);
    ASAN_POISON_MEMORY_REGION(block + blockSize, guard);

    header.headerSize = static_cast<int32_t>(sizeof header);
    header.nChannels = made.channels;
    header.depth = made.depth;
    header.dataOrder = made.order;
    header.origin = made.origin;
    header.align = made.align;
    header.height = made.height;
    header.width = made.width;
    header.widthStep = static_cast<int32_t>(step);
    header.dataSize = static_cast<int32_t>(blockSize);
    header.imageData = block;
    if (made.roi) {
        roi = *made.roi;
        header.roi = &roi;
    }
}

Image::Image(const Image& other) : Image(other.made) {
    uint8_t* const own = block;
    takeBytes(other);
    roi = other.roi;
    header = other.header;
    if (other.header.imageData != nullptr) header.imageData = own;
    if (other.header.roi != nullptr) header.roi = &roi;
}

Image::~Image() {
    EXPECT_TRUE(guardsIntact()) << "bytes next to the block were written: " << made.text();
    ASAN_UNPOISON_MEMORY_REGION(store.data(), store.size());
}

void Image::takeBytes(const Image& other) { std::copy_n(other.block, blockSize, block); }

bool Image::guardsIntact() const {
    const auto before = static_cast<size_t>(block - store.data());
    ASAN_UNPOISON_MEMORY_REGION(store.data(), store.size());
    bool intact = true;
    for (size_t i = 0; i < store.size(); ++i)
        if ((i < before || i >= before + blockSize) && store[i] != guardByte(i)) intact = false;
    ASAN_POISON_MEMORY_REGION(store.data(), before);
    ASAN_POISON_MEMORY_REGION(block + blockSize, guard);
    return intact;
}

void Image::fill(Random& random) {
    for (size_t i = 0; i < blockSize; ++i) block[i] = static_cast<uint8_t>(random.bits());
    const auto width = static_cast<size_t>(bytesOf(made.depth));
    const int64_t least = leastOf(made.depth);
    const int64_t most = mostOf(made.depth);
    for (size_t i = 0; width > 0 && i + width <= blockSize; i += width)
        if (random.chance(40))
            writeSample(
                block + i, made.depth,
                random.oneOf<int64_t>({least, least + 1, -1, 0, 1, 2, most / 2, most - 1, most}));
}

uint8_t* Image::place(int32_t x, int32_t y, int32_t channel, int64_t* bit) const {
    uint8_t* row = block + int64_t{y} * header.widthStep;
    int64_t index = x;
    if (header.dataOrder == DAX_DATA_PIXEL)
        index = int64_t{x} * header.nChannels + channel - 1;
    else
        row += int64_t{header.widthStep} * header.height * (channel - 1);
    *bit = index;
    return row + index * bytesOf(header.depth);
}

int64_t Image::get(int32_t x, int32_t y, int32_t channel) const {
    int64_t bit = 0;
    const uint8_t* at = place(x, y, channel, &bit);
    return readSample(at, header.depth, bit);
}

void Image::set(int32_t x, int32_t y, int32_t channel, int64_t value) {
    int64_t bit = 0;
    uint8_t* at = place(x, y, channel, &bit);
    writeSample(at, header.depth, value, bit);
}

std::string pixelDifference(const Image& is, const Image& expected) {
    for (int32_t channel = 1; channel <= expected->nChannels; ++channel)
        for (int32_t y = 0; y < expected->height; ++y)
            for (int32_t x = 0; x < expected->width; ++x)
                if (is.get(x, y, channel) != expected.get(x, y, channel)) {
                    std::ostringstream out;
                    out << "x " << x << " y " << y << " channel " << channel << ": "
                        << is.get(x, y, channel) << " in place of " << expected.get(x, y, channel)
                        << " in " << expected.shape().text();
                    return out.str();
                }
    return "";
}

std::string byteDifference(const Image& is, const Image& expected) {
    for (size_t i = 0; i < expected.size(); ++i)
        if (is.data()[i] != expected.data()[i]) {
            std::ostringstream out;
            out << "byte " << i << ": " << int{is.data()[i]} << " in place of "
                << int{expected.data()[i]} << " in " << expected.shape().text();
            return out.str();
        }
    return "";
}

} // namespace kit
