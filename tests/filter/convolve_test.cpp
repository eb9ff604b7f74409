// daxConvolve2D against a plain model of its sums, shifts and merges.

#include "filter/window.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <bit>
#include <cmath>
#include <memory>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using window::Rect;
using Lines = std::vector<std::string>;

struct Kernel {
    int32_t nRows, nCols, anchorX, anchorY, shift;
    std::vector<int8_t> values;

    DaxConvKernel record() { return {nRows, nCols, anchorX, anchorY, shift, values.data()}; }
};

struct Filter {
    std::vector<Kernel> kernels;
    int32_t method = DAX_COMBINE_SUM;

    void run(DaxImage* src, DaxImage* dst, const DaxMapping* mapping = nullptr) {
        std::vector<DaxConvKernel> records;
        for (Kernel& kernel : kernels) records.push_back(kernel.record());
        std::vector<DaxConvKernel*> list;
        for (DaxConvKernel& record : records) list.push_back(&record);
        daxConvolve2D(src, dst, list.data(), static_cast<int32_t>(list.size()), method, mapping);
    }
};

bool isByteFamily(int32_t depth) { return kit::bitsOf(depth) <= 8; }

int64_t wrapped(int64_t value, int32_t bits) {
    return window::asStored(value,
                            bits == 16 ? DAX_DEPTH_16S : static_cast<int32_t>(DAX_DEPTH_32S));
}

// The low 32 bits of a number moved to where floats have no fractions.
int64_t rounded(double value) {
    return static_cast<int32_t>(
        static_cast<uint32_t>(std::bit_cast<uint64_t>(value + 0x1p52 + 0x1p32)));
}

int64_t shifted(int64_t value, uint32_t count) { return value >> std::min(count, 62u); }

// One rectangle of one plain source, row by row.
class Model {
public:
    Model(const Filter& theFilter, const Image& theSrc, Image& theDst)
        : filter(theFilter), src(theSrc), dst(theDst) {
        for (const Kernel& kernel : filter.kernels) {
            left = std::max(left, kernel.anchorX);
            above = std::max(above, kernel.anchorY);
            right = std::max(right, kernel.nCols - kernel.anchorX);
        }
    }

    void run(Rect from, Rect to) {
        const int32_t channels = dst->nChannels - (dst->alphaChannel != 0 ? 1 : 0);
        for (int32_t channel = 1; channel <= channels; ++channel)
            for (int32_t y = 0; y < to.height; ++y) row(from, to, channel, y);
    }

private:
    const Filter& filter;
    const Image& src;
    Image& dst;
    int32_t left = 0, above = 0, right = 1;

    // A cell of a row of the cache; `column` counts from the row's first.
    int64_t cell(const Rect& from, int32_t channel, int32_t column, int32_t y,
                 int32_t pitch) const {
        const auto sample = [&](int32_t at) {
            return window::sampleAt(src, from.x - left + at, y, channel);
        };
        const int32_t depth = dst->depth;
        if (depth == DAX_DEPTH_1U || depth == DAX_DEPTH_8U)
            return window::asStored(sample(column), DAX_DEPTH_8U);
        if (depth != DAX_DEPTH_32S || src->depth == DAX_DEPTH_32S)
            return window::asStored(sample(column), depth);
        int64_t pair = 0; // of 16-bit samples
        for (int32_t half = 0; half < 2; ++half)
            if (2 * column + half < pitch)
                pair += (sample(2 * column + half) & 0xFFFF) << 16 * half;
        return wrapped(pair, 32);
    }

    double sum(const Kernel& kernel, const Rect& from, int32_t channel, int32_t x, int32_t y,
               int32_t width) const {
        const int32_t pitch = left + width + right - 1;
        double exact = 0;
        int64_t total = 0;
        for (int32_t r = 0; r < kernel.nRows; ++r) {
            for (int32_t c = 0; c < kernel.nCols; ++c) {
                const int64_t coef = kernel.values[static_cast<size_t>(r * kernel.nCols + c)];
                if (coef == 0) continue;
                const int32_t column = left - kernel.anchorX + c;
                const int64_t product =
                    coef * cell(from, channel, column + x, from.y + y + r - kernel.anchorY, pitch);
                exact += static_cast<double>(product);
                total += product;
                if (kit::bitsOf(dst->depth) == 16) total = wrapped(total, 32);
                if (!isByteFamily(dst->depth)) continue;
                const int32_t address = (y % 65 + above - kernel.anchorY + r) * pitch + column;
                const int32_t head = std::min((8 - address % 8) % 8, width);
                const bool grouped = x >= head && x < head + (width - head) / 8 * 8;
                total =
                    grouped ? std::clamp<int64_t>(total, INT16_MIN, INT16_MAX) : wrapped(total, 16);
            }
        }
        return dst->depth == static_cast<int32_t>(DAX_DEPTH_32S) ? exact
                                                                 : static_cast<double>(total);
    }

    enum Form { store, add, inPlace };

    double shift(double sum, uint32_t count, Form form, bool single) const {
        const int32_t bits = kit::bitsOf(dst->depth);
        if (bits == 32) return static_cast<double>(shifted(rounded(sum), count));
        const auto value = static_cast<int64_t>(sum);
        if (bits == 1 || !single) return static_cast<double>(shifted(value, count));
        if (bits == 8 && form == store) return sum;
        if (bits == 8 || form == add) return static_cast<double>(shifted(value, count % 32));
        const int64_t low = shifted(wrapped(value, 16), count % 32);
        return static_cast<double>(wrapped((value & ~int64_t{0xFFFF}) | (low & 0xFFFF), 32));
    }

    double kept(double value) const {
        if (dst->depth == static_cast<int32_t>(DAX_DEPTH_32S)) return value;
        return static_cast<double>(
            wrapped(static_cast<int64_t>(value), dst->depth == DAX_DEPTH_1U ? 16 : 32));
    }

    void row(const Rect& from, const Rect& to, int32_t channel, int32_t y) {
        const bool squares = filter.method == 1 || filter.method == 2;
        for (int32_t x = 0; x < to.width; ++x) {
            double merged = 0;
            bool first = true;
            for (size_t k = filter.kernels.size(); k-- > 0; first = false) {
                const Kernel& kernel = filter.kernels[k];
                double s = sum(kernel, from, channel, x, y, to.width);
                const Form form = squares              ? inPlace
                                  : first              ? store
                                  : filter.method == 0 ? add
                                                       : inPlace;
                if (kernel.shift != 0)
                    s = shift(s, static_cast<uint32_t>(kernel.shift), form,
                              x == to.width - 1 && to.width % 2 != 0);
                if (squares) {
                    const auto whole = static_cast<int64_t>(s);
                    s = dst->depth == static_cast<int32_t>(DAX_DEPTH_32S)
                            ? s * s
                            : kept(static_cast<double>(wrapped(whole * whole, 32)));
                }
                merged = first                ? s
                         : filter.method == 3 ? std::max(merged, s)
                         : filter.method == 4 ? std::min(merged, s)
                                              : kept(merged + s);
            }
            if (filter.method == 2) {
                const bool whole = dst->depth != static_cast<int32_t>(DAX_DEPTH_32S);
                if (merged >= 0)
                    merged = whole ? std::trunc(std::sqrt(merged)) : std::sqrt(merged);
                else
                    merged = dst->depth == DAX_DEPTH_1U ? 0 : INT32_MIN;
            }
            int64_t result = 0;
            if (dst->depth == DAX_DEPTH_1U)
                result = x < to.width / 8 * 8 ? merged > 0 : merged >= 0;
            else if (dst->depth == static_cast<int32_t>(DAX_DEPTH_32S))
                result = merged < -2147483648.0   ? INT32_MIN
                         : merged >= 2147483647.0 ? INT32_MAX
                                                  : rounded(merged);
            else
                result = std::clamp(static_cast<int64_t>(merged), kit::leastOf(dst->depth),
                                    kit::mostOf(dst->depth));
            dst.set(to.x + x, to.y + y, channel, result);
        }
    }
};

// Both regions of a call, of one size.
struct Regions {
    Rect src, dst;

    Regions(const DaxImage* srcImage, const DaxImage* dstImage)
        : src(window::regionOf(srcImage)), dst(window::regionOf(dstImage)) {
        src.height = dst.height = std::min(src.height, dst.height);
        src.width = dst.width = std::min(src.width, dst.width);
    }
};

Kernel anyKernel(Random& random) {
    Kernel kernel;
    kernel.nRows = random.chance(90) ? random.in(1, 5) : random.in(6, 12);
    kernel.nCols = random.chance(90) ? random.in(1, 5) : random.in(6, 12);
    kernel.anchorX = random.in(0, kernel.nCols - 1);
    kernel.anchorY = random.in(0, kernel.nRows - 1);
    kernel.shift = random.chance(50)   ? 0
                   : random.chance(80) ? random.in(1, 9)
                                       : random.oneOf({15, 16, 17, 31, 32, 33, 37, 40, -1});
    const int32_t size = random.oneOf({0, 2, 12, 128});
    for (int32_t i = 0; i < kernel.nRows * kernel.nCols; ++i)
        kernel.values.push_back(static_cast<int8_t>(random.in(-size, std::min(size, 127))));
    return kernel;
}

Filter anyFilter(Random& random) {
    Filter filter;
    const int32_t count = random.chance(50) ? 1 : random.in(2, 4);
    for (int32_t i = 0; i < count; ++i) filter.kernels.push_back(anyKernel(random));
    filter.method = random.in(0, 4);
    return filter;
}

struct Pair {
    int32_t src, dst;
};
const int32_t s32 = static_cast<int32_t>(DAX_DEPTH_32S);
const Pair pairs[] = {{DAX_DEPTH_1U, DAX_DEPTH_1U},
                      {DAX_DEPTH_1U, DAX_DEPTH_8U},
                      {DAX_DEPTH_8U, DAX_DEPTH_8U},
                      {DAX_DEPTH_1U, static_cast<int32_t>(DAX_DEPTH_8S)},
                      {DAX_DEPTH_8U, static_cast<int32_t>(DAX_DEPTH_8S)},
                      {static_cast<int32_t>(DAX_DEPTH_8S), static_cast<int32_t>(DAX_DEPTH_8S)},
                      {DAX_DEPTH_16U, DAX_DEPTH_16U},
                      {DAX_DEPTH_16U, static_cast<int32_t>(DAX_DEPTH_16S)},
                      {static_cast<int32_t>(DAX_DEPTH_16S), static_cast<int32_t>(DAX_DEPTH_16S)},
                      {DAX_DEPTH_16U, s32},
                      {static_cast<int32_t>(DAX_DEPTH_16S), s32},
                      {s32, s32}};

Shape shapeOf(Random& random, int32_t depth, int32_t channels) {
    Shape shape = kit::anyShape(random);
    shape.depth = depth;
    shape.channels = depth == DAX_DEPTH_1U ? 1 : channels;
    if (random.chance(10)) shape.height = random.in(60, 140);
    shape.slack = random.chance(80) ? 0 : random.in(1, 9);
    if (shape.roi)
        shape.roi = kit::anyRoi(random, shape.width, shape.height, random.in(0, shape.channels));
    return shape;
}

struct Images {
    Image src, dst;

    Images(Random& random, const Pair& pair, int32_t channels, bool oddConstants)
        : src(shapeOf(random, pair.src, channels), random),
          dst(shapeOf(random, pair.dst, channels), random) {
        window::anyBorders(random, src, pair.src == DAX_DEPTH_1U && !oddConstants);
        if (src->nChannels != dst->nChannels) return;
        if (random.chance(20)) src->alphaChannel = dst->alphaChannel = random.in(1, src->nChannels);
    }
    explicit Images(Random& random, bool oddConstants = true)
        : Images(random, random.of(pairs), oddConstants) {}
    Images(Random& random, const Pair& pair, bool oddConstants)
        : Images(random, pair, pair.src == DAX_DEPTH_1U ? 1 : random.in(1, 4), oddConstants) {}
};

TEST(Convolve, AsTheModelHasIt) {
    kit::Reports reports;
    kit::forSeeds(1500, [&](Random& random) {
        Images images(random);
        Filter filter = anyFilter(random);
        Image expected = images.dst;
        const Regions regions(images.src, images.dst);
        Model(filter, images.src, expected).run(regions.src, regions.dst);
        const Image before = images.src;
        kit::forEachIsa([&] {
            Image dst = images.dst;
            filter.run(images.src, dst);
            EXPECT_EQ(kit::byteDifference(dst, expected), "") << images.src.shape().text();
            EXPECT_EQ(kit::byteDifference(images.src, before), "");
        });
    });
    EXPECT_EQ(reports.take(), Lines{});
}

// Rows of many vectors: in one pass and in several, with the limits of 16 bits in the way, and with
// the channels of pixels side by side.
TEST(Convolve, LongRowsOfEveryNumberOfTaps) {
    kit::forSeeds(30, [&](Random& random) {
        for (const Pair& pair : pairs) {
            const int32_t rows = random.in(1, 4), columns = random.in(1, 20);
            Filter filter;
            filter.kernels.push_back(
                {rows, columns, random.in(0, columns - 1), 0, random.in(0, 3), {}});
            const bool narrow = random.chance(50);
            for (int32_t i = 0; i < rows * columns; ++i)
                filter.kernels[0].values.push_back(static_cast<int8_t>(
                    narrow ? random.in(-1, 2) : random.oneOf({-128, -1, 1, 3, 127})));
            const int32_t channels = pair.src == DAX_DEPTH_1U ? 1 : random.oneOf({1, 1, 3, 4});
            const int32_t width = random.in(1, 260) / channels + 1;
            Image src({.depth = pair.src, .channels = channels, .width = width, .height = 3},
                      random);
            Image dst({.depth = pair.dst, .channels = channels, .width = 300, .height = 2}, random);
            window::anyBorders(random, src, pair.src == DAX_DEPTH_1U);
            if (random.chance(50)) src->alphaChannel = dst->alphaChannel = channels;
            Image expected = dst;
            const Regions regions(src, dst);
            Model(filter, src, expected).run(regions.src, regions.dst);
            kit::forEachIsa([&] {
                Image result = dst;
                filter.run(src, result);
                EXPECT_EQ(kit::byteDifference(result, expected), "") << src.shape().text();
            });
        }
    });
}

// Where sums just leave 16 bits: each batch of rows starts at the same place, and it's the cells,
// not the depth, that decide.
TEST(Convolve, SumsNextToTheLimits) {
    const auto expect = [](Filter filter, Image& src, int32_t dstDepth) {
        Image dst({.depth = dstDepth, .width = src->width, .height = src->height});
        Image expected = dst;
        const Regions regions(src, dst);
        Model(filter, src, expected).run(regions.src, regions.dst);
        kit::forEachIsa([&] {
            Image result = dst;
            filter.run(src, result);
            EXPECT_EQ(kit::byteDifference(result, expected), "") << src.shape().text();
        });
    };
    const auto s8 = static_cast<int32_t>(DAX_DEPTH_8S);
    Random random(5);
    Image tall({.width = 21, .height = 140}, random);
    expect({{{3, 3, 1, 1, 7, {100, 99, 98, 97, 96, 95, 94, 93, 92}}}}, tall, DAX_DEPTH_8U);
    Image bytes({.width = 70, .height = 2}),
        bits({.depth = DAX_DEPTH_1U, .width = 70, .height = 2});
    Image signedBytes({.depth = s8, .width = 70, .height = 2});
    for (int32_t x = 0; x < 70; ++x) {
        bytes.set(x, 0, 1, 255);
        signedBytes.set(x, 0, 1, -128);
    }
    daxSetBorderMode(bits, DAX_BORDER_CONST, 15, 255);
    for (const int8_t more : {int8_t{1}, int8_t{2}}) {
        const auto less = static_cast<int8_t>(1 - more);
        for (const std::vector<int8_t>& values :
             {std::vector<int8_t>{127, 0, more}, std::vector<int8_t>{-128, 0, less}}) {
            expect({{{1, 3, 0, 0, 7, values}}}, bytes, DAX_DEPTH_8U);
            expect({{{3, 1, 0, 2, 7, {values[0], values[2], 0}}}}, bits, DAX_DEPTH_8U);
        }
        expect({{{1, 5, 0, 0, 7, {127, 0, 127, 0, static_cast<int8_t>(more + 1)}}}}, signedBytes,
               s8);
    }
}

TEST(Convolve, RootsAreTruncated) {
    Image src({.depth = DAX_DEPTH_16U}), dst({.depth = DAX_DEPTH_16U});
    Filter filter = {{{1, 1, 0, 0, 0, {1}}, {1, 1, 0, 0, 0, {1}}}, DAX_COMBINE_ROOT_SUM_SQUARES};
    src.set(0, 0, 1, 13860); // twice its square is one less than that of 19601
    filter.run(src, dst);
    EXPECT_EQ(dst.get(0, 0, 1), 19600);
}

TEST(Convolve, InPlace) {
    kit::forSeeds(400, [&](Random& random) {
        const Pair& pair = random.of(pairs);
        if (pair.src != pair.dst) return;
        Images images(random, pair, false);
        Filter filter = anyFilter(random);
        Image expected = images.src;
        filter.run(images.src, expected);
        filter.run(images.src, images.src);
        EXPECT_EQ(kit::byteDifference(images.src, expected), "");
    });
}

// Headers that share memory: 65 rows are read before the first of them is written.
TEST(Convolve, MemoryInCommon) {
    kit::forSeeds(20, [](Random& random) {
        const int32_t depth = random.oneOf({static_cast<int32_t>(DAX_DEPTH_8U), 16, s32});
        const int32_t down = random.in(0, 9), height = 150 - down;
        const Image before({.depth = depth, .channels = random.in(1, 3), .width = 9, .height = 151},
                           random);
        Filter filter = {{{3, 3, 1, 1, 2, {1, -2, 1, 3, 4, -2, 1, 0, -1}}}};
        Image read = before, expected = before;
        for (int32_t y = 0; y < height; y += 65) {
            const Rect from = {0, y, std::min(65, height - y), 9};
            for (int32_t row = y == 0 ? 0 : y + 1; row <= y + from.height; ++row)
                for (int32_t x = 0; x < 9; ++x)
                    for (int32_t c = 1; c <= read->nChannels; ++c)
                        read.set(x, row, c, expected.get(x, row, c));
            Model(filter, read, expected).run(from, {0, y + down, from.height, 9});
        }
        kit::forEachIsa([&] {
            Image image = before;
            DaxImage moved = *image;
            DaxROI to = {0, 0, down, height, 9};
            moved.roi = &to;
            filter.run(image, &moved);
            EXPECT_EQ(kit::byteDifference(image, expected), "") << down;
        });
    });
}

// Rows that begin before the ones above end: a channel is finished before the next one starts.
TEST(Convolve, RowsThatOverlap) {
    kit::forSeeds(60, [](Random& random) {
        const int32_t depth = random.oneOf({static_cast<int32_t>(DAX_DEPTH_8U), 16, s32});
        const Shape shape = {.depth = depth, .channels = random.in(1, 4), .width = 70, .height = 9};
        const Image src(shape, random);
        Image dst(shape, random);
        dst->widthStep = random.in(1, dst->widthStep);
        Filter filter = {{{2, 3, 1, 0, random.in(0, 1), {1, -2, 1, 3, 4, -2}}}};
        Image expected = dst;
        Model(filter, src, expected).run({0, 0, 9, 70}, {0, 0, 9, 70});
        kit::forEachIsa([&] {
            Image read = src, result = dst;
            filter.run(read, result);
            EXPECT_EQ(kit::byteDifference(result, expected), "") << result->widthStep;
        });
    });
}

// Each piece counts as a rectangle of its own: its last pixels are those of its rows.
TEST(Convolve, Tiles) {
    kit::Reports reports;
    kit::forSeeds(500, [&](Random& random) {
        Images images(random, false);
        Filter filter = anyFilter(random);
        const int32_t set = random.in(1, 3);
        const int32_t tileWidth = random.in(1, 3) * 8;
        const int32_t tileHeight = random.in(1, 3) * 8;
        kit::TileLog log;
        kit::Tiles srcTiles(images.src, 'A', 16, 8, log);
        kit::Tiles dstTiles(images.dst, 'D', tileWidth, tileHeight, log);
        DaxMapping mapping = {random.in(0, images.dst->width - 1),
                              random.in(0, images.dst->height - 1)};
        const bool mapped = random.chance(30);

        Image expected = images.dst;
        const Regions regions(images.src, images.dst);
        Model model(filter, images.src, expected);
        const Rect& to = regions.dst;
        Lines writes;
        if ((set & 2) == 0) {
            model.run(regions.src, to);
        } else if (to.width > 0 && to.height > 0) {
            int32_t srcY = regions.src.y;
            int32_t firstRow = to.y / tileHeight, lastRow = (to.y + to.height - 1) / tileHeight;
            int32_t firstCol = to.x / tileWidth, lastCol = (to.x + to.width - 1) / tileWidth;
            if (mapped) {
                firstRow = lastRow = mapping.yDst / tileHeight;
                firstCol = lastCol = mapping.xDst / tileWidth;
            }
            for (int32_t row = firstRow; row <= lastRow; ++row) {
                const int32_t y = std::max(to.y, row * tileHeight);
                const int32_t height =
                    std::max(0, std::min(to.y + to.height, (row + 1) * tileHeight) - y);
                int32_t srcX = regions.src.x;
                for (int32_t col = firstCol; col <= lastCol; ++col) {
                    const int32_t x = std::max(to.x, col * tileWidth);
                    const int32_t width =
                        std::max(0, std::min(to.x + to.width, (col + 1) * tileWidth) - x);
                    model.run({srcX, srcY, height, width}, {x, y, height, width});
                    const std::string place = std::to_string(col) + "," + std::to_string(row);
                    writes.push_back("D write " + place);
                    writes.push_back("D release " + place);
                    srcX += width;
                }
                srcY += height;
            }
        }
        filter.run((set & 1) != 0 ? srcTiles : static_cast<DaxImage*>(images.src),
                   (set & 2) != 0 ? dstTiles : static_cast<DaxImage*>(images.dst),
                   mapped ? &mapping : nullptr);
        EXPECT_EQ(kit::pixelDifference((set & 2) != 0 ? dstTiles.gathered() : images.dst, expected),
                  "")
            << set;
        EXPECT_FALSE(srcTiles.holds() || dstTiles.holds());
        EXPECT_EQ(dstTiles.header.roi, images.dst->roi == nullptr ? nullptr : &dstTiles.roi);
        Lines seen;
        for (const std::string& line : log.lines)
            if (line[0] == 'D') seen.push_back(line);
        EXPECT_EQ(seen, writes);
    });
    EXPECT_EQ(reports.take(), Lines{});
}

// The surroundings are those of a whole tile, whatever part of it is written, and come after it.
TEST(Convolve, GathersTheSourceOfWholeTiles) {
    Random random(4);
    Image src({.width = 40, .height = 20, .roi = DaxROI{0, 8, 8, 2, 20}}, random);
    Image dst({.width = 40, .height = 20, .roi = DaxROI{0, 14, 0, 2, 20}}, random);
    kit::TileLog log;
    kit::Tiles srcTiles(src, 'A', 8, 32, log);
    kit::Tiles dstTiles(dst, 'D', 16, 8, log);
    Filter filter = {{{3, 3, 1, 1, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9}}}};
    filter.run(srcTiles, dstTiles);
    // Columns 7 to 24, 9 to 26 and 25 to 42, of which there are 40.
    EXPECT_EQ(window::requests(log), "Dw0,0 Ar0,0 Ar1,0 Ar2,0 Ar3,0 Dw1,0 Ar1,0 Ar2,0 Ar3,0 "
                                     "Dw2,0 Ar3,0 Ar4,0 ");
}

// In a copy of the source a border constant is a bit, elsewhere a byte.
TEST(Convolve, BorderConstantsOfBits) {
    Image bits({.depth = DAX_DEPTH_1U, .width = 9}), bytes({.width = 9});
    daxSetBorderMode(bits, DAX_BORDER_CONST, 15, 258);
    Filter left = {{{1, 2, 1, 0, 0, {1, 0}}}};
    left.run(bits, bytes);
    EXPECT_EQ(bytes.get(0, 0, 1), 2);
    kit::TileLog log;
    kit::Tiles tiles(bits, 'A', 16, 8, log);
    left.run(tiles, bytes);
    EXPECT_EQ(bytes.get(0, 0, 1), 0);
    left.run(bits, bits);
    EXPECT_EQ(bits.get(0, 0, 1), 0);
}

TEST(Convolve, TiledInPlace) {
    kit::forSeeds(100, [&](Random& random) {
        Image image(shapeOf(random, DAX_DEPTH_8U, random.in(1, 3)), random);
        window::anyBorders(random, image, false);
        Filter filter = {{{3, 3, 1, 1, 0, {1, -2, 3, 4, 0, -6, 7, 8, -9}}}};
        Image expected = image;
        filter.run(image, expected);
        kit::TileLog log;
        kit::Tiles tiles(image, 'A', 16, 8, log);
        filter.run(tiles, tiles);
        EXPECT_EQ(kit::pixelDifference(tiles.gathered(), expected), "");
    });
}

// By hand, where the rules for the last pixels show.
TEST(Convolve, LastPixelsOfARow) {
    const auto rowOf = [](const Image& image) {
        std::vector<int64_t> row;
        for (int32_t x = 0; x < image->width; ++x) row.push_back(image.get(x, 0, 1));
        return row;
    };
    Filter half = {{{1, 1, 0, 0, 1, {1}}}};
    Image bytes({.width = 3}), bytesOut({.width = 3});
    for (int32_t x = 0; x < 3; ++x) bytes.set(x, 0, 1, 100);
    half.run(bytes, bytesOut);
    EXPECT_EQ(rowOf(bytesOut), (std::vector<int64_t>{50, 50, 100}));

    Filter twice = {{{1, 1, 0, 0, 1, {2}}}};
    Image words({.depth = DAX_DEPTH_16U, .width = 3}),
        wordsOut({.depth = DAX_DEPTH_16U, .width = 3});
    for (int32_t x = 0; x < 3; ++x) words.set(x, 0, 1, 0x4000);
    twice.run(words, wordsOut);
    EXPECT_EQ(rowOf(wordsOut), (std::vector<int64_t>{0x4000, 0x4000, 0xC000}));

    Filter zero = {{{1, 1, 0, 0, 0, {0}}}};
    Image bits({.depth = DAX_DEPTH_1U, .width = 9}), bitsOut({.depth = DAX_DEPTH_1U, .width = 9});
    zero.run(bits, bitsOut);
    EXPECT_EQ(rowOf(bitsOut), (std::vector<int64_t>{0, 0, 0, 0, 0, 0, 0, 0, 1}));

    Image read({.depth = DAX_DEPTH_8U, .width = 1}),
        readOut({.depth = static_cast<int32_t>(DAX_DEPTH_8S), .width = 1});
    read.set(0, 0, 1, 200);
    Filter one = {{{1, 1, 0, 0, 0, {1}}}};
    one.run(read, readOut);
    EXPECT_EQ(rowOf(readOut), (std::vector<int64_t>{-56}));
}

TEST(Convolve, Reports) {
    kit::Reports reports;
    Random random(1);
    Image src({.channels = 3, .width = 20, .height = 10}, random);
    Image dst({.channels = 3, .width = 20, .height = 10}, random);
    const Image before = dst;
    const std::string prefix = "-5 daxConvolve2D daxcnv2d ";
    int8_t values[4] = {1, 2, 3, 4};
    DaxConvKernel good = {2, 2, 0, 0, 0, values};
    DaxConvKernel bad = {2, 2, 0, 2, 0, values};
    DaxConvKernel* list[101];
    std::fill_n(list, 101, &good);
    const auto expect = [&](DaxImage* a, DaxImage* d, DaxConvKernel* const* kernels, int32_t count,
                            int32_t method, const DaxMapping* mapping, const Lines& texts) {
        daxConvolve2D(a, d, kernels, count, method, mapping);
        Lines expected;
        for (const std::string& text : texts) expected.push_back(prefix + text);
        EXPECT_EQ(reports.take(), expected);
    };
    expect(nullptr, nullptr, nullptr, 0, 9, nullptr, {"srcImage==0", "dstImage==0"});
    DaxImage broken = *src;
    broken.align = 3;
    const std::string align =
        "Image align is invalid                                                \n";
    expect(&broken, dst, nullptr, 0, 9, nullptr, {align});
    expect(src, &broken, nullptr, 0, 9, nullptr, {align});
    expect(src, dst, nullptr, 0, 9, nullptr, {"kernel==0"});
    expect(src, dst, list, 0, 9, nullptr, {"(nKernels<=0 || nKernels>100)"});
    expect(src, dst, list, 101, 9, nullptr, {"(nKernels<=0 || nKernels>100)"});
    const DaxMapping outside = {20, 0};
    list[1] = &bad;
    expect(src, dst, list, 2, 5, &outside,
           {"( combineMethod != 0 && combineMethod != 1 && combineMethod != 2 && combineMethod != "
            "3 && combineMethod != 4)"});
    expect(src, dst, list, 2, 4, &outside, {"ownBadKernel(kernel[i])"});
    list[0] = nullptr;
    expect(src, dst, list, 2, 4, &outside, {"kernel[i]==0"});
    list[0] = list[1] = &good;
    expect(src, dst, list, 2, 4, &outside,
           {"( mapping->xDst < 0 || mapping->xDst > dstImage->width-1 || mapping->yDst < 0 || "
            "mapping->yDst > "
            "dstImage->height-1)"});
    src->alphaChannel = 1;
    expect(src, dst, list, 2, 4, nullptr, {"Uncompatible images"});
    Image signedBytes(
        {.depth = static_cast<int32_t>(DAX_DEPTH_8S), .channels = 2, .width = 20, .height = 10},
        random);
    expect(signedBytes, dst, list, 2, 4, nullptr, {}); // no arithmetic for the pair
    EXPECT_EQ(kit::byteDifference(dst, before), "");
    src->alphaChannel = 0;
    daxSetErrStatus(-3);
    expect(src, dst, nullptr, 1, 0, nullptr, {});
    daxSetErrStatus(-3);
    expect(src, dst, list, 1, 0, nullptr, {});
    EXPECT_EQ(kit::byteDifference(dst, before), "");
    expect(src, dst, list, 100, DAX_COMBINE_MAX, nullptr, {});
    EXPECT_NE(kit::byteDifference(dst, before), "");

    kit::TileLog log;
    kit::Tiles tiles(dst, 'D', 8, 8, log);
    src->alphaChannel = 1;
    expect(src, tiles, list, 1, 0, nullptr, {"Uncompatible images"});
    EXPECT_EQ(log.lines, (Lines{"D write 0,0", "D release 0,0"}));
}

} // namespace
