#include "core/memory.h"

#include <cstdlib>
#include <cstring>

#include "core/kept_blocks.h"
#include "orn32.h"

namespace orn32 {
namespace {

constexpr std::uint64_t largestBlock = 0x7FFFFFFF;

KeptBlocks kept;

void* __cdecl runtimeAlloc(UINT size) {
    if (!KeptBlocks::serves(size)) return std::malloc(size);
    void* block = kept.take(size);
    return block ? block : std::malloc(KeptBlocks::roundedUp(size));
}
void* __cdecl runtimeCalloc(UINT count, UINT size) {
    const UINT bytes = count * size;
    if (!KeptBlocks::serves(bytes)) return std::calloc(count, size);
    void* block = kept.take(bytes);
    return block ? std::memset(block, 0, bytes) : std::calloc(KeptBlocks::roundedUp(bytes), 1);
}
void __cdecl runtimeFree(void* block) {
    if (block && !kept.keep(block)) std::free(block);
}

struct MemoryTable {
    ornalloc alloc1;
    ornalloc alloc2;
    orncalloc calloc1;
    orncalloc calloc2;
    ornfree release;
};

constexpr MemoryTable runtimeTable = {runtimeAlloc, runtimeAlloc, runtimeCalloc, runtimeCalloc, runtimeFree};

MemoryTable table = runtimeTable;
bool useCallerFunctions = false;

}  // namespace

void resetMemoryTable() {
    table = runtimeTable;
}

void* allocateWork(MemoryEntry entry, std::uint64_t count, std::size_t size) noexcept {
    if (count > largestBlock / size) return nullptr;
    const UINT n = static_cast<UINT>(count);
    switch (entry) {
        case MemoryEntry::first:
            return table.alloc1(n * size);
        case MemoryEntry::second:
            return table.alloc2(n * size);
        case MemoryEntry::counted:
            return table.calloc1(n, size);
        default:
            return table.calloc2(n, size);
    }
}

void* allocateToFill(std::uint32_t size) noexcept {
    if (size > largestBlock) return nullptr;
    return table.calloc1 == runtimeCalloc ? runtimeAlloc(size) : table.calloc1(size, 1);
}

void releaseWork(void* block) noexcept {
    table.release(block);
}

void* allocateGlobal(std::uint64_t size) noexcept {
    if (size > largestBlock) return nullptr;
    const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<SIZE_T>(size));
    if (!handle) return nullptr;
    void* block = GlobalLock(handle);
    if (!block) GlobalFree(handle);
    return block;
}

void freeGlobal(void* block) noexcept {
    GlobalUnlock(GlobalHandle(block));
    GlobalFree(GlobalHandle(block));
}

void* allocateBlock(std::uint64_t size) noexcept {
    if (!useCallerFunctions) return allocateGlobal(size);
    if (size > largestBlock) return nullptr;
    const UINT bytes = static_cast<UINT>(size);
    void* block = table.alloc1(bytes);
    if (block) std::memset(block, 0, bytes);
    return block;
}

void bringInBlock(void* block, std::uint32_t size) noexcept {
    constexpr std::uint32_t worthwhile = 1 << 20, piece = 4 << 20;
    if (useCallerFunctions || size < worthwhile) return;
    for (std::uint32_t at = 0; at < size; at += piece) {
        std::uint8_t* p = static_cast<std::uint8_t*>(block) + at;
        const std::uint32_t n = size - at < piece ? size - at : piece;
        if (!VirtualLock(p, n)) return;
        VirtualUnlock(p, n);
    }
}

bool callerAllocatesBlocks() noexcept {
    return useCallerFunctions;
}

void freeBlock(void* block) noexcept {
    if (useCallerFunctions)
        table.release(block);
    else
        freeGlobal(block);
}

}  // namespace orn32

extern "C" void ORNAPI InitializeLibrary(ornalloc alloc1, ornalloc alloc2, orncalloc calloc1,
                                         orncalloc calloc2, ornfree release) {
    using namespace orn32;
    useCallerFunctions = alloc1 || alloc2 || calloc1 || calloc2 || release;
    if (useCallerFunctions) table = {alloc1, alloc2, calloc1, calloc2, release};
}
