// Leptonica's median cut and grey.
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

// Leptonica keeps colours in words of 32 bits.
Image pixOf(const Picture& picture) {
    const Image pix = own(pixCreate(static_cast<int>(picture.width), static_cast<int>(picture.height), 32));
    for (unsigned y = 0; y < picture.height; y++) {
        l_uint32* line = pixGetData(pix.get()) + static_cast<std::size_t>(pixGetWpl(pix.get())) * y;
        const std::uint8_t* p = picture.row(y);
        for (unsigned x = 0; x < picture.width; x++, p += 3) composeRGBPixel(p[2], p[1], p[0], line + x);
    }
    return pix;
}

template <class Operation>
Work work(Operation operation) {
    const Image from = pixOf(photograph());
    own(operation(from.get()));
    return {[=] { own(operation(from.get())); }, photograph().pixelCount()};
}

// 256 colours from a histogram of 5 bits per channel over all pixels.
Work medianCut(int diffused) {
    return work([=](Pix* from) { return pixMedianCutQuantGeneral(from, diffused, 8, 256, 5, 1, 0); });
}

const std::unique_ptr<char, decltype(&lept_free)> version(getLeptonicaVersion(), lept_free);

const Rows rows(version.get(), Code::scalar,
                {{"ops/rgbtopal/octree", 1, [] { return medianCut(0); }},
                 {"ops/rgbtopal/octree diffused", 2, [] { return medianCut(1); }},
                 {"ops/rgbtopal/axis", 1, [] { return medianCut(0); }},
                 {"ops/rgbtopal/axis diffused", 2, [] { return medianCut(1); }},
                 {"ops/gray/24", 2, [] {
                      return work([](Pix* from) { return pixConvertRGBToGray(from, 0.3f, 0.59f, 0.11f); });
                  }}});

}  // namespace
}  // namespace bench
