// Bitmaps: header, palette and pixels, from memory and from a file.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

unsigned bitsToLoadInto(unsigned bits) {
    return bits == 4 ? 8 : bits == 16 || bits == 32 ? 24 : bits;
}

void load(const Input& input, unsigned width, unsigned height, unsigned bits) {
    Destination image(width, height, bits, input.choice(0));
    if (!image.made()) return;
    const int code = loadbmpfrombuffer(input.file(), image);
    requireOneOf(
        code, {0, ERR_RANGE, ERR_BITS, ERR_FORMAT, ERR_UNSUPPORTED, ERR_MEMORY, ERR_SOURCE_BUFFER, ERR_OPEN},
        "loadbmp's code");
    image.requireMarginsUntouched();
    if (code == ERR_SOURCE_BUFFER || input.choice(1) % 8 != 0) return;
    Destination other(width, height, bits, input.choice(0));
    require(loadbmp(File(input, ".bmp"), other) == code, "file and buffer give the same code", code);
    require(other.pixels() == image.pixels(), "file and buffer give the same picture");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input(data, size);
    BITMAPINFOHEADER info{};
    const int code = bmpinfofrombuffer(input.file(), &info);
    requireOneOf(code, {0, ERR_FORMAT, ERR_SOURCE_BUFFER, ERR_OPEN, ERR_MEMORY}, "bmpinfo's code");
    const Palette palette;
    const int colours = loadbmppalettefrombuffer(input.file(), palette.entries);
    require(colours <= 256, "palette entries", colours);
    load(input, static_cast<unsigned>(info.biWidth), static_cast<unsigned>(info.biHeight),
         bitsToLoadInto(info.biBitCount));
    load(input, 1 + input.choice(2) % 40, 1 + input.choice(3) % 40, 8);
    return 0;
}
