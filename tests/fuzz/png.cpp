// PNG files. Checksums are put right first, else hardly any change would get past them.
#include "tests/fuzz/fuzz.h"
#include "tests/png/png_file.h"

using namespace fuzz;

namespace {

Bytes repaired(const std::uint8_t* data, std::size_t size) {
    Bytes file(data, data + size);
    if (size % 16 != 15) test::repairCrcs(file);
    return file;
}

void load(const Input& input, unsigned width, unsigned height, unsigned bits) {
    Destination image(width, height, bits, input.choice(0));
    if (!image.made()) return;
    const int code = loadpngfrombuffer(input.file(), image);
    requireOneOf(code, {0, ERR_RANGE, ERR_BITS, ERR_PNG, ERR_OPEN, ERR_MEMORY}, "loadpng's code");
    image.requireMarginsUntouched();
    const int detail = pnggeterror();
    if (code == ERR_PNG) require(detail <= -100 && detail >= -115, "the detail of ERR_PNG", detail);
    if (input.choice(1) % 8 != 0) return;
    Destination other(width, height, bits, input.choice(0));
    require(loadpng(File(input, ".png"), other) == code, "file and buffer give the same code", code);
    require(other.pixels() == image.pixels(), "file and buffer give the same picture");
}

void comment(const Input& input) {
    const File file(input, ".png");
    const int size = static_cast<int>(input.choice(2) % 64);
    test::GuardedBytes text(static_cast<std::size_t>(size));
    requireOneOf(getpngcomment(file, "Title", reinterpret_cast<char*>(text.data()), size),
                 {0, ERR_PNG, ERR_OPEN, ERR_MEMORY}, "getpngcomment's code");
    require(getpngcomment(file, "Title", nullptr, 0) <= static_cast<int>(input.bytes().size()),
            "a comment's length");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes file = repaired(data, size);
    const Input input(file.data(), file.size());
    PngInfo info{};
    requireOneOf(pnginfofrombuffer(input.file(), &info), {0, ERR_PNG, ERR_OPEN, ERR_MEMORY},
                 "pnginfo's code");
    const Palette palette;
    require(loadpngpalettefrombuffer(input.file(), palette.entries) <= 256, "palette entries");
    const unsigned bits = info.dibbits ? info.dibbits : 8;
    load(input, info.width, info.height, bits);
    load(input, 1 + input.choice(2) % 40, 1 + input.choice(3) % 40, bits);
    if (input.choice(2) % 8 == 0) comment(input);
    return 0;
}
