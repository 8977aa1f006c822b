// libjpeg-turbo's encoder with the accurate integer transform: the work that ours does, to the same bytes.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>

#include "../pictures.h"

namespace bench {
namespace {

constexpr int quality = 75;

enum class Coding { standard, optimised, progressive };

void fail(j_common_ptr) {
    throw NotPossible("libjpeg-turbo failed");
}

// An encoded file in the library's own memory.
struct File {
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    ~File() { std::free(bytes); }
};

void encode(const Picture& picture, Coding coding, File& file) {
    jpeg_error_mgr errors;
    jpeg_compress_struct c;
    c.err = jpeg_std_error(&errors);
    errors.error_exit = fail;
    jpeg_create_compress(&c);
    jpeg_mem_dest(&c, &file.bytes, &file.size);
    c.image_width = picture.width;
    c.image_height = picture.height;
    c.input_components = static_cast<int>(picture.bits / 8);
    c.in_color_space = picture.bits == 24 ? JCS_EXT_BGR : JCS_GRAYSCALE;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, quality, FALSE);
    c.dct_method = JDCT_ISLOW;
    c.optimize_coding = coding == Coding::optimised;
    if (coding == Coding::progressive) jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        auto* row = const_cast<JSAMPROW>(picture.row(c.next_scanline));
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
}

Work save(const std::shared_ptr<const Picture>& picture, Coding coding) {
    constexpr unsigned start = 20;  // behind the JFIF segment
    File file;
    encode(*picture, coding, file);
    const auto pass = [=] {
        File again;
        encode(*picture, coding, again);
    };
    return {pass, picture->pixelCount(), fingerprint(file.bytes + start, file.size - start)};
}

std::shared_ptr<const Picture> colour() {
    return std::make_shared<Picture>(photograph());
}

// The photograph's green, which is nearly its brightness.
std::shared_ptr<const Picture> grey() {
    auto picture = std::make_shared<Picture>(photograph());
    picture->bits = 8;
    Bytes green;
    for (std::size_t i = 1; i < picture->pixels.size(); i += 3) green.push_back(picture->pixels[i]);
    picture->pixels = green;
    return picture;
}

std::string version() {
    return "libjpeg-turbo " + std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000 % 1000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER % 1000);
}

#ifndef BENCH_LIBJPEG_CODE
#define BENCH_LIBJPEG_CODE Code::simd
#endif

const Rows rows(version(), BENCH_LIBJPEG_CODE,
                {{"jpeg/save/420", 1, [] { return save(colour(), Coding::standard); }},
                 {"jpeg/save/grey", 1, [] { return save(grey(), Coding::standard); }},
                 {"jpeg/save/420/optimised", 1, [] { return save(colour(), Coding::optimised); }},
                 {"jpeg/save/grey/optimised", 1, [] { return save(grey(), Coding::optimised); }},
                 {"jpeg/save/420/progressive", 1, [] { return save(colour(), Coding::progressive); }},
                 {"jpeg/save/grey/progressive", 1, [] { return save(grey(), Coding::progressive); }}});

}  // namespace
}  // namespace bench
