// Copying areas and palettes between images.
#include <algorithm>
#include <cstring>

#include "core/area.h"
#include "core/bits.h"
#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "orn32.h"

namespace orn32 {
namespace {

// The memory that an area's rows lie in, gaps between them included.
struct Span {
    const std::uint8_t* begin;
    const std::uint8_t* end;
};

Span memoryOf(const imgdes& image, Size size) {
    const AreaRows rows(image);
    const unsigned bits = rows.bit() + size.width * image.header->biBitCount;
    return {rows[size.height - 1], rows[0] + (bits + 7) / 8};
}

bool overlap(Span a, Span b) {
    return a.begin < b.end && b.begin < a.end;
}

// Calls row(y) for every row of a copy, in the order that is right when both areas lie in one image. Else in
// the order of memory, which the processor's prefetching follows best (a quarter faster than from the top).
template <class Row>
void forRowsInSafeOrder(const imgdes& source, const imgdes& destination, Size size, Row row) {
    const auto memoryRow = [](const imgdes& image) {
        return static_cast<unsigned>(image.header->biHeight) - 1 - image.top;
    };
    if (memoryRow(destination) < memoryRow(source) ||
        !overlap(memoryOf(source, size), memoryOf(destination, size)))
        for (unsigned y = size.height; y-- > 0;) row(y);
    else
        for (unsigned y = 0; y < size.height; y++) row(y);
}

void copyBytes(const imgdes& source, const imgdes& destination, Size size) {
    const AreaRows from(source), to(destination);
    const std::size_t bytes = std::size_t{size.width} * source.header->biBitCount / 8;
    forRowsInSafeOrder(source, destination, size, [&](unsigned y) { std::memmove(to[y], from[y], bytes); });
}

int copyBits(const imgdes& source, const imgdes& destination, Size size) {
    const WorkArray<std::uint8_t> row(MemoryEntry::counted, size.width / 8 + 4);
    if (!row) return ERR_MEMORY;
    const AreaRows from(source), to(destination);
    forRowsInSafeOrder(source, destination, size, [&](unsigned y) {
        gatherBits(row.get(), from[y], from.bit(), size.width);
        placeBits(to[y], to.bit(), row.get(), size.width);
    });
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI copyimagebits(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits1to24)) return code;
    if (const int code = checkRange(destination, bits1to24)) return code;
    if (source->header->biBitCount != destination->header->biBitCount) return ERR_BITS;
    const Size size = commonSize(*source, *destination);
    if (source->header->biBitCount == 1) return copyBits(*source, *destination, size);
    copyBytes(*source, *destination, size);
    return 0;
}

extern "C" int ORNAPI copyimagepalette(const imgdes* source, imgdes* destination) {
    if (!source->palette || !destination->palette) return 0;
    if (source->header->biBitCount > 8 || destination->header->biBitCount > 8) return 0;
    const int n = std::min(static_cast<int>(colourCount(*destination->header)), source->palcolors);
    if (n > 0)
        std::memmove(destination->palette, source->palette, static_cast<unsigned>(n) * sizeof(RGBQUAD));
    destination->palcolors = n;
    destination->imgkind = (destination->imgkind & ~greyMark) | (source->imgkind & greyMark);
    if (destination->hbitmap) updatebitmapcolortable(destination);
    return 0;
}

extern "C" int ORNAPI copyimage(imgdes* source, imgdes* destination) {
    if (const int code = copyimagebits(source, destination)) return code;
    copyimagepalette(source, destination);
    return 0;
}
