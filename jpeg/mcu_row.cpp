#include "jpeg/mcu_row.h"

#include <algorithm>
#include <cstring>

#include "core/palette.h"

namespace orn32::jpeg {
namespace {

// For each column: 16 rows of Y, 8 half rows of Cb and of Cr, and two rows of expanded pixels; or 8 rows of
// grey.
constexpr unsigned bytesPerColumn(bool grey, bool indexed) {
    if (grey) return 8;
    return 16 + 4 + 4 + (indexed ? 2 * 3 : 0);
}

}  // namespace

McuRow::McuRow(const EncodeFrame& frame, const imgdes& image)
    : frame_(frame),
      rows_(image),
      indexed_(image.header->biBitCount == 8 && !frame.grey()),
      palette_{},
      stride_(std::size_t{frame.mcusPerRow()} * frame.mcuSize() + sampleSlack),
      memory_(MemoryEntry::first, std::uint64_t{stride_} * bytesPerColumn(frame.grey(), indexed_)) {
    if (!memory_) return;
    planes_[0] = memory_.get();
    planes_[1] = planes_[0] + stride_ * frame.mcuSize();
    planes_[2] = planes_[1] + stride_ * 4;
    expanded_[0] = planes_[2] + stride_ * 4;
    expanded_[1] = expanded_[0] + stride_ * 3;
    // Entries beyond the image's palette are black.
    const unsigned entries = indexed_ ? std::min(paletteRoom(image), 256u) : 0;
    for (unsigned i = 0; i < entries; i++) {
        const RGBQUAD& colour = image.palette[i];
        palette_[i][0] = colour.rgbBlue, palette_[i][1] = colour.rgbGreen, palette_[i][2] = colour.rgbRed;
    }
}

void McuRow::load(unsigned mcuRow) {
    const unsigned top = mcuRow * frame_.mcuSize();
    frame_.grey() ? loadGrey(top) : loadColour(top);
}

// Rows below the picture repeat its last one.
const std::uint8_t* McuRow::pixels(unsigned y, std::uint8_t* expanded) const {
    const std::uint8_t* row = rows_[std::min(y, frame_.size.height - 1)];
    if (!indexed_) return row;
    for (unsigned x = 0; x < frame_.size.width; x++) std::copy_n(palette_[row[x]], 3, expanded + 3 * x);
    return expanded;
}

void McuRow::loadGrey(unsigned top) {
    const unsigned width = frame_.size.width;
    for (unsigned y = 0; y < 8; y++) {
        std::uint8_t* row = planes_[0] + y * stride_;
        std::memcpy(row, pixels(top + y, nullptr), width);
        std::memset(row + width, row[width - 1], stride_ - width);
    }
}

void McuRow::loadColour(unsigned top) {
    for (unsigned y = 0; y < 16; y += 2) {
        std::uint8_t* luminance = planes_[0] + y * stride_;
        const SampleRows to = {luminance, luminance + stride_, planes_[1] + y / 2 * stride(1),
                               planes_[2] + y / 2 * stride(1)};
        convertRows_(to, {pixels(top + y, expanded_[0]), pixels(top + y + 1, expanded_[1])},
                     frame_.size.width);
    }
}

}  // namespace orn32::jpeg
