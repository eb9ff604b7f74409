// daxBlur against a plain model: running sums, as they are defined, and the walk of tiles.

#include "filter/blur.h"
#include "filter/blur_bytes.h"
#include "filter/window.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using window::Rect;
using Lines = std::vector<std::string>;

struct Window {
    int32_t nRows, nCols, anchorX, anchorY;

    void run(DaxImage* src, DaxImage* dst, const DaxMapping* mapping = nullptr) const {
        daxBlur(src, dst, nRows, nCols, anchorX, anchorY, mapping);
    }
};

// One channel of one piece, cell by cell; the cells run against the image.
template <class Cell, class Sum>
void blurPlane(const Window& window, const Image& src, Image& dst, const Rect& from, const Rect& to,
               int32_t channel) {
    const auto sample = [&](int32_t x, int32_t y) {
        const int64_t value = window::sampleAt(src, from.x - window.anchorX + x,
                                               from.y - window.anchorY + y, channel);
        return static_cast<int32_t>(window::asStored(value, src->depth));
    };
    const int32_t cells = to.width + window.nCols;
    const float scale = 1.0f / static_cast<float>(window.nRows * window.nCols);
    std::vector<Cell> cell(static_cast<size_t>(cells));
    const auto at = [&](int32_t i) -> Cell& { return cell[static_cast<size_t>(i)]; };
    for (int32_t i = 0; i < cells; ++i)
        for (int32_t r = 0; r < window.nRows; ++r)
            at(cells - 1 - i) += static_cast<Cell>(sample(i, r));
    for (int32_t y = 0; y < to.height; ++y) {
        Sum sum = 0;
        for (int32_t i = cells - 1; i >= to.width; --i) sum += static_cast<Sum>(at(i));
        for (int32_t i = to.width - 1; i >= 0; --i) {
            const double mean = static_cast<double>(sum) * static_cast<double>(scale);
            const bool whole = mean > -2147483649.0 && mean < 2147483648.0;
            const int32_t result = whole ? static_cast<int32_t>(mean) : INT32_MIN;
            dst.set(to.x + to.width - 1 - i, to.y + y, channel,
                    window::asStored(result, dst->depth));
            sum += static_cast<Sum>(at(i) - at(i + window.nCols));
        }
        for (int32_t i = cells - 1; i >= 0; --i) {
            const int32_t x = cells - 1 - i;
            const uint32_t moved = static_cast<uint32_t>(sample(x, y + window.nRows)) -
                                   static_cast<uint32_t>(sample(x, y));
            at(i) += static_cast<Cell>(static_cast<int32_t>(moved));
        }
    }
}

struct Channels {
    int32_t first, last;

    Channels(const DaxImage* src, const DaxImage* dst) : first(1), last(INT32_MAX) {
        for (const DaxImage* image : {src, dst}) {
            const int32_t coi = image->roi != nullptr ? image->roi->coi : 0;
            first = std::max(first, coi);
            last = std::min(last, coi != 0 ? coi : image->nChannels);
        }
    }
};

void runModel(const Window& window, const Image& src, Image& dst, const Rect& from,
              const Rect& to) {
    const Channels channels(&src.header, &dst.header);
    if (to.width <= 0 || to.height <= 0) return;
    for (int32_t channel = channels.first; channel <= channels.last; ++channel) {
        if (window.nRows == 1 && window.nCols == 1) {
            for (int32_t y = 0; y < to.height; ++y)
                for (int32_t x = 0; x < to.width; ++x) {
                    const int64_t value = window::sampleAt(src, from.x - window.anchorX + x,
                                                           from.y - window.anchorY + y, channel);
                    dst.set(to.x + x, to.y + y, channel, window::asStored(value, dst->depth));
                }
        } else if (src->depth == static_cast<int32_t>(DAX_DEPTH_32S)) {
            blurPlane<float, double>(window, src, dst, from, to, channel);
        } else {
            blurPlane<int32_t, int32_t>(window, src, dst, from, to, channel);
        }
    }
}

struct Regions {
    Rect src, dst;

    Regions(const DaxImage* srcImage, const DaxImage* dstImage)
        : src(window::regionOf(srcImage)), dst(window::regionOf(dstImage)) {
        src.height = dst.height = std::min(src.height, dst.height);
        src.width = dst.width = std::min(src.width, dst.width);
    }
};

std::vector<Image> anyImages(Random& random, bool tileable = false) {
    Shape src = kit::anyShape(random);
    Shape dst = kit::anyShape(random);
    src.depth = dst.depth = random.of(std::vector<int32_t>(kit::depths + 1, kit::depths + 6));
    for (Shape* shape : {&src, &dst}) {
        shape->slack = tileable || random.chance(80) ? 0 : random.in(1, 9);
        const int32_t coi = random.chance(70) ? 0 : random.in(1, shape->channels);
        if (shape->roi) shape->roi = kit::anyRoi(random, shape->width, shape->height, coi);
    }
    std::vector<Image> images = kit::filledImages(random, {src, dst});
    window::anyBorders(random, images[0], false);
    // An alpha channel is a channel like any other.
    for (Image& image : images) image->alphaChannel = random.in(0, image->nChannels);
    return images;
}

Window anyWindow(Random& random) {
    const int32_t most = random.chance(80) ? 5 : 30;
    const Window window = {random.in(0, most), random.in(0, most), random.in(0, most + 1),
                           random.in(0, most + 1)};
    return random.chance(8) ? Window{1, 1, window.anchorX, window.anchorY} : window;
}

TEST(Blur, AsTheModelHasIt) {
    kit::Reports reports;
    kit::forSeeds(2000, [&](Random& random) {
        std::vector<Image> images = anyImages(random);
        const Window window = anyWindow(random);
        const Regions regions(images[0], images[1]);
        Image expected = images[1];
        runModel(window, images[0], expected, regions.src, regions.dst);
        kit::forEachIsa([&] {
            Image dst = images[1];
            window.run(images[0], dst);
            EXPECT_EQ(kit::byteDifference(dst, expected), "") << images[0].shape().text();
        });
        Image whole = images[0];
        window.run(images[0], whole);
        window.run(images[0], images[0]);
        EXPECT_EQ(kit::byteDifference(images[0], whole), "") << "in place";
    });
    EXPECT_EQ(reports.take(), Lines{});
}

// Means of every size of window, all of whose sums are whole multiples or next to one, against the
// exact product.
TEST(Blur, TruncatesTheExactProduct) {
    for (const int32_t depth : {DAX_DEPTH_8U, static_cast<int32_t>(DAX_DEPTH_8S)})
        for (const int32_t nRows : {1, 2, 3, 5, 7, 11, 25, 41, 101, 149, 170, 700}) {
            for (const int32_t nCols : {1, 3, 10, 49, 101, 147}) {
                if (nRows * nCols == 1) continue;
                const auto scale = static_cast<double>(1.0f / static_cast<float>(nRows * nCols));
                Image src({.depth = depth, .width = nCols, .height = nRows});
                Image dst({.depth = depth});
                for (int64_t value = kit::leastOf(depth); value <= kit::mostOf(depth); ++value)
                    for (const int32_t more : {0, 1}) {
                        memset(src.data(), static_cast<int>(value & 0xFF), src.size());
                        if (value + more <= kit::mostOf(depth)) src.set(0, 0, 1, value + more);
                        int64_t sum =
                            value * nRows * nCols + (value + more <= kit::mostOf(depth) ? more : 0);
                        daxBlur(src, dst, nRows, nCols, 0, 0, nullptr);
                        ASSERT_EQ(dst.get(0, 0, 1),
                                  static_cast<int64_t>(static_cast<double>(sum) * scale))
                            << nRows << "x" << nCols << " of " << value << " and " << more;
                    }
            }
        }
}

// Where means are taken in single precision they are those of the exact product, for all counts of
// pixels and sums next to multiples; between them means don't change.
TEST(Blur, ShortProductsAreTheExactOnes) {
    for (int32_t count = 2; count < 30000; ++count) {
        const OwnBlurScale scale = ownBlurScale(count);
        EXPECT_EQ(scale.scale, static_cast<double>(1.0f / static_cast<float>(count)));
        EXPECT_EQ(scale.single != 0, count <= ownMostBlurBytes);
        if (scale.single == 0) continue;
        const OwnBlurMean by = ownBlurMean(count, false);
        EXPECT_EQ(ownBlurMean(count, true).factor, scale.single);
        int32_t wrong = 0;
        for (int32_t k = -128; k <= 255; ++k)
            for (int32_t sum = k * count - 1; sum <= k * count + 1; ++sum) {
                const auto mean = static_cast<int32_t>(sum * scale.scale);
                wrong += static_cast<int32_t>(static_cast<float>(sum) * scale.single) != mean;
                if (sum < 0 || sum > 255 * count) continue;
                const auto lifted = std::bit_cast<float>(by.base + static_cast<uint32_t>(sum));
                const auto lowByte = [&](float fused) {
                    return static_cast<int32_t>(std::bit_cast<uint32_t>(fused) & 255);
                };
                const int32_t rounded =
                    lowByte(std::fma(lifted, by.factor, 0x1p23F - by.quotient + 255.5F));
                const int64_t whole = static_cast<int64_t>(std::floor(
                    static_cast<long double>(lifted) * static_cast<long double>(by.factor) -
                    static_cast<long double>(by.quotient)));
                wrong += std::max(rounded - by.down, 0) != mean || whole != rounded;
            }
        ASSERT_EQ(wrong, 0) << count;
    }
}

// Sizes about those of vectors and strips, and of what differences of words hold; windows higher
// than the image and wider than sums of bytes serve.
TEST(Blur, LongRows) {
    const auto near = [](Random& random, const std::vector<int32_t>& sizes, int32_t least) {
        return std::max(random.of(sizes) + random.in(-2, 3), least);
    };
    kit::forSeeds(60, [&](Random& random) {
        const int32_t channels = random.chance(50) ? 1 : random.in(2, 5);
        Shape shape = {.depth = random.of(std::vector<int32_t>(kit::depths + 1, kit::depths + 6)),
                       .channels = channels,
                       .width = near(random, {1, 32, 64, 128, 192, 600, 2200, 4096, 4160}, 1),
                       .height = random.in(1, 7),
                       .order = random.in(0, 1)};
        if (random.chance(60)) shape.depth = random.chance(70) ? DAX_DEPTH_8U : DAX_DEPTH_8S;
        std::vector<Image> images;
        images.emplace_back(shape, random);
        if (random.chance(30)) shape.order = 1 - shape.order;
        if (random.chance(30)) shape.channels = random.in(1, 5);
        images.emplace_back(shape, random);
        window::anyBorders(random, images[0], false);
        const int32_t nCols = near(random, {2, 7, 64, 128, 256, 512}, 1);
        const int32_t nRows = random.chance(80) ? random.in(1, 9) : random.in(10, 300);
        const Window window = {nRows, nCols, random.in(0, nCols + 5), random.in(0, nRows + 5)};
        if (nRows * nCols == 1) return;
        for (Image& image : images) {
            const int32_t coi = random.chance(80) ? 0 : random.in(1, image->nChannels);
            if (!random.chance(30)) continue;
            image.roi = {coi, random.in(0, 9), random.in(0, 3), image->height, image->width};
            image.header.roi = &image.roi;
        }
        Image expected = images[1];
        const Regions regions(images[0], images[1]);
        runModel(window, images[0], expected, regions.src, regions.dst);
        kit::forEachIsa([&] {
            Image result = images[1];
            window.run(images[0], result);
            EXPECT_EQ(kit::byteDifference(result, expected), "")
                << images[0].shape().text() << " " << nRows << "x" << nCols;
        });
    });
}

// Rows that begin before the ones above end: a channel is finished before the next one starts, and
// a row before the next.
TEST(Blur, RowsThatOverlap) {
    kit::forSeeds(60, [](Random& random) {
        const Shape shape = {.depth = random.oneOf({static_cast<int32_t>(DAX_DEPTH_8U), 16,
                                                    static_cast<int32_t>(DAX_DEPTH_32S)}),
                             .channels = random.in(1, 4),
                             .width = random.oneOf({70, 1100, 4200}),
                             .height = 6,
                             .order = random.in(0, 1)};
        Image src(shape, random);
        Image dst(shape, random);
        dst->widthStep = random.in(1, dst->widthStep);
        const Window window = {random.in(1, 4), random.in(2, 9), 1, 0};
        Image expected = dst;
        runModel(window, src, expected, {0, 0, 6, shape.width}, {0, 0, 6, shape.width});
        kit::forEachIsa([&] {
            Image result = dst;
            window.run(src, result);
            EXPECT_EQ(kit::byteDifference(result, expected), "") << shape.text();
        });
    });
}

TEST(Blur, Tiles) {
    kit::Reports reports;
    kit::forSeeds(500, [&](Random& random) {
        std::vector<Image> images = anyImages(random, true);
        const Window window = anyWindow(random);
        const int32_t width = random.in(1, 3) * 8;
        const int32_t height = random.in(1, 3) * 8;
        const bool srcTiled = random.chance(50);
        const bool dstTiled = !srcTiled || random.chance(50);
        const bool mapped = dstTiled && random.chance(40);
        const DaxMapping mapping = {random.in(-9, images[1]->width + 9),
                                    random.in(-9, images[1]->height + 9)};
        kit::TileLog log;
        kit::Tiles srcTiles(images[0], 'A', 16, 8, log);
        kit::TileLog dstLog;
        kit::Tiles dstTiles(images[1], 'D', width, height, dstLog);
        dstTiles.atMost = SIZE_MAX;

        Image expected = images[1];
        const Regions regions(images[0], images[1]);
        const Rect& to = regions.dst;
        const auto cut = [](int32_t first, int32_t last, int32_t from, int32_t end) {
            return std::pair(std::max(first, from), std::min(last, end));
        };
        const int32_t firstCol = mapped ? mapping.xDst / width : to.x / width;
        const int32_t lastCol = mapped ? firstCol : (to.x + to.width - 1) / width;
        const int32_t firstRow = mapped ? mapping.yDst / height : to.y / height;
        const int32_t lastRow = mapped ? firstRow : (to.y + to.height - 1) / height;
        Lines lines;
        const auto line = [&](const std::string& what, int32_t col, int32_t row) {
            lines.push_back("D " + what + std::to_string(col) + "," + std::to_string(row));
        };
        bool any = to.width > 0 && to.height > 0;
        if (!dstTiled) runModel(window, images[0], expected, regions.src, to);
        for (int32_t col = firstCol; dstTiled && any && col <= lastCol; ++col)
            for (int32_t row = firstRow; row <= lastRow; ++row) {
                const auto [x, endX] = cut(to.x, to.x + to.width, col * width, (col + 1) * width);
                const auto [y, endY] =
                    cut(to.y, to.y + to.height, row * height, (row + 1) * height);
                any = endX > x && endY > y;
                if (!any) break;
                const Rect from = {regions.src.x + x - to.x, regions.src.y + y - to.y, endY - y,
                                   endX - x};
                runModel(window, images[0], expected, from, {x, y, endY - y, endX - x});
                line("write ", col, row);
                if (col > firstCol && row > firstRow) line("release ", col - 1, row - 1);
            }
        if (dstTiled && any) {
            for (int32_t col = firstCol; col <= lastCol; ++col) line("release ", col, lastRow);
            for (int32_t row = firstRow; row < lastRow; ++row) line("release ", lastCol, row);
        }
        window.run(srcTiled ? srcTiles : static_cast<DaxImage*>(images[0]),
                   dstTiled ? dstTiles : static_cast<DaxImage*>(images[1]),
                   mapped ? &mapping : nullptr);
        EXPECT_EQ(kit::pixelDifference(dstTiled ? dstTiles.gathered() : images[1], expected), "");
        EXPECT_EQ(dstLog.lines, lines);
        EXPECT_FALSE(dstTiles.holds());
    });
    EXPECT_EQ(reports.take(), Lines{});
}

TEST(Blur, Reports) {
    kit::Reports reports;
    Random random(4);
    Image src({.width = 9, .height = 9}, random);
    Image dst({.width = 9, .height = 9}, random);
    Image bits({.depth = DAX_DEPTH_1U, .width = 9, .height = 9}, random);
    const Image before = dst;
    const auto expect = [&](DaxImage* a, DaxImage* d, const Window& window,
                            const std::string& text) {
        window.run(a, d);
        EXPECT_EQ(reports.take(), Lines{"-5 daxBlur daxBlur " + text});
        EXPECT_EQ(kit::byteDifference(dst, before), "");
    };
    const std::string null =
        "Image header is null                                                  \n";
    expect(nullptr, nullptr, {-1, 1, -1, 0}, null);
    expect(bits, nullptr, {-1, 1, -1, 0}, null);
    expect(bits, dst, {-1, 1, -1, 0}, "(srcImage->depth!=dstImage->depth)");
    expect(bits, bits, {-1, 1, -1, 0}, "(srcImage->depth==1)");
    expect(src, dst, {-1, 1, -1, 0}, "(nRows<0||nCols<0)");
    expect(src, dst, {1, -1, -1, 0}, "(nRows<0||nCols<0)");
    expect(src, dst, {1, 1, -1, 0}, "(anchorX<0||anchorY<0)");
    expect(src, dst, {1, 1, 0, -1}, "(anchorX<0||anchorY<0)");
    // Sizes beyond all memory end the call silently.
    for (const int32_t nRows : {1, INT32_MAX})
        Window{nRows, INT32_MAX, INT32_MAX, INT32_MAX}.run(src, dst);
    Window{INT32_MAX, 1, INT32_MAX, 0}.run(src, dst);
    EXPECT_EQ(reports.take(), Lines{});
    EXPECT_EQ(kit::byteDifference(dst, before), "");
}

TEST(Blur, OutOfMemoryAndTiles) {
    kit::Reports reports;
    Random random(7);
    const Image src({.channels = 3, .width = 12, .height = 12}, random);
    const Image before({.channels = 3, .width = 12, .height = 12}, random);
    Image whole = before;
    Image from = src;
    const Window window = {3, 3, 1, 1};
    window.run(from, whole);
    const int32_t requests = kit::forEachFailedRequest([&](kit::StandIn& platform) {
        Image dst = before;
        window.run(from, dst);
        const bool failed = platform.requests >= platform.failRequest;
        EXPECT_EQ(kit::byteDifference(dst, failed ? before : whole), "");
    });
    EXPECT_GE(requests, 1);
    // A tile without data ends the call; the source of a piece comes before the tile is written.
    for (const bool srcFails : {false, true}) {
        kit::TileLog srcLog, dstLog;
        (srcFails ? srcLog : dstLog).failRequest = srcFails ? 3 : 4;
        kit::Tiles source(src, 'S', 16, 16, srcLog);
        kit::Tiles tiles(before, 'D', 8, 8, dstLog);
        tiles.atMost = SIZE_MAX;
        window.run(source, tiles);
        Lines lines = {"D write 0,0", "D write 0,1", "D write 1,0", "D write 1,1"};
        if (srcFails) lines.resize(2);
        EXPECT_EQ(dstLog.lines, lines);
    }
    // Where there is no row of sums, one piece is left out and the walk goes on.
    kit::TileLog log;
    kit::Tiles each(before, 'D', 8, 8, log);
    each.atMost = SIZE_MAX;
    {
        kit::StandIn platform;
        platform.failRequest = 2;
        window.run(from, each);
    }
    EXPECT_EQ(log.lines.size(), 8u);
    const Image result = each.gathered();
    EXPECT_EQ(result.get(7, 7, 3), before.get(7, 7, 3));
    EXPECT_EQ(result.get(8, 7, 3), whole.get(8, 7, 3));
    EXPECT_EQ(result.get(7, 8, 3), whole.get(7, 8, 3));
    EXPECT_EQ(reports.take(), Lines{});
}

} // namespace
