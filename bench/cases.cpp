#include "cases.h"

#include "clock.h"
#include "memory.h"
#include "table.h"
#include "yardstick.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace bench {

namespace {

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

// One iteration takes longer than what main() tells Google Benchmark to be satisfied with.
void take(benchmark::State& state, Turns& turns) {
    while (state.KeepRunning()) turns.run();
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

    auto& counters = state.counters;
    if (one.tiles > 0) {
        Turns turns({task});
        take(state, turns);
        counters[counter::tile] = turns.seconds(0) * 1e6 / one.tiles;
        return;
    }
    const Yardstick limit = yardstickFor(one.images, side);
    Turns turns({task, limit.stream, limit.copy});
    take(state, turns);
    if (reported(state)) return;
    double moved = 0;
    for (const Use& use : one.images)
        moved += static_cast<double>(use.form.bytes(side)) * (use.isRead + use.isWritten);
    const Form& last = one.images.back().form;
    const double seconds = turns.seconds(0);
    counters[counter::pixel] = seconds * 1e9 / last.side(side) / last.side(side);
    counters[counter::sample] = seconds * 1e9 / last.samples(side);
    counters[counter::bytes] = moved / seconds;
    counters[counter::stream] = turns.seconds(1) / seconds;
    counters[counter::copy] = turns.seconds(2) / seconds;
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
    Turns turns({peer.prepare(images), one.prepare(images)});
    take(state, turns);
    state.counters[counter::peer] = turns.seconds(0) / turns.seconds(1);
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
    for (const int32_t depth : {u1, u8, s8, u16, s16, s32}) forms.push_back({.depth = depth});
    return forms;
}

std::vector<Form> stridedForms() {
    std::vector<Form> forms;
    for (const int32_t depth : {u8, s8, u16, s16, s32})
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
            for (const Peer& peer : one.peers)
                benchmark::RegisterBenchmark((name + "/" + peer.name).c_str(),
                                             [&one, &peer, side](benchmark::State& state) {
                                                 runPeer(state, one, peer, side);
                                             })
                    ->MeasureProcessCPUTime();
            benchmark::RegisterBenchmark(
                name.c_str(), [&one, side](benchmark::State& state) { runCase(state, one, side); });
        }
}

int failures() { return failureCount; }

} // namespace bench
