#include "core/cpu.h"
#include "jpeg/block_transform.h"
#include "jpeg/block_transform_lines.h"
#include "jpeg/simd_sse2.h"

namespace orn32::jpeg {
namespace {

void transformBlock(const std::uint8_t* samples, std::size_t stride, const Quantiser& quantiser,
                    std::int16_t* coefficients, std::uint8_t* nonzero) {
    BlockLines<Sse2> lines;
    forEachLine([&](int y) {
        const auto* row = reinterpret_cast<const __m128i*>(samples + static_cast<std::size_t>(y) * stride);
        lines.v[y] = Sse2::sub16(Sse2::low8(_mm_loadl_epi64(row), Sse2::zero()), Sse2::all16(128));
    });
    lines.forwardDct();
    lines.quantise(quantiser);
    forEachLine([&](int y) {
        Sse2::store(coefficients + 8 * y, lines.v[y]);
        if (y % 2 == 0) return;
        const std::uint32_t mask = ~Sse2::zeroBytes(Sse2::packSigned16(lines.v[y - 1], lines.v[y]));
        nonzero[y - 1] = static_cast<std::uint8_t>(mask);
        nonzero[y] = static_cast<std::uint8_t>(mask >> 8);
    });
}

}  // namespace

void transformBlocksSse2(const std::uint8_t* first, const std::uint8_t* second, std::size_t stride,
                         const Quantiser& quantiser, TransformedPair& to) {
    transformBlock(first, stride, quantiser, to.coefficients[0], to.nonzero[0]);
    if (second != first) transformBlock(second, stride, quantiser, to.coefficients[1], to.nonzero[1]);
}

TransformBlocks bestTransformBlocks() {
    return hasAvx2() ? transformBlocksAvx2 : transformBlocksSse2;
}

}  // namespace orn32::jpeg
