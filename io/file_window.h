// A moving window over a stream's bytes: filled in large reads from a file, laid over the caller's memory
// where the bytes are there already.
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
          capacity_(static_cast<std::uint32_t>(capacity)),
          inPlace_(in.inMemory() && capacity <= largestInPlace) {
        if (!inPlace_) buffer_ = WorkArray<std::uint8_t>(entry, capacity);
        next_ = end_ = buffer_.get();
    }

    explicit operator bool() const { return inPlace_ || buffer_; }

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
    // Larger ones want their memory either way: a picture is not too large in a file and fine in a buffer.
    static constexpr std::uint64_t largestInPlace = 1 << 20;

    void refill() {
        const std::uint32_t unread = available();
        if (inPlace_) {
            in_.skip(-static_cast<std::int32_t>(unread));
            std::uint32_t count = capacity_;
            next_ = in_.readInPlace(count);
            end_ = next_ + count;
            return;
        }
        std::memmove(buffer_.get(), next_, unread);
        next_ = buffer_.get();
        end_ = next_ + unread + in_.read(buffer_.get() + unread, capacity_ - unread);
    }

    InputStream& in_;
    WorkArray<std::uint8_t> buffer_;
    std::uint32_t capacity_;
    bool inPlace_;
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

}  // namespace orn32
