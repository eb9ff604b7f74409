// Adds and copies pictures that needn't fit memory: tiled TIFF files behind tiled images of the
// library.

#include "common/image.h"
#include "common/picture.h"
#include "tiles.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr const char* help =
    "tiled_tiff copy IN.tif OUT.tif\n"
    "tiled_tiff add A.tif B.tif OUT.tif\n"
    "tiled_tiff make PICTURE OUT.tif [SIZE]   from a PNG or JPEG, repeated and mirrored (8192)\n"
    "tiled_tiff demo PICTURE [FOLDER [SIZE]]  makes two such files, adds them and copies one\n"
    "                                         (build/demo)\n"
    "Options: --cache MB  tiles in memory (16); --keep  the demo leaves its files\n";

constexpr int32_t tileSize = 256;

struct Options {
    size_t cacheBytes = 16'000'000;
    bool keep = false;
};

// The library tells of failures through a reporter; the first line is what counts.
std::string firstReport;

DaxStatus keepReport(DaxStatus status, const char* funcName, const char* context, const char*,
                     int32_t) {
    if (!firstReport.empty()) return status;
    firstReport = std::string(funcName) + ": " + context;
    firstReport.erase(std::min(firstReport.find('\n'), firstReport.size()));
    firstReport.erase(firstReport.find_last_not_of(' ') + 1);
    return status;
}

// Carries an operation on tiled images out, or throws what went wrong.
template <class Operation>
void carryOut(std::initializer_list<TiledImage*> images, Operation operation) {
    firstReport.clear();
    daxSetErrStatus(DAX_StatusNoError);
    operation();
    for (TiledImage* image : images) image->rethrow();
    if (daxGetErrStatus() < 0) throw std::runtime_error(firstReport);
}

// A line on a terminal that tells how far an operation has come.
class Progress {
public:
    Progress(const std::string& theName, size_t steps)
        : name(theName), total(std::max<size_t>(steps, 1)), shows(isatty(STDERR_FILENO) != 0) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (shows) std::fputs("\r\33[K", stderr);
    }

    void step() {
        const auto percent = static_cast<int>(std::min(++done, total) * 100 / total);
        if (!shows || percent == shown) return;
        shown = percent;
        std::fprintf(stderr, "\r%s: %d %%", name.c_str(), percent);
    }

    void finish(const Layout& layout, const std::string& what) const {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        std::printf("%s%s: %s, %s, %zu tiles, %.0f MB in %.1f s\n", shows ? "\r\33[K" : "",
                    name.c_str(), what.c_str(), layout.text().c_str(), layout.tiles(),
                    layout.megabytes(), took.count());
        std::fflush(stdout);
    }

private:
    std::string name;
    size_t total;
    size_t done = 0;
    int shown = -1;
    bool shows;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

double peakMegabytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
}

void add(const std::string& pathA, const std::string& pathB, const std::string& out,
         const Options& options) {
    TiffFile a(pathA);
    TiffFile b(pathB);
    const Layout& x = a.layout();
    const Layout& y = b.layout();
    if (x.width != y.width || x.height != y.height || x.channels != y.channels ||
        x.depth != y.depth || x.order != y.order)
        throw std::runtime_error(pathB + ": " + y.text() +
                                 (x.text() != y.text() ? "" : ", in another data order") +
                                 ", does not fit " + pathA + ": " + x.text());
    TiffFile sum(out, x, &a);
    TileCache cache(options.cacheBytes);
    TiledImage srcImageA(cache, a);
    TiledImage srcImageB(cache, b);
    TiledImage dstImage(cache, sum);
    Progress progress(out, x.tiles());
    dstImage.onWritten = [&] { progress.step(); };
    carryOut({&srcImageA, &srcImageB, &dstImage},
             [&] { daxAdd(srcImageA, srcImageB, dstImage, nullptr); });
    cache.flush(sum);
    sum.finish();
    progress.finish(x, "the sum");
}

void copy(const std::string& in, const std::string& out, const Options& options) {
    TiffFile from(in);
    TiffFile to(out, from.layout(), &from);
    TileCache cache(options.cacheBytes);
    TiledImage srcImage(cache, from);
    TiledImage dstImage(cache, to);
    Progress progress(out, to.layout().tiles());
    dstImage.onWritten = [&] { progress.step(); };
    carryOut({&srcImage, &dstImage}, [&] { daxCopy(srcImage, dstImage, nullptr); });
    cache.flush(to);
    to.finish();
    progress.finish(to.layout(), "the copy");
}

// The place in a picture that stands at a place of the endless plane of it and its mirror images.
int32_t mirrored(int32_t at, int32_t n) {
    at %= 2 * n;
    return at < n ? at : 2 * n - 1 - at;
}

// Some rows of that plane, as a plain image.
Image bandOf(const Picture& picture, int32_t first, int32_t rows, int32_t width, bool upsideDown) {
    Image image = makeImage({width, rows, picture.channels});
    for (int32_t y = 0; y < rows; ++y) {
        const int32_t row = mirrored(first + y, picture.height);
        const uint8_t* const from = picture.row(upsideDown ? picture.height - 1 - row : row);
        auto* const to = static_cast<uint8_t*>(image->imageData) + ptrdiff_t{y} * image->widthStep;
        for (int32_t x = 0; x < width; ++x)
            std::copy_n(from + mirrored(x, picture.width) * picture.channels, picture.channels,
                        to + x * picture.channels);
    }
    return image;
}

// Lays a picture side by side with its mirror images over a large one, by copies of plain images to
// regions of the tiled one. Each row of tiles is finished before the next one is begun.
void make(const std::string& picturePath, const std::string& out, int32_t size, bool upsideDown,
          const Options& options) {
    const Picture picture = readPicture(picturePath);
    const Layout layout = {size,         size,          tileSize, tileSize, picture.channels,
                           DAX_DEPTH_8U, DAX_DATA_PIXEL};
    TiffFile file(out, layout);
    TileCache cache(options.cacheBytes);
    TiledImage dstImage(cache, file);
    Progress progress(out, static_cast<size_t>(layout.rows()));
    const int32_t period = 2 * picture.width * std::max(tileSize / (2 * picture.width), 1);
    for (int32_t y = 0; y < size; y += tileSize) {
        const int32_t rows = std::min(tileSize, size - y);
        const Image band = bandOf(picture, y, rows, std::min(period, size), upsideDown);
        for (int32_t x = 0; x < size; x += period) {
            dstImage.region(x, y, std::min(period, size - x), rows);
            carryOut({&dstImage}, [&] { daxCopy(band.get(), dstImage, nullptr); });
        }
        progress.step();
    }
    cache.flush(file);
    file.finish();
    progress.finish(layout, "made");
}

// The same operations on plain images, for some tiles of the files.
size_t checkedTiles(TiffFile& a, TiffFile& b, TiffFile& sum, TiffFile& copied) {
    const Layout& layout = sum.layout();
    const Make plain = {layout.tileWidth, layout.tileHeight, layout.channels};
    const Image srcImageA = makeImage(plain);
    const Image srcImageB = makeImage(plain);
    const Image dstImage = makeImage(plain);
    std::vector<uint8_t> expected(layout.tileBytes());
    const auto data = [](const Image& image) { return static_cast<uint8_t*>(image->imageData); };
    const size_t step = std::max<size_t>(layout.tiles() / 50, 1) | 1;
    size_t count = 0;
    for (size_t at = 0; at < layout.tiles(); at += step, ++count) {
        const auto col = static_cast<int32_t>(at % static_cast<size_t>(layout.cols()));
        const auto row = static_cast<int32_t>(at / static_cast<size_t>(layout.cols()));
        a.read(col, row, data(srcImageA));
        b.read(col, row, data(srcImageB));
        daxAdd(srcImageA.get(), srcImageB.get(), dstImage.get(), nullptr);
        sum.read(col, row, expected.data());
        if (std::memcmp(data(dstImage), expected.data(), expected.size()) != 0)
            throw std::runtime_error(sum.name() + ": not the sum of the two pictures");
        copied.read(col, row, expected.data());
        if (std::memcmp(data(srcImageA), expected.data(), expected.size()) != 0)
            throw std::runtime_error(copied.name() + ": not a copy");
    }
    return count;
}

void demo(const std::string& picture, const std::string& folder, int32_t size,
          const Options& options) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw std::runtime_error(folder + ": " + error.message());
    struct Files {
        std::string folder;
        bool keep;
        std::string a = folder + "/a.tif", b = folder + "/b.tif", sum = folder + "/sum.tif",
                    copied = folder + "/copy.tif";
        ~Files() {
            std::error_code ignored;
            if (keep) return;
            for (const std::string& path : {a, b, sum, copied})
                std::filesystem::remove(path, ignored);
        }
    } const files{folder, options.keep};

    make(picture, files.a, size, false, options);
    make(picture, files.b, size, true, options);
    add(files.a, files.b, files.sum, options);
    copy(files.a, files.copied, options);
    TiffFile a(files.a);
    TiffFile b(files.b);
    TiffFile sum(files.sum);
    TiffFile copied(files.copied);
    std::printf("%zu tiles of the sum and of the copy equal those of plain images\n",
                checkedTiles(a, b, sum, copied));
    std::printf("peak memory %.0f MB, %.0f MB of it for tiles; each picture has %.0f MB\n",
                peakMegabytes(), static_cast<double>(options.cacheBytes) / 1e6,
                a.layout().megabytes());
}

int32_t number(const std::string& text, const char* what, int32_t most) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > most)
        throw std::runtime_error(text + ": not " + what + " (1 to " + std::to_string(most) + ")");
    return static_cast<int32_t>(value);
}

void run(std::vector<std::string> words) {
    Options options;
    for (size_t i = 0; i < words.size();) {
        const auto at = words.begin() + static_cast<ptrdiff_t>(i);
        if (words[i] == "--keep") {
            options.keep = true;
            words.erase(at);
        } else if (words[i] == "--cache" && i + 1 < words.size()) {
            options.cacheBytes =
                size_t{1'000'000} *
                static_cast<size_t>(number(words[i + 1], "a number of megabytes", 1'000'000));
            words.erase(at, at + 2);
        } else {
            ++i;
        }
    }
    const size_t count = words.size();
    const std::string command = count > 0 ? words[0] : "";
    const auto size = [&](size_t index) {
        return index < count ? number(words[index], "a size in pixels", 1'000'000) : 8192;
    };
    if (command == "copy" && count == 3)
        copy(words[1], words[2], options);
    else if (command == "add" && count == 4)
        add(words[1], words[2], words[3], options);
    else if (command == "make" && (count == 3 || count == 4))
        make(words[1], words[2], size(3), false, options);
    else if (command == "demo" && count >= 2 && count <= 4)
        demo(words[1], count > 2 ? words[2] : "build/demo", size(3), options);
    else
        throw std::invalid_argument(help);
}

} // namespace

int main(int count, char** words) {
#ifdef M_MMAP_THRESHOLD
    // What is freed goes back to the system at once, so that the peak is what was in use.
    mallopt(M_MMAP_THRESHOLD, 1 << 16);
#endif
    daxRedirectError(keepReport);
    daxSetErrMode(DAX_ErrModeParent);
    try {
        run({words + 1, words + count});
        return 0;
    } catch (const std::invalid_argument& error) {
        std::fputs(error.what(), stderr);
    } catch (const std::bad_alloc&) {
        std::fputs("tiled_tiff: out of memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tiled_tiff: %s\n", error.what());
    }
    return 1;
}
