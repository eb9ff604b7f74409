#include "frame/channels.h"

#include "frame/channel_lanes.h"
#include "frame/lanes.h"

namespace {

template <class T, ptrdiff_t channels>
void splitPixels(const char* src, char* const* dst, ptrdiff_t count) {
    const auto* x = ownLanes<T>(src);
    OwnLaneOf<T>* z[channels];
    for (ptrdiff_t c = 0; c < channels; ++c) z[c] = ownLanes<T>(dst[c]);
    if constexpr (channels == 3) {
        ownSplitThirds<T, 3>(src, z[0], z[1], z[2], count);
    } else {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i)
            for (ptrdiff_t c = 0; c < channels; ++c) z[c][i] = x[i * channels + c];
    }
}

template <class T, ptrdiff_t channels>
void joinPixels(const char* const* src, char* dst, ptrdiff_t count) {
    const OwnLaneOf<T>* x[channels];
    for (ptrdiff_t c = 0; c < channels; ++c) x[c] = ownLanes<T>(src[c]);
    auto* z = ownLanes<T>(dst);
    if constexpr (channels == 3) {
        ownJoinThirds<T, 3>(x[0], x[1], x[2], dst, count);
    } else {
        OWN_EACH_ALONE
        for (ptrdiff_t i = 0; i < count; ++i)
            for (ptrdiff_t c = 0; c < channels; ++c) z[i * channels + c] = x[c][i];
    }
}

template <class T>
void split(const char* src, char* const* dst, int32_t channels, ptrdiff_t count) {
    switch (channels) {
    case 2: splitPixels<T, 2>(src, dst, count); break;
    case 3: splitPixels<T, 3>(src, dst, count); break;
    default: splitPixels<T, 4>(src, dst, count); break;
    }
}

template <class T> void join(const char* const* src, char* dst, int32_t channels, ptrdiff_t count) {
    switch (channels) {
    case 2: joinPixels<T, 2>(src, dst, count); break;
    case 3: joinPixels<T, 3>(src, dst, count); break;
    default: joinPixels<T, 4>(src, dst, count); break;
    }
}

constexpr OwnChannelTable table = {{split<uint8_t>, split<uint16_t>, split<uint32_t>},
                                   {join<uint8_t>, join<uint16_t>, join<uint32_t>}};

} // namespace

template <> const OwnChannelTable& ownRowTable<OwnChannels, OWN_ISA>() { return table; }
