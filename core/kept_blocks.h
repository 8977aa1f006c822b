// Large blocks of the runtime that were released and wait to be given again. A fresh page costs the system
// several times what filling it does, and heaps return the pages of large blocks at once: whoever works on
// one picture after the other would pay for the same memory every time.
#pragma once

#include <malloc.h>

#include <bit>
#include <cstdlib>

#include "core/platform.h"

namespace orn32 {

// Takes no lock. Blocks come in four sizes per doubling, and each size has its list.
class KeptBlocks {
 public:
    constexpr KeptBlocks() = default;
    KeptBlocks(const KeptBlocks&) = delete;
    KeptBlocks& operator=(const KeptBlocks&) = delete;
    ~KeptBlocks() {
        for (SLIST_HEADER& list : lists_)
            while (void* block = InterlockedPopEntrySList(&list)) std::free(block);
    }

    static bool serves(std::size_t size) { return size >= smallest && size <= largest; }

    // A block of at least size bytes that was released before, or null.
    void* take(UINT size) {
        void* block = InterlockedPopEntrySList(&lists_[listOf(size)]);
        if (block) InterlockedExchangeAdd(&bytes_, -static_cast<LONG>(roundedUp(size)));
        return block;
    }

    // False where enough is kept already: the block stays the caller's.
    bool keep(void* block) {
        const std::size_t size = _msize(block);
        if (!serves(size)) return false;
        const UINT usable = roundedDown(static_cast<UINT>(size));
        const LONG bytes = static_cast<LONG>(usable);
        if (InterlockedExchangeAdd(&bytes_, bytes) + bytes > mostBytes) {
            InterlockedExchangeAdd(&bytes_, -bytes);
            return false;
        }
        InterlockedPushEntrySList(&lists_[listOf(usable)], static_cast<SLIST_ENTRY*>(block));
        return true;
    }

    // The size to ask the runtime for, so that the block can serve every request of its list: a quarter more
    // at most.
    static UINT roundedUp(UINT size) {
        const UINT step = std::bit_floor(size - 1) / 4;
        return (size + step - 1) / step * step;
    }

 private:
    static constexpr UINT smallest = 1u << 15, largest = 1u << 20;
    static constexpr LONG mostBytes = 16 << 20;
    static constexpr unsigned listCount = 5 * 4 + 4;

    static UINT roundedDown(UINT size) {
        const UINT step = std::bit_floor(size) / 4;
        return size / step * step;
    }
    // List 3 holds the smallest size; the three before it stay empty.
    static unsigned listOf(UINT size) {
        const UINT last = size - 1;
        const unsigned shift = static_cast<unsigned>(std::bit_width(last)) - 3;
        return (shift - 12) * 4 + (last >> shift & 3);
    }

    SLIST_HEADER lists_[listCount] = {};
    LONG volatile bytes_ = 0;
};

}  // namespace orn32
