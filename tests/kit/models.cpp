#include "kit/models.h"

#include "kit/shapes.h"

#include <algorithm>
#include <climits>

namespace kit {

namespace {

bool wholeImage(const DaxImage* image) {
    const DaxROI* roi = image->roi;
    return roi == nullptr || (roi->xOffset == 0 && roi->yOffset == 0 &&
                              roi->width >= image->width && roi->height >= image->height &&
                              (roi->coi == 0 || (roi->coi == 1 && image->nChannels == 1)));
}

int64_t blockBytes(const DaxImage* image) {
    const int64_t rows =
        int64_t{image->height} * (image->dataOrder == DAX_DATA_PIXEL ? 1 : image->nChannels);
    return std::max<int64_t>(rows * image->widthStep, image->dataSize);
}

int64_t derivedStep(const DaxImage* image) {
    return Shape{.depth = image->depth,
                 .channels = image->nChannels,
                 .width = image->width,
                 .order = image->dataOrder,
                 .align = image->align}
        .rowStep();
}

// One run: so many samples (or bits) from a start on, each image at its own pace.
struct Run {
    Visit start = {};
    Visit pace = {};
    int64_t count = 0;
};

std::vector<Run> runsOf(const std::vector<const DaxImage*>& images) {
    const size_t n = images.size();
    const DaxImage* d = images.back();
    const bool bitonal = d->depth == DAX_DEPTH_1U;
    const int64_t s = bitonal ? 1 : bytesOf(d->depth);
    std::vector<Run> runs;

    if (std::all_of(images.begin(), images.end(), [&](const DaxImage* image) {
            return image->height == d->height && image->width == d->width &&
                   image->dataSize == d->dataSize && wholeImage(image);
        })) {
        runs.push_back({{}, {s, s, s}, bitonal ? d->dataSize / 4 * 32 : d->dataSize / s});
        return runs;
    }

    Run first;
    Visit step = {};
    int64_t width = INT_MAX;
    int64_t height = INT_MAX;
    if (bitonal) {
        for (size_t i = 0; i < n; ++i) {
            const DaxImage* image = images[i];
            const DaxROI roi = regionOf(image);
            width = std::min<int64_t>({width, roi.width, image->width});
            height = std::min<int64_t>({height, roi.height, image->height});
            step[i] = int64_t{image->widthStep} * 8;
            first.start[i] = roi.xOffset + roi.yOffset * step[i];
        }
        first.pace = {1, 1, 1};
        first.count = width;
        for (int64_t y = 0; y < height; ++y) {
            runs.push_back(first);
            for (size_t i = 0; i < n; ++i) first.start[i] += step[i];
        }
        return runs;
    }

    bool all = true;
    bool one = true;
    Visit plane = {};
    for (size_t i = 0; i < n; ++i) {
        const DaxImage* image = images[i];
        const DaxROI roi = regionOf(image);
        const bool pixels = image->dataOrder == DAX_DATA_PIXEL;
        const int64_t channels = image->nChannels;
        const int64_t columns =
            std::min<int64_t>(int64_t{roi.xOffset} + roi.width, image->width) - roi.xOffset;
        const int64_t rows =
            std::min<int64_t>(int64_t{roi.yOffset} + roi.height, image->height) - roi.yOffset;
        const int64_t channel = std::max(roi.coi, 1) - 1;
        width = std::min(width, columns * (pixels ? channels : 1));
        height = std::min(height, rows);
        step[i] = image->widthStep / s * s;
        plane[i] = step[i] * image->height;
        // The offset of the start goes by the derived row step, all further rows by the header's.
        first.start[i] =
            pixels ? roi.yOffset * derivedStep(image) + (roi.xOffset * channels + channel) * s
                   : (channel * image->height + roi.yOffset) * derivedStep(image) + roi.xOffset * s;
        all = all && (roi.coi == 0 || channels == 1);
        one = one && roi.coi != 0;
    }
    if (width <= 0 || height <= 0) return runs;
    const bool pixels = d->dataOrder == DAX_DATA_PIXEL;
    const bool contiguous = std::all_of(images.begin(), images.end(), [&](const DaxImage* image) {
        return width * s == image->widthStep;
    });
    const int64_t length = contiguous ? width * height : width;
    const int64_t rows = contiguous ? 1 : height;
    int64_t planes = 1;
    first.pace = {s, s, s};
    first.count = length;
    if (all && !pixels && !one) {
        planes = d->nChannels;
    } else if (!(pixels ? all : one)) {
        if (!(pixels && one)) return runs;
        for (size_t i = 0; i < n; ++i) first.pace[i] = s * images[i]->nChannels;
        first.count = 0;
        for (int64_t position = 0; position < length; position += images[0]->nChannels)
            ++first.count;
    }
    for (int64_t p = 0; p < planes; ++p)
        for (int64_t y = 0; y < rows; ++y) {
            Run run = first;
            for (size_t i = 0; i < n; ++i) run.start[i] += p * plane[i] + y * step[i];
            runs.push_back(run);
        }
    return runs;
}

} // namespace

std::vector<Visit> visitsOf(const std::vector<const DaxImage*>& images) {
    const int64_t s = std::max(bytesOf(images.back()->depth), 1);
    const int64_t perByte = images.back()->depth == DAX_DEPTH_1U ? 8 : 1;
    std::vector<Visit> visits;
    for (const Run& run : runsOf(images))
        for (int64_t k = 0; k < run.count; ++k) {
            Visit at = run.start;
            bool inside = true;
            for (size_t i = 0; i < images.size(); ++i) {
                at[i] += k * run.pace[i];
                inside = inside && at[i] + s <= blockBytes(images[i]) * perByte;
            }
            if (inside) visits.push_back(at);
        }
    return visits;
}

void combineByModel(const std::vector<DaxImage*>& images, const SampleFunction& function) {
    const int32_t depth = images.back()->depth;
    const bool bitonal = depth == DAX_DEPTH_1U;
    const size_t last = images.size() - 1;
    const auto place = [&](size_t i, const Visit& at) {
        return static_cast<uint8_t*>(images[i]->imageData) + (bitonal ? 0 : at[i]);
    };
    for (const Visit& at : visitsOf({images.begin(), images.end()})) {
        const int64_t a = readSample(place(0, at), depth, at[0]);
        const int64_t b = last > 1 ? readSample(place(1, at), depth, at[1]) : 0;
        writeSample(place(last, at), depth, function(a, b), at[last]);
    }
}

} // namespace kit
