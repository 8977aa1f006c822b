// Where decoded blocks go: sample planes one MCU row high, and from them the rows of the destination image.
#pragma once

#include <cstdint>

#include "core/area.h"
#include "core/memory.h"
#include "jpeg/colour_decode.h"
#include "jpeg/headers.h"
#include "jpeg/idct.h"
#include "jpeg/layout.h"

namespace orn32::jpeg {

class Output {
 public:
    enum class Fit { cut, sample };

    // Fills size pixels at the top left of the image's area: with the picture's top-left part, or with the
    // whole picture reduced to it by taking the nearest pixel.
    Output(const Headers& headers, const Layout& layout, const imgdes& image, Size size, Fit fit,
           Conversion conversion);

    // False when memory cannot be had.
    [[nodiscard]] bool allocate();

    // MCU rows from the top that have something to show; the others need not be decoded.
    unsigned mcuRows() const { return mcuRows_; }

    void beginRow(unsigned mcuRow);

    // A block of component c at block column x of the row and block row y of the MCU; last as for inverseDct.
    void place(unsigned c, unsigned x, unsigned y, const std::int16_t* coefs, unsigned last) {
        const Plane& plane = planes_[c];
        if (x >= plane.blockColumns) return;
        if (fit_ == Fit::sample) return placeSamples(plane, x, y, coefs, last);
        std::uint8_t* samples = plane.samples.get() + (static_cast<std::ptrdiff_t>(y) * plane.stride + x) * 8;
        inverseDct(coefs, plane.quant, last, samples, plane.stride);
    }

    // Writes the pixels of the first mcus MCUs of the row.
    void endRow(unsigned mcus);

 private:
    static constexpr unsigned tallestMcu = 32;

    // The picture's samples, or where they are sampled, one for each pixel shown.
    struct Plane {
        unsigned h, v;
        unsigned blockColumns;  // from the left, as far as there is something to show
        std::ptrdiff_t stride;  // from one row of samples to the next
        const std::uint16_t* quant;
        WorkArray<std::uint8_t> samples;
        WorkArray<std::uint16_t> sampleOf;      // per shown column: the sample it is taken from
        WorkArray<std::uint16_t> firstColumn;   // per block column, and one more: the first shown one in it
        WorkArray<std::uint8_t> line;           // a row of samples, one for each pixel shown
        std::uint8_t sampleRow[tallestMcu];     // per row of the MCU: the row of samples it is taken from
        std::uint8_t rows[tallestMcu];          // per shown row: the row of samples it is taken from
        unsigned firstRow[tallestMcu / 8 + 1];  // per block row, and one more: the first shown one in it
        unsigned lineRow;                       // row of samples that line holds
        bool direct;                            // rows of samples are used as they are
    };
    static constexpr unsigned noRow = ~0u;

    // The picture's column or row that a shown one is taken from.
    unsigned pictureColumn(unsigned x) const { return fit_ == Fit::cut ? x : x * width_ / size_.width; }
    unsigned pictureRow(unsigned y) const { return fit_ == Fit::cut ? y : y * height_ / size_.height; }

    void mapColumns(const Plane& plane) const;
    // Of a block only the samples that are shown.
    void placeSamples(const Plane& plane, unsigned x, unsigned y, const std::int16_t* coefs, unsigned last);
    bool chromaIsHalf() const;
    unsigned columnsOf(unsigned mcus) const;
    const std::uint8_t* lineOf(Plane& plane, unsigned shown, unsigned columns);

    const Layout& layout_;
    AreaRows area_;
    Size size_;
    Fit fit_;
    bool grey_;
    unsigned width_, height_;  // of the picture
    RowConverter convert_;
    unsigned mcuRows_;
    unsigned shownRows_ = 0;  // how many rows of the MCU row are shown, and which
    std::uint8_t shownRow_[tallestMcu];
    unsigned nextRow_ = 0;  // the first shown row that is not yet written
    Plane planes_[maxComponents] = {};
};

}  // namespace orn32::jpeg
