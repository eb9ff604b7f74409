// The checks of the alpha family: each text in its order, and nothing written before the last.

#include "alpha/composition.h"
#include "kit/reports.h"

#include <functional>
#include <string>

namespace {

using namespace alpha;
using Lines = std::vector<std::string>;

// A step of a list of faults that are all there at the start: what is reported, and how it is
// mended.
struct Step {
    std::string text;
    std::function<void()> mend;
};

void expectInOrder(const std::string& function, const std::vector<Step>& steps, const Image& result,
                   const std::function<void()>& call) {
    kit::Reports reports;
    const std::vector<uint8_t> before = result.bytes();
    for (const Step& step : steps) {
        call();
        EXPECT_EQ(reports.take(), Lines{"-5 " + function + " daxalpha " + step.text});
        EXPECT_EQ(result.bytes(), before);
        step.mend();
    }
    call();
    EXPECT_EQ(reports.take(), Lines{});
    EXPECT_NE(result.bytes(), before);
}

// What the header check leaves to the full check, ahead of all else. At first the header is bad.
std::vector<Step> fullCheck(Image& image, const std::string& name) {
    image->align = 3;
    image.roi = {0, image->width, image->height, 1, 1};
    image->roi = &image.roi;
    return {{"daxBadImageHeader(" + name + ") != 0", [&image] { image->align = 4; }},
            {name + "->roi->xOffset >= " + name + "->width", [&image] { image.roi.xOffset = 0; }},
            {name + "->roi->yOffset >= " + name + "->height", [&image] { image->roi = nullptr; }}};
}

void append(std::vector<Step>* steps, const std::vector<Step>& more) {
    steps->insert(steps->end(), more.begin(), more.end());
}

struct Images {
    Random random{1};
    kit::Shape shape = {.channels = 3, .width = 5, .height = 2};
    Image a{shape, random};
    Image b{shape, random};
    Image alphaA{shape, random};
    Image alphaB{shape, random};
    Image alphaDst{shape, random};
    Image result{shape};
};

void setCoi(Image& image, int32_t coi) {
    image.roi = {coi, 0, 0, 2, 5};
    image->roi = &image.roi;
}

// The channels of interest, told for one source.
std::vector<Step> coiSteps(Image& source, Image& result, const std::string& name) {
    return {{"dstImage->roi->coi > 0 && " + name + "->roi == 0", [&] { setCoi(source, 0); }},
            {"dstImage->roi->coi > 0 && " + name + "->roi->coi == 0",
             [&] { result->roi = nullptr, setCoi(source, 2); }},
            {name + "->roi->coi > 0 && dstImage->roi == 0", [&] { source->roi = nullptr; }}};
}

TEST(AlphaChecks, Composite) {
    for (const bool separate : {false, true}) {
        Images is;
        int32_t type = 6;
        int32_t premultiplied = 2;
        int32_t divides = -1;
        is.result->depth = DAX_DEPTH_8S;
        for (Image* image : {&is.a, &is.b, &is.alphaA, &is.alphaB, &is.alphaDst})
            (*image)->depth = DAX_DEPTH_16S;
        std::vector<Step> steps = fullCheck(is.result, "dstImage");
        append(&steps, fullCheck(is.a, "srcImageA"));
        append(&steps, fullCheck(is.b, "srcImageB"));
        append(&steps,
               {{"dstImage->depth != 8 && dstImage->depth != 16",
                 [&] { is.result->depth = DAX_DEPTH_8U; }},
                {"srcImageA->depth != dstImage->depth", [&] { is.a->depth = DAX_DEPTH_8U; }},
                {"srcImageB->depth != dstImage->depth", [&] { is.b->depth = DAX_DEPTH_8U; }}});
        if (separate) {
            const auto alphaImage = [&](Image& image, const std::string& name) {
                append(&steps, fullCheck(image, name));
                append(&steps, {{name + "->depth != dstImage->depth",
                                 [&image] { image->depth = DAX_DEPTH_8U; }}});
            };
            alphaImage(is.alphaA, "alphaImageA");
            alphaImage(is.alphaB, "alphaImageB");
            alphaImage(is.alphaDst, "alphaImageDst");
            append(&steps,
                   {{"alphaImageDst->alphaChannel < 1", [&] { is.alphaDst->alphaChannel = 2; }}});
        } else {
            append(&steps, {{"srcImageA->alphaChannel < 1", [&] { is.a->alphaChannel = 2; }},
                            {"srcImageB->alphaChannel < 1", [&] { is.b->alphaChannel = 1; }}});
        }
        const auto countText = [&](const std::string& name) {
            return "(" + name + "->nChannels - (" + name +
                   "->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))";
        };
        // From here on the result has a channel of interest, and then again none.
        steps.back().mend = [mend = steps.back().mend, &is] { mend(), setCoi(is.result, 1); };
        append(&steps, coiSteps(is.a, is.result, "srcImageA"));
        steps.back().mend = [&is] { is.a->roi = nullptr, setCoi(is.a, 1), setCoi(is.result, 1); };
        append(&steps, coiSteps(is.b, is.result, "srcImageB"));
        steps[steps.size() - 2].mend = [&is] {
            is.a->roi = is.result->roi = nullptr;
            setCoi(is.b, 2);
        };
        // A source's channel of interest alone is fine beside a destination with a region.
        const auto last = [](const std::string& name) {
            return name + "->alphaChannel > 0 && " + name + "->alphaChannel != " + name +
                   "->nChannels";
        };
        steps.back().mend = [&is] {
            setCoi(is.result, 0);
            for (Image* image : {&is.a, &is.b, &is.result}) (*image)->alphaChannel = 2;
        };
        append(&steps, {{last("srcImageA"), [&] { is.a->alphaChannel = 3; }},
                        {last("srcImageB"), [&] { is.b->alphaChannel = 3; }},
                        {last("dstImage"), [&] { is.result->alphaChannel = 0; }},
                        {countText("srcImageA"),
                         [&] {
                             is.a->nChannels = is.a->alphaChannel = 3, is.result->alphaChannel = 3,
                             is.b->nChannels = is.b->alphaChannel = 2;
                         }},
                        {countText("srcImageB"), [&] { is.b->nChannels = is.b->alphaChannel = 3; }},
                        {"compositeType != 0 && compositeType != 1 && compositeType != 2 && "
                         "compositeType != 3 && compositeType != 4 && compositeType != 5",
                         [&] { type = 5; }},
                        {"premulAlpha != 0 && premulAlpha != 1", [&] { premultiplied = 1; }},
                        {"divideMode != 0 && divideMode != 1", [&] { divides = 0; }}});
        expectInOrder("daxAlphaComposite", steps, is.result, [&] {
            daxAlphaComposite(is.a, is.b, is.result, type,
                              separate ? is.alphaA : static_cast<DaxImage*>(nullptr),
                              separate ? is.alphaB : static_cast<DaxImage*>(nullptr),
                              separate ? is.alphaDst : static_cast<DaxImage*>(nullptr),
                              premultiplied, divides, nullptr);
        });
    }
}

TEST(AlphaChecks, CompositeC) {
    Images is;
    int32_t type = -1;
    is.result->depth = DAX_DEPTH_32S;
    std::vector<Step> steps = fullCheck(is.result, "dstImage");
    append(&steps, fullCheck(is.a, "srcImageA"));
    append(&steps, fullCheck(is.b, "srcImageB"));
    int32_t constantA = -1;
    int32_t constantB = -1;
    append(&steps,
           {{"dstImage->depth != 8 && dstImage->depth != 16",
             [&] { is.result->depth = DAX_DEPTH_8U, is.a->depth = DAX_DEPTH_16U; }},
            {"srcImageA->depth != dstImage->depth",
             [&] { is.a->depth = DAX_DEPTH_8U, is.b->depth = DAX_DEPTH_16U; }},
            {"srcImageB->depth != dstImage->depth", [&] { is.b->depth = DAX_DEPTH_8U; }},
            {"srcImageA->alphaChannel < 1", [&] { constantA = 77; }},
            {"srcImageB->alphaChannel < 1", [&] { constantB = 78, is.result->alphaChannel = 3; }},
            {"(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - "
             "(dstImage->alphaChannel != 0))",
             [&] { is.result->alphaChannel = 0; }},
            {"compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 "
             "&& compositeType != 4 && compositeType != 5",
             [&] { type = 0; }}});
    expectInOrder("daxAlphaCompositeC", steps, is.result, [&] {
        daxAlphaCompositeC(is.a, is.b, is.result, type, constantA, constantB, 1, 0, nullptr);
    });
}

TEST(AlphaChecks, Products) {
    for (const bool two : {false, true}) {
        Images is;
        const std::string first = two ? "srcImageA" : "srcImage";
        is.result->depth = DAX_DEPTH_32S;
        is.a->nChannels = is.b->nChannels = 2;
        std::vector<Step> steps = fullCheck(is.result, "dstImage");
        append(&steps, fullCheck(is.a, first));
        if (two) append(&steps, fullCheck(is.b, "srcImageB"));
        append(&steps, {{"dstImage->depth != 8 && dstImage->depth != 16",
                         [&] { is.result->depth = DAX_DEPTH_16U; }},
                        {first + "->depth != dstImage->depth", [&] {
                             is.a->depth = DAX_DEPTH_16U,
                             is.result->depth = two ? DAX_DEPTH_16U : DAX_DEPTH_8U,
                             is.a->depth = is.result->depth;
                         }}});
        if (two)
            append(&steps, {{"srcImageB->depth != dstImage->depth",
                             [&] { is.result->depth = is.a->depth = DAX_DEPTH_8U; }}});
        steps.back().mend = [mend = steps.back().mend, &is] { mend(), setCoi(is.result, 1); };
        append(&steps, coiSteps(is.a, is.result, first));
        if (two) {
            steps.back().mend = [&is] { setCoi(is.a, 1), setCoi(is.result, 1); };
            append(&steps, coiSteps(is.b, is.result, "srcImageB"));
            steps[steps.size() - 2].mend = [&is] {
                is.a->roi = is.result->roi = nullptr;
                setCoi(is.b, 2);
            };
            steps.back().mend = [&is] { is.a->roi = is.b->roi = is.result->roi = nullptr; };
        }
        append(&steps,
               {{first + "->nChannels != dstImage->nChannels", [&] { is.a->nChannels = 3; }}});
        if (two)
            append(&steps,
                   {{"srcImageB->nChannels != dstImage->nChannels", [&] { is.b->nChannels = 3; }}});
        expectInOrder(two ? "daxMultiplyScale" : "daxMultiplySScale", steps, is.result, [&] {
            if (two)
                daxMultiplyScale(is.a, is.b, is.result, nullptr);
            else
                daxMultiplySScale(is.a, is.result, 254, nullptr);
        });
    }
}

TEST(AlphaChecks, Premultiplication) {
    Images is;
    is.a->depth = DAX_DEPTH_8S;
    is.a->alphaChannel = 2;
    std::vector<Step> steps = fullCheck(is.a, "image");
    append(&steps,
           {{"image->depth != 8 && image->depth != 16", [&] { is.a->depth = DAX_DEPTH_8U; }},
            {"image->alphaChannel > 0 && image->alphaChannel != image->nChannels",
             [&] { is.a->alphaChannel = 0; }},
            {"image->alphaChannel < 1", [&] { is.a->alphaChannel = 3; }}});
    expectInOrder("daxPreMultiplyAlpha", steps, is.a,
                  [&] { daxPreMultiplyAlpha(is.a, -7, nullptr); });
    kit::Reports reports;
    daxPreMultiplyAlpha(nullptr, 1, nullptr);
    EXPECT_EQ(reports.take(), Lines{"-5 daxPreMultiplyAlpha daxalpha image==0"});
}

} // namespace
