// The cosine transform of one length over lanes.
#ifndef OWN_DCTLANES_H
#define OWN_DCTLANES_H

#include "transform/daxdct2d.h"

class OwnDctLength {
public:
    // False when memory can't be had.
    bool prepare(OwnDct* dct, int32_t length, bool fixed, bool isInverse);
    // Elements per lane that each of the four arrays needs.
    ptrdiff_t room() const;
    // Two sets of eight sequences; the result lies there or in `work`.
    OwnLanes run(OwnLanes data, OwnLanes work) const;

private:
    int32_t n = 0;
    bool words = false;
    bool inverse = false;
    const OwnDct* tables = nullptr;

    const double* cosines = nullptr; // where the length is no power of two
    const OwnFourier* fourier = nullptr;
};

// All that the lengths keep.
void ownFreeDct(OwnDct* dct);

#endif
