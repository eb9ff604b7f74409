#include "fourier_model.h"

#include <numbers>

namespace {

using Complex = std::complex<double>;

// All frequencies of a field, or all samples of a whole spectrum.
std::vector<Complex> transform(const std::vector<Complex>& from, int width, int height, int sign) {
    const auto place = [width](int x, int y) {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    };
    const auto root = [sign](int k, int n) {
        return std::polar(1.0, sign * 2 * std::numbers::pi * (k % n) / n);
    };
    std::vector<Complex> rows(from.size());
    std::vector<Complex> all(from.size());
    for (int y = 0; y < height; ++y)
        for (int u = 0; u < width; ++u)
            for (int x = 0; x < width; ++x)
                rows[place(u, y)] += from[place(x, y)] * root(u * x, width);
    for (int v = 0; v < height; ++v)
        for (int u = 0; u < width; ++u)
            for (int y = 0; y < height; ++y)
                all[place(u, v)] += rows[place(u, y)] * root(v * y, height);
    return all;
}

// Calls visit(column, row, u, v, isImaginary) for each number of a packed spectrum.
template <class Visit> void eachPacked(int width, int height, Visit visit) {
    for (int v = 0; v < height; ++v)
        for (int x = 0; x < width; ++x) {
            const bool last = width % 2 == 0 && x == width - 1;
            if (x == 0 || last) {
                const bool bottom = height % 2 == 0 && v == height - 1;
                const int k = bottom ? height / 2 : (v + 1) / 2;
                visit(x, v, last ? width / 2 : 0, k, !bottom && v > 0 && v % 2 == 0);
            } else {
                visit(x, v, (x + 1) / 2, v, x % 2 == 0);
            }
        }
}

} // namespace

Field packedSpectrum(const Field& real, int sign) {
    const std::vector<Complex> all =
        transform({real.values.begin(), real.values.end()}, real.width, real.height, sign);
    Field packed(real.width, real.height);
    eachPacked(real.width, real.height, [&](int x, int y, int u, int v, bool isImaginary) {
        const Complex value = all[static_cast<size_t>(v * real.width + u)];
        packed.at(x, y) = isImaginary ? value.imag() : value.real();
    });
    return packed;
}

Field fieldOf(const Field& packed, int sign) {
    const int w = packed.width;
    const int h = packed.height;
    std::vector<Complex> all(packed.values.size());
    eachPacked(w, h, [&](int x, int y, int u, int v, bool isImaginary) {
        const double value = packed.at(x, y);
        const auto put = [&](int toU, int toV, Complex part) {
            all[static_cast<size_t>(toV * w + toU)] += part;
        };
        const Complex part = isImaginary ? Complex(0, value) : Complex(value, 0);
        put(u, v, part);
        const int farU = (w - u) % w;
        const int farV = (h - v) % h;
        if (farU != u || farV != v) put(farU, farV, std::conj(part));
    });
    const std::vector<Complex> back = transform(all, w, h, sign);
    Field real(w, h);
    for (size_t i = 0; i < back.size(); ++i) real.values[i] = back[i].real();
    return real;
}
