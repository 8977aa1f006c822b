// Memory that ends at an unreadable page, so that one byte too far is a crash.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace test {

inline void* allocateGuarded(std::size_t size) {
    const std::size_t pages = (size + 4095) / 4096 * 4096;
    auto* start = static_cast<std::uint8_t*>(VirtualAlloc(nullptr, pages + 4096, MEM_RESERVE, PAGE_NOACCESS));
    if (!start) return nullptr;
    if (pages && !VirtualAlloc(start, pages, MEM_COMMIT, PAGE_READWRITE)) return nullptr;
    return start + pages - size;
}

inline void freeGuarded(void* block) {
    MEMORY_BASIC_INFORMATION info;
    VirtualQuery(block, &info, sizeof info);
    VirtualFree(info.AllocationBase, 0, MEM_RELEASE);
}

// A copy of bytes that ends at an unreadable page: a source for the frombuffer functions.
class GuardedBytes {
 public:
    explicit GuardedBytes(const std::vector<std::uint8_t>& bytes) : GuardedBytes(bytes.size()) {
        if (!bytes.empty()) std::memcpy(data_, bytes.data(), bytes.size());
    }
    explicit GuardedBytes(std::size_t size)
        : data_(static_cast<std::uint8_t*>(allocateGuarded(size))), size_(size) {}
    ~GuardedBytes() { freeGuarded(data_); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    std::uint8_t* data() const { return data_; }
    std::size_t size() const { return size_; }

 private:
    std::uint8_t* data_;
    std::size_t size_;
};

}  // namespace test
