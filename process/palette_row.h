// Palette images seen as colour: rows of indices widened to blue, green, red.
#pragma once

#include <cstdint>

#include "core/area.h"
#include "orn32.h"

namespace orn32 {

// An 8-bit image whose palette holds colours. Operations on pixel values have to go through RGB for it. False
// for a record without a header, so that it may be asked before the range check.
bool isColourPaletteImage(const imgdes* image);

// How many palette entries of an 8-bit image can be read, at most 256. Pixels are not limited by palcolors:
// every index reads its slot, also where the slots of a packed DIB with a short palette lie in its pixel
// rows.
unsigned paletteSlots(const imgdes& image);

// The colours of all 256 indices; black where the image has no slot.
struct PaletteTable {
    static constexpr unsigned slots = 256;

    PaletteTable() = default;
    explicit PaletteTable(const imgdes& image);  // needs a palette

    std::uint32_t colour[slots] = {};  // blue | green << 8 | red << 16
};

// Writes 3 * count bytes.
void widenRow(std::uint8_t* bgr, const std::uint8_t* indices, const PaletteTable& palette, unsigned count);

// Copies rows of an area out as blue, green, red triples, whether the image has 24 or 8 bits.
class ColourRows {
 public:
    // Needs a palette where the image has 8 bits.
    explicit ColourRows(const imgdes& image);

    // count pixels of the area's row y, 0 at the top.
    void load(std::uint8_t* bgr, unsigned y, unsigned count) const;

 private:
    AreaRows rows_;
    bool isPalette_;
    PaletteTable palette_;
};

}  // namespace orn32
