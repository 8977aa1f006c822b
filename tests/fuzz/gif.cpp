// GIF files: information of every kind, frames, palettes, pixels, comments.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

void requireGifCode(int code, const char* what) {
    requireOneOf(code,
                 {0, ERR_RANGE, ERR_BITS, ERR_BAD_GIF, ERR_LZW_CODE, ERR_MEMORY, ERR_SOURCE_BUFFER, ERR_OPEN,
                  ERR_TRUNCATED, ERR_NO_FRAME},
                 what);
}

void load(const Input& input, unsigned width, unsigned height, unsigned bits, GifGlobalInfo* global,
          GifFrameInfo* frame) {
    Destination image(width, height, bits, input.choice(0));
    if (!image.made()) return;
    const int code = frame ? loadgifframefrombuffer(input.file(), image, global, frame)
                           : loadgiffrombuffer(input.file(), image);
    requireGifCode(code, "loadgif's code");
    image.requireMarginsUntouched();
    if (code == ERR_SOURCE_BUFFER || frame || input.choice(1) % 8 != 0) return;
    Destination other(width, height, bits, input.choice(0));
    require(loadgif(File(input, ".gif"), other) == code, "file and buffer give the same code", code);
    require(other.pixels() == image.pixels(), "file and buffer give the same picture");
}

void palettes(const Input& input, int frame) {
    const Palette palette;
    require(loadgifpalettefrombuffer(input.file(), palette.entries) <= 256, "palette entries");
    require(loadgifglobalpalettefrombuffer(input.file(), palette.entries) <= 256, "palette entries");
    require(loadgifframepalettefrombuffer(input.file(), palette.entries, frame) <= 256, "palette entries");
}

void comment(const Input& input) {
    const File file(input, ".gif");
    const int size = static_cast<int>(input.choice(2));
    test::GuardedBytes text(static_cast<std::size_t>(size));
    const int length = getgifcomment(file, reinterpret_cast<char*>(text.data()), size);
    require(length <= std::max(0, size - 1), "a comment's length", length);
    require(getgifcomment(file, nullptr, 0) <= 31999, "a comment's length");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input(data, size);
    GifFileInfo info{};
    requireGifCode(gifinfofrombuffer(input.file(), &info), "gifinfo's code");
    int count = 0;
    requireGifCode(gifframecountfrombuffer(input.file(), &count), "gifframecount's code");
    require(count >= 0 && count <= static_cast<int>(size), "frames", count);

    GifGlobalInfo global{};
    const int room = std::min(count, 64);
    std::vector<GifFrameInfo> frames(static_cast<std::size_t>(room));
    frames.shrink_to_fit();
    requireGifCode(gifinfoallframesfrombuffer(input.file(), &global, frames.data(), room),
                   "gifinfoallframes's code");
    GifFrameInfo frame{};
    const int which = static_cast<int>(input.choice(3) % 8);
    requireGifCode(gifinfoframefrombuffer(input.file(), &info, &global, &frame, which),
                   "gifinfoframe's code");

    palettes(input, which);
    load(input, static_cast<unsigned>(info.width), static_cast<unsigned>(info.height),
         info.dibbits == 1 ? 1 : 8, nullptr, nullptr);
    // A record of the caller's own making does no harm either.
    reinterpret_cast<int*>(&frame)[input.choice(2) % 16] += static_cast<int>(input.choice(3)) - 128;
    load(input, static_cast<unsigned>(frame.width), static_cast<unsigned>(frame.height),
         input.choice(1) & 1 ? 1 : 8, &global, &frame);
    if (input.choice(2) % 8 == 0) comment(input);
    return 0;
}
