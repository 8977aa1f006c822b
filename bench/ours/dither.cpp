// Dithering to fixed palettes and to black and white.
#include <memory>

#include "image.h"

namespace bench {
namespace {

using Dither = int(ORNAPI*)(imgdes*, imgdes*, int);

Work toFixed(Dither dither, int cube) {
    const auto from = std::make_shared<Image>(photograph());
    const auto to = std::make_shared<Image>(photograph().width, photograph().height, 8);
    require(dither(*from, *to, cube) == 0, "the dither");
    return {[=] { dither(*from, *to, cube); }, photograph().pixelCount()};
}

Work toOneBit(int mode) {
    const auto from = std::make_shared<Image>(greyPhotograph());
    const auto to = std::make_shared<Image>(greyPhotograph().width, greyPhotograph().height, 1);
    require(convert8bitto1bit(mode, *from, *to) == 0, "convert8bitto1bit");
    return {[=] { convert8bitto1bit(mode, *from, *to); }, greyPhotograph().pixelCount(),
            mode > 1 ? to->fingerprint() : 0};
}

Work toLevels(int(ORNAPI* convert)(imgdes*, imgdes*)) {
    const auto grey = std::make_shared<Image>(greyPhotograph());
    const auto from = std::make_shared<Image>(greyPhotograph().width, greyPhotograph().height, 1);
    require(convert8bitto1bit(2, *grey, *from) == 0, "convert8bitto1bit");
    return {[=] { convert(*from, *grey); }, greyPhotograph().pixelCount()};
}

const Rows rows(orn32, Code::simd,
                {{"ops/mono/threshold", 0, [] { return toOneBit(2); }},
                 {"ops/mono/ordered", 0, [] { return toOneBit(1); }},
                 {"ops/mono/diffused", 0, [] { return toOneBit(0); }},
                 {"ops/monotogray", 0, [] { return toLevels(convert1bitto8bit); }},
                 {"ops/monotogray/smooth", 0, [] { return toLevels(convert1bitto8bitsmooth); }},
                 {"ops/dither/8", 0, [] { return toFixed(colordither, 0); }},
                 {"ops/dither/cube", 0, [] { return toFixed(colordither, 1); }},
                 {"ops/scatter/8", 0, [] { return toFixed(colorscatter, 0); }},
                 {"ops/scatter/cube", 0, [] { return toFixed(colorscatter, 1); }}});

}  // namespace
}  // namespace bench
