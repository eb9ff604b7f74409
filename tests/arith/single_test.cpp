// The operations on one image, with a constant and without, against plain models of samples and of
// the two walks: by the layout of both images, and by the source.

#include "kit/models.h"
#include "kit/platform.h"
#include "kit/reports.h"
#include "kit/shapes.h"
#include "kit/tiles.h"

#include <algorithm>
#include <climits>

namespace {

using kit::Image;
using kit::Random;
using Lines = std::vector<std::string>;

// Constants outside the range of unsigned samples are cut in flat runs, and otherwise in their
// blocks than at their ends. Samples of a channel among others are taken alone.
enum class Place { alone, end, block };

// The place of sample `i` of a flat run: blocks, of a number of bytes, start at a multiple of 8.
Place placeOf(const uint8_t* dst, int64_t i, int64_t count, int64_t size, int64_t block) {
    const auto before = static_cast<int64_t>(-reinterpret_cast<uintptr_t>(dst) & 7) / size;
    const int64_t head = std::min(count, before);
    const int64_t inBlocks = (count - head) * size / block * block / size;
    return i < head || i >= head + inBlocks ? Place::end : Place::block;
}

int64_t limited(int64_t exact, int32_t depth) {
    return std::clamp(exact, kit::leastOf(depth), kit::mostOf(depth));
}

// The low 16 or 32 bits as a signed number.
int64_t signed16(int64_t x) { return static_cast<int16_t>(static_cast<uint16_t>(x)); }
int64_t signed32(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(x)); }

// Products at the ends of a run of 16 bits are compared as signed numbers.
int64_t endProduct(int64_t product) { return std::min<int64_t>(signed32(product), 0xFFFF); }

// All take a sample, the constant, the depth and the place. Of a result that is wider than the
// depth the low bits count.
using Function = int64_t(int64_t a, int64_t v, int32_t depth, Place place);

int64_t addS(int64_t a, int64_t v, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_1U) return a | (v & 1);
    if (depth == DAX_DEPTH_8U && place != Place::alone) return limited(signed16(a + v), depth);
    if (depth == DAX_DEPTH_16U && place == Place::end) return limited(signed32(a + v), depth);
    if (depth == DAX_DEPTH_16U && place == Place::block)
        return limited(v < 0 ? a - (-v & 0xFFFF) : a + (v & 0xFFFF), depth);
    return limited(a + v, depth);
}

int64_t subtractS(int64_t a, int64_t v, int32_t depth, Place place) {
    return depth == DAX_DEPTH_1U ? a & ~v & 1 : addS(a, -v, depth, place);
}

int64_t subtractFromS(int64_t a, int64_t v, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_1U) return v & ~a & 1;
    if (depth == DAX_DEPTH_8U && place != Place::alone) return limited(signed16(v - a), depth);
    if (depth == DAX_DEPTH_16U && place == Place::block && v >= 0) v &= 0xFFFF;
    return limited(v - a, depth);
}

int64_t multiplyS(int64_t a, int64_t v, int32_t depth, Place place) {
    const int64_t factor = static_cast<uint32_t>(v);
    if (depth == DAX_DEPTH_1U) return a & v & 1;
    if (depth == DAX_DEPTH_8U && place == Place::end) return limited(signed16(a * factor), depth);
    if (depth == DAX_DEPTH_16U && place == Place::end) return endProduct(a * factor);
    const bool cut = place == Place::block && !kit::isSigned(depth);
    return limited(a * (cut ? factor & kit::mostOf(depth) : factor), depth);
}

int64_t square(int64_t a, int64_t, int32_t depth, Place place) {
    if (depth == DAX_DEPTH_16U && place == Place::end) return endProduct(a * a);
    return limited(a * a, depth);
}

int64_t absolute(int64_t a, int64_t, int32_t, Place) { return a < 0 ? -a : a; }

int64_t andS(int64_t a, int64_t v, int32_t, Place) { return a & v; }

int64_t orS(int64_t a, int64_t v, int32_t depth, Place) {
    return depth == DAX_DEPTH_1U ? (a | v) & 1 : a | v;
}

int64_t xorS(int64_t a, int64_t v, int32_t depth, Place) {
    return depth == DAX_DEPTH_1U ? (a ^ v) & 1 : a ^ v;
}

int64_t lShiftS(int64_t a, int64_t v, int32_t depth, Place) {
    const auto count = static_cast<uint32_t>(v);
    return count >= static_cast<uint32_t>(kit::bitsOf(depth)) ? 0 : a * (int64_t{1} << count);
}

int64_t rShiftS(int64_t a, int64_t v, int32_t depth, Place place) {
    const auto count = static_cast<uint32_t>(v);
    if (depth == DAX_DEPTH_1U) return count == 0 ? a : 0;
    if (depth == DAX_DEPTH_32S) return a >> (count & 31);
    if (!kit::isSigned(depth) && place == Place::block && count >= 16) return 0;
    return static_cast<uint32_t>(a) >> (count & 31);
}

// A constant of any size, those about the ends of the depths' ranges often.
int32_t anyConstant(Random& random) {
    if (random.chance(30)) return random.in(-300, 300);
    if (random.chance(40)) return random.in(INT_MIN, INT_MAX);
    const int32_t base = random.oneOf({0, 128, 255, 256, 32768, 65535, 65536, 1 << 24, INT_MIN});
    const int64_t near = (random.chance(50) ? -int64_t{base} : base) + random.in(-1, 1);
    return static_cast<int32_t>(near);
}

enum class Kind { sum, product, square, absolute, logic, left, right };

using Call = void(DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos);

template <class T>
void callWith(void (*function)(DaxImage*, DaxImage*, T, const int32_t*), DaxImage* src,
              DaxImage* dst, int32_t value, const int32_t* tilePos) {
    function(src, dst, static_cast<T>(value), tilePos);
}
template <auto function>
void constant(DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
    callWith(function, src, dst, value, tilePos);
}
template <auto function> void alone(DaxImage* src, DaxImage* dst, int32_t, const int32_t* tilePos) {
    function(src, dst, tilePos);
}
template <int32_t flip>
void subtract(DaxImage* src, DaxImage* dst, int32_t value, const int32_t* tilePos) {
    daxSubtractS(src, dst, value, flip, tilePos);
}

struct SingleOperation {
    const char* name; // and module, in reports
    const char* module;
    Kind kind;
    Call* call;
    Function* sample;
    int64_t block8 = 8; // bytes of a kernel's blocks in the unsigned depths
    int64_t block16 = 8;

    int64_t block(int32_t depth) const { return kit::bitsOf(depth) == 8 ? block8 : block16; }
};

const SingleOperation operations[] = {
    {"daxAddS", "daxadds", Kind::sum, constant<daxAddS>, addS, 8, 32},
    {"daxSubtractS", "daxsubs", Kind::sum, subtract<0>, subtractS, 8, 32},
    {"daxSubtractS", "daxsubs", Kind::sum, subtract<-2>, subtractFromS, 8, 32},
    {"daxMultiplyS", "daxmuls", Kind::product, constant<daxMultiplyS>, multiplyS, 16, 8},
    {"daxSquare", "daxsqr", Kind::square, alone<daxSquare>, square, 16, 8},
    {"daxAbs", "daxabs", Kind::absolute, alone<daxAbs>, absolute},
    {"daxAndS", "daxands", Kind::logic, constant<daxAndS>, andS},
    {"daxOrS", "daxors", Kind::logic, constant<daxOrS>, orS},
    {"daxXorS", "daxxors", Kind::logic, constant<daxXorS>, xorS},
    // Reports under the name of what it calls.
    {"daxXorS", "daxxors", Kind::logic, alone<daxNot>,
     [](int64_t a, int64_t, int32_t depth, Place place) { return xorS(a, -1, depth, place); }},
    {"daxLShiftS", "daxlshs", Kind::left, constant<daxLShiftS>, lShiftS},
    {"daxRShiftS", "daxshfts", Kind::right, constant<daxRShiftS>, rShiftS, 16, 32},
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
    return anyConstant(random);
}

// What daxCopy does in an operation's place.
bool copies(const SingleOperation& operation, int32_t depth, int32_t value) {
    return (operation.kind == Kind::absolute && !kit::isSigned(depth)) ||
           (operation.kind == Kind::left && depth == DAX_DEPTH_1U && value == 0);
}

// A source, a destination and an operation that is no copy; squares are below 2^31 where it
// matters.
struct Case {
    explicit Case(Random& random, bool tileable = false) : images(anyImages(random, tileable)) {
        const int32_t depth = images[0]->depth;
        do {
            operation = random.of(operations);
            value = plainConstant(random, operation, depth);
        } while (copies(operation, depth, value));
        if (operation.kind == Kind::square && depth == DAX_DEPTH_16U)
            for (size_t i = 0; i < images[0].size(); ++i) images[0].data()[i] &= 0x7F;
    }

    static std::vector<Image> anyImages(Random& random, bool tileable) {
        std::vector<kit::Shape> shapes = kit::fittingShapes(random, 2, tileable);
        if (!tileable && random.chance(10)) kit::widen(random, &shapes);
        return kit::filledImages(random, shapes);
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
    kit::forSeeds(7000, [](Random& random) {
        Case c(random);
        Image& src = c.images[0];
        Image& dst = c.images[1];
        // Flat runs leave a rest of their words.
        if (random.chance(20)) {
            const int32_t rest = random.in(1, 9);
            src->dataSize = std::max(src->dataSize - rest, 1);
            dst->dataSize = std::max(dst->dataSize - rest, 1);
        }
        const bool inPlace = random.chance(25);
        const std::vector<uint8_t> bytes = src.bytes();
        Image expected = inPlace ? src : dst;
        applyModel(c.operation, inPlace ? expected : src, expected, c.value);
        kit::forEachIsa([&] {
            Image is = inPlace ? src : dst;
            c.operation.call(inPlace ? is : src, is, c.value, nullptr);
            EXPECT_EQ(kit::byteDifference(is, expected), "") << c.text();
            EXPECT_EQ(src.bytes(), bytes);
        });
    });
    EXPECT_EQ(reports.take(), Lines());
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
        const int32_t value = anyConstant(random);
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
                              : placeOf(start, i, run, size, operation.block(shape.depth));
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
    EXPECT_EQ(reports.take(), Lines());
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
            EXPECT_EQ(reports.take(), Lines{start + step.text});
            step.mend();
        }
        operation.call(nullptr, nullptr, 1, nullptr);
        operation.call(src, nullptr, 1, nullptr);
        EXPECT_EQ(reports.take(), (Lines{start + null, start + null}));
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
            EXPECT_EQ(reports.take(), Lines{start + text + isNull});
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
    const std::string copy = "-2 daxCopy daxSCE Error get tile to write";
    const struct {
        Call* call;
        int32_t value, depth;
    } cases[] = {
        {constant<daxLShiftS>, 8, DAX_DEPTH_8U},   {constant<daxLShiftS>, -1, DAX_DEPTH_8S},
        {constant<daxLShiftS>, 16, DAX_DEPTH_16U}, {constant<daxLShiftS>, 32, DAX_DEPTH_32S},
        {constant<daxLShiftS>, 1, DAX_DEPTH_1U},   {constant<daxLShiftS>, 0, DAX_DEPTH_1U},
        {alone<daxAbs>, 0, DAX_DEPTH_1U},          {alone<daxAbs>, 0, DAX_DEPTH_8U},
        {alone<daxAbs>, 0, DAX_DEPTH_16U},
    };
    for (const auto& handed : cases) {
        kit::Reports reports;
        Random random(1);
        const kit::Shape shape = {.depth = handed.depth, .width = 9, .height = 3};
        Image src(shape, random);
        Image plain(shape, random);
        const bool clears = handed.value != 0;
        const Image expected = clears ? Image(shape) : src;
        handed.call(src, plain, handed.value, nullptr);
        EXPECT_EQ(kit::pixelDifference(plain, expected), "");
        kit::TileLog log;
        log.failRequest = 1;
        kit::Tiles dst(plain, 'D', 8, 8, log);
        handed.call(src, dst, handed.value, nullptr);
        EXPECT_EQ(reports.take(), Lines{clears ? andS : copy});
    }
}

} // namespace
