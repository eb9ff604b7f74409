// The colour tables of bitmaps: fixed ones, and the median cut (Heckbert).
#include "frame/memory.h"
#include "move/dib.h"

#include <cstring>

namespace {

// The table as far as it reaches, whatever an odd bit count says; further entries are dropped.
struct Table {
    explicit Table(BITMAPINFOHEADER* dib) : bytes(ownDibTable(dib)), room(ownDibTableSize(dib)) {
        const int64_t all = int64_t{1} << dib->biBitCount;
        if (ownDibIndexed(dib->biBitCount) && room < all) room = all;
    }

    void set(int64_t index, uint32_t red, uint32_t green, uint32_t blue) const {
        if (index >= room) return;
        const uint32_t values[] = {blue, green, red, 0};
        for (int32_t c = 0; c < ownDibEntryBytes; ++c)
            bytes[index * ownDibEntryBytes + c] = static_cast<uint8_t>(values[c]);
    }
    void setGrey(int64_t index, uint32_t level) const { set(index, level, level, level); }

    uint8_t* bytes;
    int64_t room;
};

// A histogram over one axis, of grey levels, or over three of 6 bits each: red, green, blue, the
// first of them the fastest. A cell's place is the sum of its parts.
struct Cells {
    const uint32_t* counts;
    int32_t axes;
    int32_t step[3];
    uint32_t perStep; // what a step along an axis adds to a colour's value
};
constexpr int32_t greyCells = 256;
constexpr int32_t colourCells = 1 << 18;
constexpr Cells greyAxis = {nullptr, 1, {1, 1, 1}, 1};
constexpr Cells colourAxes = {nullptr, 3, {1, 1 << 6, 1 << 12}, 4};

struct DaxMedianBox {
    int32_t state; // how often it has been cut; `whole` for a box that stays as it is
    int32_t low[3];
    int32_t high[3];
    uint64_t pixelCount;
};
constexpr int32_t whole = 255;

// Calls `use(cell, count)` for the cells of a box.
template <class Use> void eachCell(const Cells& cells, const DaxMedianBox& box, Use use) {
    int32_t cell[3];
    for (cell[2] = box.low[2]; cell[2] <= box.high[2]; cell[2] += cells.step[2])
        for (cell[1] = box.low[1]; cell[1] <= box.high[1]; cell[1] += cells.step[1])
            for (cell[0] = box.low[0]; cell[0] <= box.high[0]; cell[0] += cells.step[0])
                use(cell, cells.counts[cell[0] + cell[1] + cell[2]]);
}

uint64_t planeCount(const Cells& cells, DaxMedianBox box, int32_t axis, int32_t at) {
    box.low[axis] = box.high[axis] = at;
    uint64_t sum = 0;
    eachCell(cells, box, [&sum](const int32_t*, uint32_t count) { sum += count; });
    return sum;
}

// A box with pixels, shrunk to its occupied cells.
void tighten(const Cells& cells, DaxMedianBox* box) {
    for (int32_t axis = 0; axis < cells.axes; ++axis) {
        const int32_t step = cells.step[axis];
        while (planeCount(cells, *box, axis, box->low[axis]) == 0) box->low[axis] += step;
        while (planeCount(cells, *box, axis, box->high[axis]) == 0) box->high[axis] -= step;
    }
}

// The first of the longest sides; -1 for a single cell.
int32_t longestAxis(const Cells& cells, const DaxMedianBox& box) {
    int32_t longest = -1;
    int32_t most = 0;
    for (int32_t axis = 0; axis < cells.axes; ++axis) {
        const int32_t side = (box.high[axis] - box.low[axis]) / cells.step[axis];
        if (side > most) {
            most = side;
            longest = axis;
        }
    }
    return longest;
}

void finish(const Cells& cells, DaxMedianBox* box) {
    tighten(cells, box);
    box->state = longestAxis(cells, *box) < 0 ? whole : box->state + 1;
}

// Cuts a box of more than one cell at the median of its pixels. Both parts have pixels: the first
// plane is never given back, and the last one always.
void cut(const Cells& cells, DaxMedianBox* lower, DaxMedianBox* upper) {
    const int32_t axis = longestAxis(cells, *lower);
    const int32_t step = cells.step[axis];
    const uint64_t half = lower->pixelCount >> 1;
    int32_t end = lower->low[axis];
    uint64_t sum = 0;
    uint64_t before = 0;
    for (; sum <= half; end += step) {
        before = sum;
        sum += planeCount(cells, *lower, axis, end);
    }
    if (half - before < sum - half) {
        sum = before;
        end -= step;
    }
    *upper = *lower;
    upper->low[axis] = end;
    upper->pixelCount -= sum;
    lower->high[axis] = end - step;
    lower->pixelCount = sum;
    finish(cells, lower);
    finish(cells, upper);
}

// One box, of more occupied cells than `most`, cut until there are as many.
void cutBoxes(const Cells& cells, DaxMedianBox* boxes, int32_t most) {
    for (int32_t count = 1; count < most;) {
        const int32_t existing = count;
        for (int32_t k = 0; k < existing && count < most; ++k)
            if (boxes[k].state != whole) cut(cells, &boxes[k], &boxes[count++]);
    }
}

void setMean(const Cells& cells, const DaxMedianBox& box, const Table& table, int32_t index) {
    uint64_t sums[3] = {};
    eachCell(cells, box, [&](const int32_t* cell, uint32_t count) {
        for (int32_t axis = 0; axis < cells.axes; ++axis)
            sums[axis] += uint64_t{count} * cells.perStep *
                          static_cast<uint32_t>(cell[axis] / cells.step[axis]);
    });
    uint32_t mean[3];
    for (int32_t axis = 0; axis < cells.axes; ++axis)
        mean[axis] = static_cast<uint32_t>(sums[axis] / box.pixelCount);
    if (cells.axes == 1)
        table.setGrey(index, mean[0]);
    else
        table.set(index, mean[0], mean[1], mean[2]);
}

// The table of a histogram of `size` cells: of its occupied cells, if there is room for them all,
// else of boxes. 0 when there is no memory.
int32_t tableOf(BITMAPINFOHEADER* dib, const Cells& cells, int32_t size) {
    const int32_t most = 1 << dib->biBitCount;
    const Table table(dib);
    int32_t distinct = 0;
    uint64_t pixels = 0;
    for (int32_t cell = 0; cell < size; ++cell) {
        if (cells.counts[cell] == 0) continue;
        pixels += cells.counts[cell];
        const auto part = [cell](int32_t shift) {
            return static_cast<uint32_t>(cell >> shift & 63) << 2;
        };
        if (distinct < most) {
            if (cells.axes == 1)
                table.setGrey(distinct, static_cast<uint32_t>(cell));
            else
                table.set(distinct, part(0), part(6), part(12));
        }
        ++distinct;
    }
    if (distinct <= most) {
        dib->biClrUsed = static_cast<uint32_t>(distinct);
        return 1;
    }
    const OwnBuffer<DaxMedianBox> boxes(most);
    if (!boxes) return 0;
    DaxMedianBox all = {0, {}, {}, pixels};
    for (int32_t axis = 0; axis < cells.axes; ++axis)
        all.high[axis] = cells.axes == 1 ? greyCells - 1 : 63 * cells.step[axis];
    tighten(cells, &all);
    boxes[0] = all;
    cutBoxes(cells, boxes.get(), most);
    for (int32_t k = 0; k < most; ++k) setMean(cells, boxes[k], table, k);
    dib->biClrUsed = static_cast<uint32_t>(most);
    return 1;
}

int32_t greyTable(BITMAPINFOHEADER* dib, const DaxImage* image) {
    const OwnBuffer<uint32_t> counts(greyCells);
    if (!counts) return 0;
    memset(counts.get(), 0, greyCells * sizeof(uint32_t));
    OwnDibRows rows(image);
    rows.rowStep = image->widthStep;
    const int64_t high = rows.sampleBytes - 1;
    for (int32_t y = 0; y < image->height; ++y) {
        const int64_t count = rows.inside(y, image->width);
        if (count <= 0) continue;
        const auto* x = reinterpret_cast<const uint8_t*>(rows.at(y, 0)) + high;
        for (int64_t i = 0; i < count; ++i) ++counts[x[i * rows.sampleBytes]];
    }
    Cells cells = greyAxis;
    cells.counts = counts.get();
    return tableOf(dib, cells, greyCells);
}

int32_t colourTable(BITMAPINFOHEADER* dib, const DaxImage* image) {
    const OwnDibStep order = ownDibStep(image);
    const OwnDibRows rows(image);
    if (image->nChannels < 3 || (order != OwnDibStep::none && order != OwnDibStep::exchange))
        return 0;
    const OwnBuffer<uint32_t> counts(colourCells);
    if (!counts) return 0;
    memset(counts.get(), 0, colourCells * sizeof(uint32_t));
    const int32_t blue = order == OwnDibStep::none ? 0 : 2;
    const int64_t high = rows.sampleBytes - 1;
    const int64_t step = rows.planes ? rows.sampleBytes : rows.sampleBytes * rows.channels;
    for (int32_t y = 0; y < image->height; ++y) {
        const int64_t count = rows.inside(y, image->width);
        if (count <= 0) continue;
        const auto* b = reinterpret_cast<const uint8_t*>(rows.at(y, blue)) + high;
        const auto* g = reinterpret_cast<const uint8_t*>(rows.at(y, 1)) + high;
        const auto* r = reinterpret_cast<const uint8_t*>(rows.at(y, 2 - blue)) + high;
        for (int64_t i = 0; i < count; ++i)
            ++counts[r[i * step] >> 2 | g[i * step] >> 2 << 6 | b[i * step] >> 2 << 12];
    }
    Cells cells = colourAxes;
    cells.counts = counts.get();
    return tableOf(dib, cells, colourCells);
}

} // namespace

int32_t ownFixedPalette(BITMAPINFOHEADER* dib, int32_t grey) {
    constexpr uint32_t basic[16] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                    0x008080, 0x808080, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                    0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    const auto thirds = [](uint32_t level) { return level == 7 ? 255 : level * 32; };
    const auto halves = [](uint32_t level) { return level == 3 ? 255 : level * 64; };

    const Table table(dib);
    const int64_t size = ownDibTableSize(dib);
    if (size != 2 && size != 16 && size != 256) return 0;
    for (uint32_t i = 0; i < size; ++i) {
        if (grey != 0 || size == 2)
            table.setGrey(i, i * 255 / static_cast<uint32_t>(size - 1));
        else if (size == 16)
            table.set(i, basic[i] >> 16, basic[i] >> 8, basic[i]);
        else
            table.set(i, thirds(i >> 5), thirds(i >> 2 & 7), halves(i & 3));
    }
    return 1;
}

int32_t ownMedianCutPalette(BITMAPINFOHEADER* dib, const DaxImage* image) {
    if (image->depth == DAX_DEPTH_1U) {
        const Table table(dib);
        table.setGrey(0, 0);
        table.setGrey(1, 255);
        dib->biClrUsed = 2;
        return 1;
    }
    if (dib->biBitCount > 8 || image->imageData == nullptr) return 0;
    return image->nChannels == 1 ? greyTable(dib, image) : colourTable(dib, image);
}
