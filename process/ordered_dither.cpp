// Ordered dithering of colours to a fixed palette.
#include "process/ordered_dither.h"

#include "core/memory.h"
#include "orn32.h"
#include "process/colour_key.h"
#include "process/fixed_palette.h"
#include "process/palette_row.h"

namespace orn32 {
namespace {

// What a channel adds to the number of the colour that a pixel becomes, looked up at its value + (the highest
// threshold - the pixel's threshold): so the comparison with the threshold is part of the table. Codes are
// then looked up for palette indices.
struct DitherTables {
    std::uint8_t channels[3][256 + ditherMatrixTop * ditherScale];  // blue, green, red
    std::uint8_t indices[216];
    unsigned scale;  // of the matrix
};

constexpr DitherTables pureTables = [] {
    DitherTables tables{};
    tables.scale = ditherScale;
    for (unsigned channel = 0; channel < 3; channel++)
        for (unsigned i = ditherMatrixTop * ditherScale + 1; i < 256 + ditherMatrixTop * ditherScale; i++)
            tables.channels[channel][i] = static_cast<std::uint8_t>(1u << channel);
    for (unsigned code = 0; code < 8; code++) tables.indices[code] = pureIndices[code];
    return tables;
}();

// A level goes up where its rest exceeds the threshold: where rest + 50 - threshold reaches the next step.
constexpr DitherTables cubeTables = [] {
    DitherTables tables{};
    tables.scale = 1;
    constexpr unsigned weights[3] = {1, 6, 36};
    for (unsigned channel = 0; channel < 3; channel++)
        for (unsigned i = 0; i < 256 + ditherMatrixTop; i++)
            tables.channels[channel][i] = static_cast<std::uint8_t>(i / cubeStep * weights[channel]);
    for (unsigned number = 0; number < 216; number++) tables.indices[number] = cubeIndex(number);
    return tables;
}();

// The matrix's columns count from the right end of the row.
void ditherRow(std::uint8_t* indices, const std::uint8_t* bgr, unsigned count, const std::uint8_t* thresholds,
               const DitherTables& tables) {
    unsigned offsets[8];
    for (unsigned i = 0; i < 8; i++)
        offsets[i] = tables.scale * (ditherMatrixTop - thresholds[(count - 1 - i) & 7]);
    for (unsigned x = 0; x < count; x++, bgr += 3) {
        const unsigned offset = offsets[x & 7];
        const unsigned code = tables.channels[blue][bgr[blue] + offset] +
                              tables.channels[green][bgr[green] + offset] +
                              tables.channels[red][bgr[red] + offset];
        indices[x] = tables.indices[code];
    }
}

int dither(const imgdes& source, const imgdes& destination, bool cube) {
    const Size size = commonSize(source, destination);
    const WorkArray<std::uint8_t> bgr(MemoryEntry::counted, std::uint64_t{3} * size.width);
    if (!bgr) return ERR_MEMORY;
    const DitherTables& tables = cube ? cubeTables : pureTables;
    const ColourRows from(source);
    const AreaRows to(destination);
    for (unsigned y = 0; y < size.height; y++) {
        from.load(bgr.get(), y, size.width);
        ditherRow(to[y], bgr.get(), size.width, ditherMatrix[y & 7], tables);
    }
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI colordither(imgdes* source, imgdes* destination, int cube) {
    if (const int code = checkForFixedPalette(source, destination, cube != 0)) return code;
    if (const int code = dither(*source, *destination, cube != 0)) return code;
    giveFixedPalette(*destination, cube != 0);
    return 0;
}
