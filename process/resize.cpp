#include "process/resize.h"

#include <cstdint>

#include "core/area.h"

namespace orn32 {

bool areasOverlap(const imgdes& a, const imgdes& b) {
    if (a.rowbytes != b.rowbytes) return false;
    if (a.left > b.right || b.left > a.right) return false;
    // Row numbers from the top serve as offsets in memory on both sides, which is enough for areas of one
    // image.
    const auto at = [](const imgdes& image, unsigned row) {
        return reinterpret_cast<std::uintptr_t>(image.bits) + std::uint64_t{image.rowbytes} * row;
    };
    return at(a, a.top) <= at(b, b.bottom) && at(b, b.top) <= at(a, a.bottom);
}

int resizeimage_(imgdes* source, imgdes* destination, int mode) {
    if (source->header->biBitCount != destination->header->biBitCount) return ERR_BITS;
    const Size from = areaSize(*source), to = areaSize(*destination);
    if (!from.width || !from.height || !to.width || !to.height) return ERR_RANGE;
    if (from.width == to.width && from.height == to.height) return copyimage(source, destination);
    if (mode == 0 || source->header->biBitCount == 1) return resizeBySampling(source, destination);
    return resizeSmoothly(source, destination);
}

}  // namespace orn32
