#include "jpeg/coefficients.h"

#include <emmintrin.h>

#include "core/memory.h"

namespace orn32::jpeg {

Coefficients::Coefficients(const Layout& layout, unsigned mcuRows) {
    for (unsigned c = 0; c < layout.count; c++) {
        planes_[c].across = layout.mcusPerRow * layout.components[c].h;
        planes_[c].down = mcuRows * layout.components[c].v;
    }
}

Coefficients::~Coefficients() {
    if (memory_) freeGlobal(memory_);
}

bool Coefficients::allocate() {
    constexpr std::uint64_t alignment = 64;
    std::uint64_t blocks = 0, rows = 0;
    for (const Plane& plane : planes_) {
        blocks += std::uint64_t{plane.across} * plane.down;
        rows += plane.down;
    }
    memory_ = allocateGlobal(blocks * (blockSize * sizeof(std::int16_t)) + rows + alignment);
    if (!memory_) return false;
    const auto address = reinterpret_cast<std::uintptr_t>(memory_);
    auto* next = reinterpret_cast<std::int16_t*>((address + alignment - 1) & ~std::uintptr_t{alignment - 1});
    for (Plane& plane : planes_) {
        plane.start = next;
        next += std::size_t{plane.across} * plane.down * blockSize;
    }
    bool* flags = reinterpret_cast<bool*>(next);
    for (Plane& plane : planes_) {
        plane.rowHasAc = flags;
        flags += plane.down;
    }
    return true;
}

bool hasAc(const std::int16_t* coefs) {
    const auto* rows = reinterpret_cast<const __m128i*>(coefs);
    __m128i any = _mm_srli_si128(_mm_load_si128(rows), 2);
    for (int i = 1; i < 8; i++) any = _mm_or_si128(any, _mm_load_si128(rows + i));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(any, _mm_setzero_si128())) != 0xFFFF;
}

}  // namespace orn32::jpeg
