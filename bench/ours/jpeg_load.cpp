// Loading JPEG files in memory, into an image that is there already.
#include <memory>

#include "image.h"

namespace bench {
namespace {

using Load = int(ORNAPI*)(const void*, imgdes*);

int ORNAPI loadReduced(const void* buffer, imgdes* image) {
    return loadjpgthumbnailfrombuffer(buffer, image, 1);
}

// The input's size divided by reduction.
Work load(const char* name, Load function = loadjpgfrombuffer, unsigned reduction = 1) {
    const auto file = std::make_shared<Bytes>(keptInput(name));
    JpegInfo info;
    require(jpeginfofrombuffer(file->data(), &info) == 0, "jpeginfofrombuffer");
    const auto image =
        std::make_shared<Image>(info.width / reduction, info.height / reduction, info.vbitcount);
    require(function(file->data(), *image) == 0, "loading");
    return {[=] { function(file->data(), *image); }, 1.0 * info.width * info.height};
}

const Rows rows(orn32, Code::simd,
                {{"jpeg/load/420", 0, [] { return load("420.jpg"); }},
                 {"jpeg/load/422", 0, [] { return load("422.jpg"); }},
                 {"jpeg/load/444", 0, [] { return load("444.jpg"); }},
                 {"jpeg/load/grey", 0, [] { return load("grey.jpg"); }},
                 {"jpeg/load/420/quality 95", 0, [] { return load("420-best.jpg"); }},
                 {"jpeg/load/420/restarts", 0, [] { return load("420-restarts.jpg"); }},
                 {"jpeg/load/420/progressive", 0, [] { return load("420-progressive.jpg"); }},
                 {"jpeg/load/grey/progressive", 0, [] { return load("grey-progressive.jpg"); }},
                 {"jpeg/load/420/small", 0, [] { return load("420-small.jpg"); }},
                 {"jpeg/load/420/eighth", 0, [] { return load("420.jpg", loadReduced, 8); }},
                 {"jpeg/load/444/eighth", 0, [] { return load("444.jpg", loadReduced, 8); }},
                 {"jpeg/load/420/progressive/eighth", 0,
                  [] { return load("420-progressive.jpg", loadReduced, 8); }}});

// What the reduction saves.
const Rows whole("orn32, whole load", Code::simd,
                 {{"jpeg/load/420/eighth", 1.67, [] { return load("420.jpg"); }},
                  {"jpeg/load/444/eighth", 1.67, [] { return load("444.jpg"); }},
                  {"jpeg/load/420/progressive/eighth", 0, [] { return load("420-progressive.jpg"); }}});

}  // namespace
}  // namespace bench
