#include "kit/models.h"

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
            const DaxROI roi =
                image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
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
        const DaxROI roi =
            image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
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

TileWalk tileWalkOf(const std::vector<const DaxImage*>& images, const int32_t* tilePos) {
    const size_t n = images.size();
    const std::string names = n == 3 ? "ABD" : "AD";
    std::vector<int64_t> x0(n), y0(n);
    int64_t width = INT64_MAX;
    int64_t height = INT64_MAX;
    for (size_t i = 0; i < n; ++i) {
        const DaxImage* image = images[i];
        const DaxROI roi =
            image->roi != nullptr ? *image->roi : DaxROI{0, 0, 0, image->height, image->width};
        x0[i] = roi.xOffset;
        y0[i] = roi.yOffset;
        width = std::min({width, int64_t{roi.width}, image->width - x0[i]});
        height = std::min({height, int64_t{roi.height}, image->height - y0[i]});
    }

    const DaxTileInfo* target = images.back()->tileInfo;
    if (tilePos != nullptr && target != nullptr) {
        const int64_t left = int64_t{tilePos[0]} * target->width;
        const int64_t top = int64_t{tilePos[1]} * target->height;
        const int64_t x = x0.back();
        const int64_t y = y0.back();
        if (left > x + width) return {"(dTile.begX > dRoi.endX)", {}};
        if (top > y + height) return {"(dTile.begY > dRoi.endY)", {}};
        if (left + target->width < x) return {"(dTile.endX < dRoi.begX)", {}};
        if (top + target->height < y) return {"(dTile.endY < dRoi.begY)", {}};
        const int64_t offLeft = std::max<int64_t>(left - x, 0);
        const int64_t offTop = std::max<int64_t>(top - y, 0);
        width = std::min(width, left + target->width - x) - offLeft;
        height = std::min(height, top + target->height - y) - offTop;
        for (size_t i = 0; i < n; ++i) {
            x0[i] += offLeft;
            y0[i] += offTop;
        }
    }

    TileWalk walk;
    const auto ask = [&](size_t i, const char* what, int64_t x, int64_t y) {
        const DaxTileInfo* tiles = images[i]->tileInfo;
        walk.lines.push_back(names[i] + std::string(what) + std::to_string(x / tiles->width) + "," +
                             std::to_string(y / tiles->height));
    };
    const auto fetch = [&](size_t i, int64_t x, int64_t y) {
        ask(i, i == n - 1 ? " write " : " read ", x, y);
    };
    int64_t bandHeight = 0;
    for (int64_t dy = 0; dy < height; dy += bandHeight) {
        bandHeight = height - dy;
        for (size_t i = 0; i < n; ++i) {
            if (images[i]->tileInfo == nullptr) continue;
            fetch(i, x0[i], y0[i] + dy);
            const int64_t tileHeight = images[i]->tileInfo->height;
            bandHeight = std::min(bandHeight, tileHeight - (y0[i] + dy) % tileHeight);
        }
        int64_t pieceWidth = 0;
        int64_t lastDx = 0;
        for (int64_t dx = 0; dx < width; dx += pieceWidth) {
            pieceWidth = width - dx;
            std::vector<DaxROI> regions(n);
            for (size_t i = 0; i < n; ++i) {
                const DaxTileInfo* tiles = images[i]->tileInfo;
                const int64_t x = x0[i] + dx;
                const int64_t y = y0[i] + dy;
                if (tiles != nullptr && dx > 0 && x % tiles->width == 0) {
                    ask(i, " release ", x - 1, y);
                    fetch(i, x, y);
                }
                if (tiles != nullptr)
                    pieceWidth = std::min(pieceWidth, tiles->width - x % tiles->width);
                regions[i].xOffset = static_cast<int32_t>(tiles != nullptr ? x % tiles->width : x);
                regions[i].yOffset = static_cast<int32_t>(tiles != nullptr ? y % tiles->height : y);
            }
            for (DaxROI& region : regions) {
                region.width = static_cast<int32_t>(pieceWidth);
                region.height = static_cast<int32_t>(bandHeight);
            }
            walk.lines.push_back(pieceLine(regions));
            lastDx = dx;
        }
        for (size_t i = 0; i < n; ++i)
            if (images[i]->tileInfo != nullptr) ask(i, " release ", x0[i] + lastDx, y0[i] + dy);
    }
    return walk;
}

std::string pieceLine(const std::vector<DaxROI>& regions) {
    std::string line = "piece";
    for (const DaxROI& roi : regions)
        line += " " + std::to_string(roi.width) + "x" + std::to_string(roi.height) + "+" +
                std::to_string(roi.xOffset) + "+" + std::to_string(roi.yOffset);
    return line;
}

} // namespace kit
