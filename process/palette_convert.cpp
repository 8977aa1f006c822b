// Between 24-bit pictures and 8-bit ones with a palette.
#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "process/match.h"
#include "process/median_cut.h"
#include "process/palette_row.h"

namespace orn32 {
namespace {

int quantise(int colours, imgdes* source, imgdes* destination, int mode) {
    const int code = mediancutpalette_(*source, *destination, static_cast<unsigned>(colours));
    return code ? code : matchcolorimageex(source, destination, mode);
}

void expandRows(const imgdes& source, const imgdes& destination, Size size, std::uint8_t* buffer) {
    const AreaRows from(source), to(destination);
    const PaletteTable palette(source);
    const std::size_t columns = size.width;
    for (unsigned y = 0; y < size.height; y++) {
        std::memcpy(buffer, from[y], columns);
        widenRow(buffer + columns, buffer, palette, size.width);
        std::memcpy(to[y], buffer + columns, 3 * columns);
    }
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI convertrgbtopalex(int colors, imgdes* source, imgdes* destination, int mode) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount != 24 || destination->header->biBitCount != 8) return ERR_BITS;
    if (!destination->palette) return ERR_RANGE;
    if (colors < 2 || colors > 256 || !isMatchMode(mode)) return ERR_ARGUMENT;
    if (static_cast<unsigned>(colors) > paletteRoom(*destination)) return ERR_RANGE;
    const int code = quantise(colors, source, destination, mode);
    destination->imgkind &= ~greyMark;
    if (destination->hbitmap) updatebitmapcolortable(destination);
    return code;
}

extern "C" int ORNAPI convertrgbtopal(int colors, imgdes* source, imgdes* destination) {
    return convertrgbtopalex(colors, source, destination, bySortedAxis);
}

extern "C" int ORNAPI convertpaltorgb(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount != 8 || destination->header->biBitCount != 24) return ERR_BITS;
    if (!source->palette) return ERR_RANGE;
    const Size size = commonSize(*source, *destination);
    const WorkArray<std::uint8_t> buffer(MemoryEntry::first, std::uint64_t{4} * size.width);
    if (!buffer) return ERR_MEMORY;
    expandRows(*source, *destination, size, buffer.get());
    return 0;
}
