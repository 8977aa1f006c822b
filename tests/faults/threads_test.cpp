// Eight threads in the finished DLL at once, each on pictures and files of its own: every result and every
// output is what one thread alone gets.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <future>

#include "tests/faults/calls.h"
#include "tests/support/random.h"

using namespace faults;

TEST(Threads, EightAtOnceGetWhatEachGetsAlone) {
    std::array<CallSet, 8> sets;
    std::atomic<int> done = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto work = [&](const CallSet& set, unsigned seed) {
        test::Random random(seed);
        std::string wrong;
        for (; wrong.empty() && std::chrono::steady_clock::now() < end; done++) {
            const Call& call = set.calls[random.below(static_cast<unsigned>(set.calls.size()))];
            if (call.exportName() != "InitializeLibrary") wrong = call.deviation();  // else before threads
        }
        return wrong;
    };
    std::vector<std::future<std::string>> threads;
    for (const CallSet& set : sets)
        threads.push_back(std::async(std::launch::async, work, std::cref(set), threads.size()));
    for (auto& thread : threads) EXPECT_EQ(thread.get(), "");
    std::printf("%d calls\n", done.load());
    EXPECT_GT(done, 8);
}
