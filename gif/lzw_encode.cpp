// GifEncode: image data from memory to memory.
#include <cstring>

#include "gif/lzw.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

constexpr unsigned largestCodeSize = widestCode - 1;
constexpr int hashSize = 5003;  // prime, and 80 % full at most
constexpr unsigned hashShift = 4;
constexpr std::uint32_t blockSize = 255;
constexpr std::uint8_t trailer = 0x3B;

// Packs codes into sub-blocks at the destination. Fails when a block does not fit with a byte to spare.
class CodeWriter {
 public:
    CodeWriter(std::uint8_t* out, std::uint32_t room) : out_(out), room_(room) {}

    void put(std::uint32_t code, unsigned width) {
        pending_ |= code << pendingBits_;
        pendingBits_ += width;
        while (pendingBits_ >= 8) putByte();
    }
    // Puts out the last bits and the last block, which is written even when it is empty.
    void flush() {
        pendingBits_ = (pendingBits_ + 7) / 8 * 8;
        while (pendingBits_ > 0) putByte();
        writeBlock();
    }

    bool failed() const { return failed_; }
    std::uint32_t written() const { return written_; }

 private:
    void putByte() {
        block_[1 + filled_++] = static_cast<std::uint8_t>(pending_);
        pending_ >>= 8;
        pendingBits_ -= 8;
        if (filled_ == blockSize) writeBlock();
    }
    void writeBlock() {
        if (failed_ || filled_ + 1 >= room_ - written_) {
            failed_ = true;
        } else {
            block_[0] = static_cast<std::uint8_t>(filled_);
            std::memcpy(out_ + written_, block_, filled_ + 1);
            written_ += filled_ + 1;
        }
        filled_ = 0;
    }

    std::uint8_t* out_;
    std::uint32_t room_;
    std::uint32_t written_ = 1;  // the code size byte stands before the blocks
    bool failed_ = false;
    std::uint32_t pending_ = 0;
    unsigned pendingBits_ = 0;
    std::uint32_t filled_ = 0;
    std::uint8_t block_[1 + blockSize];
};

// The strings met so far: key (byte and prefix code, 20 bits) and code (12 bits) in one word, 0 where empty.
// Which strings are found is part of the output, and so is the probing order: the string of two zero pixels
// can be overwritten by another one.
class StringTable {
 public:
    StringTable() { clear(); }
    void clear() { std::memset(entries_, 0, sizeof entries_); }

    // Looks for a byte behind a prefix and returns the string's code, or 0 and keeps the place for add().
    std::uint32_t find(std::uint32_t byte, std::uint32_t prefix) {
        key_ = (byte << widestCode | prefix) << widestCode;
        place_ = static_cast<int>(byte << hashShift ^ prefix);
        std::uint32_t entry = entries_[place_];
        if ((entry ^ key_) < tableSize) return entry ^ key_;
        if (entry == 0) return 0;
        const int step = place_ == 0 ? 1 : hashSize - place_;
        do {
            place_ -= step;
            if (place_ < 0) place_ += hashSize;
            entry = entries_[place_];
            if ((entry ^ key_) < tableSize) return entry ^ key_;
        } while (entry >= tableSize);  // quirk: here the key 0 (two zero pixels) counts as empty
        return 0;
    }
    void add(std::uint32_t code) { entries_[place_] = key_ | code; }

 private:
    std::uint32_t key_;
    int place_;
    std::uint32_t entries_[hashSize];
};

class Encoder {
 public:
    Encoder(unsigned codeSize, std::uint8_t* dst, std::uint32_t dstlen)
        : set_(codeSize), codes_(dst, dstlen) {
        restart();
    }

    // Returns the bytes written so far, 0 when there was no room for them.
    std::uint32_t encode(const std::uint8_t* src, std::uint32_t srclen) {
        put(set_.clear);
        std::uint32_t prefix = srclen > 0 ? src[0] : maskOf(width_);  // quirk: no pixel is written as code -1
        for (std::uint32_t i = 1; i < srclen; i++) {
            const std::uint32_t byte = src[i];
            if (const std::uint32_t code = strings_.find(byte, prefix)) {
                prefix = code;
                continue;
            }
            put(prefix);
            if (codes_.failed()) return 0;
            prefix = byte;
            if (free_ < tableSize) {
                strings_.add(free_++);
            } else {
                free_ = set_.firstString;
                put(set_.clear);
                strings_.clear();
                restart();
            }
        }
        put(prefix);
        put(set_.end);
        codes_.flush();
        return codes_.failed() ? 0 : codes_.written();
    }

 private:
    void restart() {
        free_ = set_.firstString;
        width_ = set_.width;
        lastCode_ = maskOf(width_);
    }
    // The width grows when the table has outgrown it, except that 12 bits do for a full table.
    void put(std::uint32_t code) {
        codes_.put(code & maskOf(width_), width_);
        if (free_ <= lastCode_) return;
        width_++;
        lastCode_ = width_ == widestCode ? tableSize : maskOf(width_);
    }

    CodeSet set_;
    CodeWriter codes_;
    StringTable strings_;
    unsigned free_;      // next free code
    unsigned width_;     // of codes, in bits
    unsigned lastCode_;  // of that width
};

std::uint32_t encode(const GifCodeParams* params, const std::uint8_t* src, std::uint32_t srclen,
                     std::uint8_t* dst, std::uint32_t dstlen) {
    if (!params || params->codesize > largestCodeSize || dstlen < 1) return 0;
    const std::uint32_t written = Encoder(params->codesize, dst, dstlen).encode(src, srclen);
    if (written == 0 || dstlen - written < 2) return 0;
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
