// Other libraries on the memory of the bench's own images.
#ifndef BENCH_PEERS_H
#define BENCH_PEERS_H

#include "cases.h"

#if DAX_PEER_YUV
#include <libyuv.h>
#endif
#if DAX_PEER_LEPT
#include <leptonica/allheaders.h>
#endif
#if DAX_PEER_VIPS
#include <vips/vips.h>
#endif
#if DAX_PEER_PIXMAN
#include <pixman.h>
#endif

#include <memory>

namespace bench {

#if DAX_PEER_LEPT
// A Pix of one channel over an image.
using PixOver = std::shared_ptr<Pix>;
PixOver pixOver(Images& images, size_t index);
#endif

#if DAX_PEER_VIPS
using VipsOver = std::shared_ptr<VipsImage>;
VipsOver vipsOver(Images& images, size_t index);

// Computes what `make` builds, in one thread, and throws the result away. libvips allocates its
// results itself; memory that it gives back is kept for the next one, so that the operation is
// timed and not the mapping of pages.
void vipsRun(VipsImage* (*make)(VipsImage* a, VipsImage* b), VipsImage* a, VipsImage* b);
#endif

#if DAX_PEER_PIXMAN
// An 8-bit image of one channel as an alpha mask.
using PixmanOver = std::shared_ptr<pixman_image_t>;
PixmanOver pixmanOver(Images& images, size_t index);
#endif

} // namespace bench

#endif
