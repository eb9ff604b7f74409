#include "peers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>

namespace bench {

std::vector<Peer> peersFor(const Form& form, const Offers& offers) {
    std::vector<Peer> peers;
    if (form.coi != 0 || form.channels != 1) return peers;
    for (const Offer& offer : offers)
        if (std::find(offer.depths.begin(), offer.depths.end(), form.depth) != offer.depths.end())
            peers.push_back(offer.peer);
    return peers;
}

namespace {

// All images of a case in another library's records, and the call on them.
template <class Record, class Wrap, class Free, class Run>
Prepare over(Wrap wrap, Free release, Run run) {
    return [=](Images& images) -> Task {
        std::vector<std::shared_ptr<Record>> records;
        for (size_t k = 0; k < images.count(); ++k) records.emplace_back(wrap(images, k), release);
        std::vector<Record*> bare;
        for (const auto& record : records) bare.push_back(record.get());
        return [records, bare, run] { run(bare.data()); };
    };
}

// While this stands, memory that another library allocates for its results is kept for the next
// ones, so that operations are timed and not the mapping of pages.
struct [[maybe_unused]] KeptHeap {
    KeptHeap() {
        mallopt(M_MMAP_MAX, 0);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
    }
    ~KeptHeap() { mallopt(M_MMAP_MAX, 65536); }
    KeptHeap(const KeptHeap&) = delete;
    KeptHeap& operator=(const KeptHeap&) = delete;
};

[[maybe_unused]] void give(const char* library, const char* why) {
    std::fprintf(stderr, "bench: %s: %s\n", library, why);
    std::exit(1);
}

} // namespace

#if DAX_PEER_YUV
Offer onYuv(void (*call)(Images& images)) {
    return {{DAX_DEPTH_8U}, {.name = "libyuv", .prepare = each(call)}};
}
#endif

#if DAX_PEER_LEPT
Offer onPix(Depths depths, void (*call)(Pix* const* pix)) {
    const auto wrap = [](Images& images, size_t index) {
        const DaxImage* const image = images[index];
        Pix* const pix = pixCreateHeader(image->width, image->height,
                                         (image->depth & DAX_DEPTH_MASK) * image->nChannels);
        if (pix == nullptr) give("leptonica", "no header");
        pixSetData(pix, images.data<l_uint32>(index));
        return pix;
    };
    const auto release = [](Pix* pix) {
        pixSetData(pix, nullptr);
        pixDestroy(&pix);
    };
    const auto run = [call](Pix* const* pix) {
        const KeptHeap heap;
        call(pix);
    };
    return {std::move(depths), {.name = "leptonica", .prepare = over<Pix>(wrap, release, run)}};
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
    default: return VIPS_FORMAT_INT;
    }
}

void startVips() {
    static bool started = false;
    if (started) return;
    started = true;
    if (vips_init("bench") != 0) give("libvips", vips_error_buffer());
    vips_concurrency_set(1);
    // Else the second run of an operation would find the result of the first.
    vips_cache_set_max(0);
}

} // namespace

Offer onVips(Depths depths, int (*make)(VipsImage* const* images, VipsImage** result),
             const char* note) {
    const auto wrap = [](Images& images, size_t index) {
        startVips();
        const DaxImage* const image = images[index];
        return vips_image_new_from_memory(images.data(index), static_cast<size_t>(image->dataSize),
                                          image->width, image->height, image->nChannels,
                                          formatOf(image->depth));
    };
    const auto release = [](VipsImage* image) { g_object_unref(image); };
    const auto run = [make](VipsImage* const* images) {
        const KeptHeap heap;
        VipsImage* lazy = nullptr;
        size_t size = 0;
        if (make(images, &lazy) != 0) give("libvips", vips_error_buffer());
        void* const result = vips_image_write_to_memory(lazy, &size);
        if (result == nullptr) give("libvips", vips_error_buffer());
        g_free(result);
        g_object_unref(lazy);
    };
    return {std::move(depths),
            {.name = "libvips",
             .prepare = over<VipsImage>(wrap, release, run),
             .agrees = false,
             .note = note}};
}
#endif

#if DAX_PEER_PIXMAN
Offer onMasks(void (*call)(pixman_image_t* const* masks, int width, int height)) {
    const auto wrap = [](Images& images, size_t index) {
        return pixman_image_create_bits(PIXMAN_a8, images.width(index), images.height(index),
                                        images.data<uint32_t>(index), images.step(index));
    };
    const auto release = [](pixman_image_t* mask) { pixman_image_unref(mask); };
    const auto run = [call](pixman_image_t* const* masks) {
        call(masks, pixman_image_get_width(masks[0]), pixman_image_get_height(masks[0]));
    };
    return {{DAX_DEPTH_8U},
            {.name = "pixman", .prepare = over<pixman_image_t>(wrap, release, run)}};
}
#endif

} // namespace bench
