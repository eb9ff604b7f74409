// Plain images for tests: a header and its block, with guard bytes round the block.
#ifndef KIT_IMAGE_H
#define KIT_IMAGE_H

#include "kit/random.h"

#include "frame/daxlib.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kit {

inline constexpr int32_t depths[] = {DAX_DEPTH_1U,  DAX_DEPTH_8U,  DAX_DEPTH_8S,
                                     DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S};

inline int32_t bitsOf(int32_t depth) { return depth & 0x7FFFFFFF; }
inline bool isSigned(int32_t depth) { return depth < 0; }
// 0 for bits, which have no address of their own.
inline int32_t bytesOf(int32_t depth) { return bitsOf(depth) / 8; }
int64_t leastOf(int32_t depth);
int64_t mostOf(int32_t depth);

// One sample in memory; `bit` counts from a byte's top and is of use in the bitonal depth alone.
int64_t readSample(const uint8_t* at, int32_t depth, int64_t bit = 0);
void writeSample(uint8_t* at, int32_t depth, int64_t value, int64_t bit = 0);

// What a header is made from. Everything but `slack` and `shift` ends up in its fields.
struct Shape {
    int32_t depth = DAX_DEPTH_8U;
    int32_t channels = 1;
    int32_t width = 1;
    int32_t height = 1;
    int32_t order = DAX_DATA_PIXEL;
    int32_t align = 4;
    int32_t origin = 0;
    int32_t slack = 0; // bytes by which `widthStep` is longer than the fields say
    int32_t shift = 0; // bytes that the data lie past an address aligned to 8
    std::optional<DaxROI> roi = {};

    int64_t rowStep() const; // without slack
    std::string text() const;
};

void PrintTo(const Shape& shape, std::ostream* out);

// Damaged guards are a test failure, found when the image goes. The address sanitizer finds reads
// there as well.
class Image {
public:
    explicit Image(const Shape& theShape);
    Image(const Shape& theShape, Random& random) : Image(theShape) { fill(random); }
    Image(const Image& other); // a clone: its own block, the same bytes, the same header otherwise
    Image& operator=(const Image& other) = delete;
    ~Image();

    operator DaxImage*() { return &header; }
    const DaxImage* operator->() const { return &header; }
    DaxImage* operator->() { return &header; }

    const Shape& shape() const { return made; }
    uint8_t* data() const { return block; }
    size_t size() const { return blockSize; }
    std::vector<uint8_t> bytes() const { return {block, block + blockSize}; }
    void takeBytes(const Image& other);
    bool guardsIntact() const;

    // Random bytes everywhere, with the ends of the depth's range over-represented among the
    // samples.
    void fill(Random& random);

    // Samples by the definition of the layout, with the fields that the header has now; channels
    // count from 1.
    int64_t get(int32_t x, int32_t y, int32_t channel) const;
    void set(int32_t x, int32_t y, int32_t channel, int64_t value);

    DaxImage header;
    DaxROI roi; // the header's region, if it has one

private:
    uint8_t* place(int32_t x, int32_t y, int32_t channel, int64_t* bit) const;

    Shape made;
    size_t blockSize;
    std::vector<uint8_t> store;
    uint8_t* block;
};

// The first place where two images of one shape differ, in words; empty when there is none.
std::string pixelDifference(const Image& is, const Image& expected);
std::string byteDifference(const Image& is, const Image& expected);

} // namespace kit

#endif
