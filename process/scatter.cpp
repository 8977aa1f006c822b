// Error diffusion of colours to a fixed palette.
#include <cstdint>

#include "core/area.h"
#include "orn32.h"
#include "process/diffusion.h"
#include "process/fixed_palette.h"
#include "process/palette_row.h"

namespace orn32 {
namespace {

// What a pixel becomes: its palette index and that index's colour, blue | green << 8 | red << 16.
struct Choice {
    std::uint8_t index;
    std::uint32_t colour;
};

// Every channel goes to 0 or, from 128 on, to 255.
struct PureColours {
    static Choice nearest(std::uint32_t bgr) {
        const std::uint32_t bits = bgr >> 7 & 0x010101;
        return {pureIndices[(bits | bits >> 7 | bits >> 14) & 7], bits * 255};
    }
};

// Every channel goes to the nearest of six levels.
struct CubeColours {
    std::uint8_t levels[256];

    // A rest of 24 is still rounded down, one of 25 up.
    constexpr CubeColours() : levels() {
        for (unsigned v = 0; v < 256; v++)
            levels[v] = static_cast<std::uint8_t>((v + cubeStep - 25) / cubeStep);
    }
    Choice nearest(std::uint32_t bgr) const {
        const unsigned blue = levels[bgr & 0xFF], green = levels[bgr >> 8 & 0xFF];
        const unsigned red = levels[bgr >> 16 & 0xFF];
        return {cubeIndex(blue + 6 * green + 36 * red), (blue | green << 8 | red << 16) * cubeStep};
    }
};

constexpr CubeColours cubeColours;

template <class Colours>
int scatter(const imgdes& source, const imgdes& destination, const Colours& colours) {
    const Size size = commonSize(source, destination);
    DiffusionRows rows(size.width, 3);
    if (!rows) return ERR_MEMORY;
    const ColourRows from(source);
    const AreaRows to(destination);
    const auto load = [&](std::uint8_t* bgr, unsigned y) { from.load(bgr, y, size.width); };
    const auto chooser = [&](unsigned y) {
        return [&colours, indices = to[y]](unsigned x, std::uint32_t bgr) {
            const Choice choice = colours.nearest(bgr);
            indices[x] = choice.index;
            return PixelLanes(choice.colour);
        };
    };
    if (source.header->biBitCount == 24)
        rows.runTwoAtOnce(size.height, load, chooser, [](std::uint32_t) { return true; });
    else  // both may lie in one image: rows have to be loaded in its order
        rows.run(size.height, load, [&](const std::uint8_t* current, std::uint8_t* below, unsigned y) {
            diffuseRow(current, below, size.width, chooser(y));
        });
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI colorscatter(imgdes* source, imgdes* destination, int cube) {
    if (const int code = checkForFixedPalette(source, destination, cube != 0)) return code;
    const int code =
        cube ? scatter(*source, *destination, cubeColours) : scatter(*source, *destination, PureColours());
    if (code) return code;
    giveFixedPalette(*destination, cube != 0);
    return 0;
}
