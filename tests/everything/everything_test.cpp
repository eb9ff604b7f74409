// All functions at once: failures of memory and tiles, threads, and the same bits everywhere.
//
// hashes.txt has the hash of what each scenario gives on sound scenes, and where a tile can't be
// had. Where results change on purpose, `test_everything --write-hashes` writes the file anew.

#include "everything/scene.h"
#include "kit/platform.h"

#include <cstring>
#include <fstream>
#include <iomanip>
#include <map>
#include <set>
#include <sstream>
#include <thread>

namespace {

using everything::Outcome;
using everything::play;
using everything::Purpose;
using everything::Scenario;
using everything::scenarios;
using kit::Random;

bool writesHashes = false;
std::map<std::string, uint64_t> written;

const std::string hashFile = DAX_SOURCE_DIR "/tests/everything/hashes.txt";

void addTo(uint64_t& sum, uint64_t hash) { sum = (sum ^ hash) * 0x9E3779B97F4A7C15u; }

void expectListed(const std::map<std::string, uint64_t>& sums) {
    written.insert(sums.begin(), sums.end());
    if (writesHashes) return;
    std::map<std::string, uint64_t> listed;
    std::ifstream in(hashFile);
    for (std::string name, hash; in >> name >> hash;) listed[name] = std::stoull(hash, nullptr, 16);
    for (const auto& [name, sum] : sums) EXPECT_EQ(sum, listed[name]) << name;
}

std::string firstName(const Scenario& scenario) {
    const std::string names = scenario.names;
    return names.substr(0, names.find(' '));
}

// Calls body(scenario, seed) for so many scenes of each scenario, up to the first that fails.
template <class Body> void forScenes(uint64_t count, Body body) {
    const testing::TestResult* const result =
        testing::UnitTest::GetInstance()->current_test_info()->result();
    for (const Scenario& scenario : scenarios()) {
        const int32_t before = result->total_part_count();
        for (uint64_t seed = 1; seed <= count && result->total_part_count() == before; ++seed) {
            body(scenario, seed);
        }
    }
}

Outcome playSeed(const Scenario& scenario, uint64_t seed, const Purpose& purpose = {}) {
    SCOPED_TRACE(firstName(scenario) + ", seed " + std::to_string(seed) + ", tile " +
                 std::to_string(purpose.failRequest));
    Random random(seed);
    return play(scenario, random, purpose);
}

// On a thread of its own, with which what an operation keeps goes.
Outcome playApart(const Scenario& scenario, uint64_t seed, const Purpose& purpose = {}) {
    Outcome outcome;
    std::thread([&] { outcome = playSeed(scenario, seed, purpose); }).join();
    return outcome;
}

// `*` stands for any text.
bool matches(const char* pattern, const char* text) {
    if (*pattern == '*')
        return matches(pattern + 1, text) || (*text != 0 && matches(pattern, text + 1));
    return *pattern == *text && (*text == 0 || matches(pattern + 1, text + 1));
}

// What a failure adds to the reports has to be among those that are promised, and silence, too. A
// scene that is refused in any case may be so for the same reason.
void expectPromised(const Scenario& scenario, const char* promise, const Outcome& sound,
                    const Outcome& failed) {
    std::vector<std::string> promises;
    std::istringstream in(*promise != 0 ? promise : "|");
    bool silent = !sound.reports.empty();
    for (std::string one; std::getline(in, one, '|');) {
        const size_t own = one.find('$');
        if (own != std::string::npos) one.replace(own, 1, firstName(scenario));
        silent = silent || one.empty();
        promises.push_back(one);
    }
    size_t i = 0;
    while (i < failed.reports.size() && i < sound.reports.size() &&
           failed.reports[i] == sound.reports[i])
        ++i;
    EXPECT_TRUE(silent || i < failed.reports.size()) << "no report of the failure";
    for (; i < failed.reports.size(); ++i) {
        bool found = false;
        for (const std::string& one : promises)
            found = found || matches(one.c_str(), failed.reports[i].c_str());
        EXPECT_TRUE(found) << failed.reports[i];
    }
}

TEST(Everything, HasAScenarioForEachExportedName) {
    std::set<std::string> names;
    for (const Scenario& scenario : scenarios()) {
        std::istringstream in(scenario.names);
        for (std::string name; in >> name;) EXPECT_TRUE(names.insert(name).second) << name;
    }
    std::set<std::string> exported;
    std::ifstream in(DAX_SOURCE_DIR "/.ci/exports.txt");
    for (std::string name; in >> name;) exported.insert(name);
    EXPECT_EQ(names, exported);
}

TEST(Everything, WithoutMemory) {
    forScenes(40, [](const Scenario& scenario, uint64_t seed) {
        Outcome sound;
        int32_t requests = 0;
        {
            kit::StandIn platform;
            sound = playApart(scenario, seed);
            requests = platform.requests;
            ASSERT_EQ(platform.live(), 0u);
        }
        // Scenes with many tiles ask again and again for the same.
        const int32_t stride = requests / 30 + 1;
        for (int32_t n = 1; n <= requests; n += n < 10 ? 1 : stride) {
            SCOPED_TRACE(firstName(scenario) + ", seed " + std::to_string(seed) +
                         ", failing request " + std::to_string(n));
            kit::StandIn platform;
            platform.failRequest = n;
            const Outcome failed = playApart(scenario, seed);
            EXPECT_LE(platform.live(), scenario.leaves);
            expectPromised(scenario, scenario.noMemory, sound, failed);
            if (scenario.partly) continue;
            ASSERT_EQ(failed.changes.size(), sound.changes.size());
            for (size_t i = 0; i < failed.changes.size(); ++i)
                EXPECT_TRUE(failed.changes[i].after == sound.changes[i].before ||
                            failed.changes[i].after == sound.changes[i].after)
                    << "image " << i;
        }
    });
}

TEST(Everything, WithoutTiles) {
    std::map<std::string, uint64_t> sums;
    forScenes(60, [&](const Scenario& scenario, uint64_t seed) {
        kit::StandIn platform;
        const Outcome sound = playApart(scenario, seed);
        const int32_t stride = sound.requests / 30 + 1;
        for (int32_t n = 1; n <= sound.requests; n += n < 10 ? 1 : stride) {
            SCOPED_TRACE(firstName(scenario) + ", seed " + std::to_string(seed) +
                         ", failing tile " + std::to_string(n));
            const Outcome failed = playApart(scenario, seed, {.failRequest = n});
            EXPECT_EQ(platform.live(), 0u);
            expectPromised(scenario, scenario.noTile, sound, failed);
            addTo(sums[firstName(scenario) + "-without-tiles"], failed.hash);
        }
    });
    expectListed(sums);
}

// Sound scenes give on any thread what they give alone; hostile ones just happen beside them.
TEST(Everything, OnFourThreads) {
    constexpr uint64_t scenes = 12;
    std::map<std::pair<const Scenario*, uint64_t>, uint64_t> alone;
    forScenes(scenes, [&](const Scenario& scenario, uint64_t seed) {
        alone[{&scenario, seed}] = playSeed(scenario, seed).hash;
    });
    std::vector<std::thread> threads;
    for (uint64_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (uint64_t i = 0; i < scenes; ++i)
                for (const Scenario& scenario : scenarios()) {
                    const uint64_t seed = (i + thread * 3) % scenes + 1;
                    EXPECT_EQ(playSeed(scenario, seed).hash, alone.at({&scenario, seed}))
                        << firstName(scenario) << ", seed " << seed;
                    playSeed(scenario, seed * 4 + thread, {.hostile = true});
                }
        });
    for (std::thread& thread : threads) thread.join();
}

TEST(Everything, HasTheSameBitsEverywhere) {
    std::map<std::string, uint64_t> sums;
    forScenes(200, [&](const Scenario& scenario, uint64_t seed) {
        uint64_t first = 0;
        kit::forEachIsa([&] {
            // Nothing depends on what memory holds at first.
            kit::StandIn platform;
            platform.junk = static_cast<uint8_t>(0xC7 + 61 * static_cast<int32_t>(ownIsa()));
            const uint64_t hash = playApart(scenario, seed).hash;
            if (ownIsa() == OwnIsa::baseline) first = hash;
            EXPECT_EQ(hash, first) << firstName(scenario) << ", seed " << seed;
        });
        addTo(sums[firstName(scenario)], first);
    });
    expectListed(sums);
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    writesHashes = argc > 1 && strcmp(argv[1], "--write-hashes") == 0;
    everything::quietPlatform();
    const int result = RUN_ALL_TESTS();
    if (!writesHashes) return result;
    std::ofstream out(hashFile);
    out << std::hex << std::setfill('0');
    for (const auto& [name, sum] : written) out << name << ' ' << std::setw(16) << sum << '\n';
    return result;
}
