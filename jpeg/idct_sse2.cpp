// The inverse transform, four lines at a time. Every one-dimensional result is a sum of products of the
// inputs with 16-bit factors, which pmaddwd takes two at a time; what it cannot hold is left to the plain
// transform.
#include <emmintrin.h>

#include <initializer_list>

#include "jpeg/dct.h"
#include "jpeg/idct.h"

namespace orn32::jpeg {
namespace {

using namespace dct;

// Two 16-bit factors, repeated.
constexpr int pairOf(int a, int b) {
    return static_cast<int>((static_cast<unsigned>(b) & 0xFFFF) << 16 | (static_cast<unsigned>(a) & 0xFFFF));
}
inline __m128i products(__m128i pairs, int factors) {
    return _mm_madd_epi16(pairs, _mm_set1_epi32(factors));
}

constexpr int one = 1 << factorBits;
constexpr int even04 = pairOf(one, one), even04Minus = pairOf(one, -one);
constexpr int even26 = pairOf(f0_541196100 + f0_765366865, f0_541196100);
constexpr int even26Minus = pairOf(f0_541196100, f0_541196100 - f1_847759065);

// What the odd inputs 1, 3, 5 and 7 contribute to results 0 to 3, and negated to 7 to 4: the plain
// transform's sums multiplied out.
constexpr int z5 = f1_175875602;
constexpr int odd13[4] = {pairOf(f1_501321110 - f0_899976223 - f0_390180644 + z5, z5),
                          pairOf(z5, f3_072711026 - f2_562915447 - f1_961570560 + z5),
                          pairOf(z5 - f0_390180644, z5 - f2_562915447),
                          pairOf(z5 - f0_899976223, z5 - f1_961570560)};
constexpr int odd57[4] = {pairOf(z5 - f0_390180644, z5 - f0_899976223),
                          pairOf(z5 - f2_562915447, z5 - f1_961570560),
                          pairOf(f2_053119869 - f2_562915447 - f0_390180644 + z5, z5),
                          pairOf(z5, f0_298631336 - f0_899976223 - f1_961570560 + z5)};

// The pairs of inputs that are multiplied together, for four lines. Inputs 4 to 7 may be known to be 0.
struct Pairs {
    __m128i p04, p26, p13, p57;
};

// The eight results of four lines, 16 bits each: results 2 i and 2 i + 1 in vector i.
struct Results {
    __m128i at[4];
};

enum class Inputs { all, lower };  // lower: 0 to 3 only

template <int bits, Inputs inputs>
[[gnu::always_inline]] inline Results transform(const Pairs& in) {
    const __m128i rounding = _mm_set1_epi32(1 << (bits - 1));
    const auto sumAndDifference = [&](__m128i even, int i, __m128i& sum, __m128i& difference) {
        __m128i odd = products(in.p13, odd13[i]);
        if (inputs == Inputs::all) odd = _mm_add_epi32(odd, products(in.p57, odd57[i]));
        sum = _mm_srai_epi32(_mm_add_epi32(even, odd), bits);
        difference = _mm_srai_epi32(_mm_sub_epi32(even, odd), bits);
    };
    const __m128i e0 = _mm_add_epi32(products(in.p04, even04), rounding), e3 = products(in.p26, even26);
    __m128i r0, r1, r2, r3, r4, r5, r6, r7;
    sumAndDifference(_mm_add_epi32(e0, e3), 0, r0, r7);
    sumAndDifference(_mm_sub_epi32(e0, e3), 3, r3, r4);
    const __m128i e1 = _mm_add_epi32(products(in.p04, even04Minus), rounding),
                  e2 = products(in.p26, even26Minus);
    sumAndDifference(_mm_add_epi32(e1, e2), 1, r1, r6);
    sumAndDifference(_mm_sub_epi32(e1, e2), 2, r2, r5);
    return {
        {_mm_packs_epi32(r0, r1), _mm_packs_epi32(r2, r3), _mm_packs_epi32(r4, r5), _mm_packs_epi32(r6, r7)}};
}

// From the results of four columns, which are rows of four, to these columns.
[[gnu::always_inline]] inline void storeColumns(const Results& rows, __m128i* columns) {
    const auto fourRows = [](__m128i rows01, __m128i rows23, __m128i& left, __m128i& right) {
        const __m128i even = _mm_unpacklo_epi16(rows01, rows23), odd = _mm_unpackhi_epi16(rows01, rows23);
        left = _mm_unpacklo_epi16(even, odd);
        right = _mm_unpackhi_epi16(even, odd);
    };
    __m128i upperLeft, upperRight, lowerLeft, lowerRight;
    fourRows(rows.at[0], rows.at[1], upperLeft, upperRight);
    fourRows(rows.at[2], rows.at[3], lowerLeft, lowerRight);
    columns[0] = _mm_unpacklo_epi64(upperLeft, lowerLeft);
    columns[1] = _mm_unpackhi_epi64(upperLeft, lowerLeft);
    columns[2] = _mm_unpacklo_epi64(upperRight, lowerRight);
    columns[3] = _mm_unpackhi_epi64(upperRight, lowerRight);
}

// From the results of four rows, which are columns of four, to samples: wrapped to 10 bits, cut to 8, stored.
[[gnu::always_inline]] inline void storeSamples(const Results& columns, std::uint8_t* out,
                                                std::ptrdiff_t stride) {
    const auto wrapped = [](__m128i x) { return _mm_srai_epi16(_mm_slli_epi16(x, 6), 6); };
    const __m128i left = _mm_packs_epi16(wrapped(columns.at[0]), wrapped(columns.at[1]));
    const __m128i right = _mm_packs_epi16(wrapped(columns.at[2]), wrapped(columns.at[3]));
    const __m128i c0415 = _mm_unpacklo_epi8(left, right), c2637 = _mm_unpackhi_epi8(left, right);
    const __m128i c0246 = _mm_unpacklo_epi8(c0415, c2637), c1357 = _mm_unpackhi_epi8(c0415, c2637);
    const __m128i centre = _mm_set1_epi8(-128);
    for (const __m128i rows : {_mm_unpacklo_epi8(c0246, c1357), _mm_unpackhi_epi8(c0246, c1357)}) {
        const __m128i samples = _mm_xor_si128(rows, centre);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), samples);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + stride), _mm_unpackhi_epi64(samples, samples));
        out += 2 * stride;
    }
}

// What first pass results are watched for: that one may have been cut to 16 bits.
class CutWatch {
 public:
    void see(const Results& results) {
        for (const __m128i& v : results.at) {
            low_ = _mm_min_epi16(low_, v);
            high_ = _mm_max_epi16(high_, v);
        }
    }
    bool mayBeCut() const {
        const __m128i cut = _mm_or_si128(_mm_cmpeq_epi16(high_, _mm_set1_epi16(0x7FFF)),
                                         _mm_cmpeq_epi16(low_, _mm_set1_epi16(-0x8000)));
        return _mm_movemask_epi8(cut) != 0;
    }

 private:
    __m128i low_ = _mm_setzero_si128(), high_ = _mm_setzero_si128();
};

constexpr int firstPassBits = factorBits - passBits, secondPassBits = factorBits + passBits + 3;

// The second pass, over columns of 16-bit values.
template <Inputs inputs>
[[gnu::always_inline]] inline void transformRows(const __m128i* column, std::uint8_t* out,
                                                 std::ptrdiff_t stride) {
    constexpr bool all = inputs == Inputs::all;
    const __m128i zero = _mm_setzero_si128();
    const __m128i c4 = all ? column[4] : zero, c5 = all ? column[5] : zero;
    const __m128i c6 = all ? column[6] : zero, c7 = all ? column[7] : zero;
    const Pairs upper = {_mm_unpacklo_epi16(column[0], c4), _mm_unpacklo_epi16(column[2], c6),
                         _mm_unpacklo_epi16(column[1], column[3]), _mm_unpacklo_epi16(c5, c7)};
    storeSamples(transform<secondPassBits, inputs>(upper), out, stride);
    const Pairs lower = {_mm_unpackhi_epi16(column[0], c4), _mm_unpackhi_epi16(column[2], c6),
                         _mm_unpackhi_epi16(column[1], column[3]), _mm_unpackhi_epi16(c5, c7)};
    storeSamples(transform<secondPassBits, inputs>(lower), out + 4 * stride, stride);
}

inline __m128i dequantised(const std::int16_t* coefs, const std::uint16_t* quant, int row) {
    return _mm_mullo_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(coefs) + row),
                           _mm_load_si128(reinterpret_cast<const __m128i*>(quant) + row));
}

[[gnu::noinline]] void transformLarge(const std::int16_t* coefs, const std::uint16_t* quant,
                                      std::uint8_t* out, std::ptrdiff_t stride) {
    alignas(16) std::int16_t block[blockSize];
    for (int i = 0; i < 8; i++)
        _mm_store_si128(reinterpret_cast<__m128i*>(block) + i, dequantised(coefs, quant, i));
    inverseDctPlain(block, out, stride);
}

// For a block that is DC alone.
void fill(std::int16_t dc, std::uint8_t* out, std::ptrdiff_t stride) {
    int x = (dc + 4) >> 3;
    x = ((x + 512) & 1023) - 512;
    const __m128i wide = _mm_set1_epi16(static_cast<short>(x));
    const __m128i samples = _mm_xor_si128(_mm_packs_epi16(wide, wide), _mm_set1_epi8(-128));
    for (int y = 0; y < 8; y++, out += stride) _mm_storel_epi64(reinterpret_cast<__m128i*>(out), samples);
}

// For coefficients in the upper left 4 x 4 only, as most blocks have them: half the lines, half the products.
void transform4x4(const std::int16_t* coefs, const std::uint16_t* quant, std::uint8_t* out,
                  std::ptrdiff_t stride) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i r0 = dequantised(coefs, quant, 0), r1 = dequantised(coefs, quant, 1);
    const __m128i r2 = dequantised(coefs, quant, 2), r3 = dequantised(coefs, quant, 3);
    const Pairs pairs = {_mm_unpacklo_epi16(r0, zero), _mm_unpacklo_epi16(r2, zero),
                         _mm_unpacklo_epi16(r1, r3), zero};
    const Results results = transform<firstPassBits, Inputs::lower>(pairs);
    CutWatch watch;
    watch.see(results);
    if (watch.mayBeCut()) return transformLarge(coefs, quant, out, stride);
    __m128i columns[4];
    storeColumns(results, columns);
    transformRows<Inputs::lower>(columns, out, stride);
}

void transform8x8(const std::int16_t* coefs, const std::uint16_t* quant, std::uint8_t* out,
                  std::ptrdiff_t stride) {
    __m128i row[8];
    for (int i = 0; i < 8; i++) row[i] = dequantised(coefs, quant, i);
    __m128i columns[8];
    CutWatch watch;
    const Pairs left = {_mm_unpacklo_epi16(row[0], row[4]), _mm_unpacklo_epi16(row[2], row[6]),
                        _mm_unpacklo_epi16(row[1], row[3]), _mm_unpacklo_epi16(row[5], row[7])};
    const Results leftResults = transform<firstPassBits, Inputs::all>(left);
    watch.see(leftResults);
    storeColumns(leftResults, columns);
    const Pairs right = {_mm_unpackhi_epi16(row[0], row[4]), _mm_unpackhi_epi16(row[2], row[6]),
                         _mm_unpackhi_epi16(row[1], row[3]), _mm_unpackhi_epi16(row[5], row[7])};
    const Results rightResults = transform<firstPassBits, Inputs::all>(right);
    watch.see(rightResults);
    storeColumns(rightResults, columns + 4);
    if (watch.mayBeCut()) return transformLarge(coefs, quant, out, stride);
    transformRows<Inputs::all>(columns, out, stride);
}

constexpr unsigned lastOf4x4 = 9;  // in zigzag order, all up to here lie in the upper left 4 x 4

}  // namespace

void inverseDct(const std::int16_t* coefs, const std::uint16_t* quant, unsigned last, std::uint8_t* out,
                std::ptrdiff_t stride) {
    if (last == 0)
        fill(static_cast<std::int16_t>(coefs[0] * quant[0]), out, stride);
    else if (last <= lastOf4x4)
        transform4x4(coefs, quant, out, stride);
    else
        transform8x8(coefs, quant, out, stride);
}

}  // namespace orn32::jpeg
