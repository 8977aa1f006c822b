#include "process/histogram.h"

#include <algorithm>

#include "core/area.h"
#include "core/memory.h"
#include "core/range_check.h"
#include "process/colour_key.h"
#include "process/palette_row.h"

namespace orn32 {
namespace {

constexpr unsigned levels = 256;

using Counters = std::uint32_t[levels];

void addTo(long* table, const std::uint32_t* counters) {
    for (unsigned i = 0; i < levels; i++)
        table[i] = static_cast<long>(static_cast<std::uint32_t>(table[i]) + counters[i]);
}

void countColours(const std::uint8_t* bgr, unsigned count, Counters* channels) {
    for (unsigned x = 0; x < count; x++, bgr += 3)
        for (const Channel channel : {blue, green, red}) channels[channel][bgr[channel]]++;
}

// The channels of a 24-bit area, or of an 8-bit one through its palette and a row buffer.
int countColours(const imgdes& image, bool expand, Counters* channels) {
    const Size size = areaSize(image);
    const AreaRows rows(image);
    if (!expand) {
        for (unsigned y = 0; y < size.height; y++) countColours(rows[y], size.width, channels);
        return 0;
    }
    const WorkArray<std::uint8_t> row(MemoryEntry::first, std::uint64_t{3} * size.width);
    if (!row) return ERR_MEMORY;
    const PaletteTable palette(image);
    for (unsigned y = 0; y < size.height; y++) {
        widenRow(row.get(), rows[y], palette, size.width);
        countColours(row.get(), size.width, channels);
    }
    return 0;
}

}  // namespace

void countIndices(const imgdes& image, std::uint32_t* counters) {
    const Size size = areaSize(image);
    const AreaRows rows(image);
    for (unsigned y = 0; y < size.height; y++) {
        const std::uint8_t* row = rows[y];
        for (unsigned x = 0; x < size.width; x++) counters[row[x]]++;
    }
}

}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI calchistorgb(imgdes* image, long* redtab, long* greentab, long* bluetab,
                                   int colorflag) {
    const bool expand = colorflag && isColourPaletteImage(image);
    if (const int code = checkRange(image, bits8and24)) return code;
    if (!redtab) return ERR_RANGE;
    std::fill_n(redtab, levels, 0);
    if (image->header->biBitCount == 8 && !expand) {
        Counters counters = {};
        countIndices(*image, counters);
        addTo(redtab, counters);
        return 0;
    }
    if (!greentab || !bluetab || (expand && !image->palette)) return ERR_RANGE;
    std::fill_n(greentab, levels, 0);
    std::fill_n(bluetab, levels, 0);
    Counters channels[3] = {};
    if (const int code = countColours(*image, expand, channels)) return code;
    addTo(redtab, channels[red]);
    addTo(greentab, channels[green]);
    addTo(bluetab, channels[blue]);
    return 0;
}

extern "C" int ORNAPI calchisto(imgdes* image, long* redtab, long* greentab, long* bluetab) {
    return calchistorgb(image, redtab, greentab, bluetab, 0);
}
