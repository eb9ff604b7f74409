#include "peers.h"

#include <cstdio>
#include <cstdlib>
#include <malloc.h>

namespace bench {

#if DAX_PEER_LEPT
PixOver pixOver(Images& images, size_t index) {
    const DaxImage* const image = images[index];
    Pix* const pix = pixCreateHeader(image->width, image->height, image->depth & DAX_DEPTH_MASK);
    if (pix != nullptr) pixSetData(pix, images.data<l_uint32>(index));
    return {pix, [](Pix* one) {
                pixSetData(one, nullptr);
                pixDestroy(&one);
            }};
}
#endif

#if DAX_PEER_VIPS
namespace {

VipsBandFormat formatOf(int32_t depth) {
    switch (depth) {
    case DAX_DEPTH_8U: return VIPS_FORMAT_UCHAR;
    case DAX_DEPTH_8S: return VIPS_FORMAT_CHAR;
    case DAX_DEPTH_16U: return VIPS_FORMAT_USHORT;
    case DAX_DEPTH_16S: return VIPS_FORMAT_SHORT;
    case DAX_DEPTH_32S: return VIPS_FORMAT_INT;
    default: return VIPS_FORMAT_NOTSET;
    }
}

void startVips() {
    static bool started = false;
    if (started) return;
    started = true;
    if (vips_init("bench") != 0) {
        std::fprintf(stderr, "bench: libvips doesn't start: %s", vips_error_buffer());
        std::exit(1);
    }
    vips_concurrency_set(1);
    // Else the second run of an operation would find the result of the first.
    vips_cache_set_max(0);
}

} // namespace

VipsOver vipsOver(Images& images, size_t index) {
    startVips();
    const DaxImage* const image = images[index];
    return {vips_image_new_from_memory(images.data(index), static_cast<size_t>(image->dataSize),
                                       image->width, image->height, image->nChannels,
                                       formatOf(image->depth)),
            [](VipsImage* one) { g_object_unref(one); }};
}

void vipsRun(VipsImage* (*make)(VipsImage* a, VipsImage* b), VipsImage* a, VipsImage* b) {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    VipsImage* const lazy = make(a, b);
    size_t size = 0;
    void* const result = lazy == nullptr ? nullptr : vips_image_write_to_memory(lazy, &size);
    if (result == nullptr) {
        std::fprintf(stderr, "bench: libvips: %s", vips_error_buffer());
        std::exit(1);
    }
    g_free(result);
    g_object_unref(lazy);
    mallopt(M_MMAP_MAX, 65536);
}
#endif

#if DAX_PEER_PIXMAN
PixmanOver pixmanOver(Images& images, size_t index) {
    return {pixman_image_create_bits(PIXMAN_a8, images.width(index), images.height(index),
                                     images.data<uint32_t>(index), images.step(index)),
            [](pixman_image_t* one) { pixman_image_unref(one); }};
}
#endif

} // namespace bench
