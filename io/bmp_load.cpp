// BMP: loading pixels into an image.
#include <algorithm>
#include <bit>
#include <cstring>

#include "core/area.h"
#include "core/bits.h"
#include "core/boundary.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "io/bmp_format.h"
#include "io/bmp_rle.h"
#include "io/file_window.h"
#include "orn32.h"

namespace orn32::bmp {
namespace {

// One row of the area that a file is loaded into, and what the conversions need to know of the file.
struct RowTarget {
    std::uint8_t* row;
    unsigned bit;
    std::uint32_t columns;
};
using RowReader = void (*)(const RowTarget& to, const std::uint8_t* from, const ColourMasks& masks);

void copy1(const RowTarget& to, const std::uint8_t* from, const ColourMasks&) {
    placeBits(to.row, to.bit, from, to.columns);
}

void widen4(const RowTarget& to, const std::uint8_t* from, const ColourMasks&) {
    for (std::uint32_t x = 0; x < to.columns; x++)
        to.row[x] = x & 1 ? from[x / 2] & 15 : static_cast<std::uint8_t>(from[x / 2] >> 4);
}

void copy8(const RowTarget& to, const std::uint8_t* from, const ColourMasks&) {
    std::memcpy(to.row, from, to.columns);
}

void copy24(const RowTarget& to, const std::uint8_t* from, const ColourMasks&) {
    std::memcpy(to.row, from, std::size_t{to.columns} * 3);
}

// A channel of 16-bit pixels, widened to 8 bits by repeating its upper bits below: a channel of fewer than 4
// bits is only shifted up, one of more than 8 comes out as the modulo-32 shifts have it.
struct Channel16 {
    std::uint32_t mask, down, up, repeat;

    explicit Channel16(std::uint32_t fullMask) : mask(fullMask & 0xFFFF) {
        const int width = std::popcount(mask);
        down = static_cast<std::uint32_t>(std::countr_zero(mask)) & 31;
        up = static_cast<std::uint32_t>(8 - width) & 31;
        repeat = static_cast<std::uint32_t>(8 - 2 * (8 - width)) & 31;
    }
    std::uint8_t operator()(std::uint32_t pixel) const {
        const std::uint32_t c = (pixel & mask) >> down;
        return static_cast<std::uint8_t>((c & 0xFF) << up | c >> repeat);
    }
};

// A channel of 32-bit pixels: the upper 8 bits of the first run of bits in its mask.
struct Channel32 {
    std::uint32_t mask, down;

    explicit Channel32(std::uint32_t fullMask) : mask(fullMask), down(0) {
        const int lowest = std::countr_zero(mask);
        const int top = lowest < 32 ? lowest + std::countr_one(mask >> lowest) : 0;
        if (top > 8) down = static_cast<std::uint32_t>(top - 8);
    }
    std::uint8_t operator()(std::uint32_t pixel) const {
        return static_cast<std::uint8_t>((pixel & mask) >> down);
    }
};

template <class Pixel, class Channel>
void convertByMasks(const RowTarget& to, const std::uint8_t* from, const ColourMasks& masks) {
    const Channel blue(masks.blue), green(masks.green), red(masks.red);
    std::uint8_t* out = to.row;
    for (std::uint32_t x = 0; x < to.columns; x++, from += sizeof(Pixel), out += 3) {
        Pixel pixel;
        std::memcpy(&pixel, from, sizeof pixel);
        out[0] = blue(pixel);
        out[1] = green(pixel);
        out[2] = red(pixel);
    }
}

constexpr RowReader convert16 = convertByMasks<std::uint16_t, Channel16>;
constexpr RowReader convert32 = convertByMasks<std::uint32_t, Channel32>;

using RleDecoder = RowEnd (*)(FileWindow&, std::uint8_t*, std::uint32_t, std::uint32_t);

// How files of a bit count and compression are read: by whole rows, or through a run-length decoder.
struct Variant {
    WORD bits;
    DWORD compression;
    RowReader rows;
    RleDecoder rle;
};

constexpr Variant variants[] = {
    {1, BI_RGB, copy1, nullptr},      {1, BI_RLE8, copy1, nullptr},
    {1, BI_RLE4, copy1, nullptr},     {1, BI_BITFIELDS, copy1, nullptr},
    {4, BI_RGB, widen4, nullptr},     {4, BI_RLE4, nullptr, decodeRle4Row},
    {8, BI_RGB, copy8, nullptr},      {8, BI_RLE8, nullptr, decodeRle8Row},
    {16, BI_RGB, convert16, nullptr}, {16, BI_BITFIELDS, convert16, nullptr},
    {24, BI_RGB, copy24, nullptr},    {24, BI_RLE8, copy24, nullptr},
    {24, BI_RLE4, copy24, nullptr},   {24, BI_BITFIELDS, copy24, nullptr},
    {32, BI_RGB, convert32, nullptr}, {32, BI_BITFIELDS, convert32, nullptr},
};

const Variant* findVariant(const BITMAPINFOHEADER& header) {
    for (const Variant& v : variants)
        if (v.bits == header.biBitCount && v.compression == header.biCompression) return &v;
    return nullptr;
}

// The bit count of the image that a file of the given one is loaded into.
WORD imageBits(WORD fileBits) {
    if (fileBits == 4) return 8;
    return fileBits == 16 || fileBits == 32 ? 24 : fileBits;
}

struct Load {
    const FileInfo& info;
    AreaRows area;
    std::uint32_t areaHeight, rows, columns;

    Load(const FileInfo& fileInfo, const imgdes& image)
        : info(fileInfo), area(image), areaHeight(areaSize(image).height) {
        rows = std::min(areaHeight, static_cast<std::uint32_t>(info.header.biHeight));
        columns = std::min(areaSize(image).width, static_cast<std::uint32_t>(info.header.biWidth));
    }

    // The first row of the file goes to the bottom of the area.
    std::uint8_t* row(std::uint32_t fileRow) const { return area[areaHeight - 1 - fileRow]; }
    std::uint32_t fileWidth() const { return static_cast<std::uint32_t>(info.header.biWidth); }
};

// A file that ends early leaves the rows beyond as they are. A last row without its padding still counts.
int loadRows(InputStream& in, const Load& load, RowReader read) {
    const std::uint64_t rowLength = rowBytes(load.fileWidth(), load.info.header.biBitCount);
    FileWindow window(in, std::max<std::uint64_t>(rowLength, bufferBytes));
    if (!window) return ERR_MEMORY;
    const std::uint32_t needed = (load.columns * load.info.header.biBitCount + 7) / 8;
    if (needed == 0) return 0;  // a picture without width: there may not even be memory to point to
    const std::uint32_t length = static_cast<std::uint32_t>(rowLength);
    for (std::uint32_t y = 0; y < load.rows; y++) {
        if (window.ensure(length) < needed) break;
        read({load.row(y), load.area.bit(), load.columns}, window.data(), load.info.masks);
        window.consume(length);
    }
    return 0;
}

int loadRle(InputStream& in, const Load& load, RleDecoder decode) {
    if (load.info.header.biWidth < 0) return ERR_UNSUPPORTED;
    const std::uint64_t rowLength = rowBytes(load.fileWidth(), load.info.header.biBitCount);
    FileWindow window(in, std::max<std::uint64_t>(2 * rowLength, bufferBytes));
    if (!window) return ERR_MEMORY;
    for (std::uint32_t y = 0; y < load.rows; y++) {
        const RowEnd end = decode(window, load.row(y), load.columns, load.fileWidth());
        if (end == RowEnd::unusable) return ERR_UNSUPPORTED;
        if (end != RowEnd::row) break;
    }
    return 0;
}

int loadPixels(const Source& source, const imgdes& image, FileInfo& info) {
    if (const int code = readInfo(source, info)) return code;
    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;
    if (image.header->biBitCount != imageBits(info.header.biBitCount)) return ERR_BITS;
    const Variant* variant = findVariant(info.header);
    if (!variant) return ERR_UNSUPPORTED;
    in.seek(info.pixelsAt);
    const Load load(info, image);
    return variant->rle ? loadRle(in, load, variant->rle) : loadRows(in, load, variant->rows);
}

// Turns the whole area upside down: a top-down file's rows were placed in file order.
void mirrorArea(const imgdes& image) {
    const AreaRows area(image);
    const Size size = areaSize(image);
    const unsigned bits = area.bit() + size.width * image.header->biBitCount;
    const unsigned bytes = (bits + 7) / 8;
    const unsigned firstMask = 0xFFu >> area.bit(), lastMask = 0xFF00u >> ((bits - 1) % 8 + 1) & 0xFF;
    for (unsigned y = 0; y < size.height / 2; y++) {
        std::uint8_t* a = area[y];
        std::uint8_t* b = area[size.height - 1 - y];
        for (unsigned i = 0; i < bytes; i++) {
            const unsigned mask = (i == 0 ? firstMask : 0xFF) & (i == bytes - 1 ? lastMask : 0xFF);
            const auto difference = static_cast<std::uint8_t>((a[i] ^ b[i]) & mask);
            a[i] ^= difference;
            b[i] ^= difference;
        }
    }
}

void loadColours(const Source& source, imgdes& image) {
    if (image.palette) {
        const int n =
            guarded(Module::bmp, [&] { return readPalette(source, image.palette, paletteRoom(image)); });
        image.palcolors = std::max(n, 0);
    }
    image.imgkind &= ~greyMark;
    if (isgrayscaleimage(&image)) image.imgkind |= greyMark;
    if (image.hbitmap) updatebitmapcolortable(&image);
}

int load(const Source& source, imgdes* image) {
    if (const int code = checkRange(image, bits1to24)) return code;
    FileInfo info;
    if (const int code = guarded(Module::bmp, [&] { return loadPixels(source, *image, info); })) return code;
    if (info.topDown) mirrorArea(*image);
    loadColours(source, *image);
    return 0;
}

}  // namespace
}  // namespace orn32::bmp

using namespace orn32;

extern "C" int ORNAPI loadbmp(const char* name, imgdes* image) {
    return bmp::load(fromFile(name), image);
}

extern "C" int ORNAPI loadbmpW(const WCHAR* name, imgdes* image) {
    return bmp::load(fromFile(name), image);
}

extern "C" int ORNAPI loadbmpfrombuffer(const void* buffer, imgdes* image) {
    return bmp::load(fromBuffer(buffer), image);
}
