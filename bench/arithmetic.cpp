// Sample by sample on two images.

#include "peers.h"

#include <array>

namespace bench {

namespace {

using Call = void (*)(Images& images);

// What the other libraries have for one operation; null where they have nothing.
struct Rivals {
    void (*yuv)(Images& images) = nullptr;
    const char* yuvNote = "";
    bool yuvAgrees = true;
#if DAX_PEER_LEPT
    using OnPix = Pix* (*)(Pix* to, Pix* a, Pix* b);
    OnPix bits = nullptr;
    OnPix gray = nullptr;
#endif
#if DAX_PEER_VIPS
    VipsImage* (*vips)(VipsImage* a, VipsImage* b) = nullptr;
#endif
};

#if DAX_PEER_YUV
// Four bytes of a run as one pixel.
template <auto function> void onArgb(Images& i) {
    function(i.data(0), i.step(0), i.data(1), i.step(1), i.data(2), i.step(2), i.width(2) / 4,
             i.height(2));
}
#endif

#if DAX_PEER_LEPT
template <auto function> Pix* onPix(Pix* to, Pix* a, Pix* b) { return function(to, a, b); }

Peer leptonica(Rivals::OnPix function) {
    return {.name = "leptonica", .prepare = [function](Images& i) -> Task {
                const std::array pix = {pixOver(i, 0), pixOver(i, 1), pixOver(i, 2)};
                return [=] { function(pix[2].get(), pix[0].get(), pix[1].get()); };
            }};
}
#endif

#if DAX_PEER_VIPS
template <auto function> VipsImage* onVips(VipsImage* a, VipsImage* b) {
    VipsImage* result = nullptr;
    return function(a, b, &result, nullptr) == 0 ? result : nullptr;
}
#endif

std::vector<Peer> peersFor([[maybe_unused]] const Form& form,
                           [[maybe_unused]] const Rivals& rivals) {
    std::vector<Peer> peers;
    if (form.coi != 0) return peers;
#if DAX_PEER_YUV
    if (form.depth == DAX_DEPTH_8U && rivals.yuv != nullptr)
        peers.push_back({.name = "libyuv",
                         .prepare = each(rivals.yuv),
                         .agrees = rivals.yuvAgrees,
                         .note = rivals.yuvNote});
#endif
#if DAX_PEER_LEPT
    if (form.depth == DAX_DEPTH_1U && rivals.bits != nullptr)
        peers.push_back(leptonica(rivals.bits));
    if ((form.depth == DAX_DEPTH_8U || form.depth == DAX_DEPTH_16U) && rivals.gray != nullptr)
        peers.push_back(leptonica(rivals.gray));
#endif
#if DAX_PEER_VIPS
    if ((form.depth == DAX_DEPTH_8U || form.depth == DAX_DEPTH_32S) && rivals.vips != nullptr)
        peers.push_back({.name = "libvips",
                         .prepare = [make = rivals.vips](Images& i) -> Task {
                             return [make, a = vipsOver(i, 0), b = vipsOver(i, 1)] {
                                 vipsRun(make, a.get(), b.get());
                             };
                         },
                         .agrees = false,
                         .note = "widens 8 bits to 16 and wraps in 32"});
#endif
    return peers;
}

void addPair(const char* name, Call call, const Rivals& rivals) {
    for (const std::vector<Form>& forms : {plainForms(), stridedForms()})
        for (const Form& form : forms)
            add({.operation = name,
                 .images = {read(form), read(form), write(form)},
                 .prepare = each(call),
                 .peers = peersFor(form, rivals)});
}

} // namespace

void addArithmetic() {
    Rivals sum;
    Rivals difference;
    Rivals product;
#if DAX_PEER_YUV
    sum.yuv = onArgb<libyuv::ARGBAdd>;
    difference.yuv = onArgb<libyuv::ARGBSubtract>;
    product.yuv = onArgb<libyuv::ARGBMultiply>;
    product.yuvAgrees = false;
    product.yuvNote = "divides the product by 255";
#endif
#if DAX_PEER_LEPT
    sum.bits = onPix<pixOr>;
    sum.gray = onPix<pixAddGray>;
    difference.bits = onPix<pixSubtract>;
    difference.gray = onPix<pixSubtractGray>;
    product.bits = onPix<pixAnd>;
#endif
#if DAX_PEER_VIPS
    sum.vips = onVips<vips_add>;
    difference.vips = onVips<vips_subtract>;
    product.vips = onVips<vips_multiply>;
#endif

    addPair(
        "daxAdd", [](Images& i) { daxAdd(i[0], i[1], i[2], nullptr); }, sum);
    addPair(
        "daxSubtract", [](Images& i) { daxSubtract(i[0], i[1], i[2], 0, nullptr); }, difference);
    addPair(
        "daxMultiply", [](Images& i) { daxMultiply(i[0], i[1], i[2], nullptr); }, product);

    // In place: one image less to move.
    const Form bytes;
    std::vector<Peer> inPlace;
#if DAX_PEER_PIXMAN
    inPlace.push_back({.name = "pixman", .prepare = [](Images& i) -> Task {
                           return [from = pixmanOver(i, 0), to = pixmanOver(i, 1)] {
                               pixman_image_composite32(PIXMAN_OP_ADD, from.get(), nullptr,
                                                        to.get(), 0, 0, 0, 0, 0, 0,
                                                        pixman_image_get_width(to.get()),
                                                        pixman_image_get_height(to.get()));
                           };
                       }});
#endif
    add({.operation = "daxAdd",
         .images = {read(bytes), update(bytes)},
         .prepare = each([](Images& i) { daxAdd(i[0], i[1], i[1], nullptr); }),
         .peers = inPlace,
         .variant = "8U-in-place"});
}

} // namespace bench
