// What the variable-width codes of GIF image data have in common, whoever reads or writes them.
#pragma once

#include <cstdint>
#include <cstring>

namespace orn32::gif {

constexpr unsigned widestCode = 12;
constexpr unsigned tableSize = 1u << widestCode;  // codes 0 to 4095

// The codes that a minimum code size fixes. Below clear lie the pixels themselves.
struct CodeSet {
    unsigned clear, end, firstString, width;

    constexpr explicit CodeSet(unsigned minimumSize)
        : clear(1u << minimumSize), end(clear + 1), firstString(clear + 2), width(minimumSize + 1) {}
};

constexpr unsigned maskOf(unsigned width) {
    return (1u << width) - 1;
}

// Codes are packed from the lowest bit of the first byte on, so that 32 bits taken at a code's first byte
// hold all of it.
inline std::uint32_t load32(const std::uint8_t* p) {
    std::uint32_t value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

inline void store32(std::uint8_t* p, std::uint32_t value) {
    std::memcpy(p, &value, sizeof value);
}

}  // namespace orn32::gif
