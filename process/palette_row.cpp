#include "process/palette_row.h"

#include <algorithm>
#include <cstring>

#include "core/palette.h"

namespace orn32 {
namespace {

void storeColour(std::uint8_t* bgr, std::uint32_t colour) {
    bgr[0] = static_cast<std::uint8_t>(colour);
    bgr[1] = static_cast<std::uint8_t>(colour >> 8);
    bgr[2] = static_cast<std::uint8_t>(colour >> 16);
}

}  // namespace

bool isColourPaletteImage(const imgdes* image) {
    return image && image->header && image->header->biBitCount == 8 && !(image->imgkind & greyMark);
}

unsigned paletteSlots(const imgdes& image) {
    const auto start = reinterpret_cast<std::uintptr_t>(image.palette);
    const auto rows = reinterpret_cast<std::uintptr_t>(image.bits);
    std::size_t n = paletteRoom(image);
    if (rows == start + n * sizeof(RGBQUAD))
        n += std::size_t{image.rowbytes} * static_cast<unsigned>(image.header->biHeight) / sizeof(RGBQUAD);
    else
        n = std::max(n, static_cast<std::size_t>(std::max(image.palcolors, 0)));
    return static_cast<unsigned>(std::min(n, std::size_t{PaletteTable::slots}));
}

PaletteTable::PaletteTable(const imgdes& image) {
    std::memcpy(colour, image.palette, paletteSlots(image) * sizeof(RGBQUAD));
    for (auto& c : colour) c &= 0xFFFFFF;
}

void widenRow(std::uint8_t* bgr, const std::uint8_t* indices, const PaletteTable& palette, unsigned count) {
    if (count == 0) return;
    // Four bytes at a time: the fourth is the next pixel's and is written again with it.
    for (unsigned i = 0; i + 1 < count; i++, bgr += 3) std::memcpy(bgr, &palette.colour[indices[i]], 4);
    storeColour(bgr, palette.colour[indices[count - 1]]);
}

ColourRows::ColourRows(const imgdes& image)
    : rows_(image),
      isPalette_(image.header->biBitCount == 8),
      palette_(isPalette_ ? PaletteTable(image) : PaletteTable()) {}

void ColourRows::load(std::uint8_t* bgr, unsigned y, unsigned count) const {
    if (isPalette_)
        widenRow(bgr, rows_[y], palette_, count);
    else
        std::memcpy(bgr, rows_[y], std::size_t{3} * count);
}

}  // namespace orn32
