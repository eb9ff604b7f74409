// Rank filters and morphology.

#include "peers.h"

namespace bench {

namespace {

using Filter = void (*)(DaxImage*, DaxImage*, int32_t, int32_t, int32_t, int32_t,
                        const DaxMapping*);
using Morphology = void (*)(DaxImage*, DaxImage*, int32_t, const DaxMapping*);

#if DAX_PEER_LEPT
// Into an image given, of which none is given, so that it is made anew as well.
template <auto function> Offer onBrick() {
    return unlike(onPix({u1},
                        [](Pix* const* p) {
                            Pix* made = function(nullptr, p[0], 3, 3);
                            pixDestroy(&made);
                        }),
                  gives);
}
#endif

#if DAX_PEER_VIPS
template <int size, int place> Offer onVipsRank() {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            return vips_rank(v[0], to, size, size, place, nullptr);
        },
        gives);
}
#endif

Case caseOf(const char* name, const Form& form, int size, Filter filter) {
    return {.operation = name,
            .images = {read(form), write(form)},
            .prepare = each([filter, size](Images& i) {
                filter(i[0], i[1], size, size, size / 2, size / 2, nullptr);
            }),
            .variant = form.label() + "-" + std::to_string(size) + "x" + std::to_string(size)};
}

template <int size> void addExtremes() {
    [[maybe_unused]] constexpr int last = size * size - 1;
    std::vector<Form> forms = {{.depth = u8}};
    if (size == 3) forms = plainForms();
    if (size == 3) forms.push_back({.depth = u8, .channels = 3});
    for (const Form& form : forms) {
        Case most = caseOf("daxMaxFilter", form, size, daxMaxFilter);
        most.peers = peersFor(form, {BENCH_LEPT(onNewPix<pixDilateGray, size, size>({u8})),
                                     BENCH_VIPS(onVipsRank<size, last>())});
        add(most);
        Case least = caseOf("daxMinFilter", form, size, daxMinFilter);
        least.peers = peersFor(form, {BENCH_LEPT(onNewPix<pixErodeGray, size, size>({u8})),
                                      BENCH_VIPS(onVipsRank<size, 0>())});
        add(least);
    }
}

template <int size> void addMedians() {
    std::vector<Form> forms = {{.depth = u8}, {.depth = u16}};
    if (size == 3) forms = plainForms();
    if (size == 3) forms.push_back({.depth = u8, .channels = 3});
    for (const Form& form : forms) {
        Case one = caseOf("daxMedianFilter", form, size, daxMedianFilter);
        one.peers = peersFor(form, {BENCH_LEPT(onNewPix<pixMedianFilter, size, size>({u8})),
                                    BENCH_VIPS(onVipsRank<size, size * size / 2>())});
        if (size > 5) one.sides = {512};
        add(one);
    }
}

void addMorphology(const char* name, Morphology operation, const Offers& offers) {
    std::vector<Form> forms = {{.depth = u1}, {.depth = u8}, {.depth = u16}};
    forms.push_back({.depth = u8, .channels = 3});
    for (const Form& form : forms)
        add({.operation = name,
             .images = {read(form), write(form)},
             .prepare = each([operation](Images& i) { operation(i[0], i[1], 1, nullptr); }),
             .peers = peersFor(form, offers)});
}

} // namespace

void addRank() {
    addExtremes<3>();
    addExtremes<5>();
    addExtremes<9>();
    addExtremes<31>();
    addExtremes<99>();
    addMedians<3>();
    addMedians<5>();
    addMedians<7>();
    addMedians<15>();
    addMedians<31>();
    addMedians<99>();
    addMorphology("daxErode", daxErode,
                  {BENCH_LEPT(onNewPix<pixErodeGray3, 3, 3>({u8})),
                   BENCH_LEPT(onBrick<pixErodeBrickDwa>()), BENCH_VIPS(onVipsRank<3, 0>())});
    addMorphology("daxDilate", daxDilate,
                  {BENCH_LEPT(onNewPix<pixDilateGray3, 3, 3>({u8})),
                   BENCH_LEPT(onBrick<pixDilateBrickDwa>()), BENCH_VIPS(onVipsRank<3, 8>())});
    addMorphology(
        "daxOpen", daxOpen,
        {BENCH_LEPT(onNewPix<pixOpenGray3, 3, 3>({u8})), BENCH_LEPT(onBrick<pixOpenBrickDwa>())});
    addMorphology(
        "daxClose", daxClose,
        {BENCH_LEPT(onNewPix<pixCloseGray3, 3, 3>({u8})), BENCH_LEPT(onBrick<pixCloseBrickDwa>())});
}

} // namespace bench
