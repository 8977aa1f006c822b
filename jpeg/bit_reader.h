// The bits of entropy-coded data, most significant first: 0xFF00 is the byte 0xFF, and 0xFF before any other
// byte is data, too.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "jpeg/byte_source.h"
#include "jpeg/huffman_decode.h"

namespace orn32::jpeg {

class BitReader {
 public:
    explicit BitReader(ByteSource& in) : in_(in) { begin(); }

    // Starts at the source's next byte.
    void begin();

    // Gives the source back the whole bytes that were not used, and forgets the rest.
    void finish();

    // Passes over the next marker and starts behind it.
    void resynchronise();

    // At the end of the data zeros follow, so that a symbol need not be tested bit by bit. Whether any of
    // them has been used, and with it a symbol that was cut, is asked here.
    bool overrun() const { return count_ < padding_; }

    unsigned take(unsigned n) {  // n up to 16
        need(n);
        const unsigned bits = acc_ >> 1 >> (31 - n);
        drop(n);
        return bits;
    }

    // The next symbol with the value behind it, as far as the table's look-up has it: the complete flag, the
    // run and the value of a LookEntry. Its bits are dropped, but those of an incomplete value, and those of
    // a value whose run reaches beyond room coefficients: that ends the block.
    LookEntry next(const DecodeTable& table, unsigned room = blockSize) {
        need(lookBits);
        const LookEntry entry = table.look[acc_ >> (32 - lookBits)];
        if (!(entry & entryComplete)) [[unlikely]]
            return nextIncomplete(table, entry);
        if ((entry >> 8 & 0xFF) >= room) [[unlikely]] {
            if ((entry >> 8 & 0xFF) < endOfBand) return nextIncomplete(table, 0);
        }
        drop(entry & 0x7F);
        return entry;
    }

 private:
    void need(unsigned n) {
        if (count_ < static_cast<int>(n)) fill();
    }
    void drop(unsigned n) {
        acc_ <<= n;
        count_ -= static_cast<int>(n);
    }

    // Adds whole bytes up to 25 bits and more. Bits of the next byte may stand behind the counted ones: they
    // are the same when that byte comes.
    void fill() {
        if (in_.end() - next_ >= 4) [[likely]] {
            std::uint32_t word;
            std::memcpy(&word, next_, 4);
            const bool has0xFF = (~word - 0x01010101u) & word & 0x80808080u;
            if (!has0xFF) [[likely]] {
                const int bytes = (32 - count_) / 8;
                acc_ |= __builtin_bswap32(word) >> count_;
                next_ += bytes;
                count_ += 8 * bytes;
                return;
            }
        }
        fillByBytes();
    }
    void fillByBytes();
    bool more();
    LookEntry nextIncomplete(const DecodeTable& table, LookEntry entry);

    ByteSource& in_;
    const std::uint8_t* next_;
    std::uint32_t acc_;
    int count_;
    int padding_ = 0;
};

}  // namespace orn32::jpeg
