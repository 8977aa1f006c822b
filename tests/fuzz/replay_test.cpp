// The fuzz targets over their seeds, the corpus, and a bounded number of changes to both, the same ones every
// time: so that no target goes out of use unnoticed, and so that the real system sees what the fuzzers'
// native build does. No working memory may be left over, nor, in the rounds that guard it, be overrun.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <optional>

#include "tests/fuzz/seeds.h"
#include "tests/support/memory_watch.h"
#include "tests/support/random.h"

// The build gives each target's entry a name of its own.
using Target = int(const std::uint8_t* data, std::size_t size);
extern "C" Target replay_bmp, replay_gif, replay_gifcodec, replay_jpeg, replay_png, replay_save;

using namespace test;

namespace {

constexpr std::size_t largest = 16384;  // bytes of an input, as in ./fuzz

struct Entry {
    const char* name;
    Target* run;
    int changes;  // tried
};
constexpr Entry entries[] = {{"bmp", replay_bmp, 2000},           {"gif", replay_gif, 2000},
                             {"gifcodec", replay_gifcodec, 1500}, {"jpeg", replay_jpeg, 10000},
                             {"png", replay_png, 2000},           {"save", replay_save, 1500}};

// What is being tried, for the message when a target gives up the program.
const char* currentTarget;
std::size_t currentSeed;
int currentChange;  // 0: the seed itself

void tellInput(int signal) {
    std::fprintf(stderr, "%s: seed %zu, change %d\n", currentTarget, currentSeed, currentChange);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// One change: bytes overwritten, a bit flipped, a piece left out, doubled or taken from another file, the end
// cut.
void change(Bytes& file, const Bytes& other, Random& random) {
    static constexpr std::uint8_t marks[] = {0,    1,    0x7F, 0x80, 0xFE,
                                             0xFF, 0x21, 0x2C, 0x3B, 0xF9};  // borders, GIF's blocks
    if (file.empty()) return;
    const std::uint32_t size = static_cast<std::uint32_t>(file.size()), at = random.below(size);
    const std::uint32_t length = random.oneIn(2) ? 1 : 1 + random.below(std::min(size - at, 64u));
    const auto from = file.begin() + at, to = from + length;
    const Bytes piece(from, to);
    const auto kind = random.below(7);
    if (kind == 0) std::fill_n(from, std::min(length, 4u), marks[random.below(sizeof marks)]);
    if (kind == 1) *from = random.byte();
    if (kind == 2) *from ^= static_cast<std::uint8_t>(1 << random.below(8));
    if (kind == 3) file.erase(from, to);
    if (kind == 4) file.insert(file.begin() + random.below(size), piece.begin(), piece.end());
    if (kind == 5) std::copy_n(other.begin(), std::min<std::size_t>(length, other.size()), from);
    if (kind == 6) file.resize(at);
}

class Replay : public testing::TestWithParam<Entry> {};

}  // namespace

TEST_P(Replay, TheTargetHoldsOverItsSeedsAndChangesOfThem) {
    const auto [name, run, changes] = GetParam();
    std::vector<Bytes> inputs = fuzz::makeSeeds()[name];
    ASSERT_GT(inputs.size(), 4u);
    for (const std::string& file : corpusFiles(name, std::string(".") + name))
        inputs.push_back(readFile(file));
    currentTarget = name;
    for (const int signal : {SIGABRT, SIGSEGV}) std::signal(signal, tellInput);
    currentChange = 0;
    for (currentSeed = 0; currentSeed < inputs.size(); currentSeed++)
        run(inputs[currentSeed].data(), inputs[currentSeed].size());
    Random random(8);
    for (currentChange = 1; currentChange <= changes; currentChange++) {
        currentSeed = random.below(static_cast<std::uint32_t>(inputs.size()));
        Bytes file = inputs[currentSeed];
        for (std::uint32_t n = 1 + random.below(4); n > 0; n--)
            change(file, inputs[random.below(static_cast<std::uint32_t>(inputs.size()))], random);
        file.resize(std::min(file.size(), largest));
        file = file + random.bytes(4);     // that the details of what is asked come from
        std::optional<MemoryWatch> watch;  // takes its time, and hands out no global memory
        if (currentChange % 8 == 0 && run != replay_save) watch.emplace();
        run(file.data(), file.size());
        ASSERT_TRUE(!watch || watch->live() == 0) << "seed " << currentSeed << ", change " << currentChange;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, Replay, testing::ValuesIn(entries),
                         [](const auto& parameter) { return std::string(parameter.param.name); });
