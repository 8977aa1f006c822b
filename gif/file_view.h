// The bytes of a stream by their position, through a window that is filled where it is looked at.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "io/stream.h"

namespace orn32::gif {

class FileView {
 public:
    // How much is read at once when headers, extensions and image data are looked at.
    static constexpr std::uint32_t headerSpan = 256, extensionSpan = 1024, dataSpan = 65536;

    // The window's memory may not be had: test before use.
    explicit FileView(InputStream& in) : in_(in), window_(MemoryEntry::first, dataSpan) {}
    explicit operator bool() const { return static_cast<bool>(window_); }

    // The byte at a position, or -1 where the stream has none.
    int byteAt(std::uint64_t position, std::uint32_t span = headerSpan) {
        if (position - start_ >= length_ && !fill(position, span)) return -1;
        return window_[static_cast<std::size_t>(position - start_)];
    }

    // Bytes that the stream does not have read as 0.
    void read(std::uint64_t position, std::uint8_t* to, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; i++) {
            const int byte = byteAt(position + i);
            to[i] = static_cast<std::uint8_t>(byte < 0 ? 0 : byte);
        }
    }

 private:
    bool fill(std::uint64_t position, std::uint32_t span) {
        if (position > 0xFFFFFFFF) return false;
        start_ = position;
        in_.seek(static_cast<std::uint32_t>(position));
        length_ = in_.read(window_.get(), span);
        return length_ > 0;
    }

    InputStream& in_;
    WorkArray<std::uint8_t> window_;
    std::uint64_t start_ = 0;
    std::uint32_t length_ = 0;
};

}  // namespace orn32::gif
