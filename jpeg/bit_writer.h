// Entropy-coded bits on their way to the output.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/memory.h"
#include "io/stream.h"
#include "jpeg/error.h"

namespace orn32::jpeg {

// Where the next bits go. Small, so that a loop can hold a copy in registers; it knows nothing of the
// buffer's end. Bits are packed from the most significant end, and every 0xFF byte is followed by a 0.
class BitCursor {
 public:
    explicit BitCursor(std::uint8_t* at) : next_(at) {}

    // Appends the lowest count bits, at most 27 of them; the bits above must be 0.
    [[gnu::always_inline]] void put(std::uint32_t bits, unsigned count) {
        if (count < free_) {
            accumulator_ = accumulator_ << count | bits;
            free_ -= count;
            return;
        }
        storeWord(accumulator_ << free_ | bits >> (count - free_));
        accumulator_ = bits;
        free_ += 32 - count;
    }

    // Fills the last byte with 1 bits and stores what is left; the cursor starts anew behind it.
    void pad() {
        put(0x7F, 7);
        for (unsigned left = 32 - free_; left >= 8; left -= 8) next_ = storeByte(next_, accumulator_ >> (left - 8));
        free_ = 32;
    }

    std::uint8_t* position() const { return next_; }
    void rewind(std::uint8_t* to) { next_ = to; }

 private:
    static std::uint8_t* storeByte(std::uint8_t* to, std::uint32_t byte) {
        *to++ = static_cast<std::uint8_t>(byte);
        if ((byte & 0xFF) == 0xFF) *to++ = 0;
        return to;
    }
    [[gnu::noinline]] static std::uint8_t* storeStuffed(std::uint8_t* to, std::uint32_t word) {
        for (unsigned shift = 32; shift > 0; shift -= 8) to = storeByte(to, word >> (shift - 8));
        return to;
    }
    void storeWord(std::uint32_t word) {
        const std::uint32_t inverse = ~word;  // a byte of 0 in it?
        if ((inverse - 0x01010101u) & word & 0x80808080u) [[unlikely]] {
            next_ = storeStuffed(next_, word);
            return;
        }
        const std::uint32_t bigEndian = __builtin_bswap32(word);
        std::memcpy(next_, &bigEndian, 4);
        next_ += 4;
    }

    std::uint8_t* next_;
    std::uint32_t accumulator_ = 0;  // the bits not yet stored are its lowest 32 - free
    unsigned free_ = 32;
};

// The buffer behind the cursor. A short write unwinds with its detail.
class BitWriter {
 public:
    // The buffer's memory may not be had: test before use.
    explicit BitWriter(OutputStream& out)
        : out_(out), buffer_(MemoryEntry::first, bytes), cursor_(buffer_.get()) {}

    explicit operator bool() const { return static_cast<bool>(buffer_); }

    // Makes room for a block: at most 64 symbols of 27 bits with as many correction bits, every byte of them
    // stuffed.
    void reserve() {
        if (!hasRoom(cursor_)) [[unlikely]]
            writeOut();
    }
    bool hasRoom(const BitCursor& cursor) const {
        return cursor.position() - buffer_.get() <= bytes - blockBytes;
    }

    void put(std::uint32_t bits, unsigned count) { cursor_.put(bits, count); }

    // A loop over a block's symbols works on a copy and brings it back.
    BitCursor cursor() const { return cursor_; }
    void setCursor(const BitCursor& cursor) { cursor_ = cursor; }

    // The end of a scan: the last byte is filled with 1 bits. Returns false if the write was short.
    bool finish() {
        cursor_.pad();
        return flush();
    }

 private:
    static constexpr int bytes = 65536;
    static constexpr int blockBytes = 2 * (64 * 28 / 8 + 8);

    bool flush() {
        const auto count = static_cast<std::uint32_t>(cursor_.position() - buffer_.get());
        cursor_.rewind(buffer_.get());
        return out_.write(buffer_.get(), count);
    }
    void writeOut() {
        if (!flush()) fail(out_.status() == ERR_MEMORY ? Detail::writeToMemory : Detail::writeFailure);
    }

    OutputStream& out_;
    WorkArray<std::uint8_t> buffer_;
    BitCursor cursor_;
};

}  // namespace orn32::jpeg
