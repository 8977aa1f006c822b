// The samples of one row of MCUs, component by component, with the picture's edges repeated outwards.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "jpeg/colour_convert.h"
#include "jpeg/encode_frame.h"

namespace orn32::jpeg {

class McuRow {
 public:
    // The working memory may not be had: test before use.
    McuRow(const EncodeFrame& frame, const imgdes& image);

    explicit operator bool() const { return static_cast<bool>(memory_); }

    // Fetches, converts and downsamples the pixels of an MCU row, counted from the top.
    void load(unsigned mcuRow);

    // A block of a component, counted in blocks from the row's top left corner, and its rows' distance.
    const std::uint8_t* block(int component, unsigned column, unsigned row) const {
        return planes_[component] + row * 8 * stride(component) + column * 8;
    }
    std::size_t stride(int component) const { return component == 0 ? width_ : width_ / 2; }

 private:
    void loadGrey(unsigned top);
    void loadColour(unsigned top);
    void convert(unsigned y, const YccRow& to) const;
    void extend(std::uint8_t* row) const;
    unsigned clampedRow(unsigned y) const { return y < frame_.size.height ? y : frame_.size.height - 1; }

    const EncodeFrame& frame_;
    AreaRows rows_;
    bool indexed_;
    PaletteConverter palette_;
    std::size_t width_;  // up to the end of the last MCU
    WorkArray<std::uint8_t> memory_;
    std::uint8_t* planes_[3];
    std::uint8_t* colourRows_[4];  // Cb and Cr of two pixel rows before they are halved
};

}  // namespace orn32::jpeg
