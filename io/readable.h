// How much of a caller's memory can be read.
#pragma once

#include <cstdint>

namespace orn32 {

// The length of the longest readable prefix of count bytes at p.
std::uint32_t readablePrefix(const void* p, std::uint32_t count);

inline bool isReadable(const void* p, std::uint32_t count) {
    return readablePrefix(p, count) == count;
}

}  // namespace orn32
