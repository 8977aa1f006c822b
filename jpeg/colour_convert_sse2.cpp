#include "core/cpu.h"
#include "jpeg/colour_convert.h"
#include "jpeg/colour_convert_rows.h"
#include "jpeg/simd_sse2.h"

namespace orn32::jpeg {

void convertRowsSse2(const SampleRows& to, const PixelRows& from, unsigned width) {
    ColourRows<Sse2>::convert(to, from, width);
}

ConvertRows bestConvertRows() {
    return hasAvx2() ? convertRowsAvx2 : convertRowsSse2;
}

}  // namespace orn32::jpeg
