// JPEG: what a file says about its picture.
#include "jpeg/info.h"

#include <cstddef>
#include <cstring>

#include "jpeg/error.h"

namespace orn32::jpeg {

int readInformation(const Source& source, Headers& headers) {
    if (!startIsReadable(source)) return ERR_SOURCE_BUFFER;
    ByteSource in(source);
    if (!in.isOpen()) return ERR_OPEN;
    if (!in.hasMemory()) return ERR_MEMORY;
    record(Detail::none);
    return unwindTo(ERR_BAD_JPEG, [&] { return HeaderReader(in, headers).readInformation(); });
}

namespace {

// The record is filled from what the markers said before a failure, too, once the source was there to read.
int info(const Source& source, JpegInfo* info) {
    return guarded(Module::jpeg, [&] {
        Headers headers;
        const int code = readInformation(source, headers);
        const bool wasRead = code == 0 || code == ERR_BAD_JPEG || code == ERR_MEMORY;
        if (wasRead) *info = headers.info;
        return code;
    });
}

int infoEx(const Source& source, JpegInfoEx* info) {
    return guarded(Module::jpeg, [&] {
        Headers headers;
        const int code = readInformation(source, headers);
        static_assert(offsetof(JpegInfoEx, xdensity) == sizeof(JpegInfo));
        std::memcpy(info, &headers.info, sizeof headers.info);
        info->xdensity = headers.density.x;
        info->ydensity = headers.density.y;
        info->densunits = headers.density.units;
        const Thumbnail& thumbnail = headers.thumbnail;
        info->thumbnail = thumbnail.present;
        info->thumbwidth = thumbnail.width;
        info->thumbheight = thumbnail.height;
        info->thumbbits = thumbnail.bits;
        info->thumbtype = thumbnail.kind;
        return code;
    });
}

}  // namespace
}  // namespace orn32::jpeg

using namespace orn32;

extern "C" int ORNAPI jpeginfo(const char* name, JpegInfo* info) {
    return jpeg::info(fromFile(name), info);
}

extern "C" int ORNAPI jpeginfoW(const WCHAR* name, JpegInfo* info) {
    return jpeg::info(fromFile(name), info);
}

extern "C" int ORNAPI jpeginfofrombuffer(const void* buffer, JpegInfo* info) {
    return jpeg::info(fromBuffer(buffer), info);
}

extern "C" int ORNAPI jpeginfoex(const char* name, JpegInfoEx* info) {
    return jpeg::infoEx(fromFile(name), info);
}

extern "C" int ORNAPI jpeginfoexW(const WCHAR* name, JpegInfoEx* info) {
    return jpeg::infoEx(fromFile(name), info);
}

extern "C" int ORNAPI jpeginfofrombufferex(const void* buffer, JpegInfoEx* info) {
    return jpeg::infoEx(fromBuffer(buffer), info);
}
