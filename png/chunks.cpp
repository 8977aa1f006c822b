#include "png/chunks.h"

#include <algorithm>
#include <cstring>

#include "png/detail.h"

namespace orn32::png {

void ChunkReader::readSignature() {
    std::uint8_t found[sizeof signature];
    if (in_.read(found, sizeof found) != sizeof found || std::memcmp(found, signature, sizeof found) != 0)
        fail(badSignature);
    position_ = sizeof found;
}

void ChunkReader::nextHeader() {
    std::uint8_t header[8];
    readWhole(header, sizeof header);
    length_ = remaining_ = bigEndian(header);
    type_ = bigEndian(header + 4);
    crc_.restart();
    crc_.add(header + 4, 4);
}

void ChunkReader::read(std::uint8_t* to, std::uint32_t count) {
    readWhole(to, count);
    crc_.add(to, count);
    remaining_ -= count;
}

void ChunkReader::skip(std::uint8_t* buffer, std::uint32_t bufferBytes) {
    while (remaining_ > 0) read(buffer, std::min(remaining_, bufferBytes));
}

void ChunkReader::jump() {
    if (remaining_ > 0xFFFFFFFF - position_) fail(shortRead);
    position_ += remaining_;
    remaining_ = 0;
    in_.seek(position_);
}

void ChunkReader::checkCrc() {
    std::uint8_t stored[4];
    readWhole(stored, sizeof stored);
    if (bigEndian(stored) != crc_.value()) fail(badCrc);
}

void ChunkReader::passCrc() {
    std::uint8_t stored[4];
    readWhole(stored, sizeof stored);
}

void ChunkReader::readWhole(std::uint8_t* to, std::uint32_t count) {
    if (!in_.readWhole(to, count) || count > 0xFFFFFFFF - position_) fail(shortRead);
    position_ += count;
}

}  // namespace orn32::png
