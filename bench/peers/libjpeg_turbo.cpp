// libjpeg-turbo's decoder with the accurate integer transform and replicated chroma: the work that ours does,
// but for the rounding of colours. Its encoder makes the inputs.
#include <cstdio>
#include <memory>

#include <jpeglib.h>

#include "../pictures.h"

namespace bench {
namespace {

void fail(j_common_ptr) {
    throw NotPossible("libjpeg-turbo failed");
}

struct Errors : jpeg_error_mgr {
    Errors() {
        jpeg_std_error(this);
        error_exit = fail;
    }
};

// How an input is coded.
struct Coding {
    const char* name;
    int components, h, v;  // sampling factors of the first component
    bool progressive;
    int restartRows;
    int quality;
    unsigned width = photograph().width, height = photograph().height;  // from the middle
};

Bytes encode(const Picture& picture, const Coding& coding) {
    Errors errors;
    jpeg_compress_struct c;
    c.err = &errors;
    jpeg_create_compress(&c);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &buffer, &size);
    c.image_width = coding.width;
    c.image_height = coding.height;
    c.input_components = 3;
    c.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, coding.quality, TRUE);
    if (coding.components == 1) jpeg_set_colorspace(&c, JCS_GRAYSCALE);
    c.comp_info[0].h_samp_factor = coding.h;
    c.comp_info[0].v_samp_factor = coding.v;
    c.restart_in_rows = coding.restartRows;
    if (coding.progressive) jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        const unsigned x = (picture.width - coding.width) / 2, y = (picture.height - coding.height) / 2;
        auto* row = const_cast<JSAMPROW>(picture.row(y + c.next_scanline) + std::size_t{3} * x);
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    const Bytes file(buffer, buffer + size);
    std::free(buffer);
    return file;
}

// scale: eighths of the size.
void decode(const Bytes& file, unsigned scale, Bytes& pixels) {
    Errors errors;
    jpeg_decompress_struct d;
    d.err = &errors;
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&d, TRUE);
    d.dct_method = JDCT_ISLOW;
    d.do_fancy_upsampling = FALSE;
    d.do_block_smoothing = FALSE;
    d.scale_num = scale;
    d.scale_denom = 8;
    if (d.num_components == 3) d.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&d);
    const std::size_t step =
        (std::size_t{d.output_width} * static_cast<unsigned>(d.output_components) + 3) / 4 * 4;
    pixels.resize(step * d.output_height);
    while (d.output_scanline < d.output_height) {
        JSAMPROW row = pixels.data() + step * (d.output_height - 1 - d.output_scanline);
        jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
}

Work load(const Coding& coding, unsigned scale = 8) {
    const auto file = std::make_shared<Bytes>(encode(photograph(), coding));
    keepInput(coding.name, *file);
    const auto pixels = std::make_shared<Bytes>();
    decode(*file, scale, *pixels);
    return {[=] { decode(*file, scale, *pixels); }, 1.0 * coding.width * coding.height};
}

const Coding cases[] = {{"420.jpg", 3, 2, 2, false, 0, 85},
                        {"422.jpg", 3, 2, 1, false, 0, 85},
                        {"444.jpg", 3, 1, 1, false, 0, 85},
                        {"grey.jpg", 1, 1, 1, false, 0, 85},
                        {"420-best.jpg", 3, 2, 2, false, 0, 95},
                        {"420-restarts.jpg", 3, 2, 2, false, 1, 85},
                        {"420-progressive.jpg", 3, 2, 2, true, 0, 85},
                        {"grey-progressive.jpg", 1, 1, 1, true, 0, 85},
                        {"420-small.jpg", 3, 2, 2, false, 0, 85, 160, 120}};

std::string version() {
    return "libjpeg-turbo " + std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000 % 1000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER % 1000);
}

#ifndef BENCH_LIBJPEG_CODE
#define BENCH_LIBJPEG_CODE Code::simd
#endif

const Rows rows(version(), BENCH_LIBJPEG_CODE,
                {{"jpeg/load/420", 1, [] { return load(cases[0]); }},
                 {"jpeg/load/422", 1, [] { return load(cases[1]); }},
                 {"jpeg/load/444", 1, [] { return load(cases[2]); }},
                 {"jpeg/load/grey", 1, [] { return load(cases[3]); }},
                 {"jpeg/load/420/quality 95", 1, [] { return load(cases[4]); }},
                 {"jpeg/load/420/restarts", 1, [] { return load(cases[5]); }},
                 {"jpeg/load/420/progressive", 1, [] { return load(cases[6]); }},
                 {"jpeg/load/grey/progressive", 1, [] { return load(cases[7]); }},
                 {"jpeg/load/420/small", 1, [] { return load(cases[8]); }},
                 {"jpeg/load/420/eighth", 0, [] { return load(cases[0], 1); }}});

}  // namespace
}  // namespace bench
