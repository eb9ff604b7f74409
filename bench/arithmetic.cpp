// Sample by sample, on two images or on one and a constant.

#include "peers.h"

namespace bench {

namespace {

using Call = void (*)(Images& images);

void addForms(const char* name, size_t sources, Call call, const Offers& offers = {}) {
    for (const std::vector<Form>& forms : {plainForms(), stridedForms()})
        for (const Form& form : forms) {
            std::vector<Use> images(sources, read(form));
            images.push_back(write(form));
            add({.operation = name,
                 .images = images,
                 .prepare = each(call),
                 .peers = peersFor(form, offers)});
        }
}

void pair(const char* name, Call call, const Offers& offers) { addForms(name, 2, call, offers); }
void single(const char* name, Call call, const Offers& offers = {}) {
    addForms(name, 1, call, offers);
}

[[maybe_unused]] constexpr const char* widens = "widens 8 bits to 16 and wraps in 32";

void addTwoImages() {
    pair("daxAdd", [](Images& i) { daxAdd(i[0], i[1], i[2], nullptr); },
         {BENCH_YUV(onArgb<libyuv::ARGBAdd>()), BENCH_LEPT(onTwoPix<pixOr>({u1})),
          BENCH_LEPT(onTwoPix<pixAddGray>({u8, u16})),
          BENCH_VIPS(onTwoVips<vips_add>({u8, s32}, widens))});
    // In place: one image less to move.
    const Form bytes;
    const Offers inPlace = {BENCH_PIXMAN(onMasks([](pixman_image_t* const* m, int w, int h) {
        pixman_image_composite32(PIXMAN_OP_ADD, m[0], nullptr, m[1], 0, 0, 0, 0, 0, 0, w, h);
    }))};
    add({.operation = "daxAdd",
         .images = {read(bytes), update(bytes)},
         .prepare = each([](Images& i) { daxAdd(i[0], i[1], i[1], nullptr); }),
         .peers = peersFor(bytes, inPlace),
         .variant = "8U-in-place"});

    pair("daxSubtract", [](Images& i) { daxSubtract(i[0], i[1], i[2], 0, nullptr); },
         {BENCH_YUV(onArgb<libyuv::ARGBSubtract>()), BENCH_LEPT(onTwoPix<pixSubtract>({u1})),
          BENCH_LEPT(onTwoPix<pixSubtractGray>({u8, u16})),
          BENCH_VIPS(onTwoVips<vips_subtract>({u8, s32}, widens))});
    pair("daxMultiply", [](Images& i) { daxMultiply(i[0], i[1], i[2], nullptr); },
         {BENCH_YUV(unlike(onArgb<libyuv::ARGBMultiply>(), "divides the product by 255")),
          BENCH_LEPT(onTwoPix<pixAnd>({u1})),
          BENCH_VIPS(onTwoVips<vips_multiply>({u8, s32}, widens))});
}

void addLogic() {
    pair("daxAnd", [](Images& i) { daxAnd(i[0], i[1], i[2], nullptr); },
         {BENCH_LEPT(onTwoPix<pixAnd>({u1, u8, u16, s32})),
          BENCH_VIPS(onTwoVips<vips_andimage>({u8, u16, s32}))});
    pair("daxOr", [](Images& i) { daxOr(i[0], i[1], i[2], nullptr); },
         {BENCH_LEPT(onTwoPix<pixOr>({u1, u8, u16, s32})),
          BENCH_VIPS(onTwoVips<vips_orimage>({u8, u16, s32}))});
    pair("daxXor", [](Images& i) { daxXor(i[0], i[1], i[2], nullptr); },
         {BENCH_LEPT(onTwoPix<pixXor>({u1, u8, u16, s32})),
          BENCH_VIPS(onTwoVips<vips_eorimage>({u8, u16, s32}))});
}

void addConstants() {
    single("daxAddS", [](Images& i) { daxAddS(i[0], i[1], 37, nullptr); });
    single("daxSubtractS", [](Images& i) { daxSubtractS(i[0], i[1], 37, 0, nullptr); });
    single("daxMultiplyS", [](Images& i) { daxMultiplyS(i[0], i[1], 3, nullptr); });
    single("daxSquare", [](Images& i) { daxSquare(i[0], i[1], nullptr); });
    single("daxAbs", [](Images& i) { daxAbs(i[0], i[1], nullptr); },
           {BENCH_VIPS(onOneVips<vips_abs>({s8, s16, s32}))});
    single("daxNot", [](Images& i) { daxNot(i[0], i[1], nullptr); },
           {BENCH_LEPT(onPix({u1, u8, u16, s32}, [](Pix* const* p) { pixInvert(p[1], p[0]); })),
            BENCH_VIPS(onOneVips<vips_invert>({u8, u16}))});
    single("daxAndS", [](Images& i) { daxAndS(i[0], i[1], 0x5A5A5A5A, nullptr); },
           {BENCH_VIPS(onOneVips<vips_andimage_const1, 0x5A>({u8, u16, s32}))});
    single("daxOrS", [](Images& i) { daxOrS(i[0], i[1], 0x5A5A5A5A, nullptr); },
           {BENCH_VIPS(onOneVips<vips_orimage_const1, 0x5A>({u8, u16, s32}))});
    single("daxXorS", [](Images& i) { daxXorS(i[0], i[1], 0x5A5A5A5A, nullptr); },
           {BENCH_VIPS(onOneVips<vips_eorimage_const1, 0x5A>({u8, u16, s32}))});
    single("daxLShiftS", [](Images& i) { daxLShiftS(i[0], i[1], 2, nullptr); },
           {BENCH_VIPS(onOneVips<vips_lshift_const1, 2>({u8, u16, s32}))});
    single("daxRShiftS", [](Images& i) { daxRShiftS(i[0], i[1], 2, nullptr); },
           {BENCH_VIPS(onOneVips<vips_rshift_const1, 2>({u8, u16, s32}))});
}

} // namespace

void addArithmetic() {
    addTwoImages();
    addLogic();
    addConstants();
}

} // namespace bench
