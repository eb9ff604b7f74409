// Fourier and cosine transforms, beside FFTW in single precision. Conversions from and to whole
// numbers are part of both sides.

#include "cases.h"

#if DAX_PEER_FFTW
#include <fftw3.h>
#endif

#include <cmath>
#include <memory>

namespace bench {

namespace {

[[maybe_unused]] ptrdiff_t countOf(Images& i) { return ptrdiff_t{i.width(0)} * i.height(0); }

#if DAX_PEER_FFTW
using Plan = std::shared_ptr<std::remove_pointer_t<fftwf_plan>>;
using Floats = std::shared_ptr<float>;

Floats floats(ptrdiff_t count) {
    return {fftwf_alloc_real(static_cast<size_t>(count)), fftwf_free};
}

Task converted(Images& i, const Plan& plan, const Floats& in, const Floats& out) {
    return [&i, plan, in, out] {
        const ptrdiff_t count = countOf(i);
        const auto* src = i.data<int32_t>(0);
        auto* dst = i.data<int32_t>(1);
        for (ptrdiff_t k = 0; k < count; ++k) in.get()[k] = static_cast<float>(src[k]);
        fftwf_execute(plan.get());
        for (ptrdiff_t k = 0; k < count; ++k)
            dst[k] = static_cast<int32_t>(std::lrint(out.get()[k]));
    };
}

Peer fourierPeer(const char* name, unsigned effort) {
    return {.name = name,
            .prepare =
                [effort](Images& i) {
                    const int w = i.width(0);
                    const int h = i.height(0);
                    const Floats in = floats(countOf(i));
                    const Floats out = floats(ptrdiff_t{h} * (w / 2 + 1) * 2);
                    const Plan plan(
                        fftwf_plan_dft_r2c_2d(h, w, in.get(),
                                              reinterpret_cast<fftwf_complex*>(out.get()), effort),
                        fftwf_destroy_plan);
                    return converted(i, plan, in, out);
                },
            .agrees = false,
            .note = "another packing of the spectrum"};
}

Peer cosinePeer() {
    return {.name = "FFTW measured",
            .prepare =
                [](Images& i) {
                    const Floats in = floats(countOf(i));
                    const Plan plan(fftwf_plan_r2r_2d(i.height(0), i.width(0), in.get(), in.get(),
                                                      FFTW_REDFT10, FFTW_REDFT10, FFTW_MEASURE),
                                    fftwf_destroy_plan);
                    return converted(i, plan, in, in);
                },
            .agrees = false,
            .note = "without the scaling"};
}
#endif

// Samples that don't run over in the spectrum.
void makeSmall(Images& i) {
    auto* samples = i.data<int32_t>(0);
    for (ptrdiff_t k = 0; k < countOf(i); ++k) samples[k] &= 0xFF;
}

template <class Call> Prepare onSmall(Call call) {
    return [call](Images& i) -> Task {
        makeSmall(i);
        return [call, &i] { call(i); };
    };
}

void eachBlock(Images& i, int32_t flags) {
    DaxROI region = {0, 0, 0, 8, 8};
    i[0]->roi = i[1]->roi = &region;
    for (region.yOffset = 0; region.yOffset < i.height(0); region.yOffset += 8)
        for (region.xOffset = 0; region.xOffset < i.width(0); region.xOffset += 8)
            daxDCT2D(i[0], i[1], flags);
    i[0]->roi = i[1]->roi = nullptr;
}

} // namespace

void addTransforms() {
    const Form whole = {.depth = DAX_DEPTH_32S};
    std::vector<Peer> fourier;
    std::vector<Peer> cosine;
#if DAX_PEER_FFTW
    fourier = {fourierPeer("FFTW estimated", FFTW_ESTIMATE),
               fourierPeer("FFTW measured", FFTW_MEASURE)};
    cosine = {cosinePeer()};
#endif
    add({.operation = "daxRealFft2D",
         .images = {read(whole), write(whole)},
         .prepare = onSmall(
             [](Images& i) { daxRealFft2D(i[0], i[1], DAX_FFT_FORWARD | DAX_FFT_KEEP, nullptr); }),
         .peers = fourier,
         .sides = {512, 1000, 1023, 1024}});
    add({.operation = "daxCcsFft2D",
         .images = {read(whole), write(whole)},
         .prepare = onSmall(
             [](Images& i) { daxCcsFft2D(i[0], i[1], DAX_FFT_INVERSE | DAX_FFT_KEEP, nullptr); }),
         .sides = {512, 1000, 1023, 1024}});
    add({.operation = "daxDCT2D",
         .images = {read(whole), write(whole)},
         .prepare = onSmall([](Images& i) { daxDCT2D(i[0], i[1], DAX_DCT_FORWARD); }),
         .peers = cosine,
         .sides = {512, 1000}});
    for (const int32_t flags : {DAX_DCT_FORWARD, DAX_DCT_INVERSE})
        add({.operation = "daxDCT2D",
             .images = {read(Form{}), write(Form{.depth = DAX_DEPTH_16S})},
             .prepare = each([flags](Images& i) { eachBlock(i, flags); }),
             .variant = flags == DAX_DCT_FORWARD ? "8U-blocks" : "8U-blocks-back",
             .sides = {512}});
}

} // namespace bench
