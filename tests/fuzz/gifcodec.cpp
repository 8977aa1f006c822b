// GifDecode over any bytes, and GifEncode's data back to the pixels that it was made from.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

void decode(const Input& input) {
    const std::size_t room = input.choice(0) * 64 + input.choice(1);
    const test::GuardedBytes pixels(room);
    GifCodeParams params{};
    const int size = static_cast<int>(input.bytes().size());
    const UINT used = GifDecode(&params, static_cast<const unsigned char*>(input.file()), size, pixels.data(),
                                static_cast<int>(room));
    require(used < std::max(1u, static_cast<UINT>(size)), "no more is used than there is",
            static_cast<int>(used));
}

void roundTrip(const Input& input) {
    const unsigned bits = 2 + input.choice(0) % 7;
    Bytes pixels = input.bytes();
    for (auto& pixel : pixels) pixel &= static_cast<std::uint8_t>((1u << bits) - 1);
    const test::GuardedBytes source(pixels);
    const std::size_t enough = 2 * pixels.size() + 300;
    GifCodeParams params{};
    params.codesize = bits;
    Bytes coded(enough);
    const UINT length = GifEncode(&params, source.data(), static_cast<UINT>(pixels.size()), coded.data(),
                                  static_cast<UINT>(enough));
    require(length > 0 && length <= enough, "the room promised is enough", static_cast<int>(length));
    coded.resize(length);

    const test::GuardedBytes exact(length), back(pixels.size());
    const UINT again =
        GifEncode(&params, source.data(), static_cast<UINT>(pixels.size()), exact.data(), length);
    require(again == 0 || (again == length && std::equal(coded.begin(), coded.end(), exact.data())),
            "the same data whatever the room", static_cast<int>(again));
    const test::GuardedBytes data(coded);
    require(GifDecode(&params, data.data(), static_cast<int>(length), back.data(),
                      static_cast<int>(pixels.size())) > 0,
            "what was encoded decodes");
    require(params.codesize == bits && std::equal(pixels.begin(), pixels.end(), back.data()),
            "what was encoded decodes to the same pixels");

    const std::size_t narrow = input.choice(1) * length / 256;
    const test::GuardedBytes little(narrow);
    require(GifEncode(&params, source.data(), static_cast<UINT>(pixels.size()), little.data(),
                      static_cast<UINT>(narrow)) <= narrow,
            "no more is written than there is room for");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Input input(data, size);
    decode(input);
    roundTrip(input);
    return 0;
}
