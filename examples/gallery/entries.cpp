#include "entries.h"

#include <utility>

namespace {

using Run = void (*)(const Images& images);

class List {
public:
    explicit List(const Inputs& inputs) : in(inputs) {}

    std::vector<Entry> entries;

    // An operation on two images, in all the forms that they come in. `rest` is what stands in the
    // call after the result.
    void pair(const char* function, const char* rest, Run run, DaxImage* with, DaxImage* with16) {
        const auto put = [&](const char* title, DaxImage* a, DaxImage* b,
                             std::optional<DaxROI> roi = {}) {
            const std::string call = std::string(function) + "(" + in.describe(a).name + ", " +
                                     in.describe(b).name + ", result, " + rest + ")";
            entries.push_back({function, title, call, {a, b}, run, roi});
        };
        put("8 bits", in.picture, with);
        put("16 bits", in.picture16, with16);
        put("8 bits, the middle only", in.picture, with, middle(0));
        put("8 bits, the red channel only", in.picture, with, whole(1));
        put("1 bit", in.bits, in.shiftedBits);
    }

private:
    const Inputs& in;

    DaxROI whole(int32_t coi) const { return {coi, 0, 0, in.picture->height, in.picture->width}; }
    DaxROI middle(int32_t coi) const {
        const int32_t height = in.picture->height;
        const int32_t width = in.picture->width;
        return {coi, width / 4, height / 4, (height + 1) / 2, (width + 1) / 2};
    }
};

} // namespace

std::vector<Entry> entriesFor(const Inputs& in) {
    List list(in);
    list.pair(
        "daxAdd", "NULL", [](const Images& i) { daxAdd(i[0], i[1], i.result, nullptr); }, in.dimmed,
        in.shifted16);
    list.pair(
        "daxSubtract", "0, NULL",
        [](const Images& i) { daxSubtract(i[0], i[1], i.result, 0, nullptr); }, in.shifted,
        in.dimmed16);
    list.pair(
        "daxSubtract", "1, NULL",
        [](const Images& i) { daxSubtract(i[0], i[1], i.result, 1, nullptr); }, in.shifted,
        in.shifted16);
    list.pair(
        "daxMultiply", "NULL", [](const Images& i) { daxMultiply(i[0], i[1], i.result, nullptr); },
        in.factor, in.factor16);
    return std::move(list.entries);
}

WrongCall wrongCallFor(const Inputs& in) {
    return {"daxAdd(picture, picture16, result, NULL)",
            "Samples of 8 and of 16 bits are never mixed.",
            [&in](DaxImage* result) { daxAdd(in.picture, in.picture16, result, nullptr); }};
}
