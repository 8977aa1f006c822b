// GIF files: information of every kind, frames, palettes, pixels, comments.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

constexpr Codes codes = {0,          ERR_RANGE,         ERR_BITS, ERR_BAD_GIF,   ERR_LZW_CODE,
                         ERR_MEMORY, ERR_SOURCE_BUFFER, ERR_OPEN, ERR_TRUNCATED, ERR_NO_FRAME};

void palettes(const Input& input, int frame) {
    const Palette palette;
    require(loadgifpalettefrombuffer(input.file(), palette.entries) <= 256, "palette entries");
    require(loadgifglobalpalettefrombuffer(input.file(), palette.entries) <= 256, "palette entries");
    require(loadgifframepalettefrombuffer(input.file(), palette.entries, frame) <= 256, "palette entries");
}

void comment(const Input& input) {
    const File file(input);
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
    requireOneOf(gifinfofrombuffer(input.file(), &info), codes, "gifinfo's code");
    int count = 0;
    requireOneOf(gifframecountfrombuffer(input.file(), &count), codes, "gifframecount's code");
    require(count >= 0 && count <= static_cast<int>(size), "frames", count);

    GifGlobalInfo global{};
    const int room = std::min(count, 64);
    std::vector<GifFrameInfo> frames(static_cast<std::size_t>(room));
    frames.shrink_to_fit();
    requireOneOf(gifinfoallframesfrombuffer(input.file(), &global, frames.data(), room), codes,
                 "gifinfoallframes's code");
    GifFrameInfo frame{};
    const int which = static_cast<int>(input.choice(3) % 8);
    requireOneOf(gifinfoframefrombuffer(input.file(), &info, &global, &frame, which), codes,
                 "gifinfoframe's code");

    palettes(input, which);
    load(input, static_cast<unsigned>(info.width), static_cast<unsigned>(info.height),
         info.dibbits == 1 ? 1 : 8, codes, loadgiffrombuffer, loadgif);
    // A record of the caller's own making does no harm either.
    reinterpret_cast<int*>(&frame)[input.choice(2) % 16] += static_cast<int>(input.choice(3)) - 128;
    load(input, static_cast<unsigned>(frame.width), static_cast<unsigned>(frame.height),
         input.choice(1) & 1 ? 1 : 8, codes, loadgifframefrombuffer, loadgifframe, &global, &frame);
    if (input.choice(2) % 8 == 0) comment(input);
    return 0;
}
