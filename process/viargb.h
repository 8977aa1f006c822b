// The detour by which an operation on pixel values is applied to an 8-bit image with a colour palette.
#pragma once

#include "orn32.h"
#include "process/temporary_image.h"

namespace orn32 {

// A 24-bit copy of a palette image. The only working memory of the library that is as large as a picture.
class RgbDetour {
 public:
    // Makes the copy of the whole picture. Returns 0 or the code of allocDIB or convertpaltorgb.
    [[nodiscard]] int expand(const imgdes& source);

    // Describes the copy, with the source's area.
    imgdes* area() { return &area_; }

    // Gives the whole destination 256 new colours and maps the copy to them. Returns convertrgbtopalex's
    // code.
    [[nodiscard]] int requantise(imgdes& destination);

 private:
    TemporaryImage whole_;
    imgdes area_ = {};
};

// Runs operation(arguments..., rgb, rgb), which returns a result code, in place on the source's area of a
// 24-bit copy of source, then brings the whole copy to destination with a new palette of 256 colours. source
// must be a palette image with a header (isColourPaletteImage); its palette and area, and destination but for
// its area, which plays no part, are checked on the way. A failure before the way back leaves destination
// untouched.
template <class Operation, class... Arguments>
[[nodiscard]] int viargb_(Operation operation, imgdes* source, imgdes* destination, Arguments... arguments) {
    static_assert(sizeof...(Arguments) <= 3);
    RgbDetour detour;
    if (const int code = detour.expand(*source)) return code;
    if (const int code = operation(arguments..., detour.area(), detour.area())) return code;
    return destination ? detour.requantise(*destination) : ERR_RANGE;
}

}  // namespace orn32
