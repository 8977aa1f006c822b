// The bytes of a JPEG stream through a read buffer of 64 KB, for the marker reader and the bit reader.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "io/stream.h"

namespace orn32::jpeg {

class ByteSource {
 public:
    // The stream may not open and the buffer's memory may not be had: test both before use.
    explicit ByteSource(const Source& source)
        : in_(source), buffer_(MemoryEntry::first, heldBack + capacity), next_(buffer_.get()), end_(next_) {}

    bool isOpen() const { return in_.isOpen(); }
    bool hasMemory() const { return static_cast<bool>(buffer_); }

    // The unread bytes at hand. The bit reader takes them from here and says with setNext how far it got; it
    // may step back over up to heldBack bytes that it has taken since the last skip.
    const std::uint8_t* begin() const { return buffer_.get(); }  // what has been taken, too
    const std::uint8_t* next() const { return next_; }
    const std::uint8_t* end() const { return end_; }
    void setNext(const std::uint8_t* next) { next_ = buffer_.get() + (next - buffer_.get()); }
    std::uint32_t available() const { return static_cast<std::uint32_t>(end_ - next_); }

    // Adds to the bytes at hand, which move. False at the end of the stream; a failing read unwinds.
    bool readMore();

    // Tries to have count bytes at hand, at most a whole segment, and returns how many there are.
    std::uint32_t ensure(std::uint32_t count);

    // Passes over count bytes, present or not.
    void skip(std::uint32_t count);

    // Where in the stream the next byte lies.
    std::uint32_t offset() const { return endOffset_ - available(); }

    static constexpr std::uint32_t heldBack = 16;

 private:
    static constexpr std::uint32_t readSize = 65536;
    static constexpr std::uint32_t capacity = readSize + 1024;  // a segment of any length and what follows it

    InputStream in_;
    WorkArray<std::uint8_t> buffer_;
    std::uint8_t* next_;
    std::uint8_t* end_;
    std::uint32_t endOffset_ = 0;
    bool atEnd_ = false;  // a read came back short
};

}  // namespace orn32::jpeg
