#include "jpeg/colour_decode.h"

namespace orn32::jpeg {
namespace {

// A pixel of luminance y and chrominance centred on 0.
void putYcbcr(int y, int cb, int cr, std::uint8_t* pixel) {
    pixel[0] = limited(y + cbToBlue(cb));
    pixel[1] = limited(y + chromaToGreen(cb, cr));
    pixel[2] = limited(y + crToRed(cr));
}

void convertYcck(const PlaneRows& rows, unsigned columns, std::uint8_t* out) {
    if (!rows.at[3]) return convertYcbcr(rows, columns, out);
    for (unsigned x = 0; x < columns; x++, out += 3) {
        const int lift = (255 - rows.at[3][x]) * 50 / 100;
        putYcbcr(rows.at[0][x] + lift, rows.at[1][x] - 128, rows.at[2][x] - 128, out);
    }
}

void copyPlanes(const PlaneRows& rows, unsigned columns, std::uint8_t* out) {
    for (unsigned x = 0; x < columns; x++, out += 3)
        for (int i = 0; i < 3; i++) out[i] = rows.at[2 - i][x];
}

void convertCmyk(const PlaneRows& rows, unsigned columns, std::uint8_t* out) {
    for (unsigned x = 0; x < columns; x++, out += 3) {
        const int k = rows.at[3] ? rows.at[3][x] * 75 / 100 : 0;
        for (int i = 0; i < 3; i++) out[i] = limited(255 - rows.at[2 - i][x] + k);
    }
}

}  // namespace

Conversion chooseConversion(std::uint32_t option, unsigned components, unsigned adobeTransform) {
    constexpr std::uint32_t explicitly = 0x80;
    const std::uint32_t choice = option & (explicitly - 1);
    if ((option & explicitly) && choice != 4) {
        if (choice == 1) return Conversion::copy;
        if (choice == 2) return Conversion::cmyk;
        return choice == 3 ? Conversion::ycck : Conversion::ycbcr;
    }
    if (components == 4) return adobeTransform ? Conversion::ycck : Conversion::cmyk;
    return adobeTransform ? Conversion::ycbcr : Conversion::copy;
}

RowConverter rowConverter(Conversion conversion) {
    switch (conversion) {
        case Conversion::copy:
            return copyPlanes;
        case Conversion::cmyk:
            return convertCmyk;
        case Conversion::ycck:
            return convertYcck;
        default:
            return convertYcbcr;
    }
}

}  // namespace orn32::jpeg
