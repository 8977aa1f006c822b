// Pictures made of the input's bytes, saved in each format and loaded again: the same picture where the
// format keeps every pixel.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

class Picture : public test::TestImage {
 public:
    explicit Picture(const Input& input)
        : TestImage(1 + input.choice(1) % 100, 1 + input.choice(2) % 60, depths[input.choice(0) % 3]) {
        const Bytes& bytes = input.bytes();
        for (std::size_t i = 0; i < image.header->biSizeImage; i++)
            image.bits[i] = static_cast<std::uint8_t>(bytes[i % bytes.size()] + (i / bytes.size()) * 7);
        if (image.palcolors && input.choice(0) & 4) {
            image.imgkind = 0;
            for (int i = 0; i < image.palcolors; i++)
                image.palette[i].rgbBlue = bytes[static_cast<std::size_t>(i) % bytes.size()];
        }
        image.left = input.choice(3) % (image.right + 1);
        image.top = input.choice(4) % (image.bottom + 1);
    }

 private:
    static constexpr unsigned depths[] = {1, 8, 24};
};

// Saves the picture in a format, which gives the code. What was saved loads as a picture of so many bits, and
// the given bits of each pixel are the same.
template <class Save, class Load, class... Options>
void roundTrip(const char* format, Picture& picture, int wanted, unsigned bits, unsigned keptBits, Load load,
               Save save, Options... options) {
    void* buffer = nullptr;
    const int saved = save(&buffer, picture, options...);
    require(saved == wanted, format, saved);
    if (saved != 0) return;
    Bytes content = test::taken(buffer);
    content.resize(std::max<std::size_t>(content.size(), 100));  // what is probed of a buffer
    Destination back(static_cast<unsigned>(picture.areaWidth()), static_cast<unsigned>(picture.areaHeight()),
                     bits, 0x55);
    const int code = load(test::GuardedBytes(content).data(), back);
    require(code == 0, format, code);
    back.requireMarginsUntouched();
    const unsigned mask = (1u << keptBits) - 1;
    for (int y = 0; y < picture.areaHeight(); y++)
        for (int x = 0; x < picture.areaWidth(); x++)
            require((picture.areaPixel(x, y) & mask) == (back.areaPixel(x, y) & mask), format);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 8) return 0;
    const Input input(data, size);
    Picture picture(input);
    const unsigned bits = picture.bitsPerPixel(), option = input.choice(5);
    const int rle = option & 1;
    const UINT flags = (option & 3) | (option & 4 ? 0 : GIF_BITS(bits));
    constexpr UINT jpegOptions[] = {0, 1, 2, 0x10, 0x11, 0x12, 7};
    const unsigned jpegBits = bits == 24 || !(picture.image.imgkind & 1) ? 24 : 8;
    const int number = static_cast<int>(input.choice(6));  // the transparent colour, or the quality
    roundTrip("BMP", picture, rle && bits != 8 ? ERR_UNSUPPORTED : 0, bits, bits, loadbmpfrombuffer,
              savebmptobuffer, rle);
    roundTrip("GIF", picture, bits == 24 ? ERR_BITS : 0, bits, bits, loadgiffrombuffer, savegiftobufferex,
              flags, number);
    roundTrip("PNG", picture, 0, bits, bits, loadpngfrombuffer, savepngtobuffer,
              static_cast<int>(option % 14) - 1);
    roundTrip("JPEG", picture, bits == 1 ? ERR_BITS : 0, jpegBits, 0, loadjpgfrombuffer, savejpgtobufferex,
              number, jpegOptions[option % 7]);
    return 0;
}
