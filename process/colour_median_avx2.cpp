// Compiled for AVX2, and called only where the processor has it.
#include "process/colour_median.h"
#include "process/colour_median_rows.h"
#include "process/lanes_avx2.h"

namespace orn32 {

void colourMediansAvx2(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                       RowsAhead ahead) {
    ColourMedianRows<WideWordLanes>(rows, size, result, count, ahead).medians();
    _mm256_zeroupper();
}

}  // namespace orn32
