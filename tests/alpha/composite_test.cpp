// daxAlphaComposite and daxAlphaCompositeC on plain images, against a model.

#include "alpha/composition.h"
#include "kit/reports.h"

#include <cstring>

namespace {

using namespace alpha;

void expectAsModel(const Composition& made) {
    expectEverywhere(
        made.images, [&](auto& is) { composeByModel(made.settings, made.arguments(is)); },
        [&](auto& is) { call(made.settings, made.arguments(is)); });
    if (testing::Test::HasFailure()) made.print();
}

// The destination may be a source, or take its opacity into an image that gives one. Later channels
// of a pixel see the opacity that has been written.
TEST(Composite, AsTheModelHasIt) {
    kit::Reports reports;
    kit::forSeeds(8000, [](Random& random) {
        Composition made = anyComposition(random);
        if (random.chance(40)) {
            const auto from = static_cast<size_t>(random.oneOf<int32_t>({srcA, srcB}));
            const Image& image = made.images[static_cast<size_t>(made.at[from])];
            const Image& before = made.images[static_cast<size_t>(made.at[dst])];
            const auto colours = [](const Image& is) {
                return is->nChannels - (is->alphaChannel != 0 ? 1 : 0);
            };
            if ((before->roi != nullptr && before.roi.coi != 0) ||
                colours(before) == colours(image))
                made.at[dst] = made.at[from];
            const int32_t alphas = made.at[alphaA];
            if (made.at[alphaDst] >= 0 && alphas >= 0 &&
                made.images[static_cast<size_t>(alphas)]->alphaChannel != 0)
                made.at[alphaDst] = alphas;
        }
        expectAsModel(made);
    });
    EXPECT_EQ(reports.take(), std::vector<std::string>{});
}

// Every pair of opacities of 8 bits, with colours at random, in every operator and arithmetic.
TEST(Composite, AllPairsOfOpacities) {
    kit::forSeeds(1, [](Random& random) {
        for (int32_t kind = 0; kind < 6 * 2 * 3; ++kind) {
            Composition made;
            made.settings = {kind % 6, kind / 6 % 2, kind / 12 == 2 ? 1 : 0};
            const int32_t order = kind / 12 == 0 ? DAX_DATA_PLANE : DAX_DATA_PIXEL;
            const kit::Shape shape = {.channels = 4, .width = 256, .height = 256, .order = order};
            for (int32_t i = 0; i < 3; ++i)
                made.images.emplace_back(shape, random)->alphaChannel = 4;
            for (int32_t a = 0; a < 256; ++a)
                for (int32_t b = 0; b < 256; ++b) {
                    made.images[1].set(a, b, 4, a);
                    made.images[2].set(a, b, 4, b);
                }
            made.at = {0, -1, 1, 2, -1, -1};
            expectAsModel(made);
        }
    });
}

// Stored to nearest, ties to even; one quotient is limited, one opacity next to nothing.
TEST(Composite, DivisionByTheOpacity) {
    const auto divided = [](int32_t depth, int64_t colourA, int64_t a, int64_t colourB, int64_t b,
                            int32_t type) {
        const kit::Shape shape = {.depth = depth, .channels = 2};
        Image imageA(shape);
        Image imageB(shape);
        Image result(shape);
        imageA->alphaChannel = imageB->alphaChannel = result->alphaChannel = 2;
        imageA.set(0, 0, 1, colourA);
        imageA.set(0, 0, 2, a);
        imageB.set(0, 0, 1, colourB);
        imageB.set(0, 0, 2, b);
        daxAlphaComposite(imageA, imageB, result, type, nullptr, nullptr, nullptr, 1, 1, nullptr);
        return std::pair(result.get(0, 0, 1), result.get(0, 0, 2));
    };
    // The sum of two equal opacities is twice one of them: an odd colour is halved.
    for (int64_t colour : {1, 3, 5, 7, 9, 253})
        EXPECT_EQ(divided(DAX_DEPTH_16U, colour, 65535, 0, 65535, DAX_COMPOSITE_PLUS).first,
                  colour / 2 + (colour / 2) % 2)
            << colour;
    EXPECT_EQ(divided(DAX_DEPTH_8U, 200, 1, 100, 1, DAX_COMPOSITE_PLUS),
              std::pair(int64_t{255}, int64_t{2}));
    EXPECT_EQ(divided(DAX_DEPTH_8U, 77, 0, 88, 0, DAX_COMPOSITE_PLUS),
              std::pair(int64_t{165}, int64_t{0}));
    EXPECT_EQ(divided(DAX_DEPTH_16U, 5, 1, 9, 1, DAX_COMPOSITE_ATOP),
              std::pair(int64_t{65535}, int64_t{1}));
}

TEST(Composite, OnlyChannelIsTheOpacity) {
    for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
        const kit::Shape shape = {.width = 3, .order = order};
        Image a(shape);
        Image result(shape);
        a->alphaChannel = result->alphaChannel = 1;
        for (int32_t x = 0; x < 3; ++x) a.set(x, 0, 1, 60);
        daxAlphaComposite(a, a, result, DAX_COMPOSITE_PLUS, nullptr, nullptr, nullptr, 1, 0,
                          nullptr);
        EXPECT_EQ(result.get(1, 0, 1), order == DAX_DATA_PLANE ? 120 : 0);
    }
}

TEST(Composite, NoWiderOrHigherThan99999) {
    for (const bool high : {false, true}) {
        kit::Shape shape = {.channels = 2, .width = 100002};
        if (high) std::swap(shape.width, shape.height);
        Image a(shape);
        memset(a.data(), 9, a.size());
        a->alphaChannel = 2;
        Image result(shape);
        result->alphaChannel = 2;
        const auto at = [&](int32_t place, int32_t channel) {
            return result.get(high ? 0 : place, high ? place : 0, channel);
        };
        daxAlphaComposite(a, a, result, DAX_COMPOSITE_PLUS, nullptr, nullptr, nullptr, 1, 0,
                          nullptr);
        EXPECT_EQ(at(99998, 1), 18);
        EXPECT_EQ(at(99999, 1), 0);
        daxMultiplySScale(a, result, 255, nullptr);
        EXPECT_EQ(at(99998, 1), 9);
        EXPECT_EQ(at(99999, 2), 0);
    }
}

} // namespace
