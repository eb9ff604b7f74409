// Convolution and blur.

#include "peers.h"

#include <cstdlib>

namespace bench {

namespace {

constexpr int8_t binomial3[] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
constexpr int8_t pyramid5[] = {1, 2, 3, 2, 1, 2, 4, 6, 4, 2, 3, 6, 9,
                               6, 3, 2, 4, 6, 4, 2, 1, 2, 3, 2, 1};
constexpr int8_t slopeX[] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
constexpr int8_t slopeY[] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
constexpr int8_t binomial5[] = {1, 4, 6, 4, 1};

// Kernels live as long as the program.
DaxConvKernel* kernelOf(int rows, int cols, const int8_t* values, int shift) {
    return daxCreateConvKernel(rows, cols, cols / 2, rows / 2, values, shift);
}

#if DAX_PEER_LEPT
L_Kernel* leptKernel(int rows, int cols, const int8_t* values) {
    L_Kernel* kernel = kernelCreate(rows, cols);
    kernelSetOrigin(kernel, rows / 2, cols / 2);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            kernelSetElement(kernel, y, x, static_cast<float>(values[y * cols + x]));
    return kernel;
}

template <int size, auto values> Offer onLeptConvolve() {
    return unlike(onPix({u8},
                        [](Pix* const* p) {
                            static L_Kernel* const kernel = leptKernel(size, size, values);
                            Pix* made = pixConvolve(p[0], kernel, 8, 1);
                            pixDestroy(&made);
                        }),
                  "in floats, normalised, into memory of its own");
}

Offer onLeptSeparable() {
    return unlike(onPix({u8},
                        [](Pix* const* p) {
                            static L_Kernel* const x = leptKernel(1, 5, binomial5);
                            static L_Kernel* const y = leptKernel(5, 1, binomial5);
                            Pix* made = pixConvolveSep(p[0], x, y, 8, 1);
                            pixDestroy(&made);
                        }),
                  "in floats, normalised, into memory of its own");
}

template <int size> Offer onLeptBlur() {
    return unlike(onPix({u8},
                        [](Pix* const* p) {
                            Pix* made = pixBlockconv(p[0], size / 2, size / 2);
                            pixDestroy(&made);
                        }),
                  "into memory of its own");
}
#endif

#if DAX_PEER_VIPS
VipsImage* vipsMask(int rows, int cols, const int8_t* values, double scale) {
    VipsImage* mask = vips_image_new_matrix(cols, rows);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            *VIPS_MATRIX(mask, x, y) = values == nullptr ? 1 : values[y * cols + x];
    vips_image_set_double(mask, "scale", scale);
    return mask;
}

template <int size, auto values, int scale> Offer onVipsConvolve() {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            static VipsImage* const mask = vipsMask(size, size, values, scale);
            return vips_conv(v[0], to, mask, "precision", VIPS_PRECISION_INTEGER, nullptr);
        },
        "rounds, into memory of its own");
}

Offer onVipsSeparable() {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            static VipsImage* const mask = vipsMask(1, 5, binomial5, 16);
            return vips_convsep(v[0], to, mask, "precision", VIPS_PRECISION_INTEGER, nullptr);
        },
        "rounds twice, into memory of its own");
}

template <int size> Offer onVipsBlur() {
    return onVips(
        {u8, u16},
        [](VipsImage* const* v, VipsImage** to) {
            static VipsImage* const mask = vipsMask(1, size, nullptr, size);
            return vips_convsep(v[0], to, mask, "precision", VIPS_PRECISION_INTEGER, nullptr);
        },
        "rounds twice, into memory of its own");
}
#endif

#if DAX_PEER_YUV
// Bytes are taken four at a time for pixels.
template <int size> Offer onYuvBlur() {
    return unlike(onYuv([](Images& i) {
                      static std::vector<int32_t> sums;
                      const int width = i.width(1) / 4;
                      sums.resize(static_cast<size_t>(width) * 4 * (size + 2));
                      libyuv::ARGBBlur(i.data(0), i.step(0), i.data(1), i.step(1), sums.data(),
                                       width * 4, width, i.height(1), size / 2);
                  }),
                  "of four channels, rounds otherwise");
}
#endif

std::vector<Form> forms() {
    return {{.depth = u8}, {.depth = u16}, {.depth = s32}, {.depth = u8, .channels = 3}};
}

void addConvolve(const char* variant, std::vector<DaxConvKernel*> kernels, int method,
                 const Offers& offers) {
    for (const Form& form : forms())
        add({.operation = "daxConvolve2D",
             .images = {read(form), write(form)},
             .prepare = each([kernels, method](Images& i) {
                 daxConvolve2D(i[0], i[1], kernels.data(), static_cast<int32_t>(kernels.size()),
                               method, nullptr);
             }),
             .peers = peersFor(form, offers),
             .variant = form.label() + "-" + variant});
}

template <int size> void addBlur() {
    for (const Form& form : forms())
        add({.operation = "daxBlur",
             .images = {read(form), write(form)},
             .prepare = each(
                 [](Images& i) { daxBlur(i[0], i[1], size, size, size / 2, size / 2, nullptr); }),
             .peers = peersFor(form, {BENCH_YUV(onYuvBlur<size>()), BENCH_LEPT(onLeptBlur<size>()),
                                      BENCH_VIPS(onVipsBlur<size>())}),
             .variant = form.label() + "-" + std::to_string(size) + "x" + std::to_string(size)});
}

} // namespace

void addFilter() {
    addConvolve("3x3", {kernelOf(3, 3, binomial3, 4)}, DAX_COMBINE_SUM,
                {BENCH_LEPT(onLeptConvolve<3, binomial3>()),
                 BENCH_VIPS(onVipsConvolve<3, binomial3, 16>())});
    addConvolve(
        "5x5", {kernelOf(5, 5, pyramid5, 6)}, DAX_COMBINE_SUM,
        {BENCH_LEPT(onLeptConvolve<5, pyramid5>()), BENCH_VIPS(onVipsConvolve<5, pyramid5, 64>())});
    addConvolve("root-of-squares", {kernelOf(3, 3, slopeX, 0), kernelOf(3, 3, slopeY, 0)},
                DAX_COMBINE_ROOT_SUM_SQUARES, {});

    const DaxConvKernel* x = kernelOf(1, 5, binomial5, 4);
    const DaxConvKernel* y = kernelOf(5, 1, binomial5, 4);
    for (const Form& form : forms())
        add({.operation = "daxConvolveSep2D",
             .images = {read(form), write(form)},
             .prepare = each([x, y](Images& i) { daxConvolveSep2D(i[0], i[1], x, y); }),
             .peers =
                 peersFor(form, {BENCH_LEPT(onLeptSeparable()), BENCH_VIPS(onVipsSeparable())}),
             .variant = form.label() + "-5+5"});

    addBlur<3>();
    addBlur<15>();
    addBlur<101>();
}

} // namespace bench
