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

// Allocates, marks and releases blocks about the sizes that are kept; returns how many had lost their mark,
// or were given uncleared by an entry that clears.
int faultsAmongRandomBlocks(std::uint32_t seed) {
    struct Block {
        std::uint8_t* data;
        std::size_t size;
        std::uint8_t mark;
        bool isMarked() const {
            return std::count(data, data + size, mark) == static_cast<std::ptrdiff_t>(size);
        }
    };
    Random random(seed);
    std::vector<Block> alive;
    int faults = 0;
    for (int step = 0; step < 1500; step++) {
        if (alive.size() < 12 && !random.oneIn(3)) {
            const bool cleared = random.oneIn(2);
            Block block = {nullptr, 1 + random.below(1u << (10 + random.below(12))), 0};
            block.data = static_cast<std::uint8_t*>(
                allocateWork(cleared ? MemoryEntry::counted : MemoryEntry::first, block.size, 1));
            if (!block.data) return -1;
            if (cleared) faults += !block.isMarked();
            block.mark = random.byte();
            std::fill_n(block.data, block.size, block.mark);
            alive.push_back(block);
        } else if (!alive.empty()) {
            std::swap(alive.back(), alive[random.below(static_cast<std::uint32_t>(alive.size()))]);
            faults += !alive.back().isMarked();
            releaseWork(alive.back().data);
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
    for (const UINT size : {1u << 20, 1u << 19}) {
        KeptBlocks blocks;
        EXPECT_EQ(blocks.take(size), nullptr);
        std::vector<void*> kept, given;
        for (UINT i = 0; i < (16u << 20) / size; i++) {
            kept.push_back(std::malloc(size));
            EXPECT_TRUE(blocks.keep(kept.back())) << i;
        }
        void* tooMany = std::malloc(size);
        EXPECT_FALSE(blocks.keep(tooMany));
        for (std::size_t i = 0; i < kept.size(); i++) given.push_back(blocks.take(size));
        std::reverse(given.begin(), given.end());
        EXPECT_EQ(given, kept);
        EXPECT_EQ(blocks.take(size), nullptr);
        EXPECT_TRUE(blocks.keep(tooMany));
        for (void* block : kept) std::free(block);
    }
    void* small = std::malloc(100);
    EXPECT_FALSE(KeptBlocks().keep(small));
    std::free(small);
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
