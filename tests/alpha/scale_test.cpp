// daxMultiplyScale, daxMultiplySScale and daxPreMultiplyAlpha on plain images, against a model.

#include "alpha/composition.h"
#include "kit/reports.h"

#include <algorithm>
#include <functional>

namespace {

using namespace alpha;

int32_t coiOf(const DaxImage* image) { return image->roi != nullptr ? image->roi->coi : 0; }

// Images of a depth with equal channel counts, or with a channel of interest each.
std::deque<Image> anyImages(Random& random, int32_t count) {
    std::deque<Image> images;
    const int32_t depth = random.oneOf({DAX_DEPTH_8U, DAX_DEPTH_16U});
    const int32_t channels = random.in(1, 4);
    const int32_t width = random.chance(15) ? random.in(500, 2300) : random.in(1, 70);
    const int32_t order = random.in(0, 2); // 2: either
    const bool oneChannel = random.chance(30);
    for (int32_t i = 0; i < count; ++i) {
        kit::Shape shape = {
            .depth = depth, .width = width + random.in(0, 3), .height = random.in(1, 6)};
        shape.channels = oneChannel ? random.in(1, 4) : channels;
        shape.order = order < 2 ? order : random.in(0, 1);
        shape.align = random.oneOf({4, 8});
        shape.shift = random.chance(50) ? 0 : random.in(1, 7);
        if (oneChannel || random.chance(50))
            shape.roi = regionInside(random, shape.width, shape.height,
                                     oneChannel ? random.in(1, shape.channels) : 0);
        images.emplace_back(shape, random);
    }
    return images;
}

// The product of two images, or of one and a constant.
void multiplyByModel(DaxImage* a, DaxImage* b, int64_t factor, DaxImage* dst) {
    const auto [height, width] = commonSize({a, b, dst});
    for (int32_t k = 1; k <= (coiOf(dst) != 0 ? 1 : dst->nChannels); ++k) {
        const auto channel = [k, dst](const DaxImage* image) {
            return Channel(image, coiOf(dst) != 0 ? coiOf(image) : k);
        };
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                channel(dst).set(x, y,
                                 product(channel(a).get(x, y),
                                         b != nullptr ? channel(b).get(x, y) : factor, dst->depth));
    }
}

TEST(Scale, ProductsAsTheModelHasThem) {
    kit::Reports reports;
    kit::forSeeds(2500, [](Random& random) {
        const std::deque<Image> images = anyImages(random, 3);
        const int32_t first = random.in(0, 2); // 2: in place
        const auto at = static_cast<size_t>(first);
        expectEverywhere(
            images, [&](auto& is) { multiplyByModel(is[at], is[1], 0, is[2]); },
            [&](auto& is) { daxMultiplyScale(is[at], is[1], is[2], nullptr); });
        const int32_t value = random.oneOf({-1, INT32_MIN, 0, 1, 128, 255, 256, 300, 65535, 65536});
        const int64_t most = kit::mostOf(images[2]->depth);
        const int64_t factor = value < 0 ? most : std::min<int64_t>(value, most);
        expectEverywhere(
            images, [&](auto& is) { multiplyByModel(is[at], nullptr, factor, is[2]); },
            [&](auto& is) { daxMultiplySScale(is[at], is[2], value, nullptr); });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// All pairs of 8 bits; of 16 bits each with each next to an end of the range, and at random.
TEST(Scale, AllPairs) {
    Random random(1);
    for (const int32_t near : {-1, 0, 1, 2, 255, 256, 257, 32767, 32768, 32769, 65279, 65533, 65534,
                               65535, 65536, 65537}) {
        const bool bytes = near < 0;
        const kit::Shape shape = {.depth = bytes ? DAX_DEPTH_8U : DAX_DEPTH_16U, .width = 65536};
        std::deque<Image> images(3, Image(shape));
        for (int32_t x = 0; x < 65536; ++x) {
            images[0].set(x, 0, 1, x);
            images[1].set(x, 0, 1, bytes ? x >> 8 : near > 65535 ? random.in(0, 65535) : near);
        }
        expectEverywhere(
            images, [](auto& is) { multiplyByModel(is[0], is[1], 0, is[2]); },
            [](auto& is) { daxMultiplyScale(is[0], is[1], is[2], nullptr); });
    }
}

void premultiplyByModel(DaxImage* image, int32_t alpha) {
    const auto [height, width] = commonSize({image});
    const int64_t most = kit::mostOf(image->depth);
    const int64_t constant = std::min<int64_t>(alpha, most);
    const Channel alphas(image, std::max(image->alphaChannel, 1));
    for (int32_t k = 0; k < (coiOf(image) != 0 ? 1 : image->nChannels); ++k) {
        if (coiOf(image) == 0 && k == image->alphaChannel - 1) continue;
        const Channel channel(image, coiOf(image) != 0 ? coiOf(image) : k + 1);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                channel.set(x, y,
                            product(channel.get(x, y), alpha < 0 ? alphas.get(x, y) : constant,
                                    image->depth));
    }
    if (alpha < 0 || image->alphaChannel == 0) return;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) alphas.set(x, y, constant);
}

TEST(Scale, PremultiplicationAsTheModelHasIt) {
    kit::Reports reports;
    kit::forSeeds(2500, [](Random& random) {
        std::deque<Image> images = anyImages(random, 1);
        if (random.chance(75)) images[0]->alphaChannel = images[0]->nChannels;
        const int32_t alpha = images[0]->alphaChannel != 0 && random.chance(50)
                                  ? -random.in(1, 5)
                                  : random.oneOf({0, 1, 128, 255, 300, 65535, 70000});
        expectEverywhere(
            images, [&](auto& is) { premultiplyByModel(is[0], alpha); },
            [&](auto& is) { daxPreMultiplyAlpha(is[0], alpha, nullptr); });
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

} // namespace
