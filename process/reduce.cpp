// Fewer colours for a palette image: the most frequent ones of its palette that are far enough apart.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "process/histogram.h"
#include "process/palette_row.h"

namespace orn32 {
namespace {

constexpr unsigned indices = 256;
constexpr int fewestColours = 2;
constexpr int mostColours = 255;

// The distances that chosen colours have to be apart: wide at first, then narrower until enough are found.
constexpr int firstThreshold = 200;
constexpr int fineThreshold = 100;
int nextThreshold(int threshold) {
    return threshold - (threshold > fineThreshold ? 10 : 5);
}

// Orders the indices by how often they occur, the lower one first where two occur equally often. Those that
// do not occur at all are not listed: the last one that does takes their places.
void sortByPopularity(std::uint8_t (&order)[indices], std::uint32_t* counters) {
    std::uint8_t picked = 0;
    for (auto& place : order) {
        const std::uint32_t* most = std::max_element(counters, counters + indices);
        if (*most > 0) picked = static_cast<std::uint8_t>(most - counters);
        counters[picked] = 0;
        place = picked;
    }
}

int distance(const RGBQUAD& a, const RGBQUAD& b) {
    return std::abs(a.rgbRed - b.rgbRed) + std::abs(a.rgbGreen - b.rgbGreen) +
           std::abs(a.rgbBlue - b.rgbBlue);
}

// The source's colours, the most frequent first. They are read from its palette each time: where source and
// destination share a palette, a colour chosen may have taken a candidate's place.
class Candidates {
 public:
    Candidates(const imgdes& source, const std::uint8_t (&order)[indices])
        : palette_(source.palette),
          slots_(paletteSlots(source)),
          count_(std::min(static_cast<unsigned>(source.palcolors), indices)),
          order_(order) {}

    unsigned count() const { return count_; }
    RGBQUAD operator[](unsigned k) const { return order_[k] < slots_ ? palette_[order_[k]] : RGBQUAD{}; }

 private:
    const RGBQUAD* palette_;
    unsigned slots_;
    unsigned count_;
    const std::uint8_t* order_;
};

// The chosen colours, in the destination's palette.
class Choice {
 public:
    Choice(RGBQUAD* colours, unsigned wanted) : colours_(colours), wanted_(wanted) {}

    // One pass over the candidates, the first of which is always taken. True when enough were found.
    bool pick(const Candidates& candidates, int threshold) {
        colours_[0] = candidates[0];
        chosen_ = 1;
        for (unsigned k = 1; k < candidates.count() && chosen_ < wanted_; k++) {
            const RGBQUAD candidate = candidates[k];
            if (isApart(candidate, threshold)) colours_[chosen_++] = candidate;
        }
        return chosen_ >= wanted_;
    }

    void fillUp() { std::fill(colours_ + chosen_, colours_ + wanted_, colours_[0]); }

 private:
    bool isApart(const RGBQUAD& candidate, int threshold) const {
        return std::none_of(colours_, colours_ + chosen_,
                            [&](const RGBQUAD& colour) { return distance(colour, candidate) <= threshold; });
    }

    RGBQUAD* colours_;
    unsigned wanted_;
    unsigned chosen_ = 0;
};

int choosePalette(const imgdes& source, imgdes& destination) {
    const WorkArray<std::uint32_t> counters(MemoryEntry::counted, indices);
    if (!counters) return ERR_MEMORY;
    countIndices(source, counters.get());
    std::uint8_t order[indices];
    sortByPopularity(order, counters.get());

    const Candidates candidates(source, order);
    Choice choice(destination.palette, static_cast<unsigned>(destination.palcolors));
    for (int t = firstThreshold; t >= 0 && !choice.pick(candidates, t); t = nextThreshold(t)) {
    }
    choice.fillUp();
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI reduceimagecolors(imgdes* source, imgdes* destination, int mode) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount != 8 || destination->header->biBitCount != 8) return ERR_BITS;
    if (!source->palette || !destination->palette) return ERR_RANGE;
    const int wanted = destination->palcolors;
    if (source->palcolors < wanted || wanted < fewestColours || wanted > mostColours) return ERR_RANGE;
    if (static_cast<unsigned>(wanted) > paletteRoom(*destination)) return ERR_RANGE;
    if (const int code = choosePalette(*source, *destination)) return code;
    destination->imgkind &= ~greyMark;
    return matchcolorimageex(source, destination, mode);
}
