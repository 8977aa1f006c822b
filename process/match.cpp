// Mapping pixels to the colours of a given palette, with or without error diffusion.
#include "process/match.h"

#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/locks.h"
#include "core/memory.h"
#include "core/range_check.h"
#include "process/colour_key.h"
#include "process/diffusion.h"
#include "process/octree.h"
#include "process/palette_row.h"
#include "process/sorted_axis.h"

namespace orn32 {
namespace {

// Remembers one palette index per 15-bit colour: the first pixel of such a cell is searched for and decides
// for all later ones.
class MatchCache {
 public:
    MatchCache() : indices_(MemoryEntry::counted, colourKeys) {}
    explicit operator bool() const { return static_cast<bool>(indices_); }

    // bgr: blue | green << 8 | red << 16, and noise above.
    template <class Search>
    std::uint8_t index(std::uint32_t bgr, const Search& search) {
        std::uint16_t& cell = indices_[colourKey(bgr)];
        if (!cell) [[unlikely]] {
            std::uint8_t pixel[sizeof bgr];
            std::memcpy(pixel, &bgr, sizeof bgr);
            cell = static_cast<std::uint16_t>(filled | search.nearest(pixel));
        }
        return static_cast<std::uint8_t>(cell);
    }

 private:
    static constexpr unsigned filled = 0x100;
    WorkArray<std::uint16_t> indices_;
};

// One call's work: everything but the way colours are searched.
struct Matching {
    const imgdes& source;
    const imgdes& destination;
    Size size;
    bool diffused;
    const PaletteTable& palette;
    DiffusionRows& rows;
    MatchCache& cache;

    template <class Search>
    void run(const Search& search) {
        const ColourRows from(source);
        const AreaRows to(destination);
        rows.run(
            size.height, [&](std::uint8_t* bgr, unsigned y) { from.load(bgr, y, size.width); },
            [&](const std::uint8_t* current, std::uint8_t* below, unsigned y) {
                if (diffused)
                    diffuse(to[y], current, below, search);
                else
                    map(to[y], current, search);
            });
    }

 private:
    template <class Search>
    void map(std::uint8_t* indices, const std::uint8_t* bgr, const Search& search) {
        for (unsigned x = 0; x < size.width; x++, bgr += 3) {
            std::uint32_t pixel;
            std::memcpy(&pixel, bgr, sizeof pixel);
            indices[x] = cache.index(pixel, search);
        }
    }
    template <class Search>
    void diffuse(std::uint8_t* indices, const std::uint8_t* current, std::uint8_t* below,
                 const Search& search) {
        diffuseRow(current, below, size.width, [&](unsigned x, std::uint32_t bgr) {
            const std::uint8_t index = cache.index(bgr, search);
            indices[x] = index;
            return PixelLanes(palette.colour[index]);
        });
    }
};

int match(const imgdes& source, const imgdes& destination, int mode) {
    const Size size = commonSize(source, destination);
    DiffusionRows rows(size.width);
    const ModuleLock lock(Module::matching);
    MatchCache cache;
    if (!rows || !cache) return ERR_MEMORY;
    const PaletteTable palette(destination);
    const auto colours = static_cast<unsigned>(destination.palcolors);
    Matching matching{source, destination, size, diffusesErrors(mode), palette, rows, cache};
    if (!usesOctree(mode)) {
        matching.run(SortedAxis(palette, colours));
        return 0;
    }
    const PaletteOctree octree(palette, colours);
    if (!octree) return ERR_MEMORY;
    matching.run(octree);
    return 0;
}

bool hasColours(const imgdes& image) {
    return image.palette && image.palcolors > 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI matchcolorimageex(imgdes* source, imgdes* destination, int mode) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (destination->header->biBitCount != 8) return ERR_BITS;
    if (source->header->biBitCount == 8 && !hasColours(*source)) return ERR_RANGE;
    if (!hasColours(*destination) || destination->palcolors > 256) return ERR_RANGE;
    if (!isMatchMode(mode)) return ERR_ARGUMENT;
    const int code = match(*source, *destination, mode);
    if (destination->hbitmap) updatebitmapcolortable(destination);
    return code;
}

extern "C" int ORNAPI matchcolorimage(imgdes* source, imgdes* destination) {
    return matchcolorimageex(source, destination, byOctreeDiffused);
}
