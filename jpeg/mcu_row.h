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
    std::size_t stride(int component) const { return component == 0 ? stride_ : stride_ / 2; }

 private:
    void loadGrey(unsigned top);
    void loadColour(unsigned top);
    const std::uint8_t* pixels(unsigned y, std::uint8_t* expanded) const;

    const EncodeFrame& frame_;
    AreaRows rows_;
    bool indexed_;
    std::uint8_t palette_[256][3];  // of a colour palette image: blue, green, red
    ConvertRows convertRows_ = bestConvertRows();
    std::size_t stride_;  // of the first component; enough for its last MCU and the slack of the conversion
    WorkArray<std::uint8_t> memory_;
    std::uint8_t* planes_[3];
    std::uint8_t* expanded_[2];  // rows of a palette image as pixels
};

}  // namespace orn32::jpeg
