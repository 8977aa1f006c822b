// Palettes, grey and histograms.
#include <array>
#include <memory>

#include "image.h"

namespace bench {
namespace {

Work quantise(int mode) {
    const auto from = std::make_shared<Image>(photograph());
    const auto to = std::make_shared<Image>(photograph().width, photograph().height, 8);
    require(convertrgbtopalex(256, *from, *to, mode) == 0, "convertrgbtopalex");
    return {[=] { convertrgbtopalex(256, *from, *to, mode); }, photograph().pixelCount()};
}

// To a palette that is there already.
Work matchTo(int mode) {
    const auto from = std::make_shared<Image>(photograph());
    const auto to = std::make_shared<Image>(photograph().width, photograph().height, 8);
    require(convertrgbtopal(256, *from, *to) == 0, "convertrgbtopal");
    require(matchcolorimageex(*from, *to, mode) == 0, "matchcolorimageex");
    return {[=] { matchcolorimageex(*from, *to, mode); }, photograph().pixelCount()};
}

Work reduceColours() {
    const auto from = std::make_shared<Image>(graphic());
    const auto to = std::make_shared<Image>(graphic().width, graphic().height, 8);
    const auto pass = [=] {
        (*to)->palcolors = 64;
        return reduceimagecolors(*from, *to, 2);
    };
    require(pass() == 0, "reduceimagecolors");
    return {pass, graphic().pixelCount()};
}

Work expand() {
    const auto from = std::make_shared<Image>(graphic());
    const auto to = std::make_shared<Image>(graphic().width, graphic().height, 24);
    require(convertpaltorgb(*from, *to) == 0, "convertpaltorgb");
    return {[=] { convertpaltorgb(*from, *to); }, graphic().pixelCount(), to->fingerprint()};
}

Work grey(const Picture& picture) {
    const auto from = std::make_shared<Image>(picture);
    const auto to = std::make_shared<Image>(picture.width, picture.height, 8);
    require(colortogray(*from, *to) == 0, "colortogray");
    return {[=] { colortogray(*from, *to); }, picture.pixelCount()};
}

Work histogram(const Picture& picture) {
    const auto image = std::make_shared<Image>(picture);
    const auto tables = std::make_shared<std::array<long, 3 * 256>>();
    long* const t = tables->data();
    require(calchisto(*image, t, t + 256, t + 512) == 0, "calchisto");
    const std::size_t filled = (picture.bits == 8 ? 256 : 768) * sizeof(long);
    return {[=] { calchisto(*image, tables->data(), tables->data() + 256, tables->data() + 512); },
            picture.pixelCount(), fingerprint(t, filled)};
}

const Rows rows(orn32, Code::simd,
                {{"ops/rgbtopal/octree", 0, [] { return quantise(0); }},
                 {"ops/rgbtopal/octree diffused", 0, [] { return quantise(1); }},
                 {"ops/rgbtopal/axis", 0, [] { return quantise(2); }},
                 {"ops/rgbtopal/axis diffused", 0, [] { return quantise(3); }},
                 {"ops/match/axis", 0, [] { return matchTo(2); }},
                 {"ops/match/axis diffused", 0, [] { return matchTo(3); }},
                 {"ops/reduce", 0, reduceColours},
                 {"ops/paltorgb", 0, expand},
                 {"ops/gray/24", 0, [] { return grey(photograph()); }},
                 {"ops/gray/8", 0, [] { return grey(graphic()); }},
                 {"ops/histogram/8", 0, [] { return histogram(graphic()); }},
                 {"ops/histogram/24", 0, [] { return histogram(photograph()); }}});

}  // namespace
}  // namespace bench
