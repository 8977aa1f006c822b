// What the library remembers for the whole process: facts found when it is loaded.
#pragma once

#include "core/platform.h"

namespace orn32 {

enum class Platform { win32s, windows9x, windowsNt };

struct LibraryState {
    HINSTANCE instance = nullptr;
    unsigned windowsVersion = 0;  // major * 100 + minor
    Platform platform = Platform::win32s;
    bool useDibSections = false;
    long attachCount = 0;
};

extern LibraryState library;

// Whether allocimage puts pixels in DIB sections on the given system.
bool dibSectionsWork(Platform platform, unsigned windowsVersion);

// The process has loaded, or is letting go of, the library. Only the first attach finds out about the system.
void attachProcess(HINSTANCE instance);
void detachProcess();

}  // namespace orn32
