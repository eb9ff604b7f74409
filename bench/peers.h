// Other libraries on the memory of the bench's own images. What a library that isn't installed
// would offer is left out: BENCH_YUV(...), BENCH_LEPT(...), BENCH_VIPS(...) and BENCH_PIXMAN(...)
// stand for elements of a list of offers, or for nothing.
#ifndef BENCH_PEERS_H
#define BENCH_PEERS_H

#include "cases.h"

#include <utility>

#if DAX_PEER_YUV
#include <libyuv.h>
#define BENCH_YUV(...) __VA_ARGS__
#else
#define BENCH_YUV(...) Offer()
#endif

#if DAX_PEER_LEPT
#include <leptonica/allheaders.h>
#define BENCH_LEPT(...) __VA_ARGS__
#else
#define BENCH_LEPT(...) Offer()
#endif

#if DAX_PEER_VIPS
#include <vips/vips.h>
#define BENCH_VIPS(...) __VA_ARGS__
#else
#define BENCH_VIPS(...) Offer()
#endif

#if DAX_PEER_PIXMAN
#include <pixman.h>
#define BENCH_PIXMAN(...) __VA_ARGS__
#else
#define BENCH_PIXMAN(...) Offer()
#endif

namespace bench {

// A peer, and the depths of one-channel images for which it has the operation.
struct Offer {
    std::vector<int32_t> depths;
    Peer peer;
};
using Offers = std::vector<Offer>;

std::vector<Peer> peersFor(const Form& form, const Offers& offers);

using Depths = std::vector<int32_t>;

inline constexpr const char* gives = "gives its result in memory of its own";

// The same offer with a word of warning; its result isn't compared.
inline Offer unlike(Offer offer, const char* note) {
    offer.peer.agrees = false;
    offer.peer.note = note;
    return offer;
}

#if DAX_PEER_YUV
Offer onYuv(void (*call)(Images& images));

// Two sources and a result of bytes, taken four at a time for pixels.
template <auto function> Offer onArgb() {
    return onYuv([](Images& i) {
        function(i.data(0), i.step(0), i.data(1), i.step(1), i.data(2), i.step(2), i.width(2) / 4,
                 i.height(2));
    });
}
#endif

#if DAX_PEER_LEPT
// Every image of the case as a Pix; interleaved channels are one sample of it. What the library
// allocates for results it finds again.
Offer onPix(Depths depths, void (*call)(Pix* const* pix));

// Of two images.
template <auto function> Offer onTwoPix(Depths depths) {
    return onPix(std::move(depths), [](Pix* const* p) { function(p[2], p[0], p[1]); });
}

// A result that leptonica makes anew.
template <auto function, auto... arguments>
Offer onNewPix(Depths depths, const char* note = gives) {
    return unlike(onPix(std::move(depths),
                        [](Pix* const* p) {
                            Pix* made = function(p[0], arguments...);
                            pixDestroy(&made);
                        }),
                  note);
}
#endif

#if DAX_PEER_VIPS
// Makes, of the images of the case, one that is then computed in one thread, into memory that
// libvips allocates and finds again. The result isn't compared, since it lies elsewhere.
Offer onVips(Depths depths, int (*make)(VipsImage* const* images, VipsImage** result),
             const char* note = "");

// Of two images, of one, and of one and a constant.
template <auto function> Offer onTwoVips(Depths depths, const char* note = "") {
    return onVips(
        std::move(depths),
        [](VipsImage* const* v, VipsImage** to) { return function(v[0], v[1], to, nullptr); },
        note);
}
template <auto function> Offer onOneVips(Depths depths) {
    return onVips(std::move(depths),
                  [](VipsImage* const* v, VipsImage** to) { return function(v[0], to, nullptr); });
}
template <auto function, auto constant> Offer onOneVips(Depths depths) {
    return onVips(std::move(depths), [](VipsImage* const* v, VipsImage** to) {
        return function(v[0], to, double{constant}, nullptr);
    });
}
#endif

#if DAX_PEER_PIXMAN
// Every image of the case as an alpha mask of 8 bits.
Offer onMasks(void (*call)(pixman_image_t* const* masks, int width, int height));
#endif

} // namespace bench

#endif
