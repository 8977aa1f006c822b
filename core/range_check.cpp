#include "core/range_check.h"

#include <cstdint>
#include <utility>

namespace orn32 {
namespace {

constexpr unsigned largestSide = 32768;
constexpr unsigned largestWidthOf1Bit = 65535;

bool areaInPicture(const imgdes& image) {
    const BITMAPINFOHEADER& header = *image.header;
    const unsigned columnLimit = header.biBitCount == 1 ? largestWidthOf1Bit : largestSide;
    // Compared as unsigned: a negative width is caught by the row length below.
    const unsigned width = static_cast<unsigned>(header.biWidth);
    if (image.right >= width || image.right >= columnLimit) return false;
    if (header.biHeight < 0 || image.bottom >= largestSide) return false;
    if (image.bottom >= static_cast<unsigned>(header.biHeight)) return false;
    return std::uint64_t{width} * header.biBitCount / 8 <= image.rowbytes;
}

}  // namespace

int checkRange(imgdes* image, BitCounts allowed) {
    if (!image) return ERR_RANGE;
    if (IsBadReadPtr(image->bits, 1)) return ERR_BAD_BUFFER;
    if (!image->header) return ERR_RANGE;
    if (image->left > image->right) std::swap(image->left, image->right);
    if (image->top > image->bottom) std::swap(image->top, image->bottom);
    if (!areaInPicture(*image)) return ERR_RANGE;
    if (image->header->biCompression != 0) return ERR_COMPRESSED;
    const unsigned bits = image->header->biBitCount;
    return bits < 32 && (allowed >> bits & 1) ? 0 : ERR_BITS;
}

}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI checkrange_(imgdes* image) {
    return checkRange(image, bits8and24);
}
extern "C" int ORNAPI checkrange1_(imgdes* image) {
    return checkRange(image, bits1to24);
}
extern "C" int ORNAPI checkrange16_(imgdes* image) {
    return checkRange(image, bits1to24and16);
}
