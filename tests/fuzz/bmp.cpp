// Bitmaps: header, palette and pixels, from memory and from a file.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

unsigned bitsToLoadInto(unsigned bits) {
    return bits == 4 ? 8 : bits == 16 || bits == 32 ? 24 : bits;
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
    const auto loadInto = [&](unsigned width, unsigned height, unsigned bits) {
        load(input, width, height, bits,
             {0, ERR_RANGE, ERR_BITS, ERR_FORMAT, ERR_UNSUPPORTED, ERR_MEMORY, ERR_SOURCE_BUFFER, ERR_OPEN},
             loadbmpfrombuffer, loadbmp);
    };
    loadInto(static_cast<unsigned>(info.biWidth), static_cast<unsigned>(info.biHeight),
             bitsToLoadInto(info.biBitCount));
    loadInto(1 + input.choice(2) % 40, 1 + input.choice(3) % 40, 8);
    return 0;
}
