// Compiled for AVX2, and called only where the processor has it.
#include "jpeg/block_transform.h"
#include "jpeg/block_transform_lines.h"
#include "jpeg/simd_avx2.h"

namespace orn32::jpeg {

void transformBlocksAvx2(const std::uint8_t* first, const std::uint8_t* second, std::size_t stride,
                         const Quantiser& quantiser, TransformedPair& to) {
    const auto loadRow = [](const std::uint8_t* p) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    };
    BlockLines<Avx2> lines;
    forEachLine([&](int y) {
        const auto row = static_cast<std::size_t>(y);
        const __m128i rows =
            _mm_unpacklo_epi64(loadRow(first + row * stride), loadRow(second + row * stride));
        lines.v[y] = Avx2::sub16(_mm256_cvtepu8_epi16(rows), Avx2::all16(128));
    });
    lines.forwardDct();
    lines.quantise(quantiser);
    forEachLine([&](int y) {
        const auto at = [&](int block) { return reinterpret_cast<__m128i*>(to.coefficients[block] + 8 * y); };
        _mm_storeu_si128(at(0), _mm256_castsi256_si128(lines.v[y]));
        _mm_storeu_si128(at(1), _mm256_extracti128_si256(lines.v[y], 1));
        if (y % 2 == 0) return;
        const std::uint32_t mask = ~Avx2::zeroBytes(Avx2::packSigned16(lines.v[y - 1], lines.v[y]));
        for (int i = 0; i < 4; i++)
            to.nonzero[i / 2][y - 1 + i % 2] = static_cast<std::uint8_t>(mask >> 8 * i);
    });
    _mm256_zeroupper();
}

}  // namespace orn32::jpeg
