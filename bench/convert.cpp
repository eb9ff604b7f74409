// Conversions between depths and data orders.

#include "peers.h"

#include <string>

namespace bench {

namespace {

std::string between(const Form& from, const Form& to, const char* mode) {
    return from.label() + "-to-" + to.label() + mode;
}

void addPair(const Form& from, const Form& to, int32_t mode, const char* name,
             const Offers& offers = {}) {
    add({.operation = "daxConvert",
         .images = {read(from), write(to)},
         .prepare = each([mode](Images& i) { daxConvert(i[0], i[1], mode, nullptr); }),
         .peers = peersFor(from, offers),
         .variant = between(from, to, name)});
}

// One channel in all pairs of depths.
void addDepths() {
    const Offers halves = {
#if DAX_PEER_YUV
        {{u16}, {.name = "libyuv", .prepare = each([](Images& i) {
                                       libyuv::Convert16To8Plane(i.data<uint16_t>(0), i.step(0) / 2,
                                                                 i.data<uint8_t>(1), i.step(1), 256,
                                                                 i.width(1), i.height(1));
                                   })}},
#endif
        BENCH_VIPS(onVips({u16},
                          [](VipsImage* const* v, VipsImage** to) {
                              return vips_cast(v[0], to, VIPS_FORMAT_UCHAR, "shift", 1, nullptr);
                          })),
    };
    const Offers doubles = {
        BENCH_VIPS(onVips({u8},
                          [](VipsImage* const* v, VipsImage** to) {
                              return vips_cast(v[0], to, VIPS_FORMAT_USHORT, nullptr);
                          })),
    };
    constexpr int32_t depths[] = {u8, s8, u16, s16, s32};
    for (const int32_t from : depths) {
        for (const int32_t to : depths) {
            const bool narrows = (from & DAX_DEPTH_MASK) > (to & DAX_DEPTH_MASK);
            const Form src = {.depth = from};
            const Form dst = {.depth = to};
            addPair(src, dst, DAX_CONVERT_HIGH_BITS, narrows ? "-high" : "",
                    to == u8    ? halves
                    : to == u16 ? doubles
                                : Offers());
            if (narrows) addPair(src, dst, DAX_CONVERT_LOW_BITS, "-low");
        }
    }
}

void addOrders() {
#if DAX_PEER_YUV
    const auto plane = [](Images& i, size_t index, int channel) {
        return i.data<uint8_t>(index) + channel * i.step(index) * i.height(index);
    };
    const Offer splits = {
        {u8}, {.name = "libyuv", .prepare = each([plane](Images& i) {
                                     libyuv::SplitRGBPlane(
                                         i.data<uint8_t>(0), i.step(0), plane(i, 1, 0), i.step(1),
                                         plane(i, 1, 1), i.step(1), plane(i, 1, 2), i.step(1),
                                         i.width(1), i.height(1));
                                 })}};
    const Offer joins = {{u8}, {.name = "libyuv", .prepare = each([plane](Images& i) {
                                                      libyuv::MergeRGBPlane(
                                                          plane(i, 0, 0), i.step(0), plane(i, 0, 1),
                                                          i.step(0), plane(i, 0, 2), i.step(0),
                                                          i.data<uint8_t>(1), i.step(1), i.width(1),
                                                          i.height(1));
                                                  })}};
#endif
    constexpr int32_t pairs[][2] = {{u8, u8},  {u16, u16}, {s32, s32}, {u8, s8},
                                    {u16, u8}, {u8, u16},  {s32, u8},  {u8, s32}};
    for (const int32_t channels : {2, 3, 4}) {
        for (const auto& [from, to] : pairs) {
            for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
                const Form src = {.depth = from, .channels = channels, .order = order};
                const Form dst = {.depth = to,
                                  .channels = channels,
                                  .order = DAX_DATA_PIXEL + DAX_DATA_PLANE - order};
                Case one = {.operation = "daxConvert",
                            .images = {read(src), write(dst)},
                            .prepare = each([](Images& i) {
                                daxConvert(i[0], i[1], DAX_CONVERT_HIGH_BITS, nullptr);
                            }),
                            .variant = between(src, dst, "")};
#if DAX_PEER_YUV
                if (channels == 3 && from == u8 && to == u8)
                    one.peers.push_back(order == DAX_DATA_PIXEL ? splits.peer : joins.peer);
#endif
                add(one);
            }
        }
    }
}

void addBits() {
    const Form bits = {.depth = u1};
    for (const Form& form : plainForms())
        add({.operation = "daxConvert",
             .images = {read(form), write(bits)},
             .prepare = each([](Images& i) { daxConvert(i[0], i[1], 0, nullptr); }),
             .variant = between(form, bits, "")});
    Form one = {.channels = 3, .coi = 2};
    add({.operation = "daxConvert",
         .images = {read(one), write(bits)},
         .prepare = each([](Images& i) { daxConvert(i[0], i[1], 0, nullptr); }),
         .variant = between(one, bits, "")});

    const Offers expansions = {
        BENCH_LEPT(unlike(onPix({u8}, [](Pix* const* p) { pixConvert1To8(p[1], p[0], 3, 99); }),
                          "other order")),
        BENCH_LEPT(unlike(onPix({u16}, [](Pix* const* p) { pixConvert1To16(p[1], p[0], 3, 99); }),
                          "other order")),
        BENCH_LEPT(unlike(onPix({s32}, [](Pix* const* p) { pixConvert1To32(p[1], p[0], 3, 99); }),
                          "other order")),
    };
    for (const int32_t depth : {u8, u16, s32}) {
        for (const int32_t channels : {1, 3, 4}) {
            const Form form = {.depth = depth, .channels = channels};
            add({.operation = "daxBitonalToGray",
                 .images = {read(bits), write(form)},
                 .prepare = each([](Images& i) { daxBitonalToGray(i[0], i[1], 3, 99, nullptr); }),
                 .peers = peersFor(form, expansions)});
        }
    }
}

} // namespace

void addConversions() {
    addDepths();
    addOrders();
    addBits();
}

} // namespace bench
