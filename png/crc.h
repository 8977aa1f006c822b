// The checksum of a chunk's type and data: zlib's CRC-32, which takes several words at a time.
#pragma once

#include <zlib.h>

#include <cstdint>

namespace orn32::png {

class Crc {
 public:
    void restart() { value_ = 0; }
    void add(const std::uint8_t* bytes, std::uint32_t count) {
        value_ = static_cast<std::uint32_t>(crc32(value_, bytes, count));
    }
    std::uint32_t value() const { return value_; }

 private:
    std::uint32_t value_ = 0;
};

}  // namespace orn32::png
