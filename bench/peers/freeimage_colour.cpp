// FreeImage's palettes, grey and histograms.
#include <FreeImage.h>

#include <array>
#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

using Bitmap = std::shared_ptr<FIBITMAP>;

Bitmap bitmapOf(const Picture& picture) {
    Bytes file = bmpFile(picture);
    const std::shared_ptr<FIMEMORY> memory(FreeImage_OpenMemory(file.data(), static_cast<DWORD>(file.size())),
                                           FreeImage_CloseMemory);
    const Bitmap bitmap(FreeImage_LoadFromMemory(FIF_BMP, memory.get(), BMP_DEFAULT), FreeImage_Unload);
    require(bitmap != nullptr, "FreeImage_LoadFromMemory");
    return bitmap;
}

std::uint32_t fingerprintOf(const Bitmap& bitmap) {
    const unsigned height = FreeImage_GetHeight(bitmap.get());
    return fingerprintOfRows(FreeImage_GetScanLine(bitmap.get(), static_cast<int>(height) - 1),
                             -static_cast<std::ptrdiff_t>(FreeImage_GetPitch(bitmap.get())),
                             FreeImage_GetLine(bitmap.get()), height);
}

// FreeImage makes a new bitmap for every result.
template <class Convert>
Work convert(const Picture& picture, Convert operation, bool sameResult) {
    const Bitmap from = bitmapOf(picture);
    const auto pass = [=] {
        const Bitmap to(operation(from.get()), FreeImage_Unload);
        require(to != nullptr, "FreeImage");
        return to;
    };
    return {pass, picture.pixelCount(), sameResult ? fingerprintOf(pass()) : 0};
}

Work quantise() {
    return convert(
        photograph(), [](FIBITMAP* from) { return FreeImage_ColorQuantize(from, FIQ_WUQUANT); }, false);
}

Work histogram(const Picture& picture) {
    const Bitmap from = bitmapOf(picture);
    const auto tables = std::make_shared<std::array<DWORD, 3 * 256>>();
    const bool colours = picture.bits == 24;
    const auto pass = [=] {
        DWORD* const t = tables->data();
        if (!colours) return FreeImage_GetHistogram(from.get(), t, FICC_BLACK) != 0;
        return FreeImage_GetHistogram(from.get(), t, FICC_RED) &&
               FreeImage_GetHistogram(from.get(), t + 256, FICC_GREEN) &&
               FreeImage_GetHistogram(from.get(), t + 512, FICC_BLUE);
    };
    require(pass(), "FreeImage_GetHistogram");
    return {pass, picture.pixelCount(), fingerprint(tables->data(), (colours ? 768 : 256) * sizeof(DWORD))};
}

const Rows rows(std::string("FreeImage ") + FreeImage_GetVersion(), Code::scalar,
                {{"ops/rgbtopal/octree", 1, quantise},
                 {"ops/rgbtopal/axis", 1, quantise},
                 {"ops/paltorgb", 1.5, [] { return convert(graphic(), FreeImage_ConvertTo24Bits, true); }},
                 {"ops/gray/24", 2,
                  [] { return convert(photograph(), FreeImage_ConvertToGreyscale, false); }},
                 {"ops/gray/8", 1, [] { return convert(graphic(), FreeImage_ConvertToGreyscale, false); }},
                 {"ops/histogram/8", 1, [] { return histogram(graphic()); }},
                 {"ops/histogram/24", 1, [] { return histogram(photograph()); }}});

}  // namespace
}  // namespace bench
