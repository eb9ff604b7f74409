#include "image.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace {

struct Row {
    unsigned char* start;
    ptrdiff_t step;
};

template <class T> Row rowOf(const DaxImage* image, int32_t channel, int32_t row) {
    constexpr auto size = static_cast<ptrdiff_t>(sizeof(T));
    auto* const data = static_cast<unsigned char*>(image->imageData);
    const ptrdiff_t rowStep = image->widthStep;
    if (image->dataOrder == DAX_DATA_PLANE)
        return {data + (channel * ptrdiff_t{image->height} + row) * rowStep, size};
    return {data + row * rowStep + channel * size, image->nChannels * size};
}

template <class T> void get(const DaxImage* image, int32_t channel, int32_t row, int32_t* samples) {
    const Row at = rowOf<T>(image, channel, row);
    for (int32_t x = 0; x < image->width; ++x) {
        T sample;
        std::memcpy(&sample, at.start + x * at.step, sizeof sample);
        samples[x] = sample;
    }
}

template <class T> void set(DaxImage* image, int32_t channel, int32_t row, const int32_t* samples) {
    const Row at = rowOf<T>(image, channel, row);
    for (int32_t x = 0; x < image->width; ++x) {
        const auto sample = static_cast<T>(samples[x]);
        std::memcpy(at.start + x * at.step, &sample, sizeof sample);
    }
}

void getBits(const DaxImage* image, int32_t row, int32_t* samples) {
    const unsigned char* const bits = rowOf<unsigned char>(image, 0, row).start;
    for (int32_t x = 0; x < image->width; ++x) samples[x] = bits[x / 8] >> (7 - x % 8) & 1;
}

void setBits(DaxImage* image, int32_t row, const int32_t* samples) {
    unsigned char* const bits = rowOf<unsigned char>(image, 0, row).start;
    for (int32_t x = 0; x < image->width; ++x) {
        const int mask = 0x80 >> x % 8;
        bits[x / 8] =
            static_cast<unsigned char>(samples[x] != 0 ? bits[x / 8] | mask : bits[x / 8] & ~mask);
    }
}

} // namespace

Image makeImage(const Make& make) {
    const char* const model = make.channels == 1 ? "GRAY" : "RGB\0";
    Image image(daxCreateImageHeader(make.channels, 0, make.depth, model, model, make.order,
                                     DAX_ORIGIN_TOP_LEFT, 8, make.height, make.width, nullptr, 0,
                                     nullptr));
    if (image) daxAllocateImage(image.get(), 0);
    if (!image || image->imageData == nullptr) throw std::bad_alloc();
    return image;
}

Make makeOf(const DaxImage* image) {
    return {image->width, image->height, image->nChannels, image->depth, image->dataOrder};
}

Image copyOf(const DaxImage* image) {
    Image copy = makeImage(makeOf(image));
    std::memcpy(copy->imageData, image->imageData, static_cast<size_t>(copy->dataSize));
    return copy;
}

void getRow(const DaxImage* image, int32_t channel, int32_t row, int32_t* samples) {
    switch (image->depth) {
    case DAX_DEPTH_1U: return getBits(image, row, samples);
    case DAX_DEPTH_8U: return get<uint8_t>(image, channel, row, samples);
    case DAX_DEPTH_8S: return get<int8_t>(image, channel, row, samples);
    case DAX_DEPTH_16U: return get<uint16_t>(image, channel, row, samples);
    case DAX_DEPTH_16S: return get<int16_t>(image, channel, row, samples);
    default: return get<int32_t>(image, channel, row, samples);
    }
}

void setRow(DaxImage* image, int32_t channel, int32_t row, const int32_t* samples) {
    switch (image->depth) {
    case DAX_DEPTH_1U: return setBits(image, row, samples);
    case DAX_DEPTH_8U: return set<uint8_t>(image, channel, row, samples);
    case DAX_DEPTH_8S: return set<int8_t>(image, channel, row, samples);
    case DAX_DEPTH_16U: return set<uint16_t>(image, channel, row, samples);
    case DAX_DEPTH_16S: return set<int16_t>(image, channel, row, samples);
    default: return set<int32_t>(image, channel, row, samples);
    }
}
