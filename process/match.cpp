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

    bool knows(unsigned key) const { return indices_[key] != 0; }

    // pixel() gives the address of the pixel whose key it is.
    template <class Search, class Pixel>
    std::uint8_t index(unsigned key, const Search& search, Pixel pixel) {
        std::uint16_t& cell = indices_[key];
        if (!cell) [[unlikely]]
            cell = static_cast<std::uint16_t>(filled | search.nearest(pixel()));
        return static_cast<std::uint8_t>(cell);
    }

 private:
    static constexpr unsigned filled = 0x100;
    WorkArray<std::uint16_t> indices_;
};

// One call's work. Each loop over pixels is a function of its own, not inlined: it needs all registers.
template <class Search>
class Matching {
 public:
    Matching(const imgdes& source, const imgdes& destination, const PaletteTable& palette,
             const Search& search, MatchCache& cache)
        : from_(source), to_(destination), palette_(palette), search_(search), cache_(cache) {}

    void map(DiffusionRows& rows, Size size) {
        rows.run(
            size.height, [&](std::uint8_t* bgr, unsigned y) { from_.load(bgr, y, size.width); },
            [&](const std::uint8_t* bgr, std::uint8_t*, unsigned y) { mapRow(to_[y], bgr, size.width); });
    }

    // Two rows at once, unless they might lie in one image: then none may be read before the row two above it
    // is written.
    void diffuse(DiffusionRows& rows, Size size, bool inPairs) {
        const auto load = [&](std::uint8_t* bgr, unsigned y) { from_.load(bgr, y, size.width); };
        const auto map = [&](const std::uint8_t* current, std::uint8_t* below, unsigned y) {
            diffuseOne(y, current, below, size.width);
        };
        const auto mapTwo = [&](const std::uint8_t* upper, std::uint8_t* lower, std::uint8_t* below,
                                unsigned y) { diffuseTwo(y, upper, lower, below, size.width); };
        if (inPairs)
            rows.runInPairs(size.height, load, map, mapTwo);
        else
            rows.run(size.height, load, map);
    }

 private:
    [[gnu::noinline]] void mapRow(std::uint8_t* indices, const std::uint8_t* bgr, unsigned width) {
        forEachKey(bgr, width, [&](unsigned x, unsigned key) {
            indices[x] = cache_.index(key, search_, [=] { return bgr + std::size_t{3} * x; });
        });
    }
    [[gnu::noinline]] void diffuseOne(unsigned y, const std::uint8_t* current, std::uint8_t* below,
                                      unsigned width) {
        diffuseRow(current, below, width, chooser(to_[y]));
    }
    [[gnu::noinline]] void diffuseTwo(unsigned y, const std::uint8_t* upper, std::uint8_t* lower,
                                      std::uint8_t* below, unsigned width) {
        diffuseTwoRows(upper, lower, below, width, chooser(to_[y]), chooser(to_[y + 1]),
                       [this](std::uint32_t bgr) { return cache_.knows(colourKey(bgr)); });
    }

    // Chooses the colours of a row's pixels, and stores their indices.
    auto chooser(std::uint8_t* indices) {
        return [this, indices](unsigned x, std::uint32_t bgr) {
            std::uint8_t pixel[sizeof bgr];
            const std::uint8_t index = cache_.index(colourKey(bgr), search_, [&] {
                std::memcpy(pixel, &bgr, sizeof bgr);
                return pixel;
            });
            indices[x] = index;
            return PixelLanes(palette_.colour[index]);
        };
    }

    const ColourRows from_;
    const AreaRows to_;
    const PaletteTable& palette_;
    const Search& search_;
    MatchCache& cache_;
};

template <class Search>
void match(const imgdes& source, const imgdes& destination, int mode, const PaletteTable& palette,
           const Search& search, DiffusionRows& rows, MatchCache& cache) {
    const Size size = commonSize(source, destination);
    Matching<Search> matching(source, destination, palette, search, cache);
    if (diffusesErrors(mode))
        matching.diffuse(rows, size, source.header->biBitCount == 24);
    else
        matching.map(rows, size);
}

int match(const imgdes& source, const imgdes& destination, int mode) {
    DiffusionRows rows(commonSize(source, destination).width, 3);
    const ModuleLock lock(Module::matching);
    MatchCache cache;
    if (!rows || !cache) return ERR_MEMORY;
    const PaletteTable palette(destination);
    const auto colours = static_cast<unsigned>(destination.palcolors);
    if (!usesOctree(mode)) {
        match(source, destination, mode, palette, SortedAxis(palette, colours), rows, cache);
        return 0;
    }
    const PaletteOctree octree(palette, colours);
    if (!octree) return ERR_MEMORY;
    match(source, destination, mode, palette, octree, rows, cache);
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
