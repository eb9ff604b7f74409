// Mirror, zoom, decimation and rotation.

#include "peers.h"

namespace bench {

namespace {

constexpr int32_t u1 = DAX_DEPTH_1U;
constexpr int32_t u8 = DAX_DEPTH_8U;
constexpr int32_t u16 = DAX_DEPTH_16U;

[[maybe_unused]] constexpr const char* others = "samples at other places, in other precision";
[[maybe_unused]] constexpr const char* words = "keeps its words the other way round";

constexpr const char* schemes[] = {"nearest", "linear", "cubic"};

// Of the depths that all of these operations take, and interleaved.
std::vector<Form> forms() {
    return {{.depth = u8}, {.depth = u8, .channels = 3}, {.depth = u16}, {.depth = u1}};
}

void addMirror() {
    const Form gray;
    for (const int32_t axis : {DAX_FLIP_ROWS, DAX_FLIP_COLUMNS, DAX_FLIP_BOTH}) {
        const char* const name = axis == DAX_FLIP_ROWS      ? "-rows"
                                 : axis == DAX_FLIP_COLUMNS ? "-columns"
                                                            : "-both";
        std::vector<Peer> peers;
        if (axis == DAX_FLIP_COLUMNS)
            peers = peersFor(
                gray, {BENCH_YUV(onYuv([](Images& i) {
                           libyuv::MirrorPlane(i.data(0), i.step(0), i.data(1), i.step(1),
                                               i.width(0), i.height(0));
                       })),
                       BENCH_LEPT(unlike(onPix({u8}, [](Pix* const* p) { pixFlipLR(p[1], p[0]); }),
                                         words)),
                       BENCH_VIPS(onVips({u8}, [](VipsImage* const* v, VipsImage** to) {
                           return vips_flip(v[0], to, VIPS_DIRECTION_HORIZONTAL, nullptr);
                       }))});
        for (const Form& form : forms())
            add({.operation = "daxMirror",
                 .images = {read(form), write(form)},
                 .prepare = each([axis](Images& i) { daxMirror(i[0], i[1], axis, nullptr); }),
                 .peers = form.label() == gray.label() ? peers : std::vector<Peer>(),
                 .variant = form.label() + name});
    }
    add({.operation = "daxMirror",
         .images = {update(gray)},
         .prepare = each([](Images& i) { daxMirror(i[0], i[0], DAX_FLIP_COLUMNS, nullptr); }),
         .variant = "8U-columns-in-place"});
}

// Every source is `lower` / `upper` of the result.
void addZoom(int upper, int lower) {
    for (int32_t scheme = DAX_INTER_NN; scheme <= DAX_INTER_CUBIC; ++scheme)
        for (const Form& form : forms()) {
            if (form.depth == u1 && scheme != DAX_INTER_NN) continue;
            Form source = form;
            source.num = lower;
            source.den = upper;
            Offers offers;
            if (scheme == DAX_INTER_NN)
                offers = {BENCH_YUV(unlike(onYuv([](Images& i) {
                                               libyuv::ScalePlane(i.data(0), i.step(0), i.width(0),
                                                                  i.height(0), i.data(1), i.step(1),
                                                                  i.width(1), i.height(1),
                                                                  libyuv::kFilterNone);
                                           }),
                                           others))};
            if (scheme == DAX_INTER_LINEAR)
                offers = {BENCH_YUV(unlike(onYuv([](Images& i) {
                                               libyuv::ScalePlane(i.data(0), i.step(0), i.width(0),
                                                                  i.height(0), i.data(1), i.step(1),
                                                                  i.width(1), i.height(1),
                                                                  libyuv::kFilterBilinear);
                                           }),
                                           others))};
            add({.operation = "daxZoom",
                 .images = {read(source), write(form)},
                 .prepare = each([=](Images& i) {
                     daxZoom(i[0], i[1], upper, lower, upper, lower, scheme, nullptr);
                 }),
                 .peers = peersFor(form, offers),
                 .variant = form.label() + "-" + schemes[scheme] + "-" + std::to_string(upper) +
                            "/" + std::to_string(lower)});
        }
}

void addDecimation(int upper, int lower) {
    const bool whole = lower % upper == 0;
    for (int32_t scheme = DAX_INTER_NN; scheme <= (whole ? DAX_INTER_NN : DAX_INTER_CUBIC);
         ++scheme)
        for (const Form& form : forms()) {
            if (form.depth == u1 && scheme != DAX_INTER_NN) continue;
            Form result = form;
            result.num = upper;
            result.den = lower;
            add({.operation = "daxDecimate",
                 .images = {read(form), write(result)},
                 .prepare = each([=](Images& i) {
                     daxDecimate(i[0], i[1], upper, lower, upper, lower, scheme, nullptr);
                 }),
                 .variant = form.label() + "-" + schemes[scheme] + "-" + std::to_string(upper) +
                            "/" + std::to_string(lower)});
        }
}

void addRotation(int32_t angle, int32_t scheme, const Offers& offers) {
    for (const Form& form : forms()) {
        if (form.depth == u1 && scheme != DAX_INTER_NN) continue;
        add({.operation = "daxRotate",
             .images = {read(form), write(form)},
             .prepare = each([=](Images& i) {
                 // About the middle; quarter turns fill the whole of a square.
                 const int32_t half = i.width(0) / 2;
                 const int32_t center = angle == 18000 ? half - 1 : half;
                 daxRotate(i[0], i[1], angle, center, center, scheme, nullptr);
             }),
             .peers = peersFor(form, offers),
             .variant = form.label() + "-" + std::to_string(angle / 100) + "-" + schemes[scheme]});
    }
}

template <int mode> void addQuarter(int32_t angle) {
    addRotation(angle, DAX_INTER_NN,
                {BENCH_YUV(unlike(onYuv([](Images& i) {
                                      libyuv::RotatePlane(i.data(0), i.step(0), i.data(1),
                                                          i.step(1), i.width(0), i.height(0),
                                                          static_cast<libyuv::RotationMode>(mode));
                                  }),
                                  "turns about the middle between pixels")),
                 BENCH_VIPS(onVips({u8}, [](VipsImage* const* v, VipsImage** to) {
                     return vips_rot(v[0], to, static_cast<VipsAngle>(mode / 90), nullptr);
                 }))});
}

} // namespace

void addGeometry() {
    addMirror();
    addZoom(2, 1);
    addZoom(3, 2);
    addDecimation(1, 2);
    addDecimation(2, 3);
    addQuarter<90>(9000);
    addQuarter<180>(18000);
    for (int32_t scheme = DAX_INTER_NN; scheme <= DAX_INTER_CUBIC; ++scheme)
        addRotation(3300, scheme, {});
}

} // namespace bench
