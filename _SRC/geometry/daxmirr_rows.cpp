#include "geometry/daxmirr.h"

#include "frame/kernels.h"
#include "frame/lanes.h"
#include "frame/vectors.h"

#include <cstring>

namespace {

template <class T> void reverseSamples(const char* src, char* dst, ptrdiff_t count) {
    const auto* x = ownLanes<T>(src);
    auto* z = ownLanes<T>(dst);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) z[i] = x[count - 1 - i];
}

template <ptrdiff_t size> void reversePixels(const char* src, char* dst, ptrdiff_t count) {
    ptrdiff_t done = 0;
#if defined(__AVX2__)
    // As many pixels as a vector holds are turned round in it. What it holds besides lies before
    // them in the source, and the next step writes over it.
    constexpr ptrdiff_t pixels = 16 / size;
    alignas(16) int8_t order[16];
    for (ptrdiff_t k = 0; k < 16; ++k)
        order[k] = k < pixels * size
                       ? static_cast<int8_t>(15 - k / size * size - (size - 1) + k % size)
                       : int8_t{-1};
    const __m128i turn = _mm_load_si128(reinterpret_cast<const __m128i*>(order));
    for (; (count - done) * size >= 16; done += pixels) {
        const __m128i taken =
            _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(src + (count - done) * size - 16));
        _mm_storeu_si128(reinterpret_cast<__m128i_u*>(dst + done * size),
                         _mm_shuffle_epi8(taken, turn));
    }
#endif
    for (; done < count; ++done) memcpy(dst + done * size, src + (count - 1 - done) * size, size);
}

void reverse(const char* src, char* dst, ptrdiff_t pixelBytes, ptrdiff_t count) {
    switch (pixelBytes) {
    case 1: reverseSamples<uint8_t>(src, dst, count); break;
    case 2: reverseSamples<uint16_t>(src, dst, count); break;
    case 3: reversePixels<3>(src, dst, count); break;
    case 4: reverseSamples<uint32_t>(src, dst, count); break;
    case 6: reversePixels<6>(src, dst, count); break;
    case 8: reverseSamples<uint64_t>(src, dst, count); break;
    case 12: reversePixels<12>(src, dst, count); break;
    default:
        for (ptrdiff_t i = 0; i < count; ++i)
            memcpy(dst + i * pixelBytes, src + (count - 1 - i) * pixelBytes,
                   static_cast<size_t>(pixelBytes));
        break;
    }
}

template <class T> void swapSamplesReversed(char* a, char* b, ptrdiff_t count) {
    auto* x = ownLanes<T>(a);
    auto* z = ownLanes<T>(b);
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        const T kept = x[i];
        x[i] = z[count - 1 - i];
        z[count - 1 - i] = kept;
    }
}

// By way of a block, where pixels are moved several at a time.
template <ptrdiff_t size> void swapPixelsReversed(char* a, char* b, ptrdiff_t count) {
    constexpr ptrdiff_t room = 1536 / size;
    char block[room * size];
    for (ptrdiff_t done = 0; done < count; done += room) {
        const ptrdiff_t share = count - done < room ? count - done : room;
        char* const partA = a + done * size;
        char* const partB = b + (count - done - share) * size;
        reversePixels<size>(partA, block, share);
        reversePixels<size>(partB, partA, share);
        memcpy(partB, block, static_cast<size_t>(share * size));
    }
}

void swapBytes(char* a, char* b, ptrdiff_t count) {
    OWN_EACH_ALONE
    for (ptrdiff_t i = 0; i < count; ++i) {
        const char kept = a[i];
        a[i] = b[i];
        b[i] = kept;
    }
}

void swapReversed(char* a, char* b, ptrdiff_t pixelBytes, ptrdiff_t count) {
    switch (pixelBytes) {
    case 1: swapSamplesReversed<uint8_t>(a, b, count); break;
    case 2: swapSamplesReversed<uint16_t>(a, b, count); break;
    case 3: swapPixelsReversed<3>(a, b, count); break;
    case 4: swapSamplesReversed<uint32_t>(a, b, count); break;
    case 6: swapPixelsReversed<6>(a, b, count); break;
    case 8: swapSamplesReversed<uint64_t>(a, b, count); break;
    case 12: swapPixelsReversed<12>(a, b, count); break;
    default:
        for (ptrdiff_t i = 0; i < count; ++i)
            swapBytes(a + i * pixelBytes, b + (count - 1 - i) * pixelBytes, pixelBytes);
        break;
    }
}

constexpr OwnMirrorTable table = {reverse, swapReversed};

} // namespace

template <> const OwnMirrorTable& ownRowTable<OwnMirror, OWN_ISA>() { return table; }
