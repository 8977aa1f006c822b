// stb_image's JPEG decoder with its SSE2 code. It spreads chroma smoothly, where ours repeats it, gives
// pixels in red, green, blue order, and takes the memory for them itself.
#include <memory>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

#ifndef STBI_SSE2
#error "compiled without -msse2"
#endif

#include "../pictures.h"

namespace bench {
namespace {

// Files are those that another peer's rows of the same name have kept.
Work load(const char* name) {
    const auto file = std::make_shared<Bytes>(keptInput(name));
    const auto decode = [file] {
        int width, height, components;
        stbi_uc* pixels = stbi_load_from_memory(file->data(), static_cast<int>(file->size()), &width, &height,
                                                &components, 0);
        require(pixels != nullptr, "stbi_load_from_memory");
        stbi_image_free(pixels);
    };
    decode();
    int width, height, components;
    require(stbi_info_from_memory(file->data(), static_cast<int>(file->size()), &width, &height, &components),
            "stbi_info_from_memory");
    return {decode, 1.0 * width * height};
}

const Rows rows("stb_image 2.27", Code::simd,
                {{"jpeg/load/420", 1, [] { return load("420.jpg"); }},
                 {"jpeg/load/444", 1, [] { return load("444.jpg"); }},
                 {"jpeg/load/grey", 1, [] { return load("grey.jpg"); }},
                 {"jpeg/load/420/small", 1, [] { return load("420-small.jpg"); }},
                 {"jpeg/load/420/progressive", 1, [] { return load("420-progressive.jpg"); }}});

}  // namespace
}  // namespace bench
