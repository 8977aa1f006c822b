// The checksum at the end of a zlib stream: Adler-32 of the uncompressed bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orn32::png {

class Adler {
 public:
    void add(const std::uint8_t* bytes, std::size_t count);
    std::uint32_t value() const { return b_ << 16 | a_; }

 private:
    std::uint32_t a_ = 1, b_ = 0;  // the sum of the bytes, and the sum of these sums, modulo 65521
};

}  // namespace orn32::png
