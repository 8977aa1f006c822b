// GIF: loading a frame into an image.
#include <algorithm>

#include "core/boundary.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "gif/image_data.h"
#include "gif/palette.h"
#include "gif/walker.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

void loadColours(InputStream& in, const ColourTable& table, imgdes& image) {
    image.palcolors = image.palette ? readTable(in, table, image.palette, paletteRoom(image)) : 0;
    image.imgkind &= ~greyMark;
    if (image.palcolors == 0)
        CreateDefaultPalette_(&image);
    else if (isgrayscaleimage(&image))
        image.imgkind |= greyMark;
    if (image.hbitmap) updatebitmapcolortable(&image);
}

int loadFrame(const Source& source, imgdes* image, const GifGlobalInfo& global, const GifFrameInfo& frame) {
    if (const int code = checkRange(image, bits1to24)) return code;
    if (image->header->biBitCount == 24) return ERR_BITS;
    if (frame.codesize < 1 || frame.codesize > 8) return ERR_BAD_GIF;
    return guarded(Module::gif, [&]() -> int {
        if (!startIsReadable(source)) return ERR_SOURCE_BUFFER;
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        in.seek(frame.dataoffset);
        const int code = readImageData(in, frame, *image);
        if (code == 0 || code == ERR_TRUNCATED) loadColours(in, tableOfFrame(global, frame), *image);
        return code;
    });
}

int loadFirstFrame(const Source& source, imgdes* image) {
    Records records;
    if (const int code = walk(source, {}, records)) return code;
    return loadFrame(source, image, records.global, records.frame);
}

int loadDescribedFrame(const Source& source, imgdes* image, const GifGlobalInfo* global,
                       const GifFrameInfo* frame) {
    return global && frame ? loadFrame(source, image, *global, *frame) : ERR_RANGE;
}

}  // namespace
}  // namespace orn32::gif

using namespace orn32;

extern "C" int ORNAPI loadgif(const char* name, imgdes* image) {
    return gif::loadFirstFrame(fromFile(name), image);
}

extern "C" int ORNAPI loadgifW(const WCHAR* name, imgdes* image) {
    return gif::loadFirstFrame(fromFile(name), image);
}

extern "C" int ORNAPI loadgiffrombuffer(const void* buffer, imgdes* image) {
    return gif::loadFirstFrame(fromBuffer(buffer), image);
}

extern "C" int ORNAPI loadgifframe(const char* name, imgdes* image, GifGlobalInfo* global,
                                   GifFrameInfo* frame) {
    return gif::loadDescribedFrame(fromFile(name), image, global, frame);
}

extern "C" int ORNAPI loadgifframeW(const WCHAR* name, imgdes* image, GifGlobalInfo* global,
                                    GifFrameInfo* frame) {
    return gif::loadDescribedFrame(fromFile(name), image, global, frame);
}

extern "C" int ORNAPI loadgifframefrombuffer(const void* buffer, imgdes* image, GifGlobalInfo* global,
                                             GifFrameInfo* frame) {
    return gif::loadDescribedFrame(fromBuffer(buffer), image, global, frame);
}
