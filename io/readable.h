// How much of a caller's memory can be read.
#pragma once

#include <cstdint>

namespace orn32 {

// Where the memory that can be read from start on ends: at least count bytes further if all of these can be
// read, and beyond as far as is known then.
std::uintptr_t readableEnd(std::uintptr_t start, std::uint32_t count);

inline bool isReadable(const void* p, std::uint32_t count) {
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(p);
    return readableEnd(start, count) - start >= count;
}

}  // namespace orn32
