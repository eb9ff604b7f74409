// The rank filters against a plain model of the window, in every way that a region can be cut.

#include "filter/window.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/tiles.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace {

using kit::Image;
using kit::Random;
using kit::Shape;
using window::cutRegion;

enum Op { largest, smallest, median };

struct Filter {
    Op op;
    const char* name;
    void (*call)(DaxImage*, DaxImage*, int32_t, int32_t, int32_t, int32_t, const DaxMapping*);
};

constexpr Filter filters[] = {{largest, "daxMaxFilter", daxMaxFilter},
                              {smallest, "daxMinFilter", daxMinFilter},
                              {median, "daxMedianFilter", daxMedianFilter}};

struct Window {
    int32_t nRows, nCols, anchorX, anchorY;
};

Window anchored(Random& random, int32_t nRows, int32_t nCols) {
    return {nRows, nCols, random.in(0, nCols - 1), random.in(0, nRows - 1)};
}

// Mostly small, sometimes as large as the image or larger.
Window anyWindow(Random& random) {
    if (random.chance(25)) return anchored(random, 3, 3);
    if (random.chance(20)) return anchored(random, 5, 5);
    const auto size = [&] { return random.chance(80) ? random.in(1, 8) : random.in(9, 50); };
    const int32_t nRows = size();
    return anchored(random, nRows, size());
}

void call(const Filter& filter, DaxImage* src, DaxImage* dst, const Window& window,
          const DaxMapping* mapping = nullptr) {
    filter.call(src, dst, window.nRows, window.nCols, window.anchorX, window.anchorY, mapping);
}

using Sampler = std::function<int64_t(int32_t x, int32_t y, int32_t channel)>;

int64_t ranked(Op op, const Window& window, int32_t u, int32_t v, int32_t channel,
               const Sampler& sample) {
    std::vector<int64_t> values;
    for (int32_t row = 0; row < window.nRows; ++row)
        for (int32_t col = 0; col < window.nCols; ++col)
            values.push_back(sample(u - window.anchorX + col, v - window.anchorY + row, channel));
    const auto place = op == largest ? values.end() - 1
                       : op == smallest
                           ? values.begin()
                           : values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

std::vector<std::pair<int32_t, int32_t>> channelPairs(Op op, const DaxImage* src,
                                                      const DaxImage* dst) {
    const DaxROI from = cutRegion(src);
    const DaxROI to = cutRegion(dst);
    std::vector<std::pair<int32_t, int32_t>> pairs;
    if (dst->depth == DAX_DEPTH_1U) return {{1, 1}};
    if (to.coi == 0)
        for (int32_t channel = 1; channel <= dst->nChannels; ++channel)
            pairs.emplace_back(channel, channel);
    else if (dst->dataOrder == DAX_DATA_PIXEL && op != median)
        pairs.emplace_back(1, 1);
    else
        pairs.emplace_back(std::max(from.coi, 1), to.coi);
    return pairs;
}

void filterByModel(Op op, const Image& src, Image& dst, const Window& window) {
    const DaxROI from = cutRegion(src.operator->());
    const DaxROI to = cutRegion(dst.operator->());
    const auto sample = [&](int32_t x, int32_t y, int32_t channel) {
        return window::storedAt(src, x, y, channel);
    };
    for (const auto& [read, written] : channelPairs(op, src.operator->(), dst.operator->()))
        for (int32_t y = 0; y < std::min(from.height, to.height); ++y)
            for (int32_t x = 0; x < std::min(from.width, to.width); ++x)
                dst.set(to.xOffset + x, to.yOffset + y, written,
                        ranked(op, window, from.xOffset + x, from.yOffset + y, read, sample));
}

// Few different values make equal ones frequent, smooth rows let histograms slide.
void makePlainer(Random& random, Image& image) {
    const int32_t kind = random.in(0, 3);
    if (kind < 2) return;
    const int64_t mask = kind == 2 ? 3 : 0x7F;
    for (int32_t channel = 1; channel <= image->nChannels; ++channel)
        for (int32_t y = 0; y < image->height; ++y)
            for (int32_t x = 0; x < image->width; ++x)
                image.set(x, y, channel,
                          kind == 2 ? image.get(x, y, channel) & mask
                                    : kit::leastOf(image->depth) + ((x * 3 + y * 2) & mask));
}

// The source's channel count is the destination's in pixel order; anything else has no fixed
// result.
bool settled(const Image& src, const Image& dst) {
    return dst->dataOrder != DAX_DATA_PIXEL || src->nChannels == dst->nChannels;
}

std::vector<Image> anyPair(Random& random, bool tileable = false) {
    std::vector<Image> images = kit::filledImages(random, kit::fittingShapes(random, 2, tileable));
    window::anyBorders(random, images[0]);
    makePlainer(random, images[0]);
    return images;
}

TEST(Rank, WindowsAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(2500, [](Random& random) {
        const std::vector<Image> images = anyPair(random);
        const Filter& filter = random.of(filters);
        const Window window = anyWindow(random);
        Image expected = images[1];
        filterByModel(filter.op, images[0], expected, window);
        kit::forEachIsa([&] {
            Image src = images[0];
            Image dst = images[1];
            call(filter, src, dst, window);
            if (!settled(src, dst)) return;
            EXPECT_EQ(kit::byteDifference(dst, expected), "")
                << filter.name << " " << window.nRows << "x" << window.nCols << "\n"
                << src.shape().text();
            EXPECT_EQ(kit::byteDifference(src, images[0]), "");
        });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// Every way to a median, and rows longer than any block of them, at every depth.
TEST(Rank, WideImages) {
    kit::forSeeds(1, [](Random& random) {
        for (const int32_t depth : kit::depths)
            for (const auto& [nRows, nCols] : {std::pair(3, 3),
                                               {5, 5},
                                               {1, 1},
                                               {2, 1},
                                               {4, 7},
                                               {16, 16},
                                               {19, 17},
                                               {1, 40},
                                               {40, 1}}) {
                const int32_t channels = depth == DAX_DEPTH_1U ? 1 : random.in(1, 3);
                const Shape shape = {.depth = depth,
                                     .channels = channels,
                                     .width = random.in(600, 1100),
                                     .height = 20,
                                     .order = random.in(0, 1),
                                     .shift = random.in(0, 7),
                                     .roi = DaxROI{0, random.in(0, 40), 8, 2, 2000}};
                Image src(shape, random);
                makePlainer(random, src);
                window::anyBorders(random, src);
                const Window window = anchored(random, nRows, nCols);
                for (const Filter& filter : filters) {
                    Image expected(shape);
                    filterByModel(filter.op, src, expected, window);
                    kit::forEachIsa([&] {
                        Image dst(shape);
                        call(filter, src, dst, window);
                        EXPECT_EQ(kit::byteDifference(dst, expected), "")
                            << filter.name << " " << window.nRows << "x" << window.nCols;
                    });
                }
            }
    });
}

// A window of more values than 16 bits count.
TEST(Rank, HugeWindows) {
    Random random(7);
    for (const int32_t depth : {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16S}) {
        const Shape shape = {.depth = depth, .width = 12, .height = 3};
        Image src(shape, random);
        daxSetBorderMode(src, DAX_BORDER_WRAP, 15, 0);
        Image expected(shape);
        const Window window = {290, 240, 120, 60};
        filterByModel(median, src, expected, window);
        Image dst(shape);
        call(filters[median], src, dst, window);
        EXPECT_EQ(kit::byteDifference(dst, expected), "");
    }
}

TEST(Rank, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(500, [](Random& random) {
        const std::vector<Image> images = anyPair(random, true);
        const Filter& filter = random.of(filters);
        const Window window = anyWindow(random);
        kit::expectTiledLikePlain(random, images, [&](const std::vector<DaxImage*>& is) {
            call(filter, is[0], is[1], window);
        });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// The block routine's own order of work, on memory that is read and written at once; see below.
struct Block {
    int32_t srcX, srcY, dstX, dstY, height, width;
};

// The median of samples of 8 bits as a histogram finds it that slides along each row.
void slideInOrder(Image& image, const Block& block, const Window& window, int32_t channel,
                  const Sampler& sample) {
    const int64_t least = kit::leastOf(image->depth);
    std::vector<int64_t> bins(256);
    const int64_t enough = window.nRows * window.nCols / 2 + 1;
    for (int32_t y = 0; y < block.height; ++y) {
        const auto at = [&](int32_t x, int32_t row) {
            return sample(block.srcX + x, block.srcY + y + row, channel) - least;
        };
        const auto each = [&](int32_t from, auto use) {
            for (int32_t row = 0; row < window.nRows; ++row)
                for (int32_t x = from; x < from + window.nCols; ++x) use(at(x, row));
        };
        each(0, [&](int64_t bin) { ++bins[static_cast<size_t>(bin)]; });
        const auto upTo = [&](int64_t last) {
            int64_t sum = 0;
            for (int64_t bin = 0; bin <= last; ++bin) sum += bins[static_cast<size_t>(bin)];
            return sum;
        };
        int64_t found = 0;
        while (upTo(found) < enough && found < 255) ++found;
        for (int32_t x = 0;; ++x) {
            image.set(block.dstX + x, block.dstY + y, channel, found + least);
            if (x == block.width - 1) break;
            for (int32_t row = 0; row < window.nRows; ++row) {
                --bins[static_cast<size_t>(at(x, row))];
                ++bins[static_cast<size_t>(at(x + window.nCols, row))];
            }
            if (upTo(found) < enough) {
                while (upTo(found) < enough && found < 255) ++found;
            } else {
                while (upTo(found) >= enough) --found;
                ++found;
            }
        }
        each(block.width - 1, [&](int64_t bin) { bins[static_cast<size_t>(bin)] = 0; });
    }
}

// A call in place: the blocks near the edges come first, each from a copy of what the image is by
// then, and the rest last, straight on the image.
void filterInPlaceByModel(Op op, Image& image, const Window& window) {
    const DaxROI region = cutRegion(image.operator->());
    const auto run = [&](int32_t x, int32_t y, int32_t height, int32_t width, bool direct) {
        if (height <= 0 || width <= 0) return;
        const Image before = image;
        const Block block = {x - window.anchorX, y - window.anchorY, x, y, height, width};
        const bool live = direct && op == median && image->depth != DAX_DEPTH_1U;
        const Sampler sample = [&](int32_t u, int32_t v, int32_t channel) {
            return live ? image.get(u, v, channel) : window::storedAt(before, u, v, channel);
        };
        for (const auto& [channel, same] :
             channelPairs(op, image.operator->(), image.operator->())) {
            if (live && kit::bitsOf(image->depth) == 8) {
                slideInOrder(image, block, window, channel, sample);
                continue;
            }
            for (int32_t v = y; v < y + height; ++v)
                for (int32_t u = x; u < x + width; ++u)
                    image.set(u, v, same, ranked(op, window, u, v, channel, sample));
        }
    };
    int32_t x = region.xOffset;
    int32_t y = region.yOffset;
    int32_t height = region.height;
    int32_t width = region.width;
    const auto atMost = [](int32_t value, int32_t most) { return std::clamp(value, 0, most); };
    if (height <= 0 || width <= 0) return;
    const int32_t left = atMost(window.anchorX - x, width);
    run(x, y, height, left, false);
    x += left;
    width -= left;
    const int32_t right =
        atMost(window.nCols + x + width - window.anchorX - image->width - 1, width);
    width -= right;
    run(x + width, y, height, right, false);
    if (width == 0) return;
    const int32_t above = atMost(window.anchorY - y, height);
    run(x, y, above, width, false);
    y += above;
    height -= above;
    const int32_t below =
        atMost(window.nRows + y + height - window.anchorY - image->height - 1, height);
    height -= below;
    run(x, y + height, below, width, false);
    run(x, y, height, width, true);
}

TEST(Rank, InPlace) {
    kit::forSeeds(1500, [](Random& random) {
        Image image(kit::anyShape(random), random);
        window::anyBorders(random, image);
        makePlainer(random, image);
        const Filter& filter = random.of(filters);
        const Window window = anyWindow(random);
        Image expected = image;
        filterInPlaceByModel(filter.op, expected, window);
        kit::forEachIsa([&] {
            Image is = image;
            call(filter, is, is, window);
            EXPECT_EQ(kit::byteDifference(is, expected), "")
                << filter.name << " " << window.nRows << "x" << window.nCols << " at "
                << window.anchorX << "," << window.anchorY;
        });
    });
}

// The tile that holds a pixel of the destination. The source isn't moved, and the tests that the
// region misses the tile take its height for its width and its width for its height.
TEST(Rank, MappingCutsTheDestinationAlone) {
    kit::Reports reports;
    kit::forSeeds(600, [](Random& random) {
        const std::vector<Image> images = anyPair(random, true);
        if (images[0]->dataOrder == DAX_DATA_PIXEL && !settled(images[0], images[1])) return;
        const Filter& filter = random.of(filters);
        const Window window = anchored(random, random.in(1, 4), random.in(1, 4));
        kit::TileLog log;
        const int32_t tileWidth = random.in(1, 3) * 8;
        const int32_t tileHeight = random.in(1, 3) * 8;
        kit::Tiles dst(images[1], 'D', tileWidth, tileHeight, log);
        kit::Tiles src(images[0], 'S', 8, 16, log);
        const DaxMapping mapping = {random.in(0, images[1]->width + 9),
                                    random.in(0, images[1]->height + 9)};
        const DaxROI from = cutRegion(images[0].operator->());
        const DaxROI to = cutRegion(images[1].operator->());
        const int32_t left = mapping.xDst / tileWidth * tileWidth;
        const int32_t top = mapping.yDst / tileHeight * tileHeight;
        Image expected = images[1];
        const bool missed = left + tileWidth <= to.xOffset || to.xOffset + to.height <= left ||
                            top + tileHeight <= to.yOffset || to.yOffset + to.width <= top;
        const int32_t x = std::max(to.xOffset, left);
        const int32_t y = std::max(to.yOffset, top);
        DaxROI cut = to;
        cut.xOffset = x;
        cut.yOffset = y;
        cut.width = std::min(to.xOffset + to.width, left + tileWidth) - x;
        cut.height = std::min(to.yOffset + to.height, top + tileHeight) - y;
        if (!missed && cut.width > 0 && cut.height > 0 && from.width > 0 && from.height > 0) {
            expected.roi = cut;
            expected->roi = &expected.roi;
            if (images[1]->roi == nullptr) expected.roi.coi = 0;
            filterByModel(filter.op, images[0], expected, window);
        }
        Image plain = images[0];
        call(filter, random.chance(50) ? static_cast<DaxImage*>(plain) : src, dst, window,
             &mapping);
        EXPECT_EQ(kit::pixelDifference(dst.gathered(), expected), "") << filter.name;
        // Without tiles in the destination it is not looked at.
        Image whole = images[1];
        Image wholeExpected = images[1];
        filterByModel(filter.op, images[0], wholeExpected, window);
        call(filter, plain, whole, window, &mapping);
        EXPECT_EQ(kit::pixelDifference(whole, wholeExpected), "");
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// The outermost order of the tiles, and what ends a call early: no tile, no memory. What is held
// goes back.
TEST(Rank, TilesInOrderAndFailures) {
    kit::Reports reports;
    Random random(3);
    const Shape shape = {.width = 20, .height = 12};
    const Image plain(shape, random);
    for (const bool sourceTiled : {false, true}) {
        kit::TileLog log;
        kit::Tiles dst(plain, 'D', 16, 8, log);
        kit::Tiles src(plain, 'S', 24, 16, log);
        Image same = plain;
        DaxImage* const from = sourceTiled ? src : static_cast<DaxImage*>(same);
        daxMaxFilter(from, dst, 3, 3, 1, 1, nullptr);
        std::vector<std::string> written;
        for (const std::string& line : log.lines)
            if (line[0] == 'D')
                written.push_back(line);
            else // within the hold of a tile of the destination
                EXPECT_EQ(written.size() % 2, 1u) << line;
        const std::vector<std::string> order = {"D write 0,0",   "D release 0,0", "D write 1,0",
                                                "D release 1,0", "D write 0,1",   "D release 0,1",
                                                "D write 1,1",   "D release 1,1"};
        EXPECT_EQ(written, order);
        const int32_t requests = log.requests;
        for (int32_t fail = 1; fail <= requests; ++fail) {
            log = {};
            log.failRequest = fail;
            daxMedianFilter(from, dst, 5, 1, 0, 1, nullptr);
            EXPECT_FALSE(dst.holds());
            EXPECT_EQ(log.requests, fail);
        }
    }
    for (const Filter& filter : filters)
        for (const int32_t depth : kit::depths)
            for (const int32_t side : {2, 3, 5, 20})
                kit::forEachFailedRequest([&](kit::StandIn& platform) {
                    const Shape small = {.depth = depth, .width = 9, .height = 7};
                    Image src(small, random);
                    Image dst(small);
                    kit::TileLog log;
                    kit::Tiles tiled(dst, 'D', 8, 8, log);
                    call(filter, src, dst, {side, side, 1, 1});
                    call(filter, dst, dst, {side, side, 0, 1});
                    call(filter, src, tiled, {side, side, 1, 0});
                    EXPECT_FALSE(tiled.holds());
                    (void)platform;
                });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

TEST(Rank, ReportsInOrder) {
    const std::string size = "Image size is invalid" + std::string(49, ' ') + "\n";
    for (const Filter& filter : filters) {
        kit::Reports reports;
        Random random(1);
        const Shape shape = {.channels = 3, .width = 9, .height = 5};
        Image src(shape, random);
        Image dst(shape, random);
        const std::vector<uint8_t> before = dst.bytes();
        Window window = {2, 4, 4, -1};
        src->width = dst->width = 0;
        src->depth = DAX_DEPTH_8S;
        src->dataOrder = DAX_DATA_PLANE;
        src->nChannels = 1;
        const struct {
            std::string text;
            std::function<void()> mend;
        } steps[] = {
            {size, [&] { src->width = 9; }},
            {size, [&] { dst->width = 9; }},
            {"(anchorX>=nCols)||(anchorX<0)", [&] { window.anchorX = -1; }},
            {"(anchorX>=nCols)||(anchorX<0)", [&] { window.anchorX = 3; }},
            {"(anchorY>=nRows)||(anchorY<0)", [&] { window.anchorY = 2; }},
            {"(anchorY>=nRows)||(anchorY<0)", [&] { window.anchorY = 1; }},
            {"srcImage->depth!=dstImage->depth", [&] { src->depth = DAX_DEPTH_8U; }},
            {"srcImage->dataOrder!=dstImage->dataOrder", [&] { src->dataOrder = DAX_DATA_PIXEL; }},
            {"Number of interset channel input and output Image is not equal.",
             [&] { src->nChannels = 3; }},
        };
        for (const auto& step : steps) {
            call(filter, src, dst, window);
            EXPECT_EQ(dst.bytes(), before);
            EXPECT_EQ(reports.take(),
                      std::vector{"-5 " + std::string(filter.name) + " daxnlf " + step.text});
            step.mend();
        }
        // A status from before holds the filter back, and stays.
        daxSetErrStatus(DAX_StatusUnsupported);
        call(filter, src, dst, window);
        EXPECT_EQ(daxGetErrStatus(), DAX_StatusUnsupported);
        EXPECT_EQ(dst.bytes(), before);
        daxSetErrStatus(DAX_StatusNoError);
        call(filter, src, dst, window);
        EXPECT_NE(dst.bytes(), before);
    }
}

// A reporter that clears the status lets images through that don't fit; all stays in their blocks.
TEST(Rank, ChannelsThatDontFitStayInside) {
    kit::forSeeds(200, [](Random& random) {
        daxRedirectError([](DaxStatus, const char*, const char*, const char*, int32_t) {
            daxSetErrStatus(DAX_StatusNoError);
            return DAX_StatusNoError;
        });
        Shape shape = kit::anyShape(random);
        if (shape.depth == DAX_DEPTH_1U) shape.depth = DAX_DEPTH_16U;
        shape.slack = 0;
        Image src(shape, random);
        Shape other = kit::anyShape(random);
        other.depth = shape.depth;
        other.slack = 0;
        other.order = shape.order;
        other.channels = random.in(1, 5);
        if (other.roi) other.roi->coi = random.in(0, other.channels);
        Image dst(other, random);
        call(random.of(filters), src, dst, anyWindow(random));
        daxRedirectError(nullptr);
    });
}

} // namespace
