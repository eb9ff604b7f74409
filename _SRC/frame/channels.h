// Interleaved pixels of 2 to 4 channels, taken apart into runs of samples, one for each channel,
// and put together again. Sources and destinations don't overlap.
#ifndef OWN_CHANNELS_H
#define OWN_CHANNELS_H

#include "frame/kernels.h"

#include <cstddef>
#include <cstdint>

inline constexpr int32_t ownMostSplit = 4;

struct OwnChannelTable {
    // By samples of 1, 2 and 4 bytes.
    void (*split[3])(const char* src, char* const* dst, int32_t channels, ptrdiff_t pixelCount);
    void (*join[3])(const char* const* src, char* dst, int32_t channels, ptrdiff_t pixelCount);
};

struct OwnChannels {
    using Table = OwnChannelTable;
};

inline void ownSplitChannels(ptrdiff_t sampleBytes, const char* src, char* const* dst,
                             int32_t channels, ptrdiff_t pixelCount) {
    ownRows<OwnChannels>().split[sampleBytes / 2](src, dst, channels, pixelCount);
}

inline void ownJoinChannels(ptrdiff_t sampleBytes, const char* const* src, char* dst,
                            int32_t channels, ptrdiff_t pixelCount) {
    ownRows<OwnChannels>().join[sampleBytes / 2](src, dst, channels, pixelCount);
}

#endif
