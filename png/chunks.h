// Reading a PNG chunk by chunk: header, data through the checksum, checksum.
#pragma once

#include <cstdint>

#include "io/stream.h"
#include "png/crc.h"
#include "png/format.h"

namespace orn32::png {

// Where a chunk's data, or a part of it, lies in the file.
struct Place {
    std::uint32_t position = 0;
    std::uint32_t length = 0;
    bool known = false;
};

// What ends too early fails with shortRead. Positions go up only: no length leads back into the file.
class ChunkReader {
 public:
    explicit ChunkReader(InputStream& in) : in_(in) {}

    void readSignature();

    void nextHeader();
    ChunkType type() const { return type_; }
    std::uint32_t length() const { return length_; }

    // Of the chunk's data, what has not been read yet.
    std::uint32_t remaining() const { return remaining_; }
    Place remainingPlace() const { return {position_, remaining_, true}; }

    // Read from the remaining data, which holds that much.
    void read(std::uint8_t* to, std::uint32_t count);
    void skip(std::uint8_t* buffer, std::uint32_t bufferBytes);

    // Goes past the data without looking at it; the checksum is then of no use.
    void jump();

    void checkCrc();
    void passCrc();

 private:
    void readWhole(std::uint8_t* to, std::uint32_t count);

    InputStream& in_;
    std::uint32_t position_ = 0;
    ChunkType type_ = 0;
    std::uint32_t length_ = 0;
    std::uint32_t remaining_ = 0;
    Crc crc_;
};

}  // namespace orn32::png
