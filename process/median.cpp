// The median of a neighbourhood: of levels their middle value, of colours the pixel of middle brightness.
#include <cstdint>

#include "core/cpu.h"
#include "core/range_check.h"
#include "orn32.h"
#include "process/colour_median.h"
#include "process/filter_engine.h"
#include "process/lanes.h"
#include "process/median_lanes.h"
#include "process/palette_row.h"
#include "process/sliding_median.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

constexpr int smallestSize = 3, largestSize = largestMedianSize;
constexpr int slidingFrom = 9;  // below, sixteen windows counted at once are faster than one that slides

// Small neighbourhoods of levels, sixteen at a time.
struct SmallLevelMedian {
    unsigned size = 0;

    bool prepare(unsigned, unsigned neighbourhood) {
        size = neighbourhood;
        return true;
    }
    void row(std::uint8_t* const* rows, std::uint8_t* result, unsigned count) const {
        const auto rowAt = [rows](unsigned y) { return rows[y]; };
        const auto store = [result](unsigned x, __m128i medians) { ByteLanes::store(result + x, medians); };
        if (size == 3)
            mediansOfNine<ByteLanes>(rowAt, count, store);
        else
            mediansByCounting<ByteLanes>(rowAt, size, count, store);
    }
};

struct ColourMedian {
    ColourMedians medians;
    unsigned size = 0;

    bool prepare(unsigned, unsigned neighbourhood) {
        size = neighbourhood;
        return true;
    }
    void exactRow(const ColourRow* rows, std::uint8_t* result, unsigned count, RowsAhead ahead) const {
        medians(rows, size, result, count, ahead);
    }
};

int median(int size, imgdes* source, imgdes* destination) {
    if (size < smallestSize || size > largestSize) return ERR_ARGUMENT;
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount == 8) {
        if (size >= slidingFrom)
            return filterengine_<LevelFormat>(*source, *destination, SlidingMedian(), size);
        return filterengine_<LevelFormat>(*source, *destination, SmallLevelMedian(), size);
    }
    const MayUseAvx2 scope;
    if (hasAvx2())
        return filterengine_<ColourFormatAvx2>(*source, *destination, ColourMedian{colourMediansAvx2}, size);
    return filterengine_<ColourFormat>(*source, *destination, ColourMedian{colourMediansSse2}, size);
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI medianfilter(int size, imgdes* source, imgdes* destination) {
    if (isColourPaletteImage(source)) return viargb_(median, source, destination, size);
    return median(size, source, destination);
}

extern "C" int ORNAPI removenoise(imgdes* source, imgdes* destination) {
    return medianfilter(smallestSize, source, destination);
}
