// Compositing, beside libraries that compose premultiplied pixels.

#include "peers.h"

#include <array>
#include <bit>
#include <memory>

namespace bench {

namespace {

struct Operator {
    const char* name;
    int32_t type;
    int pixman;
};

#if DAX_PEER_PIXMAN
constexpr std::array<int, 6> pixmanTypes = {PIXMAN_OP_OVER, PIXMAN_OP_IN,  PIXMAN_OP_OUT,
                                            PIXMAN_OP_ATOP, PIXMAN_OP_XOR, PIXMAN_OP_ADD};
#else
constexpr std::array<int, 6> pixmanTypes = {};
#endif

constexpr Operator operators[] = {
    {"over", DAX_COMPOSITE_OVER, pixmanTypes[0]}, {"in", DAX_COMPOSITE_IN, pixmanTypes[1]},
    {"out", DAX_COMPOSITE_OUT, pixmanTypes[2]},   {"atop", DAX_COMPOSITE_ATOP, pixmanTypes[3]},
    {"xor", DAX_COMPOSITE_XOR, pixmanTypes[4]},   {"plus", DAX_COMPOSITE_PLUS, pixmanTypes[5]},
};

constexpr Form rgba8 = {.channels = 4};
constexpr Form rgba16 = {.depth = DAX_DEPTH_16U, .channels = 4};

Form inPlanes(Form form) {
    form.order = DAX_DATA_PLANE;
    return form;
}

struct Mode {
    int32_t premultiplied = 1;
    int32_t divides = 0;
};

// Of the first two images, into the last: with no third, in place.
Prepare composite(const Operator& op, Mode mode = {}) {
    return [op, mode](Images& i) -> Task {
        for (size_t k = 0; k < i.count(); ++k) i[k]->alphaChannel = i[k]->nChannels;
        return [op, mode, a = i[0], b = i[1], dst = i[i.count() - 1]] {
            daxAlphaComposite(a, b, dst, op.type, nullptr, nullptr, nullptr, mode.premultiplied,
                              mode.divides, nullptr);
        };
    };
}

// pixman takes the first image and the last, and composes in the last: one image less to read. The
// samples of planes do for pixels.
std::vector<Peer> pixmanOf([[maybe_unused]] const Operator& op) {
    std::vector<Peer> peers;
#if DAX_PEER_PIXMAN
    const auto prepare = [op](Images& i) -> Task {
        const auto wrap = [&i](size_t index) {
            return std::shared_ptr<pixman_image_t>(
                pixman_image_create_bits(PIXMAN_a8b8g8r8, i.width(index), i.height(index),
                                         i.data<uint32_t>(index), i.width(index) * 4),
                pixman_image_unref);
        };
        return [op, from = wrap(0), to = wrap(i.count() - 1), w = i.width(0), h = i.height(0)] {
            pixman_image_composite32(static_cast<pixman_op_t>(op.pixman), from.get(), nullptr,
                                     to.get(), 0, 0, 0, 0, 0, 0, w, h);
        };
    };
    peers.push_back({.name = "pixman",
                     .prepare = prepare,
                     .agrees = false,
                     .note = "rounds to nearest, on pixels and in place"});
#endif
    return peers;
}

// A over B with the colours divided, the way a plain loop does it, one sample after the other.
#if defined(__clang__)
#define BENCH_ONE_BY_ONE _Pragma("clang loop vectorize(disable) interleave(disable)")
#define BENCH_SCALAR
#else
#define BENCH_ONE_BY_ONE
#define BENCH_SCALAR __attribute__((optimize("no-tree-vectorize"), noinline))
#endif

template <class T> T stored(double value) {
    constexpr uint32_t most = sizeof(T) == 1 ? 255 : 65535;
    const uint32_t whole =
        std::bit_cast<uint32_t>(static_cast<float>(8388608.0 + value)) & 0x7FFFFF;
    return static_cast<T>(whole < most ? whole : most);
}

template <class T>
BENCH_SCALAR void overOneByOne(const T* colourA, const T* alphaA, const T* colourB, const T* alphaB,
                               T* dst, T* opacity, ptrdiff_t step, ptrdiff_t count) {
    constexpr double most = sizeof(T) == 1 ? 255.0 : 65535.0;
    constexpr double fraction =
        sizeof(T) == 1 ? double{std::bit_cast<float>(0x3B808081)} : 1.0 / 65535.0;
    constexpr double least =
        sizeof(T) == 1 ? double{std::bit_cast<float>(0x37010183)} : 0.5 / (65535.0 * 65535.0);
    BENCH_ONE_BY_ONE
    for (ptrdiff_t i = 0; i < count * step; i += step) {
        const double a = alphaA[i] * fraction;
        const double b = alphaB[i] * fraction;
        const double r = (1.0 - a) * b + a;
        double c = colourA[i] + colourB[i] * (1.0 - a);
        if (r > least) {
            c /= r;
            if (c > most) c = most;
        }
        dst[i] = stored<T>(c);
        if (opacity != nullptr) opacity[i] = stored<T>(r * most);
    }
}

template <class T> Peer oneByOne() {
    return {.name = "plain loop",
            .prepare = each([](Images& i) {
                const bool planes = i[0]->dataOrder == DAX_DATA_PLANE;
                const ptrdiff_t pixels = ptrdiff_t{i.width(0)} * i.height(0);
                const ptrdiff_t next = planes ? pixels : 1;
                for (ptrdiff_t c = 0; c < 3; ++c) {
                    T* const to = i.data<T>(2);
                    overOneByOne(i.data<T>(0) + c * next, i.data<T>(0) + 3 * next,
                                 i.data<T>(1) + c * next, i.data<T>(1) + 3 * next, to + c * next,
                                 c == 0 ? to + 3 * next : nullptr, planes ? 1 : 4, pixels);
                }
            })};
}

void addComposites() {
    for (const Operator& op : operators)
        for (const Form& form : {inPlanes(rgba8), rgba8, inPlanes(rgba16), rgba16}) {
            const bool bytes = form.depth == DAX_DEPTH_8U;
            add({.operation = "daxAlphaComposite",
                 .images = {read(form), read(form), write(form)},
                 .prepare = composite(op),
                 .peers = bytes ? pixmanOf(op) : std::vector<Peer>{},
                 .variant = std::string(op.name).append("-").append(form.label())});
        }
    for (const int type : {0, 4, 5})
        for (const Form& form : {inPlanes(rgba8), rgba8})
            add({.operation = "daxAlphaComposite",
                 .images = {read(form), update(form)},
                 .prepare = composite(operators[type]),
                 .peers = pixmanOf(operators[type]),
                 .variant =
                     std::string(operators[type].name).append("-in-place-").append(form.label())});
    for (const Form& form : {inPlanes(rgba8), rgba8, inPlanes(rgba16), rgba16})
        add({.operation = "daxAlphaComposite",
             .images = {read(form), read(form), write(form)},
             .prepare = composite(operators[0], {.premultiplied = 0}),
             .variant = "over-straight-" + form.label()});
    const auto divided = [](const Form& form, const Peer& peer) {
        add({.operation = "daxAlphaComposite",
             .images = {read(form), read(form), write(form)},
             .prepare = composite(operators[0], {.divides = 1}),
             .peers = {peer},
             .variant = "over-divided-" + form.label()});
    };
    for (const Form& form : {inPlanes(rgba8), rgba8}) divided(form, oneByOne<uint8_t>());
    for (const Form& form : {inPlanes(rgba16), rgba16}) divided(form, oneByOne<uint16_t>());
}

void addProducts() {
    for (const int32_t depth : {DAX_DEPTH_8U, DAX_DEPTH_16U}) {
        const Form one = {.depth = depth};
        const Form strided = {.depth = depth, .channels = 3, .coi = 2};
        for (const Form& form : {one, strided}) {
            add({.operation = "daxMultiplyScale",
                 .images = {read(form), read(form), write(form)},
                 .prepare = each([](Images& i) { daxMultiplyScale(i[0], i[1], i[2], nullptr); }),
                 .peers = peersFor(form, {BENCH_YUV(unlike(onArgb<libyuv::ARGBMultiply>(),
                                                           "rounds otherwise"))})});
            add({.operation = "daxMultiplySScale",
                 .images = {read(form), write(form)},
                 .prepare = each([](Images& i) { daxMultiplySScale(i[0], i[1], 77, nullptr); })});
        }
    }
    for (const Form& form : {rgba8, inPlanes(rgba8), rgba16}) {
        std::vector<Peer> peers;
#if DAX_PEER_YUV
        if (form.depth == DAX_DEPTH_8U)
            peers.push_back({.name = "libyuv",
                             .prepare = each([](Images& i) {
                                 libyuv::ARGBAttenuate(i.data(0), i.width(0) * 4, i.data(0),
                                                       i.width(0) * 4, i.width(0), i.height(0));
                             }),
                             .agrees = false,
                             .note = "rounds otherwise, on pixels"});
#endif
        add({.operation = "daxPreMultiplyAlpha",
             .images = {update(form)},
             .prepare = [](Images& i) -> Task {
                 i[0]->alphaChannel = 4;
                 return [image = i[0]] { daxPreMultiplyAlpha(image, -1, nullptr); };
             },
             .peers = peers});
    }
}

} // namespace

void addAlpha() {
    addComposites();
    addProducts();
}

} // namespace bench
