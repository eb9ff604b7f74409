// The conversions between colour models and between colour and gray, beside plain models.

#include "color/colors.h"
#include "color/models.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"

#include <functional>
#include <memory>

namespace {

using namespace color;

struct Conversion {
    Way way;
    void (*function)(DaxImage* src, DaxImage* dst, const int32_t* tilePos);
    const char* name;
    const char* from;
    const char* to;
    const char* kernel;
};

constexpr Conversion conversions[] = {
    {Way::rgbToHsv, daxRGB2HSV, "daxRGB2HSV", "RGB", "HSV", "ownRGB2HSV"},
    {Way::hsvToRgb, daxHSV2RGB, "daxHSV2RGB", "HSV", "RGB", "ownRGB2HSV"},
    {Way::rgbToHls, daxRGB2HLS, "daxRGB2HLS", "RGB", "HLS", "ownRGB2HSV"},
    {Way::hlsToRgb, daxHLS2RGB, "daxHLS2RGB", "HLS", "RGB", "ownRGB2HLS"},
};

constexpr int32_t colourDepths[] = {DAX_DEPTH_8U, DAX_DEPTH_16U, DAX_DEPTH_32S};

// The channel of a colour, from 1; models other than RGB lie in the order of their names.
int32_t channelOf(const DaxImage* image, size_t k) {
    const auto place = static_cast<int32_t>(k) + 1;
    if (std::string(image->colorModel, 3) != "RGB") return place;
    if (image->dataOrder == DAX_DATA_PIXEL) return image->channelSeq[0] == 'R' ? place : 4 - place;
    return static_cast<int32_t>(std::string(image->channelSeq, 4).find("RGB"[k])) + 1;
}

Pixel pixelAt(const Image& image, int32_t x, int32_t y) {
    Pixel pixel;
    for (size_t k = 0; k < 3; ++k) pixel[k] = image.get(x, y, channelOf(image.operator->(), k));
    return pixel;
}

void putPixel(Image& image, int32_t x, int32_t y, const Pixel& pixel) {
    for (size_t k = 0; k < 3; ++k) image.set(x, y, channelOf(image.operator->(), k), pixel[k]);
}

std::string anySeq(Random& random) {
    return random.oneOf<std::string>({"RGB", "BGR", "RBG", "GRB"});
}

// Colours as they occur: within the depth's range, grays, ties and ends among them.
void fillColours(Image& image, Random& random, bool hueFirst) {
    const int64_t most = image.shape().depth == DAX_DEPTH_32S
                             ? 2147483647
                             : (int64_t{1} << kit::bitsOf(image.shape().depth)) - 1;
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            for (int32_t c = 1; c <= image->nChannels; ++c) {
                const auto any =
                    static_cast<int64_t>(random.bits() % static_cast<uint64_t>(most + 1));
                int64_t value = random.chance(20)            ? random.oneOf<int64_t>({0, 1, most})
                                : c > 1 && random.chance(20) ? image.get(x, y, c - 1)
                                                             : any;
                if (hueFirst && c == 1 && random.chance(90))
                    value = random.in(0, image.shape().depth == DAX_DEPTH_8U ? 179 : 360);
                image.set(x, y, c, value);
            }
}

struct Pair {
    Image src;
    Image dst;
};

Pair anyPair(Random& random, const Conversion& conversion) {
    const int32_t order = random.in(0, 1);
    const int32_t channels = random.oneOf({3, 3, 4});
    const int32_t depth = random.of(colourDepths);
    Shape src = anyColour(random, depth, order, channels);
    Shape dst = anyColour(random, depth, order, channels);
    if (random.chance(30)) dst = src;
    Pair pair{Image(src), Image(dst, random)};
    fillColours(pair.src, random, conversion.from[0] == 'H');
    name(pair.src, conversion.from, conversion.from[0] == 'H' ? conversion.from : anySeq(random));
    name(pair.dst, conversion.to[0] == 'H' ? "any" : "RGB", anySeq(random));
    return pair;
}

TEST(ColorModels, LikeThePlainModel) {
    kit::forEachIsa([] {
        for (const Conversion& conversion : conversions)
            kit::forSeeds(80, [&](Random& random) {
                Pair is = anyPair(random, conversion);
                const bool inPlace = random.chance(25);
                Image& dst = inPlace ? is.src : is.dst;
                const std::string letters(dst->channelSeq, 4);
                Image expected = dst;
                // Where the letters name no colour, pixels start with blue and planes with red.
                const bool named = !inPlace || dst->dataOrder == DAX_DATA_PIXEL;
                name(expected, conversion.to, named ? letters : "RGB");
                for (int32_t y = 0; y < is.src->height && y < dst->height; ++y)
                    for (int32_t x = 0; x < is.src->width && x < dst->width; ++x)
                        putPixel(
                            expected, x, y,
                            convert(conversion.way, is.src.shape().depth, pixelAt(is.src, x, y)));
                conversion.function(is.src, dst, nullptr);
                EXPECT_EQ(kit::byteDifference(dst, expected), "")
                    << conversion.name << " " << is.src.shape().text()
                    << (inPlace ? " itself" : "");
                EXPECT_EQ(std::string(dst->colorModel, 3), conversion.to);
                EXPECT_EQ(std::string(dst->channelSeq, 4), conversion.to + letters.substr(3));
            });
    });
}

// Every colour of 8 bits, both ways.
TEST(ColorModels, AllColoursOfBytes) {
    const Shape shape = {.channels = 3, .width = 4096, .height = 16, .order = DAX_DATA_PLANE};
    Image src(shape);
    Image dst(shape);
    const ptrdiff_t plane = ptrdiff_t{4096} * 16;
    for (const Conversion& conversion : conversions)
        for (int32_t part = 0; part < 256; ++part) {
            for (int32_t i = 0; i < plane; ++i) {
                src.data()[i] = static_cast<uint8_t>(part);
                src.data()[plane + i] = static_cast<uint8_t>(i >> 8);
                src.data()[2 * plane + i] = static_cast<uint8_t>(i);
            }
            name(src, conversion.from, conversion.from);
            name(dst, conversion.to, conversion.to);
            conversion.function(src, dst, nullptr);
            int64_t wrong = 0;
            for (int32_t i = 0; i < plane; ++i) {
                const Pixel is = {dst.data()[i], dst.data()[plane + i], dst.data()[2 * plane + i]};
                wrong += is != convert(conversion.way, DAX_DEPTH_8U, {part, i >> 8 & 255, i & 255});
            }
            ASSERT_EQ(wrong, 0) << conversion.name << ", first channel " << part;
        }
}

TEST(ColorGray, LikeThePlainModel) {
    kit::forEachIsa([] {
        kit::forSeeds(200, [](Random& random) {
            const int32_t srcDepth = random.of(colourDepths);
            const int32_t dstDepth = random.oneOf({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_16U});
            const int32_t order = random.in(0, 1);
            Image src(anyColour(random, srcDepth, order, random.in(3, 4)), random);
            if (random.chance(50)) fillColours(src, random, false);
            const bool many = dstDepth != DAX_DEPTH_1U && random.chance(30);
            Image dst(anyColour(random, dstDepth, many ? 1 : random.in(0, 1), many ? 2 : 1),
                      random);
            name(src, "RGB", anySeq(random));
            Image expected = dst;
            for (int32_t y = 0; y < src->height && y < dst->height; ++y)
                for (int32_t x = 0; x < src->width && x < dst->width; ++x)
                    expected.set(x, y, 1,
                                 grayOf(srcDepth, dstDepth, order == 1, pixelAt(src, x, y)));
            daxColorToGray(src, dst, nullptr);
            EXPECT_EQ(kit::byteDifference(dst, expected), "")
                << src.shape().text() << " to " << dst.shape().text();
        });
    });
}

TEST(ColorGray, Tinted) {
    kit::forEachIsa([] {
        kit::forSeeds(200, [](Random& random) {
            const int32_t dstDepth = random.of(colourDepths);
            const bool bits = dstDepth == DAX_DEPTH_8U && random.chance(40);
            const int32_t srcDepth = bits ? DAX_DEPTH_1U : dstDepth;
            Image src(anyColour(random, srcDepth, random.in(0, 1), 1), random);
            Image dst(anyColour(random, dstDepth, random.in(0, 1), random.in(3, 4)), random);
            name(dst, "RGB", anySeq(random));
            std::array<float, 3> fracts = {};
            if (random.chance(80))
                for (float& fract : fracts)
                    fract = random.oneOf({0.0f, 1.0f, 0.5f, 0.001f, 0.7f, 1.5f, -0.25f, 2.0f});
            if (dstDepth == DAX_DEPTH_32S)
                for (float& fract : fracts) fract = std::min(fract, 1.0f);
            Image expected = dst;
            for (int32_t y = 0; y < src->height && y < dst->height; ++y)
                for (int32_t x = 0; x < src->width && x < dst->width; ++x)
                    putPixel(expected, x, y, tintOf(srcDepth, dstDepth, src.get(x, y, 1), fracts));
            daxGrayToColor(src, dst, fracts[0], fracts[1], fracts[2], nullptr);
            EXPECT_EQ(kit::byteDifference(dst, expected), "")
                << src.shape().text() << " to " << dst.shape().text() << " " << fracts[0] << " "
                << fracts[1] << " " << fracts[2];
        });
    });
}

// Fractions that come to nothing give way to the usual ones; those beyond all integers do not.
TEST(ColorGray, TinyAndHugeFractions) {
    Image src({.depth = DAX_DEPTH_32S});
    Image dst({.depth = DAX_DEPTH_32S, .channels = 3});
    name(dst, "RGB", "RGB");
    src.set(0, 0, 1, 0x40000000);
    daxGrayToColor(src, dst, 1e20f, 0.0f, 0.0f, nullptr);
    EXPECT_EQ(pixelAt(dst, 0, 0), (Pixel{0, 0, 0}));
    daxGrayToColor(src, dst, 0.00003f, -0.00003f, 0.0f, nullptr);
    EXPECT_EQ(pixelAt(dst, 0, 0), (Pixel{228353744, 767897216, 77490872}));
}

// Tiled images, whose size is no multiple of the tiles', give what plain ones give.
TEST(ColorTiles, LikePlain) {
    kit::forSeeds(60, [](Random& random) {
        const int32_t kind = random.in(0, 5); // 4: to gray, 5: from gray
        const Conversion& conversion = conversions[kind % 4];
        Shape colour = anyColour(random, DAX_DEPTH_8U, random.in(0, 1), 3);
        colour.slack = 0;
        colour.width = random.in(1, 60);
        colour.height = random.in(1, 40);
        Shape gray = colour;
        gray.channels = 1;
        gray.depth = random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_1U});
        std::vector<Image> images =
            filledImages(random, {kind == 5 ? gray : colour, kind == 4 ? gray : colour});
        name(images[0], kind < 4 ? conversion.from : "RGB", kind < 4 ? conversion.from : "BGR");
        name(images[1], "RGB", kind < 4 ? "RGB" : anySeq(random));
        daxSetBorderMode(images[0], DAX_BORDER_REPLICATE, DAX_SIDE_ALL, 0);
        const kit::Operation call = [&](const std::vector<DaxImage*>& is) {
            if (kind == 4) return daxColorToGray(is[0], is[1], nullptr);
            if (kind == 5) return daxGrayToColor(is[0], is[1], 1.0F, 0.5F, 0.25F, nullptr);
            conversion.function(is[0], is[1], nullptr);
        };
        kit::expectTiledLikePlain(random, images, call, {}, true);
    });
}

struct Op {
    std::function<void(DaxImage* src, DaxImage* dst, const int32_t* tilePos)> call;
    std::string name;
    std::string model;
    std::string kernel;
    bool toGray = false;
    bool fromGray = false;
};

std::vector<Op> ops() {
    std::vector<Op> list;
    for (const Conversion& one : conversions)
        list.push_back({one.function, one.name, one.from, one.kernel});
    list.push_back({daxColorToGray, "daxColorToGray", "RGB", "ownColorToGray", true});
    list.push_back({[](DaxImage* src, DaxImage* dst, const int32_t* pos) {
                        daxGrayToColor(src, dst, 1, 1, 1, pos);
                    },
                    "daxGrayToColor", "RGB", "ownGrayToColor", false, true});
    return list;
}

TEST(ColorChecks, EachFunction) {
    for (const Op& op : ops()) {
        kit::Reports reports;
        const auto expect = [&](const std::string& text,
                                const std::function<void(Image&, Image&)>& spoil) {
            Image src({.channels = op.fromGray ? 1 : 3, .width = 4, .height = 2});
            Image dst({.channels = op.toGray ? 1 : 3, .width = 4, .height = 2});
            name(src, op.fromGray ? "any" : op.model, "RGB");
            name(dst, op.fromGray ? op.model : "any", "RGB");
            spoil(src, dst);
            const std::vector<uint8_t> before = dst.bytes();
            op.call(src, dst, nullptr);
            const Lines lines = reports.take();
            ASSERT_EQ(lines.size(), text.empty() ? 0u : 1u) << op.name;
            if (text.empty()) return;
            EXPECT_EQ(lines[0].substr(0, text.size()), text) << op.name;
            EXPECT_EQ(dst.bytes(), before);
        };
        const std::string unlike = "-5 " + op.name + " daxcolor incomatibleimages";
        const auto depths = [](int32_t depth) {
            return [depth](Image& src, Image& dst) { src->depth = dst->depth = depth; };
        };
        expect("", [](Image&, Image&) {});
        expect("-5 daxReduceBits daxcolor Image align is invalid",
               [](Image& src, Image& dst) { src->align = 3, dst->origin = 2; });
        expect("-5 daxReduceBits daxcolor Image origin is invalid",
               [](Image& src, Image& dst) { dst->origin = 2, src->origin = 1; });
        expect(unlike,
               [&](Image& src, Image& dst) { (op.fromGray ? dst : src)->colorModel[2] = 'x'; });
        expect(unlike, [](Image& src, Image&) { src->origin = 1; });
        expect("-5 " + op.kernel + " owncolor errInOutDepth", depths(DAX_DEPTH_8S));
        if (op.toGray) {
            expect(unlike, [](Image&, Image& dst) { dst->nChannels = 2; });
            expect("-5 ownColorToGray owncolor errInOutDepth",
                   [](Image& src, Image& dst) { src->depth = dst->depth = DAX_DEPTH_32S; });
        } else {
            expect(unlike, [](Image& src, Image&) { src->depth = DAX_DEPTH_16U; });
        }
        if (op.fromGray) expect(unlike, [](Image& src, Image&) { src->nChannels = 2; });
        if (!op.toGray && !op.fromGray) {
            expect(unlike, [](Image& src, Image&) { src->dataOrder = DAX_DATA_PLANE; });
            expect(unlike, [](Image&, Image& dst) { dst->nChannels = 1; });
        }
    }
}

// A channel of interest makes images compatible that don't have the channels, and letters may name
// none: nothing happens.
TEST(ColorChecks, ImagesWithoutTheChannels) {
    kit::Reports reports;
    for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
        const Shape shape = {.channels = 3, .width = 4, .height = 2, .order = order};
        Image src(shape);
        src->roi = &src.roi;
        src.roi = {2, 0, 0, 2, 4};
        Image dst({.width = 4, .height = 2, .order = order});
        name(src, "RGB", "RGB");
        name(dst, "any", "any");
        const std::vector<uint8_t> before = dst.bytes();
        daxRGB2HSV(src, dst, nullptr);
        EXPECT_EQ(dst.bytes(), before);
        EXPECT_EQ(std::string(dst->colorModel, 3), "any");
        name(src, "RGBA", "ARGB");
        daxColorToGray(src, dst, nullptr);
    }
    EXPECT_EQ(reports.take(), Lines{});
}

} // namespace
