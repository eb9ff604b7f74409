// Runs every operation on a picture and makes a page that shows what they do:
//
//     gallery [picture [folder]]

#include "entries.h"
#include "page.h"
#include "view.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* demoPicture = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg";
constexpr const char* demoFolder = "build/gallery";

std::vector<Report> reports;

extern "C" DaxStatus keepReport(DaxStatus status, const char* function, const char* context,
                                const char* file, int32_t line) {
    reports.push_back({status, daxErrorStr(status), function, context, file, line});
    return status;
}

std::vector<Report> takeReports() {
    daxSetErrStatus(DAX_StatusNoError);
    return std::exchange(reports, {});
}

// On a terminal one line that is written over and over; elsewhere a line for every quarter.
class Progress {
public:
    explicit Progress(size_t steps) : count(steps) {}
    ~Progress() {
        if (terminal) std::printf("\r\033[K");
        std::fflush(stdout);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void next(const std::string& what) {
        ++done;
        if (terminal)
            std::printf("\r\033[K%zu of %zu: %s", done, count, what.c_str());
        else if (done * 4 / count != (done - 1) * 4 / count)
            std::printf("%zu of %zu\n", done, count);
        std::fflush(stdout);
    }

private:
    const bool terminal = isatty(STDOUT_FILENO) != 0;
    const size_t count;
    size_t done = 0;
};

// The images of an entry, under their regions of interest.
class Call {
public:
    Call(const Entry& entry, DaxImage* result)
        : one(entry), images{entry.sources, result}, rois(entry.rois) {
        if (one.writesSources)
            for (DaxImage*& source : images.sources) {
                copies.push_back(copyOf(source));
                source = copies.back().get();
            }
    }

    void run() {
        setRois(true);
        one.run(images);
        setRois(false);
    }

private:
    void setRois(bool on) {
        for (size_t k = 0; k <= images.sources.size(); ++k) {
            DaxImage* const image = k < images.sources.size() ? images.sources[k] : images.result;
            image->roi = on && !rois.empty() ? &rois[std::min(k, rois.size() - 1)] : nullptr;
        }
    }

    const Entry& one;
    Images images;
    std::vector<DaxROI> rois;
    std::vector<Image> copies;
};

Image blankFor(const Entry& entry) {
    if (entry.before != nullptr) return copyOf(entry.before);
    if (entry.make) return makeImage(*entry.make);
    if (!entry.rois.empty()) return copyOf(entry.sources[0]);
    Make make = makeOf(entry.sources[0]);
    make.width = make.width * entry.upper / entry.lower;
    make.height = make.height * entry.upper / entry.lower;
    return makeImage(make);
}

// The median of some calls, on a result of their own.
double secondsOf(const Entry& entry) {
    using Clock = std::chrono::steady_clock;
    const Image scratch = blankFor(entry);
    Call call(entry, scratch.get());
    std::vector<double> times;
    const auto begin = Clock::now();
    while (times.size() < 3 ||
           (times.size() < 1000 && Clock::now() - begin < std::chrono::milliseconds(20))) {
        const auto start = Clock::now();
        call.run();
        times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    std::nth_element(times.begin(), times.begin() + static_cast<ptrdiff_t>(times.size() / 2),
                     times.end());
    return std::max(times[times.size() / 2], 1e-9);
}

double pixelsOf(const Entry& entry, const DaxImage* result) {
    if (entry.rois.empty()) return double(result->width) * result->height;
    return double(entry.rois.back().width) * entry.rois.back().height;
}

std::string roiText(const DaxROI& roi) {
    return "coi " + std::to_string(roi.coi) + ", xOffset " + std::to_string(roi.xOffset) +
           ", yOffset " + std::to_string(roi.yOffset) + ", height " + std::to_string(roi.height) +
           ", width " + std::to_string(roi.width);
}

class Gallery {
public:
    Gallery(const std::string& picture, const fs::path& output) : path(picture), folder(output) {}

    // Whether every call did what it should.
    bool make();

private:
    Card show(const Entry& entry, size_t number);
    Refusal refuse();
    Figure save(const std::string& file, const std::string& name, const std::string& note,
                const DaxImage* image);
    const Figure& source(const DaxImage* image);
    void write(const Page& page);

    const std::string path;
    const fs::path folder;
    std::unique_ptr<Inputs> inputs;
    std::map<const DaxImage*, Figure> sources;
    std::vector<Picture> small;
};

Figure Gallery::save(const std::string& file, const std::string& name, const std::string& note,
                     const DaxImage* image) {
    const Picture picture = viewOf(image);
    writePng((folder / file).string(), picture);
    if (small.empty() || name == "result") small.push_back(thumbnail(picture));
    return {file, name, note + " (" + makeText(image) + ")", picture.width, picture.height};
}

const Figure& Gallery::source(const DaxImage* image) {
    const auto found = sources.find(image);
    if (found != sources.end()) return found->second;
    const Input& input = inputs->describe(image);
    return sources[image] = save(input.name + ".png", input.name, input.note, image);
}

Card Gallery::show(const Entry& entry, size_t number) {
    Card card = {};
    card.operation = entry.operation;
    card.title = entry.title;
    card.call = entry.call;
    if (entry.rois.size() == 1) card.rois.push_back("roi of all: " + roiText(entry.rois[0]));
    for (size_t k = 0; entry.rois.size() > 1 && k < entry.rois.size(); ++k)
        card.rois.push_back("roi of " +
                            (k < entry.sources.size() ? inputs->describe(entry.sources[k]).name
                                                      : std::string("result")) +
                            ": " + roiText(entry.rois[k]));
    for (const DaxImage* image : entry.sources) card.sources.push_back(source(image));
    if (entry.before != nullptr) {
        Figure before = source(entry.before);
        before.name = "result";
        before.note = "before the call";
        card.sources.push_back(before);
    }
    const Image result = blankFor(entry);
    Call(entry, result.get()).run();
    if (entry.tells) card.figures = entry.tells({entry.sources, result.get()});
    for (const Report& report : takeReports()) card.failures.push_back(lineOf(report));
    char file[64];
    std::snprintf(file, sizeof file, "result-%03zu.png", number);
    card.result = save(file, "result", "", result.get());
    if (card.failures.empty())
        card.megapixelsPerSecond = pixelsOf(entry, result.get()) / secondsOf(entry) / 1e6;
    return card;
}

Refusal Gallery::refuse() {
    const WrongCall wrong = wrongCallFor(*inputs);
    const Image result = copyOf(inputs->picture);
    wrong.run(result.get());
    Refusal refusal = {wrong.call, wrong.why, takeReports(), true};
    refusal.resultUntouched = std::memcmp(result->imageData, inputs->picture->imageData,
                                          static_cast<size_t>(result->dataSize)) == 0;
    return refusal;
}

void Gallery::write(const Page& page) {
    // Full rows, of pictures from all over the page.
    constexpr size_t columns = 7;
    constexpr size_t most = 3 * columns;
    const size_t count =
        small.size() < columns ? small.size() : std::min(small.size() / columns * columns, most);
    std::vector<Picture> chosen;
    for (size_t k = 0; k < count; ++k) chosen.push_back(small[k * small.size() / count]);
    writeJpeg((folder / "gallery.jpg").string(),
              collageOf(chosen, static_cast<int>(std::min(columns, count))), 85);
    const fs::path index = folder / "index.html";
    std::ofstream file(index, std::ios::binary);
    file << htmlOf(page);
    file.close();
    if (!file) throw std::runtime_error(index.string() + ": can't be written");
}

bool Gallery::make() {
    inputs = std::make_unique<Inputs>(readPicture(path));
    fs::create_directories(folder);
    const std::vector<Entry> entries = entriesFor(*inputs);

    const DaxLibVersion* const version = daxGetLibVersion();
    Page page = {};
    page.library = std::string("daxlib ") + version->versionText + " " + version->versionStamp;
    page.picture = fs::path(path).filename().string() + ", " + makeText(inputs->picture);
    std::vector<std::string> failures;
    {
        Progress progress(entries.size());
        for (const Entry& entry : entries) {
            progress.next(entry.operation + ", " + entry.title);
            page.cards.push_back(show(entry, page.cards.size() + 1));
            const Card& card = page.cards.back();
            failures.insert(failures.end(), card.failures.begin(), card.failures.end());
        }
    }
    page.refusal = refuse();
    if (page.refusal.reports.empty()) failures.push_back("not refused: " + page.refusal.call);
    if (!page.refusal.resultUntouched)
        failures.push_back("refused, but the result is written: " + page.refusal.call);
    write(page);
    for (const std::string& line : failures) std::fprintf(stderr, "gallery: %s\n", line.c_str());
    std::printf("%zu results in %s\n", page.cards.size(), (folder / "index.html").c_str());
    return failures.empty();
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 3 || (argc > 1 && argv[1][0] == '-')) {
        std::fputs("usage: gallery [picture [folder]]\n", stderr);
        return 1;
    }
    daxSetErrMode(DAX_ErrModeParent);
    daxRedirectError(keepReport);
    try {
        return Gallery(argc > 1 ? argv[1] : demoPicture, argc > 2 ? argv[2] : demoFolder).make()
                   ? 0
                   : 1;
    } catch (const std::bad_alloc&) {
        std::fputs("gallery: not enough memory\n", stderr);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "gallery: %s\n", failure.what());
    }
    return 1;
}
