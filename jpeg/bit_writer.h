// Entropy-coded bits on their way to the output.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/memory.h"
#include "io/stream.h"
#include "jpeg/error.h"

namespace orn32::jpeg {

// Where the next bits go, most significant first. Small, so that a loop can hold a copy in registers; it
// knows nothing of the buffer's end, of which it needs 3 bytes beyond what it fills. Every word is stored as
// it grows: a test whether one is full would be mispredicted too often.
class BitCursor {
 public:
    explicit BitCursor(std::uint8_t* at) : next_(at) {}

    // Appends the lowest count bits, 1 to 27 of them; the bits above must be 0.
    [[gnu::always_inline]] void put(std::uint32_t bits, unsigned count) {
        if (count > atOnce) [[unlikely]] {
            append(bits >> atOnce, count - atOnce);
            bits &= (1u << atOnce) - 1;
            count = atOnce;
        }
        append(bits, count);
    }

    // Fills the last byte with 1 bits.
    void pad() {
        if (used_ > 0) append((1u << (8 - used_)) - 1, 8 - used_);
    }

    std::uint8_t* position() const { return next_; }

    // Goes on elsewhere; the bits of a byte that is not full come along.
    void moveTo(std::uint8_t* to) { next_ = to; }

 private:
    static constexpr unsigned atOnce = 24;

    void append(std::uint32_t bits, unsigned count) {
        word_ |= bits << (32 - used_ - count);
        const std::uint32_t bigEndian = __builtin_bswap32(word_);
        std::memcpy(next_, &bigEndian, 4);
        used_ += count;
        next_ += used_ / 8;
        word_ <<= used_ & 24;
        used_ &= 7;
    }

    std::uint8_t* next_;
    std::uint32_t word_ = 0;  // the bits of the next byte, at the top
    unsigned used_ = 0;       // 0 to 7
};

// Copies bytes, with a 0 behind every 0xFF; the copy has at most twice the length. Both sides need 15 bytes
// more than that. Returns the end of the copy.
std::uint8_t* stuffBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t count);

// The buffers behind the cursor. A short write unwinds with its detail.
class BitWriter {
 public:
    // The buffer's memory may not be had: test before use.
    explicit BitWriter(OutputStream& out)
        : out_(out), buffer_(MemoryEntry::first, rawBytes + stuffedBytes), cursor_(buffer_.get()) {}

    explicit operator bool() const { return static_cast<bool>(buffer_); }

    // Makes room for a block: at most 64 symbols of 27 bits with as many correction bits.
    void reserve() {
        if (!hasRoom(cursor_)) [[unlikely]]
            writeOut();
    }
    bool hasRoom(const BitCursor& cursor) const {
        return cursor.position() - buffer_.get() <= rawBytes - blockBytes;
    }

    // A loop over a block's symbols works on a copy and brings it back.
    BitCursor cursor() const { return cursor_; }
    void setCursor(const BitCursor& cursor) { cursor_ = cursor; }

    // The end of a scan: the last byte is filled with 1 bits. Returns false if the write was short.
    [[nodiscard]] bool finish() {
        cursor_.pad();
        return flush();
    }

 private:
    static constexpr int rawBytes = 32768, slack = 16;
    static constexpr int stuffedBytes = 2 * rawBytes + slack;
    static constexpr int blockBytes = 64 * 28 / 8 + slack;

    bool flush();
    void writeOut();

    OutputStream& out_;
    WorkArray<std::uint8_t> buffer_;  // raw bytes first, stuffed ones behind them
    BitCursor cursor_;
};

}  // namespace orn32::jpeg
