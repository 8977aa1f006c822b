#include "image.h"

#include <cstring>

namespace bench {

Image::Image(unsigned width, unsigned height, unsigned bits) {
    require(allocimage(&image_, width, height, bits) == 0, "allocimage");
}

Image::Image(const Picture& picture) : Image(picture.width, picture.height, picture.bits) {
    for (unsigned y = 0; y < picture.height; y++)
        std::memcpy(image_.bits + (picture.height - 1 - y) * image_.rowbytes, picture.row(y),
                    picture.rowBytes());
    if (picture.palette.empty()) return;
    std::memcpy(image_.palette, picture.palette.data(), picture.palette.size());
    updatebitmapcolortable(&image_);
}

std::uint32_t Image::fingerprint() const {
    const auto step = static_cast<std::ptrdiff_t>(image_.rowbytes);
    const auto height = static_cast<unsigned>(image_.header->biHeight);
    const auto width = static_cast<unsigned>(image_.header->biWidth);
    return fingerprintOfRows(image_.bits + step * (image_.header->biHeight - 1), -step,
                             width * image_.header->biBitCount / 8, height);
}

void freeBuffer(void* buffer) {
    GlobalUnlock(GlobalHandle(buffer));
    GlobalFree(GlobalHandle(buffer));
}

}  // namespace bench
