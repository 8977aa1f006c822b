// Scaling by bilinear interpolation or by averaging boxes, in 17.15 fixed point.
#include <algorithm>
#include <cstdint>

#include "core/area.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "process/match.h"
#include "process/resize.h"

namespace orn32 {
namespace {

constexpr unsigned one = 32768;
constexpr unsigned fractionMask = one - 1;

unsigned factor(unsigned from, unsigned to) {
    return (from << 15) / to;
}

struct Scaling {
    AreaRows from, to;
    Size fromSize, toSize;
    unsigned fx, fy;
    unsigned channels;

    Scaling(const imgdes& source, const imgdes& destination)
        : from(source),
          to(destination),
          fromSize(areaSize(source)),
          toSize(areaSize(destination)),
          fx(factor(fromSize.width, toSize.width)),
          fy(factor(fromSize.height, toSize.height)),
          channels(source.header->biBitCount / 8u) {}
};

// The mix of four neighbours: between the columns first, then between the rows. A falling difference is
// rounded toward zero, a rising one down.
std::uint8_t bilinear(int p00, int p01, int p10, int p11, int ax, int ay) {
    const int top = (p01 - p00) * ax + (p00 << 15);
    const int bottom = (p11 - p10) * ax + (p10 << 15);
    int difference = bottom - top;
    if (difference < 0) difference += one - 1;
    return static_cast<std::uint8_t>(((difference >> 15) * ay + top + (one / 2)) >> 15);
}

// Neighbours beyond the area's last column and row are the last ones themselves.
void interpolate(const Scaling& s) {
    unsigned sy = 0;
    for (unsigned i = 0; i < s.toSize.height; i++, sy += s.fy) {
        const unsigned y = sy / one;
        const std::uint8_t* row = s.from[y];
        const std::uint8_t* below = s.from[std::min(y + 1, s.fromSize.height - 1)];
        const int ay = static_cast<int>(sy & fractionMask);
        std::uint8_t* out = s.to[i];
        unsigned sx = 0;
        for (unsigned j = 0; j < s.toSize.width; j++, sx += s.fx) {
            const std::size_t left = std::size_t{sx / one} * s.channels;
            const std::size_t right = std::size_t{std::min(sx / one + 1, s.fromSize.width - 1)} * s.channels;
            const int ax = static_cast<int>(sx & fractionMask);
            for (unsigned c = 0; c < s.channels; c++)
                *out++ = bilinear(row[left + c], row[right + c], below[left + c], below[right + c], ax, ay);
        }
    }
}

// Factors up to 1.5 average boxes of two, so that no source pixel is lost.
unsigned boxSide(unsigned factor) {
    const unsigned rounding = factor > one && factor <= one + one / 2 ? one - 1 : one / 2;
    return (factor + rounding) >> 15;
}

void average(const Scaling& s) {
    const unsigned wx = boxSide(s.fx), wy = boxSide(s.fy);
    unsigned sy = 0;
    for (unsigned i = 0; i < s.toSize.height; i++, sy += s.fy) {
        const unsigned top = sy / one, bottom = std::min(top + wy, s.fromSize.height);
        std::uint8_t* out = s.to[i];
        unsigned sx = 0;
        for (unsigned j = 0; j < s.toSize.width; j++, sx += s.fx) {
            const unsigned left = sx / one, right = std::min(left + wx, s.fromSize.width);
            std::uint64_t sums[3] = {};
            for (unsigned y = top; y < bottom; y++) {
                const std::uint8_t* p = s.from[y] + std::size_t{left} * s.channels;
                for (unsigned x = left; x < right; x++)
                    for (unsigned c = 0; c < s.channels; c++) sums[c] += *p++;
            }
            const std::uint64_t pixels = std::uint64_t{bottom - top} * (right - left);
            for (unsigned c = 0; c < s.channels; c++) *out++ = static_cast<std::uint8_t>(sums[c] / pixels);
        }
    }
}

void scale(const imgdes& source, const imgdes& destination) {
    const Scaling s(source, destination);
    if (s.fx <= one || s.fy <= one)
        interpolate(s);
    else
        average(s);
}

// Indices into a colour palette cannot be mixed: the work is done in RGB and matched to the palette again.
int scaleColours(imgdes* source, imgdes* destination) {
    const Size from = areaSize(*source), to = areaSize(*destination);
    TemporaryImage colours, result;
    if (const int code = colours.allocate(from.width, from.height, 24)) return code;
    if (const int code = result.allocate(to.width, to.height, 24)) return code;
    if (const int code = convertpaltorgb(source, colours)) return code;
    scale(*colours, *result);
    copyimagepalette(source, destination);
    return matchcolorimageex(result, destination, bySortedAxisDiffused);
}

// The source is set aside first where the result would be written over it.
int scaleLevels(imgdes* source, imgdes* destination) {
    TemporaryImage copy;
    const imgdes* from = source;
    if (areasOverlap(*source, *destination)) {
        const Size size = areaSize(*source);
        if (const int code = copy.allocate(size.width, size.height, source->header->biBitCount)) return code;
        if (const int code = copyimagebits(source, copy)) return code;
        from = copy;
    }
    scale(*from, *destination);
    copyimagepalette(source, destination);
    return 0;
}

}  // namespace

int resizeSmoothly(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    const bool colourPalette = source->header->biBitCount == 8 && !(source->imgkind & greyMark);
    return colourPalette ? scaleColours(source, destination) : scaleLevels(source, destination);
}

}  // namespace orn32
