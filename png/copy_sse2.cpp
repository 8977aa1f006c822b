#include "png/copy.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace orn32::png {

void copyPastCaches(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    // Whole lines only: one that is stored past the caches in part costs more than it saves.
    constexpr std::uint32_t line = 64;
    const auto toLine = static_cast<std::uint32_t>(0 - reinterpret_cast<std::uintptr_t>(to)) % line;
    std::uint32_t i = std::min(count, toLine);
    std::memcpy(to, from, i);
    for (; i + line <= count; i += line) {
        const auto* source = reinterpret_cast<const __m128i*>(from + i);
        auto* target = reinterpret_cast<__m128i*>(to + i);
        for (int k = 0; k < 4; k++) _mm_stream_si128(target + k, _mm_loadu_si128(source + k));
    }
    std::memcpy(to + i, from + i, count - i);
}

}  // namespace orn32::png
