#include "jpeg/coefficients.h"

#include "core/memory.h"

namespace orn32::jpeg {

Coefficients::Coefficients(const Layout& layout, unsigned mcuRows) : count_(layout.count) {
    for (unsigned c = 0; c < count_; c++) {
        planes_[c].across = layout.mcusPerRow * layout.components[c].h;
        planes_[c].down = mcuRows * layout.components[c].v;
    }
}

Coefficients::~Coefficients() {
    if (memory_) freeGlobal(memory_);
}

bool Coefficients::allocate() {
    constexpr std::uint64_t alignment = 64;
    std::uint64_t blocks = 0;
    for (const Plane& plane : planes_) blocks += std::uint64_t{plane.across} * plane.down;
    memory_ = allocateGlobal(blocks * (blockSize * sizeof(std::int16_t)) + alignment);
    if (!memory_) return false;
    const auto address = reinterpret_cast<std::uintptr_t>(memory_);
    auto* next = reinterpret_cast<std::int16_t*>((address + alignment - 1) & ~std::uintptr_t{alignment - 1});
    for (Plane& plane : planes_) {
        plane.start = next;
        next += std::size_t{plane.across} * plane.down * blockSize;
    }
    return true;
}

}  // namespace orn32::jpeg
