// Pictures made of the input's bytes, saved in each format and loaded again: the same picture where the
// format keeps every pixel.
#include "tests/fuzz/fuzz.h"

using namespace fuzz;

namespace {

class Picture {
 public:
    explicit Picture(const Input& input) {
        constexpr unsigned depths[] = {1, 8, 24};
        const unsigned bits = depths[input.choice(0) % 3];
        allocDIB(&image, 1 + input.choice(1) % 100, 1 + input.choice(2) % 60, bits);
        const Bytes& bytes = input.bytes();
        for (std::size_t i = 0; i < image.header->biSizeImage; i++)
            image.bits[i] = static_cast<std::uint8_t>(bytes[i % bytes.size()] + (i / bytes.size()) * 7);
        if (bits < 24 && input.choice(0) & 4) {
            image.imgkind = 0;
            for (int i = 0; i < image.palcolors; i++)
                image.palette[i].rgbBlue = bytes[static_cast<std::size_t>(i) % bytes.size()];
        }
        const UINT right = static_cast<UINT>(image.header->biWidth) - 1;
        const UINT bottom = static_cast<UINT>(image.header->biHeight) - 1;
        setimagearea(&image, input.choice(3) % (right + 1), input.choice(4) % (bottom + 1), right, bottom);
    }
    ~Picture() { freeimage(&image); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    unsigned width() const { return image.right - image.left + 1; }
    unsigned height() const { return image.bottom - image.top + 1; }

    imgdes image;
};

unsigned pixel(const imgdes& image, unsigned x, unsigned y) {
    x += image.left;
    const unsigned row = static_cast<unsigned>(image.header->biHeight) - 1 - (image.top + y);
    const std::uint8_t* p = image.bits + row * image.rowbytes;
    switch (image.header->biBitCount) {
        case 1:
            return p[x / 8] >> (7 - x % 8) & 1;
        case 8:
            return p[x];
        default:
            return p[3 * x] | p[3 * x + 1] << 8 | p[3 * x + 2] << 16;
    }
}

template <class Load>
void loadBack(Picture& picture, void* buffer, unsigned bits, unsigned keptBits, const char* format,
              Load load) {
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    Bytes content(bytes, bytes + GlobalSize(GlobalHandle(buffer)));
    content.resize(std::max<std::size_t>(content.size(), 100));  // what is probed of a buffer
    const test::GuardedBytes file(content);
    Destination back(picture.width(), picture.height(), bits, 0x55);
    const int code = load(file.data(), back);
    require(code == 0, format, code);
    back.requireMarginsUntouched();
    const unsigned mask = keptBits ? (1u << keptBits) - 1 : 0;
    for (unsigned y = 0; y < picture.height(); y++)
        for (unsigned x = 0; x < picture.width(); x++)
            require((pixel(picture.image, x, y) & mask) == (pixel(back.image, x, y) & mask), format);
    GlobalUnlock(GlobalHandle(buffer));
    GlobalFree(GlobalHandle(buffer));
}

void bmp(Picture& picture, unsigned bits, int rle) {
    void* buffer = nullptr;
    const int code = savebmptobuffer(&buffer, &picture.image, rle);
    require(code == (rle && bits != 8 ? ERR_UNSUPPORTED : 0), "savebmp's code", code);
    if (code == 0)
        loadBack(picture, buffer, bits, bits, "BMP comes back",
                 [](void* file, imgdes* image) { return loadbmpfrombuffer(file, image); });
}

void gif(Picture& picture, unsigned bits, unsigned option, unsigned colour) {
    void* buffer = nullptr;
    const UINT flags = (option & 3) | (option & 4 ? 0 : GIF_BITS(bits));
    const int code = savegiftobufferex(&buffer, &picture.image, flags, static_cast<int>(colour));
    require(code == (bits == 24 ? ERR_BITS : 0), "savegif's code", code);
    if (code == 0)
        loadBack(picture, buffer, bits, bits, "GIF comes back",
                 [](void* file, imgdes* image) { return loadgiffrombuffer(file, image); });
}

void png(Picture& picture, unsigned bits, unsigned option) {
    void* buffer = nullptr;
    const int code = savepngtobuffer(&buffer, &picture.image, static_cast<int>(option % 14) - 1);
    require(code == 0, "savepng's code", code);
    loadBack(picture, buffer, bits, bits, "PNG comes back",
             [](void* file, imgdes* image) { return loadpngfrombuffer(file, image); });
}

void jpeg(Picture& picture, unsigned bits, unsigned option, unsigned quality) {
    void* buffer = nullptr;
    constexpr UINT options[] = {0, 1, 2, 0x10, 0x11, 0x12, 7};
    const int code =
        savejpgtobufferex(&buffer, &picture.image, static_cast<int>(quality), options[option % 7]);
    require(code == (bits == 1 ? ERR_BITS : 0), "savejpg's code", code);
    if (code != 0) return;
    const unsigned saved = bits == 24 || !(picture.image.imgkind & 1) ? 24 : 8;
    loadBack(picture, buffer, saved, 0, "JPEG comes back",
             [](void* file, imgdes* image) { return loadjpgfrombuffer(file, image); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 8) return 0;
    const Input input(data, size);
    Picture picture(input);
    const unsigned bits = picture.image.header->biBitCount, option = input.choice(5);
    bmp(picture, bits, option & 1);
    gif(picture, bits, option, input.choice(6));
    png(picture, bits, option);
    jpeg(picture, bits, option, input.choice(6));
    return 0;
}
