// BMP: reading the headers and the palette.
#include "core/boundary.h"
#include "core/memory.h"
#include "io/bmp_format.h"
#include "orn32.h"

#include <algorithm>
#include <cstring>

namespace orn32::bmp {
namespace {

constexpr ColourMasks masks555 = {0x7C00, 0x3E0, 0x1F};
constexpr ColourMasks masks888 = {0xFF0000, 0xFF00, 0xFF};

template <class T>
T fieldAt(const std::uint8_t* bytes, unsigned offset) {
    T value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return value;
}

BITMAPINFOHEADER widenedCoreHeader(const std::uint8_t* bytes) {
    BITMAPINFOHEADER header = {};
    header.biSize = infoHeaderBytes;
    header.biWidth = fieldAt<WORD>(bytes, 4);
    header.biHeight = fieldAt<WORD>(bytes, 6);
    header.biPlanes = fieldAt<WORD>(bytes, 8);
    header.biBitCount = fieldAt<WORD>(bytes, 10);
    return header;
}

// Fills in what a header may leave at 0, and returns whether it is top-down; its height becomes positive.
bool normalise(BITMAPINFOHEADER& header) {
    if (!header.biClrUsed && header.biBitCount < 16) header.biClrUsed = 1u << header.biBitCount;
    if (!header.biClrImportant) header.biClrImportant = header.biClrUsed;
    const bool topDown = header.biHeight < 0;
    if (topDown) header.biHeight = static_cast<LONG>(0u - static_cast<DWORD>(header.biHeight));
    if (!header.biSizeImage) {
        const std::uint64_t row = rowBytes(static_cast<DWORD>(header.biWidth), header.biBitCount);
        header.biSizeImage = static_cast<DWORD>(row * static_cast<DWORD>(header.biHeight));
    }
    return topDown;
}

// Bit field masks lie behind the first 40 header bytes, inside a longer header. Those of a file that ends
// there stay 0.
ColourMasks readMasks(InputStream& in, const BITMAPINFOHEADER& header) {
    if (header.biCompression != BI_BITFIELDS) return header.biBitCount == 16 ? masks555 : masks888;
    ColourMasks masks = {};
    in.read(&masks, sizeof masks);
    return masks;
}

}  // namespace

int readInfo(const Source& source, FileInfo& info) {
    if (!startIsReadable(source)) return ERR_SOURCE_BUFFER;
    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;
    std::uint8_t bytes[infoHeaderBytes];
    if (!in.readWhole(bytes, fileHeaderBytes) || fieldAt<WORD>(bytes, 0) != signature) return ERR_FORMAT;
    info.pixelsAt = fieldAt<DWORD>(bytes, 10);
    if (!in.readWhole(bytes, infoHeaderBytes)) return ERR_FORMAT;

    const DWORD headerSize = fieldAt<DWORD>(bytes, 0);
    const bool core = headerSize <= coreHeaderBytes;
    info.header = core ? widenedCoreHeader(bytes) : fieldAt<BITMAPINFOHEADER>(bytes, 0);
    info.paletteEntryBytes = core ? sizeof(RGBTRIPLE) : sizeof(RGBQUAD);
    info.paletteAt = headerSize + fileHeaderBytes;
    info.topDown = normalise(info.header);
    info.masks = readMasks(in, info.header);
    return 0;
}

int readPalette(const Source& source, RGBQUAD* palette, unsigned room) {
    FileInfo info;
    if (const int code = readInfo(source, info)) return code;
    if (info.header.biBitCount >= 16) return 0;
    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;

    const unsigned n = std::min<DWORD>({info.header.biClrUsed, 256, room});
    const WorkArray<std::uint8_t> entries(MemoryEntry::first, 256 * sizeof(RGBQUAD));
    if (!entries) return ERR_MEMORY;
    in.seek(info.paletteAt);
    const std::uint32_t found = in.read(entries.get(), n * info.paletteEntryBytes);
    std::memset(palette, 0, n * sizeof(RGBQUAD));
    for (unsigned i = 0; i < n && (i + 1) * info.paletteEntryBytes <= found; i++)
        std::memcpy(&palette[i], &entries[i * info.paletteEntryBytes], 3);
    return static_cast<int>(n);
}

namespace {

int info(const Source& source, BITMAPINFOHEADER* header) {
    return guarded(Module::bmp, [&] {
        FileInfo found;
        const int code = readInfo(source, found);
        if (code == 0) *header = found.header;
        return code;
    });
}

int loadPalette(const Source& source, RGBQUAD* palette) {
    return guarded(Module::bmp, [&] { return readPalette(source, palette, 256); });
}

}  // namespace
}  // namespace orn32::bmp

using namespace orn32;

extern "C" int ORNAPI bmpinfo(const char* name, BITMAPINFOHEADER* info) {
    return bmp::info(fromFile(name), info);
}

extern "C" int ORNAPI bmpinfoW(const WCHAR* name, BITMAPINFOHEADER* info) {
    return bmp::info(fromFile(name), info);
}

extern "C" int ORNAPI bmpinfofrombuffer(const void* buffer, BITMAPINFOHEADER* info) {
    return bmp::info(fromBuffer(buffer), info);
}

extern "C" int ORNAPI loadbmppalette(const char* name, RGBQUAD* palette) {
    return bmp::loadPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadbmppaletteW(const WCHAR* name, RGBQUAD* palette) {
    return bmp::loadPalette(fromFile(name), palette);
}

extern "C" int ORNAPI loadbmppalettefrombuffer(const void* buffer, RGBQUAD* palette) {
    return bmp::loadPalette(fromBuffer(buffer), palette);
}
