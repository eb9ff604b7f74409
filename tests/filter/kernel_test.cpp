// The kernel record: what is copied, refused and freed.

#include "kit/platform.h"
#include "kit/reports.h"

#include <cstring>

namespace {

using Lines = std::vector<std::string>;

const std::string prefix = "-5 daxConvolve2D daxcnv2d ";

TEST(Kernel, GivesBackWhatItWasMadeFrom) {
    const int8_t values[6] = {-128, 127, 0, 1, -1, 5};
    DaxConvKernel* kernel = daxCreateConvKernel(2, 3, 2, 1, values, -7);
    ASSERT_NE(kernel, nullptr);
    int8_t copy[7] = {0, 0, 0, 0, 0, 0, 99};
    int8_t* buffer = copy;
    int32_t rows = 0, cols = 0, x = 0, y = 0, shift = 0;
    daxGetConvKernel(kernel, &rows, &cols, &x, &y, &buffer, &shift);
    EXPECT_EQ(std::vector<int32_t>({rows, cols, x, y, shift}),
              std::vector<int32_t>({2, 3, 2, 1, -7}));
    EXPECT_EQ(memcmp(copy, values, 6), 0);
    EXPECT_EQ(copy[6], 99);
    EXPECT_EQ(buffer, copy);
    daxDeleteConvKernel(kernel);
}

TEST(Kernel, Refusals) {
    kit::Reports reports;
    const int8_t values[4] = {1, 2, 3, 4};
    const auto refused = [&](int32_t nRows, int32_t nCols, int32_t x, int32_t y, const int8_t* from,
                             const char* text) {
        EXPECT_EQ(daxCreateConvKernel(nRows, nCols, x, y, from, 0), nullptr);
        EXPECT_EQ(reports.take(), Lines{prefix + text});
    };
    refused(0, 2, 9, 9, nullptr, "(values == 0)");
    refused(0, 2, 9, 9, values, "(nRows<=0 || nCols<=0)");
    refused(2, -1, 0, 0, values, "(nRows<=0 || nCols<=0)");
    const char* anchors = "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)";
    refused(2, 2, 2, 0, values, anchors);
    refused(2, 2, 0, 2, values, anchors);
    refused(2, 2, -1, 0, values, anchors);

    DaxConvKernel* kernel = daxCreateConvKernel(2, 2, 0, 0, values, 0);
    int32_t rows = 5, cols = 5, x = 5, y = 5, shift = 5;
    int8_t copy[4] = {};
    int8_t* buffer = copy;
    daxGetConvKernel(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(reports.take(), Lines{prefix + "kernel==0"});
    daxGetConvKernel(kernel, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(reports.take(), (Lines{prefix + "nRows==0", prefix + "nCols==0"}));
    daxGetConvKernel(kernel, &rows, &cols, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(reports.take(), (Lines{prefix + "anchorX==0", prefix + "anchorY==0"}));
    daxGetConvKernel(kernel, &rows, &cols, &x, &y, nullptr, nullptr);
    EXPECT_EQ(reports.take(), Lines{prefix + "values==0"});
    daxGetConvKernel(kernel, &rows, &cols, &x, &y, &buffer, nullptr);
    EXPECT_EQ(reports.take(), Lines{prefix + "nShiftR==0"});
    kernel->anchorX = 2;
    daxGetConvKernel(kernel, &rows, &cols, &x, &y, &buffer, &shift);
    EXPECT_EQ(reports.take(), Lines{prefix + "ownBadKernel(kernel)"});
    kernel->anchorX = 0;
    daxSetErrStatus(-3); // an old failure ends it, too
    daxGetConvKernel(kernel, &rows, &cols, &x, &y, &buffer, &shift);
    EXPECT_EQ(reports.take(), Lines{});
    EXPECT_EQ(std::vector<int32_t>({rows, cols, x, y, shift, copy[0]}),
              std::vector<int32_t>({5, 5, 5, 5, 5, 0}));

    daxDeleteConvKernel(nullptr);
    EXPECT_EQ(reports.take(), Lines{prefix + "kernel==0"});
    int8_t* const kept = kernel->values;
    kernel->values = nullptr;
    daxDeleteConvKernel(kernel);
    EXPECT_EQ(reports.take(), Lines{prefix + "kernel->values==0"});
    kernel->values = kept;
    daxDeleteConvKernel(kernel);
    EXPECT_EQ(reports.take(), Lines{});
}

TEST(Kernel, OutOfMemory) {
    kit::Reports reports;
    const int8_t values[1] = {1};
    for (int32_t failing = 1; failing <= 2; ++failing) {
        kit::StandIn platform;
        platform.failRequest = failing;
        EXPECT_EQ(daxCreateConvKernel(1, 1, 0, 0, values, 0), nullptr);
        EXPECT_EQ(reports.take(), Lines{"-4 daxConvolve2D daxcnv2d Allocation failure"});
        EXPECT_EQ(platform.live(), failing == 2 ? 1u : 0u); // the record without coefficients stays
    }
    kit::StandIn platform;
    EXPECT_EQ(daxCreateConvKernel(INT32_MAX, INT32_MAX, 0, 0, values, 0), nullptr);
    EXPECT_EQ(reports.take().size(), 1u);
}

} // namespace
