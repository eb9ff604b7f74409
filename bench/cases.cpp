#include "cases.h"

#include "memory.h"
#include "table.h"
#include "yardstick.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace bench {

namespace {

// Times below this are taken several to a reading of the clock.
constexpr double leastReading = 10e-6;

int failureCount = 0;

std::vector<Case>& caseList() {
    static std::vector<Case> list;
    return list;
}

int bits(int32_t depth) { return depth & DAX_DEPTH_MASK; }

void fail(benchmark::State& state, const std::string& why) {
    ++failureCount;
    std::fprintf(stderr, "bench: %s\n", why.c_str());
    state.SkipWithError(why.c_str());
}

// Calls the task as often as Google Benchmark wants and returns the median time of one call.
double timed(benchmark::State& state, const Task& task) {
    const double begin = now();
    task();
    const double once = std::max(now() - begin, 1e-9);
    const auto batch = static_cast<benchmark::IterationCount>(std::ceil(leastReading / once));
    std::vector<double> times;
    while (state.KeepRunningBatch(batch)) {
        const double start = now();
        for (benchmark::IterationCount k = 0; k < batch; ++k) task();
        times.push_back((now() - start) / static_cast<double>(batch));
    }
    return median(times);
}

bool reported(benchmark::State& state) {
    if (daxGetErrStatus() == DAX_StatusNoError) return false;
    fail(state, std::string("the library reports: ") + daxErrorStr(daxGetErrStatus()));
    daxSetErrStatus(DAX_StatusNoError);
    return true;
}

void runCase(benchmark::State& state, const Case& one, int side) {
    Images images(one.images, side);
    const Task task = one.prepare(images);
    task();
    if (reported(state)) return;
    const double seconds = timed(state, task);
    if (reported(state)) return;

    auto& counters = state.counters;
    counters[counter::seconds] = seconds;
    if (one.tiles > 0) {
        counters[counter::tile] = seconds * 1e6 / one.tiles;
        return;
    }
    double moved = 0;
    for (const Use& use : one.images)
        moved += static_cast<double>(use.form.bytes(side)) * (use.isRead + use.isWritten);
    const Form& last = one.images.back().form;
    const Yardstick limit = yardstick(one.images, side);
    counters[counter::pixel] = seconds * 1e9 / last.side(side) / last.side(side);
    counters[counter::sample] = seconds * 1e9 / last.samples(side);
    counters[counter::bytes] = moved / seconds;
    counters[counter::stream] = limit.stream / seconds;
    counters[counter::copy] = limit.copy / seconds;
}

// What the task leaves in the last image.
std::vector<char> resultOf(const Task& task, Images& images, size_t last, size_t bytes) {
    std::memset(images.data(last), 0x33, bytes);
    task();
    const char* const start = images.data<char>(last);
    return {start, start + bytes};
}

bool agree(const Case& one, const Peer& peer, int side) {
    Images images(one.images, side);
    const size_t last = one.images.size() - 1;
    const size_t bytes = one.images[last].form.bytes(side);
    const Task ours = one.prepare(images);
    const Task theirs = peer.prepare(images);
    return resultOf(ours, images, last, bytes) == resultOf(theirs, images, last, bytes);
}

void runPeer(benchmark::State& state, const Case& one, const Peer& peer, int side) {
    static std::map<const Peer*, bool> sound;
    const auto known = sound.find(&peer);
    const bool right =
        known != sound.end() ? known->second : !peer.agrees || agree(one, peer, side);
    sound[&peer] = right;
    if (!right) return fail(state, peer.name + " gives another result than " + one.operation);
    Images images(one.images, side);
    state.counters[counter::seconds] = timed(state, peer.prepare(images));
}

} // namespace

size_t Form::bytes(int base) const {
    const auto wide = static_cast<size_t>(side(base));
    const size_t moved = coi != 0 && order == DAX_DATA_PLANE ? 1 : static_cast<size_t>(channels);
    return wide * wide * moved * static_cast<size_t>(bits(depth)) / 8;
}

double Form::samples(int base) const {
    return static_cast<double>(side(base)) * side(base) * (coi == 0 ? channels : 1);
}

std::string Form::label() const {
    std::string text = std::to_string(bits(depth)) + (depth < 0 ? "S" : "U");
    if (channels > 1) text.append("x").append(std::to_string(channels));
    if (order == DAX_DATA_PLANE) text += "-plane";
    if (coi != 0) text += "-coi";
    return text;
}

std::vector<Form> plainForms() {
    std::vector<Form> forms;
    for (const int32_t depth :
         {DAX_DEPTH_1U, DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S})
        forms.push_back({.depth = depth});
    return forms;
}

std::vector<Form> stridedForms() {
    std::vector<Form> forms;
    for (const int32_t depth :
         {DAX_DEPTH_8U, DAX_DEPTH_8S, DAX_DEPTH_16U, DAX_DEPTH_16S, DAX_DEPTH_32S})
        forms.push_back({.depth = depth, .channels = 3, .coi = 2});
    return forms;
}

Images::Images(const std::vector<Use>& uses, int side) {
    for (const Use& use : uses) {
        const Form& form = use.form;
        const int wide = form.side(side);
        DaxROI* roi = form.coi != 0 ? daxCreateROI(form.coi, 0, 0, wide, wide) : nullptr;
        DaxImage* const header =
            daxCreateImageHeader(form.channels, 0, form.depth, "RGB", "RGB", form.order,
                                 DAX_ORIGIN_TOP_LEFT, 8, wide, wide, roi, 0, nullptr);
        if (header == nullptr) {
            std::fputs("bench: can't make an image header\n", stderr);
            std::exit(1);
        }
        const size_t slot = headers.size();
        const auto size = static_cast<size_t>(header->dataSize);
        // A block that is written loses its noise when the next case asks for it.
        if (use.isRead) header->imageData = noise(slot, size);
        if (use.isWritten) header->imageData = block(slot, size);
        headers.push_back(header);
    }
}

Images::~Images() {
    for (DaxImage* header : headers) daxDeallocate(header, DAX_IMAGE_HEADER | DAX_IMAGE_ROI);
}

void add(Case one) {
    if (one.variant.empty() && !one.images.empty()) one.variant = one.images.back().form.label();
    caseList().push_back(std::move(one));
}

const std::vector<Case>& allCases() { return caseList(); }

std::string nameOf(const Case& one, int side) {
    return one.operation + "/" + one.variant + "/" + std::to_string(side);
}

void registerAll() {
    for (const Case& one : allCases())
        for (const int side : one.sides) {
            const std::string name = nameOf(one, side);
            // Some peers work in threads of their own, so the processor time of this one says
            // nothing.
            for (const Peer& peer : one.peers)
                benchmark::RegisterBenchmark((name + "/" + peer.name).c_str(),
                                             [&one, &peer, side](benchmark::State& state) {
                                                 runPeer(state, one, peer, side);
                                             })
                    ->UseRealTime();
            benchmark::RegisterBenchmark(
                name.c_str(), [&one, side](benchmark::State& state) { runCase(state, one, side); });
        }
}

int failures() { return failureCount; }

} // namespace bench
