#include <emmintrin.h>

#include <algorithm>

#include "jpeg/colour_convert.h"

namespace orn32::jpeg {
namespace {

// The JFIF matrix times 65536. The roundings are those of the means of Y, and of Cb and Cr just below one
// half, so that 255.5 does not come out as 256.
constexpr int yRed = 19595, yGreen = 38470, yBlue = 7471;
constexpr int cbRed = -11059, cbGreen = -21709, crGreen = -27439, crBlue = -5329;
constexpr int half = 32768;  // of blue in Cb, of red in Cr
constexpr int yRound = 32768, colourRound = (128 << 16) + 32767;

struct Ycc {
    std::uint8_t y, cb, cr;
};

Ycc convertPixel(int blue, int green, int red) {
    return {static_cast<std::uint8_t>((yRed * red + yGreen * green + yBlue * blue + yRound) >> 16),
            static_cast<std::uint8_t>((half * blue + cbGreen * green + cbRed * red + colourRound) >> 16),
            static_cast<std::uint8_t>((half * red + crGreen * green + crBlue * blue + colourRound) >> 16)};
}

inline __m128i loadPixels(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline __m128i upperHalf(__m128i v) {
    return _mm_unpackhi_epi64(v, v);
}

// Three vectors of one channel each.
struct Channels {
    __m128i blue, green, red;
};

// 48 bytes of 16 pixels to channels: each round interleaves bytes that lie 24 apart, and four of them bring
// every third byte together.
inline Channels separate(const std::uint8_t* pixels) {
    __m128i a = loadPixels(pixels), b = loadPixels(pixels + 16), c = loadPixels(pixels + 32);
    for (int round = 0; round < 4; round++) {
        const __m128i first = _mm_unpacklo_epi8(a, upperHalf(b));
        const __m128i second = _mm_unpacklo_epi8(upperHalf(a), c);
        const __m128i third = _mm_unpacklo_epi8(b, upperHalf(c));
        a = first, b = second, c = third;
    }
    return {a, b, c};
}

inline __m128i pairOf(int first, int second) {
    return _mm_set1_epi32(static_cast<int>(static_cast<unsigned>(second) << 16 | (first & 0xFFFF)));
}

// Four pixels as words: red and green side by side, blue and green, and the two that Cb and Cr halve.
struct FourPixels {
    __m128i redGreen, blueGreen, blueHalf, redHalf;
};

// A factor of green beyond 16 signed bits is split between the two products.
inline __m128i yOf(const FourPixels& p) {
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(p.redGreen, pairOf(yRed, yGreen - 16384)),
                                      _mm_madd_epi16(p.blueGreen, pairOf(yBlue, 16384)));
    return _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(yRound)), 16);
}
inline __m128i cbOf(const FourPixels& p) {
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(p.redGreen, pairOf(cbRed, cbGreen)), p.blueHalf);
    return _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(colourRound)), 16);
}
inline __m128i crOf(const FourPixels& p) {
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(p.blueGreen, pairOf(crBlue, crGreen)), p.redHalf);
    return _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(colourRound)), 16);
}

// Eight pixels' channels as words, converted: the results are words too.
struct YccWords {
    __m128i y, cb, cr;
};

inline YccWords convertEight(__m128i blue, __m128i green, __m128i red) {
    const __m128i zero = _mm_setzero_si128();
    const FourPixels low = {_mm_unpacklo_epi16(red, green), _mm_unpacklo_epi16(blue, green),
                            _mm_srli_epi32(_mm_unpacklo_epi16(zero, blue), 1),
                            _mm_srli_epi32(_mm_unpacklo_epi16(zero, red), 1)};
    const FourPixels high = {_mm_unpackhi_epi16(red, green), _mm_unpackhi_epi16(blue, green),
                             _mm_srli_epi32(_mm_unpackhi_epi16(zero, blue), 1),
                             _mm_srli_epi32(_mm_unpackhi_epi16(zero, red), 1)};
    return {_mm_packs_epi32(yOf(low), yOf(high)), _mm_packs_epi32(cbOf(low), cbOf(high)),
            _mm_packs_epi32(crOf(low), crOf(high))};
}

inline void store(std::uint8_t* to, __m128i low, __m128i high) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
}

}  // namespace

void convertRow(const YccRow& to, const std::uint8_t* pixels, unsigned width) {
    const __m128i zero = _mm_setzero_si128();
    unsigned x = 0;
    for (; x + 16 <= width; x += 16, pixels += 48) {
        const Channels c = separate(pixels);
        const YccWords left = convertEight(_mm_unpacklo_epi8(c.blue, zero), _mm_unpacklo_epi8(c.green, zero),
                                           _mm_unpacklo_epi8(c.red, zero));
        const YccWords right = convertEight(_mm_unpackhi_epi8(c.blue, zero), _mm_unpackhi_epi8(c.green, zero),
                                            _mm_unpackhi_epi8(c.red, zero));
        store(to.y + x, left.y, right.y);
        store(to.cb + x, left.cb, right.cb);
        store(to.cr + x, left.cr, right.cr);
    }
    for (; x < width; x++, pixels += 3) {
        const Ycc ycc = convertPixel(pixels[0], pixels[1], pixels[2]);
        to.y[x] = ycc.y, to.cb[x] = ycc.cb, to.cr[x] = ycc.cr;
    }
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
    const __m128i evenBytes = _mm_set1_epi16(0xFF), bias = pairOf(1, 2);
    const auto sumPairs = [&](unsigned x) {
        const __m128i u = loadPixels(upper + x), l = loadPixels(lower + x);
        const __m128i even = _mm_add_epi16(_mm_and_si128(u, evenBytes), _mm_and_si128(l, evenBytes));
        const __m128i odd = _mm_add_epi16(_mm_srli_epi16(u, 8), _mm_srli_epi16(l, 8));
        return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(even, odd), bias), 2);
    };
    for (unsigned x = 0; x < width; x += 16) {
        const __m128i means = sumPairs(x);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + x / 2), _mm_packus_epi16(means, means));
    }
}

}  // namespace orn32::jpeg
