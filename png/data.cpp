#include "png/data.h"

#include <algorithm>
#include <cstring>

#include "png/detail.h"

namespace orn32::png {
namespace {

constexpr std::uint32_t windowBytes = 131072;

void startCrc(Crc& crc) {
    static constexpr std::uint8_t type[4] = {'I', 'D', 'A', 'T'};
    crc.restart();
    crc.add(type, sizeof type);
}

}  // namespace

DataChunks::DataChunks(InputStream& in, const Place& first)
    : window_(in, windowBytes, MemoryEntry::second),
      gathered_(MemoryEntry::second, windowBytes),
      remaining_(first.length),
      inChunk_(first.known) {
    if (!window_ || !gathered_) throw Failure{ERR_MEMORY};
    in.seek(first.position);
    startCrc(crc_);
}

// Writers cut the data into small chunks; zlib is slower by a twentieth when it is called for each of them.
std::span<const std::uint8_t> DataChunks::next() {
    used_ = ofChunk_ = 0;
    try {
        while (inChunk_ && used_ < windowBytes)
            if (gather(windowBytes - used_) == 0) nextChunk();
    } catch (const Failure&) {
        if (used_ == 0) throw;
    }
    return {gathered_.get(), used_};
}

void DataChunks::finish(std::uint32_t unused) {
    if (!inChunk_ || unused >= ofChunk_) return;
    do used_ = 0;
    while (gather(windowBytes) > 0);
    nextChunk();
}

// Takes over what the window has of the current chunk, as far as there is room, and returns how much.
std::uint32_t DataChunks::gather(std::uint32_t room) {
    if (remaining_ == 0) return 0;
    const std::uint32_t n = std::min({window_.ensure(1), remaining_, room});
    if (n == 0) fail(shortRead);
    crc_.add(window_.data(), n);
    std::memcpy(gathered_.get() + used_, window_.data(), n);
    window_.consume(n);
    used_ += n;
    ofChunk_ += n;
    remaining_ -= n;
    return n;
}

// Nothing has changed when this fails, so that it fails again.
void DataChunks::nextChunk() {
    if (window_.ensure(4) < 4) fail(shortRead);
    if (bigEndian(window_.data()) != crc_.value()) fail(badCrc);
    if (window_.ensure(12) < 12) fail(shortRead);
    remaining_ = bigEndian(window_.data() + 4);
    inChunk_ = bigEndian(window_.data() + 8) == chunkType("IDAT");
    window_.consume(12);
    ofChunk_ = 0;
    startCrc(crc_);
}

}  // namespace orn32::png
