// Colour: conversions, reduction and the twist.

#include "peers.h"

#include <cstring>
#include <memory>

namespace bench {

namespace {

constexpr Form rgb8 = {.channels = 3};
constexpr Form rgba8 = {.channels = 4};
constexpr Form rgb16 = {.depth = u16, .channels = 3};
constexpr Form gray8 = {};

Form inPlanes(Form form) {
    form.order = DAX_DATA_PLANE;
    return form;
}

void model(DaxImage* image, const char* name) { std::memcpy(image->colorModel, name, 3); }

// The models of the images are rewritten by each call.
template <auto function> Prepare convert(const char* from) {
    return each([from](Images& i) {
        model(i[0], from);
        function(i[0], i[1], nullptr);
    });
}

// What other libraries have for the images of a case.
std::vector<Peer> peersOf(const Offers& offers) {
    std::vector<Peer> peers;
    for (const Offer& offer : offers)
        if (!offer.depths.empty()) peers.push_back(offer.peer);
    return peers;
}

#if DAX_PEER_LEPT
constexpr const char* others = "another arithmetic, into memory of its own";

Pix* hsvOf(Pix* pix) { return pixConvertRGBToHSV(nullptr, pix); }
#endif

#if DAX_PEER_VIPS
constexpr const char* inFloats = "in floats, into memory of its own";

// An operation that wants to know what its samples mean.
template <auto function, int meaning> Offer onVipsColour() {
    return onVips(
        {u8},
        [](VipsImage* const* v, VipsImage** to) {
            VipsImage* named = nullptr;
            if (vips_copy(v[0], &named, "interpretation", meaning, nullptr) != 0) return -1;
            const int result = function(named, to, nullptr);
            g_object_unref(named);
            return result;
        },
        "another arithmetic, into memory of its own");
}

// Each of `rows` channels a sum of three, in bytes.
int recombined(VipsImage* from, VipsImage** to, const std::vector<double>& weights, int rows) {
    VipsImage* const matrix =
        vips_image_new_matrix_from_array(3, rows, weights.data(), static_cast<int>(weights.size()));
    VipsImage* sums = nullptr;
    int result = vips_recomb(from, &sums, matrix, nullptr);
    g_object_unref(matrix);
    if (result != 0) return result;
    result = vips_cast_uchar(sums, to, nullptr);
    g_object_unref(sums);
    return result;
}

int tinted(VipsImage* const* v, VipsImage** to) {
    const double factors[3] = {1, 0.5, 0.25};
    const double zeroes[3] = {};
    return vips_linear(v[0], to, factors, zeroes, 3, "uchar", TRUE, nullptr);
}
#endif

void addModels() {
    for (const Form& form : {rgb8, rgba8, inPlanes(rgb8), rgb16, inPlanes(rgb16)}) {
        const std::vector<Use> images = {read(form), write(form)};
        Case toHsv = {
            .operation = "daxRGB2HSV", .images = images, .prepare = convert<daxRGB2HSV>("RGB")};
        Case fromHsv = {
            .operation = "daxHSV2RGB", .images = images, .prepare = convert<daxHSV2RGB>("HSV")};
        if (form.channels == 4) {
            toHsv.peers = peersOf({BENCH_LEPT(onNewPix<hsvOf>({u8}, others))});
        } else if (form.order == DAX_DATA_PIXEL && form.depth == u8) {
            toHsv.peers =
                peersOf({BENCH_VIPS(onVipsColour<vips_sRGB2HSV, VIPS_INTERPRETATION_sRGB>())});
            fromHsv.peers =
                peersOf({BENCH_VIPS(onVipsColour<vips_HSV2sRGB, VIPS_INTERPRETATION_HSV>())});
        }
        add(std::move(toHsv));
        add(std::move(fromHsv));
        add({.operation = "daxRGB2HLS", .images = images, .prepare = convert<daxRGB2HLS>("RGB")});
        add({.operation = "daxHLS2RGB", .images = images, .prepare = convert<daxHLS2RGB>("HLS")});
    }
}

std::vector<Peer> grayPeers(const Form& form) {
    if (form.order != DAX_DATA_PIXEL || form.depth != u8) return {};
    if (form.channels == 4)
        return peersOf({BENCH_YUV(unlike(onYuv([](Images& i) {
                                             libyuv::ABGRToJ400(i.data<uint8_t>(0), i.step(0),
                                                                i.data<uint8_t>(1), i.step(1),
                                                                i.width(1), i.height(1));
                                         }),
                                         "other weights")),
                        BENCH_LEPT(onNewPix<pixConvertRGBToLuminance>({u8}, others))});
    return peersOf({BENCH_YUV(unlike(onYuv([](Images& i) {
                                         libyuv::RAWToJ400(i.data<uint8_t>(0), i.step(0),
                                                           i.data<uint8_t>(1), i.step(1),
                                                           i.width(1), i.height(1));
                                     }),
                                     "other weights")),
                    BENCH_VIPS(onVips(
                        {u8},
                        [](VipsImage* const* v, VipsImage** to) {
                            return recombined(v[0], to, {54 / 256.0, 183 / 256.0, 18 / 256.0}, 1);
                        },
                        inFloats))});
}

std::vector<Peer> tintPeers(const Form& form) {
    if (form.order != DAX_DATA_PIXEL || form.depth != u8) return {};
    [[maybe_unused]] const char* const gray = "gray as it is, and an opacity";
    if (form.channels == 4)
        return peersOf({BENCH_YUV(unlike(onYuv([](Images& i) {
                                             libyuv::J400ToARGB(i.data<uint8_t>(0), i.step(0),
                                                                i.data<uint8_t>(1), i.step(1),
                                                                i.width(1), i.height(1));
                                         }),
                                         gray)),
                        BENCH_LEPT(onNewPix<pixConvert8To32>({u8}, gray))});
    return peersOf({BENCH_VIPS(onVips({u8}, tinted, inFloats))});
}

void addGray() {
    for (const Form& form : {rgb8, rgba8, inPlanes(rgb8), rgb16, inPlanes(rgb16)}) {
        Form gray = form;
        gray.channels = 1;
        add({.operation = "daxColorToGray",
             .images = {read(form), write(gray)},
             .prepare = each([](Images& i) { daxColorToGray(i[0], i[1], nullptr); }),
             .peers = grayPeers(form),
             .variant = form.label()});
        add({.operation = "daxGrayToColor",
             .images = {read(gray), write(form)},
             .prepare = each([](Images& i) { daxGrayToColor(i[0], i[1], 1, 0.5, 0.25, nullptr); }),
             .peers = tintPeers(form)});
    }
}

void addReduction() {
    const auto reduce = [](int32_t option, const Form& from, const Form& to, const char* variant,
                           const Offers& offers = {}) {
        add({.operation = "daxReduceBits",
             .images = {read(from), write(to)},
             .prepare =
                 each([option](Images& i) { daxReduceBits(i[0], i[1], 0, option, 1, nullptr); }),
             .peers = peersOf(offers),
             .variant = variant});
    };
    const Form gray16 = {.depth = u16};
    const Form gray32 = {.depth = s32};
    reduce(DAX_DITHER_NONE, gray32, gray16, "32S to 16U");
    reduce(DAX_DITHER_NONE, gray32, gray8, "32S to 8U");
    reduce(DAX_DITHER_NONE, gray16, gray8, "16U to 8U",
           {BENCH_LEPT(onNewPix<pixConvert16To8, L_MS_BYTE>({u16})),
            BENCH_VIPS(onOneVips<vips_msb>({u16}))});
    reduce(DAX_DITHER_NONE, gray8, {.depth = u1}, "8U to 1U",
           {BENCH_LEPT(onNewPix<pixThresholdToBinary, 128>({u8}))});
    reduce(DAX_DITHER_FS, gray16, gray8, "16U to 8U, Floyd and Steinberg");
    reduce(DAX_DITHER_FS, gray32, gray16, "32S to 16U, Floyd and Steinberg");
    reduce(DAX_DITHER_JJN, gray16, gray8, "16U to 8U, Jarvis");
    reduce(DAX_DITHER_BAYER, gray16, gray8, "16U to 8U, ordered");
}

constexpr int32_t sepia[16] = {101, 197, 48, 0, 89, 176, 43, 0, 70, 137, 33, 0};

std::vector<Peer> twistPeers(const Form& form) {
    if (form.order != DAX_DATA_PIXEL || form.depth != u8) return {};
    if (form.channels == 4)
        return peersOf(
            {BENCH_YUV(unlike(onYuv([](Images& i) {
                                  static constexpr int8_t weights[16] = {
                                      25, 49, 12, 0, 22, 44, 11, 0, 18, 34, 8, 0, 0, 0, 0, 64};
                                  libyuv::ARGBColorMatrix(i.data<uint8_t>(0), i.step(0),
                                                          i.data<uint8_t>(1), i.step(1), weights,
                                                          i.width(1), i.height(1));
                              }),
                              "weights of 7 bits")),
             BENCH_LEPT(unlike(
                 onPix({u8},
                       [](Pix* const* p) {
                           L_Kernel* kernel = kernelCreate(3, 3);
                           for (int k = 0; k < 9; ++k)
                               kernelSetElement(kernel, k / 3, k % 3,
                                                static_cast<float>(sepia[k / 3 * 4 + k % 3]) / 256);
                           Pix* made = pixMultMatrixColor(p[0], kernel);
                           kernelDestroy(&kernel);
                           pixDestroy(&made);
                       }),
                 others))});
    return peersOf({BENCH_VIPS(onVips(
        {u8},
        [](VipsImage* const* v, VipsImage** to) {
            std::vector<double> weights;
            for (size_t k = 0; k < 9; ++k) weights.push_back(sepia[k / 3 * 4 + k % 3] / 256.0);
            return recombined(v[0], to, weights, 3);
        },
        inFloats))});
}

void addTwists() {
    for (const Form& form : {rgb8, rgba8, inPlanes(rgb8), rgb16, inPlanes(rgb16)})
        for (const bool packed : {true, false}) {
            if (packed && form.channels == 4) continue; // of three channels only
            const std::shared_ptr<DaxColorTwist> twist(daxCreateColorTwist(sepia, 8),
                                                       daxDeleteColorTwist);
            // Beyond all weights that integers are used for.
            if (!packed && form.channels == 3) twist->data[0] = 70000;
            add({.operation = "daxApplyColorTwist",
                 .images = {read(form), write(form)},
                 .prepare = each([twist](Images& i) {
                     daxApplyColorTwist(i[0], i[1], twist.get(), 0, nullptr);
                 }),
                 .peers = packed || form.channels == 4 ? twistPeers(form) : std::vector<Peer>(),
                 .variant = form.label() + (packed ? "" : ", floating")});
        }
}

} // namespace

void addColor() {
    addModels();
    addGray();
    addReduction();
    addTwists();
}

} // namespace bench
