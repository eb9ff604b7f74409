// The allocator, image headers and their data, regions, tile descriptors, and the check of a header
// against itself.

#include "kit/image.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"

#include "frame/call.h"
#include "frame/daxlib.h"
#include "frame/header.h"

#include <cstring>

namespace {

using kit::Random;
using kit::StandIn;

void noTiles(DaxImage*, int32_t, int32_t, int32_t) {}

TEST(Allocator, KeepsItsContract) {
    const struct {
        void* (*allocate)(int32_t);
        int32_t size;
    } siblings[] = {
        {daxMalloc, 1}, {daxwMalloc, 2}, {daxiMalloc, 4}, {daxsMalloc, 4}, {daxdMalloc, 8}};
    for (const auto& is : siblings)
        for (size_t shift = 0; shift < 16; ++shift)
            for (const int32_t count : {0, 1, 5, 64}) {
                StandIn platform;
                platform.shift = shift;
                auto* block = static_cast<char*>(is.allocate(count));
                ASSERT_NE(block, nullptr);
                const auto bytes = static_cast<size_t>(count * is.size);
                EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 8, 0u);
                EXPECT_EQ(platform.events[0], "alloc " + std::to_string(bytes + 20));
                char* raw = nullptr;
                memcpy(&raw, block - sizeof raw, sizeof raw);
                EXPECT_TRUE(block - raw >= 4 && block - raw < 16);
                memset(block, 0, bytes);
                daxFree(block);
                EXPECT_EQ(platform.live(), 0u);
            }
    StandIn platform;
    for (const auto& is : siblings)
        for (const int32_t count :
             {-1, INT32_MIN, INT32_MAX, INT32_MAX / is.size - 20 / is.size + 1})
            EXPECT_EQ(is.allocate(count), nullptr) << count;
    EXPECT_EQ(platform.requests, 0);
    platform.failRequest = 1;
    EXPECT_EQ(daxMalloc(4), nullptr);
    daxFree(nullptr);
}

// Random arguments of daxCreateImageHeader, most of them sound, and what becomes of them.
TEST(Header, FieldsRowStepAndDataSize) {
    kit::forSeeds(3000, [](Random& random) {
        const auto field = [&](std::initializer_list<int32_t> good,
                               std::initializer_list<int32_t> bad, bool* sound) {
            if (!random.chance(4)) return random.oneOf(good);
            *sound = false;
            return random.oneOf(bad);
        };
        bool sound = true;
        const int32_t channels = field({1, 2, 3, 4, 7}, {0, -1, INT32_MIN}, &sound);
        const int32_t alpha = field({0, 0, 1}, {-1, 8, INT32_MAX}, &sound);
        const int32_t depth = field({1, 8, 16, DAX_DEPTH_8S, DAX_DEPTH_16S, DAX_DEPTH_32S},
                                    {0, 2, 32, 64, -1, DAX_DEPTH_SIGN, DAX_DEPTH_SIGN + 1}, &sound);
        const int32_t order = field({0, 1}, {2, -1}, &sound);
        const int32_t origin = field({0, 1}, {2, -1}, &sound);
        const int32_t align = field({4, 8}, {0, 1, 2, 3, 16, -4}, &sound);
        const int32_t height = field({0, 1, 7, 20}, {-1, INT32_MIN}, &sound);
        const int32_t width = field({0, 1, 5, 9, 33}, {-1, INT32_MIN}, &sound);
        const char* model = random.chance(97) ? "RGBx" : nullptr;
        const char* sequence = random.chance(97) ? "BGR" : nullptr;
        DaxROI roi;
        DaxTileInfo tiles;
        StandIn platform;
        DaxImage* image =
            daxCreateImageHeader(channels, alpha, depth, model, sequence, order, origin, align,
                                 height, width, &roi, 0xFEDCBA98, &tiles);
        ASSERT_EQ(image != nullptr, sound && model != nullptr && sequence != nullptr);
        if (image == nullptr) {
            ASSERT_EQ(platform.live(), 0u);
            return;
        }
        kit::Image like({depth, channels, width, height, order, align, origin});
        DaxImage expected = like.header;
        expected.alphaChannel = alpha;
        memcpy(expected.colorModel, "RGBx", 4);
        memcpy(expected.channelSeq, "BGR", 4);
        expected.roi = &roi;
        expected.imageTag = 0xFEDCBA98;
        expected.tileInfo = &tiles;
        expected.imageData = nullptr;
        EXPECT_EQ(memcmp(image, &expected, sizeof expected), 0);
        daxDeallocateHeader(image);
        EXPECT_EQ(platform.live(), 0u);
    });
}

TEST(Header, SizesBeyond32BitsAreRefused) {
    const struct {
        kit::Shape shape;
        bool fits;
    } cases[] = {
        {{DAX_DEPTH_8U, 1, INT32_MAX, 1, 0, 4}, false},
        {{DAX_DEPTH_8U, 1, INT32_MAX - 7, 1, 0, 8}, true},
        {{DAX_DEPTH_8U, 1, INT32_MAX - 7, 2, 0, 8}, false},
        {{DAX_DEPTH_32S, 1, 1 << 29, 1, 1, 4}, false},
        {{DAX_DEPTH_1U, 1, INT32_MAX, 7, 0, 4}, true},
        {{DAX_DEPTH_1U, 1, INT32_MAX, 8, 0, 4}, false},
        {{DAX_DEPTH_8U, 1 << 16, 1 << 16, 1, 0, 4}, false},
        {{DAX_DEPTH_8U, 1 << 16, 4, 1 << 14, 1, 4}, false},
        {{DAX_DEPTH_8U, INT32_MAX, INT32_MAX, INT32_MAX, 0, 4}, false},
        {{DAX_DEPTH_32S, INT32_MAX, INT32_MAX, INT32_MAX, 1, 8}, false},
        {{DAX_DEPTH_8U, 3, 0, INT32_MAX, 0, 4}, true},
        {{DAX_DEPTH_8U, 1, INT32_MAX, 0, 0, 4}, false},
        {{DAX_DEPTH_16U, 1 << 30, 1 << 30, 1, 0, 4}, false},
    };
    for (const auto& is : cases) {
        const kit::Shape& s = is.shape;
        StandIn platform;
        DaxImage* image = daxCreateImageHeader(s.channels, 0, s.depth, "GRAY", "GRAY", s.order, 0,
                                               s.align, s.height, s.width, nullptr, 0, nullptr);
        EXPECT_EQ(image != nullptr, is.fits) << s.text();
        EXPECT_EQ(platform.live(), image != nullptr ? 1u : 0u);
        if (image != nullptr) {
            daxDeallocateHeader(image);
            continue;
        }
        DaxImage header = {};
        header.nChannels = s.channels;
        header.depth = s.depth;
        header.dataOrder = s.order;
        header.align = s.align;
        header.height = s.height;
        header.width = s.width;
        header.dataSize = 5;
        header.imageData = &header;
        daxAllocateImage(&header, 0);
        EXPECT_TRUE(header.imageData == nullptr && header.dataSize == 0 &&
                    header.allocBlock == nullptr)
            << s.text();
        EXPECT_EQ(platform.live(), 0u);
    }
}

TEST(Data, AlignedFilledAndDerivedAnew) {
    const auto repeated = [](int32_t depth, uint32_t value) -> uint32_t {
        switch (kit::bitsOf(depth)) {
        case 1: return value % 2 == 1 ? 0xFFFFFFFF : 0;
        case 8: return value % 256 * 0x01010101u;
        case 16: return value % 65536 * 0x00010001u;
        default: return value;
        }
    };
    kit::forSeeds(300, [&](Random& random) {
        const kit::Shape shape = kit::anyShape(random);
        const int32_t fill =
            random.oneOf<int32_t>({-1, 0, 1, 2, 255, 0x1234, -2, 0x12345678, INT32_MIN});
        StandIn platform;
        DaxImage* image =
            daxCreateImageHeader(shape.channels, 0, shape.depth, "GRAY", "GRAY", shape.order, 1,
                                 shape.align, shape.height, shape.width, nullptr, 0, nullptr);
        ASSERT_NE(image, nullptr);
        const int32_t step = image->widthStep;
        const int32_t size = image->dataSize;
        image->widthStep = 3;
        image->dataSize = 1;
        platform.shift = static_cast<size_t>(random.in(0, 15));
        daxAllocateImage(image, fill);
        EXPECT_EQ(platform.events.back(), "alloc " + std::to_string(size + shape.align - 1));
        EXPECT_TRUE(image->widthStep == step && image->dataSize == size);
        auto* data = static_cast<uint8_t*>(image->imageData);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % static_cast<uintptr_t>(shape.align), 0u);
        EXPECT_LT(data - static_cast<uint8_t*>(image->allocBlock), shape.align);
        for (int32_t at = 0; at < size; at += 4) {
            uint32_t word = 0;
            memcpy(&word, data + at, 4);
            // What the stand-in's heap left.
            const uint32_t expected =
                fill == -1 ? 0xC7C7C7C7 : repeated(shape.depth, static_cast<uint32_t>(fill));
            if (fill != -1 || at < 2048) {
                ASSERT_EQ(word, expected) << at;
            }
        }
        // Nothing frees a block that was there, and a failure keeps everything but the block.
        void* const first = image->allocBlock;
        platform.failRequest = platform.requests + 1;
        daxAllocateImage(image, 0);
        EXPECT_TRUE(image->allocBlock == nullptr && image->imageData == data &&
                    image->widthStep == step);
        EXPECT_EQ(platform.live(), 2u);
        image->allocBlock = first;
        image->align = 5;
        daxDeallocateImage(image);
        EXPECT_EQ(platform.live(), 2u);
        image->align = 4;
        daxDeallocateImage(image);
        EXPECT_TRUE(image->imageData == nullptr && image->allocBlock == nullptr &&
                    image->dataSize == size);
        image->imageData = data;
        image->origin = 2;
        daxAllocateImage(image, 0);
        EXPECT_TRUE(image->imageData == nullptr && image->dataSize == 0);
        daxDeallocateHeader(image);
    });
    daxAllocateImage(nullptr, 0);
}

DaxImage* fullImage(DaxImage* mask) {
    DaxImage* image =
        daxCreateImageHeader(1, 0, 8, "GRAY", "GRAY", 0, 0, 4, 4, 4, daxCreateROI(1, 2, 3, 4, 5), 0,
                             daxCreateTileInfo(noTiles, 9, 8, 16));
    daxAllocateImage(image, 0);
    image->maskImage = mask;
    return image;
}

TEST(Data, DeallocationTakesWhatTheFlagsName) {
    for (int32_t flags = 0; flags < 64; ++flags) {
        StandIn platform;
        DaxImage* maskOfMask = fullImage(nullptr);
        DaxImage* mask = fullImage(maskOfMask);
        DaxImage* image = fullImage(mask);
        const DaxImage was = *image;
        ASSERT_EQ(platform.live(), 12u);
        daxDeallocate(image, flags);
        const auto bit = [&](int32_t flag) { return (flags & flag) != 0; };
        EXPECT_EQ(platform.live(), 12u - bit(1) - bit(2) - bit(4) - bit(8) - (bit(16) ? 4u : 0u))
            << flags;
        if (bit(DAX_IMAGE_HEADER)) continue;
        EXPECT_EQ(image->imageData, bit(2) ? nullptr : was.imageData);
        EXPECT_EQ(image->allocBlock, bit(2) ? nullptr : was.allocBlock);
        EXPECT_EQ(image->roi, bit(4) ? nullptr : was.roi);
        EXPECT_EQ(image->tileInfo, bit(8) ? nullptr : was.tileInfo);
        EXPECT_EQ(image->maskImage, bit(16) ? nullptr : was.maskImage);
        // A second time frees nothing twice; data of the caller's stay.
        image->imageData = &flags;
        image->allocBlock = nullptr;
        daxDeallocate(image, flags);
        EXPECT_EQ(image->imageData, &flags);
    }
    daxDeallocate(nullptr, DAX_IMAGE_ALL);
    daxDeallocateHeader(nullptr);
    daxDeleteROI(nullptr);
    daxDeleteTileInfo(nullptr);
    daxSetROI(nullptr, 1, 2, 3, 4, 5);
    daxSetTileInfo(nullptr, noTiles, 1, 8, 8);
}

TEST(Data, RegionsAndTileDescriptorsTakeAnything) {
    StandIn platform;
    DaxROI* roi = daxCreateROI(-1, INT32_MIN, 3, -4, INT32_MAX);
    EXPECT_TRUE(roi->coi == -1 && roi->xOffset == INT32_MIN && roi->yOffset == 3 &&
                roi->height == -4 && roi->width == INT32_MAX);
    DaxTileInfo* tiles = daxCreateTileInfo(nullptr, 0xFFFFFFFF, -1, 7);
    EXPECT_TRUE(tiles->callBack == nullptr && tiles->tileId == 0xFFFFFFFF &&
                tiles->tileData == nullptr && tiles->width == -1 && tiles->height == 7);
    tiles->tileData = roi;
    daxSetTileInfo(tiles, noTiles, 1, 8, 16);
    EXPECT_TRUE(tiles->callBack == noTiles && tiles->tileData == nullptr && tiles->height == 16);
    daxDeleteTileInfo(tiles);
    daxDeleteROI(roi);
    EXPECT_EQ(platform.live(), 0u);
}

// The header check and its texts, in the order in which the texts stand in a report.
const struct {
    int32_t bit;
    bool (*bad)(const DaxImage& image);
    const char* text;
} faults[] = {
    {0x1, nullptr, "Image header is null"},
    {0x2, [](auto& i) { return (i.imageData != nullptr) == (i.tileInfo != nullptr); },
     "Image data and tileinfo is either null or not null"},
    {0x4,
     [](auto& i) {
         return i.height < 1 || i.width < 1 || (i.tileInfo == nullptr && i.dataSize < 1);
     },
     "Image size is invalid"},
    {0x10, [](auto& i) { return i.tileInfo == nullptr && i.widthStep < 1; },
     "Image widthStep is invalid"},
    {0x20, [](auto& i) { return i.nChannels < 1; }, "Image channel's number is less one"},
    {0x40, [](auto& i) { return i.depth == 1 && i.nChannels != 1; },
     "For image depth 1U channel's number is not equal one"},
    {0x80,
     [](auto& i) {
         return std::find(std::begin(kit::depths), std::end(kit::depths), i.depth) ==
                std::end(kit::depths);
     },
     "Image depth is invalid"},
    {0x100, [](auto& i) { return i.alphaChannel < 0 || i.alphaChannel > i.nChannels; },
     "Image alpha channel's number is less zero or is more channel's number"},
    {0x200, [](auto& i) { return i.dataOrder != 0 && i.dataOrder != 1; },
     "Image data order is invalid"},
    {0x400, [](auto& i) { return i.origin != 0 && i.origin != 1; }, "Image origin is invalid"},
    {0x800, [](auto& i) { return i.align != 4 && i.align != 8; }, "Image align is invalid"},
    {0x1000, [](auto& i) { return i.tileInfo && !i.tileInfo->callBack; }, "Callback is null"},
    {0x2000,
     [](auto& i) {
         return i.tileInfo && (i.tileInfo->width < 1 || i.tileInfo->height < 1 ||
                               i.tileInfo->width % 8 != 0 || i.tileInfo->height % 8 != 0);
     },
     "Tile size is invalid"},
    {0x4000, [](auto& i) { return i.roi && (i.roi->coi < 0 || i.roi->coi > i.nChannels); },
     "COI is less zero or is more image channel's number"},
    {0x8000, [](auto& i) { return i.roi && (i.roi->height < 1 || i.roi->width < 1); },
     "ROI size is invalid"},
    {0x8, [](auto& i) { return i.roi && (i.roi->xOffset < 0 || i.roi->yOffset < 0); },
     "ROI offset is invalid"},
};

std::string expectedText(int32_t bits) {
    std::string text;
    for (const auto& fault : faults) {
        if ((fault.bit & bits) == 0) continue;
        std::string line = fault.text;
        line.resize(70, ' ');
        text += line + "\n";
    }
    return text;
}

TEST(HeaderCheck, EveryBitAloneAndCombined) {
    std::set<int32_t> alone;
    kit::forSeeds(20000, [&](Random& random) {
        const int32_t doubt = random.oneOf({2, 8, 40});
        const auto field = [&](int32_t good, std::initializer_list<int32_t> any) {
            return random.chance(doubt) ? random.oneOf(any) : good;
        };
        char data = 0;
        const bool tiled = random.chance(50);
        DaxTileInfo tiles = {random.chance(doubt) ? nullptr : noTiles, 0, nullptr,
                             field(8, {0, -8, 4, 12, 16, INT32_MIN}),
                             field(8, {0, -8, 4, 12, 16, INT32_MIN})};
        DaxImage image = {};
        image.nChannels = field(random.in(1, 4), {-1, 0, 1, INT32_MIN, INT32_MAX});
        image.depth =
            field(random.of(kit::depths), {0, 2, 32, 64, DAX_DEPTH_SIGN, DAX_DEPTH_SIGN + 1, -1});
        if (image.depth == 1 && !random.chance(doubt)) image.nChannels = 1;
        image.alphaChannel = field(0, {-1, 1, 4, 5});
        image.dataOrder = field(random.in(0, 1), {-1, 2});
        image.origin = field(random.in(0, 1), {-1, 2});
        image.align = field(random.oneOf({4, 8}), {0, 2, 16, -4});
        image.height = field(5, {0, -1, 1});
        image.width = field(5, {0, -1, 1});
        image.dataSize = tiled ? 0 : field(40, {0, -1, 1});
        image.widthStep = tiled ? 0 : field(8, {0, -1, 1});
        image.imageData = tiled != random.chance(doubt) ? nullptr : &data;
        image.tileInfo = tiled ? &tiles : nullptr;
        DaxROI roi = {field(random.in(0, 1), {-1, 1, 4, 5}), field(0, {-1, 100, INT32_MAX}),
                      field(0, {-1, 100}), field(5, {0, -1, INT32_MAX}),
                      field(5, {0, -1, INT32_MAX})};
        if (random.chance(60)) image.roi = &roi;

        int32_t bits = 0;
        for (const auto& fault : faults)
            if (fault.bad != nullptr && fault.bad(image)) bits |= fault.bit;
        ASSERT_EQ(daxBadImageHeader(&image), bits);
        if ((bits & (bits - 1)) == 0) alone.insert(bits);
        StandIn platform;
        const char* text = ownHeaderMessage(bits);
        ASSERT_EQ(text != nullptr, bits != 0);
        ASSERT_EQ(text != nullptr ? text : "", expectedText(bits));
        ownReleaseMessage(text);
        EXPECT_EQ(platform.live(), 0u);
    });
    EXPECT_EQ(alone.size(), 16u); // fifteen bits, and none
    EXPECT_EQ(daxBadImageHeader(nullptr), 1);
}

TEST(HeaderCheck, ReportsThroughACall) {
    kit::Reports reports;
    StandIn platform;
    const OwnCall call = {"daxName", "daxfile"};
    kit::Image image({});
    EXPECT_TRUE(call.sound(image));
    EXPECT_FALSE(call.rejects(false, "(no)"));
    image->imageData = nullptr;
    image->align = 3;
    EXPECT_FALSE(call.sound(image));
    EXPECT_FALSE(call.sound(nullptr));
    EXPECT_TRUE(call.rejects(true, "(a != b)"));
    EXPECT_EQ(reports.lines.back(), __LINE__ - 1);
    EXPECT_EQ(daxGetErrStatus(), -5);
    const std::string name = " daxName daxfile ";
    EXPECT_EQ(reports.take(),
              (std::vector<std::string>{"-5" + name + expectedText(0x802),
                                        "-5" + name + expectedText(1), "-5" + name + "(a != b)"}));

    // Texts that come from no heap are never given back to it.
    const char* unknown = ownHeaderMessage(0x10000);
    EXPECT_STREQ(unknown, "Bad status: unknown error");
    ownReleaseMessage(unknown);
    EXPECT_EQ(platform.live(), 0u);
    platform.events.clear();
    platform.failRequest = platform.requests + 1;
    EXPECT_FALSE(call.sound(image));
    EXPECT_EQ(reports.take(), std::vector<std::string>{"-5" + name + "Out of memory"});
    EXPECT_EQ(platform.events.size(), 1u);
}

} // namespace
