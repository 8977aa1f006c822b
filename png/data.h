// The compressed data of a picture: what all its IDAT chunks hold, as one run of bytes.
#pragma once

#include <cstdint>
#include <span>

#include "io/file_window.h"
#include "png/chunks.h"

namespace orn32::png {

class DataChunks {
 public:
    // From the first IDAT's data on; the stream is this object's as long as it lives.
    DataChunks(InputStream& in, const Place& first);

    // The bytes that come next, valid until the next call; none behind the last IDAT. Checksums are compared
    // as the ends of the chunks are reached.
    std::span<const std::uint8_t> next();

    // Goes through the rest of the current chunk, for its checksum.
    void finishChunk();

 private:
    std::span<const std::uint8_t> nextOfChunk();
    void nextChunk();

    FileWindow window_;
    std::uint32_t handedOut_ = 0;
    std::uint32_t remaining_;  // of the current chunk, without what was handed out
    bool inChunk_;
    Crc crc_;
};

}  // namespace orn32::png
