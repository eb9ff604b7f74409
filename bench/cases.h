// How the bench is told what to time. An operation takes a few lines:
//
//     for (const Form& form : plainForms())
//         add({.operation = "daxAdd",
//              .images = {read(form), read(form), write(form)},
//              .prepare = each([](Images& i) { daxAdd(i[0], i[1], i[2], nullptr); })});
//
// The traffic, and with it every ratio, follows from the images. Anything that is to be made before
// the clock runs (kernels, tables, plans) is made in `prepare`, which gives back what is timed.
#ifndef BENCH_CASES_H
#define BENCH_CASES_H

#include "daxlib.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

inline constexpr int32_t u1 = DAX_DEPTH_1U;
inline constexpr int32_t u8 = DAX_DEPTH_8U;
inline constexpr int32_t s8 = DAX_DEPTH_8S;
inline constexpr int32_t u16 = DAX_DEPTH_16U;
inline constexpr int32_t s16 = DAX_DEPTH_16S;
inline constexpr int32_t s32 = DAX_DEPTH_32S;

// The make of an image. Its size is that of the run, times `num` / `den` in both directions.
struct Form {
    int32_t depth = DAX_DEPTH_8U;
    int32_t channels = 1;
    int32_t order = DAX_DATA_PIXEL;
    int32_t coi = 0;
    int num = 1;
    int den = 1;

    int side(int base) const { return base * num / den; }
    // Bytes that an operation has to move. One channel of interleaved ones moves them all, since
    // memory comes in whole cache lines.
    size_t bytes(int base) const;
    double samples(int base) const;
    // "8U", "16Sx3", "8Ux3-plane", "8Ux3-coi"
    std::string label() const;
};

// One channel in each of the six depths; and one channel of three, interleaved, in those that can.
std::vector<Form> plainForms();
std::vector<Form> stridedForms();

struct Use {
    Form form;
    bool isRead;
    bool isWritten;
};
inline Use read(const Form& form) { return {form, true, false}; }
inline Use write(const Form& form) { return {form, false, true}; }
inline Use update(const Form& form) { return {form, true, true}; }

// The images of one run, in the order in which the case names them, over memory that all runs
// share.
class Images {
public:
    Images(const std::vector<Use>& uses, int side);
    ~Images();
    Images(const Images&) = delete;
    Images& operator=(const Images&) = delete;

    size_t count() const { return headers.size(); }
    DaxImage* operator[](size_t index) { return headers[index]; }
    template <class T = unsigned char> T* data(size_t index) {
        return static_cast<T*>(headers[index]->imageData);
    }
    int step(size_t index) const { return headers[index]->widthStep; }
    int width(size_t index) const { return headers[index]->width; }
    int height(size_t index) const { return headers[index]->height; }

private:
    std::vector<DaxImage*> headers;
};

using Task = std::function<void()>;
using Prepare = std::function<Task(Images&)>;

// A task that needs no preparation.
template <class Call> Prepare each(Call call) {
    return [call](Images& images) -> Task { return [call, &images] { call(images); }; };
}

// Another library's way to the same result, on the same images.
struct Peer {
    std::string name;
    Prepare prepare;
    // Whether it leaves the very bytes that the operation leaves in the last image. That is
    // checked.
    bool agrees = true;
    // What a reader has to know of an unlike match.
    std::string note = {};
};

struct Case {
    std::string operation;
    std::vector<Use> images;
    Prepare prepare;
    std::vector<Peer> peers = {};
    // What is timed, where the form of the last image doesn't tell enough.
    std::string variant = {};
    // 512: in cache. 4096: in memory.
    std::vector<int> sides = {512, 4096};
    // A case of the frame: what it takes per tile, of so many tiles, is all that is told.
    int tiles = 0;
};

void add(Case one);
const std::vector<Case>& allCases();

// "daxAdd/8U/512"
std::string nameOf(const Case& one, int side);

// Hands all cases to Google Benchmark. Those of the peers run just ahead of the operation's own.
void registerAll();

// How many cases failed: a report of the library, or a peer that gives another result.
int failures();

// The cases, by subject; each stands in the source of that name.
void addFrame();
void addFilter();
void addGeometry();
void addArithmetic();
void addMoves();
void addConversions();
void addBitmaps();
void addAlpha();
void addColor();
void addRank();
void addTransforms();
void addTone();

} // namespace bench

#endif
