#include "jpeg/coefficients.h"

#include <utility>

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
    constexpr std::uint64_t blockBytes = blockSize * sizeof(std::int16_t) + sizeof(std::uint64_t);
    std::uint64_t blocks = 0, rows = 0;
    for (const Plane& plane : planes_) {
        blocks += std::uint64_t{plane.across} * plane.down;
        rows += plane.down;
    }
    memory_ = allocateGlobal(blocks * blockBytes + rows + alignment);
    if (!memory_) return false;
    auto start = (reinterpret_cast<std::uintptr_t>(memory_) + alignment - 1) & ~std::uintptr_t{alignment - 1};
    const auto take = [&](std::size_t bytes) { return std::exchange(start, start + bytes); };
    const auto blocksOf = [](const Plane& plane) { return std::size_t{plane.across} * plane.down; };
    // What needs the strictest alignment comes first.
    for (Plane& plane : planes_)
        plane.start =
            reinterpret_cast<std::int16_t*>(take(blocksOf(plane) * blockSize * sizeof(std::int16_t)));
    for (Plane& plane : planes_)
        plane.nonzero = reinterpret_cast<std::uint64_t*>(take(blocksOf(plane) * sizeof(std::uint64_t)));
    for (Plane& plane : planes_) plane.rowHasAc = reinterpret_cast<bool*>(take(plane.down));
    return true;
}

}  // namespace orn32::jpeg
