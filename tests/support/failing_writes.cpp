#include "tests/support/failing_writes.h"

#include <windows.h>

#include <algorithm>

// The program's own entry for WriteFile in its import table.
extern "C" void* importedWriteFile __asm__("__imp__WriteFile@20");

namespace test {
namespace {

unsigned left;
bool full;
decltype(&WriteFile) systemWriteFile;

BOOL WINAPI writeWhatFits(HANDLE file, const void* source, DWORD count, DWORD* written,
                          OVERLAPPED* overlapped) {
    const DWORD position = SetFilePointer(file, 0, nullptr, FILE_CURRENT), size = GetFileSize(file, nullptr);
    const DWORD inside = position < size ? size - position : 0;
    const DWORD fresh = count > inside ? count - inside : 0;
    const DWORD fits = std::min(fresh, static_cast<DWORD>(left));
    left -= fits;
    if (fits < fresh) full = true;
    return systemWriteFile(file, source, count - fresh + fits, written, overlapped);
}

void import(void* function) {
    DWORD protection;
    VirtualProtect(&importedWriteFile, sizeof(void*), PAGE_READWRITE, &protection);
    importedWriteFile = function;
    VirtualProtect(&importedWriteFile, sizeof(void*), protection, &protection);
}

}  // namespace

FullDisk::FullDisk(unsigned freeBytes) {
    left = freeBytes;
    full = false;
    systemWriteFile = reinterpret_cast<decltype(systemWriteFile)>(importedWriteFile);
    import(reinterpret_cast<void*>(writeWhatFits));
}

FullDisk::~FullDisk() {
    import(reinterpret_cast<void*>(systemWriteFile));
}

bool FullDisk::wasFull() const {
    return full;
}

}  // namespace test
