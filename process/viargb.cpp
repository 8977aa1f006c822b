#include "process/viargb.h"

#include "core/palette.h"
#include "process/match.h"

namespace orn32 {
namespace {

constexpr int mostColours = 256;

imgdes wholePicture(const imgdes& image) {
    imgdes whole = image;
    if (!image.header) return whole;
    const auto width = static_cast<UINT>(image.header->biWidth);
    const auto height = static_cast<UINT>(image.header->biHeight);
    setimagearea(&whole, 0, 0, width - 1, height - 1);
    return whole;
}

}  // namespace

int RgbDetour::expand(const imgdes& source) {
    imgdes picture = wholePicture(source);
    const auto width = static_cast<UINT>(source.header->biWidth);
    const auto height = static_cast<UINT>(source.header->biHeight);
    if (const int code = whole_.allocate(width, height, 24)) return code;
    area_ = *whole_;
    setimagearea(&area_, source.left, source.top, source.right, source.bottom);
    return convertpaltorgb(&picture, whole_);
}

int RgbDetour::requantise(imgdes& destination) {
    imgdes picture = wholePicture(destination);
    const int code = convertrgbtopalex(mostColours, whole_, &picture, bySortedAxis);
    destination.palcolors = picture.palcolors;
    destination.imgkind = (destination.imgkind & ~greyMark) | (picture.imgkind & greyMark);
    return code;
}

}  // namespace orn32
