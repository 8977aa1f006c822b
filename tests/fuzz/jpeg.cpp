// JPEG files: information, loading with every colour option, thumbnails in both modes.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

constexpr Codes codes = {0,           ERR_RANGE, ERR_BITS,   ERR_BAD_JPEG,     ERR_TRUNCATED,
                         ERR_NO_DATA, ERR_OPEN,  ERR_MEMORY, ERR_SOURCE_BUFFER};

void loadThumbnail(const Input& input, unsigned bits, int mode) {
    Destination image(1 + input.choice(2), 1 + input.choice(3), bits, input.choice(0));
    if (!image.made()) return;
    const UINT left = image.image.left, right = image.image.right;
    requireOneOf(loadjpgthumbnailfrombuffer(input.file(), image, mode), codes, "loadjpgthumbnail's code");
    require(image.image.left == left && image.image.right == right, "the area stays");
    image.requireMarginsUntouched();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input(data, size);
    JpegInfo info{};
    requireOneOf(jpeginfofrombuffer(input.file(), &info), codes, "jpeginfo's code");
    JpegInfoEx infoEx{};
    requireOneOf(jpeginfofrombufferex(input.file(), &infoEx), codes, "jpeginfoex's code");
    constexpr UINT options[] = {JPEG_COLOR_AUTO, JPEG_COLOR_YCBCR, JPEG_COLOR_RGB, JPEG_COLOR_CMYK,
                                JPEG_COLOR_YCCK};
    const unsigned bits = info.vbitcount == 8 ? 8 : 24;
    load(input, info.width, info.height, bits, codes, loadjpgfrombufferex, loadjpgex,
         options[input.choice(1) / 8 % 5]);
    loadThumbnail(input, input.choice(3) & 1 ? bits : 32 - bits, 0);
    loadThumbnail(input, bits, 1);
    return 0;
}
