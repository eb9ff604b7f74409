// The Fourier transforms of images by their definition, in double precision.
#ifndef TEST_FOURIER_MODEL_H
#define TEST_FOURIER_MODEL_H

#include <complex>
#include <vector>

// Row by row.
struct Field {
    int width;
    int height;
    std::vector<double> values;

    Field(int theWidth, int theHeight)
        : width(theWidth), height(theHeight),
          values(static_cast<size_t>(theWidth) * static_cast<size_t>(theHeight)) {}
    double& at(int x, int y) {
        return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    double at(int x, int y) const { return const_cast<Field*>(this)->at(x, y); }
};

// The spectrum of a real field, packed; `sign` is that of the exponent.
Field packedSpectrum(const Field& real, int sign);
// The real field of a packed spectrum.
Field fieldOf(const Field& packed, int sign);

#endif
