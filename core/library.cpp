#include "core/library.h"

#include "core/memory.h"

namespace orn32 {

LibraryState library;

bool dibSectionsWork(Platform platform, unsigned windowsVersion) {
    switch (platform) {
        case Platform::windows9x:
            return true;
        case Platform::windowsNt:
            return windowsVersion >= 350;
        default:
            return false;
    }
}

namespace {

void readWindowsVersion() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    const DWORD version = GetVersion();
#pragma GCC diagnostic pop
    library.windowsVersion = (version & 0xFF) * 100 + ((version >> 8) & 0xFF);
    if (version < 0x80000000)
        library.platform = Platform::windowsNt;
    else
        library.platform = library.windowsVersion >= 395 ? Platform::windows9x : Platform::win32s;
}

}  // namespace

void attachProcess(HINSTANCE instance) {
    if (++library.attachCount > 1) return;
    readWindowsVersion();
    library.useDibSections = dibSectionsWork(library.platform, library.windowsVersion);
    library.instance = instance;
    resetMemoryTable();
}

void detachProcess() {
    --library.attachCount;
}

}  // namespace orn32
