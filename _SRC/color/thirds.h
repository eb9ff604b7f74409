// For row kernels only: pixels of three channels, taken apart into three runs of samples and put
// together again, a block at a time.
#ifndef OWN_THIRDS_H
#define OWN_THIRDS_H

#include "color/owncolor.h"
#include "frame/channel_lanes.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr ptrdiff_t ownThirdsBlock = 512; // pixels

// The pixels from one on.
inline OwnThirds ownThirdsFrom(OwnThirds thirds, ptrdiff_t first) {
    for (char*& at : thirds.at) at += first * thirds.step;
    return thirds;
}

// Three runs of samples of a block: where they lie in planes, else in a copy.
template <class T> struct OwnThirdsRead {
    T copy[3][ownThirdsBlock];
    const char* at[3];

    void operator()(const OwnThirds& src, ptrdiff_t first, ptrdiff_t count) {
        constexpr ptrdiff_t size = sizeof(T);
        for (ptrdiff_t k = 0; k < 3; ++k) at[k] = reinterpret_cast<const char*>(copy[k]);
        const bool forward = src.at[0] < src.at[2];
        const char* from = src.at[forward ? 0 : 2] + first * src.step;
        if (src.step == size)
            for (ptrdiff_t k = 0; k < 3; ++k) at[k] = src.at[k] + first * size;
        else if (src.step == 3 * size)
            ownSplitThirds<T, 3>(from, copy[forward ? 0 : 2], copy[1], copy[forward ? 2 : 0],
                                 count);
        else if (src.step == 4 * size)
            ownSplitThirds<T, 4>(from, copy[forward ? 0 : 2], copy[1], copy[forward ? 2 : 0],
                                 count);
        else
            for (ptrdiff_t k = 0; k < 3; ++k)
                ownGather<T>(src.at[k] + first * src.step, src.step, copy[k], count);
    }
};

// The same for results: to be written at `at`, and then put where they belong.
template <class T> struct OwnThirdsWrite {
    T copy[3][ownThirdsBlock];
    char* at[3];

    void begin(const OwnThirds& dst, ptrdiff_t first) {
        constexpr ptrdiff_t size = sizeof(T);
        for (ptrdiff_t k = 0; k < 3; ++k)
            at[k] = dst.step == size ? dst.at[k] + first * size : reinterpret_cast<char*>(copy[k]);
    }
    void end(const OwnThirds& dst, ptrdiff_t first, ptrdiff_t count) const {
        constexpr ptrdiff_t size = sizeof(T);
        if (dst.step == size) return;
        const bool forward = dst.at[0] < dst.at[2];
        char* to = dst.at[forward ? 0 : 2] + first * dst.step;
        if (dst.step == 3 * size)
            ownJoinThirds<T, 3>(copy[forward ? 0 : 2], copy[1], copy[forward ? 2 : 0], to, count);
        else if (dst.step == 4 * size)
            ownJoinThirds<T, 4>(copy[forward ? 0 : 2], copy[1], copy[forward ? 2 : 0], to, count);
        else
            for (ptrdiff_t k = 0; k < 3; ++k)
                ownScatter<T>(copy[k], dst.at[k] + first * dst.step, dst.step, count);
    }
};

// Calls `each(first, n)` for each block of a run.
template <class Each> void ownEachBlock(ptrdiff_t count, Each each) {
    for (ptrdiff_t first = 0; first < count; first += ownThirdsBlock)
        each(first, count - first < ownThirdsBlock ? count - first : ownThirdsBlock);
}

// `of(a, b, c, x, y, z)` makes three samples of three.
template <class T, class Of>
void ownMapThirds(const OwnThirds& src, const OwnThirds& dst, ptrdiff_t count, Of of) {
    OwnThirdsRead<T> in;
    OwnThirdsWrite<T> out;
    ownEachBlock(count, [&](ptrdiff_t first, ptrdiff_t n) {
        in(src, first, n);
        out.begin(dst, first);
        const auto* a = ownLanes<T>(in.at[0]);
        const auto* b = ownLanes<T>(in.at[1]);
        const auto* c = ownLanes<T>(in.at[2]);
        auto* x = ownLanes<T>(out.at[0]);
        auto* y = ownLanes<T>(out.at[1]);
        auto* z = ownLanes<T>(out.at[2]);
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < n; ++i) {
            T results[3];
            of(T{a[i]}, T{b[i]}, T{c[i]}, results);
            x[i] = results[0];
            y[i] = results[1];
            z[i] = results[2];
        }
        out.end(dst, first, n);
    });
}

} // namespace

#endif
