// A fuzz target: the first byte of the data chooses a scenario, and the rest is its numbers. What
// is looked for are accesses outside of the caller's blocks, undefined behaviour, and tile requests
// that break the rules of the tile access function.

#include "everything/scene.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const std::vector<const everything::Scenario*>& chosen() {
    static const std::vector<const everything::Scenario*> list = [] {
        std::vector<const everything::Scenario*> found;
        for (const everything::Scenario& scenario : everything::scenarios())
            if (strstr(DAX_FOLDERS, scenario.folder) != nullptr) found.push_back(&scenario);
        return found;
    }();
    return list;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    everything::quietPlatform();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const everything::Scenario& scenario = *chosen()[data[0] % chosen().size()];
    kit::Random random(data + 1, size - 1);
    everything::play(scenario, random, {.hostile = true});
    if (testing::Test::HasFailure()) {
        fprintf(stderr, "in a scene of %s\n", scenario.names);
        abort();
    }
    return 0;
}
