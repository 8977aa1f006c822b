#include "process/lut.h"

#include <cstring>

#include "core/area.h"
#include "core/range_check.h"
#include "process/colour_key.h"
#include "process/palette_row.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

struct Tables {
    const std::uint8_t* red;
    const std::uint8_t* green;
    const std::uint8_t* blue;
};

void mapColours(const Tables& tables, const imgdes& source, const imgdes& destination) {
    const AreaRows from(source), to(destination);
    const Size size = commonSize(source, destination);
    for (unsigned y = 0; y < size.height; y++) {
        const std::uint8_t* in = from[y];
        std::uint8_t* out = to[y];
        for (unsigned x = 0; x < size.width; x++, in += 3, out += 3) {
            out[blue] = tables.blue[in[blue]];
            out[green] = tables.green[in[green]];
            out[red] = tables.red[in[red]];
        }
    }
}

int applyTables(const std::uint8_t* redlut, const std::uint8_t* greenlut, const std::uint8_t* bluelut,
                imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount != destination->header->biBitCount) return ERR_BITS;
    if (source->header->biBitCount == 8)
        mapIndices(redlut, *source, *destination);
    else
        mapColours({redlut, greenlut, bluelut}, *source, *destination);
    return 0;
}

}  // namespace

void mapIndices(const std::uint8_t* table, const imgdes& source, const imgdes& destination) {
    const AreaRows from(source), to(destination);
    const Size size = commonSize(source, destination);
    for (unsigned y = 0; y < size.height; y++) {
        const std::uint8_t* in = from[y];
        std::uint8_t* out = to[y];
        unsigned x = 0;
        for (; x + 4 <= size.width; x += 4) {
            std::uint32_t four;
            std::memcpy(&four, in + x, 4);
            four = table[four & 0xFF] | table[four >> 8 & 0xFF] << 8 | table[four >> 16 & 0xFF] << 16 |
                   std::uint32_t{table[four >> 24]} << 24;
            std::memcpy(out + x, &four, 4);
        }
        for (; x < size.width; x++) out[x] = table[in[x]];
    }
}

int applylut_(const std::uint8_t* redlut, const std::uint8_t* greenlut, const std::uint8_t* bluelut,
              imgdes* source, imgdes* destination) {
    if (isColourPaletteImage(source))
        return viargb_(applyTables, source, destination, redlut, greenlut, bluelut);
    return applyTables(redlut, greenlut, bluelut, source, destination);
}

}  // namespace orn32
