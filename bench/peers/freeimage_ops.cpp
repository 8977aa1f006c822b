// FreeImage's black and white.
#include <FreeImage.h>

#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

using Bitmap = std::shared_ptr<FIBITMAP>;

// FreeImage makes a new bitmap for every result.
template <class Convert>
Work toOneBit(Convert operation, bool sameResult) {
    Bytes file = bmpFile(greyPhotograph());
    const std::shared_ptr<FIMEMORY> memory(FreeImage_OpenMemory(file.data(), static_cast<DWORD>(file.size())),
                                           FreeImage_CloseMemory);
    const Bitmap from(FreeImage_LoadFromMemory(FIF_BMP, memory.get(), BMP_DEFAULT), FreeImage_Unload);
    require(from != nullptr, "FreeImage_LoadFromMemory");
    const auto pass = [=] {
        const Bitmap to(operation(from.get()), FreeImage_Unload);
        require(to != nullptr, "FreeImage");
        return to;
    };
    const Bitmap to = pass();
    const unsigned height = FreeImage_GetHeight(to.get());
    const auto outcome = fingerprintOfRows(FreeImage_GetScanLine(to.get(), static_cast<int>(height) - 1),
                                           -static_cast<std::ptrdiff_t>(FreeImage_GetPitch(to.get())),
                                           FreeImage_GetLine(to.get()), height);
    return {pass, greyPhotograph().pixelCount(), sameResult ? outcome : 0};
}

// FreeImage spreads errors over four neighbours, as Floyd and Steinberg do, and not over twelve.
const Rows rows(
    std::string("FreeImage ") + FreeImage_GetVersion(), Code::scalar,
    {{"ops/mono/threshold", 1,
      [] { return toOneBit([](FIBITMAP* from) { return FreeImage_Threshold(from, 128); }, true); }},
     {"ops/mono/ordered", 1,
      [] { return toOneBit([](FIBITMAP* from) { return FreeImage_Dither(from, FID_BAYER8x8); }, false); }},
     {"ops/mono/diffused", 1,
      [] { return toOneBit([](FIBITMAP* from) { return FreeImage_Dither(from, FID_FS); }, false); }}});

}  // namespace
}  // namespace bench
