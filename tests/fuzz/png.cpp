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

void loadInto(const Input& input, unsigned width, unsigned height, unsigned bits) {
    const int code = load(input, width, height, bits, {0, ERR_RANGE, ERR_BITS, ERR_PNG, ERR_OPEN, ERR_MEMORY},
                          loadpngfrombuffer, loadpng);
    const int detail = pnggeterror();
    if (code == ERR_PNG) require(detail <= -100 && detail >= -115, "the detail of ERR_PNG", detail);
}

void comment(const Input& input) {
    const File file(input);
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
    loadInto(input, info.width, info.height, bits);
    loadInto(input, 1 + input.choice(2) % 40, 1 + input.choice(3) % 40, bits);
    if (input.choice(2) % 8 == 0) comment(input);
    return 0;
}
