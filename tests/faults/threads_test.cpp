// Eight threads in the finished DLL at once, each on pictures and files of its own: every result and every
// output is what one thread alone gets.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "orn32.h"
#include "tests/faults/calls.h"
#include "tests/support/random.h"

using namespace faults;

namespace {

constexpr int threadCount = 8;
constexpr auto duration = std::chrono::seconds(10);

std::string folder(int thread) {
    char path[MAX_PATH];
    GetTempPathA(MAX_PATH, path);
    return path + std::string("orn32-threads-") + std::to_string(GetCurrentProcessId()) + "-" +
           std::to_string(thread);
}

struct Expected {
    int result;
    unsigned output;
};

struct Worker {
    std::vector<Call> calls;
    std::vector<Expected> expected;
    long done = 0;
    std::string wrong;

    void run(unsigned seed) {
        test::Random random(seed);
        const auto end = std::chrono::steady_clock::now() + duration;
        while (wrong.empty() && std::chrono::steady_clock::now() < end) {
            const std::size_t which = random.below(static_cast<std::uint32_t>(calls.size()));
            const int result = calls[which].run();
            if (result != expected[which].result)
                wrong = calls[which].name + " returns " + std::to_string(result) + " instead of " +
                        std::to_string(expected[which].result);
            else if (calls[which].output() != expected[which].output)
                wrong = calls[which].name + " gives another output";
            done++;
        }
    }
};

}  // namespace

TEST(Threads, EightAtOnceGetWhatEachGetsAlone) {
    std::vector<Worker> workers(threadCount);
    for (int i = 0; i < threadCount; i++) {
        workers[static_cast<std::size_t>(i)].calls = makeCalls(folder(i));
        std::erase_if(workers[static_cast<std::size_t>(i)].calls,
                      [](const Call& call) { return call.name == "InitializeLibrary"; });  // before threads
        for (const Call& call : workers[static_cast<std::size_t>(i)].calls) {
            const int result = call.run();
            workers[static_cast<std::size_t>(i)].expected.push_back({result, call.output()});
        }
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; i++)
        threads.emplace_back(
            [&workers, i] { workers[static_cast<std::size_t>(i)].run(static_cast<unsigned>(i)); });
    for (auto& thread : threads) thread.join();
    long done = 0;
    for (int i = 0; i < threadCount; i++) {
        EXPECT_EQ(workers[static_cast<std::size_t>(i)].wrong, "");
        done += workers[static_cast<std::size_t>(i)].done;
        workers[static_cast<std::size_t>(i)].calls.clear();
        std::filesystem::remove_all(folder(i));
    }
    std::printf("%ld calls\n", done);
    EXPECT_GT(done, threadCount);
}
