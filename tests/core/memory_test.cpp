#include "core/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#include "core/kept_blocks.h"
#include "orn32.h"
#include "tests/support/random.h"

using namespace orn32;
using namespace test;

namespace {

struct Block {
    std::uint8_t* data;
    std::size_t size;
    std::uint8_t mark;
};

// Allocates, marks and releases blocks about the sizes that are kept; returns how many had lost their mark,
// or were given uncleared by an entry that clears.
int faultsAmongRandomBlocks(std::uint32_t seed) {
    Random random(seed);
    std::vector<Block> alive;
    int faults = 0;
    for (int step = 0; step < 1500; step++) {
        if (alive.size() < 12 && !random.oneIn(3)) {
            const std::size_t size = 1 + random.below(1u << (10 + random.below(12)));
            const bool cleared = random.oneIn(2);
            auto* p = static_cast<std::uint8_t*>(
                allocateWork(cleared ? MemoryEntry::counted : MemoryEntry::first, size, 1));
            if (!p) return -1;
            if (cleared) faults += std::any_of(p, p + size, [](std::uint8_t b) { return b != 0; });
            std::fill(p, p + size, random.byte());
            alive.push_back({p, size, p[0]});
        } else if (!alive.empty()) {
            std::swap(alive.back(), alive[random.below(static_cast<std::uint32_t>(alive.size()))]);
            const Block block = alive.back();
            faults += std::any_of(block.data, block.data + block.size,
                                  [&](std::uint8_t b) { return b != block.mark; });
            releaseWork(block.data);
            alive.pop_back();
        }
    }
    for (const Block& block : alive) releaseWork(block.data);
    return faults;
}

}  // namespace

TEST(WorkMemory, BlocksNeverShareBytesAndClearedOnesAreClear) {
    int faults[4] = {};
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 4; i++)
        threads.emplace_back([&faults, i] { faults[i] = faultsAmongRandomBlocks(10 + i); });
    for (std::thread& thread : threads) thread.join();
    for (const int n : faults) EXPECT_EQ(n, 0);
}

TEST(KeptBlocks, ABlockServesOnlyRequestsThatFitIt) {
    Random random(3);
    for (int i = 0; i < 20000; i++) {
        KeptBlocks blocks;
        const UINT kept = static_cast<UINT>(random.between(1 << 15, 1 << 20));
        // Mostly about the same size, where the borders between the lists lie.
        const UINT wanted = random.oneIn(3) ? static_cast<UINT>(random.between(1 << 15, 1 << 20))
                                            : std::clamp(kept + random.below(64) - 32, 1u << 15, 1u << 20);
        void* block = std::malloc(random.oneIn(2) ? kept : KeptBlocks::roundedUp(kept));
        const std::size_t size = _msize(block);
        if (!blocks.keep(block)) {
            EXPECT_GT(size, 1u << 20) << kept;
            std::free(block);
            continue;
        }
        if (void* given = blocks.take(wanted)) {
            EXPECT_EQ(given, block);
            EXPECT_LE(wanted, size) << kept;
            std::free(given);
        } else if (size == KeptBlocks::roundedUp(kept)) {
            EXPECT_NE(KeptBlocks::roundedUp(wanted), size) << "not found again: " << wanted;
        }
    }
}

TEST(KeptBlocks, RoundingUpAddsAQuarterAtMost) {
    for (UINT size = 1 << 15; size <= 1 << 20; size++) {
        const UINT rounded = KeptBlocks::roundedUp(size);
        ASSERT_GE(rounded, size);
        ASSERT_LE(rounded, size + size / 4) << size;
        ASSERT_EQ(KeptBlocks::roundedUp(rounded), rounded) << size;
    }
}

TEST(KeptBlocks, SixteenMegabytesAreKeptAndNoMore) {
    KeptBlocks blocks;
    std::vector<void*> taken;
    for (int i = 0; i < 16; i++) EXPECT_TRUE(blocks.keep(std::malloc(1 << 20))) << i;
    void* tooMany = std::malloc(1 << 20);
    EXPECT_FALSE(blocks.keep(tooMany));
    for (int i = 0; i < 16; i++) taken.push_back(blocks.take(1 << 20));
    EXPECT_EQ(std::count(taken.begin(), taken.end(), nullptr), 0);
    EXPECT_EQ(blocks.take(1 << 20), nullptr);
    EXPECT_TRUE(blocks.keep(tooMany));
    for (void* block : taken) std::free(block);
}

TEST(OutputBlock, BringingItInChangesNothing) {
    for (const std::uint32_t size : {1u, 1u << 20, 9u << 20}) {
        auto* block = static_cast<std::uint8_t*>(allocateBlock(size));
        ASSERT_NE(block, nullptr);
        block[size - 1] = 7;
        bringInBlock(block, size);
        EXPECT_EQ(block[size - 1], 7);
        EXPECT_EQ(std::count(block, block + size, 0), static_cast<std::ptrdiff_t>(size - 1));
        freeBlock(block);
    }
}

// Whoever keeps blocks gives them back at its end: here a leak checker or the debug heap would tell
// otherwise.
TEST(KeptBlocks, GiveOutWhatTheyKeepAndKeepOnlySoMuch) {
    KeptBlocks kept;
    constexpr UINT size = 1u << 19;
    EXPECT_EQ(kept.take(size), nullptr);
    int count = 0;
    void* last = nullptr;
    for (;; count++) {
        void* block = std::malloc(size);
        ASSERT_TRUE(block);
        if (!kept.keep(block)) {
            std::free(block);
            break;
        }
        last = block;
    }
    EXPECT_EQ(count, 32);
    EXPECT_EQ(kept.take(size), last);
    std::free(last);
    void* small = std::malloc(100);
    EXPECT_FALSE(kept.keep(small));
    std::free(small);
}
