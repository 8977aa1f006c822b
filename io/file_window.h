// A moving window over a stream's bytes, filled in large reads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/memory.h"
#include "io/stream.h"

namespace orn32 {

class FileWindow {
 public:
    // The window's memory may not be had: test before use.
    FileWindow(InputStream& in, std::uint64_t capacity, MemoryEntry entry = MemoryEntry::first)
        : in_(in),
          buffer_(entry, capacity),
          capacity_(static_cast<std::uint32_t>(capacity)),
          next_(buffer_.get()),
          end_(next_) {}

    explicit operator bool() const { return static_cast<bool>(buffer_); }

    // Makes count bytes (at most the capacity) available if the stream still has them, and returns how many
    // are.
    std::uint32_t ensure(std::uint32_t count) {
        if (available() < count) refill();
        return available();
    }
    std::uint32_t available() const { return static_cast<std::uint32_t>(end_ - next_); }
    const std::uint8_t* data() const { return next_; }
    void consume(std::uint32_t count) { next_ += std::min(count, available()); }

 private:
    void refill() {
        const std::uint32_t unread = available();
        std::memmove(buffer_.get(), next_, unread);
        next_ = buffer_.get();
        end_ = next_ + unread;
        end_ += in_.read(end_, capacity_ - unread);
    }

    InputStream& in_;
    WorkArray<std::uint8_t> buffer_;
    std::uint32_t capacity_;
    std::uint8_t* next_;
    std::uint8_t* end_;
};

}  // namespace orn32
