// Cosine transforms of a rectangle: of a small block at once, and of any size by rows and columns.
#include "frame/depth.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "transform/daxfft2d.h"
#include "transform/dctlanes.h"

#include <bit>
#include <cmath>

namespace {

constexpr ptrdiff_t batch = 2 * ownDctLanes;
static_assert(ownDctLanes == ownFftLanes, "both share the transposition");

int32_t limited16(int32_t value) {
    if (value < INT16_MIN) return INT16_MIN;
    return value > INT16_MAX ? INT16_MAX : value;
}

// To the fixed-point engine, words of 16 bits are signed.
int32_t fetchIndex(const OwnDctPlane& plane, bool fixed) {
    return ownDepthIndex(fixed && plane.depth == DAX_DEPTH_16U ? DAX_DEPTH_16S : plane.depth);
}

// An array of floats, transformed in both directions.
class Rectangle {
public:
    Rectangle(OwnDct* state, const OwnDctJob& theJob, bool isFixed)
        : dct(state), job(theJob), fixed(isFixed), width(theJob.width), height(theJob.height),
          kernels(ownRows<OwnDctKernels>()), movers(ownRows<OwnFftKernels>()) {}

    bool run() {
        if (!along.prepare(dct, job.width, fixed, job.inverse) ||
            !down.prepare(dct, job.height, fixed, job.inverse))
            return false;
        ptrdiff_t room = wide;
        if (room < along.room()) room = along.room();
        if (room < down.room()) room = down.room();
        const ptrdiff_t apart = room * ownDctLanes + 40;
        OwnBuffer<float> array(rowsOfArray * pitch);
        OwnBuffer<int32_t> rows(wide * batch);
        OwnBuffer<double> numbers(apart * 4 + 8);
        if (!array || !rows || !numbers) return false;
        values = array.get();
        samples = rows.get();
        // Vectors begin at cache lines.
        const auto address = reinterpret_cast<uintptr_t>(numbers.get());
        double* const first = numbers.get() + (64 - address % 64) / 8;
        data = {first, first + apart};
        work = {first + apart * 2, first + apart * 3};
        const double size = double{1} * job.width * job.height;
        whole = fixed ? 1.0 : 1.0 / std::sqrt(size);

        for (ptrdiff_t i = 0; i < wide * batch; ++i) samples[i] = 0;
        for (ptrdiff_t y = 0; y < height; y += batch) rowsFrom(y);
        // Two columns share the lanes of a complex number, so there must be numbers beside the
        // last.
        for (ptrdiff_t y = 0; y < height; ++y)
            for (ptrdiff_t x = width; x < pitch; ++x) values[y * pitch + x] = 0;
        for (ptrdiff_t x = 0; x < width; x += batch) columnsFrom(x);
        for (ptrdiff_t y = 0; y < height; ++y) store(y);
        return true;
    }

private:
    static constexpr double root = 1.41421356237309504880;

    // The scaling of the floating engine: c, c times the root of 2 at an edge, 2 c inside.
    void scale(OwnLanes lanes, ptrdiff_t n, double factor) const {
        if (fixed) return;
        kernels.scale(lanes.re, n, factor, factor * root);
        kernels.scale(lanes.im, n, factor, factor * root);
    }

    OwnLanes transformed(const OwnDctLength& length, ptrdiff_t n, double factor) const {
        if (job.inverse) scale(data, n, factor);
        const OwnLanes result = length.run(data, work);
        if (!job.inverse) scale(result, n, factor);
        // The array of the fixed-point engine is of words; a transform's own steps are more exact.
        if (fixed) {
            kernels.roundToWords(result.re, n);
            kernels.roundToWords(result.im, n);
        }
        return result;
    }

    void rowsFrom(ptrdiff_t y) {
        const auto fetch = movers.fetch[fetchIndex(job.src, fixed)];
        for (ptrdiff_t k = 0; k < batch && y + k < height; ++k) {
            int32_t* const row = samples + k * wide;
            fetch(job.src.first + (y + k) * job.src.rowStep, job.src.pixelStep, row, width);
            if (fixed && job.inverse) weighEdges(row, y + k);
        }
        constexpr auto size = static_cast<ptrdiff_t>(sizeof *samples);
        const char* const bytes = reinterpret_cast<const char*>(samples);
        movers.toLanes(bytes, wide * size, data.re, width);
        movers.toLanes(bytes + ownDctLanes * wide * size, wide * size, data.im, width);
        const OwnLanes result = transformed(along, width, 1.0);
        movers.fromLanes(result.re, values + y * pitch, pitch, width);
        movers.fromLanes(result.im, values + (y + ownDctLanes) * pitch, pitch, width);
    }

    void columnsFrom(ptrdiff_t x) {
        kernels.fromColumns(values + x, pitch, data.re, height);
        kernels.fromColumns(values + x + ownDctLanes, pitch, data.im, height);
        const OwnLanes result = transformed(down, height, whole);
        kernels.toColumns(result.re, values + x, pitch, height);
        kernels.toColumns(result.im, values + x + ownDctLanes, pitch, height);
    }

    // What the fixed-point engine does to the first row and column before the inverse.
    void weighEdges(int32_t* row, ptrdiff_t y) const {
        for (ptrdiff_t x = 0; x < (y == 0 ? width : 1); ++x)
            row[x] = x + y == 0 ? limited16(row[x] + 1) >> 1 : (row[x] * 23171 + 16384) >> 15;
    }

    // What it does to all elements afterwards.
    void normalise(ptrdiff_t y) const {
        const int32_t s = std::countr_zero(static_cast<uint32_t>(job.width)) +
                          std::countr_zero(static_cast<uint32_t>(job.height));
        for (ptrdiff_t x = 0; x < width; ++x) {
            const auto value = static_cast<int32_t>(values[y * pitch + x]);
            samples[x] = limited16(normalised(value, s, x, y));
        }
    }

    int32_t normalised(int32_t x, int32_t s, ptrdiff_t column, ptrdiff_t row) const {
        constexpr int32_t half = 23171; // the root of 1/2 with 15 fraction bits
        const bool even = s % 2 == 0;
        if (!job.inverse && column == 0 && row == 0)
            return even ? x >> s / 2 : shifted(x * half + 16384, 15 + (s - 1) / 2);
        if (!job.inverse && (column == 0 || row == 0))
            return even ? shifted(x * half + 8192, 14 + s / 2) : x >> (s - 1) / 2;
        return even ? x >> (s / 2 - 1) : shifted(x * half + 8192, 14 + (s - 1) / 2);
    }

    static int32_t shifted(int32_t x, int32_t bits) { return bits > 31 ? x >> 31 : x >> bits; }

    void store(ptrdiff_t y) {
        if (fixed) {
            normalise(y);
        } else {
            // As 32-bit numbers first: signed bytes are rounded here.
            movers.round[ownDepthIndex(DAX_DEPTH_32S)](
                values + y * pitch, 1.0F, reinterpret_cast<char*>(samples), sizeof *samples, width);
        }
        movers.narrow[ownDepthIndex(job.dst.depth)](samples, job.dst.first + y * job.dst.rowStep,
                                                    job.dst.pixelStep, width);
    }

    OwnDct* dct;
    const OwnDctJob& job;
    bool fixed;
    ptrdiff_t width;
    ptrdiff_t height;
    const OwnDctTable& kernels;
    const OwnFftTable& movers;
    ptrdiff_t wide = (width + 3) / 4 * 4;
    ptrdiff_t pitch = (width + batch - 1) / batch * batch + batch;
    ptrdiff_t rowsOfArray = (height + batch - 1) / batch * batch;
    double whole = 1.0;
    float* values = nullptr;
    int32_t* samples = nullptr;
    OwnLanes data = {};
    OwnLanes work = {};
    OwnDctLength along;
    OwnDctLength down;
};

} // namespace

void ownDctBlock(const OwnDctJob& job) {
    const OwnDctBlock& rows = ownRows<OwnDctKernels>().block[job.width == 8 ? 1 : 0];
    const bool fixed = job.src.depth != DAX_DEPTH_32S && job.dst.depth != DAX_DEPTH_32S;
    int32_t samples[64];
    rows.fetch[fetchIndex(job.src, fixed)](job.src.first, job.src.rowStep, job.src.pixelStep,
                                           samples);
    rows.run[job.inverse ? 1 : 0](samples, fixed ? INT16_MIN : INT32_MIN,
                                  fixed ? INT16_MAX : INT32_MAX);
    rows.store[ownDepthIndex(job.dst.depth)](samples, job.dst.first, job.dst.rowStep,
                                             job.dst.pixelStep);
}

bool ownFixedDct(OwnDct* dct, const OwnDctJob& job) { return Rectangle(dct, job, true).run(); }

bool ownFloatDct(OwnDct* dct, const OwnDctJob& job) { return Rectangle(dct, job, false).run(); }
