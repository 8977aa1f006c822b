// The fuzz targets over their seeds and over a bounded number of changes to them, the same ones every time:
// so that no target goes out of use unnoticed, and so that the real system sees what the fuzzers' native
// build does.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "tests/fuzz/seeds.h"
#include "tests/support/damage.h"

// The build gives each target's entry a name of its own.
using Target = int(const std::uint8_t* data, std::size_t size);
extern "C" Target replay_bmp, replay_gif, replay_gifcodec, replay_jpeg, replay_png, replay_save;

using namespace test;

namespace {

constexpr std::size_t largest = 16384;  // bytes of an input, as in ./fuzz

struct Entry {
    const char* name;
    Target* run;
    int changes;  // tried; the formats' own tests mutate files, too, but JPEG's do not
};
constexpr Entry entries[] = {{"bmp", replay_bmp, 1500},           {"gif", replay_gif, 1500},
                             {"gifcodec", replay_gifcodec, 1500}, {"jpeg", replay_jpeg, 10000},
                             {"png", replay_png, 1500},           {"save", replay_save, 1500}};

// What is being tried, for the message when a target gives up the program.
const char* currentTarget;
std::size_t currentSeed;
int currentChange;  // 0: the seed itself

void tellInput(int signal) {
    std::fprintf(stderr, "%s: seed %zu, change %d\n", currentTarget, currentSeed, currentChange);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

class Replay : public testing::TestWithParam<Entry> {};

}  // namespace

TEST_P(Replay, TheTargetHoldsOverItsSeedsAndChangesOfThem) {
    const auto [name, run, changes] = GetParam();
    const std::vector<Bytes> inputs = fuzz::makeSeeds()[name];
    ASSERT_GT(inputs.size(), 4u);
    currentTarget = name;
    for (const int signal : {SIGABRT, SIGSEGV}) std::signal(signal, tellInput);
    currentChange = 0;
    for (currentSeed = 0; currentSeed < inputs.size(); currentSeed++)
        run(inputs[currentSeed].data(), inputs[currentSeed].size());
    Random random(8);
    for (currentChange = 1; currentChange <= changes; currentChange++) {
        currentSeed = random.below(static_cast<std::uint32_t>(inputs.size()));
        Bytes file = inputs[currentSeed];
        for (int n = random.between(1, 4); n > 0 && !file.empty(); n--) {
            const Bytes& other = inputs[random.below(static_cast<std::uint32_t>(inputs.size()))];
            damage(file, random.below(static_cast<std::uint32_t>(file.size())), random, other);
        }
        if (random.oneIn(6)) file.resize(random.below(static_cast<std::uint32_t>(file.size() + 1)));
        run(file.data(), std::min(file.size(), largest));
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, Replay, testing::ValuesIn(entries),
                         [](const auto& parameter) { return std::string(parameter.param.name); });
