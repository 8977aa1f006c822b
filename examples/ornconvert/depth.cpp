// Bits per pixel.
#include "depth.h"

#include <algorithm>
#include <cstddef>

#include "messages.h"
#include "picture.h"

namespace ornconvert {
namespace {

constexpr int allColours = 256;
constexpr int nearestColours = 2;  // matching mode

const unsigned char* rowOf(const imgdes& image, UINT y) {
    return image.bits + std::size_t{image.rowbytes} * (static_cast<UINT>(image.header->biHeight) - 1 - y);
}

// Black and white becomes black and white of a grey picture; two other colours become a palette of two.
Picture from1To8(Picture& picture) {
    Picture wide = picture.blank(8);
    const imgdes& from = *picture.image();
    imgdes& to = *wide.image();
    unsigned char values[2] = {0, 255};
    if (!isgrayscaleimage(&from)) {
        std::copy_n(from.palette, 2, to.palette);
        to.palcolors = 2;
        to.imgkind &= ~1u;
        values[1] = 1;
    }
    for (UINT y = 0; y < picture.height(); y++) {
        const unsigned char* bits = rowOf(from, from.top + y);
        unsigned char* pixels = const_cast<unsigned char*>(rowOf(to, y));
        for (UINT x = from.left; x <= from.right; x++) *pixels++ = values[bits[x / 8] >> (7 - x % 8) & 1];
    }
    return wide;
}

Picture from16To8(Picture& picture) {
    Picture narrow = picture.blank(8);
    check(convertgray16to8(picture.image(), narrow.image()));
    return narrow;
}

Picture from8To24(Picture& picture) {
    Picture colours = picture.blank(24);
    check(convertpaltorgb(picture.image(), colours.image()));
    return colours;
}

Picture from24To8(Picture& picture) {
    Picture indices = picture.blank(8);
    check(convertrgbtopalex(allColours, picture.image(), indices.image(), nearestColours));
    return indices;
}

}  // namespace

Picture converted(Picture& picture, unsigned bits) {
    if (bits == 24 && picture.bits() != 8) {
        Picture indices = converted(picture, 8);
        return from8To24(indices);
    }
    if (bits == 24) return from8To24(picture);
    if (bits == 8 && picture.bits() == 1) return from1To8(picture);
    if (bits == 8 && picture.bits() == 16) return from16To8(picture);
    if (bits == 8 && picture.bits() == 24) return from24To8(picture);
    throw Failure{text(L"a picture of ", picture.bits(), L" bits per pixel is not brought to ", bits)};
}

void fitDepth(Picture& picture, std::span<const unsigned> allowed) {
    const auto isAllowed = [&](unsigned bits) { return std::ranges::find(allowed, bits) != allowed.end(); };
    if (isAllowed(picture.bits())) return;
    picture = converted(picture, isAllowed(8) ? 8 : isAllowed(24) ? 24 : allowed[0]);
}

}  // namespace ornconvert
