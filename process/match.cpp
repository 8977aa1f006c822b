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

// One call's work. Its loops over pixels are functions of their own, not inlined: they need all registers.
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

    // Reads no row before the one two above it is written: both areas may lie in one image.
    [[gnu::noinline]] void diffuse(DiffusionRows& rows, Size size) {
        rows.run(
            size.height, [&](std::uint8_t* bgr, unsigned y) { from_.load(bgr, y, size.width); },
            [&](const std::uint8_t* current, std::uint8_t* below, unsigned y) {
                diffuseRow(current, below, size.width, chooser(y));
            });
    }

    [[gnu::noinline]] void diffuseTwoAtOnce(DiffusionRows& rows, Size size) {
        rows.runTwoAtOnce(
            size.height, [&](std::uint8_t* bgr, unsigned y) { from_.load(bgr, y, size.width); },
            [this](unsigned y) { return chooser(y); },
            [this](std::uint32_t bgr) { return cache_.knows(colourKey(bgr)); });
    }

 private:
    [[gnu::noinline]] void mapRow(std::uint8_t* indices, const std::uint8_t* bgr, unsigned width) {
        forEachKey(bgr, width, [&](unsigned x, unsigned key) {
            indices[x] = cache_.index(key, search_, [=] { return bgr + std::size_t{3} * x; });
        });
    }

    // Chooses the colours of a row's pixels, and stores their indices.
    auto chooser(unsigned y) {
        return [this, indices = to_[y]](unsigned x, std::uint32_t bgr) {
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
    if (!diffusesErrors(mode))
        matching.map(rows, size);
    else if (source.header->biBitCount == 24)
        matching.diffuseTwoAtOnce(rows, size);
    else
        matching.diffuse(rows, size);
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
