#include "png/data.h"

#include <algorithm>
#include <utility>

#include "png/detail.h"

namespace orn32::png {
namespace {

constexpr std::uint32_t windowBytes = 65536;

void startCrc(Crc& crc) {
    static constexpr std::uint8_t type[4] = {'I', 'D', 'A', 'T'};
    crc.restart();
    crc.add(type, sizeof type);
}

}  // namespace

DataChunks::DataChunks(InputStream& in, const Place& first)
    : window_(in, windowBytes, MemoryEntry::second), remaining_(first.length), inChunk_(first.known) {
    if (!window_) throw Failure{ERR_MEMORY};
    in.seek(first.position);
    startCrc(crc_);
}

std::span<const std::uint8_t> DataChunks::next() {
    for (;;) {
        const std::span<const std::uint8_t> bytes = nextOfChunk();
        if (!bytes.empty() || !inChunk_) return bytes;
        nextChunk();
    }
}

void DataChunks::finishChunk() {
    if (!inChunk_) return;
    while (!nextOfChunk().empty()) {
    }
    nextChunk();
}

std::span<const std::uint8_t> DataChunks::nextOfChunk() {
    window_.consume(std::exchange(handedOut_, 0));
    if (!inChunk_ || remaining_ == 0) return {};
    handedOut_ = std::min(window_.ensure(1), remaining_);
    if (handedOut_ == 0) fail(shortRead);
    remaining_ -= handedOut_;
    crc_.add(window_.data(), handedOut_);
    return {window_.data(), handedOut_};
}

void DataChunks::nextChunk() {
    if (window_.ensure(4) < 4) fail(shortRead);
    if (bigEndian(window_.data()) != crc_.value()) fail(badCrc);
    window_.consume(4);
    if (window_.ensure(8) < 8) fail(shortRead);
    remaining_ = bigEndian(window_.data());
    inChunk_ = bigEndian(window_.data() + 4) == chunkType("IDAT");
    window_.consume(8);
    startCrc(crc_);
}

}  // namespace orn32::png
