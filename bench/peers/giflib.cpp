// giflib: decoding and encoding one picture in memory, row by row as its own tools do it.
#include <gif_lib.h>

#include <cstring>
#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

struct Reading {
    const Bytes& bytes;
    std::size_t at = 0;
};

int readBytes(GifFileType* gif, GifByteType* to, int count) {
    Reading& in = *static_cast<Reading*>(gif->UserData);
    const std::size_t n = std::min(static_cast<std::size_t>(count), in.bytes.size() - in.at);
    std::memcpy(to, in.bytes.data() + in.at, n);
    in.at += n;
    return static_cast<int>(n);
}

int writeBytes(GifFileType* gif, const GifByteType* from, int count) {
    Bytes& out = *static_cast<Bytes*>(gif->UserData);
    out.insert(out.end(), from, from + count);
    return count;
}

void encodeTo(Bytes& out, const Picture& picture) {
    out.clear();
    int error;
    GifFileType* gif = EGifOpen(&out, writeBytes, &error);
    require(gif, "EGifOpen");
    GifColorType colours[256];
    for (int i = 0; i < 256; i++) {
        const std::uint8_t* entry = &picture.palette[static_cast<std::size_t>(i) * 4];
        colours[i] = {entry[2], entry[1], entry[0]};
    }
    ColorMapObject* map = GifMakeMapObject(256, colours);
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    require(EGifPutScreenDesc(gif, width, height, 8, 0, map) == GIF_OK, "EGifPutScreenDesc");
    require(EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) == GIF_OK, "EGifPutImageDesc");
    for (unsigned y = 0; y < picture.height; y++)
        require(EGifPutLine(gif, const_cast<GifPixelType*>(picture.row(y)), width) == GIF_OK, "EGifPutLine");
    require(EGifCloseFile(gif, &error) == GIF_OK, "EGifCloseFile");
    GifFreeMapObject(map);
}

void decodeTo(Bytes& pixels, const Bytes& file, const Picture& picture) {
    Reading in = {file};
    int error;
    GifFileType* gif = DGifOpen(&in, readBytes, &error);
    require(gif, "DGifOpen");
    GifRecordType type;
    do require(DGifGetRecordType(gif, &type) == GIF_OK, "DGifGetRecordType");
    while (type != IMAGE_DESC_RECORD_TYPE);
    require(DGifGetImageDesc(gif) == GIF_OK, "DGifGetImageDesc");
    for (unsigned y = 0; y < picture.height; y++)
        require(DGifGetLine(gif, &pixels[y * std::size_t{picture.width}], static_cast<int>(picture.width)) ==
                    GIF_OK,
                "DGifGetLine");
    DGifCloseFile(gif, &error);
}

Work encode(const Picture& picture) {
    const auto out = std::make_shared<Bytes>();
    return {[=, &picture] { encodeTo(*out, picture); }, picture.pixelCount()};
}

Work decode(const Picture& picture, const char* name) {
    const auto file = std::make_shared<Bytes>();
    encodeTo(*file, picture);
    keepInput(name, *file);
    const auto pixels = std::make_shared<Bytes>(picture.pixels.size());
    const auto pass = [=, &picture] { decodeTo(*pixels, *file, picture); };
    pass();
    return {pass, picture.pixelCount(),
            fingerprintOfRows(pixels->data(), picture.width, picture.width, picture.height)};
}

std::string version() {
    return "giflib " + std::to_string(GIFLIB_MAJOR) + "." + std::to_string(GIFLIB_MINOR) + "." +
           std::to_string(GIFLIB_RELEASE);
}

const Rows rows(version(), Code::scalar,
                {{"gif/decode/graphic", 2.0, [] { return decode(graphic(), "graphic.gif"); }},
                 {"gif/decode/photograph", 2.0, [] { return decode(photograph256(), "photograph.gif"); }},
                 {"gif/encode/graphic", 1.2, [] { return encode(graphic()); }},
                 {"gif/encode/photograph", 1.2, [] { return encode(photograph256()); }}});

}  // namespace
}  // namespace bench
