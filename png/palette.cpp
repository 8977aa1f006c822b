#include "png/palette.h"

#include <algorithm>

#include "png/detail.h"
#include "png/format.h"

namespace orn32::png {
namespace {

constexpr unsigned most = 256;

int loadPalette(const Source& source, RGBQUAD* entries) {
    return call([&]() -> int {
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        PngInfo info;
        const Places places = walk(in, info);
        return readPalette(in, info, places.palette, entries, most);
    });
}

}  // namespace

int readPalette(InputStream& in, const PngInfo& info, const Place& palette, RGBQUAD* entries, unsigned room) {
    if (info.colortype != indexed || !palette.known) return 0;
    std::uint8_t triples[most][3];
    const unsigned n = std::min({palette.length / 3, most, room});
    in.seek(palette.position);
    if (!in.readWhole(triples, n * 3)) fail(shortRead);
    for (unsigned i = 0; i < n; i++) entries[i] = {triples[i][2], triples[i][1], triples[i][0], 0};
    return static_cast<int>(n);
}

}  // namespace orn32::png

using namespace orn32;

extern "C" int ORNAPI loadpngpalette(const char* name, RGBQUAD* palette) {
    return png::loadPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadpngpaletteW(const WCHAR* name, RGBQUAD* palette) {
    return png::loadPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadpngpalettefrombuffer(const void* buffer, RGBQUAD* palette) {
    return png::loadPalette(fromBuffer(buffer), palette);
}
