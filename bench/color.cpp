// Colour: conversions, reduction and the twist.

#include "peers.h"

#include <cstring>
#include <memory>

namespace bench {

namespace {

constexpr Form rgb8 = {.channels = 3};
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

void addModels() {
    for (const Form& form : {rgb8, inPlanes(rgb8), rgb16, inPlanes(rgb16)}) {
        const std::vector<Use> images = {read(form), write(form)};
        add({.operation = "daxRGB2HSV", .images = images, .prepare = convert<daxRGB2HSV>("RGB")});
        add({.operation = "daxHSV2RGB", .images = images, .prepare = convert<daxHSV2RGB>("HSV")});
        add({.operation = "daxRGB2HLS", .images = images, .prepare = convert<daxRGB2HLS>("RGB")});
        add({.operation = "daxHLS2RGB", .images = images, .prepare = convert<daxHLS2RGB>("HLS")});
    }
}

std::vector<Peer> grayPeers([[maybe_unused]] const Form& form) {
    std::vector<Peer> peers;
#if DAX_PEER_YUV
    if (form.order == DAX_DATA_PIXEL && form.depth == u8)
        peers.push_back({.name = "libyuv",
                         .prepare = each([](Images& i) {
                             libyuv::RAWToJ400(i.data<uint8_t>(0), i.step(0), i.data<uint8_t>(1),
                                               i.step(1), i.width(1), i.height(1));
                         }),
                         .agrees = false,
                         .note = "other weights"});
#endif
    return peers;
}

void addGray() {
    for (const Form& form : {rgb8, inPlanes(rgb8), rgb16, inPlanes(rgb16)}) {
        Form gray = form;
        gray.channels = 1;
        add({.operation = "daxColorToGray",
             .images = {read(form), write(gray)},
             .prepare = each([](Images& i) { daxColorToGray(i[0], i[1], nullptr); }),
             .peers = grayPeers(form),
             .variant = form.label()});
        add({.operation = "daxGrayToColor",
             .images = {read(gray), write(form)},
             .prepare =
                 each([](Images& i) { daxGrayToColor(i[0], i[1], 1, 0.5, 0.25, nullptr); })});
    }
}

void addReduction() {
    const auto reduce = [](int32_t option, const Form& from, const Form& to, const char* variant) {
        add({.operation = "daxReduceBits",
             .images = {read(from), write(to)},
             .prepare =
                 each([option](Images& i) { daxReduceBits(i[0], i[1], 0, option, 1, nullptr); }),
             .variant = variant});
    };
    const Form gray16 = {.depth = u16};
    const Form gray32 = {.depth = s32};
    reduce(DAX_DITHER_NONE, gray32, gray16, "32S to 16U");
    reduce(DAX_DITHER_NONE, gray32, gray8, "32S to 8U");
    reduce(DAX_DITHER_NONE, gray16, gray8, "16U to 8U");
    reduce(DAX_DITHER_NONE, gray8, {.depth = u1}, "8U to 1U");
    reduce(DAX_DITHER_FS, gray16, gray8, "16U to 8U, Floyd and Steinberg");
    reduce(DAX_DITHER_FS, gray32, gray16, "32S to 16U, Floyd and Steinberg");
    reduce(DAX_DITHER_JJN, gray16, gray8, "16U to 8U, Jarvis");
    reduce(DAX_DITHER_BAYER, gray16, gray8, "16U to 8U, ordered");
}

constexpr int32_t sepia[16] = {101, 197, 48, 0, 89, 176, 43, 0, 70, 137, 33, 0};

void addTwists() {
    for (const Form& form : {rgb8, inPlanes(rgb8), rgb16, inPlanes(rgb16)})
        for (const bool packed : {true, false}) {
            const std::shared_ptr<DaxColorTwist> twist(daxCreateColorTwist(sepia, 8),
                                                       daxDeleteColorTwist);
            // Beyond all weights that integers are used for.
            if (!packed) twist->data[0] = 70000;
            add({.operation = "daxApplyColorTwist",
                 .images = {read(form), write(form)},
                 .prepare = each([twist](Images& i) {
                     daxApplyColorTwist(i[0], i[1], twist.get(), 0, nullptr);
                 }),
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
