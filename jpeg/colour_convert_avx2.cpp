// Compiled for AVX2, and called only where the processor has it.
#include "jpeg/colour_convert.h"
#include "jpeg/colour_convert_rows.h"
#include "jpeg/simd_avx2.h"

namespace orn32::jpeg {

void convertRowAvx2(const YccRow& to, const std::uint8_t* pixels, unsigned width) {
    const unsigned done = ColourRows<Avx2>::convert(to, pixels, width);
    _mm256_zeroupper();
    convertRowSse2({to.y + done, to.cb + done, to.cr + done}, pixels + 3 * done, width - done);
}

}  // namespace orn32::jpeg
