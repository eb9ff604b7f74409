// The operations on one image, with a constant and without, against plain models of samples and of
// the two walks: by the layout of both images, and by the source.

#include "arith/samples.h"
#include "kit/models.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

namespace {

using kit::Image;
using kit::Random;
using samples::Place;

enum class Kind { sum, product, square, absolute, logic, left, right };

struct SingleOperation {
    const char* name; // and module, in reports
    const char* module;
    Kind kind;
    void (*call)(DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos);
    samples::Function* sample;
    int64_t block8 = 8; // bytes of a kernel's blocks in the unsigned depths
    int64_t block16 = 8;

    int64_t block(int32_t depth) const { return kit::bitsOf(depth) == 8 ? block8 : block16; }
};

uint32_t word(int32_t value) { return static_cast<uint32_t>(value); }

const SingleOperation operations[] = {
    {"daxAddS", "daxadds", Kind::sum, daxAddS, samples::addS, 8, 32},
    {"daxSubtractS", "daxsubs", Kind::sum,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxSubtractS(src, dst, value, 0, tilePos);
     },
     samples::subtractS, 8, 32},
    {"daxSubtractS", "daxsubs", Kind::sum,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxSubtractS(src, dst, value, -2, tilePos);
     },
     samples::subtractFromS, 8, 32},
    {"daxMultiplyS", "daxmuls", Kind::product,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxMultiplyS(src, dst, word(value), tilePos);
     },
     samples::multiplyS, 16, 8},
    {"daxSquare", "daxsqr", Kind::square,
     [](DaxImage* src, DaxImage* dst, int32_t, const int32_t* tilePos) {
         daxSquare(src, dst, tilePos);
     },
     samples::square, 16, 8},
    {"daxAbs", "daxabs", Kind::absolute,
     [](DaxImage* src, DaxImage* dst, int32_t, const int32_t* tilePos) {
         daxAbs(src, dst, tilePos);
     },
     samples::absolute},
    {"daxAndS", "daxands", Kind::logic,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxAndS(src, dst, word(value), tilePos);
     },
     samples::andS},
    {"daxOrS", "daxors", Kind::logic,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxOrS(src, dst, word(value), tilePos);
     },
     samples::orS},
    {"daxXorS", "daxxors", Kind::logic,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxXorS(src, dst, word(value), tilePos);
     },
     samples::xorS},
    // Reports under the name of what it calls.
    {"daxXorS", "daxxors", Kind::logic,
     [](DaxImage* src, DaxImage* dst, int32_t, const int32_t* tilePos) {
         daxNot(src, dst, tilePos);
     },
     [](int64_t a, int64_t, int32_t depth, Place place) {
         return samples::xorS(a, -1, depth, place);
     }},
    {"daxLShiftS", "daxlshs", Kind::left,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxLShiftS(src, dst, word(value), tilePos);
     },
     samples::lShiftS},
    {"daxRShiftS", "daxshfts", Kind::right,
     [](DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
         daxRShiftS(src, dst, word(value), tilePos);
     },
     samples::rShiftS, 16, 32},
};

// A constant with which a result doesn't depend on a sample's place in its run.
int32_t plainConstant(Random& random, const SingleOperation& operation, int32_t depth) {
    const bool byte = depth == DAX_DEPTH_8U;
    const bool cut = byte || depth == DAX_DEPTH_16U;
    if (operation.kind == Kind::left) return random.in(0, kit::bitsOf(depth) + 1);
    if (cut && operation.kind == Kind::sum)
        return byte ? random.in(-32000, 32000) : random.in(-65535, 65535);
    if (cut && operation.kind == Kind::product) return random.in(0, byte ? 128 : 32768);
    if (operation.kind == Kind::right && (cut || random.chance(80))) return random.in(0, 31);
    return samples::anyConstant(random);
}

// What daxCopy does in an operation's place.
bool copies(const SingleOperation& operation, int32_t depth, int32_t value) {
    return (operation.kind == Kind::absolute && !kit::isSigned(depth)) ||
           (operation.kind == Kind::left && depth == DAX_DEPTH_1U && value == 0);
}

// A source, a destination and an operation that is no copy; squares are below 2^31 where it
// matters.
struct Case {
    explicit Case(Random& random, bool tileable = false)
        : images(kit::filledImages(random, kit::fittingShapes(random, 2, tileable))) {
        const int32_t depth = images[0]->depth;
        do {
            operation = random.of(operations);
            value = plainConstant(random, operation, depth);
        } while (copies(operation, depth, value));
        if (operation.kind == Kind::square && depth == DAX_DEPTH_16U)
            for (size_t i = 0; i < images[0].size(); ++i) images[0].data()[i] &= 0x7F;
    }

    std::string text() const {
        return operation.name + (" " + std::to_string(value)) + ", source " +
               images[0].shape().text();
    }

    std::vector<Image> images;
    SingleOperation operation = {};
    int32_t value = 0;
};

bool covered(const DaxImage* image) {
    const DaxROI* roi = image->roi;
    return roi == nullptr ||
           (roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= image->width &&
            roi->height >= image->height && (roi->coi == 0 || image->nChannels == 1));
}

// Where the operations that go by the source find their samples, in the form of kit::visitsOf.
// Logic takes two whole images of one size as words, of 32 bits or as wide as the source's rows are
// aligned.
std::vector<kit::Visit> visitsBySource(const DaxImage* src, const DaxImage* dst, bool logic) {
    const DaxImage* const images[] = {src, dst};
    const bool bitonal = src->depth == DAX_DEPTH_1U;
    const bool pixels = src->dataOrder == DAX_DATA_PIXEL;
    const int64_t s = bitonal ? 1 : kit::bytesOf(src->depth);
    const int64_t perByte = bitonal ? 8 : 1;
    std::vector<kit::Visit> visits;
    if (logic && src->width == dst->width && src->height == dst->height &&
        src->dataSize == dst->dataSize && covered(src) && covered(dst)) {
        const int64_t end = src->dataSize / src->align * src->align * perByte;
        for (int64_t at = 0; at < end; at += s) visits.push_back({at, at});
        return visits;
    }

    const bool ofInterest = src->roi != nullptr && (src->nChannels == 1 || src->roi->coi != 0);
    int64_t width = INT64_MAX;
    int64_t height = INT64_MAX;
    int64_t x0[2] = {}, y0[2] = {}, own[2] = {}, end[2] = {};
    for (size_t i = 0; i < 2; ++i) {
        const DaxImage* image = images[i];
        if (const DaxROI* roi = image->roi) {
            x0[i] = roi->xOffset;
            y0[i] = roi->yOffset;
            own[i] = std::max(roi->coi, 1) - 1;
            width = std::min<int64_t>(width, roi->width);
            height = std::min<int64_t>(height, roi->height);
        }
        width = std::min(width, image->width - x0[i]);
        height = std::min(height, image->height - y0[i]);
        const int64_t rows = int64_t{image->height} * (pixels ? 1 : image->nChannels);
        end[i] = std::max<int64_t>(rows * image->widthStep, image->dataSize) * perByte;
    }
    for (int64_t c = 0; c < (ofInterest ? 1 : src->nChannels); ++c)
        for (int64_t y = 0; y < height; ++y)
            for (int64_t x = 0; x < width; ++x) {
                kit::Visit at = {};
                bool inside = true;
                for (size_t i = 0; i < 2; ++i) {
                    const int64_t channel = ofInterest ? own[i] : c;
                    const int64_t pixel = images[i]->nChannels;
                    const int64_t row = (y0[i] + y) * images[i]->widthStep;
                    if (bitonal)
                        at[i] = row * 8 + x0[i] + x;
                    else if (pixels)
                        at[i] = row + s * (x0[i] * pixel +
                                           x * (ofInterest ? pixel : src->nChannels) + channel);
                    else
                        at[i] = row + s * (x0[i] + x) +
                                channel * images[i]->height * images[i]->widthStep;
                    inside = inside && at[i] + s <= end[i];
                }
                if (inside) visits.push_back(at);
            }
    return visits;
}

void applyModel(const SingleOperation& operation, DaxImage* src, DaxImage* dst, int32_t value) {
    const int32_t depth = dst->depth;
    const bool bitonal = depth == DAX_DEPTH_1U;
    const bool gone = operation.kind == Kind::left && value >= kit::bitsOf(depth);
    const bool bySource = operation.kind == Kind::absolute || operation.kind == Kind::logic ||
                          operation.kind == Kind::left;
    const std::vector<kit::Visit> visits =
        bySource ? visitsBySource(src, dst, operation.kind == Kind::logic || gone)
                 : kit::visitsOf({src, dst});
    const auto* from = static_cast<const uint8_t*>(src->imageData);
    auto* to = static_cast<uint8_t*>(dst->imageData);
    for (const kit::Visit& at : visits) {
        const int64_t a = kit::readSample(from + (bitonal ? 0 : at[0]), depth, at[0]);
        kit::writeSample(to + (bitonal ? 0 : at[1]), depth,
                         operation.sample(a, value, depth, Place::alone), at[1]);
    }
}

TEST(Single, PlainImagesAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(6000, [&](Random& random) {
        Case c(random);
        Image& src = c.images[0];
        Image& dst = c.images[1];
        // Flat runs leave a rest of their words.
        if (random.chance(20)) {
            const int32_t rest = random.in(1, 9);
            src->dataSize = std::max(src->dataSize - rest, 1);
            dst->dataSize = std::max(dst->dataSize - rest, 1);
        }
        Image expected = dst;
        applyModel(c.operation, src, expected, c.value);
        const std::vector<uint8_t> bytes = src.bytes();
        kit::forEachIsa([&] {
            Image is = dst;
            c.operation.call(src, is, c.value, nullptr);
            EXPECT_EQ(kit::byteDifference(is, expected), "") << c.text();
            EXPECT_EQ(src.bytes(), bytes);
        });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

TEST(Single, InPlace) {
    kit::forSeeds(2000, [](Random& random) {
        Case c(random);
        Image expected = c.images[0];
        applyModel(c.operation, expected, expected, c.value);
        kit::forEachIsa([&] {
            Image is = c.images[0];
            c.operation.call(is, is, c.value, nullptr);
            EXPECT_EQ(kit::byteDifference(is, expected), "") << c.text();
        });
    });
}

// Constants beyond the samples' range, and products that wrap: in rows that are runs of their own,
// in a whole image, which is one run, and in one channel of three.
TEST(Single, ConstantsThatRunsCut) {
    kit::forSeeds(3000, [](Random& random) {
        const SingleOperation& operation = random.of(operations);
        const int32_t kind = random.in(0, 2);
        kit::Shape shape = {.depth = random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_16U}),
                            .channels = kind == 2 ? 3 : 1,
                            .width = random.in(2, 150),
                            .height = random.in(1, 3)};
        const int32_t count = shape.width - 1;
        if (kind != 1) shape.roi = DaxROI{kind, 0, 0, shape.height, count};
        const Image src(shape, random);
        const std::string text = operation.name + (", source " + src.shape().text());
        const int64_t size = kit::bytesOf(shape.depth);
        shape.shift = random.in(0, 7) / static_cast<int32_t>(size) * static_cast<int32_t>(size);
        const Image before(shape, random);
        const int32_t value = samples::anyConstant(random);
        kit::forEachIsa([&] {
            Image is = before;
            Image expected = before;
            const std::vector<kit::Visit> visits = kit::visitsOf({&src.header, &is.header});
            const auto run = kind == 0 ? count : static_cast<int64_t>(visits.size());
            for (size_t k = 0; k < visits.size(); ++k) {
                const int64_t i = static_cast<int64_t>(k) % run;
                const uint8_t* start = is.data() + visits[k - static_cast<size_t>(i)][1];
                const Place place =
                    kind == 2 ? Place::alone
                              : samples::placeOf(start, i, run, size, operation.block(shape.depth));
                const int64_t a = kit::readSample(src.data() + visits[k][0], shape.depth);
                kit::writeSample(expected.data() + visits[k][1], shape.depth,
                                 operation.sample(a, value, shape.depth, place));
            }
            Image from = src;
            operation.call(from, is, value, nullptr);
            // There the walk leaves the padding.
            const bool bySource = operation.kind == Kind::absolute || operation.kind == Kind::left;
            EXPECT_EQ((bySource ? kit::pixelDifference : kit::byteDifference)(is, expected), "")
                << value << " " << text;
        });
    });
}

TEST(Single, TiledLikePlain) {
    kit::Reports reports;
    kit::forSeeds(1500, [](Random& random) {
        const Case c(random, true);
        SCOPED_TRACE(c.text());
        kit::expectTiledLikePlain(random, c.images, [&](const std::vector<DaxImage*>& is) {
            c.operation.call(is[0], is[1], c.value, nullptr);
        });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// A tile position cuts the work to one tile of the destination, and to none from too far outside.
TEST(Single, TilePositions) {
    kit::Reports reports;
    kit::forSeeds(600, [&](Random& random) {
        Case c(random, true);
        std::vector<Image>& images = c.images;
        Image whole = images[1];
        c.operation.call(images[0], whole, c.value, nullptr);
        const int32_t width = random.in(1, 3) * 8;
        const int32_t height = random.in(1, 3) * 8;
        const int32_t tilePos[2] = {random.in(-1, whole->width / width),
                                    random.in(-1, whole->height / height)};
        kit::TileLog log;
        kit::Tiles dst(images[1], 'D', width, height, log);
        const std::string rejection = kit::tileWalkOf({images[0], dst}, tilePos).rejection;
        c.operation.call(images[0], dst, c.value, tilePos);
        const std::vector<std::string> told = reports.take();
        EXPECT_EQ(told.empty(), rejection.empty());
        EXPECT_TRUE(told.empty() || (log.lines.empty() && told[0].ends_with(rejection)));
        Image expected = images[1];
        for (int32_t channel = 1; channel <= whole->nChannels; ++channel)
            for (int32_t y = 0; y < whole->height; ++y)
                for (int32_t x = 0; x < whole->width; ++x)
                    if (x / width == tilePos[0] && y / height == tilePos[1])
                        expected.set(x, y, channel, whole.get(x, y, channel));
        EXPECT_EQ(kit::pixelDifference(dst.gathered(), expected), "") << c.text();
    });
}

// Each check in its order: with all faults at once the first is told, then one after the other is
// mended.
TEST(Single, ChecksInOrder) {
    const std::string size = "Image size is invalid" + std::string(49, ' ') + "\n";
    const std::string null = "Image header is null" + std::string(50, ' ') + "\n";
    for (const SingleOperation& operation : operations) {
        kit::Reports reports;
        Random random(1);
        const kit::Shape good = {
            .depth = DAX_DEPTH_8S, .channels = 3, .width = 9, .height = 3, .order = DAX_DATA_PLANE};
        Image src(good, random);
        Image dst(good, random);
        src->width = dst->width = 0;
        src->depth = DAX_DEPTH_8U;
        src->dataOrder = DAX_DATA_PIXEL;
        dst.roi = {2, 0, 0, 1, 1};
        dst->roi = &dst.roi;
        const struct {
            std::string text;
            std::function<void()> mend;
        } steps[] = {
            {size, [&] { src->width = 9; }},
            {size, [&] { dst->width = 9; }},
            {"(srcImage->depth != dstImage->depth)", [&] { src->depth = DAX_DEPTH_8S; }},
            {"(srcImage->dataOrder != dstImage->dataOrder)",
             [&] { src->dataOrder = DAX_DATA_PLANE; }},
            {"(nChSrc != nChDst)", [&] { dst->roi = nullptr; }},
        };
        const Image before = dst;
        const std::string start =
            std::string("-5 ") + operation.name + " " + operation.module + " ";
        for (const auto& step : steps) {
            operation.call(src, dst, 1, nullptr);
            EXPECT_EQ(daxGetErrStatus(), -5);
            EXPECT_EQ(reports.take(), std::vector<std::string>{start + step.text});
            step.mend();
        }
        operation.call(nullptr, nullptr, 1, nullptr);
        operation.call(src, nullptr, 1, nullptr);
        EXPECT_EQ(reports.take(), (std::vector<std::string>{start + null, start + null}));
        EXPECT_EQ(kit::byteDifference(dst, before), "");

        // Tiles that don't come or don't go, each under the text of its image.
        const std::string isNull = operation.kind == Kind::right ? "((void *)0))" : "((void*)(0)))";
        const auto fail = [&](int32_t request, int32_t release, const std::string& text) {
            kit::TileLog log;
            log.failRequest = request;
            log.failRelease = release;
            kit::Tiles a(src, 'A', 8, 8, log);
            kit::Tiles d(dst, 'D', 8, 8, log);
            operation.call(a, d, 1, nullptr);
            EXPECT_EQ(reports.take(), std::vector<std::string>{start + text + isNull});
        };
        fail(1, 0, "(srcImage->tileInfo->tileData == ");
        fail(2, 0, "(dstImage->tileInfo->tileData == ");
        fail(0, 1, "(srcImage->tileInfo->tileData != ");
        fail(0, 2, "(dstImage->tileInfo->tileData != ");
    }
}

// What an operation hands to another is done, and told once, under the other's name.
TEST(Single, HandedOnToOthers) {
    const std::string andS = "-5 daxAndS daxands (dstImage->tileInfo->tileData == ((void*)(0)))";
    const std::string outside = "-5 daxAndS daxands (dTile.begX > dRoi.endX)";
    const std::string copy = "-2 daxCopy daxSCE Error get tile to write";
    const auto left = [](uint32_t count) {
        return [count](DaxImage* src, DaxImage* dst, const int32_t* tilePos) {
            daxLShiftS(src, dst, count, tilePos);
        };
    };
    const struct {
        int32_t depth;
        std::function<void(DaxImage* src, DaxImage* dst, const int32_t* tilePos)> call;
        std::string report;
        bool clears;
    } cases[] = {
        {DAX_DEPTH_8U, left(8), andS, true},   {DAX_DEPTH_8S, left(UINT32_MAX), andS, true},
        {DAX_DEPTH_16U, left(16), andS, true}, {DAX_DEPTH_32S, left(32), andS, true},
        {DAX_DEPTH_1U, left(1), andS, true},   {DAX_DEPTH_1U, left(0), copy, false},
        {DAX_DEPTH_1U, daxAbs, copy, false},   {DAX_DEPTH_8U, daxAbs, copy, false},
        {DAX_DEPTH_16U, daxAbs, copy, false},
    };
    for (const auto& handed : cases) {
        kit::Reports reports;
        Random random(1);
        const kit::Shape shape = {.depth = handed.depth, .width = 9, .height = 3};
        const Image src(shape, random);
        Image plain(shape, random);
        const Image zeroes(shape);
        // A copy that comes to no end leaves another region in the source's header.
        const auto call = [&](DaxImage* to, const int32_t* tilePos) {
            Image from = src;
            handed.call(from, to, tilePos);
        };
        call(plain, nullptr);
        EXPECT_EQ(kit::pixelDifference(plain, handed.clears ? zeroes : src), "");
        kit::TileLog log;
        log.failRequest = 1;
        kit::Tiles dst(src, 'D', 8, 8, log);
        const int32_t tilePos[2] = {10, 0};
        call(dst, tilePos);
        EXPECT_EQ(reports.take(),
                  handed.clears ? std::vector<std::string>{outside} : std::vector<std::string>{});
        EXPECT_TRUE(log.lines.empty());
        call(dst, nullptr);
        EXPECT_EQ(reports.take(), std::vector<std::string>{handed.report});
    }
}

} // namespace
