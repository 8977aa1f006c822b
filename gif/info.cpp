// GIF: what is in a file.
#include "core/boundary.h"
#include "gif/walker.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

template <class Record>
void deliver(const Record& record, Record* to) {
    if (to) *to = record;
}

int infoOfFrame(const Source& source, unsigned count, GifFileInfo* info, GifGlobalInfo* global,
                GifFrameInfo* frame) {
    return guarded(Module::gif, [&] {
        Records records;
        const int code = walk(source, {.count = count}, records);
        deliver(records.file, info);
        deliver(records.global, global);
        deliver(records.frame, frame);
        return code;
    });
}

int info(const Source& source, GifFileInfo* to) {
    return infoOfFrame(source, 1, to, nullptr, nullptr);
}

int infoOfAllFrames(const Source& source, GifGlobalInfo* global, GifFrameInfo* frames, int maximum) {
    return guarded(Module::gif, [&] {
        Records records;
        const unsigned count = frames && maximum > 0 ? static_cast<unsigned>(maximum) : 0;
        const int code = walk(source, {.count = count, .frames = frames}, records);
        deliver(records.global, global);
        return code;
    });
}

// The trailer comes before the last of all possible frames, and that is no error here.
int frameCount(const Source& source, int* count) {
    return guarded(Module::gif, [&] {
        Records records;
        const int code = walk(source, {.count = allFrames}, records);
        deliver(records.frame.frameno, count);
        return code == ERR_NO_FRAME ? 0 : code;
    });
}

}  // namespace
}  // namespace orn32::gif

using namespace orn32;

extern "C" int ORNAPI gifinfo(const char* name, GifFileInfo* info) {
    return gif::info(fromFile(name), info);
}

extern "C" int ORNAPI gifinfoW(const WCHAR* name, GifFileInfo* info) {
    return gif::info(fromFile(name), info);
}

extern "C" int ORNAPI gifinfofrombuffer(const void* buffer, GifFileInfo* info) {
    return gif::info(fromBuffer(buffer), info);
}

extern "C" int ORNAPI gifinfoframe(const char* name, GifFileInfo* info, GifGlobalInfo* global,
                                   GifFrameInfo* frame, int frameno) {
    return gif::infoOfFrame(fromFile(name), gif::upToFrame(frameno), info, global, frame);
}

extern "C" int ORNAPI gifinfoframeW(const WCHAR* name, GifFileInfo* info, GifGlobalInfo* global,
                                    GifFrameInfo* frame, int frameno) {
    return gif::infoOfFrame(fromFile(name), gif::upToFrame(frameno), info, global, frame);
}

extern "C" int ORNAPI gifinfoframefrombuffer(const void* buffer, GifFileInfo* info, GifGlobalInfo* global,
                                             GifFrameInfo* frame, int frameno) {
    return gif::infoOfFrame(fromBuffer(buffer), gif::upToFrame(frameno), info, global, frame);
}

extern "C" int ORNAPI gifinfoallframes(const char* name, GifGlobalInfo* global, GifFrameInfo* frames,
                                       int maximum) {
    return gif::infoOfAllFrames(fromFile(name), global, frames, maximum);
}

extern "C" int ORNAPI gifinfoallframesW(const WCHAR* name, GifGlobalInfo* global, GifFrameInfo* frames,
                                        int maximum) {
    return gif::infoOfAllFrames(fromFile(name), global, frames, maximum);
}

extern "C" int ORNAPI gifinfoallframesfrombuffer(const void* buffer, GifGlobalInfo* global,
                                                 GifFrameInfo* frames, int maximum) {
    return gif::infoOfAllFrames(fromBuffer(buffer), global, frames, maximum);
}

extern "C" int ORNAPI gifframecount(const char* name, int* count) {
    return gif::frameCount(fromFile(name), count);
}

extern "C" int ORNAPI gifframecountW(const WCHAR* name, int* count) {
    return gif::frameCount(fromFile(name), count);
}

extern "C" int ORNAPI gifframecountfrombuffer(const void* buffer, int* count) {
    return gif::frameCount(fromBuffer(buffer), count);
}
