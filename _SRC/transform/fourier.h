// The complex Fourier transform of any length, in double precision, on several sequences side by
// side: element i of lane l lies at i * lanes + l, real and imaginary parts in arrays of their own.
// The kernel is e to the minus i theta; for the other sign, exchange the two arrays on the way in
// and on the way out.
#ifndef OWN_FOURIER_H
#define OWN_FOURIER_H

#include <cstddef>
#include <cstdint>

// Lengths whose prime factors are at most `ownFourierLargest` go by passes of small radices (each
// reads one pair of arrays and writes another, which leaves the result in order), other lengths by
// the chirp transform over a power of two.
constexpr int32_t ownFourierLargest = 31;

struct OwnFourier {
    OwnFourier* next;  // of the plans of a thread
    OwnFourier* inner; // of the chirp transform
    double* twiddles;  // radix - 1 pairs for each p of each pass; or the chirp
    double* chirpTransform;
    int32_t length;
    int32_t passes;
    int32_t radix[32];
};

struct OwnLanes {
    double* re;
    double* im;
};

// The plan for a length in a list of plans, made if it isn't there; null when memory can't be had.
const OwnFourier* ownFourier(OwnFourier** plans, int32_t length);
void ownFourierFree(OwnFourier** plans);

// How many elements each array needs per lane: the length or more.
ptrdiff_t ownFourierRoom(const OwnFourier* plan);

// Transforms `data` and gives back where the result lies: there or in `work`.
OwnLanes ownFourierRun(const OwnFourier* plan, OwnLanes data, OwnLanes work, ptrdiff_t lanes);

// Eight sequences in floats: a row of each has their real and then their imaginary parts, or the
// other way round.
struct OwnFourierFloats {
    float* re;
    float* im;
};
constexpr ptrdiff_t ownFourierFloatLanes = 8;

// The same for eight sequences that lie in floats and stay there.
void ownFourierRunFloats(const OwnFourier* plan, OwnFourierFloats floats, OwnLanes data,
                         OwnLanes work);

// One pass: `m` groups of butterflies of one radix, each over `stride` numbers side by side.
struct OwnFourierPass {
    int32_t radix;
    ptrdiff_t m;
    ptrdiff_t stride;
    const double* twiddles;
    OwnLanes from;
    OwnLanes to;
    // Where not null, instead of `from` and `to`.
    OwnFourierFloats fromFloats;
    OwnFourierFloats toFloats;
};

struct OwnFourierTable {
    void (*pass)(const OwnFourierPass& pass);
    // Products of elements and of a table of pairs, over all lanes.
    void (*turn)(OwnLanes data, const double* table, ptrdiff_t count, ptrdiff_t lanes);
    void (*fromFloats)(OwnFourierFloats from, OwnLanes to, ptrdiff_t count);
    void (*toFloats)(OwnLanes from, OwnFourierFloats to, ptrdiff_t count);
};

struct OwnFourierRows {
    using Table = OwnFourierTable;
};

#endif
