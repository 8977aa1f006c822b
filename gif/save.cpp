// GIF: saving an image, alone or as a frame of an animation.
#include <algorithm>

#include "core/area.h"
#include "core/boundary.h"
#include "core/range_check.h"
#include "gif/blocks.h"
#include "gif/comment.h"
#include "gif/format.h"
#include "gif/image_data.h"
#include "io/append.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

constexpr unsigned frameMode = 16;  // flag of savegifframe
constexpr unsigned largestSide = 65535;

// Bits per pixel of the image data and colour tables.
unsigned bitsToWrite(const imgdes& image, unsigned flags) {
    if (image.header->biBitCount == 1) return 1;
    if (flags & GIF_16COLORS) return 4;
    const unsigned asked = flags >> 16 & 15;
    return asked ? std::min(asked, 8u) : 8;
}

int check(imgdes* image, const GifGlobalInfo* global, const GifFrameInfo* frame, unsigned flags) {
    if (!global || !frame) return ERR_ARGUMENT;
    if (flags & GIF_TRANSPARENT && (frame->transcolor < -1 || frame->transcolor > 255)) return ERR_ARGUMENT;
    if (const int code = checkRange(image, bits1to24)) return code;
    if (image->header->biBitCount == 24) return ERR_BITS;
    if (1 << bitsToWrite(*image, flags) < image->palcolors) return ERR_RANGE;
    const Size size = areaSize(*image);
    if (size.width > largestSide || size.height > largestSide) return ERR_TOO_LARGE;
    return global->hasglobalpalette || frame->haslocalpalette ? 0 : ERR_ARGUMENT;
}

// What stands at the start of a file, in front of its first frame.
void writeStart(OutputStream& out, const Picture& picture) {
    writeHeader(out, picture, picture.graphicControl ? "89a" : commentSetting.version);
    if (picture.global.hasglobalpalette) writeColourTable(out, picture.image, picture.bits);
    if (picture.animation) writeLoopBlock(out, picture.global.loopcount);
}

// A frame, the comment that may be waiting, and the file's trailer.
int writeFrame(OutputStream& out, const Picture& picture) {
    if (picture.graphicControl) writeGraphicControl(out, picture.frame);
    writeDescriptor(out, picture);
    if (picture.frame.haslocalpalette) writeColourTable(out, picture.image, picture.bits);
    writeByte(out, codeSizeFor(picture.bits));
    if (const int code = writeImageData(out, picture.image, {picture.bits, picture.interlaced})) return code;
    if (commentSetting.text) writeComment(out, commentSetting.text);
    writeByte(out, trailer);
    return out.status();
}

int writeNew(const Target& target, const Picture& picture) {
    OutputStream out(target);
    if (!out.isOpen()) return ERR_CREATE;
    writeStart(out, picture);
    if (const int code = writeFrame(out, picture)) return code;
    return out.commit();
}

// Where the trailer is among the last bytes of a file: the bytes from there on. The sixteenth last byte does
// not count.
std::uint32_t bytesFromTrailer(const FileTail& file) {
    const std::uint32_t first = file.count() == FileTail::mostBytes ? 1 : 0;
    for (std::uint32_t i = file.count(); i-- > first;)
        if (file.bytes()[i] == trailer) return file.count() - i;
    return 0;
}

// The frame grows in a temporary file and takes the trailer's place when it is complete.
int append(FileTail& file, const Picture& picture) {
    if (file.readFailed()) return ERR_WRITE;
    const TemporaryFile temporary(L"NEW");
    if (!temporary.exists()) return ERR_CREATE;
    std::uint32_t length;
    {
        OutputStream out(toFile(temporary.name()));
        if (!out.isOpen()) return ERR_CREATE;
        if (const int code = writeFrame(out, picture)) return code;
        length = out.position();
        if (const int code = out.commit()) return code;
    }
    InputStream frame(fromFile(temporary.name()));
    if (!frame.isOpen()) return ERR_CREATE;
    return file.replace(bytesFromTrailer(file), frame, length);
}

int write(const Target& target, const Picture& picture) {
    if (picture.animation && !target.result) {
        FileTail file(target);
        if (file.isOpen()) return append(file, picture);
    }
    return writeNew(target, picture);
}

int save(const Target& target, imgdes* image, const GifGlobalInfo* global, const GifFrameInfo* frame,
         unsigned flags) {
    if (const int code = check(image, global, frame, flags)) return code;
    const bool animation = flags & frameMode;
    const Picture picture = {.image = *image,
                             .global = *global,
                             .frame = *frame,
                             .bits = bitsToWrite(*image, flags),
                             .interlaced = (flags & GIF_INTERLACE) != 0,
                             .graphicControl = animation || flags & GIF_TRANSPARENT,
                             .animation = animation};
    return guarded(Module::gif, [&] {
        const int code = write(target, picture);
        if (code == 0) commentSetting.text = nullptr;
        return code;
    });
}

// The edges may still be swapped here.
int extent(UINT a, UINT b) {
    return static_cast<int>(std::max(a, b) - std::min(a, b) + 1);
}

int saveStill(const Target& target, imgdes* image, unsigned flags, int transcolor) {
    if (!image) return ERR_RANGE;
    GifGlobalInfo global = {};
    global.screenwidth = extent(image->left, image->right);
    global.screenheight = extent(image->top, image->bottom);
    global.hasglobalpalette = image->palcolors > 0;
    GifFrameInfo frame = {};
    frame.transcolor = flags & GIF_TRANSPARENT ? transcolor : -1;
    return save(target, image, &global, &frame, flags);
}

int saveFrame(const Target& target, imgdes* image, const GifGlobalInfo* global, const GifFrameInfo* frame,
              unsigned flags) {
    return save(target, image, global, frame, flags | frameMode);
}

}  // namespace
}  // namespace orn32::gif

using namespace orn32;
extern "C" int ORNAPI savegif(const char* name, imgdes* image) {
    return gif::saveStill(toFile(name), image, 0, -1);
}

extern "C" int ORNAPI savegifW(const WCHAR* name, imgdes* image) {
    return gif::saveStill(toFile(name), image, 0, -1);
}

extern "C" int ORNAPI savegifex(const char* name, imgdes* image, UINT flags, int transcolor) {
    return gif::saveStill(toFile(name), image, flags, transcolor);
}

extern "C" int ORNAPI savegifexW(const WCHAR* name, imgdes* image, UINT flags, int transcolor) {
    return gif::saveStill(toFile(name), image, flags, transcolor);
}

extern "C" int ORNAPI savegiftobufferex(void** buffer, imgdes* image, UINT flags, int transcolor) {
    return gif::saveStill(toBuffer(buffer), image, flags, transcolor);
}

extern "C" int ORNAPI savegifframe(const char* name, imgdes* image, GifGlobalInfo* global,
                                   GifFrameInfo* frame, UINT flags) {
    return gif::saveFrame(toFile(name), image, global, frame, flags);
}

extern "C" int ORNAPI savegifframeW(const WCHAR* name, imgdes* image, GifGlobalInfo* global,
                                    GifFrameInfo* frame, UINT flags) {
    return gif::saveFrame(toFile(name), image, global, frame, flags);
}

extern "C" int ORNAPI savegifframetobuffer(void** buffer, imgdes* image, GifGlobalInfo* global,
                                           GifFrameInfo* frame, UINT flags) {
    return gif::saveFrame(toBuffer(buffer), image, global, frame, flags);
}
