// JPEG: loading a picture into an image.
#include "jpeg/load.h"

#include <algorithm>

#include "core/area.h"
#include "core/range_check.h"
#include "jpeg/decoder.h"
#include "jpeg/error.h"
#include "jpeg/info.h"

namespace orn32::jpeg {
namespace {

// The largest size of the picture's shape that fits into the area and is not larger than the picture.
Size reducedSize(Size picture, Size area) {
    const unsigned height = picture.height * area.width / picture.width;
    const unsigned width = picture.width * area.height / picture.height;
    const Size size = width >= area.width ? Size{area.width, height} : Size{width, area.height};
    return {std::min(size.width, picture.width), std::min(size.height, picture.height)};
}

int decode(ByteSource& in, Headers& headers, imgdes& image, LoadMode mode, std::uint32_t option) {
    if (const int code = checkFrame(headers, image.header->biBitCount)) return code;
    const Size picture = {headers.info.width, headers.info.height}, area = areaSize(image);
    const bool reduced = mode == LoadMode::reduced;
    const Size size = reduced
                          ? reducedSize(picture, area)
                          : Size{std::min(picture.width, area.width), std::min(picture.height, area.height)};
    if (!size.width || !size.height) return ERR_RANGE;
    const Layout layout = layoutOf(headers);
    const Conversion conversion = chooseConversion(option, headers.info.comps, headers.adobeTransform);
    Output output(headers, layout, image, size, reduced ? Output::Fit::sample : Output::Fit::cut, conversion);
    if (!output.allocate()) return ERR_MEMORY;
    return decodeScans(in, headers, layout, output);
}

int loadPicture(const Source& source, imgdes& image, LoadMode mode, std::uint32_t option) {
    Headers headers;
    if (const int code = readInformation(source, headers)) return code;
    ByteSource in(source);
    if (!in.isOpen()) return ERR_OPEN;
    if (const int code = checkBlocksPerMcu(headers)) return code;
    if (!in.hasMemory()) return ERR_MEMORY;
    const int code = unwindTo(ERR_TRUNCATED, [&] { return decode(in, headers, image, mode, option); });
    if (code == 0 && headers.info.comps == 1) CreateDefaultPalette_(&image);
    return code;
}

}  // namespace

int load(const Source& source, imgdes* image, LoadMode mode, std::uint32_t option) {
    if (const int code = checkRange(image, bits8and24)) return code;
    return guarded(Module::jpeg, [&] { return loadPicture(source, *image, mode, option); });
}

}  // namespace orn32::jpeg

using namespace orn32;
using jpeg::LoadMode;

extern "C" int ORNAPI loadjpg(const char* name, imgdes* image) {
    return jpeg::load(fromFile(name), image, LoadMode::full, JPEG_COLOR_AUTO);
}

extern "C" int ORNAPI loadjpgW(const WCHAR* name, imgdes* image) {
    return jpeg::load(fromFile(name), image, LoadMode::full, JPEG_COLOR_AUTO);
}

extern "C" int ORNAPI loadjpgfrombuffer(const void* buffer, imgdes* image) {
    return jpeg::load(fromBuffer(buffer), image, LoadMode::full, JPEG_COLOR_AUTO);
}

extern "C" int ORNAPI loadjpgex(const char* name, imgdes* image, UINT option) {
    return jpeg::load(fromFile(name), image, LoadMode::full, option);
}

extern "C" int ORNAPI loadjpgexW(const WCHAR* name, imgdes* image, UINT option) {
    return jpeg::load(fromFile(name), image, LoadMode::full, option);
}

extern "C" int ORNAPI loadjpgfrombufferex(const void* buffer, imgdes* image, UINT option) {
    return jpeg::load(fromBuffer(buffer), image, LoadMode::full, option);
}
