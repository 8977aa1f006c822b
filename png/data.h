// The compressed data of a picture: what all its IDAT chunks hold, as one run of bytes.
#pragma once

#include <cstdint>
#include <span>

#include "core/memory.h"
#include "io/file_window.h"
#include "png/chunks.h"

namespace orn32::png {

class DataChunks {
 public:
    // From the first IDAT's data on; the stream is this object's as long as it lives.
    DataChunks(InputStream& in, const Place& first);

    // The bytes that come next, of as many chunks as have room in a buffer: valid until the next call; none
    // behind the last IDAT. A chunk's checksum is compared when its end is reached. A fault is reported when
    // there are no bytes in front of it.
    std::span<const std::uint8_t> next();

    // No more is needed, and of the last bytes handed out not the last `unused`. What is left to do is to go
    // through the rest of the chunk that holds the last byte used, for its checksum.
    void finish(std::uint32_t unused);

 private:
    std::uint32_t gather(std::uint32_t room);
    void nextChunk();

    FileWindow window_;
    WorkArray<std::uint8_t> gathered_;
    std::uint32_t used_ = 0;     // of the gathered bytes' room
    std::uint32_t ofChunk_ = 0;  // bytes among them that are the current chunk's
    std::uint32_t remaining_;    // of the current chunk, not yet gathered
    bool inChunk_;
    Crc crc_;
};

}  // namespace orn32::png
