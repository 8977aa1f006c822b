// YCbCr rows, 16 pixels at a time. Pixels at even and at odd columns are computed apart: chrominance that two
// columns share needs no spreading then, and the bytes of a pair of pixels fall into three words that are
// easy to put in line.
#include <emmintrin.h>

#include <cstring>

#include "jpeg/colour_decode.h"

namespace orn32::jpeg {
namespace {

// What red, green and blue differ from Y by, for eight columns.
struct Differences {
    __m128i red, green, blue;
};

// round(x * factor / 65536), halves up, for factor * 2 that fits 16 bits as long as x does.
inline __m128i scaled(__m128i x, short factor) {
    const __m128i twice = _mm_mulhi_epi16(_mm_add_epi16(x, x), _mm_set1_epi16(factor));
    return _mm_srai_epi16(_mm_add_epi16(twice, _mm_set1_epi16(1)), 1);
}

// Rounding toward zero is rounding down and, as no product is whole, 1 more for what is negative.
inline __m128i towardZero(__m128i floored, __m128i x) {
    return _mm_sub_epi16(floored, _mm_srai_epi16(x, 15));
}

// The factors beyond 16 bits are taken apart: 91881 = 65536 + 26345, 116130 = 2 * 65536 - 14942, and
// -46802 = 18734 - 65536.
inline Differences differences(__m128i cb, __m128i cr) {
    const __m128i centre = _mm_set1_epi16(128);
    cb = _mm_sub_epi16(cb, centre);
    cr = _mm_sub_epi16(cr, centre);
    const __m128i factors = _mm_set1_epi32(static_cast<int>(18734u << 16 | (0x10000u - 22554)));
    const __m128i half = _mm_set1_epi32(32768);
    const __m128i low = _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(cb, cr), factors), half);
    const __m128i high = _mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(cb, cr), factors), half);
    const __m128i green = _mm_packs_epi32(_mm_srai_epi32(low, 16), _mm_srai_epi32(high, 16));
    const __m128i red = _mm_add_epi16(cr, scaled(cr, 26345));
    const __m128i blue = _mm_add_epi16(_mm_add_epi16(cb, cb), scaled(cb, -14942));
    return {towardZero(red, cr), _mm_sub_epi16(green, cr), towardZero(blue, cb)};
}

inline __m128i shuffled(__m128i a, __m128i b, auto select) {
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), decltype(select)::value));
}
template <int a0, int a1, int b0, int b1>
struct Select {
    static constexpr int value = _MM_SHUFFLE(b1, b0, a1, a0);
};

// Puts the words w0[0] w1[0] w2[0] w0[1] ... in line.
inline void storeInLine(__m128i w0, __m128i w1, __m128i w2, std::uint8_t* out) {
    const __m128i w0next = _mm_srli_si128(w0, 2), w1next = _mm_srli_si128(w1, 2),
                  w2next = _mm_srli_si128(w2, 2);
    const __m128i a = _mm_unpacklo_epi16(w0, w1), a4 = _mm_unpackhi_epi16(w0, w1);
    const __m128i b = _mm_unpacklo_epi16(w2, w0next), b4 = _mm_unpackhi_epi16(w2, w0next);
    const __m128i c = _mm_unpacklo_epi16(w1next, w2next), c4 = _mm_unpackhi_epi16(w1next, w2next);
    // As 32-bit pieces: a0 b0 c0 a2 | b2 c2 a4 b4 | c4 a6 b6 c6.
    const __m128i first =
        shuffled(_mm_unpacklo_epi32(a, b), shuffled(c, a, Select<0, 0, 2, 2>()), Select<0, 1, 0, 2>());
    const __m128i second = _mm_unpacklo_epi64(_mm_unpackhi_epi32(b, c), _mm_unpacklo_epi32(a4, b4));
    const __m128i third =
        shuffled(shuffled(c4, a4, Select<0, 0, 2, 2>()), _mm_unpackhi_epi32(b4, c4), Select<0, 2, 0, 1>());
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), first);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), second);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 32), third);
}

inline __m128i load16(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m128i evenBytes(__m128i v) {
    return _mm_and_si128(v, _mm_set1_epi16(0xFF));
}
inline __m128i oddBytes(__m128i v) {
    return _mm_srli_epi16(v, 8);
}

// 16 pixels, with what those at even and at odd columns differ from Y by.
inline void putPixels(const std::uint8_t* luminance, const Differences& even, const Differences& odd,
                      std::uint8_t* out) {
    const __m128i y = load16(luminance);
    const __m128i y0 = evenBytes(y), y1 = oddBytes(y);
    const __m128i blue0 = _mm_add_epi16(y0, even.blue), blue1 = _mm_add_epi16(y1, odd.blue);
    const __m128i green0 = _mm_add_epi16(y0, even.green), green1 = _mm_add_epi16(y1, odd.green);
    const __m128i red0 = _mm_add_epi16(y0, even.red), red1 = _mm_add_epi16(y1, odd.red);
    const __m128i firstBytes = _mm_packus_epi16(blue0, green1), secondBytes = _mm_packus_epi16(green0, red1);
    const __m128i reds = _mm_packus_epi16(red0, red0), blues = _mm_packus_epi16(blue1, blue1);
    storeInLine(_mm_unpacklo_epi8(firstBytes, secondBytes), _mm_unpacklo_epi8(reds, blues),
                _mm_unpackhi_epi8(firstBytes, secondBytes), out);
}

// step(x, out) makes the 16 pixels from column x on.
template <class Step>
inline void forEach16(unsigned columns, std::uint8_t* out, Step step) {
    unsigned x = 0;
    for (; x + 16 <= columns; x += 16) step(x, out + 3 * x);
    if (x == columns) return;
    std::uint8_t rest[48];
    step(x, rest);
    std::memcpy(out + 3 * x, rest, 3 * (columns - x));
}

}  // namespace

void convertYcbcr(const PlaneRows& rows, unsigned columns, std::uint8_t* out) {
    forEach16(columns, out, [&](unsigned x, std::uint8_t* pixels) {
        const __m128i cb = load16(rows.at[1] + x), cr = load16(rows.at[2] + x);
        putPixels(rows.at[0] + x, differences(evenBytes(cb), evenBytes(cr)),
                  differences(oddBytes(cb), oddBytes(cr)), pixels);
    });
}

void convertYcbcrHalf(const PlaneRows& rows, unsigned columns, std::uint8_t* out) {
    const __m128i zero = _mm_setzero_si128();
    const auto load8 = [&](const std::uint8_t* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), zero);
    };
    forEach16(columns, out, [&](unsigned x, std::uint8_t* pixels) {
        const Differences both = differences(load8(rows.at[1] + x / 2), load8(rows.at[2] + x / 2));
        putPixels(rows.at[0] + x, both, both, pixels);
    });
}

}  // namespace orn32::jpeg
