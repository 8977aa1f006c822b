#include "gif/blocks.h"

#include <algorithm>
#include <cstring>

#include "core/area.h"
#include "core/palette.h"
#include "gif/format.h"

namespace orn32::gif {
namespace {

void put(std::uint8_t* to, int low, int high) {
    to[0] = static_cast<std::uint8_t>(low);
    to[1] = static_cast<std::uint8_t>(high);
}

void putWord(std::uint8_t* to, int value) {
    put(to, value, value >> 8);
}

}  // namespace

void writeHeader(OutputStream& out, const Picture& picture, const char* version) {
    std::uint8_t bytes[headerBytes] = {'G', 'I', 'F'};
    std::memcpy(bytes + 3, version, 3);
    putWord(bytes + 6, picture.global.screenwidth);
    putWord(bytes + 8, picture.global.screenheight);
    const unsigned sizeBits = picture.bits - 1;
    bytes[10] = static_cast<std::uint8_t>((picture.global.hasglobalpalette ? hasTable : 0) | sizeBits << 4 |
                                          sizeBits);
    bytes[11] = static_cast<std::uint8_t>(picture.global.bkgndcolor);
    out.write(bytes, sizeof bytes);
}

void writeLoopBlock(OutputStream& out, int loopCount) {
    std::uint8_t bytes[loopBlockBytes] = {
        extension, applicationLabel, 11, 'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0', 3, 1};
    putWord(bytes + 16, loopCount);
    out.write(bytes, sizeof bytes);
}

void writeGraphicControl(OutputStream& out, const GifFrameInfo& frame) {
    const bool transparent = frame.transcolor >= 0 && frame.transcolor <= 255;
    std::uint8_t bytes[graphicControlBytes] = {extension, graphicControlLabel, 4};
    bytes[3] = static_cast<std::uint8_t>((frame.disposal & 7) << 2 | (frame.userinput ? 2 : 0) |
                                         (transparent ? 1 : 0));
    putWord(bytes + 4, frame.delay);
    bytes[6] = static_cast<std::uint8_t>(transparent ? frame.transcolor : 0);
    out.write(bytes, sizeof bytes);
}

void writeDescriptor(OutputStream& out, const Picture& picture) {
    const Size size = areaSize(picture.image);
    std::uint8_t bytes[descriptorBytes] = {imageDescriptor};
    putWord(bytes + 1, picture.frame.left);
    putWord(bytes + 3, picture.frame.top);
    putWord(bytes + 5, static_cast<int>(size.width));
    putWord(bytes + 7, static_cast<int>(size.height));
    bytes[9] = static_cast<std::uint8_t>((picture.frame.haslocalpalette ? hasTable | (picture.bits - 1) : 0) |
                                         (picture.interlaced ? isInterlaced : 0));
    out.write(bytes, sizeof bytes);
}

void writeColourTable(OutputStream& out, const imgdes& image, unsigned bits) {
    std::uint8_t bytes[256 * 3] = {};
    const unsigned entries = 1u << bits;
    for (unsigned i = 0; i < std::min(entries, paletteRoom(image)); i++) {
        bytes[i * 3] = image.palette[i].rgbRed;
        bytes[i * 3 + 1] = image.palette[i].rgbGreen;
        bytes[i * 3 + 2] = image.palette[i].rgbBlue;
    }
    out.write(bytes, entries * 3);
}

void writeComment(OutputStream& out, const char* text) {
    writeByte(out, extension);
    writeByte(out, commentLabel);
    for (std::size_t left = std::strlen(text); left > 0;) {
        const std::uint32_t n = static_cast<std::uint32_t>(std::min<std::size_t>(left, largestBlock));
        writeByte(out, n);
        out.write(text, n);
        text += n;
        left -= n;
    }
    writeByte(out, 0);
}

void writeByte(OutputStream& out, unsigned byte) {
    const std::uint8_t value = static_cast<std::uint8_t>(byte);
    out.write(&value, 1);
}

}  // namespace orn32::gif
