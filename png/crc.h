// The checksum of a chunk's type and data: CRC-32, reflected polynomial 0xEDB88320.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orn32::png {

// Takes count more bytes into the register, which starts at 0xFFFFFFFF.
std::uint32_t updateCrc(std::uint32_t crc, const std::uint8_t* bytes, std::size_t count);

class Crc {
 public:
    void restart() { register_ = 0xFFFFFFFF; }
    void add(const std::uint8_t* bytes, std::size_t count) { register_ = updateCrc(register_, bytes, count); }
    std::uint32_t value() const { return ~register_; }

 private:
    std::uint32_t register_ = 0xFFFFFFFF;
};

}  // namespace orn32::png
