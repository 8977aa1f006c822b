#include "jpeg/mcu_row.h"

#include <algorithm>
#include <cstring>

#include "core/palette.h"

namespace orn32::jpeg {
namespace {

// For each column: 16 rows of Y, 8 half rows of Cb and of Cr, and two whole rows of each; or 8 rows of grey.
constexpr unsigned bytesPerColumn(bool grey) {
    return grey ? 8 : 16 + 4 + 4 + 4;
}

}  // namespace

McuRow::McuRow(const EncodeFrame& frame, const imgdes& image)
    : frame_(frame),
      rows_(image),
      indexed_(image.header->biBitCount == 8),
      palette_(image.palette, std::min(paletteRoom(image), 256u)),
      width_(std::size_t{frame.mcusPerRow()} * frame.mcuSize()),
      memory_(MemoryEntry::first, std::uint64_t{width_} * bytesPerColumn(frame.grey())) {
    std::uint8_t* next = memory_.get();
    const auto take = [&](std::size_t bytes) {
        std::uint8_t* taken = next;
        next += bytes;
        return taken;
    };
    planes_[0] = take(width_ * frame.mcuSize());
    if (frame.grey() || !memory_) return;
    for (int i : {1, 2}) planes_[i] = take(width_ * 4);
    for (std::uint8_t*& row : colourRows_) row = take(width_);
}

void McuRow::load(unsigned mcuRow) {
    const unsigned top = mcuRow * frame_.mcuSize();
    frame_.grey() ? loadGrey(top) : loadColour(top);
}

void McuRow::loadGrey(unsigned top) {
    for (unsigned y = 0; y < 8; y++) {
        std::uint8_t* row = planes_[0] + y * width_;
        std::memcpy(row, rows_[clampedRow(top + y)], frame_.size.width);
        extend(row);
    }
}

void McuRow::loadColour(unsigned top) {
    for (unsigned y = 0; y < 16; y += 2) {
        std::uint8_t* luminance = planes_[0] + y * width_;
        convert(top + y, {luminance, colourRows_[0], colourRows_[1]});
        convert(top + y + 1, {luminance + width_, colourRows_[2], colourRows_[3]});
        for (unsigned i = 0; i < 2; i++)
            halveRows(planes_[1 + i] + y / 2 * stride(1), colourRows_[i], colourRows_[2 + i],
                      static_cast<unsigned>(width_));
    }
}

// Rows below the picture repeat its last one.
void McuRow::convert(unsigned y, const YccRow& to) const {
    const std::uint8_t* pixels = rows_[clampedRow(y)];
    if (indexed_)
        palette_.convertRow(to, pixels, frame_.size.width);
    else
        convertRow(to, pixels, frame_.size.width);
    for (std::uint8_t* row : {to.y, to.cb, to.cr}) extend(row);
}

void McuRow::extend(std::uint8_t* row) const {
    const std::size_t width = frame_.size.width;
    std::memset(row + width, row[width - 1], width_ - width);
}

}  // namespace orn32::jpeg
