// The checksum of a chunk's type and data: CRC-32 as zlib has it.
#pragma once

#include <cstdint>

namespace orn32::png {

class Crc {
 public:
    void restart() { value_ = 0; }
    void add(const std::uint8_t* bytes, std::uint32_t count);
    std::uint32_t value() const { return value_; }

 private:
    std::uint32_t value_ = 0;
};

}  // namespace orn32::png
