#include "jpeg/bit_reader.h"

#include "jpeg/error.h"

namespace orn32::jpeg {

void BitReader::begin() {
    next_ = in_.next();
    acc_ = 0;
    count_ = padding_ = 0;
}

void BitReader::finish() {
    for (int bytes = (count_ - padding_) / 8; bytes > 0; bytes--) {
        const bool stuffed = next_ - in_.begin() >= 2 && next_[-1] == 0 && next_[-2] == 0xFF;
        next_ -= stuffed ? 2 : 1;
    }
    in_.setNext(next_);
    begin();
}

void BitReader::resynchronise() {
    if (overrun()) fail(Detail::endOfData);
    finish();
    for (;;) {
        if (in_.ensure(2) < 2) fail(Detail::endOfData);
        const std::uint8_t* p = in_.next();
        const bool marker = p[0] == 0xFF && p[1] != 0xFF && p[1] != 0;
        in_.skip(marker ? 2 : 1);
        if (marker) break;
    }
    begin();
}

bool BitReader::more() {
    in_.setNext(next_);
    const bool found = in_.readMore();
    next_ = in_.next();
    return found;
}

void BitReader::fillByBytes() {
    if (overrun()) fail(Detail::endOfData);
    while (count_ <= 24) {
        if (next_ == in_.end() && !more()) {
            count_ += 8;
            padding_ += 8;
            continue;
        }
        const std::uint32_t byte = *next_++;
        if (byte == 0xFF && (next_ < in_.end() || more()) && *next_ == 0) next_++;
        acc_ |= byte << (24 - count_);
        count_ += 8;
    }
}

// A code longer than the look-up, or shorter with a value that the look-up does not have.
LookEntry BitReader::nextIncomplete(const DecodeTable& table, LookEntry entry) {
    if (entry) {
        drop(entry & 0x7F);
        return entry;
    }
    need(16);
    const std::uint32_t string = acc_ >> 16;
    unsigned length = 1;
    while (string >= table.limit[length]) length++;
    if (length > 16) fail(count_ - padding_ < 16 ? Detail::endOfData : Detail::huffmanCode);
    const int index = static_cast<int>(string >> (16 - length)) + table.firstSymbol[length];
    drop(length);
    const unsigned symbol = table.symbols[index];
    const unsigned run = symbol >> 4, count = symbol & 15;
    if (count == 0) return (run == 15 ? run : run + endOfBand) << 8 | entryComplete;
    return count << 16 | run << 8;
}

}  // namespace orn32::jpeg
