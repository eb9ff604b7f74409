#include "transform/dctlanes.h"

#include "frame/kernels.h"
#include "frame/memory.h"
#include "transform/turn.h"

#include <bit>

namespace {

// The lists for all powers of two below `length`.
bool makeSecants(OwnDct* dct, int32_t length) {
    if (dct->secants >= length) return true;
    OwnBuffer<double> exact(length);
    OwnBuffer<double> fixed(length);
    if (!exact || !fixed) return false;
    for (int32_t h = 8; h < length; h *= 2)
        for (int32_t i = 0; i < h; ++i) {
            const double secant = 0.5 / ownTurn(2 * int64_t{i} + 1, 8 * int64_t{h}).cos;
            exact[h + i] = secant;
            fixed[h + i] = static_cast<double>(static_cast<int64_t>(secant * 512 + 0.5)) / 512;
        }
    daxFree(dct->dctSecant);
    daxFree(dct->dctSecantFixed);
    dct->dctSecant = exact.release();
    dct->dctSecantFixed = fixed.release();
    dct->secants = length;
    return true;
}

const double* cosinesFor(OwnDct* dct, int32_t length) {
    for (const OwnDctCosines* known = dct->cosines; known != nullptr; known = known->next)
        if (known->length == length) return known->dctCosines;
    OwnBuffer<OwnDctCosines> made(1);
    OwnBuffer<double> values(int64_t{length} * 2);
    if (!made || !values) return nullptr;
    for (int32_t k = 0; k < length; ++k) {
        const OwnTurn turn = ownTurn(k, 4 * int64_t{length});
        values[ptrdiff_t{k} * 2] = turn.cos;
        values[ptrdiff_t{k} * 2 + 1] = turn.sin;
    }
    made[0] = {dct->cosines, length, values.release()};
    dct->cosines = made.release();
    return dct->cosines->dctCosines;
}

} // namespace

bool OwnDctLength::prepare(OwnDct* dct, int32_t length, bool fixed, bool isInverse) {
    n = length;
    words = fixed;
    inverse = isInverse;
    if (std::has_single_bit(static_cast<uint32_t>(length))) {
        // Longer lists take the place of shorter ones, so they are looked up when they are used.
        tables = dct;
        return makeSecants(dct, length);
    }
    cosines = cosinesFor(dct, length);
    fourier = ownFourier(&dct->fourier, length);
    return cosines != nullptr && fourier != nullptr;
}

ptrdiff_t OwnDctLength::room() const { return fourier != nullptr ? ownFourierRoom(fourier) : n; }

OwnLanes OwnDctLength::run(OwnLanes data, OwnLanes work) const {
    if (n == 1) return data;
    const OwnDctTable& rows = ownRows<OwnDctKernels>();
    if (fourier == nullptr) {
        const auto split = rows.split[inverse ? 1 : 0];
        const double* const secants = words ? tables->dctSecantFixed : tables->dctSecant;
        split(data.re, work.re, n, secants);
        split(data.im, work.im, n, secants);
        return data;
    }
    const auto other = [&](OwnLanes one) { return one.re == data.re ? work : data; };
    if (!inverse) {
        rows.fold[0](data, work, n);
        const OwnLanes spectrum = ownFourierRun(fourier, work, data, ownDctLanes);
        const OwnLanes result = other(spectrum);
        rows.weigh[0](spectrum, result, n, cosines);
        return result;
    }
    rows.weigh[1](data, work, n, cosines);
    const OwnLanes back =
        ownFourierRun(fourier, {work.im, work.re}, {data.im, data.re}, ownDctLanes);
    const OwnLanes sequence = {back.im, back.re};
    const OwnLanes result = other(sequence);
    rows.fold[1](sequence, result, n);
    return result;
}

void ownFreeDct(OwnDct* dct) {
    daxFree(dct->dctSecant);
    daxFree(dct->dctSecantFixed);
    dct->dctSecant = dct->dctSecantFixed = nullptr;
    dct->secants = 0;
    while (OwnDctCosines* const known = dct->cosines) {
        dct->cosines = known->next;
        daxFree(known->dctCosines);
        daxFree(known);
    }
    ownFourierFree(&dct->fourier);
}
