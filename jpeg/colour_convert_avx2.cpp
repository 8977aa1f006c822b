// Compiled for AVX2, and called only where the processor has it.
#include "jpeg/colour_convert.h"
#include "jpeg/colour_convert_rows.h"
#include "jpeg/simd_avx2.h"

namespace orn32::jpeg {

void convertRowsAvx2(const SampleRows& to, const PixelRows& from, unsigned width) {
    ColourRows<Avx2>::convert(to, from, width);
    _mm256_zeroupper();
}

}  // namespace orn32::jpeg
