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

using Named = std::vector<std::pair<Image*, std::string>>;

// What the checks begin with: each image's own, and depths.
std::vector<Step> first(Image& result, const Named& sources) {
    std::vector<Step> steps = fullCheck(result, "dstImage");
    for (const auto& [image, name] : sources) append(&steps, fullCheck(*image, name));
    result->depth = DAX_DEPTH_32S;
    append(&steps, {{"dstImage->depth != 8 && dstImage->depth != 16",
                     [&result] { result->depth = DAX_DEPTH_8U; }}});
    for (const auto& source : sources) {
        (*source.first)->depth = DAX_DEPTH_16S;
        append(&steps, {{source.second + "->depth != dstImage->depth",
                         [image = source.first] { (*image)->depth = DAX_DEPTH_8U; }}});
    }
    return steps;
}

// The channels of interest of the result and of a source after the other. In the end none is left.
void appendCoi(std::vector<Step>* steps, Image& result, const Named& sources) {
    const auto before = [steps](const std::function<void()>& change) {
        steps->back().mend = [mend = steps->back().mend, change] { mend(), change(); };
    };
    for (const auto& one : sources) {
        Image* const image = one.first;
        const std::string& name = one.second;
        before([&result] { setCoi(result, 1); });
        append(
            steps,
            {{"dstImage->roi->coi > 0 && " + name + "->roi == 0", [image] { setCoi(*image, 0); }},
             {"dstImage->roi->coi > 0 && " + name + "->roi->coi == 0",
              [&result, sources, image] {
                  for (const auto& other : sources) (*other.first)->roi = nullptr;
                  result->roi = nullptr, setCoi(*image, 2);
              }},
             {name + "->roi->coi > 0 && dstImage->roi == 0", [image] { setCoi(*image, 1); }}});
    }
    before([&result, sources] {
        for (const auto& other : sources) (*other.first)->roi = nullptr;
        result->roi = nullptr;
    });
}

std::string countText(const std::string& name) {
    return "(" + name + "->nChannels - (" + name +
           "->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))";
}

const std::string typeText =
    "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
    "compositeType != 4 && compositeType != 5";

TEST(AlphaChecks, Composite) {
    for (const bool separate : {false, true}) {
        Images is;
        int32_t type = 6;
        int32_t premultiplied = 2;
        int32_t divides = -1;
        const Named sources = {{&is.a, "srcImageA"}, {&is.b, "srcImageB"}};
        std::vector<Step> steps = first(is.result, sources);
        if (separate) {
            for (const auto& one : Named{{&is.alphaA, "alphaImageA"},
                                         {&is.alphaB, "alphaImageB"},
                                         {&is.alphaDst, "alphaImageDst"}}) {
                append(&steps, fullCheck(*one.first, one.second));
                (*one.first)->depth = DAX_DEPTH_16S;
                append(&steps, {{one.second + "->depth != dstImage->depth",
                                 [image = one.first] { (*image)->depth = DAX_DEPTH_8U; }}});
            }
            append(&steps,
                   {{"alphaImageDst->alphaChannel < 1", [&] { is.alphaDst->alphaChannel = 2; }}});
        } else {
            append(&steps, {{"srcImageA->alphaChannel < 1", [&] { is.a->alphaChannel = 2; }},
                            {"srcImageB->alphaChannel < 1", [&] { is.b->alphaChannel = 1; }}});
        }
        appendCoi(&steps, is.result, sources);
        // A source's channel of interest alone is fine beside a destination with a region.
        steps.back().mend = [&is] {
            is.a->roi = nullptr;
            setCoi(is.b, 2), setCoi(is.result, 0);
            for (Image* image : {&is.a, &is.b, &is.result}) (*image)->alphaChannel = 2;
        };
        const auto last = [](const std::string& name) {
            return name + "->alphaChannel > 0 && " + name + "->alphaChannel != " + name +
                   "->nChannels";
        };
        append(&steps, {{last("srcImageA"), [&] { is.a->alphaChannel = 3; }},
                        {last("srcImageB"), [&] { is.b->alphaChannel = 3; }},
                        {last("dstImage"), [&] { is.result->alphaChannel = 0; }},
                        {countText("srcImageA"),
                         [&] {
                             is.result->alphaChannel = 3;
                             is.b->nChannels = is.b->alphaChannel = 2;
                         }},
                        {countText("srcImageB"), [&] { is.b->nChannels = is.b->alphaChannel = 3; }},
                        {typeText, [&] { type = 5; }},
                        {"premulAlpha != 0 && premulAlpha != 1", [&] { premultiplied = 1; }},
                        {"divideMode != 0 && divideMode != 1", [&] { divides = 0; }}});
        const auto orNone = [&](Image& image) -> DaxImage* {
            return separate ? static_cast<DaxImage*>(image) : nullptr;
        };
        expectInOrder("daxAlphaComposite", steps, is.result, [&] {
            daxAlphaComposite(is.a, is.b, is.result, type, orNone(is.alphaA), orNone(is.alphaB),
                              orNone(is.alphaDst), premultiplied, divides, nullptr);
        });
    }
}

TEST(AlphaChecks, CompositeC) {
    Images is;
    int32_t type = -1;
    int32_t constantA = -1;
    int32_t constantB = -1;
    std::vector<Step> steps = first(is.result, {{&is.a, "srcImageA"}, {&is.b, "srcImageB"}});
    append(&steps,
           {{"srcImageA->alphaChannel < 1", [&] { constantA = 77; }},
            {"srcImageB->alphaChannel < 1", [&] { constantB = 78, is.result->alphaChannel = 3; }},
            {countText("srcImageA"), [&] { is.result->alphaChannel = 0; }},
            {typeText, [&] { type = 0; }}});
    expectInOrder("daxAlphaCompositeC", steps, is.result, [&] {
        daxAlphaCompositeC(is.a, is.b, is.result, type, constantA, constantB, 1, 0, nullptr);
    });
}

TEST(AlphaChecks, Products) {
    for (const bool two : {false, true}) {
        Images is;
        Named sources = {{&is.a, two ? "srcImageA" : "srcImage"}};
        if (two) sources.emplace_back(&is.b, "srcImageB");
        std::vector<Step> steps = first(is.result, sources);
        appendCoi(&steps, is.result, sources);
        for (const auto& source : sources) {
            (*source.first)->nChannels = 2;
            append(&steps, {{source.second + "->nChannels != dstImage->nChannels",
                             [image = source.first] { (*image)->nChannels = 3; }}});
        }
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
