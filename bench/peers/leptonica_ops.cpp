// Leptonica's medians, grey morphology and hues.
#include <leptonica/allheaders.h>

#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

using Image = std::shared_ptr<Pix>;

Image own(Pix* pix) {
    require(pix != nullptr, "Leptonica");
    return {pix, [](Pix* p) { pixDestroy(&p); }};
}

// Leptonica keeps pixels in words of 32 bits, the first in the highest byte.
Image greyPix() {
    const Picture& picture = greyPhotograph();
    const Image pix = own(pixCreate(static_cast<int>(picture.width), static_cast<int>(picture.height), 8));
    for (unsigned y = 0; y < picture.height; y++) {
        l_uint32* line = pixGetData(pix.get()) + static_cast<std::size_t>(pixGetWpl(pix.get())) * y;
        for (unsigned x = 0; x < picture.width; x++)
            SET_DATA_BYTE(line, static_cast<int>(x), picture.row(y)[x]);
    }
    return pix;
}

Image colourPix() {
    const Picture& picture = photograph();
    const Image pix = own(pixCreate(static_cast<int>(picture.width), static_cast<int>(picture.height), 32));
    for (unsigned y = 0; y < picture.height; y++) {
        l_uint32* line = pixGetData(pix.get()) + static_cast<std::size_t>(pixGetWpl(pix.get())) * y;
        const std::uint8_t* p = picture.row(y);
        for (unsigned x = 0; x < picture.width; x++, p += 3) composeRGBPixel(p[2], p[1], p[0], line + x);
    }
    return pix;
}

template <class Operation>
Work work(const Image& from, Operation operation, bool sameResult) {
    const auto pass = [=] { return own(operation(from.get())); };
    Work made = {pass, photograph().pixelCount()};
    if (sameResult) {
        const Image swapped = own(pixEndianByteSwapNew(pass().get()));
        made.outcome =
            fingerprintOfRows(reinterpret_cast<const std::uint8_t*>(pixGetData(swapped.get())),
                              4 * pixGetWpl(swapped.get()), photograph().width, photograph().height);
    } else {
        pass();
    }
    return made;
}

Work median(int size) {
    return work(
        greyPix(), [=](Pix* from) { return pixMedianFilter(from, size, size); }, false);
}

// Dark parts grow by what Leptonica, to which light is the foreground, calls an erosion.
Work darker() {
    return work(
        greyPix(), [](Pix* from) { return pixErodeGray(from, 3, 3); }, true);
}
Work lighter() {
    return work(
        greyPix(), [](Pix* from) { return pixDilateGray(from, 3, 3); }, true);
}

Work toHsv() {
    return work(
        colourPix(), [](Pix* from) { return pixConvertRGBToHSV(nullptr, from); }, false);
}
Work toRgb() {
    const Image hsv = own(pixConvertRGBToHSV(nullptr, colourPix().get()));
    return work(
        hsv, [](Pix* from) { return pixConvertHSVToRGB(nullptr, from); }, false);
}

const std::unique_ptr<char, decltype(&lept_free)> version(getLeptonicaVersion(), lept_free);

const Rows rows(version.get(), Code::scalar,
                {{"ops/median/3 grey", 2, [] { return median(3); }},
                 {"ops/median/5 grey", 1, [] { return median(5); }},
                 {"ops/median/11 grey", 1, [] { return median(11); }},
                 {"ops/dilate/grey", 2, darker},
                 {"ops/erode/grey", 2, lighter},
                 {"ops/rgbtohsv", 2, toHsv},
                 {"ops/hsvtorgb", 2, toRgb}});

}  // namespace
}  // namespace bench
