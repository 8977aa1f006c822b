// JPEG files: information, loading with every colour option, thumbnails in both modes.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

void requireJpegCode(int code, const char* what) {
    requireOneOf(code,
                 {0, ERR_RANGE, ERR_BITS, ERR_BAD_JPEG, ERR_TRUNCATED, ERR_NO_DATA, ERR_OPEN, ERR_MEMORY,
                  ERR_SOURCE_BUFFER},
                 what);
}

void load(const Input& input, unsigned width, unsigned height, unsigned bits, UINT option) {
    Destination image(width, height, bits, input.choice(0));
    if (!image.made()) return;
    const int code = loadjpgfrombufferex(input.file(), image, option);
    requireJpegCode(code, "loadjpg's code");
    image.requireMarginsUntouched();
    if (code == ERR_SOURCE_BUFFER || input.choice(1) % 8 != 0) return;
    Destination other(width, height, bits, input.choice(0));
    require(loadjpgex(File(input, ".jpg"), other, option) == code, "file and buffer give the same code",
            code);
    require(other.pixels() == image.pixels(), "file and buffer give the same picture");
}

void loadThumbnail(const Input& input, unsigned bits, int mode) {
    Destination image(1 + input.choice(2), 1 + input.choice(3), bits, input.choice(0));
    if (!image.made()) return;
    const UINT left = image.image.left, right = image.image.right;
    requireJpegCode(loadjpgthumbnailfrombuffer(input.file(), image, mode), "loadjpgthumbnail's code");
    require(image.image.left == left && image.image.right == right, "the area stays");
    image.requireMarginsUntouched();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input(data, size);
    JpegInfo info{};
    requireJpegCode(jpeginfofrombuffer(input.file(), &info), "jpeginfo's code");
    JpegInfoEx infoEx{};
    requireJpegCode(jpeginfofrombufferex(input.file(), &infoEx), "jpeginfoex's code");
    constexpr UINT options[] = {JPEG_COLOR_AUTO, JPEG_COLOR_YCBCR, JPEG_COLOR_RGB, JPEG_COLOR_CMYK,
                                JPEG_COLOR_YCCK};
    const unsigned bits = info.vbitcount == 8 ? 8 : 24;
    load(input, info.width, info.height, bits, options[input.choice(1) / 8 % 5]);
    loadThumbnail(input, input.choice(3) & 1 ? bits : 32 - bits, 0);
    loadThumbnail(input, bits, 1);
    return 0;
}
