// Rows of a source with what lies beyond its edges.

#include "filter/source.h"
#include "filter/window.h"

namespace {

using kit::Image;
using kit::Random;

// A row of whole pixels has the samples that the rows of its channels have, and those are the ones
// of the definition.
TEST(SourceRows, OfWholePixels) {
    kit::forSeeds(300, [](Random& random) {
        const int32_t channels = random.in(2, 5);
        const int32_t depth = random.oneOf({8, 16, static_cast<int32_t>(DAX_DEPTH_32S)});
        const int32_t width = random.in(1, 40);
        Image image({.depth = depth, .channels = channels, .width = width, .height = 5}, random);
        window::anyBorders(random, image);
        const int32_t x = random.in(-width, width), y = random.in(-5, 9);
        const int32_t count = random.in(1, 2 * width - x);
        const ptrdiff_t sample = kit::bitsOf(depth) / 8;
        const OwnSourceRows pixels(image, 0, 1);
        ASSERT_EQ(pixels.pixelBytes, sample * channels);
        std::vector<char> block(static_cast<size_t>(count * pixels.pixelBytes));
        std::vector<char> channelBlock(static_cast<size_t>(count * sample));
        const char* row = pixels.fetch(x, y, count, block.data());
        for (int32_t channel = 1; channel <= channels; ++channel) {
            const OwnSourceRows one(image, channel, 1);
            const char* of = one.fetch(x, y, count, channelBlock.data());
            for (ptrdiff_t i = 0; i < count; ++i) {
                const char* at = row + (i * channels + channel - 1) * sample;
                ASSERT_EQ(memcmp(at, of + i * sample, static_cast<size_t>(sample)), 0) << i;
                const int64_t expected =
                    window::storedAt(image, x + static_cast<int32_t>(i), y, channel);
                ASSERT_EQ(memcmp(at, &expected, static_cast<size_t>(sample)), 0) << i;
            }
        }
    });
}

} // namespace
