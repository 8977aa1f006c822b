#include "core/cpu.h"
#include "jpeg/colour_convert.h"
#include "jpeg/colour_convert_rows.h"
#include "jpeg/simd_sse2.h"

namespace orn32::jpeg {
namespace {

struct Ycc {
    std::uint8_t y, cb, cr;
};

Ycc convertPixel(int blue, int green, int red) {
    using namespace matrix;
    return {static_cast<std::uint8_t>((yRed * red + yGreen * green + yBlue * blue + yRound) >> 16),
            static_cast<std::uint8_t>((half * blue + cbGreen * green + cbRed * red + colourRound) >> 16),
            static_cast<std::uint8_t>((half * red + crGreen * green + crBlue * blue + colourRound) >> 16)};
}

}  // namespace

void convertRowSse2(const YccRow& to, const std::uint8_t* pixels, unsigned width) {
    for (unsigned x = ColourRows<Sse2>::convert(to, pixels, width); x < width; x++) {
        const std::uint8_t* p = pixels + 3 * x;
        const Ycc ycc = convertPixel(p[0], p[1], p[2]);
        to.y[x] = ycc.y, to.cb[x] = ycc.cb, to.cr[x] = ycc.cr;
    }
}

ConvertRow bestConvertRow() {
    return hasAvx2() ? convertRowAvx2 : convertRowSse2;
}

PaletteConverter::PaletteConverter(const RGBQUAD* palette, unsigned entries) {
    for (unsigned i = 0; i < 256; i++) {
        const RGBQUAD colour = i < entries ? palette[i] : RGBQUAD{};
        const Ycc ycc = convertPixel(colour.rgbBlue, colour.rgbGreen, colour.rgbRed);
        y_[i] = ycc.y, cb_[i] = ycc.cb, cr_[i] = ycc.cr;
    }
}

void PaletteConverter::convertRow(const YccRow& to, const std::uint8_t* indices, unsigned width) const {
    for (unsigned x = 0; x < width; x++) {
        to.y[x] = y_[indices[x]];
        to.cb[x] = cb_[indices[x]];
        to.cr[x] = cr_[indices[x]];
    }
}

void halveRows(std::uint8_t* to, const std::uint8_t* upper, const std::uint8_t* lower, unsigned width) {
    const __m128i evenBytes = Sse2::all16(0xFF), bias = Sse2::all32(2 << 16 | 1);
    for (unsigned x = 0; x < width; x += 16) {
        const __m128i u = Sse2::load(upper + x), l = Sse2::load(lower + x);
        const __m128i even = Sse2::add16(Sse2::bitAnd(u, evenBytes), Sse2::bitAnd(l, evenBytes));
        const __m128i odd = Sse2::add16(Sse2::shiftRight16<8>(u), Sse2::shiftRight16<8>(l));
        const __m128i means = Sse2::shiftRight16<2>(Sse2::add16(Sse2::add16(even, odd), bias));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + x / 2), Sse2::packUnsigned16(means, means));
    }
}

}  // namespace orn32::jpeg
