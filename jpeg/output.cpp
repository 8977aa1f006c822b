#include "jpeg/output.h"

#include <algorithm>
#include <cstring>

#include "jpeg/idct_sample.h"

namespace orn32::jpeg {

Output::Output(const Headers& headers, const Layout& layout, const imgdes& image, Size size, Fit fit,
               Conversion conversion)
    : layout_(layout),
      area_(image),
      size_(size),
      fit_(fit),
      grey_(layout.count == 1),
      width_(headers.info.width),
      height_(headers.info.height),
      convert_(rowConverter(conversion)),
      mcuRows_(pictureRow(size.height - 1) / layout.mcuHeight + 1) {
    const unsigned lastColumn = pictureColumn(size.width - 1);
    for (unsigned c = 0; c < layout.count; c++) {
        Plane& plane = planes_[c];
        plane.h = layout.components[c].h;
        plane.v = layout.components[c].v;
        plane.blockColumns = lastColumn * plane.h / layout.hMax / 8 + 1;
        plane.stride = static_cast<std::ptrdiff_t>(fit == Fit::sample ? size.width : plane.blockColumns * 8);
        plane.quant = headers.quant[headers.components[c].tq].values;
        for (unsigned y = 0; y < layout.mcuHeight; y++)
            plane.sampleRow[y] = static_cast<std::uint8_t>(y * plane.v / layout.vMax);
        plane.direct = fit == Fit::sample || plane.h == layout.hMax;
    }
    if (conversion != Conversion::ycbcr || !chromaIsHalf()) return;
    convert_ = convertYcbcrHalf;
    planes_[1].direct = planes_[2].direct = true;
}

bool Output::chromaIsHalf() const {
    return fit_ == Fit::cut && layout_.count >= 3 && planes_[0].direct && planes_[1].h * 2 == layout_.hMax &&
           planes_[2].h * 2 == layout_.hMax;
}

bool Output::allocate() {
    for (unsigned c = 0; c < layout_.count; c++) {
        Plane& plane = planes_[c];
        const std::uint64_t rows = fit_ == Fit::sample ? layout_.mcuHeight : plane.v * 8;
        plane.samples = {MemoryEntry::first, rows * static_cast<unsigned>(plane.stride) + rowMargin};
        plane.sampleOf = {MemoryEntry::first, size_.width};
        plane.firstColumn = {MemoryEntry::first, plane.blockColumns + 1};
        plane.line = {MemoryEntry::first, size_.width + rowMargin};
        if (!plane.samples || !plane.sampleOf || !plane.firstColumn || !plane.line) return false;
        mapColumns(plane);
    }
    return true;
}

void Output::mapColumns(const Plane& plane) const {
    unsigned block = 0;
    plane.firstColumn[0] = 0;
    for (unsigned x = 0; x < size_.width; x++) {
        const unsigned sample = pictureColumn(x) * plane.h / layout_.hMax;
        plane.sampleOf[x] = static_cast<std::uint16_t>(sample);
        while (block < sample / 8) plane.firstColumn[++block] = static_cast<std::uint16_t>(x);
    }
    plane.firstColumn[plane.blockColumns] = static_cast<std::uint16_t>(size_.width);
}

void Output::beginRow(unsigned mcuRow) {
    const unsigned firstRow = mcuRow * layout_.mcuHeight;
    shownRows_ = 0;
    for (unsigned y = nextRow_; y < size_.height; y++) {
        const unsigned row = pictureRow(y) - firstRow;
        if (row >= layout_.mcuHeight) break;
        shownRow_[shownRows_++] = static_cast<std::uint8_t>(row);
    }
    for (Plane& plane : planes_) {
        plane.lineRow = noRow;
        for (unsigned i = 0; i < shownRows_; i++) plane.rows[i] = plane.sampleRow[shownRow_[i]];
        unsigned shown = 0;
        for (unsigned y = 0; y < plane.v; y++) {
            plane.firstRow[y] = shown;
            while (shown < shownRows_ && plane.rows[shown] / 8 == y) shown++;
        }
        plane.firstRow[plane.v] = shown;
    }
}

void Output::placeSamples(const Plane& plane, unsigned x, unsigned y, const std::int16_t* coefs,
                          unsigned last) {
    const unsigned column = plane.firstColumn[x], row = plane.firstRow[y];
    const unsigned columns = plane.firstColumn[x + 1] - column, rows = plane.firstRow[y + 1] - row;
    const ShownSamples shown = {
        plane.rows + row,
        plane.sampleOf.get() + column,
        rows,
        columns,
        plane.samples.get() + static_cast<std::ptrdiff_t>(row) * plane.stride + column,
        plane.stride};
    if (rows == 1 && columns == 1) return inverseDctFewSamples<1, 1>(coefs, plane.quant, last, shown);
    if (rows == 2 && columns == 2) return inverseDctFewSamples<2, 2>(coefs, plane.quant, last, shown);
    if (rows == 1 && columns == 2) return inverseDctFewSamples<1, 2>(coefs, plane.quant, last, shown);
    if (rows == 2 && columns == 1) return inverseDctFewSamples<2, 1>(coefs, plane.quant, last, shown);
    if (rows != 0 && columns != 0) inverseDctSamples(coefs, plane.quant, last, shown);
}

// The samples for the pixels of a shown row of the MCU row.
const std::uint8_t* Output::lineOf(Plane& plane, unsigned shown, unsigned columns) {
    const unsigned row = fit_ == Fit::sample ? shown : plane.sampleRow[shownRow_[shown]];
    const std::uint8_t* samples = plane.samples.get() + static_cast<std::ptrdiff_t>(row) * plane.stride;
    if (plane.direct) return samples;
    if (plane.lineRow != row) {
        for (unsigned x = 0; x < columns; x++) plane.line[x] = samples[plane.sampleOf[x]];
        plane.lineRow = row;
    }
    return plane.line.get();
}

// The shown columns that lie in the first mcus MCUs.
unsigned Output::columnsOf(unsigned mcus) const {
    const unsigned end = mcus * layout_.mcuWidth;
    if (end >= width_ || pictureColumn(size_.width - 1) < end) return size_.width;
    unsigned columns = 0;
    while (pictureColumn(columns) < end) columns++;
    return columns;
}

void Output::endRow(unsigned mcus) {
    const unsigned columns = columnsOf(mcus);
    for (unsigned shown = 0; shown < shownRows_; shown++, nextRow_++) {
        PlaneRows rows = {};
        for (unsigned c = 0; c < layout_.count; c++) rows.at[c] = lineOf(planes_[c], shown, columns);
        if (grey_)
            std::memcpy(area_[nextRow_], rows.at[0], columns);
        else
            convert_(rows, columns, area_[nextRow_]);
    }
}

}  // namespace orn32::jpeg
