#include "tests/support/memory_watch.h"

#include <cstring>

#include "core/memory.h"
#include "orn32.h"
#include "tests/support/guarded.h"

namespace test {
namespace {

constexpr UINT largestBlock = 16 << 20;

int liveBlocks, allocationCount, failingAllocation;
bool failsForGood;

void* take(UINT size, int fill) {
    const int later = ++allocationCount - failingAllocation;
    if (failingAllocation && (later == 0 || (failsForGood && later > 0))) return nullptr;
    // Headers that lie ask for any amount: a modest machine says no, and tests stay fast.
    void* block = size > largestBlock ? nullptr : allocateGuarded(size);
    if (!block) return nullptr;
    liveBlocks++;
    return std::memset(block, fill, size);
}

void* __cdecl alloc(UINT size) {
    return take(size, 0xCD);
}
void* __cdecl calloc(UINT count, UINT size) {
    return take(count * size, 0);
}
void __cdecl release(void* block) {
    if (!block) return;
    liveBlocks--;
    freeGuarded(block);
}

}  // namespace

MemoryWatch::MemoryWatch(int failAt, bool forGood) : failAt_(failAt) {
    liveBlocks = allocationCount = 0;
    failingAllocation = failAt;
    failsForGood = forGood;
    InitializeLibrary(alloc, alloc, calloc, calloc, release);
}

MemoryWatch::~MemoryWatch() {
    InitializeLibrary(nullptr, nullptr, nullptr, nullptr, nullptr);
    orn32::resetMemoryTable();
}

int MemoryWatch::allocations() const {
    return allocationCount;
}
int MemoryWatch::live() const {
    return liveBlocks;
}

}  // namespace test
