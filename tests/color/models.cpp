#include "color/models.h"

#include "frame/daxlib.h"

#include <algorithm>
#include <cmath>

namespace color {

namespace {

double fullOf(int32_t depth) {
    return depth == DAX_DEPTH_8U ? 255.0 : depth == DAX_DEPTH_16U ? 65535.0 : 2147483647.0;
}

int64_t cut(double value) { return static_cast<int64_t>(value); }

int64_t hue(int64_t r, int64_t g, int64_t b) {
    const int64_t high = std::max({r, g, b});
    const auto d = static_cast<double>(high - std::min({r, g, b}));
    double h;
    if (r == high)
        h = static_cast<double>(60 * (g - b)) / d;
    else if (g == high)
        h = static_cast<double>(60 * (b - r)) / d + 120;
    else
        h = static_cast<double>(60 * (r - g)) / d + 240;
    return cut(h < 0 ? h + 360 : h);
}

Pixel rgbToHsv(int32_t depth, int64_t r, int64_t g, int64_t b) {
    const int64_t high = std::max({r, g, b});
    const int64_t d = high - std::min({r, g, b});
    const bool bytes = depth == DAX_DEPTH_8U;
    int64_t s = 0;
    if (high != 0)
        s = bytes ? 255 * d / high
                  : cut(static_cast<double>(d) * fullOf(depth) / static_cast<double>(high));
    const int64_t h = s == 0 ? 0 : hue(r, g, b);
    return {bytes ? h >> 1 : h, s, high};
}

Pixel rgbToHls(int32_t depth, int64_t r, int64_t g, int64_t b) {
    const int64_t high = std::max({r, g, b});
    const int64_t low = std::min({r, g, b});
    const int64_t d = high - low;
    const auto sum = static_cast<double>(high + low);
    const double full = fullOf(depth);
    if (d == 0) return {0, (high + low) >> 1, 0};
    const double s = full * static_cast<double>(d) / (sum <= full ? sum : 2 * full - sum);
    const int64_t h = hue(r, g, b);
    return {depth == DAX_DEPTH_8U ? h >> 1 : h, (high + low) >> 1, cut(s)};
}

Pixel sector(int64_t of, int64_t v, int64_t a, int64_t b, int64_t p) {
    switch (of) {
    case 0: return {v, b, p};
    case 1: return {a, v, p};
    case 2: return {p, v, b};
    case 3: return {p, a, v};
    case 4: return {b, p, v};
    default: return {v, p, a};
    }
}

Pixel hsvToRgb(int32_t depth, int64_t h, int64_t s, int64_t v) {
    if (s == 0) return {v, v, v};
    if (depth == DAX_DEPTH_8U) {
        const int64_t f = 2 * h % 60;
        const int64_t w = v * s >> 8;
        return sector(2 * h / 60, v, v - (w * f * 34 >> 11), v - (w * (60 - f) * 34 >> 11), v - w);
    }
    const double full = fullOf(depth);
    const double x = h == 360 ? 0 : static_cast<double>(h) * (1.0 / 60.0);
    const double f = x - std::trunc(x);
    const auto ds = static_cast<double>(s);
    const auto dv = static_cast<double>(v);
    return sector(cut(x), v, cut((full - f * ds) * dv * (1.0 / full)),
                  cut((full - (1.0 - f) * ds) * dv * (1.0 / full)),
                  cut((full - ds) * dv * (1.0 / full)));
}

Pixel hlsToRgb(int32_t depth, int64_t h, int64_t l, int64_t s) {
    if (s == 0) return {l, l, l};
    if (depth == DAX_DEPTH_8U) {
        const int64_t h2 = 2 * h;
        const int64_t w = s * l * 258 >> 16;
        const int64_t high = l < 128 ? w + l : s + l - w;
        const int64_t low = 2 * l - high;
        const int64_t slope = 2 * (high - l) * 137;
        const auto ramp = [=](int64_t at) {
            if (at < 60) return low + (slope * at >> 13);
            if (at < 180) return high;
            if (at >= 240) return low;
            return low + (slope * (240 - at) >> 13);
        };
        return {ramp(h2 < 241 ? h2 + 120 : h2 - 240), ramp(h2),
                ramp(h2 < 120 ? h2 + 240 : h2 - 120)};
    }
    const double full = fullOf(depth);
    const double dl = static_cast<double>(l) / full;
    const double ds = static_cast<double>(s) / full;
    const bool dark = l <= (depth == DAX_DEPTH_16U ? 32767 : 1073741823);
    const double high = dark ? dl * (1 + ds) : dl + ds - dl * ds;
    const double low = 2 * dl - high;
    const auto ramp = [=](double at) {
        if (at < 0) at += 360;
        if (at > 360) at -= 360;
        double value = high;
        if (at < 60)
            value = low + (high - low) * at * 0.0166666667;
        else if (at >= 240)
            value = low;
        else if (at >= 180)
            value = low + (high - low) * (240 - at) * 0.0166666667;
        return cut(value * full);
    };
    const auto dh = static_cast<double>(h);
    return {ramp(dh + 120), ramp(dh), ramp(dh - 120)};
}

int64_t wrapped(int32_t depth, int64_t value) {
    if (depth == DAX_DEPTH_8U) return static_cast<uint8_t>(value);
    if (depth == DAX_DEPTH_16U) return static_cast<uint16_t>(value);
    return static_cast<int32_t>(value);
}

} // namespace

Pixel convert(Way way, int32_t depth, const Pixel& from) {
    const auto function = way == Way::rgbToHsv   ? rgbToHsv
                          : way == Way::hsvToRgb ? hsvToRgb
                          : way == Way::rgbToHls ? rgbToHls
                                                 : hlsToRgb;
    Pixel to = function(depth, from[0], from[1], from[2]);
    for (int64_t& sample : to) sample = wrapped(depth, sample);
    return to;
}

int64_t grayOf(int32_t srcDepth, int32_t dstDepth, bool planes, const Pixel& rgb) {
    const int64_t r = rgb[0];
    const int64_t g = rgb[1];
    const int64_t b = rgb[2];
    const int64_t sum = 54 * r + 183 * g + 18 * b;
    const auto wide = [&](int32_t by) {
        return (r >> by) * 109 + (g >> by) * 366 + (b >> by) * 37;
    };
    if (srcDepth == DAX_DEPTH_8U) {
        if (dstDepth == DAX_DEPTH_1U) return sum >> 8 > 127;
        return dstDepth == DAX_DEPTH_8U ? sum >> 8 : sum;
    }
    if (srcDepth == DAX_DEPTH_16U) {
        if (dstDepth == DAX_DEPTH_1U) return sum >> 8 > 32767;
        if (dstDepth == DAX_DEPTH_16U) return sum >> 8;
        return planes ? ((r * 109 >> 16) + (g * 366 >> 16) + (b * 37 >> 16)) >> 1 : sum >> 16;
    }
    if (dstDepth == DAX_DEPTH_1U) return wide(10) < 0x20000000 ? 0 : 1;
    return wrapped(dstDepth, wide(11) >> (dstDepth == DAX_DEPTH_16U ? 13 : 21));
}

Pixel tintOf(int32_t srcDepth, int32_t dstDepth, int64_t gray, const std::array<float, 3>& fracts) {
    std::array<int64_t, 3> weights;
    const double one = dstDepth == DAX_DEPTH_8U ? 256 : 32768;
    bool none = true;
    for (size_t k = 0; k < 3; ++k) {
        weights[k] = cut(double{fracts[k]} * one);
        if (dstDepth == DAX_DEPTH_16U) weights[k] = static_cast<uint16_t>(weights[k]);
        none = none && weights[k] == 0;
    }
    int32_t shift = dstDepth == DAX_DEPTH_16U ? 15 : 8;
    std::array<float, 3> exact = fracts;
    if (none) {
        exact = {0.212671f, 0.715160f, 0.072169f};
        weights = {54, 183, 18};
        if (dstDepth == DAX_DEPTH_16U) weights = {109, 366, 37}, shift = 9;
    }
    Pixel rgb;
    if (srcDepth == DAX_DEPTH_1U) gray *= 255;
    for (size_t k = 0; k < 3; ++k) {
        const int64_t value = dstDepth == DAX_DEPTH_32S
                                  ? cut(static_cast<double>(gray) * double{exact[k]})
                                  : gray * weights[k] >> shift;
        rgb[k] = wrapped(dstDepth, value);
    }
    return rgb;
}

} // namespace color
