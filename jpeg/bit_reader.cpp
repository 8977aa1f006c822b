#include "jpeg/bit_reader.h"

#include "jpeg/error.h"

namespace orn32::jpeg {

void BitReader::begin() {
    at_ = {in_.next(), 0, 0};
    padding_ = 0;
}

void BitReader::finish() {
    const std::uint8_t* next = at_.next;
    for (int bytes = (at_.count - padding_) / 8; bytes > 0; bytes--) {
        const bool stuffed = next - in_.begin() >= 2 && next[-1] == 0 && next[-2] == 0xFF;
        next -= stuffed ? 2 : 1;
    }
    in_.setNext(next);
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

bool BitReader::more(Cursor& at) {
    in_.setNext(at.next);
    const bool found = in_.readMore();
    at.next = in_.next();
    return found;
}

BitReader::Cursor BitReader::filledByBytes(Cursor at) {
    if (at.count < padding_) fail(Detail::endOfData);
    while (at.count < 24) {
        if (at.next == in_.end() && !more(at)) {
            at.count += 8;
            padding_ += 8;
            continue;
        }
        const std::uint32_t byte = *at.next++;
        if (byte == 0xFF && (at.next < in_.end() || more(at)) && *at.next == 0) at.next++;
        at.acc |= byte << (24 - at.count);
        at.count += 8;
    }
    return at;
}

BitReader::LongSymbol BitReader::longSymbol(Cursor at, const DecodeTable& table) const {
    const std::uint32_t string = at.acc >> 16;
    unsigned length = 1;
    while (string >= table.limit[length]) length++;
    if (length > 16) fail(at.count - padding_ < 16 ? Detail::endOfData : Detail::huffmanCode);
    const int index = static_cast<int>(string >> (16 - length)) + table.firstSymbol[length];
    const unsigned symbol = table.definition.values[index];
    const unsigned run = symbol >> 4, count = symbol & 15;
    if (count == 0) return {(run == 15 ? run : run + endOfBand) << 8 | entryComplete, length};
    return {count << 16 | run << 8, length};
}

}  // namespace orn32::jpeg
