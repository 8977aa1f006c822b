// GifEncode: image data from memory to memory.
#include <cstring>

#include "gif/format.h"
#include "gif/lzw.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

constexpr unsigned largestCodeSize = widestCode - 1;
constexpr std::uint32_t hashSize = 5003;  // prime, and 80 % full at most
constexpr unsigned hashShift = 4;

// Cuts packed bytes into sub-blocks at the destination. Fails when a block does not fit with a byte to spare.
class BlockWriter {
 public:
    BlockWriter(std::uint8_t* out, std::uint32_t room) : out_(out), room_(room) {}

    // Packed bytes are put here; from full() on, writeBlocks() has to be called before more of them.
    std::uint8_t* packed() { return packed_; }
    const std::uint8_t* full() const { return packed_ + fullAt; }

    // Writes the whole blocks in front of end, and moves the bytes behind them to the start. Returns their
    // end.
    [[gnu::noinline]] std::uint8_t* writeBlocks(const std::uint8_t* end) {
        const std::uint8_t* from = packed_;
        for (; end - from >= static_cast<int>(largestBlock); from += largestBlock) write(from, largestBlock);
        const std::size_t rest = static_cast<std::size_t>(end - from);
        std::memmove(packed_, from, rest);
        return packed_ + rest;
    }
    void write(const std::uint8_t* from, std::uint32_t size) {
        failed_ = failed_ || size + 1 >= room_ - written_;
        if (failed_) return;
        out_[written_] = static_cast<std::uint8_t>(size);
        std::memcpy(out_ + written_ + 1, from, size);
        written_ += size + 1;
    }

    bool failed() const { return failed_; }
    std::uint32_t written() const { return written_; }

 private:
    static constexpr std::uint32_t fullAt = 4 * largestBlock;

    std::uint8_t* out_;
    std::uint32_t room_;
    std::uint32_t written_ = 1;  // the code size byte stands before the blocks
    bool failed_ = false;
    std::uint8_t packed_[fullAt + 8];
};

// Gives out the codes for new strings and packs codes as wide as a decoder expects them. Without arrays and
// with all of it inlined, so that the compiler keeps it in registers: a fifth faster.
class CodeWriter {
 public:
    CodeWriter(BlockWriter& blocks, CodeSet set) : blocks_(blocks), next_(blocks.packed()), set_(set) {
        restart();
    }

    [[gnu::always_inline]] void put(std::uint32_t code) {
        pending_ |= (code & maskOf(width_)) << bits_;
        bits_ += width_;
        store32(next_, pending_);
        next_ += bits_ / 8;
        pending_ >>= bits_ & ~7u;
        bits_ &= 7;
        if (next_ >= blocks_.full()) next_ = blocks_.writeBlocks(next_);
        if (free_ > lastCode_) widen();
    }
    [[gnu::always_inline]] void putClear() {
        free_ = set_.firstString;
        put(set_.clear);
        restart();
    }
    // Puts the end code, the last bits and the last block, which is written even when it is empty.
    [[gnu::always_inline]] void finish() {
        put(set_.end);
        if (bits_ > 0) store32(next_++, pending_);
        next_ = blocks_.writeBlocks(next_);
        blocks_.write(blocks_.packed(), static_cast<std::uint32_t>(next_ - blocks_.packed()));
    }

    bool hasFree() const { return free_ < tableSize; }
    std::uint32_t takeFree() { return free_++; }
    std::uint32_t allOnes() const { return maskOf(width_); }

 private:
    void restart() {
        free_ = set_.firstString;
        width_ = set_.width;
        lastCode_ = maskOf(width_);
    }
    // The table has outgrown the width; 12 bits do for a full table.
    void widen() {
        width_++;
        lastCode_ = width_ == widestCode ? tableSize : maskOf(width_);
    }

    BlockWriter& blocks_;
    std::uint8_t* next_;
    std::uint32_t pending_ = 0;
    unsigned bits_ = 0;  // of pending_, fewer than 8 between codes
    CodeSet set_;
    unsigned free_;      // next free code
    unsigned width_;     // of codes, in bits
    unsigned lastCode_;  // of that width
};

// The strings met so far: key (byte and prefix code, 20 bits) and code (12 bits) in one word, 0 where empty.
// Which strings are found is part of the output, and so is the probing order: the string of two zero pixels
// can be overwritten by another one.
class StringTable {
 public:
    StringTable() { clear(); }
    void clear() { std::memset(entries_, 0, sizeof entries_); }

    struct Found {
        std::uint32_t code;    // 0 where the string is not there
        std::uint32_t* place;  // where it belongs then
    };
    Found find(std::uint32_t byte, std::uint32_t prefix) {
        const std::uint32_t key = keyOf(byte, prefix);
        std::uint32_t place = byte << hashShift ^ prefix;
        std::uint32_t code = entries_[place] ^ key;
        if (code < tableSize) return {code, &entries_[place]};
        if (entries_[place] == 0) return {0, &entries_[place]};
        const std::uint32_t step = place == 0 ? 1 : hashSize - place;
        for (;;) {
            place = place < step ? place + hashSize - step : place - step;
            code = entries_[place] ^ key;
            if (code < tableSize) return {code, &entries_[place]};
            // Quirk: here the key 0, two zero pixels, counts as empty.
            if (entries_[place] < tableSize) return {0, &entries_[place]};
        }
    }
    static std::uint32_t keyOf(std::uint32_t byte, std::uint32_t prefix) {
        return (byte << widestCode | prefix) << widestCode;
    }

 private:
    std::uint32_t entries_[hashSize];
};

// Leaves off when there is no more room, which the blocks know then.
void encodePixels(const std::uint8_t* src, std::uint32_t srclen, CodeSet set, BlockWriter& blocks) {
    StringTable strings;
    CodeWriter codes(blocks, set);
    codes.put(set.clear);
    std::uint32_t prefix = srclen > 0 ? src[0] : codes.allOnes();  // quirk: no pixel is written as code -1
    for (std::uint32_t i = 1; i < srclen; i++) {
        const std::uint32_t byte = src[i];
        const StringTable::Found found = strings.find(byte, prefix);
        if (found.code) {
            prefix = found.code;
            continue;
        }
        codes.put(prefix);
        if (codes.hasFree()) {
            *found.place = StringTable::keyOf(byte, prefix) | codes.takeFree();
        } else {
            if (blocks.failed()) return;
            codes.putClear();
            strings.clear();
        }
        prefix = byte;
    }
    codes.put(prefix);
    codes.finish();
}

std::uint32_t encode(const GifCodeParams* params, const std::uint8_t* src, std::uint32_t srclen,
                     std::uint8_t* dst, std::uint32_t dstlen) {
    if (!params || params->codesize > largestCodeSize || dstlen < 1) return 0;
    BlockWriter blocks(dst, dstlen);
    encodePixels(src, srclen, CodeSet(params->codesize), blocks);
    const std::uint32_t written = blocks.written();
    if (blocks.failed() || dstlen - written < 2) return 0;
    dst[0] = static_cast<std::uint8_t>(params->codesize);
    dst[written] = 0;
    dst[written + 1] = trailer;
    return written + 2;
}

}  // namespace
}  // namespace orn32::gif

extern "C" UINT ORNAPI GifEncode(GifCodeParams* params, const unsigned char* src, UINT srclen,
                                 unsigned char* dst, UINT dstlen) {
    return orn32::gif::encode(params, src, srclen, dst, dstlen);
}
