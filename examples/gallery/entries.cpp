#include "entries.h"

#include "common/dib.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace {

using Run = void (*)(const Images& images);

class List {
public:
    explicit List(const Inputs& inputs) : in(inputs) {}

    std::vector<Entry> entries;

    // A call of `function` on the sources. `rest` is what stands in it after the result.
    Entry& put(const char* function, const char* title, std::vector<DaxImage*> sources,
               const char* rest, Run run) {
        std::string call = std::string(function) + "(";
        for (const DaxImage* source : sources) call += in.describe(source).name + ", ";
        call += std::string("result, ") + rest + ")";
        entries.push_back({function, title, call, std::move(sources), run});
        return entries.back();
    }

    // Arithmetic on two images, in all the forms that they come in.
    void pair(const char* function, const char* rest, Run run, DaxImage* with, DaxImage* with16) {
        put(function, "8 bits", {in.picture, with}, rest, run);
        put(function, "16 bits", {in.picture16, with16}, rest, run);
        put(function, "8 bits, the middle only", {in.picture, with}, rest, run).rois = {middle()};
        put(function, "8 bits, the red channel only", {in.picture, with}, rest, run).rois = {red()};
        put(function, "1 bit", {in.bits, in.shiftedBits}, rest, run);
    }

    void logic(const char* function, Run run) {
        put(function, "8 bits", {in.picture, in.shifted}, "NULL", run);
        put(function, "1 bit", {in.bits, in.shiftedBits}, "NULL", run);
    }

    DaxROI red() const { return {1, 0, 0, in.picture->height, in.picture->width}; }
    DaxROI middle() const {
        const int32_t height = in.picture->height;
        const int32_t width = in.picture->width;
        return {0, width / 4, height / 4, (height + 1) / 2, (width + 1) / 2};
    }
    // A result of the picture's size.
    Make like(int32_t channels, int32_t depth, int32_t order = DAX_DATA_PIXEL) const {
        return {in.picture->width, in.picture->height, channels, depth, order};
    }
    DaxROI corner() const {
        const DaxROI half = middle();
        return {0, 0, 0, half.height, half.width};
    }

    const std::string& nameOf(const DaxImage* image) const { return in.describe(image).name; }

private:
    const Inputs& in;
};

void addArithmetic(List& list, const Inputs& in) {
    list.pair(
        "daxAdd", "NULL", [](const Images& i) { daxAdd(i[0], i[1], i.result, nullptr); }, in.dimmed,
        in.shifted16);
    list.pair(
        "daxSubtract", "0, NULL",
        [](const Images& i) { daxSubtract(i[0], i[1], i.result, 0, nullptr); }, in.shifted,
        in.dimmed16);
    list.put("daxSubtract", "8 bits, the other way round", {in.picture, in.shifted}, "1, NULL",
             [](const Images& i) { daxSubtract(i[0], i[1], i.result, 1, nullptr); });
    list.pair(
        "daxMultiply", "NULL", [](const Images& i) { daxMultiply(i[0], i[1], i.result, nullptr); },
        in.factor, in.factor16);

    list.put("daxAddS", "8 bits", {in.picture}, "64, NULL",
             [](const Images& i) { daxAddS(i[0], i.result, 64, nullptr); });
    list.put("daxSubtractS", "8 bits", {in.picture}, "64, 0, NULL",
             [](const Images& i) { daxSubtractS(i[0], i.result, 64, 0, nullptr); });
    list.put("daxSubtractS", "8 bits, the negative", {in.picture}, "255, 1, NULL",
             [](const Images& i) { daxSubtractS(i[0], i.result, 255, 1, nullptr); });
    list.put("daxMultiplyS", "8 bits", {in.dimmed}, "4, NULL",
             [](const Images& i) { daxMultiplyS(i[0], i.result, 4, nullptr); });
    list.put("daxSquare", "8 bits", {in.dimmed}, "NULL",
             [](const Images& i) { daxSquare(i[0], i.result, nullptr); });
    list.put("daxAbs", "16 bits, signed", {in.signed16}, "NULL",
             [](const Images& i) { daxAbs(i[0], i.result, nullptr); });
}

void addLogic(List& list, const Inputs& in) {
    list.logic("daxAnd", [](const Images& i) { daxAnd(i[0], i[1], i.result, nullptr); });
    list.logic("daxOr", [](const Images& i) { daxOr(i[0], i[1], i.result, nullptr); });
    list.logic("daxXor", [](const Images& i) { daxXor(i[0], i[1], i.result, nullptr); });
    list.put("daxAndS", "8 bits, the upper two", {in.picture}, "0xC0, NULL",
             [](const Images& i) { daxAndS(i[0], i.result, 0xC0, nullptr); });
    list.put("daxOrS", "8 bits", {in.picture}, "0x60, NULL",
             [](const Images& i) { daxOrS(i[0], i.result, 0x60, nullptr); });
    list.put("daxXorS", "8 bits", {in.picture}, "0x80, NULL",
             [](const Images& i) { daxXorS(i[0], i.result, 0x80, nullptr); });
    list.put("daxNot", "8 bits, the middle only", {in.picture}, "NULL",
             [](const Images& i) { daxNot(i[0], i.result, nullptr); })
        .rois = {list.middle()};
    list.put("daxLShiftS", "8 bits", {in.picture}, "1, NULL",
             [](const Images& i) { daxLShiftS(i[0], i.result, 1, nullptr); });
    list.put("daxRShiftS", "16 bits", {in.picture16}, "1, NULL",
             [](const Images& i) { daxRShiftS(i[0], i.result, 1, nullptr); });
}

void addMoves(List& list, const Inputs& in) {
    const auto copy = [](const Images& i) { daxCopy(i[0], i.result, nullptr); };
    Entry& corner = list.put("daxCopy", "To another place", {in.picture}, "NULL", copy);
    corner.rois = {list.middle(), list.corner()};
    corner.before = in.shifted;
    Entry& green = list.put("daxCopy", "Red becomes green", {in.picture}, "NULL", copy);
    green.rois = {list.red(), list.red()};
    green.rois[1].coi = 2;

    Entry& fill = list.put("daxSet", "One channel of a region", {}, "255, NULL",
                           [](const Images& i) { daxSet(i.result, 255, nullptr); });
    fill.rois = {list.middle()};
    fill.rois[0].coi = 2;
    fill.before = in.picture;

    Entry& exchange =
        list.put("daxExchange", "The result gets the picture's middle", {in.picture}, "NULL",
                 [](const Images& i) { daxExchange(i[0], i.result, nullptr); });
    exchange.rois = {list.middle()};
    exchange.before = in.shifted;
    exchange.writesSources = true;
}

template <int32_t mode> void convert(const Images& i) { daxConvert(i[0], i.result, mode, nullptr); }

void addConversions(List& list, const Inputs& in) {
    list.put("daxConvert", "16 bits to their high 8", {in.picture16}, "DAX_CONVERT_HIGH_BITS, NULL",
             convert<DAX_CONVERT_HIGH_BITS>)
        .make = list.like(3, DAX_DEPTH_8U);
    list.put("daxConvert", "16 bits to their low 8", {in.dimmed16}, "DAX_CONVERT_LOW_BITS, NULL",
             convert<DAX_CONVERT_LOW_BITS>)
        .make = list.like(3, DAX_DEPTH_8U);
    list.put("daxConvert", "8 bits to signed ones, in planes", {in.picture},
             "DAX_CONVERT_HIGH_BITS, NULL", convert<DAX_CONVERT_HIGH_BITS>)
        .make = list.like(3, DAX_DEPTH_8S, DAX_DATA_PLANE);
    Entry& bits = list.put("daxConvert", "Where green is above 0, in 1 bit", {in.signed16},
                           "DAX_CONVERT_HIGH_BITS, NULL", convert<DAX_CONVERT_HIGH_BITS>);
    bits.make = list.like(1, DAX_DEPTH_1U);
    bits.rois = {list.red(), list.red()};
    bits.rois[0].coi = 2;
    list.put("daxBitonalToGray", "1 bit to two grays", {in.bits}, "64, 192, NULL",
             [](const Images& i) { daxBitonalToGray(i[0], i.result, 64, 192, nullptr); })
        .make = list.like(1, DAX_DEPTH_8U);
}

// Into a bitmap and back.
template <int32_t bits, int32_t palette> void throughDib(const Images& i) {
    const Dib dib = dibOf(i[0], {bits, false}, palette);
    daxConvertFromDIB(dib.header(), i.result);
}

template <int32_t bits, int32_t palette>
void addDib(List& list, const char* title, DaxImage* source) {
    constexpr const char* palettes[] = {"DAX_PALETTE_KEEP", "DAX_PALETTE_FIXED",
                                        "DAX_PALETTE_MEDIAN_CUT"};
    Entry& entry = list.put("daxConvertToDIB", title, {source}, "", throughDib<bits, palette>);
    entry.call = "daxConvertToDIB(" + list.nameOf(source) + ", dib, DAX_DITHER_NONE, " +
                 palettes[palette] + "); daxConvertFromDIB(dib, result)";
    if (bits <= 8)
        entry.tells = [](const Images& i) {
            const Dib dib = dibOf(i[0], {bits, false}, palette);
            return std::vector<std::string>{"colours of the table: " +
                                            std::to_string(dib.tableEntries())};
        };
}

void addDibs(List& list, const Inputs& in) {
    addDib<1, DAX_PALETTE_FIXED>(list, "1 bit, black and white", in.picture);
    addDib<1, DAX_PALETTE_MEDIAN_CUT>(list, "1 bit, two colours by median cut", in.picture);
    addDib<4, DAX_PALETTE_FIXED>(list, "4 bits, the sixteen basic colours", in.picture);
    addDib<4, DAX_PALETTE_MEDIAN_CUT>(list, "4 bits, colours by median cut", in.picture);
    addDib<4, DAX_PALETTE_FIXED>(list, "4 bits, sixteen even grays", in.gray);
    addDib<4, DAX_PALETTE_MEDIAN_CUT>(list, "4 bits, grays by median cut", in.gray);
    addDib<8, DAX_PALETTE_FIXED>(list, "8 bits: 3 of red, 3 of green, 2 of blue", in.picture);
    addDib<8, DAX_PALETTE_MEDIAN_CUT>(list, "8 bits, colours by median cut", in.picture);
    addDib<16, DAX_PALETTE_KEEP>(list, "16 bits, 5 of each colour", in.picture);
    addDib<24, DAX_PALETTE_KEEP>(list, "24 bits", in.picture);
    addDib<32, DAX_PALETTE_KEEP>(list, "32 bits, of pixels of 16 bits a channel", in.picture16);
    Entry& shared = list.put("daxTranslateDIB", "8 bits of gray, shared with the bitmap", {in.gray},
                             "", [](const Images& i) {
                                 Dib dib = dibOf(i[0], {8, false}, DAX_PALETTE_FIXED);
                                 int32_t shares = 0;
                                 const Image image(daxTranslateDIB(dib.header(), &shares));
                                 if (image) daxConvert(image.get(), i.result, 0, nullptr);
                             });
    shared.call = "image = daxTranslateDIB(dib, &shares); daxConvert(image, result, "
                  "DAX_CONVERT_LOW_BITS, NULL)";
}

// The pictures as soft discs, and what comes of them over the ground that is in the result.
template <int32_t type> void composeOverGround(const Images& i) {
    const Image layer = copyOf(i[0]);
    const Image opacity = copyOf(i[2]);
    opacity->alphaChannel = 1;
    daxAlphaComposite(i[0], i[1], layer.get(), type, i[2], i[3], opacity.get(), 0, 0, nullptr);
    daxAlphaComposite(layer.get(), i.result, i.result, DAX_COMPOSITE_OVER, opacity.get(), nullptr,
                      nullptr, 1, 0, nullptr);
}

void addAlpha(List& list, const Inputs& in) {
    const auto compose = [&](const char* title, const std::string& type, Run run) {
        Entry& entry = list.put("daxAlphaComposite", title,
                                {in.picture, in.shifted, in.left, in.right}, "", run);
        entry.call = "daxAlphaComposite(picture, shifted, layer, " + type +
                     ", left, right, opacity, 0, 0, NULL); daxAlphaComposite(layer, result, "
                     "result, DAX_COMPOSITE_OVER, opacity, NULL, NULL, 1, 0, NULL)";
        entry.before = in.chequers;
    };
    compose("A over B", "DAX_COMPOSITE_OVER", composeOverGround<DAX_COMPOSITE_OVER>);
    compose("A in B", "DAX_COMPOSITE_IN", composeOverGround<DAX_COMPOSITE_IN>);
    compose("A out B", "DAX_COMPOSITE_OUT", composeOverGround<DAX_COMPOSITE_OUT>);
    compose("A atop B", "DAX_COMPOSITE_ATOP", composeOverGround<DAX_COMPOSITE_ATOP>);
    compose("A xor B", "DAX_COMPOSITE_XOR", composeOverGround<DAX_COMPOSITE_XOR>);
    compose("A plus B", "DAX_COMPOSITE_PLUS", composeOverGround<DAX_COMPOSITE_PLUS>);
    list.put("daxAlphaCompositeC", "Half of A over B", {in.picture, in.shifted},
             "DAX_COMPOSITE_OVER, 128, 255, 0, 0, NULL", [](const Images& i) {
                 daxAlphaCompositeC(i[0], i[1], i.result, DAX_COMPOSITE_OVER, 128, 255, 0, 0,
                                    nullptr);
             });
    list.put("daxPreMultiplyAlpha", "By the image's own opacity", {}, "-1, NULL",
             [](const Images& i) {
                 i.result->alphaChannel = 4;
                 daxPreMultiplyAlpha(i.result, -1, nullptr);
             })
        .before = in.cutout;
    list.put("daxMultiplyScale", "8 bits", {in.picture, in.shifted}, "NULL",
             [](const Images& i) { daxMultiplyScale(i[0], i[1], i.result, nullptr); });
    list.put("daxMultiplySScale", "8 bits", {in.picture}, "128, NULL",
             [](const Images& i) { daxMultiplySScale(i[0], i.result, 128, nullptr); });
}

using Kernel = std::unique_ptr<DaxConvKernel, void (*)(DaxConvKernel*)>;

// A kernel with its anchor in the middle.
Kernel kernelOf(int32_t rows, int32_t cols, std::vector<int8_t> values, int32_t shift) {
    return {daxCreateConvKernel(rows, cols, cols / 2, rows / 2, values.data(), shift),
            daxDeleteConvKernel};
}

template <int32_t size> void blur(const Images& i) {
    daxBlur(i[0], i.result, size, size, size / 2, size / 2, nullptr);
}

// A kernel along a row that reads the sample so many columns away, and one along a column.
Kernel columnsAway(int32_t columns) {
    std::vector<int8_t> values(static_cast<size_t>(std::abs(columns)) + 1);
    (columns < 0 ? values.front() : values.back()) = 1;
    const int32_t anchor = columns < 0 ? -columns : 0;
    return {daxCreateConvKernel(1, std::abs(columns) + 1, anchor, 0, values.data(), 0),
            daxDeleteConvKernel};
}

Kernel rowsAway(int32_t rows) {
    std::vector<int8_t> values(static_cast<size_t>(std::abs(rows)) + 1);
    (rows < 0 ? values.front() : values.back()) = 1;
    const int32_t anchor = rows < 0 ? -rows : 0;
    return {daxCreateConvKernel(std::abs(rows) + 1, 1, 0, anchor, values.data(), 0),
            daxDeleteConvKernel};
}

// The middle of the picture as an image of its own, and what a filter sees beyond its edges.
template <int32_t mode> void margins(const Images& i) {
    const int32_t height = i[0]->height / 4;
    const int32_t width = i[0]->width / 4;
    DaxImage part = *i[0];
    part.height = height * 2;
    part.width = width * 2;
    part.imageData =
        static_cast<char*>(part.imageData) + height * part.widthStep + width * part.nChannels;
    daxSetBorderMode(&part, mode, DAX_SIDE_ALL, 96);
    for (const int32_t below : {0, 1}) {
        for (const int32_t beside : {0, 1}) {
            const Kernel across = columnsAway(beside == 0 ? -width : width);
            const Kernel down = rowsAway(below == 0 ? -height : height);
            DaxROI quarter = {0, beside * width * 2, below * height * 2, height * 2, width * 2};
            i.result->roi = &quarter;
            daxConvolveSep2D(&part, i.result, across.get(), down.get());
            i.result->roi = nullptr;
        }
    }
}

void addFilters(List& list, const Inputs& in) {
    const auto beyond = [&](const char* title, const char* mode, Run run) {
        list.put("daxSetBorderMode", title, {in.picture}, "", run).call =
            "daxSetBorderMode(middle, " + std::string(mode) +
            ", DAX_SIDE_ALL, 96); daxConvolveSep2D(middle, result, across, down)";
    };
    beyond("Beyond the edges: a constant", "DAX_BORDER_CONST", margins<DAX_BORDER_CONST>);
    beyond("Beyond the edges: the nearest sample", "DAX_BORDER_REPLICATE",
           margins<DAX_BORDER_REPLICATE>);
    beyond("Beyond the edges: the image in a mirror", "DAX_BORDER_REFLECT",
           margins<DAX_BORDER_REFLECT>);
    beyond("Beyond the edges: the image again", "DAX_BORDER_WRAP", margins<DAX_BORDER_WRAP>);

    const char* one = "kernels, 1, DAX_COMBINE_SUM, NULL";
    list.put("daxConvolve2D", "Sharper: 5 in the middle, -1 on four sides", {in.picture}, one,
             [](const Images& i) {
                 const Kernel kernel = kernelOf(3, 3, {0, -1, 0, -1, 5, -1, 0, -1, 0}, 0);
                 DaxConvKernel* const kernels[] = {kernel.get()};
                 daxConvolve2D(i[0], i.result, kernels, 1, DAX_COMBINE_SUM, nullptr);
             });
    list.put("daxConvolve2D", "Emboss: -2 -1 0, -1 1 1, 0 1 2", {in.picture}, one,
             [](const Images& i) {
                 const Kernel kernel = kernelOf(3, 3, {-2, -1, 0, -1, 1, 1, 0, 1, 2}, 0);
                 DaxConvKernel* const kernels[] = {kernel.get()};
                 daxConvolve2D(i[0], i.result, kernels, 1, DAX_COMBINE_SUM, nullptr);
             });
    list.put("daxConvolve2D", "Edges: slopes across and down", {in.picture},
             "kernels, 2, DAX_COMBINE_ROOT_SUM_SQUARES, NULL", [](const Images& i) {
                 const Kernel across = kernelOf(3, 3, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 0);
                 const Kernel down = kernelOf(3, 3, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 0);
                 DaxConvKernel* const kernels[] = {across.get(), down.get()};
                 daxConvolve2D(i[0], i.result, kernels, 2, DAX_COMBINE_ROOT_SUM_SQUARES, nullptr);
             });
    list.put("daxConvolveSep2D", "Gaussian: 1 6 15 20 15 6 1, both ways", {in.picture},
             "across, down", [](const Images& i) {
                 const Kernel across = kernelOf(1, 7, {1, 6, 15, 20, 15, 6, 1}, 6);
                 const Kernel down = kernelOf(7, 1, {1, 6, 15, 20, 15, 6, 1}, 6);
                 daxConvolveSep2D(i[0], i.result, across.get(), down.get());
             });
    list.put("daxBlur", "3 by 3", {in.picture}, "3, 3, 1, 1, NULL", blur<3>);
    list.put("daxBlur", "9 by 9, the middle only", {in.picture}, "9, 9, 4, 4, NULL", blur<9>)
        .rois = {list.middle()};
    list.put("daxBlur", "31 by 31", {in.picture}, "31, 31, 15, 15, NULL", blur<31>);
}

// A record of a curve or a histogram.
struct Lut {
    Lut(std::vector<int32_t> keys, std::vector<int32_t> values)
        : key(std::move(keys)), value(std::move(values)),
          factor(key.size(), 0), record{static_cast<int32_t>(key.size()), key.data(), value.data(),
                                        factor.data(), 0} {}
    Lut(const Lut&) = delete;
    Lut& operator=(const Lut&) = delete;

    std::vector<int32_t> key, value, factor;
    DaxLUT record;
    DaxLUT* array[1] = {&record};
};

// With an interval for each of the 256 values.
class Histogram : public Lut {
public:
    explicit Histogram(DaxImage* gray) : Lut(counts(257), std::vector<int32_t>(257, 0)) {
        daxComputeHisto(gray, array, nullptr);
    }

private:
    static std::vector<int32_t> counts(int32_t count) {
        std::vector<int32_t> all;
        for (int32_t i = 0; i < count; ++i) all.push_back(i);
        return all;
    }
};

// Black columns on white over the whole of an image, the tallest one as high as the image.
void plot(const Histogram& histogram, DaxImage* to) {
    const int32_t most =
        std::max(1, *std::max_element(histogram.value.begin(), histogram.value.end() - 1));
    std::vector<int32_t> row(static_cast<size_t>(to->width));
    for (int32_t y = 0; y < to->height; ++y) {
        for (int32_t x = 0; x < to->width; ++x) {
            const int64_t count = histogram.value[static_cast<size_t>(x * 256 / to->width)];
            row[static_cast<size_t>(x)] = count * to->height / most < to->height - y ? 255 : 0;
        }
        setRow(to, 0, y, row.data());
    }
}

void stretched(const Images& i) {
    // The values from 48 on, twice as far from each other.
    Lut curve({0, 48, 175}, {0, 0, 255});
    curve.record.interpolated = 1;
    curve.factor[1] = 2;
    daxContrastStretch(i[0], i.result, curve.array, nullptr);
}

void equalized(const Images& i) {
    Histogram histogram(i[0]);
    daxHistoEqualize(i[0], i.result, histogram.array, nullptr);
}

std::vector<std::string> normsOf(const Images& i) {
    const std::pair<int32_t, const char*> types[] = {
        {DAX_NORM_MAX, "DAX_NORM_MAX"},         {DAX_NORM_SUM, "DAX_NORM_SUM"},
        {DAX_NORM_L2, "DAX_NORM_L2"},           {DAX_NORM_MAX_REL, "DAX_NORM_MAX_REL"},
        {DAX_NORM_SUM_REL, "DAX_NORM_SUM_REL"}, {DAX_NORM_L2_REL, "DAX_NORM_L2_REL"}};
    std::vector<std::string> lines = {"normType            the picture   picture and result"};
    for (const auto& [type, name] : types) {
        char alone[32] = "";
        char line[96];
        if (type < DAX_NORM_RELATIVE)
            std::snprintf(alone, sizeof alone, "%.2f", daxNorm(i[0], nullptr, type));
        std::snprintf(line, sizeof line, "%-17s %13s %20.*f", name, alone,
                      type < DAX_NORM_RELATIVE ? 2 : 6, daxNorm(i[0], i.result, type));
        lines.push_back(line);
    }
    return lines;
}

void addTone(List& list, const Inputs& in) {
    list.put("daxComputeHisto", "The histogram of the picture", {in.gray}, "",
             [](const Images& i) { plot(Histogram(i[0]), i.result); })
        .call = "daxComputeHisto(gray, lut, NULL)";
    list.put("daxContrastStretch", "From 48 on, twice the contrast", {in.gray}, "lut, NULL",
             stretched);
    list.put("daxContrastStretch", "The histogram after that", {in.gray}, "",
             [](const Images& i) {
                 stretched(i);
                 plot(Histogram(i.result), i.result);
             })
        .call = "daxContrastStretch(gray, stretched, lut, NULL); "
                "daxComputeHisto(stretched, lut, NULL)";
    list.put("daxHistoEqualize", "By its own histogram", {in.gray}, "lut, NULL", equalized);
    list.put("daxHistoEqualize", "The histogram after that", {in.gray}, "",
             [](const Images& i) {
                 equalized(i);
                 plot(Histogram(i.result), i.result);
             })
        .call = "daxHistoEqualize(gray, equalized, lut, NULL); "
                "daxComputeHisto(equalized, lut, NULL)";
    list.put("daxThreshold", "8 bits", {in.gray}, "128, NULL",
             [](const Images& i) { daxThreshold(i[0], i.result, 128, nullptr); });
    list.put("daxThreshold", "8 bits, every channel", {in.picture}, "100, NULL",
             [](const Images& i) { daxThreshold(i[0], i.result, 100, nullptr); });
    list.put("daxThreshold", "16 bits, signed", {in.signed16}, "0, NULL",
             [](const Images& i) { daxThreshold(i[0], i.result, 0, nullptr); });
    Entry& norms = list.put("daxNorm", "Between the picture and its blurred copy", {in.picture}, "",
                            [](const Images& i) {
                                blur<9>(i);
                                daxNorm(i[0], i.result, DAX_NORM_L2);
                            });
    norms.call = "daxBlur(picture, result, 9, 9, 4, 4, NULL); daxNorm(picture, result, normType)";
    norms.tells = normsOf;
}

void addRank(List& list, const Inputs& in) {
    const char* three = "3, 3, 1, 1, NULL";
    const char* nine = "9, 9, 4, 4, NULL";
    list.put("daxMedianFilter", "3 by 3, against salt and pepper", {in.noisy}, three,
             [](const Images& i) { daxMedianFilter(i[0], i.result, 3, 3, 1, 1, nullptr); });
    list.put("daxMedianFilter", "9 by 9", {in.picture}, nine,
             [](const Images& i) { daxMedianFilter(i[0], i.result, 9, 9, 4, 4, nullptr); });
    list.put("daxMaxFilter", "9 by 9", {in.picture}, nine,
             [](const Images& i) { daxMaxFilter(i[0], i.result, 9, 9, 4, 4, nullptr); });
    list.put("daxMinFilter", "9 by 9", {in.picture}, nine,
             [](const Images& i) { daxMinFilter(i[0], i.result, 9, 9, 4, 4, nullptr); });
    const auto morphology = [&](const char* function, Run run) {
        list.put(function, "1 bit, twice", {in.bits}, "2, NULL", run);
        list.put(function, "gray, twice", {in.gray}, "2, NULL", run);
    };
    morphology("daxErode", [](const Images& i) { daxErode(i[0], i.result, 2, nullptr); });
    morphology("daxDilate", [](const Images& i) { daxDilate(i[0], i.result, 2, nullptr); });
    morphology("daxOpen", [](const Images& i) { daxOpen(i[0], i.result, 2, nullptr); });
    morphology("daxClose", [](const Images& i) { daxClose(i[0], i.result, 2, nullptr); });
}

template <int upper, int lower, int interpolate> void addZoom(List& list, const Inputs& in) {
    static const char* const names[] = {"nearest neighbour", "linear", "cubic"};
    static const char* const constants[] = {"DAX_INTER_NN", "DAX_INTER_LINEAR", "DAX_INTER_CUBIC"};
    const std::string factor = std::to_string(upper) + "/" + std::to_string(lower);
    const std::string numbers = std::to_string(upper) + ", " + std::to_string(lower) + ", ";
    const std::string rest = numbers + numbers + constants[interpolate] + ", NULL";
    const std::string title = "By " + factor + ", " + names[interpolate];
    const bool grows = upper > lower;
    Entry& entry = list.put(
        grows ? "daxZoom" : "daxDecimate", title.c_str(), {in.picture}, rest.c_str(),
        [](const Images& i) {
            if (upper > lower)
                daxZoom(i[0], i.result, upper, lower, upper, lower, interpolate, nullptr);
            else
                daxDecimate(i[0], i.result, upper, lower, upper, lower, interpolate, nullptr);
        });
    entry.upper = upper;
    entry.lower = lower;
}

template <int upper, int lower> void addZooms(List& list, const Inputs& in) {
    addZoom<upper, lower, DAX_INTER_NN>(list, in);
    addZoom<upper, lower, DAX_INTER_LINEAR>(list, in);
    addZoom<upper, lower, DAX_INTER_CUBIC>(list, in);
}

template <int angle, int interpolate> void rotate(const Images& i) {
    daxRotate(i[0], i.result, angle, i[0]->width / 2, i[0]->height / 2, interpolate, nullptr);
}

template <int angle, int interpolate>
void addRotation(List& list, DaxImage* image, const char* name, const char* scheme,
                 const std::string& argument = "picture") {
    const std::string rest = std::to_string(angle) + ", " + argument + "->width / 2, " + argument +
                             "->height / 2, " + scheme + ", NULL";
    list.put("daxRotate", name, {image}, rest.c_str(), rotate<angle, interpolate>);
}

void addGeometry(List& list, const Inputs& in) {
    list.put("daxMirror", "Top and bottom", {in.picture}, "DAX_FLIP_ROWS, NULL",
             [](const Images& i) { daxMirror(i[0], i.result, DAX_FLIP_ROWS, nullptr); });
    list.put("daxMirror", "Left and right, the middle only", {in.picture}, "DAX_FLIP_COLUMNS, NULL",
             [](const Images& i) { daxMirror(i[0], i.result, DAX_FLIP_COLUMNS, nullptr); })
        .rois = {list.middle()};
    list.put("daxMirror", "Both", {in.picture}, "DAX_FLIP_BOTH, NULL",
             [](const Images& i) { daxMirror(i[0], i.result, DAX_FLIP_BOTH, nullptr); });
    list.put("daxMirror", "Both, 1 bit", {in.bits}, "DAX_FLIP_BOTH, NULL",
             [](const Images& i) { daxMirror(i[0], i.result, DAX_FLIP_BOTH, nullptr); });
    addZooms<3, 2>(list, in);
    addZooms<7, 3>(list, in);
    addZooms<4, 1>(list, in);
    addZoom<1, 2, DAX_INTER_NN>(list, in);
    addZooms<2, 3>(list, in);
    addRotation<9000, DAX_INTER_NN>(list, in.picture, "By 90 degrees", "DAX_INTER_NN");
    addRotation<18000, DAX_INTER_NN>(list, in.picture, "By 180 degrees", "DAX_INTER_NN");
    addRotation<27000, DAX_INTER_NN>(list, in.picture, "By 270 degrees", "DAX_INTER_NN");
    addRotation<9000, DAX_INTER_NN>(list, in.bits, "By 90 degrees, 1 bit", "DAX_INTER_NN", "bits");
    addRotation<3300, DAX_INTER_NN>(list, in.picture, "By 33 degrees, nearest neighbour",
                                    "DAX_INTER_NN");
    addRotation<3300, DAX_INTER_LINEAR>(list, in.picture, "By 33 degrees, linear",
                                        "DAX_INTER_LINEAR");
    addRotation<3300, DAX_INTER_CUBIC>(list, in.picture, "By 33 degrees, cubic", "DAX_INTER_CUBIC");
    addRotation<1234, DAX_INTER_LINEAR>(list, in.picture, "By 12.34 degrees, linear",
                                        "DAX_INTER_LINEAR");
    addRotation<-3333, DAX_INTER_CUBIC>(list, in.picture, "By -33.33 degrees, cubic",
                                        "DAX_INTER_CUBIC");
    addRotation<-777, DAX_INTER_NN>(list, in.bits, "By -7.77 degrees, 1 bit", "DAX_INTER_NN",
                                    "bits");
}

// An image of numbers that the picture itself couldn't hold.
Image numbersLike(const DaxImage* image) {
    Make make = makeOf(image);
    make.depth = DAX_DEPTH_32S;
    return makeImage(make);
}

// The frequencies of one number of a packed spectrum, and whether it is an imaginary part.
struct Place {
    int u;
    int v;
    bool isImaginary;
};

Place placeOf(int x, int y, int width, int height) {
    const bool last = width % 2 == 0 && x == width - 1;
    if (x > 0 && !last) return {(x + 1) / 2, y, x % 2 == 0};
    const bool bottom = height % 2 == 0 && y == height - 1;
    return {last ? width / 2 : 0, bottom ? height / 2 : (y + 1) / 2,
            !bottom && y > 0 && y % 2 == 0};
}

// Each visit(place, number) may change the number.
template <class Visit> void eachNumber(DaxImage* spectrum, Visit visit) {
    std::vector<int32_t> row(static_cast<size_t>(spectrum->width));
    for (int y = 0; y < spectrum->height; ++y) {
        getRow(spectrum, 0, y, row.data());
        for (int x = 0; x < spectrum->width; ++x)
            visit(placeOf(x, y, spectrum->width, spectrum->height), row[static_cast<size_t>(x)]);
        setRow(spectrum, 0, y, row.data());
    }
}

// Brightness by the logarithm of magnitudes, with the frequency 0 in the middle.
void showSpectrum(const Images& i) {
    const Image spectrum = numbersLike(i[0]);
    daxRealFft2D(i[0], spectrum.get(), DAX_FFT_FORWARD, nullptr);
    const int width = spectrum->width;
    const int height = spectrum->height;
    std::vector<double> squares(static_cast<size_t>(width) * static_cast<size_t>(height));
    const auto at = [&](int u, int v) -> double& {
        const int x = (u + width + width / 2) % width;
        const int y = (v + height + height / 2) % height;
        return squares[static_cast<size_t>(y) * static_cast<size_t>(width) +
                       static_cast<size_t>(x)];
    };
    double greatest = 1;
    eachNumber(spectrum.get(), [&](Place place, int32_t number) {
        double& square = at(place.u, place.v);
        square += static_cast<double>(number) * number;
        greatest = std::max(greatest, square);
        at(-place.u, -place.v) = square;
    });
    std::vector<int32_t> row(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            row[static_cast<size_t>(x)] = static_cast<int32_t>(
                255 * std::log1p(at(x - width / 2, y - height / 2)) / std::log1p(greatest));
        setRow(i.result, 0, y, row.data());
    }
}

// Without the frequencies past a twelfth of the samples.
void smooth(const Images& i) {
    const Image spectrum = numbersLike(i[0]);
    daxRealFft2D(i[0], spectrum.get(), DAX_FFT_FORWARD, nullptr);
    const int width = spectrum->width;
    const int height = spectrum->height;
    eachNumber(spectrum.get(), [&](Place place, int32_t& number) {
        const double u = static_cast<double>(place.u) / width;
        const double v = static_cast<double>(std::min(place.v, height - place.v)) / height;
        if (std::hypot(u, v) > 1.0 / 12) number = 0;
    });
    daxCcsFft2D(spectrum.get(), i.result, DAX_FFT_INVERSE, nullptr);
}

// All blocks of 8 by 8, and what is left of them at the edges.
template <class Call> void eachBlock(DaxImage* a, DaxImage* b, Call call) {
    DaxROI block = {};
    a->roi = b->roi = &block;
    for (block.yOffset = 0; block.yOffset < a->height; block.yOffset += 8)
        for (block.xOffset = 0; block.xOffset < a->width; block.xOffset += 8) {
            block.height = std::min(8, a->height - block.yOffset);
            block.width = std::min(8, a->width - block.xOffset);
            call();
        }
    a->roi = b->roi = nullptr;
}

// Four times the size of every coefficient of every block.
void showBlocks(const Images& i) {
    const Image blocks = numbersLike(i[0]);
    eachBlock(i[0], blocks.get(), [&] { daxDCT2D(i[0], blocks.get(), DAX_DCT_FORWARD); });
    std::vector<int32_t> row(static_cast<size_t>(blocks->width));
    for (int y = 0; y < blocks->height; ++y) {
        getRow(blocks.get(), 0, y, row.data());
        for (int32_t& number : row) number = std::min(4 * std::abs(number), 255);
        setRow(i.result, 0, y, row.data());
    }
}

// Back from the ten lowest of the 64 coefficients of each block.
void fewCoefficients(const Images& i) {
    const Image blocks = numbersLike(i[0]);
    eachBlock(i[0], blocks.get(), [&] { daxDCT2D(i[0], blocks.get(), DAX_DCT_FORWARD); });
    std::vector<int32_t> row(static_cast<size_t>(blocks->width));
    for (int y = 0; y < blocks->height; ++y) {
        getRow(blocks.get(), 0, y, row.data());
        for (int x = 0; x < blocks->width; ++x)
            if (x % 8 + y % 8 > 3) row[static_cast<size_t>(x)] = 0;
        setRow(blocks.get(), 0, y, row.data());
    }
    eachBlock(blocks.get(), i.result, [&] { daxDCT2D(blocks.get(), i.result, DAX_DCT_INVERSE); });
}

void addTransforms(List& list, const Inputs& in) {
    list.put("daxRealFft2D", "The spectrum: the logarithm of magnitudes, 0 in the middle",
             {in.gray}, "", showSpectrum)
        .call = "daxRealFft2D(gray, spectrum, DAX_FFT_FORWARD, NULL)";
    list.put("daxCcsFft2D", "Without high frequencies", {in.gray}, "", smooth).call =
        "daxRealFft2D(gray, spectrum, DAX_FFT_FORWARD, NULL); "
        "daxCcsFft2D(spectrum, result, DAX_FFT_INVERSE, NULL)";
    list.put("daxDCT2D", "Blocks of 8 by 8: sizes of coefficients, times 4", {in.gray}, "",
             showBlocks)
        .call = "daxDCT2D(gray, coefficients, DAX_DCT_FORWARD)";
    list.put("daxDCT2D", "Back from 10 coefficients of each block", {in.gray}, "", fewCoefficients)
        .call = "daxDCT2D(coefficients, result, DAX_DCT_INVERSE)";
}

// One plane of the picture in another model, as an image of its own.
template <int32_t channel> void planeOfHsv(const Images& i) {
    const Image hsv = makeImage(makeOf(i[0]));
    daxRGB2HSV(i[0], hsv.get(), nullptr);
    DaxROI plane = {channel, 0, 0, hsv->height, hsv->width};
    hsv->roi = &plane;
    daxCopy(hsv.get(), i.result, nullptr);
    hsv->roi = nullptr;
}

// With more colour, in the other model and back.
void saturated(const Images& i) {
    const Image hls = makeImage(makeOf(i[0]));
    daxRGB2HLS(i[0], hls.get(), nullptr);
    DaxROI saturation = {3, 0, 0, hls->height, hls->width};
    hls->roi = &saturation;
    daxAddS(hls.get(), hls.get(), 64, nullptr);
    hls->roi = nullptr;
    daxHLS2RGB(hls.get(), i.result, nullptr);
}

template <int32_t option, int32_t levelBits> void reduce(const Images& i) {
    daxReduceBits(i[0], i.result, 0, option, levelBits, nullptr);
}

template <int32_t option>
void addDither(List& list, const Inputs& in, const std::string& name, const std::string& constant) {
    const auto put = [&](const char* bits, Run run) {
        Entry& entry =
            list.put("daxReduceBits", (name + ", levelBits " + bits).c_str(), {in.gray16},
                     ("0, " + constant + ", " + bits + ", NULL").c_str(), run);
        entry.make = list.like(1, DAX_DEPTH_8U);
        if (option == DAX_DITHER_JJN || option == DAX_DITHER_STUCKI)
            entry.tells = [](const Images&) -> std::vector<std::string> {
                return {"The shares of an error aren't divided, and sums wrap: noise."};
            };
    };
    put("1", reduce<option, 1>);
    put("2", reduce<option, 2>);
    put("4", reduce<option, 4>);
}

using Twist = std::unique_ptr<DaxColorTwist, void (*)(DaxColorTwist*)>;

Twist twistOf(const std::vector<int32_t>& matrix, int32_t scalingValue) {
    return {daxCreateColorTwist(matrix.data(), scalingValue), daxDeleteColorTwist};
}

void addColor(List& list, const Inputs& in) {
    const auto plane = [&](const char* title, const char* channel, Run run) {
        Entry& entry = list.put("daxRGB2HSV", title, {in.picture}, "", run);
        entry.call = std::string("daxRGB2HSV(picture, hsv, NULL); hsv->roi->coi = ") + channel +
                     "; daxCopy(hsv, result, NULL)";
        entry.make = list.like(1, DAX_DEPTH_8U);
    };
    plane("The hue, in half degrees", "1", planeOfHsv<1>);
    plane("The saturation", "2", planeOfHsv<2>);
    plane("The value", "3", planeOfHsv<3>);
    list.put("daxHLS2RGB", "With more colour", {in.picture}, "", saturated).call =
        "daxRGB2HLS(picture, hls, NULL); hls->roi->coi = 3; daxAddS(hls, hls, 64, NULL); "
        "daxHLS2RGB(hls, result, NULL)";
    list.put("daxColorToGray", "8 bits", {in.picture}, "NULL",
             [](const Images& i) { daxColorToGray(i[0], i.result, nullptr); })
        .make = list.like(1, DAX_DEPTH_8U);
    Entry& bits = list.put("daxColorToGray", "1 bit", {in.picture}, "NULL",
                           [](const Images& i) { daxColorToGray(i[0], i.result, nullptr); });
    bits.make = list.like(1, DAX_DEPTH_1U);
    list.put("daxGrayToColor", "Tinted", {in.gray}, "1.0f, 0.8f, 0.5f, NULL",
             [](const Images& i) { daxGrayToColor(i[0], i.result, 1.0f, 0.8f, 0.5f, nullptr); })
        .make = list.like(3, DAX_DEPTH_8U);
    list.put("daxReduceBits", "16 bits to 8", {in.gray16}, "0, DAX_DITHER_NONE, 0, NULL",
             reduce<DAX_DITHER_NONE, 0>)
        .make = list.like(1, DAX_DEPTH_8U);
    Entry& jitter = list.put(
        "daxReduceBits", "8 bits to 1, with jitter", {in.gray}, "8, DAX_DITHER_NONE, 0, NULL",
        [](const Images& i) { daxReduceBits(i[0], i.result, 8, DAX_DITHER_NONE, 0, nullptr); });
    jitter.make = list.like(1, DAX_DEPTH_1U);
    jitter.writesSources = true;
    addDither<DAX_DITHER_FS>(list, in, "Floyd and Steinberg", "DAX_DITHER_FS");
    addDither<DAX_DITHER_JJN>(list, in, "Jarvis, Judice and Ninke", "DAX_DITHER_JJN");
    addDither<DAX_DITHER_STUCKI>(list, in, "Stucki", "DAX_DITHER_STUCKI");
    addDither<DAX_DITHER_BAYER>(list, in, "Ordered", "DAX_DITHER_BAYER");
    list.put("daxApplyColorTwist", "Sepia", {in.picture}, "twist, 0, NULL", [](const Images& i) {
        const Twist sepia =
            twistOf({101, 197, 48, 0, 89, 176, 43, 0, 70, 137, 33, 0, 0, 0, 0, 0}, 8);
        daxApplyColorTwist(i[0], i.result, sepia.get(), 0, nullptr);
    });
    list.put("daxApplyColorTwist", "Red, green and blue change places", {in.picture},
             "twist, 0, NULL", [](const Images& i) {
                 const Twist swap = twistOf({0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0}, 0);
                 daxApplyColorTwist(i[0], i.result, swap.get(), 0, nullptr);
             });
}

} // namespace

std::vector<Entry> entriesFor(const Inputs& in) {
    List list(in);
    addArithmetic(list, in);
    addLogic(list, in);
    addMoves(list, in);
    addConversions(list, in);
    addDibs(list, in);
    addAlpha(list, in);
    addFilters(list, in);
    addTone(list, in);
    addRank(list, in);
    addGeometry(list, in);
    addTransforms(list, in);
    addColor(list, in);
    return std::move(list.entries);
}

WrongCall wrongCallFor(const Inputs& in) {
    return {"daxAdd(picture, picture16, result, NULL)",
            "Samples of 8 and of 16 bits are never mixed.",
            [&in](DaxImage* result) { daxAdd(in.picture, in.picture16, result, nullptr); }};
}
