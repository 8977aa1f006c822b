// Turning colour into grey, and grey between 8 and 16 bits.
#include "process/grey.h"

#include <algorithm>
#include <cstdint>

#include "core/area.h"
#include "core/range_check.h"
#include "process/lut.h"
#include "process/palette_row.h"
#include "process/pixel_sums.h"

namespace orn32 {
namespace {

void greyFromIndices(const imgdes& source, const imgdes& destination) {
    std::uint8_t levels[256];
    greyLevelsOfIndices(levels, source);
    mapIndices(levels, source, destination);
}

void greyFromColours(const imgdes& source, const imgdes& destination) {
    const AreaRows from(source), to(destination);
    const Size size = commonSize(source, destination);
    for (unsigned y = 0; y < size.height; y++) greyRow(to[y], from[y], size.width);
}

// A run of bytes inside an image's pixel rows.
struct Run {
    std::uint8_t* first;
    std::size_t bytes;
};

// From a row of the area, at the column left by whole bytes per pixel, to the end of the image's memory.
Run runFrom(const imgdes& image, unsigned y) {
    const BITMAPINFOHEADER& header = *image.header;
    const std::size_t memoryRow = static_cast<unsigned>(header.biHeight) - 1 - image.top - y;
    const std::size_t start = memoryRow * image.rowbytes + std::size_t{image.left} * (header.biBitCount / 8u);
    const std::size_t end = std::size_t{image.rowbytes} * static_cast<unsigned>(header.biHeight);
    return {image.bits + start, end - start};
}

// Calls convert(to, from, count) for every row. The bit counts may not be those that the conversion reads and
// writes: count keeps within the memory of both images.
template <class Convert>
void convertRows(const imgdes& source, unsigned sourceBytes, const imgdes& destination, unsigned targetBytes,
                 Convert convert) {
    const Size size = commonSize(source, destination);
    for (unsigned y = 0; y < size.height; y++) {
        const Run from = runFrom(source, y), to = runFrom(destination, y);
        const std::size_t room = std::min(from.bytes / sourceBytes, to.bytes / targetBytes);
        convert(to.first, from.first, std::min<std::size_t>(size.width, room));
    }
}

void takeHighBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) to[i] = from[2 * i + 1];
}

void repeatBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) {
        const std::uint8_t grey = from[i];
        to[2 * i] = grey;
        to[2 * i + 1] = grey;
    }
}

// Refuses only when both bit counts are wrong: programs rely on one of them passing.
bool bothBitCountsWrong(const imgdes& source, unsigned sourceBits, const imgdes& destination,
                        unsigned targetBits) {
    return source.header->biBitCount != sourceBits && destination.header->biBitCount != targetBits;
}

}  // namespace

void greyLevelsOfIndices(std::uint8_t (&levels)[256], const imgdes& image) {
    const PaletteTable palette(image);
    const int known = std::clamp(image.palcolors, 0, 256);
    for (int i = 0; i < 256; i++) {
        const std::uint32_t colour = i < known ? palette.colour[i] : 0;
        levels[i] = greyLevel(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16);
    }
}

void greyRow(std::uint8_t* grey, const std::uint8_t* bgr, unsigned count) {
    unsigned x = 0;
    for (; x + readByEight <= count; x += 8)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(grey + x), greyOf8(bgr + std::size_t{3} * x));
    for (; x < count; x++) {
        const std::uint8_t* pixel = bgr + std::size_t{3} * x;
        grey[x] = greyLevel(pixel[0], pixel[1], pixel[2]);
    }
}

}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI colortogray(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (destination->header->biBitCount != 8) return ERR_BITS;
    if (source->header->biBitCount == 24) {
        greyFromColours(*source, *destination);
    } else {
        if (!source->palette) return ERR_RANGE;
        greyFromIndices(*source, *destination);
    }
    CreateDefaultPalette_(destination);
    return 0;
}

extern "C" int ORNAPI convertgray16to8(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits1to24and16)) return code;
    if (const int code = checkRange(destination, bits1to24and16)) return code;
    if (bothBitCountsWrong(*source, 16, *destination, 8)) return ERR_BITS;
    convertRows(*source, 2, *destination, 1, takeHighBytes);
    return 0;
}

extern "C" int ORNAPI convertgray8to16(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits1to24and16)) return code;
    if (const int code = checkRange(destination, bits1to24and16)) return code;
    if (bothBitCountsWrong(*source, 8, *destination, 16)) return ERR_BITS;
    convertRows(*source, 1, *destination, 2, repeatBytes);
    return 0;
}
