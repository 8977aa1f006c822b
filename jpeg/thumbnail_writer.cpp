#include "jpeg/thumbnail_writer.h"

#include <algorithm>

#include "core/memory.h"
#include "core/palette.h"
#include "jpeg/error.h"
#include "jpeg/header_writer.h"
#include "process/resize.h"

namespace orn32::jpeg {
namespace {

constexpr unsigned paletteEntries = 256;
constexpr unsigned largestSegment = 65535;  // as its length counts, without the marker

void check(int code) {
    if (code) failWith(code);
}

// Entries that the palette does not have are black.
void copyPalette(std::uint8_t* to, const imgdes& image) {
    const unsigned entries = std::min(paletteRoom(image), paletteEntries);
    for (unsigned i = 0; i < paletteEntries; i++, to += 3) {
        const RGBQUAD colour = i < entries ? image.palette[i] : RGBQUAD{};
        to[0] = colour.rgbRed, to[1] = colour.rgbGreen, to[2] = colour.rgbBlue;
    }
}

void copyIndices(std::uint8_t* to, const std::uint8_t* row, unsigned width) {
    std::copy_n(row, width, to);
}

void reverseTriples(std::uint8_t* to, const std::uint8_t* row, unsigned width) {
    for (unsigned x = 0; x < width; x++, row += 3, to += 3) to[0] = row[2], to[1] = row[1], to[2] = row[0];
}

void lookUp(std::uint8_t* to, const std::uint8_t* row, unsigned width, const std::uint8_t* palette) {
    for (unsigned x = 0; x < width; x++, to += 3) std::copy_n(palette + 3 * row[x], 3, to);
}

void writeRows(OutputStream& out, const imgdes& reduced, bool indexed, const std::uint8_t* palette) {
    const Size size = areaSize(reduced);
    const unsigned rowLength = size.width * (indexed ? 1 : 3);
    const WorkArray<std::uint8_t> rows(MemoryEntry::first, rowLength * size.height);
    if (!rows) failWith(ERR_MEMORY);
    const AreaRows source(reduced);
    for (unsigned y = 0; y < size.height; y++) {
        std::uint8_t* to = rows.get() + y * rowLength;
        if (indexed)
            copyIndices(to, source[y], size.width);
        else if (reduced.header->biBitCount == 8)
            lookUp(to, source[y], size.width, palette);
        else
            reverseTriples(to, source[y], size.width);
    }
    writeAll(out, rows.get(), rowLength * size.height);
}

}  // namespace

Size thumbnailSides(Size picture, unsigned size) {
    const auto other = [&](unsigned shorter, unsigned longer) {
        return std::max(size * shorter / longer, 1u);
    };
    if (picture.width >= picture.height) return {size, other(picture.height, picture.width)};
    return {other(picture.width, picture.height), size};
}

void writeThumbnail(OutputStream& out, imgdes& image, const EncodeFrame& frame, unsigned size) {
    const bool indexed = frame.grey();
    const Size sides = thumbnailSides(frame.size, size);
    const unsigned paletteBytes = indexed ? 3 * paletteEntries : 0;
    const unsigned length = sides.width * sides.height * (indexed ? 1 : 3) + 10 + paletteBytes;
    if (length > largestSegment) failWith(ERR_THUMB_SIZE);

    const std::uint8_t head[12] = {0xFF,
                                   marker::app0,
                                   static_cast<std::uint8_t>(length >> 8),
                                   static_cast<std::uint8_t>(length),
                                   'J',
                                   'F',
                                   'X',
                                   'X',
                                   0,
                                   indexed ? thumbPalette : thumbRgb,
                                   static_cast<std::uint8_t>(sides.width),
                                   static_cast<std::uint8_t>(sides.height)};
    writeAll(out, head, sizeof head);
    std::uint8_t palette[3 * paletteEntries];
    copyPalette(palette, image);
    if (indexed) writeAll(out, palette, paletteBytes);
    TemporaryImage reduced;
    check(reduced.allocate(sides.width, sides.height, image.header->biBitCount));
    check(resizeimage_(&image, reduced, 1));
    writeRows(out, *reduced, indexed, palette);
}

}  // namespace orn32::jpeg
