#include "jpeg/coefficient_planes.h"

namespace orn32::jpeg {

CoefficientPlanes::CoefficientPlanes(const EncodeFrame& frame) : count_(frame.componentCount) {
    for (int i = 0; i < count_; i++) {
        const Component& component = frame.components[i];
        Plane& plane = planes_[i];
        plane.columns = frame.mcusPerRow() * component.h;
        const std::uint64_t blocks = std::uint64_t{plane.columns} * frame.mcuRows() * component.v;
        plane.coefficients = WorkArray<std::int16_t>(MemoryEntry::first, blocks * blockSize);
        plane.nonzero = WorkArray<NonzeroMask>(MemoryEntry::first, blocks);
    }
}

CoefficientPlanes::operator bool() const {
    for (int i = 0; i < count_; i++)
        if (!planes_[i].coefficients || !planes_[i].nonzero) return false;
    return true;
}

void CoefficientPlanes::store(int component, unsigned column, unsigned row, const QuantisedBlock& block) {
    const Plane& plane = planes_[component];
    const std::size_t i = std::size_t{row} * plane.columns + column;
    std::int16_t* to = plane.coefficients.get() + i * blockSize;
    to[0] = block.coefficients[0];
    forEachBit(block.nonzero, [&](unsigned k) { to[k] = static_cast<std::int16_t>(block.at(k)); });
    plane.nonzero[i] = block.nonzero;
}

}  // namespace orn32::jpeg
