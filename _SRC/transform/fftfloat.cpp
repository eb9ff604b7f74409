// The float engine: rows and columns in double precision, with floats in between.
#include "frame/depth.h"
#include "frame/kernels.h"
#include "transform/daxfft2d.h"

#include <cstring>

namespace {

OwnLanes swapped(OwnLanes lanes) { return {lanes.im, lanes.re}; }

// A plan with the two pairs of arrays on which it runs.
struct Engine {
    const OwnFourier* plan;
    OwnLanes data;
    OwnLanes work;
    bool inverse;

    // The sign of the exponent is that of the call.
    OwnLanes run(ptrdiff_t lanes) const {
        return inverse ? swapped(ownFourierRun(plan, swapped(data), swapped(work), lanes))
                       : ownFourierRun(plan, data, work, lanes);
    }

    void runBlock(float* block) const {
        float* const second = block + ownFftLanes;
        if (inverse)
            ownFourierRunFloats(plan, {second, block}, swapped(data), swapped(work));
        else
            ownFourierRunFloats(plan, {block, second}, data, work);
    }
};

// The real sequence behind a packed one and back, as the real or imaginary part of a complex one.
void unpack(const float* from, double* re, double* im, ptrdiff_t n, bool isImaginary) {
    const auto put = [=](ptrdiff_t k, double a, double b) {
        re[k] = isImaginary ? re[k] - b : a;
        im[k] = isImaginary ? im[k] + a : b;
    };
    put(0, double{from[0]}, 0);
    for (ptrdiff_t k = 1; k <= (n - 1) / 2; ++k) {
        put(k, double{from[k * 2 - 1]}, double{from[k * 2]});
        put(n - k, double{from[k * 2 - 1]}, -double{from[k * 2]});
    }
    if (n % 2 == 0) put(n / 2, double{from[n - 1]}, 0);
}

// The packed spectra of the two real sequences that were transformed as one complex one.
void packBoth(OwnLanes from, float* a, float* b, ptrdiff_t n) {
    const auto put = [=](ptrdiff_t k, ptrdiff_t to) {
        const ptrdiff_t far = k == 0 ? 0 : n - k;
        a[to] = static_cast<float>((from.re[k] + from.re[far]) * 0.5);
        b[to] = static_cast<float>((from.im[k] + from.im[far]) * 0.5);
        if (far == k) return;
        a[to + 1] = static_cast<float>((from.im[k] - from.im[far]) * 0.5);
        b[to + 1] = static_cast<float>((from.re[far] - from.re[k]) * 0.5);
    };
    put(0, 0);
    for (ptrdiff_t k = 1; k <= (n - 1) / 2; ++k) put(k, k * 2 - 1);
    if (n % 2 == 0) put(n / 2, n - 1);
}

class FloatFft {
public:
    FloatFft(OwnFft* state, OwnFftWay theWay)
        : fft(*state), plan(state->plan), way(theWay), width(plan.fftW), height(plan.fftH),
          src(ownFftSource(plan)), dst(ownFftTarget(plan)), rows(ownRows<OwnFftKernels>()),
          scale(plan.fftScale != 0 ? static_cast<float>(1.0 / (double{1} * plan.fftW * plan.fftH))
                                   : 1.0F) {}

    bool run() {
        if (height == 1) return line(width, src.pixelStep, dst.pixelStep);
        if (width == 1) return line(height, src.rowStep, dst.rowStep);
        if (!prepare()) return false;
        if (way == OwnFftWay::realToPacked) {
            sampleRows();
            columns();
            storePacked();
        } else {
            fetchPacked();
            columns();
            synthesiseRows();
        }
        return true;
    }

private:
    Engine engine(const OwnFourier* fourier, double* room, ptrdiff_t apart) const {
        return {fourier,
                {room, room + apart},
                {room + apart * 2, room + apart * 3},
                plan.fftDirection < 0};
    }

    // One row or one column.
    bool line(ptrdiff_t n, ptrdiff_t srcStep, ptrdiff_t dstStep) {
        const OwnFourier* const fourier = ownFourier(&fft.fourier, static_cast<int32_t>(n));
        if (fourier == nullptr) return false;
        const ptrdiff_t room = ownFourierRoom(fourier);
        samples = fft.buffers.take<int32_t>(n);
        result = fft.buffers.take<float>(n * 2);
        double* const numbers = fft.buffers.take<double>(room * 4);
        if (samples == nullptr || result == nullptr || numbers == nullptr) return false;
        const Engine one = engine(fourier, numbers, room);
        src.fetch(src.first, srcStep, samples, n);
        for (ptrdiff_t i = 0; i < n; ++i) result[i] = static_cast<float>(samples[i]);
        if (way == OwnFftWay::realToPacked) {
            for (ptrdiff_t i = 0; i < n; ++i) one.data.re[i] = double{result[i]};
            memset(one.data.im, 0, static_cast<size_t>(n) * sizeof(double));
            packBoth(one.run(1), result, result + n, n);
        } else {
            unpack(result, one.data.re, one.data.im, n, false);
            const OwnLanes real = one.run(1);
            for (ptrdiff_t i = 0; i < n; ++i) result[i] = static_cast<float>(real.re[i]);
        }
        rows.cut[ownDepthIndex(dst.depth)](result, scale, dst.first, dstStep,
                                           dst.inside(dst.first, dstStep, n));
        return true;
    }

    bool prepare() {
        frequencies = (width - 1) / 2;
        blocks = (frequencies + ownFftLanes - 1) / ownFftLanes;
        allRows = (height + ownFftRows - 1) / ownFftRows * ownFftRows;
        // A cache line more, so that a row doesn't crowd into one corner of a cache.
        blockStep = (allRows + 1) * ownFftBlockRow;
        wide = (width + 3) / 4 * 4;
        const OwnFourier* const alongPlan = ownFourier(&fft.fourier, plan.fftW);
        const OwnFourier* const downPlan = ownFourier(&fft.fourier, plan.fftH);
        if (alongPlan == nullptr || downPlan == nullptr) return false;
        ptrdiff_t room = wide;
        if (room < ownFourierRoom(alongPlan)) room = ownFourierRoom(alongPlan);
        if (room < ownFourierRoom(downPlan)) room = ownFourierRoom(downPlan);
        // Some lines more, so that the arrays don't begin at the same place of a page.
        const ptrdiff_t apart = room * ownFftLanes + 40;
        pairs = fft.buffers.take<float>(blocks * blockStep);
        ends = fft.buffers.take<float>(allRows * 2);
        // A row of whole blocks fits, too.
        samples = fft.buffers.take<int32_t>((wide + 1) * ownFftRows);
        result = fft.buffers.take<float>((wide + 1) * ownFftRows);
        double* const numbers = fft.buffers.take<double>(apart * 4);
        if (pairs == nullptr || ends == nullptr || samples == nullptr || result == nullptr ||
            numbers == nullptr)
            return false;
        along = engine(alongPlan, numbers, apart);
        down = engine(downPlan, numbers, apart);
        return true;
    }

    // The rest of the last block.
    void clearPadding() {
        if (frequencies % ownFftLanes != 0)
            memset(pairs + (blocks - 1) * blockStep, 0,
                   static_cast<size_t>(blockStep) * sizeof *pairs);
    }

    // Eight rows from the source into lanes, zeroes below the last one.
    void rowsToLanes(ptrdiff_t y, double* lanes) const {
        constexpr auto size = static_cast<ptrdiff_t>(sizeof(int32_t));
        const ptrdiff_t present = height - y < ownFftLanes ? height - y : ownFftLanes;
        const char* const first = src.first + y * src.rowStep;
        if (src.depth == DAX_DEPTH_32S && src.pixelStep == size && width % 4 == 0 &&
            present == ownFftLanes && src.end - first >= 7 * src.rowStep + width * size)
            return rows.toLanes(first, src.rowStep, lanes, width);
        for (ptrdiff_t k = 0; k < present; ++k) src.fetchRow(y + k, samples + k * wide, width);
        for (ptrdiff_t k = present > 0 ? present : 0; k < ownFftLanes; ++k)
            memset(samples + k * wide, 0, static_cast<size_t>(width) * sizeof *samples);
        rows.toLanes(reinterpret_cast<const char*>(samples), wide * size, lanes, width);
    }

    void sampleRows() {
        clearPadding();
        memset(samples, 0, static_cast<size_t>(wide * ownFftRows) * sizeof *samples);
        for (ptrdiff_t y = 0; y < height; y += ownFftRows) {
            rowsToLanes(y, along.data.re);
            rowsToLanes(y + ownFftLanes, along.data.im);
            rows.separate(along.run(ownFftLanes), width, pairs + y * ownFftBlockRow, blockStep,
                          ends + y, allRows);
        }
    }

    void columns() {
        for (ptrdiff_t i = 0; i < blocks; ++i) down.runBlock(pairs + i * blockStep);
        const bool even = width % 2 == 0;
        float* const middle = ends + allRows;
        if (way == OwnFftWay::realToPacked) {
            for (ptrdiff_t v = 0; v < height; ++v) {
                down.data.re[v] = double{ends[v]};
                down.data.im[v] = even ? double{middle[v]} : 0;
            }
            packBoth(down.run(1), ends, middle, height);
        } else {
            unpack(ends, down.data.re, down.data.im, height, false);
            if (even) unpack(middle, down.data.re, down.data.im, height, true);
            const OwnLanes real = down.run(1);
            for (ptrdiff_t v = 0; v < height; ++v) {
                ends[v] = static_cast<float>(real.re[v]);
                middle[v] = static_cast<float>(real.im[v]);
            }
        }
    }

    void storePacked() {
        const auto round = rows.round[ownDepthIndex(dst.depth)];
        for (ptrdiff_t y = 0; y < height; ++y) {
            result[0] = ends[y];
            rows.toRow(pairs + y * ownFftBlockRow, blockStep, result + 1, frequencies);
            if (width % 2 == 0) result[width - 1] = ends[allRows + y];
            char* const to = dst.first + y * dst.rowStep;
            round(result, scale, to, dst.pixelStep, dst.inside(to, dst.pixelStep, width));
        }
    }

    void fetchPacked() {
        clearPadding();
        for (ptrdiff_t i = 0; i < blocks && allRows > height; ++i)
            memset(pairs + i * blockStep + height * ownFftBlockRow, 0,
                   static_cast<size_t>((allRows - height) * ownFftBlockRow) * sizeof *pairs);
        for (ptrdiff_t y = height; y < allRows; ++y) ends[y] = ends[allRows + y] = 0;
        memset(samples, 0, static_cast<size_t>((wide + 1) * ownFftRows) * sizeof *samples);
        for (ptrdiff_t y = 0; y < height; ++y) {
            src.fetchRow(y, samples, width);
            ends[y] = static_cast<float>(samples[0]);
            ends[allRows + y] = static_cast<float>(samples[width - 1]);
            if (width % 2 == 0) samples[width - 1] = 0;
            rows.fromRow(samples + 1, pairs + y * ownFftBlockRow, blockStep, frequencies);
        }
    }

    // The rows are cut and not rounded, as single rows are.
    void synthesiseRows() {
        const auto cut = rows.cut[ownDepthIndex(dst.depth)];
        for (ptrdiff_t y = 0; y < height; y += ownFftRows) {
            rows.merge(pairs + y * ownFftBlockRow, blockStep, ends + y, allRows, along.data, width);
            const OwnLanes real = along.run(ownFftLanes);
            rows.fromLanes(real.re, result, wide, width);
            rows.fromLanes(real.im, result + ownFftLanes * wide, wide, width);
            for (ptrdiff_t k = 0; k < ownFftRows && y + k < height; ++k) {
                char* const to = dst.first + (y + k) * dst.rowStep;
                cut(result + k * wide, scale, to, dst.pixelStep,
                    dst.inside(to, dst.pixelStep, width));
            }
        }
    }

    OwnFft& fft;
    const OwnFftPlan& plan;
    OwnFftWay way;
    ptrdiff_t width;
    ptrdiff_t height;
    OwnFftPlane src;
    OwnFftPlane dst;
    const OwnFftTable& rows;
    float scale;
    ptrdiff_t frequencies = 0;
    ptrdiff_t blocks = 0;
    ptrdiff_t blockStep = 0;
    ptrdiff_t allRows = 0;
    ptrdiff_t wide = 0;
    int32_t* samples = nullptr;
    float* result = nullptr;
    float* pairs = nullptr;
    float* ends = nullptr;
    Engine along = {};
    Engine down = {};
};

} // namespace

bool ownFloatFft(OwnFft* fft, OwnFftWay way) { return FloatFft(fft, way).run(); }
