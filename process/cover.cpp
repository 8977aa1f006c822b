// One picture laid over another: where its brightness, or one colour of it, lets the lower one show.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/boundary.h"
#include "core/memory.h"
#include "core/range_check.h"
#include "orn32.h"
#include "process/colour_key.h"
#include "process/palette_row.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

constexpr int highestLevel = 255;
constexpr int highestColour = 0xFFFFFF;

// The parts of the covering picture brighter than a level stay. Pixels of one byte, or of three.
struct BrighterThan {
    int level;
    bool stays(std::uint8_t over) const { return over > level; }
    bool stays(const std::uint8_t* over) const { return over[blue] + over[green] + over[red] > 3 * level; }
};

// All but one colour stays: its number has blue in the high byte, and its low byte alone decides on single
// bytes.
struct OtherThan {
    int colour;
    bool stays(std::uint8_t over) const { return over != (colour & 0xFF); }
    bool stays(const std::uint8_t* over) const {
        return (over[blue] << 16 | over[green] << 8 | over[red]) != colour;
    }
};

// Rows of one layer as bytes to decide on: an image's own, or the colours of a palette image.
class LayerRows {
 public:
    LayerRows(const imgdes& image, bool colours) : colours_(colours), rows_(image), palette_() {
        if (colours) palette_ = PaletteTable(image);
    }
    void load(std::uint8_t* to, unsigned y, unsigned columns, unsigned bytes) const {
        if (colours_)
            widenRow(to, rows_[y], palette_, columns);
        else
            std::memcpy(to, rows_[y], bytes);
    }

 private:
    bool colours_;
    AreaRows rows_;
    PaletteTable palette_;
};

template <class Decision>
void mergeRow(std::uint8_t* under, const std::uint8_t* over, unsigned bytes, unsigned step,
              Decision decision) {
    if (step == 1) {
        for (unsigned i = 0; i < bytes; i++) under[i] = decision.stays(over[i]) ? over[i] : under[i];
    } else {
        for (unsigned i = 0; i < bytes; i += 3)
            if (decision.stays(over + i)) std::memcpy(under + i, over + i, 3);
    }
}

struct Layers {
    const imgdes& under;
    const imgdes& over;
    Size size;
    bool colours;   // palette images, merged as colours
    unsigned step;  // bytes to decide on at a time: of palette images one, even as colours (a quirk to keep)
};

template <class Decision>
int mergeInto(const imgdes& result, const Layers& layers, Decision decision) {
    const unsigned bytes = layers.size.width * (layers.colours ? 3 : layers.step);
    const WorkArray<std::uint8_t> under(MemoryEntry::first, bytes), over(MemoryEntry::first, bytes);
    if (!under || !over) return ERR_MEMORY;
    const LayerRows underRows(layers.under, layers.colours), overRows(layers.over, layers.colours);
    const AreaRows to(result);
    for (unsigned y = 0; y < layers.size.height; y++) {
        underRows.load(under.get(), y, layers.size.width, bytes);
        overRows.load(over.get(), y, layers.size.width, bytes);
        mergeRow(under.get(), over.get(), bytes, layers.step, decision);
        std::memcpy(to[y], under.get(), bytes);
    }
    return 0;
}

// The result goes into an RGB copy of its picture, which then gets a palette of its own.
template <class Decision>
int mergeColours(imgdes& result, const Layers& layers, Decision decision) {
    if (!layers.under.palette || !layers.over.palette) return ERR_RANGE;
    RgbDetour detour;
    if (const int code = detour.expand(result)) return code;
    if (const int code = mergeInto(*detour.area(), layers, decision)) return code;
    return detour.requantise(result);
}

template <class Decision>
int merge(imgdes* under, imgdes* over, imgdes* result, Decision decision) {
    for (imgdes* image : {under, over, result})
        if (const int code = checkRange(image, bits8and24)) return code;
    const unsigned bits = under->header->biBitCount;
    if (over->header->biBitCount != bits || result->header->biBitCount != bits) return ERR_BITS;
    const Size both = commonSize(*under, *over), all = commonSize(*under, *result);
    const Size size = {std::min(both.width, all.width), std::min(both.height, all.height)};
    const Layers layers = {*under, *over, size, isColourPaletteImage(under), bits / 8};
    return layers.colours ? mergeColours(*result, layers, decision) : mergeInto(*result, layers, decision);
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI cover(int level, imgdes* under, imgdes* over, imgdes* result) {
    if (level < 0 || level > highestLevel) return ERR_ARGUMENT;
    return guarded(Module::cover, [&] { return merge(under, over, result, BrighterThan{level}); });
}

extern "C" int ORNAPI coverclear(int clearcolor, imgdes* under, imgdes* over, imgdes* result) {
    if (clearcolor < 0 || clearcolor > highestColour) return ERR_ARGUMENT;
    return guarded(Module::coverclear, [&] { return merge(under, over, result, OtherThan{clearcolor}); });
}
