#include "jpeg/coefficient_planes.h"

namespace orn32::jpeg {

CoefficientPlanes::CoefficientPlanes(const EncodeFrame& frame)
    : count_(frame.componentCount), progressive_(frame.coding == Coding::progressive) {
    for (int i = 0; i < count_; i++) {
        const Component& component = frame.components[i];
        Plane& plane = planes_[i];
        plane.columns = frame.mcusPerRow() * component.h;
        const std::uint64_t blocks = std::uint64_t{plane.columns} * frame.mcuRows() * component.v;
        plane.summaries = WorkArray<BlockSummary>(MemoryEntry::first, blocks);
        plane.coefficients = WorkArray<std::int16_t>(MemoryEntry::first, blocks * blockSize);
    }
}

CoefficientPlanes::operator bool() const {
    for (int i = 0; i < count_; i++)
        if (!planes_[i].coefficients || !planes_[i].summaries) return false;
    return true;
}

void CoefficientPlanes::store(int component, unsigned column, unsigned row, const QuantisedBlock& block) {
    const Plane& plane = planes_[component];
    const std::size_t i = std::size_t{row} * plane.columns + column;
    std::int16_t* to = plane.coefficients.get() + i * blockSize;
    PositionMask atLeast2 = {}, atLeast4 = {};
    forEachBit(block.nonzero().withoutFirst(), [&](unsigned k) {
        const int value = block.at(k);
        to[k] = static_cast<std::int16_t>(value);
        if (!progressive_) return;
        const unsigned magnitude = static_cast<unsigned>(value < 0 ? -value : value);
        atLeast2.set(k, magnitude >= 2);
        atLeast4.set(k, magnitude >= 4);
    });
    plane.summaries[i] = {{block.nonzero(), atLeast2, atLeast4}, static_cast<std::int16_t>(block.dc())};
}

}  // namespace orn32::jpeg
