// GIF: colour tables.
#include "gif/palette.h"

#include <algorithm>
#include <cstdint>

#include "core/boundary.h"
#include "gif/walker.h"

namespace orn32::gif {

int readTable(InputStream& in, const ColourTable& table, RGBQUAD* palette, unsigned room) {
    const unsigned entries = static_cast<unsigned>(std::clamp(table.entries, 0, 256));
    const unsigned n = std::min(entries, room);
    std::uint8_t bytes[256 * 3] = {};  // what the file does not have stays black
    if (n == 0) return 0;
    in.seek(table.offset);
    in.read(bytes, n * 3);
    for (unsigned i = 0; i < n; i++)
        palette[i] = {.rgbBlue = bytes[i * 3 + 2],
                      .rgbGreen = bytes[i * 3 + 1],
                      .rgbRed = bytes[i * 3],
                      .rgbReserved = 0};
    return static_cast<int>(n);
}

namespace {

template <class Choose>
int loadPalette(const Source& source, RGBQUAD* palette, unsigned count, Choose choose) {
    return guarded(Module::gif, [&]() -> int {
        Records records;
        if (const int code = walk(source, {.count = count}, records)) return code;
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        return readTable(in, choose(records), palette, 256);
    });
}

int loadFramePalette(const Source& source, RGBQUAD* palette, int frameno) {
    return loadPalette(source, palette, upToFrame(frameno),
                       [](const Records& records) { return tableOfFrame(records.global, records.frame); });
}

int loadGlobalPalette(const Source& source, RGBQUAD* palette) {
    return loadPalette(source, palette, 1,
                       [](const Records& records) { return globalTable(records.global); });
}

}  // namespace
}  // namespace orn32::gif

using namespace orn32;

extern "C" int ORNAPI loadgifpalette(const char* name, RGBQUAD* palette) {
    return gif::loadFramePalette(fromFile(name), palette, 0);
}

extern "C" int ORNAPI loadgifpaletteW(const WCHAR* name, RGBQUAD* palette) {
    return gif::loadFramePalette(fromFile(name), palette, 0);
}

extern "C" int ORNAPI loadgifpalettefrombuffer(const void* buffer, RGBQUAD* palette) {
    return gif::loadFramePalette(fromBuffer(buffer), palette, 0);
}

extern "C" int ORNAPI loadgifglobalpalette(const char* name, RGBQUAD* palette) {
    return gif::loadGlobalPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadgifglobalpaletteW(const WCHAR* name, RGBQUAD* palette) {
    return gif::loadGlobalPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadgifglobalpalettefrombuffer(const void* buffer, RGBQUAD* palette) {
    return gif::loadGlobalPalette(fromBuffer(buffer), palette);
}

extern "C" int ORNAPI loadgifframepalette(const char* name, RGBQUAD* palette, int frameno) {
    return gif::loadFramePalette(fromFile(name), palette, frameno);
}

extern "C" int ORNAPI loadgifframepaletteW(const WCHAR* name, RGBQUAD* palette, int frameno) {
    return gif::loadFramePalette(fromFile(name), palette, frameno);
}

extern "C" int ORNAPI loadgifframepalettefrombuffer(const void* buffer, RGBQUAD* palette, int frameno) {
    return gif::loadFramePalette(fromBuffer(buffer), palette, frameno);
}
