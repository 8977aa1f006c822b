#include "tests/support/failing_writes.h"

#include <algorithm>

namespace test {
namespace {

DWORD left;
WriteFunction systemWriteFile;

BOOL WINAPI writeWhatFits(HANDLE file, const void* source, DWORD count, DWORD* written,
                          OVERLAPPED* overlapped) {
    const DWORD position = SetFilePointer(file, 0, nullptr, FILE_CURRENT), size = GetFileSize(file, nullptr);
    const DWORD inside = position < size ? size - position : 0;
    const DWORD fresh = count > inside ? count - inside : 0;
    const DWORD fits = std::min(fresh, left);
    left -= fits;
    return systemWriteFile(file, source, count - fresh + fits, written, overlapped);
}

}  // namespace

FullDisk::FullDisk(unsigned freeBytes) {
    left = freeBytes;
    systemWriteFile = importWriteFile(writeWhatFits);
}

FullDisk::~FullDisk() {
    importWriteFile(systemWriteFile);
}

}  // namespace test
