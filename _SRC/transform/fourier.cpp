#include "transform/fourier.h"

#include "frame/daxlib.h"
#include "frame/kernels.h"
#include "frame/memory.h"
#include "transform/turn.h"

#include <cstring>

namespace {

void freePlan(OwnFourier* plan) {
    if (plan == nullptr) return;
    freePlan(plan->inner);
    daxFree(plan->twiddles);
    daxFree(plan->chirpTransform);
    daxFree(plan);
}

int32_t nextRadix(int32_t rest) {
    if (rest % 8 == 0 && rest % 32 != 16) return 8; // 16 is better taken in two equal steps
    if (rest % 4 == 0) return 4;
    for (int32_t radix = 2; radix <= ownFourierLargest; ++radix)
        if (rest % radix == 0) return radix;
    return 0;
}

// False for a length with a prime factor that is too large.
bool factor(OwnFourier* plan) {
    int32_t rest = plan->length;
    while (rest > 1) {
        const int32_t radix = nextRadix(rest);
        if (radix == 0) return false;
        plan->radix[plan->passes++] = radix;
        rest /= radix;
    }
    return true;
}

bool makeTwiddles(OwnFourier* plan) {
    int64_t pairs = 1;
    int64_t rest = plan->length;
    for (int32_t i = 0; i < plan->passes; ++i) {
        rest /= plan->radix[i];
        pairs += rest * (plan->radix[i] - 1);
    }
    plan->twiddles = static_cast<double*>(ownAlloc(pairs * 2, sizeof(double)));
    if (plan->twiddles == nullptr) return false;
    double* to = plan->twiddles;
    rest = plan->length;
    for (int32_t i = 0; i < plan->passes; ++i) {
        const int32_t radix = plan->radix[i];
        const int64_t whole = rest;
        rest /= radix;
        for (int64_t p = 0; p < rest; ++p)
            for (int64_t k = 1; k < radix; ++k) {
                const OwnTurn turn = ownTurn(p * k, whole);
                *to++ = turn.cos;
                *to++ = -turn.sin;
            }
    }
    return true;
}

// i k = (i^2 + k^2 - (i - k)^2) / 2 makes a convolution with a chirp of the transform, and two
// transforms of a larger length that is a power of two make the convolution.
bool makeChirp(OwnFourier* plan) {
    const int64_t n = plan->length;
    int64_t whole = 1;
    while (whole < 2 * n - 1) whole *= 2;
    if (whole > INT32_MAX) return false;
    plan->inner = nullptr;
    if (ownFourier(&plan->inner, static_cast<int32_t>(whole)) == nullptr) return false;
    plan->twiddles = static_cast<double*>(ownAlloc(n * 2, sizeof(double)));
    plan->chirpTransform = static_cast<double*>(ownAlloc(whole * 2, sizeof(double)));
    OwnBuffer<double> room(whole * 4);
    if (plan->twiddles == nullptr || plan->chirpTransform == nullptr || !room) return false;

    memset(room.get(), 0, static_cast<size_t>(whole) * 2 * sizeof(double));
    const OwnLanes data = {room.get(), room.get() + whole};
    const OwnLanes work = {room.get() + whole * 2, room.get() + whole * 3};
    for (int64_t i = 0; i < n; ++i) {
        const OwnTurn turn = ownTurn(i * i % (2 * n), 2 * n);
        plan->twiddles[i * 2] = turn.cos;
        plan->twiddles[i * 2 + 1] = -turn.sin;
        const int64_t mirrored = i == 0 ? 0 : whole - i;
        data.re[i] = data.re[mirrored] = turn.cos / static_cast<double>(whole);
        data.im[i] = data.im[mirrored] = turn.sin / static_cast<double>(whole);
    }
    const OwnLanes result = ownFourierRun(plan->inner, data, work, 1);
    for (int64_t i = 0; i < whole; ++i) {
        plan->chirpTransform[i * 2] = result.re[i];
        plan->chirpTransform[i * 2 + 1] = result.im[i];
    }
    return true;
}

OwnLanes runPasses(const OwnFourier* plan, OwnLanes data, OwnLanes work, ptrdiff_t lanes,
                   OwnFourierFloats floats = {}) {
    const OwnFourierTable& rows = ownRows<OwnFourierRows>();
    OwnFourierPass pass = {1, plan->length, lanes, plan->twiddles, data, work, floats, {}};
    for (int32_t i = 0; i < plan->passes; ++i) {
        if (i == plan->passes - 1) pass.toFloats = floats;
        pass.radix = plan->radix[i];
        pass.m /= pass.radix;
        rows.pass(pass);
        pass.twiddles += pass.m * (pass.radix - 1) * 2;
        pass.stride *= pass.radix;
        const OwnLanes from = pass.from;
        pass.from = pass.to;
        pass.to = from;
        pass.fromFloats = {};
    }
    return pass.from;
}

OwnLanes runChirp(const OwnFourier* plan, OwnLanes data, OwnLanes work, ptrdiff_t lanes) {
    const OwnFourierTable& rows = ownRows<OwnFourierRows>();
    const ptrdiff_t used = plan->length * lanes;
    const ptrdiff_t whole = plan->inner->length * lanes;
    rows.turn(data, plan->twiddles, plan->length, lanes);
    memset(data.re + used, 0, static_cast<size_t>(whole - used) * sizeof(double));
    memset(data.im + used, 0, static_cast<size_t>(whole - used) * sizeof(double));
    const OwnLanes spectrum = runPasses(plan->inner, data, work, lanes);
    rows.turn(spectrum, plan->chirpTransform, plan->inner->length, lanes);
    const OwnLanes other = spectrum.re == data.re ? work : data;
    const OwnLanes back =
        runPasses(plan->inner, {spectrum.im, spectrum.re}, {other.im, other.re}, lanes);
    const OwnLanes result = {back.im, back.re};
    rows.turn(result, plan->twiddles, plan->length, lanes);
    return result;
}

} // namespace

const OwnFourier* ownFourier(OwnFourier** plans, int32_t length) {
    for (OwnFourier* plan = *plans; plan != nullptr; plan = plan->next)
        if (plan->length == length) return plan;
    auto* plan = static_cast<OwnFourier*>(ownAlloc(1, sizeof(OwnFourier)));
    if (plan == nullptr) return nullptr;
    *plan = {};
    plan->length = length;
    if (!(factor(plan) ? makeTwiddles(plan) : makeChirp(plan))) {
        freePlan(plan);
        return nullptr;
    }
    plan->next = *plans;
    *plans = plan;
    return plan;
}

void ownFourierFree(OwnFourier** plans) {
    while (*plans != nullptr) {
        OwnFourier* const next = (*plans)->next;
        freePlan(*plans);
        *plans = next;
    }
}

ptrdiff_t ownFourierRoom(const OwnFourier* plan) {
    return plan->inner != nullptr ? plan->inner->length : plan->length;
}

OwnLanes ownFourierRun(const OwnFourier* plan, OwnLanes data, OwnLanes work, ptrdiff_t lanes) {
    return plan->inner != nullptr ? runChirp(plan, data, work, lanes)
                                  : runPasses(plan, data, work, lanes);
}

void ownFourierRunFloats(const OwnFourier* plan, OwnFourierFloats floats, OwnLanes data,
                         OwnLanes work) {
    constexpr ptrdiff_t lanes = ownFourierFloatLanes;
    if (plan->inner == nullptr) {
        runPasses(plan, data, work, lanes, floats);
        return;
    }
    const OwnFourierTable& rows = ownRows<OwnFourierRows>();
    rows.fromFloats(floats, data, plan->length);
    rows.toFloats(runChirp(plan, data, work, lanes), floats, plan->length);
}
