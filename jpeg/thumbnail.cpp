// JPEG: loading a small picture, the stored thumbnail or else the picture itself, reduced.
#include <algorithm>

#include "core/area.h"
#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "jpeg/error.h"
#include "jpeg/info.h"
#include "jpeg/load.h"
#include "process/resize.h"

namespace orn32::jpeg {
namespace {

constexpr int ignoreStored = 1;
constexpr std::uint32_t paletteBytes = 256 * 3;

// The palette in front of the pixels: red, green, blue.
bool readPalette(InputStream& in, const Thumbnail& thumbnail, imgdes& image) {
    std::uint8_t colours[paletteBytes];
    in.seek(thumbnail.offset - paletteBytes);
    if (!in.readWhole(colours, paletteBytes)) return false;
    for (unsigned i = 0; i < 256; i++)
        image.palette[i] = {colours[3 * i + 2], colours[3 * i + 1], colours[3 * i], 0};
    image.palcolors = 256;
    image.imgkind &= ~greyMark;
    if (isgrayscaleimage(&image)) image.imgkind |= greyMark;
    return true;
}

void swapRedAndBlue(std::uint8_t* row, unsigned width) {
    for (unsigned x = 0; x < width; x++) std::swap(row[3 * x], row[3 * x + 2]);
}

// The thumbnail as it is stored: rows from the top, without padding.
int readStored(InputStream& in, const Thumbnail& thumbnail, imgdes& image) {
    if (thumbnail.kind == thumbPalette && !readPalette(in, thumbnail, image)) fail(Detail::endOfData);
    in.seek(thumbnail.offset);
    const AreaRows rows(image);
    for (unsigned y = 0; y < thumbnail.height; y++) {
        if (!in.readWhole(rows[y], thumbnail.width * thumbnail.bits / 8u)) fail(Detail::endOfData);
        if (thumbnail.bits == 24) swapRedAndBlue(rows[y], thumbnail.width);
    }
    return 0;
}

// The size that a thumbnail takes in an area: its own shape, within the area and the picture it stands for.
Size fittedSize(const Thumbnail& thumbnail, const JpegInfo& picture, Size area) {
    const Size most = {std::min(area.width, picture.width), std::min(area.height, picture.height)};
    const unsigned width = most.height * thumbnail.width / thumbnail.height;
    if (width < most.width) return {width, most.height};
    return {most.width, most.width * thumbnail.height / thumbnail.width};
}

// Scales into the top-left part of the image's area; the record's area is put back.
int scaleInto(imgdes& image, Size size, imgdes* thumbnail) {
    if (!size.width || !size.height) return ERR_RANGE;
    imgdes part = image;
    part.right = part.left + size.width - 1;
    part.bottom = part.top + size.height - 1;
    const int code = resizeimage_(thumbnail, &part, 0);
    image.palcolors = part.palcolors;
    image.imgkind = part.imgkind;
    return code;
}

// Returns ERR_NO_DATA where there is no stored thumbnail to load.
int loadStored(const Source& source, imgdes& image, int mode) {
    Headers headers;
    if (const int code = readInformation(source, headers)) return code;
    const Thumbnail& thumbnail = headers.thumbnail;
    const bool usable = thumbnail.present && thumbnail.width && thumbnail.height && thumbnail.offset;
    if (!usable || mode == ignoreStored) return ERR_NO_DATA;

    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;
    TemporaryImage stored;
    if (const int code = stored.allocate(thumbnail.width, thumbnail.height, thumbnail.bits)) return code;
    if (const int code = unwindTo(ERR_TRUNCATED, [&] { return readStored(in, thumbnail, *stored); }))
        return code;
    return scaleInto(image, fittedSize(thumbnail, headers.info, areaSize(image)), stored);
}

int loadThumbnail(const Source& source, imgdes* image, int mode) {
    if (const int code = checkRange(image, bits8and24)) return code;
    const int code = guarded(Module::jpeg, [&] { return loadStored(source, *image, mode); });
    return code == ERR_NO_DATA ? load(source, image, LoadMode::reduced, JPEG_COLOR_AUTO) : code;
}

}  // namespace
}  // namespace orn32::jpeg

using namespace orn32;

extern "C" int ORNAPI loadjpgthumbnail(const char* name, imgdes* image, int mode) {
    return jpeg::loadThumbnail(fromFile(name), image, mode);
}

extern "C" int ORNAPI loadjpgthumbnailW(const WCHAR* name, imgdes* image, int mode) {
    return jpeg::loadThumbnail(fromFile(name), image, mode);
}

extern "C" int ORNAPI loadjpgthumbnailfrombuffer(const void* buffer, imgdes* image, int mode) {
    return jpeg::loadThumbnail(fromBuffer(buffer), image, mode);
}
