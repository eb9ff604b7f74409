// Row kernels of daxMirror.
#ifndef OWN_DAXMIRR_H
#define OWN_DAXMIRR_H

#include <cstddef>
#include <cstdint>

struct OwnMirrorTable {
    // A run of pixels in the opposite order, into other memory; and two runs that change places,
    // each in the opposite order.
    void (*reverse)(const char* src, char* dst, ptrdiff_t pixelBytes, ptrdiff_t count);
    void (*swapReversed)(char* a, char* b, ptrdiff_t pixelBytes, ptrdiff_t count);
};

struct OwnMirror {
    using Table = OwnMirrorTable;
};

#endif
