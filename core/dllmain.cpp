// The DLL's entry point.
#include "core/library.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) orn32::attachProcess(instance);
    if (reason == DLL_PROCESS_DETACH) orn32::detachProcess();
    return TRUE;
}
