// GIF: compressing and decompressing between buffers; loading and saving files without string codes.
#include <memory>

#include "image.h"

namespace bench {
namespace {

// The image data of the file that the peer has written, up to the file's end.
Work decode(const char* input) {
    const auto file = std::make_shared<Bytes>(keptInput(input));
    GifFrameInfo frame;
    require(gifinfoframefrombuffer(file->data(), nullptr, nullptr, &frame, 0) == 0, "gifinfoframefrombuffer");
    const auto pixels = std::make_shared<Bytes>(std::size_t{2048} * 1536);
    const auto pass = [=] {
        const UINT at = frame.dataoffset - 1;
        require(GifDecode(nullptr, file->data() + at, static_cast<int>(file->size() - at), pixels->data(),
                          static_cast<int>(pixels->size())) != 0,
                "GifDecode");
    };
    pass();
    return {pass, 1.0 * 2048 * 1536, fingerprintOfRows(pixels->data(), 2048, 2048, 1536)};
}

Work encode(const Picture& picture) {
    const auto data = std::make_shared<Bytes>(picture.pixels.size() * 2);
    const auto pass = [=, &picture] {
        GifCodeParams params = {{}, 8};
        require(GifEncode(&params, picture.pixels.data(), static_cast<UINT>(picture.pixels.size()),
                          data->data(), static_cast<UINT>(data->size())) != 0,
                "GifEncode");
    };
    return {pass, picture.pixelCount()};
}

Work save(const Picture& picture) {
    const auto image = std::make_shared<Image>(picture);
    const auto pass = [=] {
        void* buffer;
        require(savegiftobufferex(&buffer, *image, 0, -1) == 0, "savegiftobufferex");
        freeBuffer(buffer);
    };
    return {pass, picture.pixelCount()};
}

Work load(const Picture& picture) {
    Image image(picture);
    void* buffer;
    require(savegiftobufferex(&buffer, image, 0, -1) == 0, "savegiftobufferex");
    const auto* bytes = static_cast<std::uint8_t*>(buffer);
    const auto file = std::make_shared<Bytes>(bytes, bytes + GlobalSize(GlobalHandle(buffer)));
    freeBuffer(buffer);
    const auto target = std::make_shared<Image>(picture.width, picture.height, 8);
    const auto pass = [=] { require(loadgiffrombuffer(file->data(), *target) == 0, "loadgiffrombuffer"); };
    pass();
    require(target->fingerprint() ==
                fingerprintOfRows(picture.row(0), picture.rowBytes(), picture.rowBytes(), picture.height),
            "loading what was saved");
    return {pass, picture.pixelCount()};
}

const Rows rows(orn32, Code::simd,
                {{"gif/decode/graphic", 0, [] { return decode("graphic.gif"); }},
                 {"gif/decode/photograph", 0, [] { return decode("photograph.gif"); }},
                 {"gif/encode/graphic", 0, [] { return encode(graphic()); }},
                 {"gif/encode/photograph", 0, [] { return encode(photograph256()); }},
                 {"gif/load/graphic/no strings", 300, [] { return load(graphic()); }},
                 {"gif/save/graphic/no strings", 300, [] { return save(graphic()); }}});

}  // namespace
}  // namespace bench
