// Saving JPEG files to memory.
#include <memory>

#include "image.h"

namespace bench {
namespace {

constexpr int quality = 75;

// From behind the JFIF segment on, where a version differs, to the end mark, behind which a block has room.
std::uint32_t fingerprintOf(const void* buffer) {
    constexpr std::size_t start = 20;
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    std::size_t size = GlobalSize(GlobalHandle(buffer));
    while (size > start && (bytes[size - 2] != 0xFF || bytes[size - 1] != 0xD9)) size--;
    return fingerprint(bytes + start, size - start);
}

Work save(const std::shared_ptr<Image>& image, UINT options) {
    const auto saved = [=] {
        void* buffer;
        require(savejpgtobufferex(&buffer, *image, quality, options) == 0, "savejpgtobufferex");
        return buffer;
    };
    void* buffer = saved();
    const std::uint32_t outcome = fingerprintOf(buffer);
    freeBuffer(buffer);
    return {[=] { freeBuffer(saved()); }, 1.0 * (*image)->header->biWidth * (*image)->header->biHeight,
            outcome};
}

std::shared_ptr<Image> colour() {
    return std::make_shared<Image>(photograph());
}

// The photograph's green, which is nearly its brightness.
std::shared_ptr<Image> grey() {
    const Picture& picture = photograph();
    const auto image = std::make_shared<Image>(picture.width, picture.height, 8);
    for (unsigned y = 0; y < picture.height; y++) {
        std::uint8_t* to = (*image)->bits + (*image)->rowbytes * (picture.height - 1 - y);
        for (unsigned x = 0; x < picture.width; x++) to[x] = picture.row(y)[3 * x + 1];
    }
    return image;
}

const Rows rows(orn32, Code::simd,
                {{"jpeg/save/420", 0, [] { return save(colour(), 0); }},
                 {"jpeg/save/grey", 0, [] { return save(grey(), 0); }},
                 {"jpeg/save/420/optimised", 0, [] { return save(colour(), JPEG_OPTIMIZED); }},
                 {"jpeg/save/grey/optimised", 0, [] { return save(grey(), JPEG_OPTIMIZED); }},
                 {"jpeg/save/420/progressive", 0, [] { return save(colour(), JPEG_PROGRESSIVE); }},
                 {"jpeg/save/grey/progressive", 0, [] { return save(grey(), JPEG_PROGRESSIVE); }}});

}  // namespace
}  // namespace bench
