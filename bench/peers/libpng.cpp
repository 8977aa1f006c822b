// libpng's files in memory, as a program uses it that holds DIB-like rows: blue, green, red.
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

// The photograph's grey: a picture of 8 bits whose palette is the ramp.
Picture greyPhotograph() {
    const Picture& colour = photograph();
    Picture grey = {colour.width, colour.height, 8, Bytes(std::size_t{colour.width} * colour.height), {}};
    for (std::size_t i = 0; i < grey.pixels.size(); i++) {
        const std::uint8_t* p = &colour.pixels[i * 3];
        grey.pixels[i] = static_cast<std::uint8_t>((11 * p[0] + 59 * p[1] + 30 * p[2]) / 100);
    }
    return grey;
}

void append(png_structp png, png_bytep data, png_size_t size) {
    auto* file = static_cast<Bytes*>(png_get_io_ptr(png));
    file->insert(file->end(), data, data + size);
}

// Default settings but for the filters: a user picks the best one for each row, as our files have it.
Bytes saveOnce(const Picture& picture, bool interlaced) {
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) throw NotPossible("png_write failed");
    png_set_write_fn(png, &file, append, nullptr);
    const bool palette = !picture.palette.empty();
    png_set_IHDR(png, info, picture.width, picture.height, 8,
                 picture.bits == 24 ? PNG_COLOR_TYPE_RGB
                 : palette          ? PNG_COLOR_TYPE_PALETTE
                                    : PNG_COLOR_TYPE_GRAY,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
                 PNG_FILTER_TYPE_BASE);
    if (palette) {
        png_color colours[256];
        for (int i = 0; i < 256; i++) {
            const std::uint8_t* p = &picture.palette[static_cast<std::size_t>(i) * 4];
            colours[i] = {p[2], p[1], p[0]};
        }
        png_set_PLTE(png, info, colours, 256);
    } else {
        png_set_filter(png, 0, PNG_ALL_FILTERS);
    }
    png_write_info(png, info);
    if (picture.bits == 24) png_set_bgr(png);
    std::vector<png_bytep> rows;
    for (unsigned y = 0; y < picture.height; y++) rows.push_back(const_cast<png_bytep>(picture.row(y)));
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

struct Reading {
    const Bytes& file;
    std::size_t at;
};

void take(png_structp png, png_bytep data, png_size_t size) {
    auto* reading = static_cast<Reading*>(png_get_io_ptr(png));
    if (reading->file.size() - reading->at < size) png_error(png, "end of file");
    std::memcpy(data, reading->file.data() + reading->at, size);
    reading->at += size;
}

void loadOnce(const Bytes& file, const std::vector<png_bytep>& rows, bool colour) {
    Reading reading = {file, 0};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) throw NotPossible("png_read failed");
    png_set_read_fn(png, &reading, take);
    png_read_info(png, info);
    if (colour) png_set_bgr(png);
    png_read_image(png, const_cast<png_bytepp>(rows.data()));
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

// The file is the one that our side reads.
Work load(const Picture& picture, const char* name) {
    const auto file = std::make_shared<Bytes>(keptInput(name));
    const bool colour = picture.bits == 24;
    const unsigned rowBytes = picture.rowBytes();
    const auto pixels = std::make_shared<Bytes>(std::size_t{rowBytes} * picture.height);
    std::vector<png_bytep> rows;
    for (unsigned y = 0; y < picture.height; y++) rows.push_back(pixels->data() + std::size_t{y} * rowBytes);
    loadOnce(*file, rows, colour);
    return {
        [file, rows, colour, pixels] { loadOnce(*file, rows, colour); }, picture.pixelCount(),
        fingerprintOfRows(pixels->data(), static_cast<std::ptrdiff_t>(rowBytes), rowBytes, picture.height)};
}

Work save(const Picture& picture, bool interlaced = false) {
    const auto kept = std::make_shared<Picture>(picture);
    return {[=] { saveOnce(*kept, interlaced); }, picture.pixelCount()};
}

// Debian's 32-bit package is built for processors without SSE2.
const Rows rows(std::string("libpng ") + png_get_libpng_ver(nullptr), Code::scalar,
                {{"png/load/24", 1.3, [] { return load(photograph(), "photograph.png"); }},
                 {"png/load/24/interlaced", 1.3,
                  [] { return load(photograph(), "photograph-interlaced.png"); }},
                 {"png/load/8/palette", 1.3, [] { return load(graphic(), "graphic.png"); }},
                 {"png/load/8/grey", 1.3, [] { return load(greyPhotograph(), "grey.png"); }},
                 {"png/save/24", 0, [] { return save(photograph()); }},
                 {"png/save/24/interlaced", 0, [] { return save(photograph(), true); }},
                 {"png/save/8/palette", 0, [] { return save(graphic()); }},
                 {"png/save/8/grey", 0, [] { return save(greyPhotograph()); }}});

}  // namespace
}  // namespace bench
