// docs/guarantees.md against the library: each row of its table is measured, cell by cell.

#include "everything/scene.h"
#include "kit/platform.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using kit::depths;
using Images = std::vector<DaxImage*>;
using Bytes = std::vector<uint8_t>;

constexpr int32_t width = 37, height = 21;

// An operation with plain arguments. What it gives other than in images goes to the bytes.
struct Operation {
    const char* name;
    const char* channels; // of each image, the destination last
    void (*call)(const Images& images, Bytes& result);
    const char* model = "RGB"; // of the first image
    bool writes = true;
    bool colored = false; // the counts of channels stay what they are beside bits
};

template <auto function, auto... arguments> void one(const Images& i, Bytes&) {
    function(i[0], arguments..., nullptr);
}
template <auto function, auto... arguments> void two(const Images& i, Bytes&) {
    function(i[0], i[1], arguments..., nullptr);
}
template <auto function, auto... arguments> void three(const Images& i, Bytes&) {
    function(i[0], i[1], i[2], arguments..., nullptr);
}

template <class T> void add(Bytes& bytes, const T* values, size_t count) {
    const auto* const from = reinterpret_cast<const uint8_t*>(values);
    bytes.insert(bytes.end(), from, from + count * sizeof(T));
}

int8_t coefficients[] = {1, -1, 2, 0, 1, 1, -2, 0, 1};
DaxConvKernel square = {3, 3, 1, 1, 0, coefficients};
DaxConvKernel row = {1, 3, 1, 0, 0, coefficients};
DaxConvKernel column = {3, 1, 0, 1, 0, coefficients};

void convolve(const Images& i, Bytes&) {
    DaxConvKernel* const list[] = {&square};
    daxConvolve2D(i[0], i[1], list, 1, DAX_COMBINE_SUM, nullptr);
}

void cosine(const Images& i, Bytes&) {
    daxDCT2D(i[0], i[1], DAX_DCT_FORWARD);
    daxDCT2D(nullptr, nullptr, DAX_DCT_FREE);
}

void twist(const Images& i, Bytes&) {
    const DaxColorTwist made = {{1, 2, 1, 9, 3, 0, 1, -5, 1, 1, 1, 0}, 2};
    daxApplyColorTwist(i[0], i[1], &made, 3, nullptr);
}

Bytes bitmap() {
    const BITMAPINFOHEADER header = {sizeof header, width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    Bytes bytes;
    add(bytes, &header, 1);
    for (int32_t i = 0; i < (width * 3 + 3) / 4 * 4 * height; ++i)
        bytes.push_back(static_cast<uint8_t>(i * 97 / 7));
    return bytes;
}

void fromBitmap(const Images& i, Bytes&) {
    const Bytes from = bitmap();
    daxConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(from.data()), i[0]);
}

void toBitmap(const Images& i, Bytes& result) {
    result = bitmap();
    daxConvertToDIB(i[0], reinterpret_cast<BITMAPINFOHEADER*>(result.data()), DAX_DITHER_NONE,
                    DAX_PALETTE_KEEP);
}

// The same record of two intervals for all channels.
template <class Body> void withCurve(const DaxImage* image, Bytes& result, Body body) {
    const int32_t bits = kit::bitsOf(image->depth);
    int32_t keys[] = {0, 1 << std::min(bits - 1, 15), 1 << std::min(bits, 16)};
    int32_t values[] = {11, 22, 33};
    DaxLUT record = {3, keys, values, nullptr, 0};
    DaxLUT* const list[] = {&record, &record, &record};
    body(list);
    add(result, values, 3);
}

template <auto function> void curve(const Images& i, Bytes&) {
    Bytes values;
    withCurve(i[0], values, [&](DaxLUT* const* list) { function(i[0], i[1], list, nullptr); });
}

// Sources, images of opacities, destination.
void composite(const Images& i, Bytes&) {
    for (const size_t alpha : {2u, 3u}) i[alpha]->alphaChannel = 1;
    daxAlphaComposite(i[0], i[1], i[4], DAX_COMPOSITE_OVER, i[2], i[3], nullptr, 0, 1, nullptr);
}

const Operation operations[] = {
    {"daxAdd", "333", three<daxAdd>},
    {"daxSubtract", "333", three<daxSubtract, 0>},
    {"daxMultiply", "333", three<daxMultiply>},
    {"daxAnd", "333", three<daxAnd>},
    {"daxOr", "333", three<daxOr>},
    {"daxXor", "333", three<daxXor>},
    {"daxAddS", "33", two<daxAddS, 55>},
    {"daxSubtractS", "33", two<daxSubtractS, 55, 0>},
    {"daxMultiplyS", "33", two<daxMultiplyS, 2u>},
    {"daxSquare", "33", two<daxSquare>},
    {"daxAbs", "33", two<daxAbs>},
    {"daxAndS", "33", two<daxAndS, 0x55u>},
    {"daxOrS", "33", two<daxOrS, 0x55u>},
    {"daxXorS", "33", two<daxXorS, 0x55u>},
    {"daxNot", "33", two<daxNot>},
    {"daxLShiftS", "33", two<daxLShiftS, 0u>},
    {"daxRShiftS", "33", two<daxRShiftS, 1u>},
    {"daxCopy", "33", two<daxCopy>},
    {"daxSet", "3", one<daxSet, 77>},
    {"daxExchange", "33", two<daxExchange>},
    {"daxConvert", "33", two<daxConvert, DAX_CONVERT_LOW_BITS>},
    {"daxBitonalToGray", "13", two<daxBitonalToGray, 3, 100>, "GRAY", true, true},
    {"daxConvertFromDIB", "3", fromBitmap},
    {"daxConvertToDIB", "3", toBitmap, "RGB", false},
    {"daxConvolve2D", "33", convolve},
    {"daxConvolveSep2D", "33",
     [](const Images& i, Bytes&) { daxConvolveSep2D(i[0], i[1], &row, &column); }},
    {"daxBlur", "33", two<daxBlur, 3, 3, 1, 1>},
    {"daxMaxFilter", "33", two<daxMaxFilter, 3, 3, 1, 1>},
    {"daxMinFilter", "33", two<daxMinFilter, 3, 3, 1, 1>},
    {"daxMedianFilter", "33", two<daxMedianFilter, 3, 3, 1, 1>},
    {"daxErode", "33", two<daxErode, 1>},
    {"daxDilate", "33", two<daxDilate, 1>},
    {"daxOpen", "33", two<daxOpen, 1>},
    {"daxClose", "33", two<daxClose, 1>},
    {"daxZoom", "33", two<daxZoom, 2, 1, 2, 1, DAX_INTER_NN>},
    {"daxDecimate", "33", two<daxDecimate, 1, 2, 1, 2, DAX_INTER_NN>},
    {"daxMirror", "33", two<daxMirror, DAX_FLIP_COLUMNS>},
    {"daxRotate", "33", two<daxRotate, 3000, 18, 10, DAX_INTER_NN>},
    {"daxRealFft2D", "33", two<daxRealFft2D, DAX_FFT_FORWARD>},
    {"daxCcsFft2D", "33", two<daxCcsFft2D, DAX_FFT_FORWARD>},
    {"daxDCT2D", "33", cosine},
    {"daxRGB2HSV", "33", two<daxRGB2HSV>, "RGB", true, true},
    {"daxHSV2RGB", "33", two<daxHSV2RGB>, "HSV", true, true},
    {"daxRGB2HLS", "33", two<daxRGB2HLS>, "RGB", true, true},
    {"daxHLS2RGB", "33", two<daxHLS2RGB>, "HLS", true, true},
    {"daxColorToGray", "31", two<daxColorToGray>, "RGB", true, true},
    {"daxGrayToColor", "13",
     [](const Images& i, Bytes&) { daxGrayToColor(i[0], i[1], 1.0F, 1.0F, 1.0F, nullptr); }, "GRAY",
     true, true},
    {"daxReduceBits", "33", two<daxReduceBits, 0, DAX_DITHER_NONE, 1>},
    {"daxApplyColorTwist", "33", twist},
    {"daxAlphaComposite", "33113", composite},
    {"daxAlphaCompositeC", "333", three<daxAlphaCompositeC, DAX_COMPOSITE_OVER, 100, 180, 0, 1>},
    {"daxPreMultiplyAlpha", "3", one<daxPreMultiplyAlpha, 100>},
    {"daxMultiplyScale", "333", three<daxMultiplyScale>},
    {"daxMultiplySScale", "33", two<daxMultiplySScale, 99>},
    {"daxComputeHisto", "3",
     [](const Images& i, Bytes& result) {
         withCurve(i[0], result, [&](DaxLUT* const* l) { daxComputeHisto(i[0], l, nullptr); });
     },
     "RGB", false},
    {"daxContrastStretch", "33", curve<daxContrastStretch>},
    {"daxHistoEqualize", "33", curve<daxHistoEqualize>},
    {"daxThreshold", "33", two<daxThreshold, 100>},
    {"daxNorm", "33",
     [](const Images& i, Bytes& result) {
         const double norm = daxNorm(i[0], i[1], DAX_NORM_SUM);
         add(result, &norm, 1);
     },
     "RGB", false},
};

struct Setup {
    int32_t src, dst; // depths
    int32_t srcOrder = DAX_DATA_PIXEL;
    int32_t dstOrder = DAX_DATA_PIXEL;
    std::optional<DaxROI> roi = {}; // of all images; a channel past the last one is the last one
    uint32_t tiled = 0;             // a mask of images
    int32_t inPlace = -1;           // the source that is the destination, too
    int32_t status = 0;
};

using Samples = std::vector<int64_t>; // channel after channel

struct Outcome {
    Samples before, after; // of the destination
    Bytes result;
    bool reported = false;
    int32_t status = 0;
    bool several = false; // tiles of one image held
    bool works(const Operation& op) const { return !reported && (!op.writes || before != after); }
    bool same(const Outcome& other) const {
        return !reported && after == other.after && result == other.result;
    }
};

Samples samplesOf(const kit::Image& image) {
    Samples samples;
    for (int32_t c = 1; c <= image->nChannels; ++c)
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) samples.push_back(image.get(x, y, c));
    return samples;
}

// A tile past the edge isn't there, so that a request for it holds nothing.
bool heldSeveral(const kit::TileLog& log) {
    std::map<char, std::set<std::string>> held;
    size_t most = 0;
    for (const std::string& line : log.lines) {
        char name = 0;
        char mode[9] = {};
        int32_t col = 0, y = 0;
        sscanf(line.c_str(), "%c %8s %d,%d", &name, mode, &col, &y);
        const int32_t tile = (name - 'A') % 2 == 0 ? 8 : 16;
        if (col * (tile == 8 ? 16 : 24) >= width || y * tile >= height) continue;
        const std::string place = line.substr(line.rfind(' '));
        if (strcmp(mode, "release") == 0)
            held[name].erase(place);
        else
            held[name].insert(place);
        most = std::max(most, held[name].size());
    }
    return most > 1;
}

Outcome play(const Operation& op, const Setup& setup) {
    const size_t count = strlen(op.channels);
    const bool bits = setup.src == DAX_DEPTH_1U || setup.dst == DAX_DEPTH_1U;
    std::vector<kit::Image> plain;
    for (size_t i = 0; i < count; ++i) {
        kit::Shape shape;
        const bool dst = i + 1 == count;
        shape.depth = dst ? setup.dst : setup.src;
        shape.order = dst ? setup.dstOrder : setup.srcOrder;
        shape.channels =
            shape.depth == DAX_DEPTH_1U || (bits && !op.colored) ? 1 : op.channels[i] - '0';
        shape.width = width;
        shape.height = height;
        shape.roi = setup.roi;
        if (shape.roi) shape.roi->coi = std::min(shape.roi->coi, shape.channels);
        kit::Random random(i + 1);
        kit::Image& image = plain.emplace_back(shape);
        const int64_t least = kit::leastOf(shape.depth);
        const auto span = static_cast<uint64_t>(kit::mostOf(shape.depth) - least + 1);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                for (int32_t c = 1; c <= shape.channels; ++c)
                    image.set(x, y, c, least + static_cast<int64_t>(random.bits() % span));
        memcpy(image->colorModel, shape.channels == 1 ? "GRAY" : i == 0 ? op.model : "RGB", 4);
        memcpy(image->channelSeq, shape.channels == 1 ? "GRAY" : "RGB", 4);
    }
    kit::TileLog log;
    std::vector<std::unique_ptr<kit::Tiles>> tiled(count);
    Images images;
    for (size_t i = 0; i < count; ++i) {
        images.push_back(plain[i]);
        if ((setup.tiled >> i & 1) == 0) continue;
        tiled[i] = std::make_unique<kit::Tiles>(plain[i], static_cast<char>('A' + i),
                                                i % 2 == 0 ? 16 : 24, i % 2 == 0 ? 8 : 16, log);
        tiled[i]->atMost = 10000;
        tiled[i]->ends = tiled[i]->anyHeader = true;
        images[i] = *tiled[i];
    }
    size_t last = count - 1;
    if (setup.inPlace >= 0) {
        last = static_cast<size_t>(setup.inPlace);
        images[count - 1] = images[last];
    }
    Outcome outcome;
    outcome.before = samplesOf(plain[last]);
    kit::Reports reports;
    daxSetErrStatus(setup.status);
    op.call(images, outcome.result);
    outcome.status = daxGetErrStatus();
    outcome.reported = !reports.take().empty();
    for (const auto& one : tiled) EXPECT_FALSE(one != nullptr && one->holds()) << op.name;
    outcome.after =
        samplesOf(tiled[last] != nullptr ? tiled[last]->gathered() : kit::Image(plain[last]));
    if (!op.writes) outcome.before = outcome.after = {};
    outcome.several = heldSeveral(log);
    return outcome;
}

// Whether a process ends by it.
bool faults(const Operation& op, const Setup& setup) {
    const pid_t child = fork();
    if (child == 0) {
        fclose(stderr);
        play(op, setup);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status != 0;
}

// With the thread goes what an operation keeps.
template <class Body> void apart(Body body) { std::thread(body).join(); }

const char* depthName(int32_t depth) {
    const char* const names[] = {"1U", "8U", "8S", "16U", "16S", "32S"};
    return names[std::find(std::begin(depths), std::end(depths), depth) - std::begin(depths)];
}

std::string listed(const std::set<size_t>& set) {
    if (set.size() == std::size(depths)) return "all";
    std::string text;
    for (const size_t i : set) text += std::string(text.empty() ? "" : " ") + depthName(depths[i]);
    return text;
}

// These give the same in place, or seem to, but nothing says that they always will.
const std::set<std::string> unpromised = {"daxCopy", "daxExchange", "daxConvert", "daxRealFft2D",
                                          "daxCcsFft2D"};

class Measured {
public:
    explicit Measured(const Operation& theOp, const std::string& theTiles)
        : op(theOp), count(strlen(op.channels)), tilesCell(theTiles) {
        cells.push_back(depthsCell());
        cells.push_back(ordersCell());
        cells.push_back(inPlaceCell());
        cells.push_back(tilesOf());
        cells.push_back(regionCell());
        cells.push_back(channelCell());
        cells.push_back(memoryCell());
        cells.push_back(statusCell());
    }

    std::vector<std::string> cells;

private:
    Outcome run(const Setup& setup) {
        kit::StandIn platform;
        Outcome outcome;
        apart([&] { outcome = play(op, setup); });
        if (setup.tiled == 0) requests += platform.requests;
        return outcome;
    }

    std::string depthsCell() {
        std::map<std::set<size_t>, std::set<size_t>> groups; // of sources, by their destinations
        bool alike = true, silent = false;
        for (size_t s = 0; s < std::size(depths); ++s) {
            std::set<size_t> fit;
            for (size_t d = 0; d < std::size(depths); ++d) {
                if (count == 1 && s != d) continue;
                const Setup setup = {depths[s], depths[d]};
                const Outcome outcome = run(setup);
                if (outcome.works(op)) {
                    fit.insert(d);
                    pairs.push_back(setup);
                } else if (s == d) {
                    silent = silent || !outcome.reported;
                }
            }
            alike = alike && (fit.empty() || fit == std::set<size_t>{s});
            if (!fit.empty()) groups[fit].insert(s);
        }
        for (const Setup& setup : pairs) {
            const bool better =
                setup.dst == DAX_DEPTH_8U && (setup.src != DAX_DEPTH_1U || base.dst != setup.dst);
            if (base.src == 0 || better) base = setup;
            if (base.src == DAX_DEPTH_8U && base.dst == DAX_DEPTH_8U) break;
        }
        plain = run(base);
        std::string text;
        std::set<size_t> all;
        for (const auto& [fit, sources] : groups) {
            all.insert(sources.begin(), sources.end());
            text += (text.empty() ? "" : "; ") + listed(sources) + " → " + listed(fit);
        }
        return (alike ? listed(all) : text) + (silent ? ", others silent" : "");
    }

    std::string ordersCell() {
        const auto with = [&](int32_t srcOrder, int32_t dstOrder) {
            Setup setup = base;
            setup.srcOrder = srcOrder;
            setup.dstOrder = dstOrder;
            return run(setup);
        };
        if (!with(DAX_DATA_PLANE, DAX_DATA_PLANE).same(plain)) return "unlike results";
        if (count == 1) return "any";
        const Outcome a = with(DAX_DATA_PIXEL, DAX_DATA_PLANE);
        const Outcome b = with(DAX_DATA_PLANE, DAX_DATA_PIXEL);
        if (a.same(plain) && b.same(plain)) return "any";
        return a.reported && b.reported ? "alike" : "alike, not tested";
    }

    std::string inPlaceCell() {
        if (!op.writes) return "–";
        if (count == 1) return "itself";
        std::string text;
        for (size_t i = 0; i < std::min<size_t>(count - 1, 2); ++i) {
            bool same = !unpromised.count(op.name) && op.channels[i] == op.channels[count - 1];
            size_t tried = 0;
            for (Setup setup : pairs)
                for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
                    if (!same || setup.src != setup.dst) continue;
                    setup.srcOrder = setup.dstOrder = order;
                    setup.inPlace = -1;
                    const Outcome other = run(setup);
                    setup.inPlace = static_cast<int32_t>(i);
                    same = run(setup).same(other);
                    ++tried;
                }
            same = same && tried > 0;
            if (same) text += std::string(text.empty() ? "" : " ") + (i == 0 ? "A" : "B");
        }
        if (text == "A B" || (text == "A" && count == 2)) return "yes";
        return text.empty() ? "no" : text;
    }

    std::string tilesOf() {
        std::set<std::string> kinds;
        bool several = false;
        const bool alone = tilesCell.find("B alone") != std::string::npos;
        for (uint32_t mask = 1; mask < 1u << count; ++mask) {
            Setup setup = base;
            setup.tiled = mask;
            // The page tells which calls end the process.
            if (tilesCell.find("faults") != std::string::npos && (!alone || mask == 2)) {
                kinds.insert(!faults(op, setup) ? "doesn't fault"
                             : alone            ? "any; B alone faults"
                                                : "none, faults");
                continue;
            }
            const Outcome outcome = run(setup);
            several = several || outcome.several;
            if (outcome.same(plain))
                kinds.insert(alone ? "any; B alone faults" : "any");
            else if (outcome.reported && outcome.before == outcome.after)
                kinds.insert("none, reported");
            else
                kinds.insert(outcome.reported ? "reported in part" : "none, not tested");
        }
        std::string text;
        for (const std::string& kind : kinds) text += (text.empty() ? "" : " / ") + kind;
        return text + (several ? ", several held" : "");
    }

    Outcome inRegion(Setup setup, const DaxROI& roi, int32_t order = DAX_DATA_PIXEL) {
        setup.roi = roi;
        setup.srcOrder = setup.dstOrder = order;
        return run(setup);
    }

    std::string regionOf(const Setup& setup) {
        const DaxROI roi = {0, 6, 3, 12, 16};
        const Outcome inside = inRegion(setup, roi);
        if (inside.same(run(setup))) return "ignored";
        if (!inside.works(op)) return "refused";
        for (size_t i = 0; i < inside.after.size(); ++i) {
            const auto at = static_cast<int32_t>(i % (width * height));
            const int32_t x = at % width - roi.xOffset, y = at / width - roi.yOffset;
            if ((x < 0 || x >= roi.width || y < 0 || y >= roi.height) &&
                inside.after[i] != inside.before[i])
                return "written outside";
        }
        for (const int32_t x : {6, 30}) {
            const Outcome beyond = inRegion(setup, {0, x, 3, height, width});
            const Outcome cut = inRegion(setup, {0, x, 3, height - 3, width - x});
            if (!beyond.same(cut)) return "inside";
        }
        return "clipped";
    }

    // Bits may have a way of their own.
    std::string regionCell() {
        const std::string text = regionOf(base);
        const bool bits = pairs[0].src == DAX_DEPTH_1U && pairs[0].dst == DAX_DEPTH_1U;
        const std::string ofBits = bits ? regionOf(pairs[0]) : text;
        return ofBits == text ? text : text + ", 1U " + ofBits;
    }

    std::string channelCell() {
        std::set<std::string> kinds;
        for (const int32_t order : {DAX_DATA_PIXEL, DAX_DATA_PLANE}) {
            const Outcome all = inRegion(base, {0, 0, 0, height, width}, order);
            const Outcome is = inRegion(base, {2, 0, 0, height, width}, order);
            Outcome expected = all;
            const size_t plane = width * height;
            for (size_t i = 0; i < all.after.size(); ++i)
                if (i / plane != 1) expected.after[i] = all.before[i];
            kinds.insert(is.same(all)                                        ? "ignored"
                         : is.same(expected) || (!op.writes && !is.reported) ? "used"
                                                                             : "peculiar");
        }
        return kinds.size() == 1 ? *kinds.begin() : "peculiar";
    }

    // All calls up to here, and all arguments that scenes have for plain images.
    std::string memoryCell() {
        for (const everything::Scenario& scenario : everything::scenarios())
            for (uint64_t seed = 1; scenario.names == std::string(op.name) && seed <= 300; ++seed) {
                kit::StandIn platform;
                kit::Random random(seed);
                everything::Outcome outcome;
                apart([&] { outcome = everything::play(scenario, random, {}); });
                if (!outcome.changes.empty()) requests += platform.requests;
            }
        return requests == 0 ? "no" : "may";
    }

    std::string statusCell() {
        std::map<std::string, std::set<size_t>> kinds;
        for (Setup setup : pairs) {
            const Outcome usual = run(setup);
            setup.status = DAX_StatusBadArgument;
            const Outcome is = run(setup);
            const auto at = std::find(std::begin(depths), std::end(depths), setup.src);
            kinds[!is.same(usual)  ? "read"
                  : is.status == 0 ? "cleared"
                                   : "left"]
                .insert(static_cast<size_t>(at - std::begin(depths)));
        }
        if (kinds.size() == 1) return kinds.begin()->first;
        return "read: " + listed(kinds["read"]);
    }

    const Operation& op;
    const size_t count;
    const std::string tilesCell;
    std::vector<Setup> pairs; // of depths that work
    Setup base = {0, 0};
    Outcome plain;
    int32_t requests = 0;
};

std::string trimmed(const std::string& text) {
    const size_t from = text.find_first_not_of(" `");
    return from == std::string::npos ? ""
                                     : text.substr(from, text.find_last_not_of(" `") - from + 1);
}

std::string contents(const char* path) {
    std::ostringstream text;
    text << std::ifstream(std::string(DAX_SOURCE_DIR) + path).rdbuf();
    return text.str();
}

using Table = std::map<std::string, std::vector<std::string>>;

Table pageTable(const std::string& page) {
    Table table;
    std::istringstream in(page);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| `dax", 0) != 0) continue;
        std::vector<std::string> cells;
        std::istringstream parts(line.substr(1));
        for (std::string cell; std::getline(parts, cell, '|');) cells.push_back(trimmed(cell));
        const std::string name = cells[0];
        cells.erase(cells.begin());
        EXPECT_TRUE(table.emplace(name, cells).second) << name;
    }
    return table;
}

TEST(Guarantees, NamesEachExportedFunctionOnce) {
    std::multiset<std::string> names, exported;
    const std::string manual = contents("/_SRC/frame/daxlib.h");
    std::istringstream page(contents("/docs/guarantees.md"));
    std::string text;
    for (bool quoted = false; std::getline(page, text, '`'); quoted = !quoted) {
        if (!quoted || text.rfind("dax", 0) != 0) continue;
        if (text[3] != '_') {
            names.insert(text);
            continue;
        }
        bool told = false;
        for (const char* const kind : {"@page ", "@section ", "@defgroup "})
            told = told || manual.find(kind + text + " ") != std::string::npos;
        EXPECT_TRUE(told) << text;
    }
    std::istringstream list(contents("/.ci/exports.txt"));
    while (list >> text) exported.insert(text);
    EXPECT_EQ(names, exported);
}

TEST(Guarantees, HoldAsThePageSays) {
    const Table table = pageTable(contents("/docs/guarantees.md"));
    const char* const columns[] = {"depths", "orders",  "in place", "tiles",
                                   "region", "channel", "memory",   "status"};
    EXPECT_EQ(table.size(), std::size(operations));
    for (const Operation& op : operations) {
        const auto found = table.find(op.name);
        if (found != table.end()) {
            ASSERT_GE(found->second.size(), std::size(columns)) << op.name;
        }
        const std::string tiles = found == table.end() ? "" : found->second[3];
        const Measured measured(op, tiles);
        std::string line = "| `" + std::string(op.name) + "` |";
        for (const std::string& cell : measured.cells) line += " " + cell + " |";
        SCOPED_TRACE("measured: " + line);
        if (found == table.end()) {
            ADD_FAILURE() << "not on the page";
            continue;
        }
        for (size_t i = 0; i < std::size(columns); ++i)
            EXPECT_EQ(measured.cells[i], found->second.at(i)) << columns[i];
    }
}

} // namespace
