// Medians, dilation and erosion, hues, blocks and overlays.
#include <memory>

#include "image.h"

namespace bench {
namespace {

// An operation with one argument, from one image to another of its kind.
using Operation = int(ORNAPI*)(int, imgdes*, imgdes*);

Work filter(Operation operation, int argument, const Picture& picture) {
    const auto from = std::make_shared<Image>(picture);
    const auto to = std::make_shared<Image>(picture.width, picture.height, picture.bits);
    require(operation(argument, *from, *to) == 0, "the filter");
    return {[=] { operation(argument, *from, *to); }, picture.pixelCount(), to->fingerprint()};
}

Work median(int size, const Picture& picture) {
    Work work = filter(medianfilter, size, picture);
    work.outcome = 0;  // the peers have other ideas of an image's border
    return work;
}

Work overlay(const Picture& picture) {
    const auto under = std::make_shared<Image>(picture), over = std::make_shared<Image>(picture);
    const auto result = std::make_shared<Image>(picture.width, picture.height, picture.bits);
    require(cover(100, *under, *over, *result) == 0, "cover");
    return {[=] { cover(100, *under, *over, *result); }, picture.pixelCount()};
}

// The photograph as colours of four bytes.
Bytes colours() {
    Bytes rgb;
    const Bytes& pixels = photograph().pixels;
    for (std::size_t i = 0; i < pixels.size(); i += 3) {
        rgb.insert(rgb.end(), &pixels[i], &pixels[i] + 3);
        rgb.push_back(0);
    }
    return rgb;
}

Work toHsv() {
    const auto rgb = std::make_shared<Bytes>(colours());
    const auto hsv = std::make_shared<Bytes>(rgb->size() / 4 * 3);
    const int count = static_cast<int>(rgb->size() / 4);
    return {[=] { rgb2hsv(rgb->data(), hsv->data(), count); }, photograph().pixelCount()};
}

Work toRgb() {
    const auto rgb = std::make_shared<Bytes>(colours());
    const auto hsv = std::make_shared<Bytes>(rgb->size() / 4 * 3);
    const int count = static_cast<int>(rgb->size() / 4);
    rgb2hsv(rgb->data(), hsv->data(), count);
    return {[=] { hsv2rgb(hsv->data(), rgb->data(), count); }, photograph().pixelCount()};
}

const Rows rows(orn32, Code::simd,
                {{"ops/median/3 grey", 0, [] { return median(3, greyPhotograph()); }},
                 {"ops/median/3 colour", 0, [] { return median(3, photograph()); }},
                 {"ops/median/5 grey", 0, [] { return median(5, greyPhotograph()); }},
                 {"ops/median/5 colour", 0, [] { return median(5, photograph()); }},
                 {"ops/median/11 grey", 0, [] { return median(11, greyPhotograph()); }},
                 {"ops/median/11 colour", 0, [] { return median(11, photograph()); }},
                 {"ops/dilate/grey", 0, [] { return filter(dilate, 255, greyPhotograph()); }},
                 {"ops/dilate/colour", 0, [] { return filter(dilate, 128, photograph()); }},
                 {"ops/erode/grey", 0, [] { return filter(erode, 255, greyPhotograph()); }},
                 {"ops/erode/colour", 0, [] { return filter(erode, 128, photograph()); }},
                 {"ops/rgbtohsv", 0, toHsv},
                 {"ops/hsvtorgb", 0, toRgb},
                 {"ops/pixellize/8", 0, [] { return filter(pixellize, 8, photograph()); }},
                 {"ops/cover/24", 0, [] { return overlay(photograph()); }}});

}  // namespace
}  // namespace bench
