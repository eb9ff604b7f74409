// Copy, fill and exchange.

#include "peers.h"

namespace bench {

namespace {

// Both orders, and one channel of three.
std::vector<Form> forms() {
    std::vector<Form> all = plainForms();
    for (const int32_t depth : {u8, u16, s32}) {
        all.push_back({.depth = depth, .channels = 3});
        all.push_back({.depth = depth, .channels = 3, .order = DAX_DATA_PLANE});
        all.push_back({.depth = depth, .channels = 3, .coi = 2});
    }
    return all;
}

} // namespace

void addMoves() {
    const Offers copies = {
        BENCH_YUV(onYuv([](Images& i) {
            libyuv::CopyPlane(i.data(0), i.step(0), i.data(1), i.step(1), i.width(1), i.height(1));
        })),
        BENCH_LEPT(onPix({u1, u8, u16, s32}, [](Pix* const* p) { pixCopy(p[1], p[0]); })),
    };
    const Offers fills = {
        BENCH_YUV(onYuv([](Images& i) {
            libyuv::SetPlane(i.data(0), i.step(0), i.width(0), i.height(0), 77);
        })),
        BENCH_LEPT(onPix({u8, u16, s32}, [](Pix* const* p) { pixSetAllArbitrary(p[0], 77); })),
        BENCH_PIXMAN(onMasks([](pixman_image_t* const* m, int w, int h) {
            pixman_fill(pixman_image_get_data(m[0]), pixman_image_get_stride(m[0]) / 4, 8, 0, 0, w,
                        h, 77);
        })),
    };

    for (const Form& form : forms())
        add({.operation = "daxCopy",
             .images = {read(form), write(form)},
             .prepare = each([](Images& i) { daxCopy(i[0], i[1], nullptr); }),
             .peers = peersFor(form, copies)});
    // Bits that have to be shifted on their way.
    const Form bits = {.depth = u1};
    add({.operation = "daxCopy",
         .images = {read(bits), write(bits)},
         .prepare = [](Images& i) -> Task {
             i[0]->roi = daxCreateROI(0, 3, 0, i.height(0), i.width(0) - 8);
             i[1]->roi = daxCreateROI(0, 6, 0, i.height(1), i.width(1) - 8);
             return [&i] { daxCopy(i[0], i[1], nullptr); };
         },
         .variant = "1U-other-phase"});
    for (const Form& form : forms())
        add({.operation = "daxSet",
             .images = {write(form)},
             .prepare = each([](Images& i) { daxSet(i[0], 77, nullptr); }),
             .peers = peersFor(form, fills)});
    for (const Form& form : forms())
        add({.operation = "daxExchange",
             .images = {update(form), update(form)},
             .prepare = each([](Images& i) { daxExchange(i[0], i[1], nullptr); })});
}

} // namespace bench
