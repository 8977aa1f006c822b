// Working memory from the five replaceable functions, and the blocks that callers get to keep.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/platform.h"

namespace orn32 {

// The allocating entries of the memory function table. The counted ones clear what they give.
enum class MemoryEntry { first, second, counted, secondCounted };

// Puts the runtime's functions into the table; the caller-functions switch stays as it is.
void resetMemoryTable();

// count * size bytes from the given entry, to be released with releaseWork; null when they cannot be had or
// the product is beyond what a 32-bit process can address.
void* allocateWork(MemoryEntry entry, std::uint64_t count, std::size_t size) noexcept;
void releaseWork(void* block) noexcept;

// size bytes from the counted entry for a block that is filled at once: the runtime's own function does not
// clear it.
void* allocateToFill(std::uint32_t size) noexcept;

// A cleared block that the caller owns: an image or an output buffer. Global memory, locked once, or the
// caller's own; null when it cannot be had.
void* allocateBlock(std::uint64_t size) noexcept;
void freeBlock(void* block) noexcept;

// Whether such blocks come from the caller's own functions, who then sees every one of them.
bool callerAllocatesBlocks() noexcept;

// A cleared block of moveable global memory, locked, whatever functions the caller has installed; null when
// it cannot be had.
void* allocateGlobal(std::uint64_t size) noexcept;
void freeGlobal(void* block) noexcept;

// Has the system provide a new block's pages together, before all of it is written: cheaper than a fault for
// each. Does nothing where the system refuses (a limit on locked memory) or the block is small or of the
// caller's making.
void bringInBlock(void* block, std::uint32_t size) noexcept;

// An array of working memory, released with its owner. Test it before use: an allocation may have failed.
// first and second give uncleared memory.
template <class T>
class WorkArray {
 public:
    WorkArray() = default;
    WorkArray(MemoryEntry entry, std::uint64_t count) noexcept
        : data_(static_cast<T*>(allocateWork(entry, count, sizeof(T)))) {}
    ~WorkArray() { reset(); }
    WorkArray(WorkArray&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
    WorkArray& operator=(WorkArray&& other) noexcept {
        std::swap(data_, other.data_);
        return *this;
    }

    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](std::size_t i) const { return data_[i]; }
    T* operator->() const { return data_; }
    void reset() noexcept {
        if (data_) releaseWork(std::exchange(data_, nullptr));
    }

 private:
    T* data_ = nullptr;
};

}  // namespace orn32
