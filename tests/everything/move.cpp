// Copies, fills and exchanges; other depths and bitmaps.

#include "everything/families.h"

#include <cstdlib>

namespace everything {

namespace {

template <auto function> void pairOf(Scene& scene) {
    const Shape shape = scene.shape();
    DaxImage* const src = scene.image(shape);
    DaxImage* const dst = scene.image(scene.like(shape));
    function(src, dst, scene.tilePos());
}

void set(Scene& scene) {
    DaxImage* const dst = scene.image(scene.shape());
    const int32_t value = scene.number(-70000, 70000);
    daxSet(dst, value, scene.tilePos());
}

// The whole of images of one size, of any depths and orders.
struct Whole {
    DaxImage* src;
    DaxImage* dst;
};

Whole whole(Scene& scene, Shape shape, Shape other) {
    Allowed allowed;
    allowed.far = false;
    if (!scene.rare()) {
        other.width = shape.width;
        other.height = shape.height;
    }
    if (other.roi && scene.random.chance(50)) other.roi.reset();
    DaxImage* const src = scene.image(shape, allowed);
    return {src, scene.image(other, allowed)};
}

void convert(Scene& scene) {
    const Shape shape = scene.shape();
    Shape other = scene.shape();
    if (shape.depth == DAX_DEPTH_1U && !scene.rare()) other.depth = DAX_DEPTH_1U;
    other.channels = other.depth == DAX_DEPTH_1U ? 1 : shape.channels;
    if (other.roi) other.roi->coi = 0;
    const Whole images = whole(scene, shape, other);
    const int32_t mode = scene.rare() ? scene.number(-1, 2) : scene.random.in(0, 1);
    daxConvert(images.src, images.dst, mode, scene.tilePos());
}

void expandBits(Scene& scene) {
    const Shape shape = scene.shape({DAX_DEPTH_1U});
    const Whole images = whole(scene, shape, scene.shape());
    const int32_t zero = scene.number(0, 127);
    const int32_t one = scene.number(0, 127);
    daxBitonalToGray(images.src, images.dst, zero, one, scene.tilePos());
}

// A bitmap whose block has just the bytes that its header asks for.
struct Bitmap {
    int32_t width;
    int32_t height;
    int32_t bits;
    bool fields;
    uint8_t* block;

    BITMAPINFOHEADER* header() const { return reinterpret_cast<BITMAPINFOHEADER*>(block); }
};

// A number of entries goes with the bits of a pixel; `fullTable` leaves room for all that there may
// be, as daxConvertToDIB() wants it.
Bitmap bitmap(Scene& scene, int32_t width, int32_t height, bool fullTable) {
    Random& random = scene.random;
    Bitmap made = {width, height, random.oneOf({1, 4, 8, 16, 24, 32}), false, nullptr};
    BITMAPINFOHEADER header = {};
    header.biSize = scene.rare() ? 12 : sizeof header;
    header.biPlanes = scene.rare() ? 3 : 1;
    header.biBitCount = static_cast<uint16_t>(made.bits);
    header.biWidth = width;
    header.biHeight = height;
    made.fields = made.bits >= 16 && made.bits != 24 && random.chance(40);
    header.biCompression = made.fields ? BI_BITFIELDS : BI_RGB;
    int32_t entries = made.fields ? 3 : 0;
    if (made.bits <= 8) {
        entries = 1 << made.bits;
        if (random.chance(40)) {
            header.biClrUsed = static_cast<uint32_t>(random.in(1, entries));
            if (!fullTable) entries = static_cast<int32_t>(header.biClrUsed);
        }
    }
    const int32_t rows = std::abs(height) * ((width * made.bits + 31) / 32 * 4);
    const int32_t table = static_cast<int32_t>(sizeof header) + entries * 4;
    made.block = scene.array<uint8_t>(table + rows);
    Random pixels(static_cast<uint64_t>(random.in(0, 255)));
    for (int32_t i = 0; i < table + rows; ++i)
        made.block[i] = static_cast<uint8_t>(pixels.in(0, 255));
    if (made.bits <= 8 && random.chance(50))
        for (int32_t i = 0; i < entries && entries > 1; ++i)
            memset(made.block + sizeof header + i * 4, i * 255 / (entries - 1), 4);
    const uint32_t masks[] = {random.oneOf({0xF800U, 0x7C00U, 0xFF0000U}),
                              random.oneOf({0x07E0U, 0x03E0U, 0xFF00U}),
                              random.oneOf({0x001FU, 0x000FU, 0xFFU})};
    if (made.fields && random.chance(80)) memcpy(made.block + sizeof header, masks, sizeof masks);
    if (scene.rare()) header.biBitCount = 0;
    if (scene.rare()) header.biCompression = 1;
    memcpy(made.block, &header, sizeof header);
    return made;
}

int32_t orUpsideDown(Scene& scene, int32_t height) {
    return scene.random.chance(30) ? -height : height;
}

void translate(Scene& scene) {
    const int32_t height = orUpsideDown(scene, scene.random.in(1, 20));
    const int32_t width = scene.random.in(1, 40);
    const Bitmap from = bitmap(scene, width, height, false);
    int32_t* const shares = scene.array<int32_t>(1);
    DaxImage* const image = daxTranslateDIB(scene.rare() ? nullptr : from.header(), shares);
    if (image == nullptr) return;
    // A copy is bytes in planes; nobody fills what pads its rows.
    for (int32_t i = 0; *shares == 0 && i < image->dataSize; ++i)
        if (i % image->widthStep < image->width)
            scene.keep(static_cast<uint8_t*>(image->imageData)[i]);
    daxDeallocate(image, DAX_IMAGE_ALL);
}

// An image of one of the layouts that bitmaps know.
Allowed ofBitmaps(Scene& scene, Shape& shape) {
    const char* const sequence =
        scene.random.oneOf({"GRAY", "G\0\0", "BGR", "RGB", "BGRA", "RGBA"});
    if (!scene.rare() && shape.depth == DAX_DEPTH_8U)
        shape.channels = sequence[0] == 'G' ? 1 : sequence[3] == 'A' ? 4 : 3;
    if (shape.channels == 2) shape.channels = 3;
    Allowed allowed = {.tiles = false, .sequence = sequence}; // exception: images in tiles
    if (shape.channels == 4) allowed.alpha = 4;
    return allowed;
}

void fromBitmap(Scene& scene) {
    Shape shape = scene.shape({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    const Allowed allowed = ofBitmaps(scene, shape);
    const int32_t height = orUpsideDown(scene, scene.random.in(1, shape.height));
    const int32_t width = scene.random.in(1, shape.width);
    const Bitmap from = bitmap(scene, width, height, false);
    DaxImage* const image = scene.image(shape, allowed);
    daxConvertFromDIB(scene.rare() ? nullptr : from.header(), image);
}

void toBitmap(Scene& scene) {
    Shape shape = scene.shape({DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_8U, DAX_DEPTH_16U});
    const Allowed allowed = ofBitmaps(scene, shape);
    DaxImage* const image = scene.image(shape, allowed);
    const Bitmap to = bitmap(scene, shape.width, shape.height, true);
    const int32_t dither = scene.rare() ? scene.number(0, 9)
                                        : scene.random.oneOf({DAX_DITHER_NONE, DAX_DITHER_STUCKI});
    const int32_t palette = scene.rare() ? scene.number(-1, 3) : scene.random.in(0, 2);
    daxConvertToDIB(image, to.header(), dither, palette);
}

} // namespace

Scenarios moveScenarios() {
    const char* const noTile = "-2 $ daxSCE Error get tile to *";
    return {
        {"move", "daxCopy", pairOf<daxCopy>, "", "|-2 $ daxSCE Error get tile to *"},
        {"move", "daxExchange", pairOf<daxExchange>, "",
         "|-2 $ daxSCE Error get tile to *|-2 daxCopy daxSCE Error get tile to *"},
        {"move", "daxSet", set, "", noTile},
        {"move", "daxConvert", convert, "", "-5 $ daxcvrt (*->tileInfo->tileData == NULL)"},
        {"move", "daxBitonalToGray", expandBits, "",
         "-5 $ daxbitnl (*->tileInfo->tileData == NULL)"},
        {"move", "daxTranslateDIB", translate,
         "|-5 $ daxdib Create image header is failed|-5 $ daxdib Allocate memory for DAX image "
         "data "
         "is failed"},
        {"move", "daxConvertFromDIB", fromBitmap},
        {"move", "daxConvertToDIB", toBitmap,
         "|-5 $ daxdib create medcut palette error|-3 $ daxdib |-5 daxReduceBits daxcolor Image "
         "data *"},
    };
}

} // namespace everything
