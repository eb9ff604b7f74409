// Histograms, tone curves, thresholds and norms.

#include "peers.h"

#include <array>
#include <memory>

namespace bench {

namespace {

// A record with intervals of one width each, for every channel.
struct Curves {
    Curves(int32_t channels, int32_t size, int32_t num) {
        for (int32_t i = 0; i < num; ++i) {
            key.push_back(static_cast<int32_t>(int64_t{size} * i / (num - 1)));
            value.push_back(size - 1 - i);
        }
        factor.assign(key.size(), 1);
        record = {num, key.data(), value.data(), factor.data(), 1};
        pointers.assign(static_cast<size_t>(channels), &record);
    }
    std::vector<int32_t> key, value, factor;
    DaxLUT record;
    std::vector<DaxLUT*> pointers;
};

template <class Call> Prepare withCurves(Call call) {
    return [call](Images& i) -> Task {
        const int32_t size = i[0]->depth == u1 ? 2 : i[0]->depth == u8 ? 256 : 65536;
        const auto curves = std::make_shared<Curves>(i[0]->nChannels, size, size == 2 ? 3 : 17);
        return [call, curves, &i] { call(i, curves->pointers.data()); };
    };
}

std::vector<Form> toneForms() {
    return {{.depth = u8},
            {.depth = u16},
            {.depth = u8, .channels = 3},
            {.depth = u8, .channels = 3, .order = DAX_DATA_PLANE},
            {.depth = u8, .channels = 3, .coi = 2}};
}

[[maybe_unused]] constexpr const char* elsewhere = "its result is no image";

void addHistograms() {
    const Offers offers = {BENCH_LEPT(unlike(onPix({u1, u8, u16},
                                                   [](Pix* const* p) {
                                                       Numa* counts = pixGetGrayHistogram(p[0], 1);
                                                       numaDestroy(&counts);
                                                   }),
                                             elsewhere)),
                           BENCH_VIPS(onVips({u8, u16}, [](VipsImage* const* v, VipsImage** to) {
                               return vips_hist_find(v[0], to, nullptr);
                           }))};
    const auto count = [](Images& i, DaxLUT* const* lut) { daxComputeHisto(i[0], lut, nullptr); };
    std::vector<Form> forms = toneForms();
    forms.insert(forms.begin(), {.depth = u1});
    for (const Form& form : forms)
        add({.operation = "daxComputeHisto",
             .images = {read(form)},
             .prepare = withCurves(count),
             .peers = peersFor(form, offers)});
    for (const Form& form : {Form{.depth = u8}, Form{.depth = u16}, Form{.channels = 3}})
        add({.operation = "daxComputeHisto",
             .images = {update(form)},
             .prepare =
                 [count](Images& i) {
                     daxSet(i[0], 77, nullptr);
                     return withCurves(count)(i);
                 },
             .variant = form.label() + "-all-equal"});
}

void addCurves() {
    const Offers offers = {
        BENCH_LEPT(unlike(onPix({u8},
                                [](Pix* const* p) {
                                    static Numa* const table = numaMakeSequence(255, -1, 256);
                                    pixTRCMap(p[1], nullptr, table);
                                }),
                          "in place")),
        BENCH_VIPS(onVips({u8, u16}, [](VipsImage* const* v, VipsImage** to) {
            static VipsImage* const tables[2] = {[] {
                                                     VipsImage* table = nullptr;
                                                     vips_identity(&table, nullptr);
                                                     return table;
                                                 }(),
                                                 [] {
                                                     VipsImage* table = nullptr;
                                                     vips_identity(&table, "ushort", 1, nullptr);
                                                     return table;
                                                 }()};
            const bool wide = vips_image_get_format(v[0]) == VIPS_FORMAT_USHORT;
            return vips_maplut(v[0], to, tables[wide ? 1 : 0], nullptr);
        }))};
    for (const Form& form : toneForms()) {
        add({.operation = "daxContrastStretch",
             .images = {read(form), write(form)},
             .prepare = withCurves([](Images& i, DaxLUT* const* lut) {
                 daxContrastStretch(i[0], i[1], lut, nullptr);
             }),
             .peers = peersFor(form, offers)});
        add({.operation = "daxHistoEqualize",
             .images = {read(form), write(form)},
             .prepare = withCurves([](Images& i, DaxLUT* const* lut) {
                 daxHistoEqualize(i[0], i[1], lut, nullptr);
             })});
    }
}

void addThresholds() {
    const Offers offers = {BENCH_VIPS(onVips(
        {u8, s8, u16, s16, s32},
        [](VipsImage* const* v, VipsImage** to) {
            return vips_moreeq_const1(v[0], to, 100.0, nullptr);
        },
        "its results are of 8 bits"))};
    std::vector<Form> forms = plainForms();
    std::erase_if(forms, [](const Form& form) { return form.depth == u1; });
    for (const Form& form : stridedForms()) forms.push_back(form);
    for (const Form& form : forms)
        add({.operation = "daxThreshold",
             .images = {read(form), write(form)},
             .prepare = each([](Images& i) { daxThreshold(i[0], i[1], 100, nullptr); }),
             .peers = peersFor(form, offers)});
}

void addNorms() {
    const Offers squares = {BENCH_YUV(unlike(onYuv([](Images& i) {
                                                 volatile uint64_t sum =
                                                     libyuv::ComputeSumSquareErrorPlane(
                                                         i.data(0), i.step(0), i.data(1), i.step(1),
                                                         i.width(0), i.height(0));
                                                 static_cast<void>(sum);
                                             }),
                                             elsewhere))};
    const Offers sums = {BENCH_LEPT(unlike(onPix({u1},
                                                 [](Pix* const* p) {
                                                     l_int32 count = 0;
                                                     pixCountPixels(p[0], &count, nullptr);
                                                 }),
                                           elsewhere))};
    constexpr std::array<std::pair<int32_t, const char*>, 6> types = {
        {{DAX_NORM_MAX, "max"},
         {DAX_NORM_SUM, "sum"},
         {DAX_NORM_L2, "l2"},
         {DAX_NORM_MAX_REL, "max-rel"},
         {DAX_NORM_SUM_REL, "sum-rel"},
         {DAX_NORM_L2_REL, "l2-rel"}}};
    for (const auto& [type, name] : types) {
        const auto norm = [type = type](Images& i) {
            volatile double result = daxNorm(i[0], i.count() > 1 ? i[1] : nullptr, type);
            static_cast<void>(result);
        };
        std::vector<Form> forms = plainForms();
        forms.push_back({.depth = u8, .channels = 3, .coi = 2});
        for (const Form& form : forms) {
            add({.operation = "daxNorm",
                 .images = {read(form), read(form)},
                 .prepare = each(norm),
                 .peers = peersFor(form, type == DAX_NORM_L2 ? squares : Offers()),
                 .variant = form.label() + "-" + name});
            if (type < DAX_NORM_RELATIVE)
                add({.operation = "daxNorm",
                     .images = {read(form)},
                     .prepare = each(norm),
                     .peers = peersFor(form, type == DAX_NORM_SUM ? sums : Offers()),
                     .variant = form.label() + "-one-" + name});
        }
    }
}

} // namespace

void addTone() {
    addHistograms();
    addCurves();
    addThresholds();
    addNorms();
}

} // namespace bench
