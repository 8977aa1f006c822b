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
    // Where reading stands. The decoders of blocks keep it in a variable of their own, in registers, and put
    // it back when they are done.
    struct Cursor {
        const std::uint8_t* next;
        std::uint32_t acc;  // from the highest bit down
        int count;          // valid bits in acc
    };

    explicit BitReader(ByteSource& in) : in_(in) { begin(); }

    // Starts at the source's next byte.
    void begin();

    // Gives the source back the whole bytes that were not used, and forgets the rest.
    void finish();

    // Passes over the next marker and starts behind it.
    void resynchronise();

    // At the end of the data zeros follow, so that a symbol need not be tested bit by bit. Whether any of
    // them has been used, and with it a symbol that was cut, is asked here.
    bool overrun() const { return overrun(at_); }
    bool overrun(const Cursor& at) const { return at.count < padding_; }

    Cursor cursor() const { return at_; }
    void setCursor(const Cursor& at) { at_ = at; }

    unsigned take(unsigned n) { return take(at_, n); }
    LookEntry next(const DecodeTable& table) { return next(at_, table); }

    // The next n bits, up to 16.
    unsigned take(Cursor& at, unsigned n) {
        need(at, n);
        const unsigned bits = at.acc >> 1 >> (31 - n);
        drop(at, n);
        return bits;
    }

    // The next symbol with the value behind it, as far as the table's look-up has it: the complete flag, the
    // run and the value of a LookEntry. Its bits are dropped, but not those of an incomplete value.
    LookEntry next(Cursor& at, const DecodeTable& table) {
        need(at, lookBits);
        const LookEntry entry = table.look[at.acc >> (32 - lookBits)];
        if (entry & entryComplete) [[likely]] {
            drop(at, entry & entryBits);
            return entry;
        }
        return nextIncomplete(at, table, entry);
    }

    // The value that an entry of next stands for.
    int value(Cursor& at, LookEntry entry) {
        if (entry & entryComplete) [[likely]]
            return static_cast<std::int32_t>(entry) >> 16;
        const unsigned count = entry >> 16;
        return extend(take(at, count), count);
    }

    // Takes back that the bits of an entry's value were dropped.
    static void giveBackValue(Cursor& at, LookEntry entry) {
        const int value = static_cast<std::int32_t>(entry) >> 16;
        if (!(entry & entryComplete) || value == 0) return;
        const auto count =
            static_cast<unsigned>(std::bit_width(static_cast<unsigned>(value < 0 ? -value : value)));
        const auto bits = static_cast<unsigned>(value < 0 ? value - 1 : value);
        at.acc = at.acc >> count | bits << (32 - count);
        at.count += static_cast<int>(count);
    }

    static void drop(Cursor& at, unsigned n) {
        at.acc <<= n;
        at.count -= static_cast<int>(n);
    }

    // Adds whole bytes, so that 24 bits or more are there, and less than 32. Bits of the next byte may stand
    // behind the counted ones: they are the same when that byte comes.
    void fill(Cursor& at) {
        if (in_.end() - at.next >= 4) [[likely]] {
            std::uint32_t word;
            std::memcpy(&word, at.next, 4);
            const bool has0xFF = (~word - 0x01010101u) & word & 0x80808080u;
            if (!has0xFF) [[likely]] {
                at.acc |= __builtin_bswap32(word) >> at.count;
                at.next += (31 - at.count) >> 3;
                at.count |= 24;
                return;
            }
        }
        at = filledByBytes(at);
    }

 private:
    void need(Cursor& at, unsigned n) {
        if (at.count < static_cast<int>(n)) fill(at);
    }

    // A code longer than the look-up, or shorter with a value that the look-up does not have.
    LookEntry nextIncomplete(Cursor& at, const DecodeTable& table, LookEntry entry) {
        if (entry) {
            drop(at, entry & entryBits);
            return entry;
        }
        need(at, 16);
        const LongSymbol symbol = longSymbol(at, table);
        drop(at, symbol.length);
        return symbol.entry;
    }

    struct LongSymbol {
        LookEntry entry;
        unsigned length;
    };
    LongSymbol longSymbol(Cursor at, const DecodeTable& table) const;
    Cursor filledByBytes(Cursor at);
    bool more(Cursor& at);

    ByteSource& in_;
    Cursor at_;
    int padding_ = 0;  // zero bits at the end of acc that stand for missing data
};

}  // namespace orn32::jpeg
