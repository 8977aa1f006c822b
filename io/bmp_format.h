// What a bitmap file looks like, and the facts that its readers need.
#pragma once

#include <cstdint>

#include "core/platform.h"
#include "io/stream.h"

namespace orn32::bmp {

constexpr WORD signature = 0x4D42;  // "BM"
constexpr std::uint32_t fileHeaderBytes = 14;
constexpr std::uint32_t infoHeaderBytes = 40;
constexpr std::uint32_t coreHeaderBytes = 12;
constexpr std::uint32_t headerBytes = fileHeaderBytes + infoHeaderBytes;

// Rows are read and written through a buffer of at least this size.
constexpr std::uint32_t bufferBytes = 98304;

struct ColourMasks {
    std::uint32_t red, green, blue;
};

struct FileInfo {
    BITMAPINFOHEADER header;  // normalised: counts filled in, height positive
    ColourMasks masks;        // of 16- and 32-bit pixels
    std::uint32_t pixelsAt;   // file offsets
    std::uint32_t paletteAt;
    std::uint32_t paletteEntryBytes;
    bool topDown;
};

// Bytes per row of pixels in the file; a hostile width makes a length that no allocation will give.
inline std::uint64_t rowBytes(std::uint32_t width, unsigned bits) {
    return (std::uint64_t{width} * bits + 31) / 32 * 4;
}

// Reads and normalises the headers. Returns 0, ERR_SOURCE_BUFFER, ERR_OPEN or ERR_FORMAT.
[[nodiscard]] int readInfo(const Source& source, FileInfo& info);

// Reads at most room palette entries, the file's biClrUsed or 256 at most. Returns how many were stored, 0
// for files of 16 bits and more, or a result code.
[[nodiscard]] int readPalette(const Source& source, RGBQUAD* palette, unsigned room);

}  // namespace orn32::bmp
