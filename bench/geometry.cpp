// Mirror, zoom, decimation and rotation.

#include "peers.h"

#include <cmath>

namespace bench {

namespace {

constexpr int32_t u1 = DAX_DEPTH_1U;
constexpr int32_t u8 = DAX_DEPTH_8U;
constexpr int32_t u16 = DAX_DEPTH_16U;

[[maybe_unused]] constexpr const char* others = "samples at other places, in other precision";
[[maybe_unused]] constexpr const char* middle = "turns about the middle between pixels";
[[maybe_unused]] constexpr const char* words = "keeps its words the other way round";

constexpr const char* schemes[] = {"nearest", "linear", "cubic"};

// Of the depths that all of these operations take, and interleaved.
std::vector<Form> forms() {
    return {{.depth = u8}, {.depth = u8, .channels = 3}, {.depth = u16}, {.depth = u1}};
}

void addMirror(int32_t axis, const char* name, const Offers& offers) {
    for (const Form& form : forms())
        add({.operation = "daxMirror",
             .images = {read(form), write(form)},
             .prepare = each([axis](Images& i) { daxMirror(i[0], i[1], axis, nullptr); }),
             .peers = peersFor(form, offers),
             .variant = form.label() + "-" + name});
}

void addMirrors() {
    addMirror(DAX_FLIP_ROWS, "rows",
              {BENCH_YUV(onYuv([](Images& i) {
                   libyuv::CopyPlane(i.data(0), i.step(0), i.data(1), i.step(1), i.width(0),
                                     -i.height(0));
               })),
               BENCH_LEPT(onPix({u1, u8, u16}, [](Pix* const* p) { pixFlipTB(p[1], p[0]); })),
               BENCH_VIPS(onVips({u8, u16}, [](VipsImage* const* v, VipsImage** to) {
                   return vips_flip(v[0], to, VIPS_DIRECTION_VERTICAL, nullptr);
               }))});
    addMirror(DAX_FLIP_COLUMNS, "columns",
              {BENCH_YUV(onYuv([](Images& i) {
                   libyuv::MirrorPlane(i.data(0), i.step(0), i.data(1), i.step(1), i.width(0),
                                       i.height(0));
               })),
               BENCH_LEPT(unlike(onPix({u1, u8, u16}, [](Pix* const* p) { pixFlipLR(p[1], p[0]); }),
                                 words)),
               BENCH_VIPS(onVips({u8, u16}, [](VipsImage* const* v, VipsImage** to) {
                   return vips_flip(v[0], to, VIPS_DIRECTION_HORIZONTAL, nullptr);
               }))});
    addMirror(DAX_FLIP_BOTH, "both",
              {BENCH_YUV(onYuv([](Images& i) {
                   libyuv::RotatePlane(i.data(0), i.step(0), i.data(1), i.step(1), i.width(0),
                                       i.height(0), libyuv::kRotate180);
               })),
               BENCH_LEPT(unlike(
                   onPix({u1, u8, u16}, [](Pix* const* p) { pixRotate180(p[1], p[0]); }), words)),
               BENCH_VIPS(onVips({u8, u16}, [](VipsImage* const* v, VipsImage** to) {
                   return vips_rot180(v[0], to, nullptr);
               }))});
    const Form gray;
    add({.operation = "daxMirror",
         .images = {update(gray)},
         .prepare = each([](Images& i) { daxMirror(i[0], i[0], DAX_FLIP_COLUMNS, nullptr); }),
         .peers = peersFor(
             gray, {BENCH_LEPT(
                       unlike(onPix({u8}, [](Pix* const* p) { pixFlipLR(p[0], p[0]); }), words))}),
         .variant = "8U-columns-in-place"});
}

#if DAX_PEER_LEPT
template <auto function> Offer onPixScale(Depths depths, const char* note) {
    return unlike(onPix(std::move(depths),
                        [](Pix* const* p) {
                            Pix* made = function(p[0], pixGetWidth(p[1]), pixGetHeight(p[1]));
                            pixDestroy(&made);
                        }),
                  note);
}

[[maybe_unused]] Pix* pixLinear(Pix* pix, int width, int height) {
    return pixScaleGrayLI(pix, static_cast<float>(width) / static_cast<float>(pixGetWidth(pix)),
                          static_cast<float>(height) / static_cast<float>(pixGetHeight(pix)));
}
#endif

#if DAX_PEER_VIPS
template <int scheme> Offer onVipsScale() {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            static VipsInterpolate* const interpolate =
                vips_interpolate_new(scheme == DAX_INTER_NN       ? "nearest"
                                     : scheme == DAX_INTER_LINEAR ? "bilinear"
                                                                  : "bicubic");
            const auto ratio = [](int result, int source) {
                return static_cast<double>(result) / source;
            };
            return vips_affine(v[0], to, ratio(v[1]->Xsize, v[0]->Xsize), 0.0, 0.0,
                               ratio(v[1]->Ysize, v[0]->Ysize), "interpolate", interpolate,
                               nullptr);
        },
        others);
}
#endif

// The libraries' ways to scale by any factor, up and down. Leptonica's linear one averages areas
// when it shrinks by as much as we do here.
Offers scalings(int32_t scheme, [[maybe_unused]] bool grows) {
    if (scheme == DAX_INTER_NN)
        return {BENCH_YUV(unlike(onYuv([](Images& i) {
                                     libyuv::ScalePlane(
                                         i.data(0), i.step(0), i.width(0), i.height(0), i.data(1),
                                         i.step(1), i.width(1), i.height(1), libyuv::kFilterNone);
                                 }),
                                 others)),
                BENCH_LEPT(onPixScale<pixScaleBySamplingToSize>({u1, u8, u16}, others)),
                BENCH_VIPS(onVipsScale<DAX_INTER_NN>())};
    if (scheme == DAX_INTER_LINEAR)
        return {BENCH_YUV(unlike(onYuv([](Images& i) {
                                     libyuv::ScalePlane(i.data(0), i.step(0), i.width(0),
                                                        i.height(0), i.data(1), i.step(1),
                                                        i.width(1), i.height(1),
                                                        libyuv::kFilterBilinear);
                                 }),
                                 others)),
                BENCH_LEPT(onPixScale<pixLinear>(grows ? Depths{u8} : Depths{}, others)),
                BENCH_VIPS(onVipsScale<DAX_INTER_LINEAR>())};
    return {BENCH_VIPS(onVipsScale<DAX_INTER_CUBIC>())};
}

// To `upper` / `lower` of the source, of which the larger image has the size of the run.
void addScaling(const char* operation, decltype(daxZoom)* call, int upper, int lower) {
    const bool plain = upper < lower && lower % upper == 0;
    for (int32_t scheme = DAX_INTER_NN; scheme <= (plain ? DAX_INTER_NN : DAX_INTER_CUBIC);
         ++scheme)
        for (const Form& form : forms()) {
            if (form.depth == u1 && scheme != DAX_INTER_NN) continue;
            Form source = form;
            Form result = form;
            if (upper > lower)
                source.num = lower, source.den = upper;
            else
                result.num = upper, result.den = lower;
            add({.operation = operation,
                 .images = {read(source), write(result)},
                 .prepare = each([=](Images& i) {
                     call(i[0], i[1], upper, lower, upper, lower, scheme, nullptr);
                 }),
                 .peers = peersFor(form, scalings(scheme, upper > lower)),
                 .variant = form.label() + "-" + schemes[scheme] + "-" + std::to_string(upper) +
                            "/" + std::to_string(lower)});
        }
}

void addZoom(int upper, int lower) { addScaling("daxZoom", daxZoom, upper, lower); }
void addDecimation(int upper, int lower) { addScaling("daxDecimate", daxDecimate, upper, lower); }

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
                                  middle)),
                 BENCH_LEPT(onNewPix<pixRotateOrth, mode / 90>({u1, u8, u16}, middle)),
                 BENCH_VIPS(onVips(
                     {u8, u16},
                     [](VipsImage* const* v, VipsImage** to) {
                         return vips_rot(v[0], to, static_cast<VipsAngle>(mode / 90), nullptr);
                     },
                     middle))});
}

// By 33 degrees about the middle.
constexpr double turn = 33 * 3.14159265358979323846 / 180;

#if DAX_PEER_LEPT
Pix* pixSampled(Pix* pix) {
    return pixRotateBySampling(pix, pixGetWidth(pix) / 2, pixGetHeight(pix) / 2,
                               static_cast<float>(turn), L_BRING_IN_BLACK);
}

Pix* pixAreaMapped(Pix* pix) { return pixRotateAMGray(pix, static_cast<float>(turn), 0); }
#endif

#if DAX_PEER_VIPS
// The destination's rectangle alone is computed.
template <int32_t scheme> Offer onVipsTurn(const char* note) {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            constexpr const char* names[] = {"nearest", "bilinear", "bicubic"};
            const int width = vips_image_get_width(v[0]);
            const int height = vips_image_get_height(v[0]);
            const double c = std::cos(turn);
            const double s = std::sin(turn);
            VipsInterpolate* const how = vips_interpolate_new(names[scheme]);
            VipsArrayInt* const area = vips_array_int_newv(4, 0, 0, width, height);
            const int failed = vips_affine(v[0], to, c, s, -s, c, "interpolate", how, "oarea", area,
                                           "idx", -0.5 * width, "idy", -0.5 * height, "odx",
                                           0.5 * width, "ody", 0.5 * height, nullptr);
            vips_area_unref(VIPS_AREA(area));
            g_object_unref(how);
            return failed;
        },
        note);
}
#endif

void addTurns() {
    addRotation(3300, DAX_INTER_NN,
                {BENCH_LEPT(onNewPix<pixSampled>({u1, u8, u16}, others)),
                 BENCH_VIPS(onVipsTurn<DAX_INTER_NN>(others))});
    addRotation(3300, DAX_INTER_LINEAR,
                {BENCH_LEPT(onNewPix<pixAreaMapped>({u8}, "in steps of 1/16")),
                 BENCH_VIPS(onVipsTurn<DAX_INTER_LINEAR>(others))});
    addRotation(3300, DAX_INTER_CUBIC,
                {BENCH_VIPS(onVipsTurn<DAX_INTER_CUBIC>("another cubic, in steps of 1/64"))});
}

} // namespace

void addGeometry() {
    addMirrors();
    addZoom(2, 1);
    addZoom(3, 2);
    addZoom(7, 3);
    addZoom(4, 1);
    addDecimation(1, 2);
    addDecimation(2, 3);
    addQuarter<90>(9000);
    addQuarter<180>(18000);
    addTurns();
}

} // namespace bench
